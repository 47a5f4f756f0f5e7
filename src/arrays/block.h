// LinBlock: an array of linear expressions as flat arrays of numbers and variables.
//
// What arithmetic makes of arrays stays in this form until somebody looks at a cell; on its way into a model it needs
// no cell at all. Blocks are values that never change, so results share what they have in common with their operands.
#pragma once

#include "expr/linexpr.h"
#include "py/numpy.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tsp {

using Shape = std::vector<npy_intp>;
Shape shape_of(Borrowed ndarray);
int64_t size_of(const Shape& shape); // MemoryError where it cannot be

template <class T> using Shared = std::shared_ptr<T[]>;
template <class T> Shared<T> make_shared_array(int64_t count) {
    return Shared<T>(new T[static_cast<std::size_t>(count)]); // not initialised
}

struct LinBlock {
    Shape shape;
    int64_t size = 0;
    int64_t width = 0;      // terms of each cell; -1 where they differ:
    Shared<int64_t> begin;  // the first term of each cell, and the end
    Shared<PyObject*> vars; // Var; owned by `keep`
    Shared<double> coeffs;  // null: all 1.0
    bool same_vars = false; // one row of variables for all cells, of one width
    bool same_coeffs = false;
    Shared<double> constants; // null: all 0.0
    std::vector<std::shared_ptr<PyObject>> keep;

    int64_t first(int64_t cell) const { return width >= 0 ? cell * width : begin[cell]; }
    int64_t count(int64_t cell) const { return width >= 0 ? width : begin[cell + 1] - begin[cell]; }
    int64_t terms() const { return first(size); }
    PyObject* const* vars_of(int64_t cell) const { return vars.get() + (same_vars ? 0 : first(cell)); }
    double constant(int64_t cell) const { return constants ? constants[cell] : 0.0; }
};
using BlockRef = std::shared_ptr<const LinBlock>;

// The coefficients of one cell.
struct Coeffs {
    const double* p; // null: all 1.0
    Coeffs(const LinBlock& b, int64_t cell)
        : p(b.coeffs ? b.coeffs.get() + (b.same_coeffs ? 0 : b.first(cell)) : nullptr) {}
    double operator[](int64_t k) const { return p ? p[k] : 1.0; }
};

// Keeps a Python object as long as a block needs it.
std::shared_ptr<PyObject> keeper(Borrowed object);

// Blocks of what operands hold. Null where a cell is something else, or lies in memory in another order than its place,
// which sums can tell: such arrays go through NumPy, cell by cell.
BlockRef block_of_vars(Borrowed array, bool owned);
BlockRef block_of_exprs(Borrowed array);
BlockRef block_of_scalar(Borrowed operand); // a Var or LinExpr, as an array without dimensions

// The cells as objects: a new NumPy array of LinExpr.
Ref cells(const LinBlock& block);

// A plain array of numbers, broadcast where it is used; null for what is none.
struct Numbers {
    Shape shape;
    Ref array; // C-contiguous float64
    const double* data() const { return static_cast<const double*>(PyArray_DATA(as_array(array.get()))); }
};
bool numbers_of(Borrowed x, Numbers& out);

// The shape of two broadcast together; false if they do not fit.
bool broadcast(const Shape& a, const Shape& b, Shape& out);
// For each place of the larger shape the one in the smaller; empty where it is the same.
std::vector<int64_t> places(const Shape& from, const Shape& to);

// Arithmetic; null where the shapes do not fit.
BlockRef add(const BlockRef& a, const BlockRef& b); // terms of a in front
BlockRef add(const BlockRef& a, double number);
BlockRef add(const BlockRef& a, const Numbers& n);
BlockRef scale(const BlockRef& a, double factor); // zero leaves nothing of a cell
BlockRef scale(const BlockRef& a, const Numbers& n);
// Over one axis, or all of them (-1), of two or more cells.
BlockRef sum(const BlockRef& a, int axis);

} // namespace tsp
