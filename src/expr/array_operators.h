// The operators of arrays, as the scalar operators see them: they lie above and put themselves in here at import.
#pragma once

#include "py/ref.h"

namespace tsp {

struct ArrayOperators {
    // One operand at least is an Operand; scalars that meet numbers and scalars never come here.
    Ref (*add)(Borrowed self, Borrowed other);
    Ref (*multiply)(Borrowed self, Borrowed other);
    Ref (*matmul)(Borrowed a, Borrowed b);
    // Of an array; null results mean that the operand is none.
    Ref (*negative)(Borrowed a);
    Ref (*square)(Borrowed a);
    bool (*is_array)(Borrowed a);
};
extern ArrayOperators g_array_operators;

} // namespace tsp
