// Model: what a callback may hand to the run: cuts, branchings, solutions.
#include "arrays/expr_array.h"
#include "arrays/handle_array.h"
#include "callback/bridge.h"
#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/tempconstr.h"
#include "model/rows.h"
#include "module/state.h"
#include "py/args.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>
#include <vector>

namespace tsp {
namespace {

// ---- Cuts: gathered first, handed over when all are well formed ----

struct Cut {
    std::size_t begin, end; // of its entries
    char sense;
    double rhs;
};

struct Cuts {
    RowArrays entries;
    std::vector<Cut> cuts;

    void add(std::size_t begin, char sense, double rhs) { cuts.push_back({begin, entries.index.size(), sense, rhs}); }
};

// The sides of one expression, which are None or numbers; infinite ones bind nothing.
void add_sides(Cuts& cuts, const Model& self, const LinExpr& expr, Borrowed lower, Borrowed upper) {
    double low = lower == Py_None ? -TSO_INFINITY : to_double(lower);
    double high = upper == Py_None ? TSO_INFINITY : to_double(upper);
    std::size_t begin = cuts.entries.index.size();
    append_row(cuts.entries, self, expr);
    if (low == high) {
        cuts.add(begin, TSO_EQUAL, low - expr.constant);
        return;
    }
    if (!(low <= -TSO_INFINITY))
        cuts.add(begin, TSO_GREATER_EQUAL, low - expr.constant);
    if (!(high >= TSO_INFINITY))
        cuts.add(begin, TSO_LESS_EQUAL, high - expr.constant);
}

void add_expression(Cuts& cuts, const Model& self, Borrowed expr, Borrowed lower, Borrowed upper) {
    if (is_linexpr(expr)) {
        add_sides(cuts, self, as_linexpr(expr), lower, upper);
        return;
    }
    if (!is_number(expr) && !is_var(expr))
        raise_argument_type("lhs", state().linexpr->tp_name, expr);
    LinExpr* e = new_linexpr();
    Ref hold = owned(e);
    fill_linexpr(*e, expr);
    add_sides(cuts, self, *e, lower, upper);
}

void add_comparison(Cuts& cuts, Model& self, Borrowed comparison) {
    if (PyBool_Check(comparison)) { // 0 <= 0 or 0 <= -1: a cut that always holds, or never
        if (comparison == Py_False)
            cuts.add(cuts.entries.index.size(), TSO_LESS_EQUAL, -1);
        return;
    }
    if (!is_tempconstr(comparison))
        raise_argument_type("lhs", state().tempconstr->tp_name, comparison);
    const TempConstr& t = as_tempconstr(comparison);
    Ref expr = Ref::borrow(t.expr), lower = Ref::borrow(t.lb), upper = Ref::borrow(t.ub);
    if (is_tempconstr(t.lb) || is_tempconstr(t.ub))
        raise(PyExc_TypeError, "an indicator constraint cannot be a cut");
    if (is_mvar(t.expr) || is_mlinexpr(t.expr)) {
        PyObject* array = is_mvar(t.expr) ? array_of(as_handle_array(t.expr)) : array_of(as_expr_array(t.expr));
        Ref cells = Ref::steal(PyArray_Ravel(as_array(array), NPY_CORDER));
        auto* cell = static_cast<PyObject**>(PyArray_DATA(as_array(cells.get())));
        for (npy_intp i = 0, n = PyArray_SIZE(as_array(cells.get())); i < n; ++i)
            add_expression(cuts, self, cell[i] ? cell[i] : Py_None, lower.get(), upper.get());
        return;
    }
    add_expression(cuts, self, t.expr, t.lb, t.ub);
}

// A comparison, or what yields comparisons.
void add_comparisons(Cuts& cuts, Model& self, Borrowed lhs) {
    if (PyBool_Check(lhs) || is_tempconstr(lhs)) {
        add_comparison(cuts, self, lhs);
        return;
    }
    if (PyUnicode_Check(lhs) || is_instance(lhs, state().operand) || is_number(lhs))
        raise(PyExc_TypeError, "sense and rhs can not be None if lhs is not a TempConstr");
    Ref items = Ref::steal(PySequence_List(lhs));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i)
        add_comparison(cuts, self, Ref::borrow(PyList_GET_ITEM(items.get(), i)).get());
}

char sense_of(Borrowed sense) {
    Py_ssize_t size = 0;
    const char* text = PyUnicode_Check(sense) ? PyUnicode_AsUTF8AndSize(sense, &size) : nullptr;
    if (!text && PyErr_Occurred())
        throw PythonError();
    if (!text)
        raise_argument_type("sense", "str", sense);
    // "<=", ">=" and "==" are the same as their first characters.
    bool known = size == 1 || (size == 2 && text[1] == '=');
    if (!known || (text[0] != TSO_LESS_EQUAL && text[0] != TSO_GREATER_EQUAL && text[0] != TSO_EQUAL))
        raise(PyExc_ValueError, "sense must be one of \"<\", \">\" and \"=\", not %R", sense);
    return text[0];
}

// lhs sense rhs, of single expressions or arrays of them.
void add_triple(Cuts& cuts, Model& self, Borrowed lhs, char sense, Borrowed rhs) {
    if (!is_instance(lhs, state().operand) && !is_instance(rhs, state().operand) && !is_number(lhs))
        raise_argument_type("lhs", state().linexpr->tp_name, lhs);
    int op = sense == TSO_LESS_EQUAL ? Py_LE : sense == TSO_GREATER_EQUAL ? Py_GE : Py_EQ;
    Ref comparison = Ref::steal(PyObject_RichCompare(lhs, rhs, op));
    add_comparison(cuts, self, comparison.get());
}

using CutFunction = int (*)(TSOcbdata, int, const int*, const double*, char, double);
void submit(Model& self, const Cuts& cuts, CutFunction function) {
    for (const Cut& cut : cuts.cuts)
        check(function(self.cbdata_, static_cast<int>(cut.end - cut.begin), cuts.entries.index.data() + cut.begin,
                       cuts.entries.value.data() + cut.begin, cut.sense, cut.rhs));
}

Ref numbers(Borrowed x, int type) {
    return Ref::steal(PyArray_FROMANY(x, type, 1, 1, NPY_ARRAY_C_CONTIGUOUS | NPY_ARRAY_ALIGNED));
}

// A cut in columns of the presolved problem.
void cut_presolved(Model& self, Borrowed pair, char sense, Borrowed rhs) {
    Ref index = numbers(PyTuple_GET_ITEM(pair, 0), NPY_INT32), value = numbers(PyTuple_GET_ITEM(pair, 1), NPY_FLOAT64);
    npy_intp count = PyArray_SIZE(as_array(index.get()));
    if (count != PyArray_SIZE(as_array(value.get())))
        raise(PyExc_ValueError, "%zd indices, but %zd coefficients", count, PyArray_SIZE(as_array(value.get())));
    Cuts cuts;
    auto* i = static_cast<const int*>(PyArray_DATA(as_array(index.get())));
    auto* v = static_cast<const double*>(PyArray_DATA(as_array(value.get())));
    cuts.entries.index.assign(i, i + count);
    cuts.entries.value.assign(v, v + count);
    cuts.entries.finish_row(0);
    cuts.add(0, sense, to_double(rhs));
    submit(self, cuts, &TSOcbcutp);
}

// ---- Solutions ----

enum SolutionMode : uint8_t { kOfVariables = 1, kOfPresolved = 2 };

// The array into which a solution is entered; there is one while a callback runs.
std::span<double> solution_of(const Model& self) {
    if (!PyArray_Check(self.usersol_))
        raise(PyExc_RuntimeError, "method can only be called in callback function");
    return {static_cast<double*>(PyArray_DATA(as_array(self.usersol_))),
            static_cast<std::size_t>(PyArray_SIZE(as_array(self.usersol_)))};
}

struct Entered {
    std::vector<std::pair<int, double>> entries;
    uint8_t mode = 0;
};

// A variable of the model, or the number of a column of the presolved problem.
void enter(Entered& entered, const Model& self, Borrowed var, Borrowed value) {
    bool presolved = !is_var(var);
    if (presolved && !PyLong_Check(var))
        raise_argument_type("vars", state().var->tp_name, var);
    int index = presolved ? to_int32(var) : index_in(self, var);
    if (index < 0 || static_cast<std::size_t>(index) >= solution_of(self).size())
        throw SolverError(TSO_MODEL_INVALID_COL_IDX);
    double number = to_double(value);
    if (std::isnan(number))
        raise(PyExc_ValueError, "the value of a variable must be a number, not nan");
    entered.entries.emplace_back(index, number);
    entered.mode |= presolved ? kOfPresolved : kOfVariables;
}

void enter_all(Entered& entered, const Model& self, Borrowed vars, Borrowed values) {
    Ref hold = Ref::borrow(vars);
    if (is_var(vars) || PyLong_Check(vars)) {
        enter(entered, self, vars, values);
        return;
    }
    if (PyDict_Check(vars)) { // by key, or one value for all
        Ref items = Ref::steal(PyDict_Copy(vars));
        PyObject *key, *var;
        Py_ssize_t position = 0;
        while (PyDict_Next(items.get(), &position, &key, &var)) {
            Ref value = PyMapping_Check(values) && !is_number(values) ? Ref::steal(PyObject_GetItem(values, key))
                                                                      : Ref::borrow(values);
            enter(entered, self, var, value.get());
        }
        return;
    }
    Ref flat;
    if (is_mvar(vars))
        flat = Ref::steal(PyArray_Ravel(as_array(array_of(as_handle_array(vars))), NPY_CORDER));
    Ref list = Ref::steal(PySequence_List(flat ? flat.get() : vars));
    Py_ssize_t count = PyList_GET_SIZE(list.get());
    Ref given;
    if (!is_number(values)) {
        Ref source = Ref::borrow(values);
        if (PyArray_Check(values))
            source = Ref::steal(PyArray_Ravel(as_array(values), NPY_CORDER));
        given = Ref::steal(PySequence_List(source.get()));
        if (PyList_GET_SIZE(given.get()) != count)
            raise(PyExc_ValueError, "%zd variables, but %zd values", count, PyList_GET_SIZE(given.get()));
    }
    for (Py_ssize_t i = 0; i < count; ++i)
        enter(entered, self, Ref::borrow(PyList_GET_ITEM(list.get(), i)).get(),
              given ? Ref::borrow(PyList_GET_ITEM(given.get(), i)).get() : values);
}

} // namespace

