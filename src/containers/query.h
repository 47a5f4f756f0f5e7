// Queries by pattern: the rows of a tuplelist whose fields equal those of a pattern.
#pragma once

#include "containers/tuplelist.h"
#include "py/args.h"

namespace tsp {

// What a pattern leaves to look at: nothing, all rows, or those at some positions. Unless they are trusted, the rows
// at the positions are still to be compared with the pattern.
struct Candidates {
    bool all = false;
    bool trusted = false;
    Ref list;            // positions in a Python list, or else ...
    Positions positions; // ... in one of the two below
    std::vector<int32_t> own;
    std::shared_ptr<const PositionIndex> keeps_alive;
};

// Whether the rows can have changed since the index was built.
enum class Rows { MayHaveChanged, AreAsIndexed };

// Builds the index if there is none. `pattern` is a tuple or None.
Candidates find_candidates(TupleList& self, Borrowed pattern, Rows rows = Rows::MayHaveChanged);

// Whether a row matches a pattern, field by field.
bool row_matches(TupleList& self, int32_t row, Borrowed pattern);

// The rows that match, as a new tuplelist with the default wildcard.
Ref select(TupleList& self, Borrowed pattern);

// The index as Python objects, borrowed; null for None.
PyObject* python_index(TupleList& self);

// Calls use(position, row) for each row that matches, in order; position is -1 where it is not known as an integer.
// Not for `all`.
template <class Use> void each_match(TupleList& self, const Candidates& found, Borrowed pattern, Use use) {
    if (!found.list) {
        for (int32_t p : found.positions)
            if (found.trusted || row_matches(self, p, pattern))
                use(static_cast<Py_ssize_t>(p), row_at(self, p));
        return;
    }
    for (Py_ssize_t k = 0; k < PyList_GET_SIZE(found.list.get()); ++k) {
        Ref p = Ref::borrow(PyList_GET_ITEM(found.list.get(), k));
        if (found.trusted || row_matches(self, to_int32(p.get()), pattern))
            use(Py_ssize_t{-1}, Ref::steal(PyList_Type.tp_as_mapping->mp_subscript(as_object(&self), p.get())));
    }
}

} // namespace tsp
