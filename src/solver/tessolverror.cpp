// TessolvError: the exception for failures that the solver reports.
#include "module/readonly.h"
#include "module/state.h"
#include "module/text.h"
#include "solver/check.h"

#include <cstdarg>

namespace tsp {
namespace {

struct TessolvError {
    PyBaseExceptionObject base;
    int32_t code_;
    PyObject* message_; // str or None
};

PyTypeObject* exception_type() { return reinterpret_cast<PyTypeObject*>(PyExc_Exception); }

PyObject* error_new(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    PyObject* self = exception_type()->tp_new(type, args, kwargs);
    if (self) {
        auto* e = reinterpret_cast<TessolvError*>(self);
        e->code_ = -1;
        Py_INCREF(Py_None);
        e->message_ = Py_None;
    }
    return self;
}

void error_init(TessolvError& self, PyObject* args, PyObject* kwargs) {
    static const Signature<2> signature{"__init__", {"arg1", "arg2"}, 1};
    auto [arg1, arg2] = parse(signature, args, kwargs);
    int32_t code = -1;
    Ref message;
    if (PyUnicode_Check(arg1) || PyBytes_Check(arg1)) {
        message = Ref::borrow(arg1);
    } else {
        Ref number = Ref::steal(PyNumber_Long(arg1));
        code = to_int32(number.get());
        if (arg2 && arg2 != Py_None)
            message = Ref::borrow(arg2);
        else
            message = Ref::steal(PyBytes_FromString(TSOexplainerror(code)));
    }
    if (!PyUnicode_Check(message.get()))
        message = chars2str(message.get());
    Ref base_args = Ref::steal(PyTuple_Pack(1, message.get()));
    self.code_ = code;
    assign(self.message_, std::move(message));
    checked(exception_type()->tp_init(as_object(&self), base_args.get(), nullptr));
}

int error_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    Py_VISIT(reinterpret_cast<TessolvError*>(self)->message_);
    return exception_type()->tp_traverse(self, visit, arg);
}

int error_clear(PyObject* self) {
    Py_CLEAR(reinterpret_cast<TessolvError*>(self)->message_);
    return exception_type()->tp_clear(self);
}

void error_dealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    PyObject_GC_UnTrack(self);
    Py_CLEAR(reinterpret_cast<TessolvError*>(self)->message_);
    PyObject_GC_Track(self); // the base untracks it again
    exception_type()->tp_dealloc(self);
    Py_DECREF(type);
}

Ref error_errno(TessolvError& self) { return Ref::steal(PyLong_FromLong(self.code_)); }
Ref error_message(TessolvError& self) { return Ref::borrow(self.message_ ? self.message_ : Py_None); }

PyMethodDef error_readonly[] = {
    no_args<error_errno>("errno", "The error code corresponding to the current exception."),
    no_args<error_message>("message", "Text description corresponding to the current exception"),
    {},
};

PyType_Slot error_slots[] = {
    {Py_tp_doc, const_cast<char*>("TessolvError(arg1, arg2=None)\n--\n\n"
                                  "Tessolv exception class to identify an error occurred in the system.\n\n"
                                  "arg1: an error code (one of TSO.Error) or the text itself.\n"
                                  "arg2: the text for a code; None takes the text that the solver has for it.\n\n"
                                  "Example: try: m.optimize()\n"
                                  "         except TessolvError as e: print(e.errno, e.message)")},
    {Py_tp_new, reinterpret_cast<void*>(&error_new)},
    slot<error_init>(Py_tp_init),
    {Py_tp_traverse, reinterpret_cast<void*>(&error_traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(&error_clear)},
    {Py_tp_dealloc, reinterpret_cast<void*>(&error_dealloc)},
    {},
};
PyType_Spec error_spec = {"tessolvpy.TessolvError", sizeof(TessolvError), 0,
                          Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC, error_slots};

} // namespace

PyTypeObject* make_tessolv_error_type() { return make_type(error_spec, exception_type()); }

void install_tessolv_error_members() {
    add_getmetaclass(state().tessolv_error);
    add_readonly(state().tessolv_error, error_readonly);
}

Ref error_fields(Borrowed error) {
    auto* e = reinterpret_cast<TessolvError*>(error);
    return Ref::steal(Py_BuildValue("(iOO)", e->code_, e->message_ ? e->message_ : Py_None, e->base.args));
}

void set_error_fields(Borrowed error, Borrowed fields) {
    PyObject *code = PyTuple_GET_ITEM(fields, 0), *message = PyTuple_GET_ITEM(fields, 1),
             *args = PyTuple_GET_ITEM(fields, 2);
    if (!PyLong_Check(code) || (message != Py_None && !PyUnicode_Check(message)) || !PyTuple_Check(args))
        raise(PyExc_TypeError, "the state of a pickled TessolvError has fields of wrong types");
    auto* e = reinterpret_cast<TessolvError*>(error);
    int32_t number = to_int32(code);
    checked(PyObject_SetAttrString(error, "args", args));
    e->code_ = number;
    assign(e->message_, Ref::borrow(message));
}

void SolverError::set() const noexcept {
    try {
        PyObject* type = as_object(state().tessolv_error);
        Ref error = Ref::steal(PyObject_CallFunction(type, "i", code_));
        PyErr_SetObject(type, error.get());
    } catch (const PythonError&) {
        // making the exception failed, and that failure is set
    }
}

void raise_tessolv_error(const char* format, ...) {
    va_list args;
    va_start(args, format);
    PyObject* text = PyUnicode_FromFormatV(format, args);
    va_end(args);
    Ref message = Ref::steal(text);
    PyErr_SetObject(as_object(state().tessolv_error), message.get());
    throw PythonError();
}

void raise_tessolv_error(int code, const char* format, ...) {
    va_list args;
    va_start(args, format);
    PyObject* text = PyUnicode_FromFormatV(format, args);
    va_end(args);
    Ref message = Ref::steal(text);
    PyObject* type = as_object(state().tessolv_error);
    Ref error = Ref::steal(PyObject_CallFunction(type, "iO", code, message.get()));
    PyErr_SetObject(type, error.get());
    throw PythonError();
}

} // namespace tsp
