// Operand: the base class of everything that takes part in arithmetic.
#pragma once

#include "py/type.h"

namespace tsp {

PyTypeObject* make_operand_type();

} // namespace tsp
