#include "module/readonly.h"

namespace tsp {
namespace {

Ref readonly_set(PyObject*, const Call&) { raise(PyExc_TypeError, "Value is readonly"); }
PyMethodDef readonly_set_def =
    keywords<readonly_set>("readonly", "readonly(self, value)\n--\n\nRaises TypeError: the value cannot be assigned.");

Ref getmetaclass(PyObject* cls) { return Ref::borrow(as_object(Py_TYPE(cls))); }
PyMethodDef getmetaclass_def = [] {
    PyMethodDef def =
        no_args<getmetaclass>("__getmetaclass__", "__getmetaclass__($type, /)\n--\n\nThe class of this class.");
    def.ml_flags |= METH_CLASS;
    return def;
}();

PyObject* return_self(PyObject* self, PyObject*, PyObject*) {
    Py_INCREF(self);
    return self;
}
PyMethodDef return_self_def = {
    "get", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&return_self)), METH_VARARGS | METH_KEYWORDS,
    "get($self, /, *args, **kwargs)\n--\n\nThe value that this stands for; arguments are not looked at."};

} // namespace

Ref constant(Borrowed getter, Borrowed doc) {
    static PyObject* setter = Ref::steal(PyCFunction_New(&readonly_set_def, nullptr)).release();
    return Ref::steal(PyObject_CallFunctionObjArgs(reinterpret_cast<PyObject*>(&PyProperty_Type), getter, setter,
                                                   Py_None, doc, nullptr));
}

Ref documented_constant(Borrowed getter, Borrowed cls) {
    Ref pydoc = Ref::steal(PyImport_ImportModule("pydoc"));
    return constant(getter, Ref::steal(PyObject_CallMethod(pydoc.get(), "render_doc", "O", cls)).get());
}

void add_getmetaclass(PyTypeObject* type) {
    Ref method = Ref::steal(PyDescr_NewClassMethod(type, &getmetaclass_def));
    checked(PyObject_SetAttrString(as_object(type), getmetaclass_def.ml_name, method.get()));
}

void add_readonly(PyTypeObject* type, PyMethodDef* rows) {
    for (PyMethodDef* row = rows; row->ml_name; ++row) {
        Ref getter = Ref::steal(PyDescr_NewMethod(type, row));
        Ref doc = Ref::steal(PyUnicode_FromString(row->ml_doc));
        Ref property = constant(getter.get(), doc.get());
        checked(PyObject_SetAttrString(as_object(type), row->ml_name, property.get()));
    }
}

Ref constant_function(Borrowed value) { return Ref::steal(PyCFunction_New(&return_self_def, value)); }

} // namespace tsp
