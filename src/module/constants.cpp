#include "module/constants.h"

#include "attr/catalog.h"
#include "env/catalog.h"
#include "module/constants_catalog.h"
#include "module/readonly.h"
#include "module/state.h"
#include "module/text.h"

namespace tsp {
namespace {

// A plain class without bases but object.
Ref make_class(const char* name, const char* doc) {
    Ref members = Ref::steal(PyDict_New());
    Ref module = Ref::steal(PyUnicode_FromString("tessolvpy"));
    checked(PyDict_SetItemString(members.get(), "__module__", module.get()));
    checked(PyDict_SetItemString(members.get(), "__doc__", chars2str(doc).get()));
    return Ref::steal(PyObject_CallFunction(as_object(&PyType_Type), "s()O", name, members.get()));
}

Ref call(Borrowed type) { return Ref::steal(PyObject_CallNoArgs(type)); }
Ref text(std::string_view s) { return chars2str(s.data(), static_cast<Py_ssize_t>(s.size())); }
Ref number(long n) { return Ref::steal(PyLong_FromLong(n)); }

// The name as an attribute: "/" cannot stand in one.
Ref attribute_name(std::string_view name) {
    Ref n = text(name);
    return Ref::steal(PyObject_CallMethod(n.get(), "replace", "ss", "/", "_"));
}

// A property on a class that always reads `value`.
void add_value(Borrowed cls, std::string_view name, Ref value, Ref doc) {
    Ref getter = constant_function(value.get());
    Ref property = Ref::steal(
        PyObject_CallFunctionObjArgs(as_object(&PyProperty_Type), getter.get(), Py_None, Py_None, doc.get(), nullptr));
    checked(PyObject_SetAttr(cls, attribute_name(name).get(), property.get()));
}

void set(Borrowed object, std::string_view name, Ref value) {
    checked(PyObject_SetAttr(object, attribute_name(name).get(), value.get()));
}

const char* type_text(ParamType type) {
    switch (type) {
    case ParamType::Int:
        return "<class 'int'>";
    case ParamType::Float:
        return "<class 'float'>";
    default:
        return "<class 'str'>";
    }
}

Ref attr_class() {
    Ref cls = make_class("AttrConstClass", "The names of attributes.\n\nExample: m.getAttr(TSO.Attr.ObjVal)");
    for (const AttrRow& row : kAttrs)
        add_value(cls.get(), row.name, text(row.name),
                  Ref::steal(PyUnicode_FromFormat("Type: %s\nDesc: %s", row.type.data(), row.text.data())));
    return cls;
}

Ref param_class() {
    Ref cls =
        make_class("ParamConstClass", "The names of parameters.\n\nExample: m.setParam(TSO.Param.MIP_GapRel, 0.01)");
    for (const ParamRow& row : kParams)
        add_value(cls.get(), row.name, text(row.name),
                  Ref::steal(PyUnicode_FromFormat("Type: %s\nDesc: %s", type_text(row.type), row.text.data())));
    return cls;
}

Ref callback_class() {
    Ref cls = make_class(
        "CallbackClass",
        "The codes of places that call back, and of what they know.\n\nExample: where == TSO.Callback.MIPSOL");
    for (const WhereRow& row : kWhereCodes)
        add_value(cls.get(), row.name, number(row.code),
                  Ref::steal(PyUnicode_FromFormat("Code = %d\nDesc: %s", row.code, row.text.data())));
    for (const WhatRow& row : kWhatCodes)
        if (row.direct)
            add_value(cls.get(), row.name, number(row.code),
                      Ref::steal(PyUnicode_FromFormat("Code = %d\nDesc: %s", row.code, row.text.data())));
    return cls;
}

} // namespace

void build_constants(Borrowed module) {
    Ref errors = make_class("ErrorConstClass", "The codes of errors.\n\n"
                                               "Example: error.errno == TSO.Error.NO_SOLN");
    Ref statuses = make_class("StatusConstClass", "The values of the attribute Status.\n\n"
                                                  "Example: m.Status == TSO.Status.OPTIMAL");
    Ref attrs = attr_class();
    Ref attr = call(attrs.get());
    set(module, "attr", Ref::borrow(attr.get()));
    Ref params = param_class();
    Ref param = call(params.get());
    set(module, "param", Ref::borrow(param.get()));
    Ref callbacks = callback_class();
    Ref callback = call(callbacks.get());
    set(module, "callback", Ref::borrow(callback.get()));

    Ref tso =
        make_class("TSO", "All constants: numbers and signs, codes of errors and statuses, and under Attr, Param,\n"
                          "Callback, Error and Status the names and codes of one kind each.\n\n"
                          "Example: m.ModelSense = TSO.MAXIMIZE; x.vtype = TSO.INTEGER");
    Ref attr_getter = constant_function(attr.get()), param_getter = constant_function(param.get()),
        callback_getter = constant_function(callback.get());
    set(tso.get(), "Attr", documented_constant(attr_getter.get(), attrs.get()));
    set(tso.get(), "attr", constant(attr_getter.get()));
    set(tso.get(), "Param", documented_constant(param_getter.get(), params.get()));
    set(tso.get(), "param", constant(param_getter.get()));
    set(tso.get(), "Callback", documented_constant(callback_getter.get(), callbacks.get()));
    // Kept: a method, unlike attr and param (test_module.py: test_constants_by_value).
    set(tso.get(), "callback", Ref::steal(PyInstanceMethod_New(callback_getter.get())));

    for (const NumberRow& row : kFloatConstants)
        set(tso.get(), row.name, Ref::steal(PyFloat_FromDouble(row.value)));
    for (const CodeRow& row : kIntConstants)
        set(tso.get(), row.name, number(row.code));
    for (const TextRow& row : kTextConstants)
        set(tso.get(), row.name, Ref::steal(PyUnicode_FromStringAndSize(&row.text, 1)));
    for (const CodeRow& row : kErrorCodes) {
        set(errors.get(), row.name, number(row.code));
        set(tso.get(), row.name, number(row.code));
    }
    for (const CodeRow& row : kStatusCodes) {
        set(statuses.get(), row.name, number(row.code));
        set(tso.get(), row.name, number(row.code));
    }
    Ref error = call(errors.get()), status = call(statuses.get());
    for (const char* name : {"Error", "error"})
        set(tso.get(), name, Ref::borrow(error.get()));
    for (const char* name : {"Status", "status"})
        set(tso.get(), name, Ref::borrow(status.get()));

    // What the loops over the rows leave behind.
    set(module, "key", number(kWhatCodes[std::size(kWhatCodes) - 1].code));
    Ref last = text(kStatusCodes[std::size(kStatusCodes) - 1].name);
    Ref last_what = text(kWhatCodes[std::size(kWhatCodes) - 1].name);
    Ref p = Ref::steal(PyObject_GetAttr(callbacks.get(), last_what.get()));
    set(module, "p", std::move(p));
    set(module, "code", std::move(last));

    state().tso = call(tso.get()).release();
    set(module, "TSO", Ref::borrow(state().tso));
}

} // namespace tsp
