// A query looks up the positions of each constrained field of its pattern, intersects them as long as that costs less
// than comparing rows, and compares the rows that are left. It exists twice, on the compact index and on the index of
// Python objects; both take the same decisions in the same order.
#include "containers/query.h"

#include "containers/base.h"

#include "tessolv.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace tsp {
namespace {

[[noreturn]] void raise_none_has_no_len() { raise(PyExc_TypeError, "object of type 'NoneType' has no len()"); }

Py_ssize_t row_width(TupleList& self) {
    Ref row = row_at(self, 0);
    return is_tuple_like(row.get()) ? field_count(row.get()) : 1;
}

// value == wildcard_. For texts and numbers of the built-in types the answer is known without asking them.
bool is_wildcard(TupleList& self, Borrowed value) {
    PyObject* wildcard = self.wildcard_ ? self.wildcard_ : Py_None;
    if (is_plain(value) && (wildcard == Py_None || PyUnicode_CheckExact(wildcard))) {
        if (value == wildcard)
            return true;
        return PyUnicode_CheckExact(value) && wildcard != Py_None && PyUnicode_Compare(value, wildcard) == 0;
    }
    Ref hold = Ref::borrow(wildcard);
    return is_true(Ref::steal(PyObject_RichCompare(value, wildcard, Py_EQ)));
}

// a != b. An object equals itself where its type says nothing else.
bool differ(Borrowed a, Borrowed b) {
    if (a == b && (PyLong_CheckExact(a) || PyUnicode_CheckExact(a)))
        return false;
    return is_true(Ref::steal(PyObject_RichCompare(a, b, Py_NE)));
}

// Whether intersecting lists of n1 and n2 positions costs less than comparing the rows of the first.
bool worth_intersecting(std::size_t n1, std::size_t n2, Py_ssize_t width, Py_ssize_t rows) {
    if (rows == 0)
        raise(PyExc_ZeroDivisionError, "division by zero"); // emptied by a comparison of the user's
    auto w = static_cast<double>(width);
    double scan = static_cast<double>(n1) * w;
    double both = static_cast<double>(static_cast<int64_t>(static_cast<double>(n1 * n2) / static_cast<double>(rows)));
    return !(scan < static_cast<double>(n1 + n2) + both * w);
}

// ---- On the compact index ----

bool is_plain_pattern(Borrowed pattern) {
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(pattern); ++i) {
        PyObject* value = PyTuple_GET_ITEM(pattern, i);
        if (PyList_CheckExact(value) || PyTuple_CheckExact(value)) {
            for (Py_ssize_t k = 0; k < Py_SIZE(value); ++k)
                if (!is_plain(PySequence_Fast_GET_ITEM(value, k)))
                    return false;
        } else if (!is_plain(value)) {
            return false;
        }
    }
    return true;
}

// Whether a query can be answered without running any Python code before rows are compared.
bool is_plain_query(TupleList& self, Borrowed pattern) {
    PyObject* first = PyList_GET_ITEM(as_object(&self), 0);
    return (!self.wildcard_ || PyUnicode_CheckExact(self.wildcard_)) &&
           (!is_tuple_like(first) || has_plain_fields(first)) && is_plain_pattern(pattern);
}

// What one constrained field of a pattern asks for.
struct Wanted {
    Py_ssize_t field;
    int32_t number; // of the one value; -1 for alternatives
    bool alike;     // whether a row that was found by its hash equals the pattern in this field
    Positions list;
};

// The positions of all the alternatives that one field of a pattern offers. Kept: one that no row has is passed over
// before the first that is found, and fails after it (test_queries.py).
Positions find_alternatives(const PositionIndex& index, Py_ssize_t field, Borrowed values,
                            std::vector<std::vector<int32_t>>& own) {
    std::vector<Positions> lists;
    for (Py_ssize_t k = 0; k < Py_SIZE(values); ++k) {
        int32_t number = index.find(field, PySequence_Fast_GET_ITEM(values, k));
        if (number >= 0)
            lists.push_back(index.positions(field, number));
        else if (!lists.empty())
            raise_none_has_no_len();
    }
    if (lists.size() < 2)
        return lists.empty() ? Positions() : lists[0];
    return own.emplace_back(unite(lists));
}

