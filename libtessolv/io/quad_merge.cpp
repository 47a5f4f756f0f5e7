#include "io/quad_merge.h"

#include <algorithm>
#include <unordered_map>

namespace tso::io {

std::vector<QuadTerm> merged(const std::vector<QuadTerm>& terms) {
    std::unordered_map<uint64_t, size_t> place;
    place.reserve(terms.size());
    std::vector<QuadTerm> out;
    out.reserve(terms.size());
    for (const QuadTerm& t : terms) {
        const auto [low, high] = std::minmax(t.row, t.col);
        const auto key = static_cast<uint64_t>(low) << 32 | static_cast<uint32_t>(high);
        const auto [at, added] = place.try_emplace(key, out.size());
        if (added)
            out.push_back(t);
        else
            out[at->second].value += t.value;
    }
    return out;
}

} // namespace tso::io
