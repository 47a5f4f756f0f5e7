// Model: special ordered sets.
#include "arrays/handle_array.h"
#include "expr/kinds.h"
#include "model/model.h"
#include "model/rows.h"
#include "py/args.h"
#include "solver/check.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace tsp {
namespace {

using Objects = std::vector<Ref>;

// The items of an iterable, of a dict the values.
Objects items_of(Borrowed iterable, const char* what) {
    Ref values;
    if (PyDict_Check(iterable))
        iterable = (values = Ref::steal(PyObject_CallMethod(iterable, "values", nullptr))).get();
    else if (PyUnicode_Check(iterable) || PyBytes_Check(iterable) || is_var(iterable))
        raise(PyExc_TypeError, "%s should be an iterable, not `%s`", what, type_name(iterable));
    Ref iterator = Ref::steal(PyObject_GetIter(iterable));
    Objects items;
    while (PyObject* next = PyIter_Next(iterator.get()))
        items.push_back(Ref::steal(next));
    if (PyErr_Occurred())
        throw PythonError();
    return items;
}

void append_cells(Objects& vars, Borrowed array) {
    Ref flat = Ref::steal(PyArray_Ravel(as_array(array), NPY_CORDER));
    PyArrayObject* a = as_array(flat.get());
    for (npy_intp i = 0; i < PyArray_SIZE(a); ++i)
        vars.push_back(Ref::steal(PyArray_GETITEM(a, static_cast<char*>(PyArray_GETPTR1(a, i)))));
}

bool is_array(Borrowed x) { return is_mvar(x) || PyArray_Check(x); }
void append_array(Objects& vars, Borrowed x) { append_cells(vars, is_mvar(x) ? array_of(as_handle_array(x)) : x); }

// The members in order; arrays among them stand for their cells, row by row.
Objects members_of(Borrowed given) {
    Objects vars;
    if (is_array(given)) {
        append_array(vars, given);
    } else {
        for (Ref& item : items_of(given, "vars")) {
            if (is_array(item.get()))
                append_array(vars, item.get());
            else
                vars.push_back(std::move(item));
        }
    }
    for (const Ref& var : vars)
        if (!is_var(var.get()))
            raise(PyExc_TypeError, "vars should contain Var only, not `%s`", type_name(var.get()));
    if (vars.empty())
        raise(PyExc_ValueError, "a special ordered set needs at least one variable");
    if (vars.size() > INT_MAX)
        raise(PyExc_MemoryError, "too many variables");
    return vars;
}

double weight_of(Borrowed item) {
    if (PyArray_Check(item) || !is_number(item))
        raise(PyExc_TypeError, "weights should contain numbers only, not `%s`", type_name(item));
    return to_double(item);
}

std::vector<double> weights_of(Borrowed given, Borrowed vars, std::size_t count) {
    std::vector<double> weights;
    if (PyDict_Check(given)) { // the weights of the variables of a dict, by its keys
        if (!PyDict_Check(vars))
            raise(PyExc_TypeError, "weights can be a dict only if vars is one");
        for (const Ref& key : items_of(Ref::steal(PyMapping_Keys(vars)).get(), "vars")) {
            Ref weight = Ref::steal(PyObject_GetItem(given, key.get()));
            weights.push_back(weight_of(weight.get()));
        }
    } else {
        Ref flat; // so that an array goes with the variables of one of the same shape
        if (PyArray_Check(given))
            given = (flat = Ref::steal(PyArray_Ravel(as_array(given), NPY_CORDER))).get();
        for (const Ref& item : items_of(given, "weights"))
            weights.push_back(weight_of(item.get()));
    }
    if (weights.size() != count)
        raise(PyExc_ValueError, "%zu weights for %zu variables", weights.size(), count);
    for (std::size_t i = 0; i < count; ++i) {
        if (!(std::fabs(weights[i]) < TSO_INFINITY))
            raise(PyExc_ValueError, "weights should be finite numbers");
        if (i > 0 && !(weights[i - 1] < weights[i]))
            raise(PyExc_ValueError, "weights should rise from each variable to the next");
    }
    return weights;
}

void test_repetition(const std::vector<int>& indices) {
    std::vector<int> sorted = indices;
    std::sort(sorted.begin(), sorted.end());
    auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    // What is negative stands for nothing in this model, and the solver says so.
    if (sorted.front() >= 0 && twice != sorted.end())
        raise(PyExc_ValueError, "the variable of index %d is in the set twice", *twice);
}

} // namespace

Ref model_addSOS(Model& self, const Call& call) {
    static const Signature<3> signature{"addSOS", {"type", "vars", "weights"}, 2};
    auto [type, vars, weights] = parse(signature, call);
    if (!PyIndex_Check(type))
        raise_argument_type("type", "int", type);
    int kind = to_int32(type);
    Objects members = members_of(vars);
    std::vector<double> weight;
    if (weights && weights != Py_None)
        weight = weights_of(weights, vars, members.size());
    std::vector<int> indices; // read last: iterating may have run code that removes variables
    indices.reserve(members.size());
    for (const Ref& var : members)
        indices.push_back(index_in(self, var.get()));
    test_repetition(indices);
    int begin = 0;
    check(TSOaddsos(self.mdl_, 1, static_cast<int>(indices.size()), &kind, &begin, indices.data(),
                    weight.empty() ? nullptr : weight.data()));
    return append_handle(mirror(self.soss_), state().sos, self, &TSOdelsos);
}

} // namespace tsp
