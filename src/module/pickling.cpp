// Pickles name one function a class, __pyx_unpickle_<class>(type, version, state), which makes an empty object; its
// __setstate__ then fills it. In two steps, for an object may be part of its own state. A state is a tuple of the
// fields below and, for an instance with attributes of its own, their dict. All of it may come from a file that was cut
// off or made up, so each field is tested before the first one is stored.
#include "module/pickling.h"

#include "arrays/expr_array.h"
#include "arrays/handle_array.h"
#include "containers/tupledict.h"
#include "containers/tuplelist.h"
#include "expr/column.h"
#include "expr/kinds.h"
#include "expr/list.h"
#include "expr/psdexpr.h"
#include "expr/quadexpr.h"
#include "expr/tempconstr.h"
#include "handles/handle.h"
#include "module/readonly.h"
#include "module/state.h"
#include "module/text.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tsp {
namespace {

constexpr long kVersion = 1; // of the states

[[noreturn]] void refuse(const char* field) {
    raise(PyExc_TypeError, "self.%s cannot be converted to a Python object for pickling", field);
}

bool holds_handle(Borrowed object);

bool holds_handle(const Store<Coeff>& items) {
    for (int i = 0; i < items.size(); ++i)
        if (items.data()[i].is_object() && holds_handle(items.data()[i].pointer()))
            return true;
    return false;
}

bool holds_handle(QuadExpr& e) {
    return holds_handle(e.coeffs) || holds_handle(e.vars1) || holds_handle(e.vars2) || holds_handle(e.linexpr);
}

// Whether an object is a handle, or an expression, constraint or array of handles that holds one.
bool holds_handle(Borrowed object) {
    if (PyUnicode_CheckExact(object) || PyLong_CheckExact(object) || PyFloat_CheckExact(object))
        return false;
    if (is_linexpr(object))
        return as_linexpr(object).size() > 0;
    if (is_quadexpr(object))
        return holds_handle(as_quadexpr(object));
    if (is_psdexpr(object))
        return as_psdexpr(object).size() > 0 || as_psdexpr(object).linear().size() > 0;
    if (is_instance(object, state().column))
        return PyList_GET_SIZE(as_column(object).constrs_) > 0;
    return kind_of_handle(object) != Kind::Model || is_handle_array(object) || is_tempconstr(object);
}

// An item of a container; of a tuple, which is a row, its entries as well.
void refuse_handles(Borrowed item) {
    if (PyTuple_CheckExact(item))
        for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(item); ++i)
            if (holds_handle(PyTuple_GET_ITEM(item, i)))
                refuse("mdl_");
    if (holds_handle(item))
        refuse("mdl_");
}

void require(bool fits) {
    if (!fits)
        raise(PyExc_TypeError, "the state of a pickled object has fields of wrong types");
}

Ref plain_list(const Store<Coeff>& items) {
    Ref list = Ref::steal(PyList_New(0));
    for (int i = 0; i < items.size(); ++i)
        checked(PyList_Append(list.get(), items.data()[i].object().get()));
    return list;
}

void fill(Store<Coeff>& items, Borrowed list) {
    Store<Coeff> fresh;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list); ++i)
        fresh.add(Coeff::of(PyList_GET_ITEM(list, i)));
    items.swap(fresh);
}

// ---- The fields of each class: read (which refuses handles), and tested and stored ----

Ref no_fields(Borrowed) { return Ref::steal(PyTuple_New(0)); }

Ref tuplelist_fields(Borrowed self) {
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(self); ++i)
        refuse_handles(PyList_GET_ITEM(self, i));
    Borrowed wildcard = reinterpret_cast<TupleList*>(self)->wildcard_;
    return Ref::steal(PyTuple_Pack(1, wildcard ? wildcard : Py_None));
}
void set_tuplelist(Borrowed self, Borrowed fields) {
    Borrowed wildcard = PyTuple_GET_ITEM(fields, 0);
    require(wildcard == Py_None || PyUnicode_Check(wildcard));
    drop_index(*reinterpret_cast<TupleList*>(self)); // it may have been built for another wildcard
    assign(reinterpret_cast<TupleList*>(self)->wildcard_, wildcard == Py_None ? Ref() : Ref::borrow(wildcard));
}

