// TempConstr: what a comparison of expressions yields, until a model takes it apart.
#pragma once

#include "expr/linexpr.h"

namespace tsp {

struct TempConstr {
    PyObject_HEAD
        // Bounds of expr, None where there is none. An indicator pair has no expr (None) and its two constraints here.
        PyObject *lb,
        *ub;
    PyObject* expr;
};

inline TempConstr& as_tempconstr(Borrowed o) { return *reinterpret_cast<TempConstr*>(o); }
inline bool is_tempconstr(Borrowed o) { return is_instance(o, state().tempconstr); }

PyTypeObject* make_tempconstr_type();

// lb <= lhs <= rhs; None on one side moves the other side into the expression, as lhs <= rhs and lhs >= lb.
Ref make_tempconstr(Borrowed lhs, Borrowed lb, Borrowed rhs);

// expr with both bounds 0, or only the one: takes the expression as it is.
Ref tempconstr_of(Ref expr, bool lower, bool upper);

// The comparison operators of Operand: op is Py_LE, Py_GE, Py_EQ or Py_NE; others are not implemented.
Ref compare(Borrowed a, Borrowed b, int op);

} // namespace tsp
