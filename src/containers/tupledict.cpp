#include "containers/tupledict.h"

#include "containers/base.h"
#include "containers/items.h"
#include "containers/query.h"
#include "expr/quicksum.h"
#include "module/state.h"
#include "py/args.h"

#include <optional>
#include <vector>

namespace tsp {
namespace {

TupleDict& tupledict(Borrowed o) { return *reinterpret_cast<TupleDict*>(o); }

void drop_keys(TupleDict& self) {
    if (self.keys_)
        assign(self.keys_, Ref());
}

// ---- Lifetime ----

void tupledict_init(TupleDict& self, PyObject* args, PyObject* kwargs) {
    checked(PyDict_Type.tp_init(as_object(&self), args, kwargs));
    drop_keys(self);
}

int tupledict_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    Py_VISIT(tupledict(self).keys_);
    return PyDict_Type.tp_traverse(self, visit, arg);
}

int tupledict_clear_fields(PyObject* self) {
    Py_CLEAR(tupledict(self).keys_);
    return PyDict_Type.tp_clear(self);
}

void tupledict_dealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    PyObject_GC_UnTrack(self);
    Py_TRASHCAN_BEGIN(self, tupledict_dealloc) // values may be tupledicts, nested without end
        Py_CLEAR(tupledict(self).keys_);
    PyDict_Type.tp_dealloc(self);
    Py_DECREF(type);
    Py_TRASHCAN_END
}

// ---- Queries ----

Ref key_list(TupleDict& self) {
    PyObject* dict = as_object(&self);
    if (!self.keys_)
        assign(self.keys_,
               tuplelist_from(Ref::steal(has_plain_lookup(dict) ? PyDict_Keys(dict) : PyMapping_Keys(dict))));
    return Ref::borrow(self.keys_);
}

// The keys of a dict and what a query finds among them.
struct Query {
    Query(TupleDict& self, Borrowed pattern) : pattern(pattern), keys(key_list(self)) {
        found = find_candidates(list(), pattern, Rows::AreAsIndexed);
    }
    TupleList& list() const { return *reinterpret_cast<TupleList*>(keys.get()); }

    Borrowed pattern;
    Ref keys;
    Candidates found;
};

// Calls use(position, key) for each key that matches, in order. Keys whose comparison runs Python code are all found
// before the first is used.
template <class Use> void each_key(const Query& query, Use use) {
    TupleList* list = &query.list();
    const Candidates& found = query.found;
    if (!found.all && !found.list)
        return each_match(*list, found, query.pattern, use);
    Ref rows;
    if (!found.all) {
        rows = new_tuplelist();
        auto* matches = reinterpret_cast<TupleList*>(rows.get());
        each_match(*list, found, query.pattern, [&](Py_ssize_t, Ref key) { append_row(*matches, key.get()); });
        list = matches;
    }
    for (Py_ssize_t i = 0; i < row_count(*list); ++i)
        use(found.all ? i : -1, row_at(*list, i));
}

// The values that a query finds, if all of them stand in the dict at the positions that their keys have in the list,
// which is the rule. Nothing is hashed or compared then, not even a key or a value looked at: on a million of them the
// memory would take longer than all the rest. The values are borrowed: use them before any Python code runs.
std::optional<std::vector<PyObject*>> values_in_place(TupleDict& self, const Query& query) {
    const Candidates& found = query.found;
    if ((!found.all && (found.list || !found.trusted)) || !has_plain_subscript(as_object(&self)))
        return std::nullopt;
    PyObject* list = query.keys.get();
    Py_ssize_t rows = PyList_GET_SIZE(list);
    std::vector<PyObject*> values(found.all ? static_cast<std::size_t>(rows) : found.positions.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        Py_ssize_t position = found.all ? static_cast<Py_ssize_t>(i) : found.positions[i];
        if (position >= rows)
            return std::nullopt;
        PyObject *key, *wanted = PyList_GET_ITEM(list, position);
        if (!PyDict_Next(as_object(&self), &position, &key, &values[i]) || key != wanted)
            return std::nullopt;
    }
    return values;
}

