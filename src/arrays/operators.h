// The operators where an array takes part: an array of variables or expressions, or any array beside an operand.
#pragma once

#include "py/ref.h"

namespace tsp {

// self + other and self * other with an Operand as `self`; TypeError where there is no such sum or product.
Ref arrays_add(Borrowed self, Borrowed other);
Ref arrays_multiply(Borrowed self, Borrowed other);
// a @ b with an Operand on one side.
Ref arrays_matmul(Borrowed a, Borrowed b);

// Hands them to the scalar operators.
void install_array_operators();

} // namespace tsp
