#include "containers/tuplelist.h"

#include "containers/base.h"
#include "containers/query.h"
#include "module/state.h"
#include "py/args.h"

#include <new>

namespace tsp {
namespace {

TupleList& tuplelist(Borrowed o) { return *reinterpret_cast<TupleList*>(o); }

[[noreturn]] void raise_value_error(const char* text) {
    Ref bytes = Ref::steal(PyBytes_FromString(text)); // Kept: the argument is bytes (test_mixed_rows_are_refused)
    PyErr_SetObject(PyExc_ValueError, bytes.get());
    throw PythonError();
}

Ref base_subscript(TupleList& self, Borrowed key) {
    return Ref::steal(PyList_Type.tp_as_mapping->mp_subscript(as_object(&self), key));
}

// ---- Lifetime ----

PyObject* tuplelist_new(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    PyObject* self = PyList_Type.tp_new(type, args, kwargs);
    if (self)
        new (&tuplelist(self).positions) std::shared_ptr<const PositionIndex>();
    return self;
}

void require_wildcard(Borrowed value) {
    if (value != Py_None && !PyUnicode_Check(value))
        raise(PyExc_TypeError, "Expected %s, got %.200s", "unicode", Py_TYPE(value)->tp_name);
}
void set_wildcard(TupleList& self, Borrowed value) {
    assign(self.wildcard_, value && value != Py_None ? Ref::borrow(value) : Ref());
}

// Rows without checks: an exact list or tuple in memory, anything else by iteration.
void check_rows(TupleList& self, Borrowed rows) {
    if (PyTuple_CheckExact(rows) || PyList_CheckExact(rows) || Py_TYPE(rows) == state().tuplelist) {
        for (Py_ssize_t i = 0; i < Py_SIZE(rows); ++i)
            check_row(self, PySequence_Fast_GET_ITEM(rows, i), PySequence_Fast_GET_ITEM(rows, 0));
        return;
    }
    Ref iterator = Ref::steal(PyObject_GetIter(rows));
    while (PyObject* next = PyIter_Next(iterator.get())) {
        Ref row = Ref::steal(next);
        Ref first = subscript(rows, 0);
        check_row(self, row.get(), first.get());
    }
    if (PyErr_Occurred())
        throw PythonError();
}

void construct(TupleList& self, Borrowed rows, Borrowed wildcard) {
    set_wildcard(self, wildcard);
    if (!rows || rows == Py_None || size_of(rows) == 0)
        return;
    check_rows(self, rows);
    Ref args = Ref::steal(PyTuple_Pack(1, rows));
    checked(PyList_Type.tp_init(as_object(&self), args.get(), nullptr));
}

Borrowed default_wildcard() {
    static PyObject* text = Ref::steal(PyUnicode_InternFromString("*")).release();
    return text;
}

void tuplelist_init(TupleList& self, PyObject* args, PyObject* kwargs) {
    static const Signature<2> signature{"__init__", {"li", "wildcard"}, 0};
    auto [rows, wildcard] = parse(signature, args, kwargs);
    if (!wildcard)
        wildcard = default_wildcard();
    require_wildcard(wildcard);
    construct(self, rows, wildcard);
}

int tuplelist_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    Py_VISIT(tuplelist(self).index_); // positions holds plain values only, which refer to nothing
    Py_VISIT(tuplelist(self).wildcard_);
    return PyList_Type.tp_traverse(self, visit, arg);
}

int tuplelist_clear_fields(PyObject* self) {
    Py_CLEAR(tuplelist(self).index_);
    Py_CLEAR(tuplelist(self).wildcard_);
    return PyList_Type.tp_clear(self);
}

void tuplelist_dealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    PyObject_GC_UnTrack(self);
    Py_TRASHCAN_BEGIN(self, tuplelist_dealloc) // rows may be tuplelists, nested without end
        Py_CLEAR(tuplelist(self).index_);
    Py_CLEAR(tuplelist(self).wildcard_);
    tuplelist(self).positions.~shared_ptr();
    PyList_Type.tp_dealloc(self);
    Py_DECREF(type);
    Py_TRASHCAN_END
}

// ---- Methods ----

Ref tuplelist_select(PyObject* self, PyObject* query) { return select(tuplelist(self), query); }

Ref tuplelist_clean(TupleList& self) {
    drop_index(self);
    return Ref::none();
}

