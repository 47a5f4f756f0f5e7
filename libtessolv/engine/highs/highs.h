// HiGHS: linear problems, convex quadratic objectives, integer and semi-continuous variables.
#pragma once

#include "engine/engine.h"

#include <memory>

namespace tso::engine {

std::unique_ptr<Engine> make_highs();

} // namespace tso::engine
