// HiGHS: linear problems, convex quadratic objectives, integer and semi-continuous variables.
#pragma once

#include "engine/engine.h"

#include <memory>

namespace tso::engine {

bool highs_can(const Features& f);
std::unique_ptr<Engine> make_highs();

} // namespace tso::engine
