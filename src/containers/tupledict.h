// tupledict: a dict whose keys are queried by pattern, and whose values are summed in one call.
#pragma once

#include "py/type.h"

namespace tsp {

struct TupleDict {
    PyDictObject dict;
    PyObject* keys_; // the tuplelist of the keys, or null: built by a query, dropped by every store
};

PyTypeObject* make_tupledict_type();

Ref new_tupledict();                                               // empty
void tupledict_set(TupleDict& self, Borrowed key, Borrowed value); // self[key] = value

} // namespace tsp
