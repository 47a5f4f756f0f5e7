// Checks of what comes from outside; each throws Failure with the code that the interface promises.
#pragma once

#include "core/failure.h"

#include <cmath>
#include <cstring>
#include <string_view>

namespace tso {

inline void require(bool holds, int code) {
    if (!holds) [[unlikely]]
        throw Failure(code);
}

// `count` elements in every array given.
template <class... T> void check_arrays(int count, const T*... array) {
    require(count >= 0 && (count == 0 || (... && (array != nullptr))), TSO_INVALID_ARGUMENT);
}

inline void check_index(int i, int size, int code) {
    require(static_cast<unsigned>(i) < static_cast<unsigned>(size), code);
}

// The elements of a list form: `ind`, or 0 to count-1 where it is null.
inline void check_list(int count, const int* ind, int size, int code) {
    require(count >= 0, TSO_INVALID_ARGUMENT);
    if (!ind)
        require(count <= size, code);
    else
        for (int k = 0; k < count; ++k)
            check_index(ind[k], size, code);
}
inline int element(const int* ind, int k) { return ind ? ind[k] : k; }

// Costs, coefficients, weights, constants.
inline double checked_finite(double v) {
    require(std::fabs(v) < TSO_INFINITY, TSO_INVALID_ARGUMENT); // a NaN fails too
    return v;
}

inline double checked_lower(double v) {
    require(v < TSO_INFINITY, TSO_INVALID_ARGUMENT);
    return v > -TSO_INFINITY ? v : -TSO_INFINITY;
}

inline double checked_upper(double v) {
    require(v > -TSO_INFINITY, TSO_INVALID_ARGUMENT);
    return v < TSO_INFINITY ? v : TSO_INFINITY;
}

inline std::string_view checked_name(const char* name) {
    if (!name)
        return {};
    const size_t n = ::strnlen(name, TSO_MAX_NAMELEN + 1);
    require(n <= TSO_MAX_NAMELEN, TSO_INVALID_ARGUMENT);
    return {name, n};
}

// Starts of `count` runs in arrays of `entries`: rising, and inside.
inline void check_begins(int count, int entries, const int* begin) {
    int last = 0;
    for (int k = 0; k < count; ++k) {
        require(begin[k] >= last && begin[k] <= entries, TSO_INVALID_ARGUMENT);
        last = begin[k];
    }
}

inline char checked_type(char type) {
    switch (type) {
    case TSO_CONTINUOUS:
    case TSO_BINARY:
    case TSO_INTEGER:
    case TSO_SEMICONT:
    case TSO_SEMIINT:
        return type;
    case 'c':
    case 'b':
    case 'i':
    case 's':
    case 'n':
        return static_cast<char>(type - 'a' + 'A');
    }
    throw Failure(TSO_INVALID_ARGUMENT);
}

inline char checked_sense(char sense) {
    require(sense == TSO_LESS_EQUAL || sense == TSO_GREATER_EQUAL || sense == TSO_EQUAL, TSO_INVALID_ARGUMENT);
    return sense;
}

} // namespace tso
