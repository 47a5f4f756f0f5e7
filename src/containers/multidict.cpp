#include "containers/multidict.h"

#include "containers/base.h"
#include "containers/items.h"
#include "containers/tupledict.h"
#include "containers/tuplelist.h"
#include "py/args.h"
#include "tessolv.h"

#include <algorithm>
#include <new>
#include <vector>

namespace tsp {
namespace {

TupleDict& as_tupledict(const Ref& r) { return *reinterpret_cast<TupleDict*>(r.get()); }

// What the collector and the allocator add to an object, and the place in a list.
constexpr std::size_t kDictBytes = sizeof(TupleDict) + 4 * sizeof(void*);

} // namespace

Ref multidict(PyObject*, const Call& call) {
    static const Signature<1> signature{"multidict", {"d"}, 1};
    auto [d] = parse(signature, call);
    if (d == Py_None)
        raise(PyExc_AttributeError, "'NoneType' object has no attribute '%.30s'", "items");
    if (!PyDict_CheckExact(d))
        raise_argument_type("d", "dict", d);

    Ref keys = new_tuplelist();
    Py_ssize_t columns = TSO_MAXINT; // of the shortest list
    bool scalar_seen = false;
    each_item(d, [&, d = d](Py_ssize_t, Borrowed key, Borrowed value) {
        append_row(*reinterpret_cast<TupleList*>(keys.get()), key);
        if (is_tuple_like(value))
            columns = std::min(columns, field_count(value));
        else
            scalar_seen = true;
    });
    if (columns == TSO_MAXINT && !scalar_seen) // Kept: an empty mapping asks for that many (test_rules.py)
        throw std::bad_alloc();
    Py_ssize_t count = scalar_seen ? 1 : std::max(columns, Py_ssize_t{1}); // one that stays empty for empty lists
    require_memory(count, kDictBytes);

    std::vector<Ref> dicts;
    dicts.reserve(static_cast<std::size_t>(count));
    for (Py_ssize_t i = 0; i < count; ++i)
        dicts.push_back(new_tupledict());
    each_item(d, [&](Py_ssize_t, Borrowed key, Borrowed value) {
        if (scalar_seen) {
            tupledict_set(as_tupledict(dicts[0]), key, value);
            return;
        }
        for (Py_ssize_t i = 0; i < columns; ++i)
            tupledict_set(as_tupledict(dicts[static_cast<std::size_t>(i)]), key, subscript(value, i).get());
    });

    Ref result = Ref::steal(PyList_New(count + 1));
    PyList_SET_ITEM(result.get(), 0, keys.release());
    for (Py_ssize_t i = 0; i < count; ++i)
        PyList_SET_ITEM(result.get(), i + 1, dicts[static_cast<std::size_t>(i)].release());
    return result;
}

} // namespace tsp
