// Values on their way to the solver: Python objects become flat arrays of the attribute's type.
#pragma once

#include "py/ref.h"

#include <vector>

namespace tsp {

// An ndarray or a sparse matrix as nested lists, and one value for `count` elements as a list that repeats it.
Ref plain_values(Borrowed values, int count);

// Arrays of exactly `count` entries, converted as numpy.array(values, dtype=...) does; ValueError for another size.
std::vector<int> int_values(Borrowed values, int count);
std::vector<double> double_values(Borrowed values, int count);
std::vector<char> char_values(Borrowed values, int count); // the first character of each

// Texts, held while the solver reads them.
class TextValues {
public:
    TextValues(Borrowed values, int count);
    const char** pointers() { return pointers_.data(); }

private:
    Ref hold_; // owns the str objects whose UTF-8 forms are pointed to
    std::vector<const char*> pointers_;
};

} // namespace tsp
