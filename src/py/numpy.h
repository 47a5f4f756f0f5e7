// NumPy's C interface. Its function table is filled once, by numpy.cpp.
#pragma once

#include "py/ref.h"

#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#define PY_ARRAY_UNIQUE_SYMBOL tessolvpy_numpy
#ifndef TSP_FILLS_NUMPY
#define NO_IMPORT_ARRAY
#endif
#include <numpy/arrayobject.h>
#include <numpy/arrayscalars.h>

namespace tsp {

void import_numpy(); // fills the table; throws PythonError

inline PyArrayObject* as_array(Borrowed o) { return reinterpret_cast<PyArrayObject*>(o); }

// One value as NumPy's scalar of it, as `array.flat[i]` gives it. Its allocator would clear what is then filled.
inline Ref float64_scalar(double v) {
    Ref r = Ref::steal(reinterpret_cast<PyObject*>(PyObject_New(PyDoubleScalarObject, &PyDoubleArrType_Type)));
    PyArrayScalar_ASSIGN(r.get(), Double, v);
    return r;
}
inline Ref int32_scalar(npy_int32 v) {
    Ref r = Ref::steal(reinterpret_cast<PyObject*>(PyObject_New(PyIntScalarObject, &PyIntArrType_Type)));
    PyArrayScalar_ASSIGN(r.get(), Int, v);
    return r;
}

} // namespace tsp
