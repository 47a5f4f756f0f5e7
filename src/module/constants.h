// The public constants: TSO, and the classes behind its groups.
#pragma once

#include "py/ref.h"

namespace tsp {

// Builds the constant classes in their order and binds attr, param, callback and TSO in the module.
void build_constants(Borrowed module);

} // namespace tsp
