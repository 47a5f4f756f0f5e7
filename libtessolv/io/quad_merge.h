// Quadratic terms for files: one for each pair of columns.
#pragma once

#include "core/model.h"

#include <vector>

namespace tso::io {

// Adds up terms of the same pair, in either order, at the place of the first; as they are when no pair repeats.
std::vector<QuadTerm> merged(const std::vector<QuadTerm>& terms);

} // namespace tso::io
