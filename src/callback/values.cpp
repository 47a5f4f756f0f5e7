// Model: what a callback may read of the run.
#include "arrays/handle_array.h"
#include "callback/bridge.h"
#include "expr/kinds.h"
#include "model/rows.h"
#include "module/constants_catalog.h"
#include "module/state.h"
#include "py/args.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <algorithm>

namespace tsp {
namespace {

enum What { kPreNumVars = 200, kPreNumConstrs, kPreNumNzs, kMipSol = 316, kMipRel = 317 };

// How many entries the array behind a code has.
Py_ssize_t length_of_array(Model& self, const WhatRow& row) {
    if (row.name == "PRE_ELEMENTS" || row.name == "PRE_INDICES")
        return cbint(self, kPreNumNzs);
    if (row.name == "PRE_STARTS")
        return Py_ssize_t{cbint(self, kPreNumVars)} + 1;
    if (row.owner == "cd")
        return cbint(self, kPreNumConstrs);
    bool presolved = row.name.starts_with("PRE_") || row.name.ends_with("PRE");
    return presolved ? cbint(self, kPreNumVars) : variable_count(self);
}

template <class T> Ref array_of_values(const T* values, Py_ssize_t count, int type, T missing) {
    npy_intp size = count;
    Ref array = Ref::steal(PyArray_SimpleNew(1, &size, type));
    auto* data = static_cast<T*>(PyArray_DATA(as_array(array.get())));
    if (values)
        std::copy_n(values, count, data);
    else
        std::fill_n(data, count, missing);
    return array;
}

template <class T> const T* pointer_of(Model& self, int what) {
    T* values = nullptr;
    check(TSOcbget(self.cbdata_, self.where_, what, &values));
    return values;
}

// Values by variable. What the engine does not have reads as undefined.
struct Values {
    const Model& self;
    const double* data;
    int count;

    double operator()(Borrowed var) const {
        int i = index_in(self, var);
        if (i < 0 || i >= count)
            throw SolverError(TSO_MODEL_INVALID_COL_IDX);
        return data ? data[i] : TSO_UNDEFINED;
    }
};

Ref float_of(double v) { return Ref::steal(PyFloat_FromDouble(v)); }

// In the form in which they were asked for.
Ref values_of(const Values& values, Borrowed vars) {
    if (is_var(vars))
        return float_of(values(vars));
    if (is_mvar(vars)) {
        PyObject* array = array_of(as_handle_array(vars));
        Ref flat = Ref::steal(PyArray_Ravel(as_array(array), NPY_CORDER));
        Ref result =
            Ref::steal(PyArray_SimpleNew(PyArray_NDIM(as_array(array)), PyArray_DIMS(as_array(array)), NPY_FLOAT64));
        auto* out = static_cast<double*>(PyArray_DATA(as_array(result.get())));
        auto* cells = static_cast<PyObject**>(PyArray_DATA(as_array(flat.get())));
        for (npy_intp i = 0, n = PyArray_SIZE(as_array(flat.get())); i < n; ++i) {
            if (!cells[i] || !is_var(cells[i]))
                raise_argument_type("vars", state().var->tp_name, cells[i] ? cells[i] : Py_None);
            out[i] = values(cells[i]);
        }
        return result;
    }
    if (PyDict_Check(vars)) { // of the same type, so that a tupledict answers with what it can select from
        Ref result = Ref::steal(
            PyObject_CallNoArgs(as_object(is_instance(vars, state().tupledict) ? state().tupledict : &PyDict_Type)));
        PyObject *key, *var;
        Py_ssize_t position = 0;
        Ref items = Ref::steal(PyDict_Copy(vars));
        while (PyDict_Next(items.get(), &position, &key, &var)) {
            Ref value = values_of(values, var);
            checked(PyObject_SetItem(result.get(), key, value.get()));
        }
        return result;
    }
    Ref items = PyUnicode_Check(vars) ? Ref() : Ref::steal(PySequence_List(vars));
    if (!items)
        raise_argument_type("vars", state().var->tp_name, vars);
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
        Ref var = Ref::borrow(PyList_GET_ITEM(items.get(), i));
        if (!is_var(var.get()))
            raise_argument_type("vars", state().var->tp_name, var.get());
        checked(PyList_SetItem(items.get(), i, float_of(values(var.get())).release()));
    }
    return items;
}

Ref values_for(Model& self, const Signature<1>& signature, const Call& call, int what) {
    require_callback(self);
    auto [vars] = parse(signature, call);
    Values values{self, pointer_of<double>(self, what), variable_count(self)};
    if (!vars || vars == Py_None)
        return array_of_values(values.data, values.count, NPY_FLOAT64, TSO_UNDEFINED);
    Ref hold = Ref::borrow(vars);
    return values_of(values, vars);
}

} // namespace

Ref model_cbGet(Model& self, const Call& call) {
    static const Signature<1> signature{"cbGet", {"what"}, 1};
    require_callback(self);
    auto [what] = parse(signature, call);
    int code = to_int32(what);
    const WhatRow* row =
        std::find_if(std::begin(kWhatCodes), std::end(kWhatCodes), [&](const WhatRow& r) { return r.code == code; });
    if (row == std::end(kWhatCodes))
        throw SolverError(TSO_CB_INVALID_WHAT);
    switch (row->getter) {
    case Getter::Int:
        return Ref::steal(PyLong_FromLong(cbint(self, code)));
    case Getter::Double:
        return float_of(cbdbl(self, code));
    case Getter::IntAt: {
        const int* values = pointer_of<int>(self, code);
        return array_of_values(values, length_of_array(self, *row), NPY_INT32, 0);
    }
    default: {
        const double* values = pointer_of<double>(self, code);
        return array_of_values(values, length_of_array(self, *row), NPY_FLOAT64, TSO_UNDEFINED);
    }
    }
}

Ref model_cbGetSolution(Model& self, const Call& call) {
    static const Signature<1> signature{"cbGetSolution", {"vars"}, 0};
    return values_for(self, signature, call, kMipSol);
}

Ref model_cbGetNodeRel(Model& self, const Call& call) {
    static const Signature<1> signature{"cbGetNodeRel", {"vars"}, 0};
    return values_for(self, signature, call, kMipRel);
}

} // namespace tsp
