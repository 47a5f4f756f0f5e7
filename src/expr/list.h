// List: the term store as a Python object.
#pragma once

#include "expr/coeff.h"
#include "module/state.h"
#include "py/type.h"

namespace tsp {

struct List {
    PyObject_HEAD Store<Coeff> items;
};

PyTypeObject* make_list_type();
inline bool is_list(Borrowed o) { return is_instance(o, state().list); }

// What `store += other` does: other is a list or a List, else TypeError. An empty store becomes a view of a List.
void append_to(Store<Coeff>& store, Borrowed other);

} // namespace tsp