Ref tupledict_fields(Borrowed self) {
    PyObject *key, *value;
    for (Py_ssize_t at = 0; PyDict_Next(self, &at, &key, &value);) {
        refuse_handles(key);
        refuse_handles(value);
    }
    return no_fields(self);
}
void set_nothing(Borrowed, Borrowed) {}

Ref list_fields(Borrowed self) {
    const auto& items = reinterpret_cast<List*>(self)->items;
    if (holds_handle(items))
        refuse("mdl_");
    return Ref::steal(PyTuple_Pack(1, plain_list(items).get()));
}
void set_list(Borrowed self, Borrowed fields) {
    require(PyList_Check(PyTuple_GET_ITEM(fields, 0)));
    fill(reinterpret_cast<List*>(self)->items, PyTuple_GET_ITEM(fields, 0));
}

// A column and a linear expression hold handles as soon as they have a term.
Ref column_fields(Borrowed self) {
    if (holds_handle(self))
        refuse("mdl_");
    return no_fields(self);
}
void set_column(Borrowed self, Borrowed) {
    Ref coeffs = Ref::steal(PyList_New(0)), constrs = Ref::steal(PyList_New(0));
    assign(as_column(self).coeffs_, std::move(coeffs));
    assign(as_column(self).constrs_, std::move(constrs));
}

Ref linexpr_fields(Borrowed self) {
    if (holds_handle(self))
        refuse("mdl_");
    return Ref::steal(Py_BuildValue("(d)", as_linexpr(self).constant));
}
void set_linexpr(Borrowed self, Borrowed fields) {
    Borrowed constant = PyTuple_GET_ITEM(fields, 0);
    require(PyFloat_Check(constant));
    clear(as_linexpr(self));
    as_linexpr(self).constant = PyFloat_AS_DOUBLE(constant);
}

Ref psdexpr_fields(Borrowed self) {
    if (holds_handle(self))
        refuse("mdl_");
    return Ref::steal(Py_BuildValue("(d)", as_psdexpr(self).linear().constant));
}
void set_psdexpr(Borrowed self, Borrowed fields) {
    require(PyFloat_Check(PyTuple_GET_ITEM(fields, 0)));
    LinExpr* linear = new_linexpr();
    Ref fresh = owned(linear);
    linear->constant = PyFloat_AS_DOUBLE(PyTuple_GET_ITEM(fields, 0));
    as_psdexpr(self).terms.clear_for_good();
    assign(as_psdexpr(self).linexpr, std::move(fresh));
}

Ref quadexpr_fields(Borrowed self) {
    QuadExpr& e = as_quadexpr(self);
    if (holds_handle(e))
        refuse("mdl_");
    Ref coeffs = plain_list(e.coeffs), vars1 = plain_list(e.vars1), vars2 = plain_list(e.vars2);
    return Ref::steal(PyTuple_Pack(4, coeffs.get(), vars1.get(), vars2.get(), e.linexpr));
}
void set_quadexpr(Borrowed self, Borrowed fields) {
    for (Py_ssize_t i = 0; i < 3; ++i)
        require(PyList_Check(PyTuple_GET_ITEM(fields, i)));
    require(is_linexpr(PyTuple_GET_ITEM(fields, 3)));
    LinExpr* linear = new_linexpr();
    Ref fresh = owned(linear);
    fill_linexpr(*linear, PyTuple_GET_ITEM(fields, 3)); // a copy must not share it
    QuadExpr& e = as_quadexpr(self);
    Store<Coeff>* stores[] = {&e.coeffs, &e.vars1, &e.vars2};
    for (Py_ssize_t i = 0; i < 3; ++i)
        fill(*stores[i], PyTuple_GET_ITEM(fields, i));
    assign(e.linexpr, std::move(fresh));
}

// The array of cells. An object without contents has none, and cannot be pickled either.
Ref expr_array_fields(Borrowed self) {
    Ref array = Ref::borrow(array_of(as_expr_array(self)));
    Ref cells = Ref::steal(PyArray_IterNew(array.get()));
    while (PyObject* next = PyIter_Next(cells.get()))
        refuse_handles(Ref::steal(next).get());
    if (PyErr_Occurred())
        throw PythonError();
    return Ref::steal(PyTuple_Pack(1, array.get()));
}
void set_expr_array(Borrowed self, Borrowed fields) {
    Borrowed array = PyTuple_GET_ITEM(fields, 0);
    require(PyArray_Check(array) && PyArray_TYPE(as_array(array)) == NPY_OBJECT);
    Ref own = Ref::steal(PyArray_NewCopy(as_array(array), NPY_CORDER)); // a copy has cells of its own
    as_expr_array(self).block.reset();
    assign(as_expr_array(self).array, std::move(own));
}

