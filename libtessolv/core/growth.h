// Growth of vectors ahead of a change, so that the change itself cannot run out of memory half-way.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace tso {

// Room for `extra` more elements, growing by half at least, so that appending stays amortised constant time.
template <class T> void reserve_more(std::vector<T>& v, size_t extra) {
    if (v.capacity() - v.size() < extra)
        v.reserve(std::max(v.size() + extra, v.capacity() + v.capacity() / 2));
}

// Takes out the elements that are marked. v may be shorter than the marks: elements without a value there.
template <class T> void erase_marked(std::vector<T>& v, const std::vector<char>& gone) {
    size_t kept = 0;
    if constexpr (std::is_trivially_copyable_v<T>) {
        T* const at = v.data(); // no branches, which marks without a pattern would mislead
        for (size_t i = 0; i < v.size(); ++i) {
            at[kept] = at[i];
            kept += gone[i] == 0;
        }
    } else {
        for (size_t i = 0; i < v.size(); ++i)
            if (!gone[i]) {
                if (kept != i)
                    v[kept] = std::move(v[i]);
                ++kept;
            }
    }
    v.erase(v.begin() + static_cast<std::ptrdiff_t>(kept), v.end());
}

} // namespace tso