Ref tuplelist_append(TupleList& self, const Call& call) {
    static const Signature<1> signature{"append", {"e"}, 1};
    auto [row] = parse(signature, call);
    append_row(self, row);
    drop_index(self);
    return Ref::none();
}

Ref tuplelist_insert(TupleList& self, const Call& call) {
    static const Signature<2> signature{"insert", {"index", "obj"}, 2};
    auto [index, row] = parse(signature, call);
    int32_t position = to_int32(index);
    check_row(self, row, row);
    checked(PyList_Insert(as_object(&self), position, row));
    drop_index(self);
    return Ref::none();
}

Ref tuplelist_pop(TupleList& self, const Call& call) {
    static const Signature<1> signature{"pop", {"index"}, 0};
    static const BaseMethod base(&PyList_Type, "pop");
    auto [index] = parse(signature, call);
    drop_index(self);
    return index ? base({as_object(&self), index}) : base({as_object(&self)});
}

Ref tuplelist_remove(TupleList& self, const Call& call) {
    static const Signature<1> signature{"remove", {"value"}, 1};
    static const BaseMethod base(&PyList_Type, "remove");
    auto [value] = parse(signature, call);
    drop_index(self);
    return base({as_object(&self), value});
}

Ref tuplelist_clear(TupleList& self) {
    drop_index(self);
    checked(PyList_SetSlice(as_object(&self), 0, row_count(self), nullptr));
    return Ref::none();
}

Ref tuplelist_reverse(TupleList& self) {
    drop_index(self);
    checked(PyList_Reverse(as_object(&self)));
    return Ref::none();
}

Ref tuplelist_copy(TupleList& self) { return new_tuplelist(as_object(&self)); }

int tuplelist_contains(TupleList& self, PyObject* item) {
    if (item != Py_None && !PyTuple_Check(item))
        raise(PyExc_TypeError, "Expected %s, got %.200s", "tuple", Py_TYPE(item)->tp_name);
    Ref found = select(self, item);
    return PyList_GET_SIZE(found.get()) > 0;
}

void tuplelist_assign(TupleList& self, PyObject* key, PyObject* value) {
    auto base = PyList_Type.tp_as_mapping->mp_ass_subscript;
    if (!value) {
        checked(base(as_object(&self), key, nullptr));
        drop_index(self);
        return;
    }
    check_row(self, value, value);
    Ref old = base_subscript(self, key);
    if (is_true(Ref::steal(PyObject_RichCompare(value, old.get(), Py_NE))))
        drop_index(self);
    checked(base(as_object(&self), key, value));
}

// The same for C code that assigns by position.
void tuplelist_assign_item(TupleList& self, Py_ssize_t i, PyObject* value) {
    Ref key = Ref::steal(PyLong_FromSsize_t(i));
    tuplelist_assign(self, key.get(), value);
}

// Kept: with a tuplelist on the right only, __add__ and __mul__ are called with both operands and refuse that
// (test_rules.py: test_refusals).
Ref reflected(const char* name, Borrowed left, Borrowed right) {
    return Ref::steal(PyObject_CallMethod(right, name, "OO", left, right));
}

Ref tuplelist_add(PyObject* left, PyObject* right) {
    if (!is_instance(left, state().tuplelist))
        return reflected("__add__", left, right);
    Ref rows = Ref::steal(PyList_Type.tp_as_sequence->sq_concat(left, right));
    return new_tuplelist(rows.get());
}

Py_ssize_t repetitions(Borrowed n) {
    Py_ssize_t count = PyNumber_AsSsize_t(n, PyExc_OverflowError);
    if (count == -1 && PyErr_Occurred())
        throw PythonError();
    return count;
}

Ref tuplelist_multiply(PyObject* left, PyObject* right) {
    if (!is_instance(left, state().tuplelist))
        return reflected("__mul__", left, right);
    Ref rows = Ref::steal(PyList_Type.tp_as_sequence->sq_repeat(left, repetitions(right)));
    return new_tuplelist(rows.get());
}

Ref tuplelist_inplace_add(TupleList& self, PyObject* other) {
    drop_index(self);
    return Ref::steal(PyList_Type.tp_as_sequence->sq_inplace_concat(as_object(&self), other));
}

Ref tuplelist_inplace_multiply(TupleList& self, PyObject* n) {
    drop_index(self);
    return Ref::steal(PyList_Type.tp_as_sequence->sq_inplace_repeat(as_object(&self), repetitions(n)));
}