enum class Items { None, Rows, Pairs }; // what a container has besides its fields, pickled one by one

struct Pickled {
    const char* name;
    PyTypeObject* State::*type;
    Py_ssize_t count; // of the fields
    Ref (*fields)(Borrowed self);
    void (*set)(Borrowed self, Borrowed fields);
    Items items;
};
constexpr Pickled kPickled[] = {
    {"TessolvError", &State::tessolv_error, 3, error_fields, set_error_fields, Items::None},
    {"tuplelist", &State::tuplelist, 1, tuplelist_fields, set_tuplelist, Items::Rows},
    {"tupledict", &State::tupledict, 0, tupledict_fields, set_nothing, Items::Pairs},
    {"List", &State::list, 1, list_fields, set_list, Items::None},
    {"Column", &State::column, 0, column_fields, set_column, Items::None},
    {"LinExpr", &State::linexpr, 1, linexpr_fields, set_linexpr, Items::None},
    {"QuadExpr", &State::quadexpr, 4, quadexpr_fields, set_quadexpr, Items::None},
    {"PsdExpr", &State::psdexpr, 1, psdexpr_fields, set_psdexpr, Items::None},
    {"MLinExpr", &State::mlinexpr, 1, expr_array_fields, set_expr_array, Items::None},
    {"MQuadExpr", &State::mquadexpr, 1, expr_array_fields, set_expr_array, Items::None},
};
constexpr int kClasses = static_cast<int>(std::size(kPickled));

// ---- The protocol ----

// The __dict__ of an instance; nothing where it has none.
Ref attributes_of(Borrowed self) {
    PyObject* found = PyObject_GetAttrString(self, "__dict__");
    if (found)
        return Ref::steal(found);
    if (!PyErr_ExceptionMatches(PyExc_AttributeError))
        throw PythonError();
    PyErr_Clear();
    return Ref();
}

Ref function_name(const Pickled& row) { return Ref::steal(PyUnicode_FromFormat("__pyx_unpickle_%s", row.name)); }

template <int Row> Ref reduce(PyObject* self) {
    const Pickled& row = kPickled[Row];
    Ref function = Ref::steal(PyObject_GetAttr(state().module, function_name(row).get()));
    Ref fields = row.fields(self);
    Ref attributes = attributes_of(self);
    if (attributes && PyDict_Check(attributes.get()) && PyDict_GET_SIZE(attributes.get()) > 0) {
        Ref last = Ref::steal(PyTuple_Pack(1, attributes.get()));
        fields = Ref::steal(PySequence_Concat(fields.get(), last.get()));
    }
    Ref rows = Ref::none(), pairs = Ref::none();
    if (row.items == Items::Rows)
        rows = Ref::steal(PyObject_GetIter(self));
    if (row.items == Items::Pairs) {
        Ref view = Ref::steal(PyObject_CallMethod(self, "items", nullptr));
        pairs = Ref::steal(PyObject_GetIter(view.get()));
    }
    return Ref::steal(Py_BuildValue("O(OlO)OOO", function.get(), Py_TYPE(self), kVersion, Py_None, fields.get(),
                                    rows.get(), pairs.get()));
}

template <int Row> Ref set_state(PyObject* self, PyObject* fields) {
    const Pickled& row = kPickled[Row];
    require(PyTuple_Check(fields));
    Py_ssize_t size = PyTuple_GET_SIZE(fields);
    if (size != row.count && size != row.count + 1)
        raise(PyExc_ValueError, "the state of a %s has %zd fields, not %zd", row.name, row.count, size);
    Ref attributes;
    if (size > row.count) {
        require(PyDict_Check(PyTuple_GET_ITEM(fields, row.count)));
        attributes = attributes_of(self);
        require(attributes && PyDict_Check(attributes.get()));
    }
    row.set(self, fields);
    if (attributes)
        checked(PyDict_Update(attributes.get(), PyTuple_GET_ITEM(fields, row.count)));
    return Ref::none();
}