// The constrained fields of a pattern, in order; one with an empty list ends them.
std::vector<Wanted> find_wanted(TupleList& self, const PositionIndex& index, Borrowed pattern,
                                std::vector<std::vector<int32_t>>& own) {
    std::vector<Wanted> fields;
    for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(pattern); ++i) {
        PyObject* value = PyTuple_GET_ITEM(pattern, i);
        if (is_wildcard(self, value))
            continue;
        if (i >= index.width())
            raise(PyExc_IndexError, "list index out of range");
        if (is_tuple_like(value)) {
            fields.push_back({i, -1, false, find_alternatives(index, i, value, own)});
        } else {
            int32_t number = index.find(i, value);
            bool not_itself = PyFloat_CheckExact(value) && std::isnan(PyFloat_AS_DOUBLE(value));
            fields.push_back({i, number, !not_itself, number < 0 ? Positions() : index.positions(i, number)});
        }
        if (fields.back().list.empty())
            break;
    }
    return fields;
}

// As long as intersecting costs less than comparing rows, which are all compared in the end.
Positions narrow(TupleList& self, const PositionIndex& index, const std::vector<Wanted>& fields, Py_ssize_t width,
                 std::vector<std::vector<int32_t>>& own) {
    Positions found = fields[0].list;
    for (std::size_t k = 1; k < fields.size(); ++k) {
        const Wanted& next = fields[k];
        if (!worth_intersecting(found.size(), next.list.size(), width, row_count(self)))
            break;
        found = own.emplace_back(next.number < 0 ? intersect(found, next.list)
                                                 : index.having(found, next.field, next.number));
    }
    return found;
}

// The same rows, for rows that are as they were when the index was built: it answers for all their fields, and none of
// them is looked at.
Positions narrow_by_index(const PositionIndex& index, const std::vector<Wanted>& fields,
                          std::vector<std::vector<int32_t>>& own) {
    auto fewer = [](const Wanted& a, const Wanted& b) { return a.list.size() < b.list.size(); };
    auto first = std::min_element(fields.begin(), fields.end(), fewer);
    Positions found = first->list;
    for (auto next = fields.begin(); next != fields.end(); ++next) {
        if (!next->alike)
            return {};
        if (next != first)
            found = own.emplace_back(index.having(found, next->field, next->number));
    }
    return found;
}

Candidates find_in_positions(TupleList& self, Borrowed pattern, Py_ssize_t width, Rows rows) {
    Candidates found;
    found.keeps_alive = self.positions;
    const PositionIndex& index = *found.keeps_alive;
    if (PyTuple_GET_SIZE(pattern) > width)
        return found;
    std::vector<std::vector<int32_t>> own;
    std::vector<Wanted> fields = find_wanted(self, index, pattern, own);
    if (fields.empty()) {
        found.all = true;
        return found;
    }
    if (fields.back().list.empty())
        return found;
    found.trusted = fields.size() == 1 || rows == Rows::AreAsIndexed;
    if (fields.size() == 1)
        found.positions = fields[0].list;
    else if (rows == Rows::AreAsIndexed)
        found.positions = narrow_by_index(index, fields, own);
    else
        found.positions = narrow(self, index, fields, width, own);
    for (auto& one : own)
        if (one.data() == found.positions.data())
            found.own = std::move(one); // its memory stays where it is, and so does the span
    return found;
}

// ---- On the index of Python objects, which the user may have made or changed ----

// object.get(key): null where that is None.
Ref get_value(Borrowed object, Borrowed key) {
    if (PyDict_CheckExact(object)) {
        PyObject* value = PyDict_GetItemWithError(object, key);
        if (!value && PyErr_Occurred())
            throw PythonError();
        return value && value != Py_None ? Ref::borrow(value) : Ref();
    }
    Ref value = Ref::steal(PyObject_CallMethod(object, "get", "(O)", key));
    return value.get() == Py_None ? Ref() : std::move(value);
}

// tuple_index_[field]
Ref field_index(TupleList& self, Py_ssize_t field) {
    PyObject* index = python_index(self);
    if (!index)
        raise(PyExc_TypeError, "'NoneType' object is not subscriptable");
    Ref hold = Ref::borrow(index);
    return subscript(index, field);
}

