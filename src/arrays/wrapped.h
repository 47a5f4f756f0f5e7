// What all arrays share: each wraps one NumPy array of objects, whose methods do the work.
#pragma once

#include "arrays/block.h"
#include "module/state.h"
#include "py/args.h"
#include "py/numpy.h"
#include "py/type.h"

#include <array>
#include <string_view>
#include <utility>

namespace tsp {

// A method of an array, called by name.
template <class... A> Ref call_method(Borrowed array, const char* name, A... args) {
    Ref method = Ref::steal(PyUnicode_InternFromString(name));
    return Ref::steal(PyObject_CallMethodObjArgs(array, method.get(), args..., nullptr));
}

// An array of objects as it is; anything else becomes one.
inline Ref as_ndarray(Borrowed x) {
    Ref array = PyArray_Check(x) ? Ref::borrow(x) : Ref::steal(PyObject_CallOneArg(state().np_array, x));
    if (PyArray_TYPE(as_array(array.get())) == NPY_OBJECT)
        return array;
    return Ref::steal(PyArray_FROMANY(array.get(), NPY_OBJECT, 0, 0, 0));
}

inline Ref shape_tuple(const Shape& lengths) {
    Ref shape = Ref::steal(PyTuple_New(static_cast<Py_ssize_t>(lengths.size())));
    for (std::size_t i = 0; i < lengths.size(); ++i)
        PyTuple_SET_ITEM(shape.get(), static_cast<Py_ssize_t>(i), Ref::steal(PyLong_FromSsize_t(lengths[i])).release());
    return shape;
}

// What indexing gives, as an array: one cell becomes one without dimensions.
inline Ref indexed(Borrowed array, Borrowed key) {
    Ref cell = Ref::steal(PyObject_GetItem(array, key));
    if (PyArray_Check(cell.get()))
        return cell;
    Ref zero_d = Ref::steal(PyArray_SimpleNew(0, nullptr, NPY_OBJECT));
    checked(
        PyArray_SETITEM(as_array(zero_d.get()), static_cast<char*>(PyArray_DATA(as_array(zero_d.get()))), cell.get()));
    return zero_d;
}

// len() of an array: its first dimension.
inline Py_ssize_t length_of(const Shape& shape) {
    if (shape.empty())
        raise(PyExc_TypeError, "len() of unsized object");
    return shape[0];
}

// The one cell of an array; ValueError `message` if there are more, or none.
inline Ref only_item(PyArrayObject* a, const char* message) {
    if (PyArray_SIZE(a) != 1)
        raise(PyExc_ValueError, "%s", message);
    return Ref::steal(PyArray_GETITEM(a, static_cast<char*>(PyArray_DATA(a))));
}

inline Ref array_text(const char* name, Borrowed array) {
    return Ref::steal(PyUnicode_FromFormat("<%s %R>\n%S", name, shape_tuple(shape_of(array)).get(), array));
}

// Iterates over the first dimension through self[i].
inline Ref iterate(Borrowed self, Py_ssize_t length) {
    Ref items = Ref::steal(PyList_New(0));
    for (Py_ssize_t i = 0; i < length; ++i) {
        Ref index = Ref::steal(PyLong_FromSsize_t(i));
        Ref item = Ref::steal(PyObject_GetItem(self, index.get()));
        checked(PyList_Append(items.get(), item.get()));
    }
    return Ref::steal(PyObject_GetIter(items.get()));
}

// What stands in the texts of a table that several classes share, beginning with "@", and what one class says there.
using Words = std::array<std::pair<std::string_view, std::string_view>, 4>;
void fill_in(PyMethodDef* rows, const Words& words);

constexpr PyMethodDef as_static_method(PyMethodDef method) {
    method.ml_flags |= METH_STATIC;
    return method;
}

} // namespace tsp
