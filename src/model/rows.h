// What the Parts of Model that add and name elements share.
#pragma once

#include "handles/handle.h"
#include "model/model.h"

#include <string>
#include <vector>

namespace tsp {

struct LinBlock;
struct LinExpr;

// The index of a handle in this model; -1, which the solver refuses, for a handle of another model.
inline int index_in(const Model& self, Borrowed handle) {
    const Handle& h = *reinterpret_cast<Handle*>(handle);
    return h.mdl_ == self.mdl_ ? h.index_ : -1;
}

// Orders the entries of one row by rising index and adds those of one index up; gives the number left.
std::size_t merge_row(int* index, double* value, std::size_t count);

// Rows as the solver takes them: entries by rising index, those of one index added up.
struct RowArrays {
    std::vector<int> begin, index;
    std::vector<double> value;

    void clear() {
        begin.clear();
        index.clear();
        value.clear();
    }
    // Orders and merges the entries behind `from`.
    void finish_row(std::size_t from);
};
void append_row(RowArrays& rows, const Model& self, const LinExpr& expr);
void append_rows(RowArrays& rows, const Model& self, const LinBlock& block);

// "[1,2]" for the subscripts of an element: the text of their list, blanks removed.
void append_subscript(std::string& text, PyObject* const* items, Py_ssize_t count);

// The same for the cell of an array with a number, row by row.
void append_subscript(std::string& text, Py_ssize_t cell, int ndim, const Py_ssize_t* shape);

// Enters one new row in the mirror and gives its Constr.
Ref add_constr_object(Model& self);

// The list that mirrors one kind of element; an error if the model is a shell without lists.
PyObject* mirror(PyObject* list);

} // namespace tsp
