// Model.ctypes: the raw solver pointers for code that calls the solver library itself.
#include "env/env.h"
#include "model/model.h"
#include "module/readonly.h"
#include "module/state.h"

namespace tsp {
namespace {

Ref c_void_p(const void* pointer) {
    Ref value = Ref::steal(PyLong_FromVoidPtr(const_cast<void*>(pointer)));
    return Ref::steal(PyObject_CallMethod(state().ctypes, "c_void_p", "O", value.get()));
}

// The Model of a view.
Ref viewed(Borrowed view) {
    Ref model = Ref::steal(PyObject_GetAttrString(view, "model_"));
    if (!is_instance(model.get(), state().model))
        raise_argument_type("model_", state().model->tp_name, model.get());
    return model;
}

Ref view_init(PyObject*, const Call& call) {
    if (call.nargs != 3 || call.kwnames)
        raise(PyExc_TypeError, "CModelType() takes exactly 2 positional arguments: model, address");
    Ref pointer = Ref::steal(PyObject_CallMethod(state().ctypes, "c_void_p", "(O)", call.args[2]));
    checked(PyObject_SetAttrString(call.args[0], "model_", call.args[1]));
    checked(PyObject_SetAttrString(call.args[0], "mptr_", pointer.get()));
    return Ref::none();
}

Ref view_env(PyObject*, Borrowed view) {
    Ref model = viewed(view);
    PyObject* env = reinterpret_cast<Model*>(model.get())->env;
    if (!env || !is_instance(env, state().env))
        raise(PyExc_AttributeError, "the model has no environment");
    return c_void_p(reinterpret_cast<Env*>(env)->envptr);
}

Ref view_datap(PyObject*, Borrowed view) {
    Ref pointer = Ref::steal(PyObject_GetAttrString(view, "mptr_"));
    Ref void_p = Ref::steal(PyObject_GetAttrString(state().ctypes, "c_void_p"));
    Ref type = Ref::steal(PyObject_CallMethod(state().ctypes, "POINTER", "O", void_p.get()));
    return Ref::steal(PyObject_CallMethod(state().ctypes, "cast", "OO", pointer.get(), type.get()));
}

Ref view_data(PyObject*, Borrowed view) {
    Ref pointer = Ref::steal(PyObject_GetAttrString(view, "datap"));
    return Ref::steal(PyObject_GetAttrString(pointer.get(), "contents"));
}

Ref view_reload(PyObject*, Borrowed view) {
    Ref model = viewed(view);
    model_reload(*reinterpret_cast<Model*>(model.get()));
    return Ref::none();
}

PyMethodDef init_def = keywords<view_init>("__init__", "Takes the model and the address of its solver handle.");
PyMethodDef reload_def =
    one_arg<view_reload>("reload", "Rebuilds the lists of handles of the model, after outside code\n"
                                   "has changed the solver model behind them.");
PyMethodDef property_defs[] = {
    one_arg<view_env>("env", "The raw solver environment, as ctypes.c_void_p."),
    one_arg<view_data>("data", "The raw solver model, as ctypes.c_void_p."),
    one_arg<view_datap>("datap", "A pointer to the raw solver model, as ctypes.POINTER(ctypes.c_void_p)."),
};

// A function as a method: what a class body makes of a def.
Ref method_of(PyMethodDef* def) {
    Ref function = Ref::steal(PyCFunction_New(def, nullptr));
    return Ref::steal(PyInstanceMethod_New(function.get()));
}

} // namespace

Ref model_ctypes(Model& self) {
    Ref members = Ref::steal(PyDict_New());
    checked(PyDict_SetItemString(members.get(), "__init__", method_of(&init_def).get()));
    checked(PyDict_SetItemString(members.get(), "reload", method_of(&reload_def).get()));
    for (PyMethodDef& def : property_defs) {
        Ref getter = Ref::steal(PyCFunction_New(&def, nullptr));
        Ref doc = Ref::steal(PyUnicode_FromString(def.ml_doc));
        checked(PyDict_SetItemString(members.get(), def.ml_name, constant(getter.get(), doc.get()).get()));
    }
    Ref name = Ref::steal(Py_BuildValue("s", "tessolvpy"));
    checked(PyDict_SetItemString(members.get(), "__module__", name.get()));
    Ref type = Ref::steal(PyObject_CallFunction(as_object(&PyType_Type), "s()O", "CModelType", members.get()));
    Ref address = Ref::steal(PyLong_FromVoidPtr(&self.mdl_));
    return Ref::steal(PyObject_CallFunctionObjArgs(type.get(), as_object(&self), address.get(), nullptr));
}

} // namespace tsp
