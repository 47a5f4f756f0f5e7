// Whether a quadratic function is convex.
#pragma once

#include "core/model.h"

#include <vector>

namespace tso::engine {

// Whether sign * sum of value * x[row] * x[col] is convex, up to rounding: a matrix that is positive semi-definite but
// for pivots of about -1e-9 of their diagonal entry counts as convex.
bool is_convex(const std::vector<QuadTerm>& terms, double sign);

// Whether what row i allows is a convex set: a convex function below a side, a concave one above a side, or a
// second-order cone, plain (sum of squares <= t^2, t of one sign) or rotated (sum of squares <= s * t). Products in
// which all terms cancel out count as linear.
bool is_convex_row(const Model& model, int i);

} // namespace tso::engine
