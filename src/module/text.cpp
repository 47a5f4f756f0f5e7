#include "module/text.h"

#include "module/state.h"
#include "py/numpy.h"

namespace tsp {

Chars::Chars(Borrowed value) {
    if (!PyUnicode_Check(value)) {
        Ref arguments = Ref::steal(Py_BuildValue("(Os)", value, "UTF-8"));
        Ref bytes = Ref::steal(PyObject_CallObject(reinterpret_cast<PyObject*>(&PyBytes_Type), arguments.get()));
        raise(PyExc_TypeError, "expected str, got %.200s", Py_TYPE(value)->tp_name); // not reached: bytes() refuses
    }
    text_ = PyUnicode_AsUTF8(value);
    if (!text_)
        throw PythonError();
    keep_ = Ref::borrow(value);
}

Ref chars2str(Borrowed bytes) { return Ref::steal(PyUnicode_FromEncodedObject(bytes, "UTF-8", nullptr)); }

bool has_underscores(Borrowed name, Py_ssize_t count) {
    if (PyUnicode_GET_LENGTH(name) < count)
        return false;
    for (Py_ssize_t i = 0; i < count; ++i)
        if (PyUnicode_READ_CHAR(name, i) != '_')
            return false;
    return true;
}

bool is_scalar(Borrowed value) {
    PyTypeObject* type = Py_TYPE(value);
    if (type == &PyFloat_Type || type == &PyLong_Type || type == &PyUnicode_Type || type == &PyBool_Type)
        return true;
    if (type == &PyList_Type || type == &PyTuple_Type || type == &PyDict_Type || value == Py_None ||
        type == &PyArray_Type)
        return false;
    Ref answer = Ref::steal(PyObject_CallFunctionObjArgs(state().np_isscalar, value, nullptr));
    return checked(PyObject_IsTrue(answer.get()));
}

bool is_sparse(Borrowed value) {
    return checked(PyObject_IsInstance(value, state().spmatrix)) ||
           (state().sparray && checked(PyObject_IsInstance(value, state().sparray)));
}

Ref shorten(Ref text) {
    constexpr Py_ssize_t kLongest = 250, kHalf = (kLongest - 3) >> 1; // 251 characters come out: one more than kLongest
    Py_ssize_t size = PyUnicode_GET_LENGTH(text.get());
    if (size <= kLongest)
        return text;
    Ref head = Ref::steal(PyUnicode_Substring(text.get(), 0, kHalf));
    Ref tail = Ref::steal(PyUnicode_Substring(text.get(), size - kHalf, size));
    return Ref::steal(PyUnicode_FromFormat("%U ... %U", head.get(), tail.get()));
}

void print(Ref text) {
    // Looked up at every call, so that a program that replaces it sees what is printed.
    PyObject* builtins = PyEval_GetBuiltins();
    PyObject* function = builtins ? PyDict_GetItemString(builtins, "print") : nullptr;
    if (!function)
        raise(PyExc_RuntimeError, "lost builtins.print");
    Ref hold = Ref::borrow(function);
    Ref::steal(PyObject_CallFunctionObjArgs(hold.get(), text.get(), nullptr));
}

} // namespace tsp