Ref list_of(const std::vector<PyObject*>& values) {
    for (PyObject* value : values) // before there is a list, for making it may collect garbage, and so run Python code
        Py_INCREF(value);
    PyObject* list = PyList_New(static_cast<Py_ssize_t>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (list)
            PyList_SET_ITEM(list, static_cast<Py_ssize_t>(i), values[i]);
        else
            Py_DECREF(values[i]);
    }
    return Ref::steal(list);
}

Ref select_values(TupleDict& self, const Query& query) {
    Ref values = Ref::steal(PyList_New(0));
    each_key(query, [&](Py_ssize_t position, Ref key) {
        Ref value = value_at(as_object(&self), position, key.get());
        checked(PyList_Append(values.get(), value.get()));
    });
    return values;
}

Ref tupledict_select(PyObject* self, PyObject* pattern) {
    Query query(tupledict(self), pattern);
    auto values = values_in_place(tupledict(self), query);
    return values ? list_of(*values) : select_values(tupledict(self), query);
}

Ref tupledict_sum(PyObject* self, PyObject* pattern) {
    if (Py_TYPE(self) != state().tupledict) { // select may be one of the user's own
        Ref select = Ref::steal(PyObject_GetAttrString(self, "select"));
        return quicksum(Ref::steal(PyObject_Call(select.get(), pattern, nullptr)).get());
    }
    Query query(tupledict(self), pattern);
    auto values = values_in_place(tupledict(self), query);
    if (!values)
        return quicksum(select_values(tupledict(self), query).get());
    auto count = static_cast<Py_ssize_t>(values->size());
    SumBuilder sum;
    if (sum.add_leading_vars(values->data(), count) == count)
        return sum.finish();
    return quicksum(list_of(*values).get());
}

// The sum of products coeff * value. A number times a variable becomes a term at once; anything else is multiplied by
// Python's operator, and from the first such product on all are kept and added at the end: a product that fails must
// do so before one that cannot be added.
class Products {
public:
    void add(Borrowed coeff, Borrowed value) {
        bool term = Py_TYPE(value) == state().var && (PyFloat_CheckExact(coeff) || PyLong_CheckExact(coeff));
        if (!term) {
            kept_.push_back({0.0, Ref::steal(PyNumber_Multiply(coeff, value)), false});
            return;
        }
        double number = to_double(coeff);
        if (kept_.empty())
            sum_.add_scaled(number, value);
        else
            kept_.push_back({number, Ref::borrow(value), true});
    }

    Ref finish() {
        for (Product& p : kept_) {
            if (p.scaled)
                sum_.add_scaled(p.coeff, p.object.get());
            else
                sum_.add(p.object.get());
        }
        return sum_.finish();
    }

private:
    struct Product {
        double coeff;
        Ref object; // the variable, or the whole product
        bool scaled;
    };
    std::vector<Product> kept_;
    SumBuilder sum_;
};

Ref tupledict_prod(TupleDict& self, const Call& call) {
    static const Signature<1> signature{"prod", {"coeffs"}, 1};
    auto [coeffs] = parse(signature, Call{call.args, call.nargs > 1 ? 1 : call.nargs, call.kwnames});
    if (!PyDict_Check(coeffs))
        raise(PyExc_TypeError, "expect a dict for argument `coeffs`");
    Products products;
    if (call.nargs <= 1) {
        bool plain = has_plain_lookup(as_object(&self));
        each_item(coeffs, [&](Py_ssize_t position, Borrowed key, Borrowed coeff) {
            Ref value = plain ? find_value(as_object(&self), position, key) : get_value_of(as_object(&self), key);
            if (value && value.get() != Py_None)
                products.add(coeff, value.get());
        });
        return products.finish();
    }
    Ref pattern = Ref::steal(PyTuple_New(call.nargs - 1));
    for (Py_ssize_t i = 1; i < call.nargs; ++i)
        PyTuple_SET_ITEM(pattern.get(), i - 1, Ref::borrow(call.args[i]).release());
    bool plain = has_plain_lookup(coeffs);
    each_key(Query(self, pattern.get()), [&](Py_ssize_t position, Ref key) {
        Ref coeff = plain ? find_value(coeffs, position, key.get()) : get_value_of(coeffs, key.get());
        if (coeff && coeff.get() != Py_None) {
            Ref value = value_at(as_object(&self), position, key.get());
            products.add(coeff.get(), value.get());
        }
    });
    return products.finish();
}

