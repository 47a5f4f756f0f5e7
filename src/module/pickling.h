// Pickling and copying: value objects survive both, handles and what holds them refuse.
#pragma once

#include "py/type.h"

namespace tsp {

// Gives every class that the module has by now its part of the protocol, and binds the functions that pickles name.
void install_pickling(Borrowed module);

} // namespace tsp