// Enters one field of one row. The index is asked for at each step, for hashing may run code that drops it.
void index_field(TupleList& self, Py_ssize_t i, Py_ssize_t j) {
    Ref row = row_at(self, i);
    Ref value = is_tuple_like(row.get()) ? subscript(row.get(), j) : std::move(row);
    Ref values = field_index(self, j);
    Ref positions = get_value(values.get(), value.get());
    Ref position = Ref::steal(PyLong_FromSsize_t(i));
    if (!positions) {
        Ref list = Ref::steal(PyList_New(1));
        PyList_SET_ITEM(list.get(), 0, position.release());
        checked(PyObject_SetItem(values.get(), value.get(), list.get()));
    } else if (PyList_CheckExact(positions.get())) {
        checked(PyList_Append(positions.get(), position.get()));
    } else {
        Ref::steal(PyObject_CallMethod(positions.get(), "append", "(O)", position.get()));
    }
}

// Kept: the index is there from the start, so that a failure halfway leaves what was entered before it
// (test_rules.py: test_the_index).
void build_index(TupleList& self, Py_ssize_t width) {
    Py_ssize_t count = row_count(self);
    require_memory(width, sizeof(PyDictObject));
    self.positions = PositionIndex::build(reinterpret_cast<PyListObject*>(&self)->ob_item, count, width);
    if (self.positions)
        return;
    Ref dicts = Ref::steal(PyList_New(width));
    for (Py_ssize_t j = 0; j < width; ++j)
        PyList_SET_ITEM(dicts.get(), j, Ref::steal(PyDict_New()).release());
    assign(self.index_, std::move(dicts));
    for (Py_ssize_t i = 0; i < count; ++i)
        for (Py_ssize_t j = 0; j < width; ++j)
            index_field(self, i, j);
}

// The sign of a - b, positions in Python form, and an overflow where the difference has no 32 bits.
int32_t difference(Borrowed a, Borrowed b) {
    Ref d = Ref::steal(PyNumber_Subtract(a, b));
    return to_int32(d.get());
}

Ref unite_lists(Borrowed a, Borrowed b) {
    Ref end = Ref::steal(PyLong_FromLong(TSO_MAXINT));
    Ref united = Ref::steal(PyList_New(0));
    Py_ssize_t i = 0, j = 0;
    while (i < PyList_GET_SIZE(a) || j < PyList_GET_SIZE(b)) {
        Ref x = Ref::borrow(i < PyList_GET_SIZE(a) ? PyList_GET_ITEM(a, i) : end.get());
        Ref y = Ref::borrow(j < PyList_GET_SIZE(b) ? PyList_GET_ITEM(b, j) : end.get());
        int32_t d = difference(x.get(), y.get());
        Ref next = d <= 0 ? subscript(a, i) : subscript(b, j);
        checked(PyList_Append(united.get(), next.get()));
        i += d <= 0;
        j += d >= 0;
    }
    return united;
}

Ref intersect_lists(Borrowed a, Borrowed b) {
    Ref common = Ref::steal(PyList_New(0));
    Py_ssize_t i = 0, j = 0;
    while (i < PyList_GET_SIZE(a) && j < PyList_GET_SIZE(b)) {
        Ref x = Ref::borrow(PyList_GET_ITEM(a, i)), y = Ref::borrow(PyList_GET_ITEM(b, j));
        int32_t d = difference(x.get(), y.get());
        if (d == 0)
            checked(PyList_Append(common.get(), x.get()));
        i += d <= 0;
        j += d >= 0;
    }
    return common;
}

// tuple_index_[field].get(value), which must be a list; null if there is none.
Ref look_up(TupleList& self, Py_ssize_t field, Borrowed value) {
    Ref values = field_index(self, field);
    Ref list = get_value(values.get(), value);
    if (list && !PyList_Check(list.get()))
        raise(PyExc_TypeError, "Expected %s, got %.200s", "list", Py_TYPE(list.get())->tp_name);
    return list;
}