// ---- Properties ----

Ref get_tuple_index(TupleList& self, void*) {
    PyObject* index = python_index(self);
    return index ? Ref::borrow(index) : Ref::none();
}

void set_tuple_index(TupleList& self, PyObject* value, void*) {
    if (value && value != Py_None && !PyList_Check(value))
        raise(PyExc_TypeError, "Expected %s, got %.200s", "list", Py_TYPE(value)->tp_name);
    self.positions.reset();
    assign(self.index_, value && value != Py_None ? Ref::borrow(value) : Ref());
}

Ref get_wildcard(TupleList& self, void*) { return self.wildcard_ ? Ref::borrow(self.wildcard_) : Ref::none(); }

void set_wildcard_property(TupleList& self, PyObject* value, void*) {
    if (value)
        require_wildcard(value);
    set_wildcard(self, value);
}

// ---- Tables ----

PyGetSetDef tuplelist_getset[] = {
    {"tuple_index_", &detail::Entry<&get_tuple_index>::call, &detail::Entry<&set_tuple_index>::call,
     "The index that answers queries: a list with one dict for each field, of values to lists of positions. None "
     "until\n"
     "a query builds it and after most changes of the list. What is written here is what queries use.\n\n"
     "Example: routes.select('Oslo'); routes.tuple_index_[0]['Oslo']  # [0, 1]",
     nullptr},
    {"wildcard_", &detail::Entry<&get_wildcard>::call, &detail::Entry<&set_wildcard_property>::call,
     "The value of a pattern that matches anything: a str, or None.\n\n"
     "Example: tuplelist([1, 2], wildcard='?').wildcard_  # '?'",
     nullptr},
    {},
};

PyMethodDef tuplelist_methods[] = {
    {"select", detail::c_function<&tuplelist_select>(), METH_VARARGS,
     "select($self, *query)\n--\n\n"
     "The rows that match a pattern, in the order of the list, as a new tuplelist.\n\n"
     "query: one value for each field, from the first on; fields without one match anything, and so does the\n"
     "wildcard. A list or tuple offers alternatives; it works where it is the only field that is not a wildcard.\n"
     "Without a query, a copy. A query with more values than fields matches nothing.\n"
     "Raises TypeError for values that cannot be hashed, and where an alternative that no row has follows one that\n"
     "some row has.\n\n"
     "Example: tuplelist([(1, 'a'), (1, 'b'), (2, 'a')]).select('*', 'a')  # [(1, 'a'), (2, 'a')]"},
    no_args<tuplelist_clean>("clean", "clean($self)\n--\n\n"
                                      "Drops the index; the next query builds it anew. Needed after extend and sort,\n"
                                      "which leave it as it was.\n\n"
                                      "Example: routes.sort(); routes.clean()"),
    keywords<tuplelist_append>("append", "append($self, e)\n--\n\n"
                                         "Adds a row at the end.\n\n"
                                         "e: a scalar or a tuple, like the rows that are there.\n"
                                         "Raises ValueError for a tuple among scalars, a scalar among tuples or a\n"
                                         "tuple of another length.\n\n"
                                         "Example: routes.append(('Oslo', 'Bergen'))"),
    keywords<tuplelist_insert>("insert", "insert($self, index, obj)\n--\n\n"
                                         "Inserts a row before a position.\n\n"
                                         "index: int, from the end if negative.  obj: a row, as for append.\n"
                                         "Raises ValueError as append does, TypeError or OverflowError for an index\n"
                                         "that is no 32-bit integer.\n\n"
                                         "Example: routes.insert(0, ('Oslo', 'Bergen'))"),
    keywords<tuplelist_pop>("pop", "pop($self, index=-1)\n--\n\n"
                                   "Removes the row at a position and returns it.\n\n"
                                   "index: int, from the end if negative; the last row without it.\n"
                                   "Raises IndexError if there is none.\n\n"
                                   "Example: last = routes.pop()"),
    keywords<tuplelist_remove>("remove", "remove($self, value)\n--\n\n"
                                         "Removes the first row that equals a value.\n\n"
                                         "Raises ValueError if there is none.\n\n"
                                         "Example: routes.remove(('Oslo', 'Bergen'))"),
    no_args<tuplelist_clear>("clear", "clear($self)\n--\n\nRemoves all rows.\n\nExample: routes.clear()"),
    no_args<tuplelist_reverse>("reverse",
                               "reverse($self)\n--\n\nReverses the order of the rows.\n\nExample: routes.reverse()"),
    no_args<tuplelist_copy>("copy", "copy($self)\n--\n\n"
                                    "A new tuplelist of the same rows, with the default wildcard.\n\n"
                                    "Example: mine = routes.copy()"),
    {},
};

