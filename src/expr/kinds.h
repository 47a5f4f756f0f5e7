// What an operand is, told by exact types first: the answer to most questions without asking Python.
#pragma once

#include "module/state.h"
#include "py/type.h"

namespace tsp {

// The kinds that arithmetic tells apart, in the order of the tests.
enum class Operands : unsigned char { Other, Number, Var, LinExpr, QuadExpr };

// isinstance(x, numbers.Number).
bool is_number(Borrowed x);

// The array test of the operators: everything that is no number, text, operand or sparse matrix, and what asks for it
// by an __array_priority__ of its own. `sparse` is the answer for sparse matrices.
bool is_arraylike(Borrowed x, bool sparse = false);

bool is_var(Borrowed x);
bool is_linexpr(Borrowed x);
bool is_quadexpr(Borrowed x);
inline bool is_psdvar(Borrowed x) { return is_instance(x, state().psdvar); }
inline bool is_psdexpr(Borrowed x) { return is_instance(x, state().psdexpr); }

// The kind by exact type, where that tells: Other otherwise.
inline Operands exact_kind(Borrowed x) {
    PyTypeObject* t = Py_TYPE(x);
    const State& s = state();
    if (t == s.var)
        return Operands::Var;
    if (t == s.linexpr)
        return Operands::LinExpr;
    if (t == &PyFloat_Type || t == &PyLong_Type)
        return Operands::Number;
    if (t == s.quadexpr)
        return Operands::QuadExpr;
    return Operands::Other;
}

// The kind of any object; Other also for what is like an array.
Operands kind_of(Borrowed x);

} // namespace tsp
