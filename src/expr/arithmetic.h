// The scalar arithmetic: kernels named <left>_<op>_<right> by the kinds of their operands (v Var, l LinExpr, q
// QuadExpr, n number). A kernel changes no operand and returns none: it makes a new expression.
#pragma once

#include "expr/quadexpr.h"

namespace tsp {

// TypeError: there is no such operation on two objects.
[[noreturn]] void unsupported(const char* op, Borrowed a, Borrowed b);

Ref v_mul_n(Borrowed v, double n);
Ref v_mul_v(Borrowed v, Borrowed w);
Ref l_mul_n(const LinExpr& l, double n);
Ref l_mul_v(const LinExpr& l, Borrowed v);
Ref l_mul_l(const LinExpr& l, const LinExpr& m);
Ref q_mul_n(const QuadExpr& q, double n);

// Whether an operand is of one of the kinds, and not of the base class alone.
bool has_kind(Borrowed x);

// The operators of Operand on any two objects, of which at least one is an operand.
Ref add(Borrowed a, Borrowed b);
Ref subtract(Borrowed a, Borrowed b);
Ref multiply(Borrowed a, Borrowed b);
Ref negative(Borrowed a);

} // namespace tsp