PyType_Slot tuplelist_slots[] = {
    {Py_tp_doc,
     const_cast<char*>(
         "tuplelist(li=[], wildcard='*')\n--\n\n"
         "A list of rows, all scalars or all tuples of one length, that select queries by pattern.\n\n"
         "li: a list or other sequence of rows.\n"
         "wildcard: the value that matches anything in a pattern, a str or None.\n"
         "`row in list` asks whether select(*row) finds anything, so wildcards and short patterns work there too; the\n"
         "row must be a tuple. += adds rows without checking them.\n"
         "Raises ValueError for rows of different kinds or lengths, TypeError for arguments of wrong types.\n\n"
         "Example: routes = tuplelist([('Oslo', 'Bergen'), ('Oslo', 'Moss')]); routes.select('Oslo', '*')")},
    {Py_tp_new, reinterpret_cast<void*>(&tuplelist_new)},
    slot<tuplelist_init>(Py_tp_init),
    {Py_tp_traverse, reinterpret_cast<void*>(&tuplelist_traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(&tuplelist_clear_fields)},
    {Py_tp_dealloc, reinterpret_cast<void*>(&tuplelist_dealloc)},
    {Py_tp_methods, tuplelist_methods},
    {Py_tp_getset, tuplelist_getset},
    slot<tuplelist_contains>(Py_sq_contains),
    slot<tuplelist_assign>(Py_mp_ass_subscript),
    slot<tuplelist_assign_item>(Py_sq_ass_item),
    slot<tuplelist_add>(Py_nb_add),
    slot<tuplelist_multiply>(Py_nb_multiply),
    slot<tuplelist_inplace_add>(Py_nb_inplace_add),
    slot<tuplelist_inplace_multiply>(Py_nb_inplace_multiply),
    {},
};
PyType_Spec tuplelist_spec = {"tessolvpy.tuplelist", sizeof(TupleList), 0,
                              Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC, tuplelist_slots};

// The length of a row, -1 for a scalar.
Py_ssize_t length_or_scalar(Borrowed row) { return is_tuple_like(row) ? field_count(row) : -1; }

} // namespace

PyTypeObject* make_tuplelist_type() { return make_type(tuplelist_spec, &PyList_Type); }

Ref new_tuplelist() {
    Ref made = Ref::steal(tuplelist_new(state().tuplelist, nullptr, nullptr));
    set_wildcard(tuplelist(made.get()), default_wildcard());
    return made;
}

Ref new_tuplelist(Borrowed rows) {
    Ref made = new_tuplelist();
    construct(tuplelist(made.get()), rows, default_wildcard());
    return made;
}

Ref tuplelist_from(Ref rows) {
    Ref made = new_tuplelist();
    check_rows(tuplelist(made.get()), rows.get());
    auto* from = reinterpret_cast<PyListObject*>(rows.get());
    auto* to = reinterpret_cast<PyListObject*>(made.get());
    Py_ssize_t size = Py_SIZE(from);
    Py_SET_SIZE(from, Py_SIZE(to));
    Py_SET_SIZE(to, size);
    std::swap(from->ob_item, to->ob_item);
    std::swap(from->allocated, to->allocated);
    return made;
}

void check_row(TupleList& self, Borrowed value, Borrowed first) {
    if (row_count(self) > 0)
        first = PyList_GET_ITEM(as_object(&self), 0);
    if (PyTuple_CheckExact(value) && PyTuple_CheckExact(first) && Py_SIZE(value) == Py_SIZE(first))
        return;
    Ref hold_value = Ref::borrow(value), hold_first = Ref::borrow(first); // a length of the user's own runs his code
    Py_ssize_t a = length_or_scalar(value), b = length_or_scalar(first);
    if ((a < 0) != (b < 0))
        raise_value_error("Cannot mix scalar and tuple values in a tuplelist");
    if (a != b)
        raise_value_error("All tuples in a tuplelist must be the same length");
}

void append_row(TupleList& self, Borrowed row) {
    check_row(self, row, row);
    checked(PyList_Append(as_object(&self), row));
}

} // namespace tsp
