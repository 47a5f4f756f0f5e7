// What the Parts of Model that add and name elements share.
#pragma once

#include "handles/handle.h"
#include "model/model.h"
#include "module/text.h"

#include <string>
#include <utility>
#include <vector>

namespace tsp {

struct LinBlock;
struct LinExpr;
struct QuadExpr;
struct TempConstr;

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
// One such row into arrays with room for its terms; gives how many entries it has.
std::size_t fill_row(int* index, double* value, const Model& self, const LinExpr& expr);
void append_rows(RowArrays& rows, const Model& self, const LinBlock& block);

// Quadratic terms as the solver takes them.
struct QuadArrays {
    std::vector<int> row, col;
    std::vector<double> value;

    int size() const { return static_cast<int>(row.size()); }
    void clear() {
        row.clear();
        col.clear();
        value.clear();
    }
    // Orders the terms behind `from`, the smaller index of each first, and adds up those of one pair.
    void finish_row(std::size_t from);
};
// The terms as they stand.
void append_terms(QuadArrays& terms, const Model& self, const QuadExpr& expr);

// The sides of a row whose expression has a constant: None, of which one of them may be, is infinite; infinite sides
// stay where they are.
struct Sides {
    double lower, upper;
};
Sides sides_of(Borrowed lower, Borrowed upper, double constant);

// A number that stands for a bound. An int that no double can hold is infinite.
double bound_of(Borrowed number);

// TSO_LESS_EQUAL, TSO_GREATER_EQUAL or TSO_EQUAL for the sense of a row given as data; 0 for what is none.
char row_sense(Borrowed sense);

// The text of a name, which `holder` keeps; "" for one that was not given. None is refused.
const char* name_or_empty(Borrowed name, Chars& holder);

// The name of a row or an array of rows, told when it is clear which: one row refuses None, an array has no names then.
// What was given outlives this, and so does its text.
struct RowName {
    explicit RowName(const char* text) : text(text) {}
    explicit RowName(Borrowed given) : given(given) {}

    const char* of_one() const {
        Chars holder;
        return text ? text : name_or_empty(given, holder);
    }
    const char* of_many() const { return given == Py_None ? "" : of_one(); }
    Ref object() const { return given ? Ref::borrow(given) : chars2str(text ? text : ""); }

    const char* text = nullptr;
    Borrowed given = nullptr;
};

// "[1,2]" for the subscripts of an element: the text of their list, blanks removed.
void append_subscript(std::string& text, PyObject* const* items, Py_ssize_t count);

// The same for the cell of an array with a number, row by row.
void append_subscript(std::string& text, Py_ssize_t cell, int ndim, const Py_ssize_t* shape);

// The names of the rows that come of an array: the name of all with the place of each, or none.
class CellNames {
public:
    CellNames(const char* name, const std::vector<Py_ssize_t>& shape, std::size_t count);
    const char** data() { return names_.data(); }

private:
    std::string text_;
    std::vector<const char*> names_;
};

// Appends a new handle to the list that mirrors its kind. Where that fails, `take_back` removes the element, which the
// solver has already.
using Removal = int (*)(TSOmodel, int, const int*);
Ref append_handle(PyObject* list, PyTypeObject* type, const Model& self, Removal take_back = nullptr);

// The list that mirrors one kind of element; an error if the model is a shell without lists.
PyObject* mirror(PyObject* list);

// Drops the last items of a list, which may be null, until so many are left. No call of Python's does so without
// memory: a list that has room for twice its items gives some of it back first.
void shorten(PyObject* list, Py_ssize_t size);

// Takes elements out again that came last, of the solver and of the mirror, unless all goes well: variables, or rows of
// whatever kind.
class TakeBack {
public:
    TakeBack(Model& self, PyObject* Model::*list)
        : self_(self), list_(list), first_(static_cast<int>(PyList_GET_SIZE(mirror(self.*list)))) {}
    TakeBack(const TakeBack&) = delete;
    TakeBack& operator=(const TakeBack&) = delete;
    ~TakeBack() {
        if (count_ != 0)
            undo();
    }
    // The solver has so many more; gives the index of the first of them.
    int added(int count) { return first_ + std::exchange(count_, count_ + count); }
    void keep() { count_ = 0; }

private:
    void undo();

    Model& self_;
    PyObject* Model::*list_;
    int first_, count_ = 0;
};

// Enters one new row in the mirror and gives its Constr.
Ref add_constr_object(Model& self);

// The paths of Model.addConstr that are not linear. Bounds as in a TempConstr.
Ref add_quadratic_row(Model& self, Borrowed quadexpr, Borrowed lower, Borrowed upper, const char* name);
Ref add_quadratic_rows(Model& self, Borrowed mquadexpr, Borrowed lower, Borrowed upper, const char* name);
Ref add_indicator_pair(Model& self, const TempConstr& pair, const char* name);

} // namespace tsp
