#include "attr/values.h"

#include "module/state.h"
#include "module/text.h"
#include "py/numpy.h"

#include <climits>
#include <cstring>

namespace tsp {
namespace {

// numpy.array(values, dtype=dtype): the conversion that decides wherever ours does not see the plain case.
Ref numpy_array(Borrowed values, Borrowed dtype) {
    return Ref::steal(PyObject_CallFunctionObjArgs(state().np_array, values, dtype, nullptr));
}

[[noreturn]] void wrong_size(npy_intp given, int wanted) {
    raise(PyExc_ValueError, "%zd values given for %d elements", static_cast<Py_ssize_t>(given), wanted);
}

// A C-contiguous array of a NumPy type with `count` entries in all, whatever its shape.
Ref contiguous(Borrowed values, int type, int count) {
    Ref dtype = Ref::steal(reinterpret_cast<PyObject*>(PyArray_DescrFromType(type)));
    Ref array = numpy_array(values, dtype.get());
    array = Ref::steal(reinterpret_cast<PyObject*>(PyArray_GETCONTIGUOUS(as_array(array.get()))));
    npy_intp size = PyArray_SIZE(as_array(array.get()));
    if (size != count)
        wrong_size(size, count);
    return array;
}

// Converts a list or tuple item by item while `take` says that it knows the item; false if it met another kind. The
// items tested here are exact types, whose conversion runs no Python code.
template <class T, class Take> bool take_plain(Borrowed values, int count, std::vector<T>& out, Take take) {
    if (!PyList_CheckExact(values) && !PyTuple_CheckExact(values))
        return false;
    Py_ssize_t size = PySequence_Fast_GET_SIZE(values);
    PyObject** items = PySequence_Fast_ITEMS(values);
    for (Py_ssize_t i = 0; i < size; ++i) {
        T v;
        if (!take(items[i], v))
            return false;
        if (i < count)
            out[static_cast<std::size_t>(i)] = v;
    }
    if (size != count)
        wrong_size(size, count);
    return true;
}

} // namespace

Ref plain_values(Borrowed values, int count) {
    if (PyArray_Check(values))
        return Ref::steal(PyArray_ToList(as_array(values)));
    if (is_sparse(values)) {
        Ref dense = Ref::steal(PyObject_CallMethod(values, "toarray", nullptr));
        return Ref::steal(PyObject_CallMethod(dense.get(), "tolist", nullptr));
    }
    if (!is_scalar(values))
        return Ref::borrow(values);
    Ref list = Ref::steal(PyList_New(count));
    for (int i = 0; i < count; ++i) {
        Py_INCREF(values);
        PyList_SET_ITEM(list.get(), i, values);
    }
    return list;
}

std::vector<int> int_values(Borrowed values, int count) {
    std::vector<int> out(static_cast<std::size_t>(count));
    bool plain = take_plain(values, count, out, [](PyObject* item, int& v) {
        if (!PyLong_CheckExact(item))
            return false;
        int overflow = 0;
        long n = PyLong_AsLongAndOverflow(item, &overflow);
        v = static_cast<int>(n);
        return !overflow && n >= INT_MIN && n <= INT_MAX;
    });
    if (!plain) {
        Ref array = contiguous(values, NPY_INT32, count);
        std::memcpy(out.data(), PyArray_DATA(as_array(array.get())), out.size() * sizeof(int));
    }
    return out;
}

std::vector<double> double_values(Borrowed values, int count) {
    std::vector<double> out(static_cast<std::size_t>(count));
    bool plain = take_plain(values, count, out, [](PyObject* item, double& v) {
        if (PyFloat_CheckExact(item)) {
            v = PyFloat_AS_DOUBLE(item);
            return true;
        }
        if (!PyLong_CheckExact(item))
            return false;
        v = PyLong_AsDouble(item);
        if (v != -1.0 || !PyErr_Occurred())
            return true;
        PyErr_Clear(); // too large: NumPy words the error
        return false;
    });
    if (!plain) {
        Ref array = contiguous(values, NPY_FLOAT64, count);
        std::memcpy(out.data(), PyArray_DATA(as_array(array.get())), out.size() * sizeof(double));
    }
    return out;
}

std::vector<char> char_values(Borrowed values, int count) {
    std::vector<char> out(static_cast<std::size_t>(count));
    bool plain = take_plain(values, count, out, [](PyObject* item, char& v) {
        if (PyUnicode_CheckExact(item) && PyUnicode_IS_COMPACT_ASCII(item) && PyUnicode_GET_LENGTH(item) == 1)
            v = static_cast<char>(PyUnicode_1BYTE_DATA(item)[0]);
        else if (PyBytes_CheckExact(item) && PyBytes_GET_SIZE(item) == 1)
            v = PyBytes_AS_STRING(item)[0];
        else
            return false;
        return true;
    });
    if (!plain) {
        // Longer texts become rows of characters, of which the first column counts.
        Ref dtype = Ref::steal(PyUnicode_FromString("c"));
        Ref array = numpy_array(values, dtype.get());
        array = Ref::steal(reinterpret_cast<PyObject*>(PyArray_GETCONTIGUOUS(as_array(array.get()))));
        PyArrayObject* a = as_array(array.get());
        npy_intp rows = PyArray_NDIM(a) ? PyArray_DIM(a, 0) : 1;
        if (rows != count || PyArray_SIZE(a) < rows)
            wrong_size(rows, count);
        npy_intp step = rows ? PyArray_NBYTES(a) / rows : 0;
        for (int i = 0; i < count; ++i)
            out[static_cast<std::size_t>(i)] = static_cast<const char*>(PyArray_DATA(a))[i * step];
    }
    return out;
}

TextValues::TextValues(Borrowed values, int count) : pointers_(static_cast<std::size_t>(count)) {
    Ref array = contiguous(values, NPY_OBJECT, count);
    auto** items = static_cast<PyObject**>(PyArray_DATA(as_array(array.get())));
    for (int i = 0; i < count; ++i)
        pointers_[static_cast<std::size_t>(i)] = str2chars(items[i] ? items[i] : Py_None); // the array holds the str
    hold_ = std::move(array);
}

} // namespace tsp
