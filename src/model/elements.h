// What the queries and edits of Model take and give: elements by their handles, and handles by index.
#pragma once

#include "handles/handle.h"
#include "model/model.h"

namespace tsp {

// The index of an element of this model that was passed as `argument`. What is no handle of that type raises TypeError;
// a handle of a removed element or of another model raises TessolvError, with the solver's code for a bad index of that
// kind.
int index_of_element(const Model& self, Borrowed handle, PyTypeObject* type, const char* argument);

// The handle at a place of one of the lists of handles; IndexError if there is none.
Borrowed handle_at(Borrowed list, PyTypeObject* type, int index);

} // namespace tsp