Ref model_cbCut(Model& self, const Call& call) {
    static const Signature<3> signature{"cbCut", {"lhs", "sense", "rhs"}, 1};
    require_callback(self);
    auto [lhs, sense, rhs] = parse(signature, call);
    bool no_sense = !sense || sense == Py_None, no_rhs = !rhs || rhs == Py_None;
    Ref hold = Ref::borrow(lhs);
    Cuts cuts;
    if (no_sense && no_rhs) {
        add_comparisons(cuts, self, lhs);
    } else {
        if (is_tempconstr(lhs))
            raise(PyExc_ValueError, "sense and rhs should be None if lhs is a TempConstr");
        if (no_sense || no_rhs)
            raise(PyExc_ValueError, "sense and rhs can not be None if lhs is not a TempConstr");
        char s = sense_of(sense);
        if (PyTuple_Check(lhs) && PyTuple_GET_SIZE(lhs) == 2) {
            cut_presolved(self, lhs, s, rhs);
            return Ref::none();
        }
        add_triple(cuts, self, lhs, s, rhs);
    }
    require_callback(self); // what was asked of the arguments may have been Python code that ended the callback
    submit(self, cuts, &TSOcbcut);
    return Ref::none();
}

Ref model_cbBranch(Model& self, const Call& call) {
    static const Signature<3> signature{"cbBranch", {"var", "value", "way"}, 2};
    require_callback(self);
    auto [var, value, way] = parse(signature, call);
    double at = to_double(value);
    int direction = way && way != Py_None ? to_int32(way) : 0;
    if (is_var(var)) {
        check(TSOcbbranch(self.cbdata_, index_in(self, var), at, direction));
    } else {
        if (!PyLong_Check(var))
            raise_argument_type("var", state().var->tp_name, var);
        check(TSOcbbranchp(self.cbdata_, to_int32(var), at, direction));
    }
    return Ref::none();
}

