// CSDP: semi-definite variables, with linear rows, bounds and convex quadratic rows, second-order
// cones and convex quadratic objectives beside them.
#pragma once

#include "engine/engine.h"

#include <memory>

namespace tso::engine {

std::unique_ptr<Engine> make_csdp();

} // namespace tso::engine
