// Model: indicator constraints, as a call and as a pair of comparisons.
#include "arrays/expr_array.h"
#include "arrays/handle_array.h"
#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/tempconstr.h"
#include "model/model.h"
#include "model/rows.h"
#include "solver/check.h"

namespace tsp {
namespace {

constexpr char kNotBinary[] =
    "indicator constraints can only be triggered by a single binary variable at a given binary value";
constexpr char kNotLinear[] = "indicator constraints can only be in linear form";

Ref add_indicator(Model& self, Borrowed binvar, bool binval, const LinExpr& expr, char sense, double rhs,
                  const char* name) {
    static RowArrays row; // kept between calls: nothing in between runs Python code
    row.clear();
    append_row(row, self, expr);
    check(TSOaddgenconstrIndicator(self.mdl_, name, index_in(self, binvar), binval, static_cast<int>(row.index.size()),
                                   row.index.data(), row.value.data(), sense, rhs));
    return append_handle(mirror(self.genconstrs_), state().genconstr, self, &TSOdelgenconstrs);
}

// A variable or expression in an array without dimensions, as indexing gives it, stands for itself.
Ref out_of_array(Borrowed x) {
    if (is_mvar(x) && shape_of(array_of(as_handle_array(x))).empty())
        return Ref::steal(PyObject_CallMethod(array_of(as_handle_array(x)), "item", nullptr));
    if (is_mlinexpr(x) && shape_of(as_expr_array(x)).empty())
        return Ref::steal(PyObject_CallMethod(array_of(as_expr_array(x)), "item", nullptr));
    return Ref::borrow(x);
}

bool is_zero(Borrowed bound) { return is_number(bound) && to_double(bound) == 0.0; }

// Whether the attribute VType of a variable is binary; it reads as bytes.
bool is_binary(Borrowed var) {
    Ref type = Ref::steal(PyObject_GetAttrString(var, "vtype"));
    constexpr char binary[] = {TSO_BINARY, 0};
    if (PyBytes_Check(type.get()))
        return PyBytes_GET_SIZE(type.get()) == 1 && PyBytes_AS_STRING(type.get())[0] == TSO_BINARY;
    return PyUnicode_Check(type.get()) && PyUnicode_CompareWithASCIIString(type.get(), binary) == 0;
}

// The variable and the value of `b == 0` or `b == 1`.
std::pair<Ref, bool> trigger_of(const TempConstr& t) {
    if (!is_zero(t.lb) || !is_zero(t.ub))
        raise(PyExc_ValueError, kNotBinary);
    Ref hold = out_of_array(t.expr);
    if (!is_linexpr(hold.get()))
        raise(PyExc_ValueError, kNotBinary);
    const LinExpr& e = as_linexpr(hold.get());
    if ((e.constant != 0.0 && e.constant != -1.0) || e.size() != 1 || e.coeffs.data()[0] != 1.0)
        raise(PyExc_ValueError, kNotBinary);
    bool value = e.constant == -1.0;
    Ref var = Ref::borrow(e.vars.data()[0]);
    if (!is_binary(var.get()))
        raise(PyExc_ValueError, kNotBinary);
    return {std::move(var), value};
}

Ref linear_body(Borrowed expr) {
    Ref body = out_of_array(expr);
    if (!is_number(body.get()) && !is_var(body.get()) && !is_linexpr(body.get()))
        raise(PyExc_TypeError, kNotLinear);
    return body;
}

Ref copy_of(Borrowed expr) {
    LinExpr* e = new_linexpr();
    Ref copy = owned(e);
    fill_linexpr(*e, expr);
    return copy;
}

bool value_of(Borrowed binval) {
    for (int value : {0, 1}) {
        Ref number = Ref::steal(PyLong_FromLong(value));
        if (is_scalar(binval) && checked(PyObject_RichCompareBool(binval, number.get(), Py_EQ)))
            return value != 0;
    }
    raise(PyExc_ValueError, "indicator value can be only one of [0, 1]");
}

} // namespace

Ref add_indicator_pair(Model& self, const TempConstr& pair, const char* name) {
    if (!is_tempconstr(pair.lb) || !is_tempconstr(pair.ub))
        raise(PyExc_TypeError, kNotLinear);
    auto [var, value] = trigger_of(as_tempconstr(pair.lb));
    const TempConstr& then = as_tempconstr(pair.ub);
    Ref body = out_of_array(then.expr);
    if (!is_linexpr(body.get()))
        raise(PyExc_TypeError, kNotLinear);
    if (then.lb != Py_None && then.ub != Py_None) // Kept: another text than for a value (test_refusals.py).
        raise(PyExc_ValueError, "indicator value can only be one of [0, 1]");
    bool less = then.lb == Py_None;
    const LinExpr& e = as_linexpr(body.get());
    Sides sides = sides_of(then.lb, then.ub, e.constant);
    return add_indicator(self, var.get(), value, e, less ? TSO_LESS_EQUAL : TSO_GREATER_EQUAL,
                         less ? sides.upper : sides.lower, name);
}

Ref model_addGenConstrIndicator(Model& self, const Call& call) {
    static const Signature<6> signature{
        "addGenConstrIndicator", {"binvar", "binval", "lhs", "sense", "rhs", "name"}, 3};
    auto [binvar, binval, lhs, sense, rhs, name] = parse(signature, call);
    bool no_sense = !sense || sense == Py_None, no_rhs = !rhs || rhs == Py_None;
    Chars holder;
    const char* text = name_or_empty(name, holder);
    Ref var = out_of_array(binvar);
    if (!is_var(var.get()))
        raise_argument_type("binvar", state().var->tp_name, binvar);
    bool value = value_of(binval);
    if (is_tempconstr(lhs)) {
        if (!no_sense || !no_rhs)
            raise(PyExc_ValueError, "sense and rhs should be None if lhs is a TempConstr");
        const TempConstr& t = as_tempconstr(lhs);
        Ref e = copy_of(linear_body(t.expr).get());
        auto [lower, upper] = sides_of(t.lb, t.ub, as_linexpr(e.get()).constant);
        char code = TSO_EQUAL;
        if (lower <= -TSO_INFINITY)
            code = TSO_LESS_EQUAL;
        else if (upper >= TSO_INFINITY)
            code = TSO_GREATER_EQUAL;
        else if (lower != upper)
            raise(PyExc_ValueError, "an indicator constraint has one side; state a range as two of them");
        return add_indicator(self, var.get(), value, as_linexpr(e.get()), code,
                             code == TSO_GREATER_EQUAL ? lower : upper, text);
    }
    Ref left = copy_of(linear_body(lhs).get());
    if (no_sense || no_rhs)
        raise(PyExc_ValueError, "sense and rhs can not be None if lhs is not a TempConstr");
    char code = row_sense(sense);
    if (!code)
        raise_tessolv_error("Invalid sense `%S`", sense);
    Ref e = subtract(left.get(), linear_body(rhs).get());
    return add_indicator(self, var.get(), value, as_linexpr(e.get()), code, 0.0 - as_linexpr(e.get()).constant, text);
}

} // namespace tsp
