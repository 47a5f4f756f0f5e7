// Whether a quadratic function is convex.
#pragma once

#include "core/model.h"
#include "core/run.h"

#include <vector>

namespace tso::engine {

// Whether sign * sum of value * x[row] * x[col] is convex, up to rounding: a matrix that is positive semi-definite but
// for pivots of about -1e-9 of their diagonal entry counts as convex. The answer means nothing if `run` is over by
// then.
bool is_convex(const std::vector<QuadTerm>& terms, double sign, const Run* run = nullptr);

// About how much has to be added to the diagonal of a symmetric matrix (dim x dim) before it is positive semi-definite:
// 0 if 1e-9 of `size` is enough, else the first of 1e-8, 1e-7, ... of size that is.
double least_shift(const std::vector<double>& matrix, int dim, double size);

// Whether what row i allows is a convex set: a convex function below a side, a concave one above a side, or a
// second-order cone, plain (sum of squares <= t^2, t of one sign) or rotated (sum of squares <= s * t). Products in
// which all terms cancel out count as linear.
bool is_convex_row(const Model& model, int i, const Run* run = nullptr);

} // namespace tso::engine
