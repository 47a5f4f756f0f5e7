#include "env/params.h"

#include "module/state.h"
#include "module/text.h"
#include "solver/check.h"

namespace tsp {
namespace {

PyObject* type_object(const ParamRow& row) {
    switch (row.type) {
    case ParamType::Int:
        return as_object(&PyLong_Type);
    case ParamType::Float:
        return as_object(&PyFloat_Type);
    default:
        return as_object(&PyUnicode_Type);
    }
}

// A name with "/" as "_" and in lower case, as the name's own text methods do it.
Ref folded(Borrowed name) {
    Ref r = Ref::steal(PyObject_CallMethod(name, "replace", "ss", "/", "_"));
    return Ref::steal(PyObject_CallMethod(r.get(), "lower", nullptr));
}

const ParamRow* find_param(Borrowed folded_name) {
    if (!PyUnicode_Check(folded_name) || !PyUnicode_IS_ASCII(folded_name))
        return nullptr;
    auto* text = reinterpret_cast<const char*>(PyUnicode_1BYTE_DATA(folded_name));
    return kParamIndex.find(kParams, {text, static_cast<std::size_t>(PyUnicode_GET_LENGTH(folded_name))});
}

// The rows that a name or pattern stands for: the exact match alone, or all that match as file names do.
std::vector<const ParamRow*> matching_params(Borrowed name) {
    Ref pattern = folded(name);
    if (const ParamRow* exact = find_param(pattern.get()))
        return {exact};
    std::vector<const ParamRow*> rows;
    Ref function = Ref::steal(PyObject_GetAttrString(state().fnmatch, "fnmatch"));
    for (const ParamRow& row : kParams) {
        Ref key = chars2str(row.key.data());
        Ref hit = Ref::steal(PyObject_CallFunctionObjArgs(function.get(), key.get(), pattern.get(), nullptr));
        if (checked(PyObject_IsTrue(hit.get())))
            rows.push_back(&row);
    }
    return rows;
}

void print_matches(const std::vector<const ParamRow*>& rows) {
    Ref names = Ref::steal(PyList_New(0));
    for (const ParamRow* row : rows)
        checked(PyList_Append(names.get(), chars2str(row->name.data()).get()));
    print(Ref::steal(PyUnicode_FromFormat("Matching parameters: %S", names.get())));
}

void print_no_match(Borrowed name) {
    print(Ref::steal(PyUnicode_FromFormat("No parameters matching '%S' found", name)));
}

// Current, least, greatest and default value of a number.
template <class T> struct Range { T current, least, greatest, fallback; };
Range<int> int_range(TSOenv env, const ParamRow& row) {
    Range<int> r{};
    check(TSOgetintparaminfo(env, row.name.data(), &r.current, &r.least, &r.greatest, &r.fallback));
    return r;
}
Range<double> double_range(TSOenv env, const ParamRow& row) {
    Range<double> r{};
    check(TSOgetdblparaminfo(env, row.name.data(), &r.current, &r.least, &r.greatest, &r.fallback));
    return r;
}
struct Texts {
    char current[TSO_MAX_STRLEN] = "", fallback[TSO_MAX_STRLEN] = "";
};
Texts texts(TSOenv env, const ParamRow& row) {
    Texts t;
    check(TSOgetstrparaminfo(env, row.name.data(), t.current, t.fallback));
    return t;
}

Ref default_value(TSOenv env, const ParamRow& row) {
    switch (row.type) {
    case ParamType::Int:
        return Ref::steal(PyLong_FromLong(int_range(env, row).fallback));
    case ParamType::Float:
        return Ref::steal(PyFloat_FromDouble(double_range(env, row).fallback));
    default:
        return chars2str(texts(env, row).fallback);
    }
}

bool asks_for_default(Borrowed value) {
    if (!PyUnicode_Check(value))
        return false;
    Ref lower = Ref::steal(PyObject_CallMethod(value, "lower", nullptr));
    return PyUnicode_Check(lower.get()) && PyUnicode_CompareWithASCIIString(lower.get(), "default") == 0;
}

} // namespace

const ParamRow* match_param(Borrowed name) {
    std::vector<const ParamRow*> rows = matching_params(name);
    if (rows.size() > 1)
        print_matches(rows);
    return rows.size() == 1 ? rows[0] : nullptr;
}

void set_param(TSOenv env, Borrowed name, Borrowed value) {
    const ParamRow* row = match_param(name);
    if (!row) {
        print_no_match(name);
        return;
    }
    Ref hold;
    if (asks_for_default(value)) {
        hold = default_value(env, *row);
        value = hold.get();
    }
    print(Ref::steal(PyUnicode_FromFormat("Set parameter %s to value %S", row->name.data(), value)));
    switch (row->type) {
    case ParamType::Int:
        check(TSOsetintparam(env, row->name.data(), to_int32(value)));
        break;
    case ParamType::Float:
        check(TSOsetdblparam(env, row->name.data(), to_double(value)));
        break;
    default:
        check(TSOsetstrparam(env, row->name.data(), str2chars(value)));
    }
}

Ref get_param(TSOenv env, const ParamRow& row) {
    switch (row.type) {
    case ParamType::Int: {
        int v = 0;
        check(TSOgetintparam(env, row.name.data(), &v));
        return Ref::steal(PyLong_FromLong(v));
    }
    case ParamType::Float: {
        double v = 0;
        check(TSOgetdblparam(env, row.name.data(), &v));
        return Ref::steal(PyFloat_FromDouble(v));
    }
    default: {
        char text[TSO_MAX_STRLEN] = "";
        check(TSOgetstrparam(env, row.name.data(), text));
        return chars2str(text);
    }
    }
}

Ref get_param_info(TSOenv env, Borrowed name) {
    const ParamRow* row = match_param(name);
    if (!row) {
        print_no_match(name);
        return Ref::none();
    }
    switch (row->type) {
    case ParamType::Int: {
        auto r = int_range(env, *row);
        return Ref::steal(Py_BuildValue("(siiii)", row->name.data(), r.current, r.least, r.greatest, r.fallback));
    }
    case ParamType::Float: {
        auto r = double_range(env, *row);
        return Ref::steal(Py_BuildValue("(sdddd)", row->name.data(), r.current, r.least, r.greatest, r.fallback));
    }
    default: {
        Texts t = texts(env, *row);
        return Ref::steal(Py_BuildValue("(ssOOs)", row->name.data(), t.current, Py_None, Py_None, t.fallback));
    }
    }
}

void print_param_help(Borrowed name) {
    std::vector<const ParamRow*> rows = matching_params(name);
    if (rows.empty())
        print_no_match(name);
    if (rows.size() > 1)
        print_matches(rows);
    for (const ParamRow* row : rows)
        print(
            Ref::steal(PyUnicode_FromFormat("%s (%S)\n    %s", row->name.data(), type_object(*row), row->text.data())));
}

// ---- ParamClass ----

namespace {

struct ParamClass {
    PyObject_HEAD TSOenv envptr_; // the private environment of a model; not owned
};

// Names of methods and the like first; every other name is a parameter.
Ref params_getattro(PyObject* self, PyObject* name) {
    if (PyObject* found = PyObject_GenericGetAttr(self, name))
        return Ref::steal(found);
    if (!PyErr_ExceptionMatches(PyExc_AttributeError))
        throw PythonError();
    PyErr_Clear();
    const ParamRow* row = match_param(name);
    if (!row)
        raise(PyExc_AttributeError, "Param `%S` does not exist", name);
    return get_param(reinterpret_cast<ParamClass*>(self)->envptr_, *row);
}

void params_setattro(PyObject* self, PyObject* name, PyObject* value) {
    if (!value)
        checked(PyObject_GenericSetAttr(self, name, nullptr));
    else
        set_param(reinterpret_cast<ParamClass*>(self)->envptr_, name, value);
}

PyType_Slot params_slots[] = {
    {Py_tp_doc, const_cast<char*>("ParamClass()\n--\n\n"
                                  "The parameters of a model as attributes, found as Model.setParam finds them.\n\n"
                                  "Example: m.Params.MaxTime = 60; m.Params.MIP_GapRel")},
    {Py_tp_dealloc, reinterpret_cast<void*>(&plain_dealloc)},
    slot<params_getattro>(Py_tp_getattro),
    slot<params_setattro>(Py_tp_setattro),
    {},
};
PyType_Spec params_spec = {"tessolvpy.ParamClass", sizeof(ParamClass), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                           params_slots};

} // namespace

PyTypeObject* make_param_class_type() { return make_type(params_spec); }

Ref new_param_class(TSOenv env) {
    ParamClass* p = allocate<ParamClass>(state().param_class);
    p->envptr_ = env;
    return Ref::steal(as_object(p));
}

} // namespace tsp
