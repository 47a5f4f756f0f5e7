// Handles: the Python objects that stand for one element of a model each. The seven kinds differ by a row of data.
#pragma once

#include "attr/access.h"
#include "module/state.h"
#include "py/type.h"

namespace tsp {

struct Handle {
    PyObject_HEAD TSOmodel mdl_; // not owned: a handle does not keep its model alive
    int32_t index_;              // position in the model; negative once removed
};
static_assert(sizeof(Handle) == sizeof(PyObject) + 16); // models hold millions of these

// Makes the seven types, Operand first being made already.
void make_handle_types();
void install_handle_members(); // the read-only property `index`

// A new handle of one of the types.
Ref new_handle(PyTypeObject* type, TSOmodel model, int index);

// A list of new handles with the indices 0 to count-1.
Ref new_handle_list(PyTypeObject* type, TSOmodel model, int count);

// The kind of a handle; Kind::Model for what is none.
Kind kind_of_handle(Borrowed object);

// The kind of a handle, or TypeError "type {} temporary not support".
Kind require_kind(Borrowed object);

// The operator * of PsdVar: one of the two is a PsdVar. Defined in expr/psdexpr.cpp, which lies above the handles.
Ref multiply_psdvar(Borrowed a, Borrowed b);

// The `index` of every member of an iterable with a length, as the attribute functions want them.
std::vector<int> handle_indices(Borrowed objects);

} // namespace tsp
