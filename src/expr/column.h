// Column: the coefficients in existing rows of a variable that is yet to be made.
#pragma once

#include "py/type.h"

namespace tsp {

struct Column {
    PyObject_HEAD PyObject *coeffs_, *constrs_; // lists, parallel
};

inline Column& as_column(Borrowed o) { return *reinterpret_cast<Column*>(o); }

PyTypeObject* make_column_type();

} // namespace tsp
