// SCIP: special ordered sets, indicators, integers with quadratic parts, quadratic parts that are not convex, and every
// mixture of those with linear rows and all types of variables.
#pragma once

#include "engine/engine.h"

#include <memory>

namespace tso::engine {

std::unique_ptr<Engine> make_scip();

} // namespace tso::engine
