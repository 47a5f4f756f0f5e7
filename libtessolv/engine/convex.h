// Whether a quadratic function is convex.
#pragma once

#include "core/model.h"

#include <vector>

namespace tso::engine {

// Whether sign * sum of value * x[row] * x[col] is convex, up to rounding: a matrix that is positive semi-definite but
// for pivots of about -1e-9 of their diagonal entry counts as convex.
bool is_convex(const std::vector<QuadTerm>& terms, double sign);

} // namespace tso::engine