// Kept: as find_alternatives.
Ref look_up_alternatives(TupleList& self, Py_ssize_t field, Borrowed values) {
    Ref found;
    Ref iterator = Ref::steal(PyObject_GetIter(values));
    while (PyObject* next = PyIter_Next(iterator.get())) {
        Ref value = Ref::steal(next);
        Ref list = look_up(self, field, value.get());
        if (!found)
            found = std::move(list);
        else if (!list)
            raise_none_has_no_len();
        else
            found = unite_lists(found.get(), list.get());
    }
    if (PyErr_Occurred())
        throw PythonError();
    return found;
}

// The position lists of the constrained fields, empty if nothing matches; no vector if no field is constrained.
std::optional<std::vector<Ref>> inverted_lists(TupleList& self, Borrowed pattern) {
    std::vector<Ref> lists;
    Py_ssize_t count = PyTuple_GET_SIZE(pattern);
    if (row_count(self) == 0 || count > row_width(self))
        return lists;
    for (Py_ssize_t i = 0; i < count; ++i) {
        PyObject* value = PyTuple_GET_ITEM(pattern, i);
        if (is_wildcard(self, value))
            continue;
        Ref list = is_tuple_like(value) ? look_up_alternatives(self, i, value) : look_up(self, i, value);
        if (!list || PyList_GET_SIZE(list.get()) == 0)
            return std::vector<Ref>();
        lists.push_back(std::move(list));
    }
    if (lists.empty())
        return std::nullopt;
    return lists;
}

Candidates find_in_dicts(TupleList& self, Borrowed pattern, Py_ssize_t width) {
    Candidates found;
    auto lists = inverted_lists(self, pattern);
    if (!lists) {
        found.all = true;
        return found;
    }
    if (lists->empty())
        return found;
    found.trusted = lists->size() == 1;
    found.list = std::move((*lists)[0]);
    for (std::size_t k = 1; k < lists->size(); ++k) {
        PyObject *a = found.list.get(), *b = (*lists)[k].get();
        if (!worth_intersecting(static_cast<std::size_t>(PyList_GET_SIZE(a)),
                                static_cast<std::size_t>(PyList_GET_SIZE(b)), width, row_count(self)))
            break;
        found.list = intersect_lists(a, b);
    }
    return found;
}

} // namespace

PyObject* python_index(TupleList& self) {
    if (auto held = self.positions) {
        Ref dicts = held->to_dicts();
        if (self.positions == held) { // collecting garbage may have run code that dropped it
            self.positions.reset();
            assign(self.index_, std::move(dicts));
        }
    }
    return self.index_;
}

bool row_matches(TupleList& self, int32_t i, Borrowed pattern) {
    Ref row = row_at(self, i);
    if (!is_tuple_like(row.get())) {
        PyObject* value = PyTuple_GET_ITEM(pattern, 0);
        return is_wildcard(self, value) || is_true(Ref::steal(PyObject_RichCompare(row.get(), value, Py_EQ)));
    }
    Py_ssize_t count = PyTuple_GET_SIZE(pattern);
    if (count > field_count(row.get()))
        return false;
    for (Py_ssize_t j = 0; j < count; ++j) {
        PyObject* value = PyTuple_GET_ITEM(pattern, j);
        if (is_wildcard(self, value))
            continue;
        Ref field = subscript(row.get(), j);
        if (differ(value, field.get()))
            return false;
    }
    return true;
}

Candidates find_candidates(TupleList& self, Borrowed pattern, Rows rows) {
    Candidates found;
    if (row_count(self) == 0)
        return found;
    if (pattern == Py_None)
        raise_none_has_no_len();
    if (PyTuple_GET_SIZE(pattern) == 0) {
        found.all = true;
        return found;
    }
    Py_ssize_t width = row_width(self);
    if (!self.positions && !self.index_)
        build_index(self, width);
    if (self.positions && row_count(self) > 0 && is_plain_query(self, pattern))
        return find_in_positions(self, pattern, width, rows);
    return find_in_dicts(self, pattern, width);
}

Ref select(TupleList& self, Borrowed pattern) {
    Candidates found = find_candidates(self, pattern);
    if (found.all)
        return new_tuplelist(as_object(&self));
    Ref result = new_tuplelist();
    auto& rows = *reinterpret_cast<TupleList*>(result.get());
    each_match(self, found, pattern, [&](Py_ssize_t, Ref row) { append_row(rows, row.get()); });
    return result;
}

} // namespace tsp
