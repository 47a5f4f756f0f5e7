// Convex quadratic forms as sums of squares, for which semi-definite blocks of two rows stand.
#pragma once

#include "core/model.h"

#include <optional>
#include <utility>
#include <vector>

namespace tso::engine::csdp {

using LinearForm = std::vector<std::pair<int, double>>; // (column, coefficient)

// Forms whose squares add up to sign * sum of value * x[row] * x[col]; none if that is not convex.
std::optional<std::vector<LinearForm>> squares_of(const std::vector<QuadTerm>& terms, double sign);

} // namespace tso::engine::csdp
