// tuplelist: a list of rows, scalars or tuples of one length, that is queried by pattern.
#pragma once

#include "containers/positions.h"
#include "py/type.h"

#include <memory>

namespace tsp {

struct TupleList {
    PyListObject list;
    PyObject* index_;    // a list with one dict a field, of values to lists of positions; null for None
    PyObject* wildcard_; // str; null for None
    // The index in its compact form, built instead of index_ where that cannot be told. Of both, one is there at most.
    std::shared_ptr<const PositionIndex> positions;
};

PyTypeObject* make_tuplelist_type();

Ref new_tuplelist();              // empty
Ref new_tuplelist(Borrowed rows); // as tuplelist(rows)
Ref tuplelist_from(Ref rows);     // the same out of a list that nobody else has, whose memory it takes over

// Raises ValueError if a value cannot stand among the rows; `first` stands for the first row of an empty list.
void check_row(TupleList& self, Borrowed value, Borrowed first);
void append_row(TupleList& self, Borrowed row); // checked; the index stays

inline void drop_index(TupleList& self) {
    self.positions.reset();
    if (self.index_)
        assign(self.index_, Ref());
}

inline Py_ssize_t row_count(TupleList& self) { return PyList_GET_SIZE(as_object(&self)); }
// A row by its position, from the end if that is negative. IndexError if there is none: an index may be older than the
// list, for not every method of list knows of it.
inline Ref row_at(TupleList& self, Py_ssize_t i) {
    if (i < 0)
        i += row_count(self);
    if (i < 0 || i >= row_count(self))
        raise(PyExc_IndexError, "list index out of range");
    return Ref::borrow(PyList_GET_ITEM(as_object(&self), i));
}

} // namespace tsp
