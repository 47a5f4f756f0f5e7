// HandleArray: arrays of handles. MVar of variables, MConstr of linear rows, MQConstr of quadratic rows.
#pragma once

#include "arrays/block.h"
#include "handles/handle.h"

namespace tsp {

struct HandleArray {
    PyObject_HEAD PyObject* array; // ndarray of handles; null in an object made without contents
    bool owned;                    // no program can reach the array itself, to write into it
};

inline HandleArray& as_handle_array(Borrowed o) { return *reinterpret_cast<HandleArray*>(o); }
inline bool is_mvar(Borrowed o) { return is_instance(o, state().mvar); }
inline bool is_handle_array(Borrowed o) {
    return is_mvar(o) || is_instance(o, state().mconstr) || is_instance(o, state().mqconstr);
}

void make_handle_array_types(); // MVar, MConstr, MQConstr; Operand is made already
void install_handle_array_members();

// A new MVar, MConstr or MQConstr around an array, which it shares; anything else goes through numpy.array.
Ref new_handle_array(PyTypeObject* type, Borrowed array, bool owned);

// The ndarray inside; AttributeError if there is none.
PyObject* array_of(const HandleArray& a);

// As a block, where all cells are plain variables.
inline BlockRef block_of(const HandleArray& a) { return block_of_vars(a.array, a.owned); }

} // namespace tsp