template <int Row> Ref unpickle(PyObject*, const Call& call) {
    static const Signature<3> signature{"unpickle", {"type", "version", "state"}, 3};
    auto [type, version, fields] = parse(signature, call);
    const Pickled& row = kPickled[Row];
    if (!PyLong_Check(version))
        raise_argument_type("version", "int", version);
    int overflow = 0;
    if (PyLong_AsLongAndOverflow(version, &overflow) != kVersion || overflow)
        raise(PyExc_ValueError, "a %s pickled in version %S; this module reads version %ld", row.name, version,
              kVersion);
    // As in a class that a program derives, this refuses what is no subclass.
    Ref made = Ref::steal(PyObject_CallMethod(as_object(state().*row.type), "__new__", "(O)", type));
    if (fields != Py_None)
        set_state<Row>(made.get(), fields);
    return made;
}

Ref refuse_model(PyObject*) { refuse("mdl_"); }
Ref refuse_env(PyObject*) { refuse("envptr"); }

void add_method(PyTypeObject* type, PyMethodDef& def) {
    Ref method = Ref::steal(PyDescr_NewMethod(type, &def));
    checked(PyObject_SetAttrString(as_object(type), def.ml_name, method.get()));
}

template <int Row> void install(Borrowed module) {
    const Pickled& row = kPickled[Row];
    static PyMethodDef reduce_def = no_args<reduce<Row>>("__reduce__", "__reduce__($self, /)\n--\n\nFor pickling.");
    static PyMethodDef set_def =
        one_arg<set_state<Row>>("__setstate__", "__setstate__($self, state, /)\n--\n\nFor pickling.");
    static const std::string name = std::string("__pyx_unpickle_") + row.name;
    static PyMethodDef function_defs[] = {
        keywords<unpickle<Row>>(name.c_str(), "For pickling: a new object of a class out of its state.\n\n"
                                              "type: the class or one derived from it.  version: int, 1.\n"
                                              "state: a tuple, or None for an empty object.\n"
                                              "Raises TypeError or ValueError for anything else."),
        {},
    };
    add_method(state().*row.type, reduce_def);
    add_method(state().*row.type, set_def);
    checked(PyModule_AddFunctions(module, function_defs));
}

template <int... Rows> void install_all(Borrowed module, std::integer_sequence<int, Rows...>) {
    (install<Rows>(module), ...);
}

// Classes without a form of their own stand for memory of the solver, or hold handles.
void install_refusals(Borrowed module) {
    static PyMethodDef refuse_def =
        no_args<refuse_model>("__reduce__", "__reduce__($self, /)\n--\n\nRaises TypeError.");
    static PyMethodDef env_def = no_args<refuse_env>("__reduce__", "__reduce__($self, /)\n--\n\nRaises TypeError.");
    Borrowed names = PyModule_GetDict(module);
    PyObject *key, *value;
    std::vector<Ref> types; // a method that is added changes the type, not the dict that is walked
    for (Py_ssize_t at = 0; PyDict_Next(names, &at, &key, &value);)
        if (PyType_Check(value) &&
            std::string_view(reinterpret_cast<PyTypeObject*>(value)->tp_name).starts_with("tessolvpy."))
            types.push_back(Ref::borrow(value));
    for (const Ref& entry : types) {
        auto* type = reinterpret_cast<PyTypeObject*>(entry.get());
        if (type == state().operand || PyDict_GetItemString(type->tp_dict, "__reduce__"))
            continue;
        add_method(type, type == state().env || type == state().param_class ? env_def : refuse_def);
    }
}

// The constants are one object each: a pickle names it, and a copy is the same.
void install_constants(Borrowed module) {
    for (const char* path : {"TSO", "attr", "param", "callback", "TSO.Error", "TSO.Status"}) {
        Ref object = Ref::borrow(module);
        for (std::string_view rest = path; !rest.empty();) {
            std::string name(rest.substr(0, rest.find('.')));
            object = Ref::steal(PyObject_GetAttrString(object.get(), name.c_str()));
            rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        }
        Ref text = chars2str(path);
        Ref function = constant_function(text.get());
        checked(PyObject_SetAttrString(as_object(Py_TYPE(object.get())), "__reduce__", function.get()));
    }
}

} // namespace

void install_pickling(Borrowed module) {
    install_all(module, std::make_integer_sequence<int, kClasses>());
    install_refusals(module);
    install_constants(module);
}

} // namespace tsp
