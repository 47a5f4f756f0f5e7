// ExprArray: arrays of expressions, MLinExpr and MQuadExpr.
#pragma once

#include "arrays/block.h"

namespace tsp {

struct ExprArray {
    PyObject_HEAD PyObject* array; // ndarray of expressions; null while the cells are in `block`
    BlockRef block;                // of an MLinExpr whose cells nobody has seen yet
};

inline ExprArray& as_expr_array(Borrowed o) { return *reinterpret_cast<ExprArray*>(o); }
inline bool is_mlinexpr(Borrowed o) { return is_instance(o, state().mlinexpr); }
inline bool is_mquadexpr(Borrowed o) { return is_instance(o, state().mquadexpr); }

void make_expr_array_types();
void install_expr_array_members();

// New ones around an array, which is shared; anything else goes through numpy.array.
Ref new_expr_array(PyTypeObject* type, Borrowed array);
Ref new_mlinexpr(BlockRef block);

// The ndarray inside, made when first asked for; AttributeError in an object without contents.
PyObject* array_of(ExprArray& a);
// As a block; null where some cell is no plain LinExpr.
BlockRef block_of(ExprArray& a);
Shape shape_of(ExprArray& a);

// The MLinExpr of array.sum(axis), by the block where there is one.
Ref sum_cells(const BlockRef& block, Borrowed array, Borrowed axis);

} // namespace tsp