Ref tupledict_clean(TupleDict& self) {
    drop_keys(self);
    return Ref::none();
}

// ---- Changes: the key list goes first, so also where the change then fails ----

Ref tupledict_clear(TupleDict& self) {
    drop_keys(self);
    PyDict_Clear(as_object(&self));
    return Ref::none();
}

Ref tupledict_pop(TupleDict& self, const Call& call) {
    static const Signature<1> signature{"pop", {"key"}, 1};
    static const BaseMethod base(&PyDict_Type, "pop");
    auto [key] = parse(signature, call);
    drop_keys(self);
    return base({as_object(&self), key});
}

Ref tupledict_popitem(TupleDict& self) {
    static const BaseMethod base(&PyDict_Type, "popitem");
    drop_keys(self);
    return base({as_object(&self)});
}

Ref tupledict_update(PyObject* self, PyObject* args, PyObject* kwargs) {
    static const BaseMethod base(&PyDict_Type, "update");
    drop_keys(tupledict(self));
    Py_ssize_t count = PyTuple_GET_SIZE(args);
    Ref all = Ref::steal(PyTuple_New(count + 1));
    PyTuple_SET_ITEM(all.get(), 0, Ref::borrow(self).release());
    for (Py_ssize_t i = 0; i < count; ++i)
        PyTuple_SET_ITEM(all.get(), i + 1, Ref::borrow(PyTuple_GET_ITEM(args, i)).release());
    return Ref::steal(PyObject_Call(base.get(), all.get(), kwargs));
}

// Kept: the result is None, not the value (test_rules.py).
Ref tupledict_setdefault(TupleDict& self, const Call& call) {
    static const Signature<2> signature{"setdefault", {"key", "default"}, 1};
    auto [key, value] = parse(signature, call);
    drop_keys(self);
    if (!PyDict_SetDefault(as_object(&self), key, value ? value : Py_None))
        throw PythonError();
    return Ref::none();
}

void tupledict_assign(TupleDict& self, PyObject* key, PyObject* value) {
    drop_keys(self);
    checked(PyDict_Type.tp_as_mapping->mp_ass_subscript(as_object(&self), key, value));
}

Ref tupledict_inplace_or(TupleDict& self, PyObject* other) {
    drop_keys(self);
    return Ref::steal(PyDict_Type.tp_as_number->nb_inplace_or(as_object(&self), other));
}

// ---- Tables ----

