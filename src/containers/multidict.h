// multidict: one mapping of lists, split into its keys and a tupledict for each position of the lists.
#pragma once

#include "py/type.h"

namespace tsp {

Ref multidict(PyObject*, const Call& call);

inline constexpr const char* kMultidictDoc =
    "multidict($module, d)\n--\n\n"
    "Splits a dict of lists into columns.\n\n"
    "d: dict of keys, all scalars or all tuples of one length, to lists or tuples of values.\n"
    "Returns a list: a tuplelist of the keys, then one tupledict for each position of the lists. The shortest list\n"
    "decides how many there are. If any value is neither list nor tuple, one tupledict has all the values as they "
    "are.\n"
    "Raises TypeError if d is no dict, ValueError for mixed keys, MemoryError for an empty dict, which says nothing\n"
    "about the number of columns.\n\n"
    "Example: cities, supply, cost = multidict({'Oslo': [5, 2.0], 'Moss': [3, 1.5]})";

} // namespace tsp
