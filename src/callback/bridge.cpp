#include "callback/bridge.h"

#include "module/state.h"
#include "module/text.h"
#include "py/args.h"
#include "py/gil.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <algorithm>

namespace tsp {
namespace {

constexpr int kPresolvedVariables = 200; // PRE_NUMVARS

Ref undefined_array(int count) {
    npy_intp size = count;
    Ref array = Ref::steal(PyArray_SimpleNew(1, &size, NPY_FLOAT64));
    auto* data = static_cast<double*>(PyArray_DATA(as_array(array.get())));
    std::fill_n(data, count, TSO_UNDEFINED);
    return array;
}

void call_user(Model& model, int where) {
    Ref function = Ref::borrow(model.callback_);
    PyObject* result = PyObject_CallFunction(function.get(), "Oi", as_object(&model), where);
    if (result) {
        Py_DECREF(result);
        Ref use = Ref::steal(PyUnicode_InternFromString("cbUseSolution")); // a subclass may have its own
        result = PyObject_CallMethodNoArgs(as_object(&model), use.get());
        if (result) {
            Py_DECREF(result);
            return;
        }
    }
    if (!PyErr_ExceptionMatches(PyExc_Exception))
        throw PythonError();
    // Printed as traceback.print_exc prints it, and the run goes on.
    PyObject *type, *value, *traceback;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    Ref t = Ref::steal(type), v = Ref::steal(value), tb = traceback ? Ref::steal(traceback) : Ref::none();
    Ref::steal(PyObject_CallMethod(state().traceback, "print_exception", "OOO", t.get(), v.get(), tb.get()));
}

void call_with_model(TSOcbdata cbdata, int where, Model& model) {
    model.cbdata_ = cbdata;
    model.where_ = where;
    model.terminate_ = 0;
    model.usersolmode_ = 0;
    int count = cbint(model, kPresolvedVariables);
    count = std::max(count, variable_count(model));
    assign(model.usersol_, undefined_array(count));
    if (model.callback_ != Py_None)
        call_user(model, where);
    assign(model.usersol_, Ref::none());
    if (model.terminate_ != 0) {
        // Kept: there is no code of this name, so the look-up fails, and that failure is what ends the run
        // (test_solving.py: test_terminate_ends_the_run).
        Ref codes = Ref::steal(PyObject_GetAttrString(state().tso, "Error"));
        Ref::steal(PyObject_GetAttrString(codes.get(), "ABORT_CTRL_C"));
    }
}

thread_local int t_depth = 0; // of callbacks that run on this thread

// The lock around every entry, as a with statement takes it.
class CallbackLock {
public:
    CallbackLock() {
        PyObject* type = as_object(Py_TYPE(state().callback_lock));
        exit_ = Ref::steal(PyObject_GetAttrString(type, "__exit__"));
        Ref enter = Ref::steal(PyObject_GetAttrString(type, "__enter__"));
        Ref::steal(PyObject_CallFunctionObjArgs(enter.get(), state().callback_lock, nullptr));
    }
    void leave() { call_exit(Py_None, Py_None, Py_None); }
    // Hands over the error that is set; true if the lock says that it is handled.
    bool leave_with_error() {
        PyObject *type, *value, *traceback;
        PyErr_Fetch(&type, &value, &traceback);
        PyErr_NormalizeException(&type, &value, &traceback);
        bool handled;
        try {
            handled = call_exit(type, value ? value : Py_None, traceback ? traceback : Py_None);
        } catch (const PythonError&) {
            Py_XDECREF(type);
            Py_XDECREF(value);
            Py_XDECREF(traceback);
            throw;
        }
        PyErr_Restore(type, value, traceback);
        if (handled)
            PyErr_Clear();
        return handled;
    }

private:
    bool call_exit(PyObject* type, PyObject* value, PyObject* traceback) {
        Ref answer = Ref::steal(
            PyObject_CallFunctionObjArgs(exit_.get(), state().callback_lock, type, value, traceback, nullptr));
        return checked(PyObject_IsTrue(answer.get()));
    }
    Ref exit_;
};

void enter_python(TSOcbdata cbdata, int where, Model& model) {
    // The callback in which this run was started holds the lock until the run ends: waiting for it would have no end.
    if (model.nested_)
        raise(PyExc_RuntimeError, "a run that was started in a callback cannot call back");
    CallbackLock lock;
    struct Inside {
        Inside() { ++t_depth; }
        ~Inside() { --t_depth; }
    } inside;
    try {
        call_with_model(cbdata, where, model);
    } catch (...) {
        error_from_exception();
        if (lock.leave_with_error())
            return;
        throw PythonError();
    }
    lock.leave();
}

// The error that is set goes into the model; no error state stays behind on this thread.
void keep_error(Model& model) {
    PyObject *type, *value, *traceback;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    if (value && traceback)
        PyException_SetTraceback(value, traceback);
    PyErr_Clear();
    Py_XDECREF(type);
    Py_XDECREF(traceback);
    if (value)
        assign(model.callback_error_, Ref::steal(value));
}

} // namespace

extern "C" int PyCallback(TSOmodel, TSOcbdata cbdata, int where, void* usrdata) {
    HoldGil gil;
    Model& model = *static_cast<Model*>(usrdata);
    int result = 0;
    try {
        enter_python(cbdata, where, model);
    } catch (...) {
        error_from_exception();
        keep_error(model);
        result = -1;
    }
    model.cbdata_ = nullptr;
    return result;
}

bool inside_callback() { return t_depth > 0; }

void attach_callback_error(Model& self) {
    if (self.callback_error_ == Py_None)
        return;
    PyObject *type, *value, *traceback;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    if (value) {
        Py_INCREF(self.callback_error_);
        PyException_SetContext(value, self.callback_error_); // takes over the reference
    }
    PyErr_Restore(type, value, traceback);
    assign(self.callback_error_, Ref::none());
}

void require_callback(const Model& model) {
    if (!model.cbdata_)
        raise(PyExc_RuntimeError, "method can only be called in callback function");
}

int variable_count(Model& model) {
    Ref name = Ref::steal(PyUnicode_InternFromString("numvars"));
    return to_int32(model_get_attribute(model, name.get(), Py_None).get());
}

int cbint(Model& model, int what) {
    int v = 0;
    check(TSOcbget(model.cbdata_, model.where_, what, &v));
    return v;
}

double cbdbl(Model& model, int what) {
    double v = 0;
    check(TSOcbget(model.cbdata_, model.where_, what, &v));
    return v;
}

int cbintat(Model& model, int what, int i) {
    int* values = nullptr;
    check(TSOcbget(model.cbdata_, model.where_, what, &values));
    return values[i]; // Kept: not guarded, unlike cbdblat; nothing calls it with an array that is missing.
}

double cbdblat(Model& model, int what, int i) {
    double* values = nullptr;
    check(TSOcbget(model.cbdata_, model.where_, what, &values));
    return values ? values[i] : TSO_UNDEFINED;
}

} // namespace tsp