PyMethodDef tupledict_methods[] = {
    {"select", detail::c_function<&tupledict_select>(), METH_VARARGS,
     "select($self, *query)\n--\n\n"
     "The values whose keys match a pattern, as a list in the order of the keys.\n\n"
     "query: one value for each field of the keys, \"*\" for any, as in tuplelist.select. Without one, all values.\n"
     "Raises ValueError if the keys are not all scalars or all tuples of one length, and TypeError as "
     "tuplelist.select\n"
     "does.\n\n"
     "Example: flow.select('Oslo', '*')"},
    {"sum", detail::c_function<&tupledict_sum>(), METH_VARARGS,
     "sum($self, *query)\n--\n\n"
     "The sum of the values whose keys match a pattern, as quicksum(self.select(*query)): a linear or quadratic\n"
     "expression.\n\n"
     "query: as for select.\n"
     "Raises what select raises, and TypeError for values that cannot be summed.\n\n"
     "Example: flow.sum('Oslo', '*') <= 10"},
    keywords<tupledict_prod>(
        "prod", "prod($self, coeffs, *query)\n--\n\n"
                "The sum of coeffs[key] * self[key] over the keys that both have.\n\n"
                "coeffs: dict of factors.  query: as for select; without one, the terms come in the order\n"
                "of coeffs, with one in the order of the keys.\n"
                "Raises TypeError if coeffs is no dict, RuntimeError if it changes meanwhile, and what sum\n"
                "raises.\n\n"
                "Example: m.setObjective(flow.prod(cost))"),
    no_args<tupledict_clean>("clean", "clean($self)\n--\n\n"
                                      "Drops the list of keys that queries use; the next one builds it anew. Needed\n"
                                      "only after changes past the class, as dict.__setitem__(d, k, v).\n\n"
                                      "Example: flow.clean()"),
    no_args<tupledict_clear>("clear", "clear($self)\n--\n\nRemoves all items.\n\nExample: flow.clear()"),
    keywords<tupledict_pop>("pop", "pop($self, key)\n--\n\n"
                                   "Removes a key and returns its value. There is no default.\n\n"
                                   "key: the key.\n"
                                   "Raises KeyError if the key is missing.\n\n"
                                   "Example: x = flow.pop(('Oslo', 'Bergen'))"),
    no_args<tupledict_popitem>("popitem", "popitem($self)\n--\n\n"
                                          "Removes the last item and returns it as (key, value).\n\n"
                                          "Raises KeyError if there is none.\n\n"
                                          "Example: key, x = flow.popitem()"),
    {"update", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&detail::Entry<&tupledict_update>::call)),
     METH_VARARGS | METH_KEYWORDS,
     "update($self, *args, **kwargs)\n--\n\n"
     "Takes over the items of a dict or of an iterable of pairs, and keyword arguments, as dict.update does.\n\n"
     "Example: flow.update(more)"},
    keywords<tupledict_setdefault>("setdefault",
                                   "setdefault($self, key, default=None)\n--\n\n"
                                   "Stores a value for a key that is missing. Returns None either way.\n\n"
                                   "key: the key.  default: the value to store.\n\n"
                                   "Example: cost.setdefault(('Oslo', 'Bergen'), 1.0)"),
    {},
};

PyType_Slot tupledict_slots[] = {
    {Py_tp_doc, const_cast<char*>(
                    "tupledict(*args, **kwargs)\n--\n\n"
                    "A dict whose values are selected, summed and weighted by patterns over its keys.\n\n"
                    "Arguments as for dict. Keys may be anything; queries need them to be all scalars, or all\n"
                    "tuples of one length. copy() and | give plain dicts.\n\n"
                    "Example: flow = tupledict({('Oslo', 'Bergen'): x, ('Oslo', 'Moss'): y}); flow.sum('Oslo', '*')")},
    slot<tupledict_init>(Py_tp_init),
    {Py_tp_traverse, reinterpret_cast<void*>(&tupledict_traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(&tupledict_clear_fields)},
    {Py_tp_dealloc, reinterpret_cast<void*>(&tupledict_dealloc)},
    {Py_tp_methods, tupledict_methods},
    slot<tupledict_assign>(Py_mp_ass_subscript),
    slot<tupledict_inplace_or>(Py_nb_inplace_or),
    {},
};
PyType_Spec tupledict_spec = {"tessolvpy.tupledict", sizeof(TupleDict), 0,
                              Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC, tupledict_slots};

} // namespace

PyTypeObject* make_tupledict_type() { return make_type(tupledict_spec, &PyDict_Type); }

Ref new_tupledict() {
    Ref none = Ref::steal(PyTuple_New(0));
    return Ref::steal(PyDict_Type.tp_new(state().tupledict, none.get(), nullptr));
}

void tupledict_set(TupleDict& self, Borrowed key, Borrowed value) { tupledict_assign(self, key, value); }

} // namespace tsp
