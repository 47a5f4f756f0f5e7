// The public functions of the module, and the clean-up at the end of the process.
#pragma once

#include "py/type.h"

namespace tsp {

// Binds the public functions in the module, in their order.
void bind_functions(Borrowed module);

// What atexit calls: models are disposed first, then environments, each in the order in which they were made.
Ref cleanup_function();

} // namespace tsp
