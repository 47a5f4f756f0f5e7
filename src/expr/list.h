// List: the term store as a Python object.
#pragma once

#include "expr/store.h"
#include "module/state.h"
#include "py/type.h"

namespace tsp {

struct List {
    PyObject_HEAD Store<PyObject*> items;
};

PyTypeObject* make_list_type();
inline bool is_list(Borrowed o) { return is_instance(o, state().list); }

// What `store += other` does: other is a list or a List, else TypeError. An empty store becomes a view of a List.
void append_to(Store<PyObject*>& store, Borrowed other);

} // namespace tsp