Ref model_cbSetSolution(Model& self, const Call& call) {
    static const Signature<2> signature{"cbSetSolution", {"vars", "values"}, 2};
    require_callback(self);
    auto [vars, values] = parse(signature, call);
    Ref hold = Ref::borrow(values);
    Entered entered;
    enter_all(entered, self, vars, values);
    require_callback(self);
    if (((self.usersolmode_ | entered.mode) & (kOfVariables | kOfPresolved)) == (kOfVariables | kOfPresolved))
        raise(PyExc_ValueError, "a solution has values of variables or of presolved columns, not of both");
    std::span<double> solution = solution_of(self);
    if (self.usersolmode_ == 0) // nothing is left of a solution that was offered before
        std::fill(solution.begin(), solution.end(), TSO_UNDEFINED);
    for (auto [index, value] : entered.entries)
        solution[static_cast<std::size_t>(index)] = value;
    self.usersolmode_ |= entered.mode;
    return Ref::none();
}

Ref model_cbUseSolution(Model& self) {
    require_callback(self);
    uint8_t mode = self.usersolmode_;
    if (mode == 0)
        return Ref::none();
    self.usersolmode_ = 0;
    auto* function = mode == kOfVariables ? &TSOcbsolution : &TSOcbsolutionp;
    double objective = TSO_UNDEFINED;
    int status = function(self.cbdata_, solution_of(self).data(), &objective);
    if (status < 0)
        throw SolverError(status);
    return Ref::steal(Py_BuildValue("id", status, objective));
}

} // namespace tsp
