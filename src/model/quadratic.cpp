// Model: quadratic constraints. A row is stated by its sense and right-hand side; a second side is set behind it.
#include "arrays/expr_array.h"
#include "arrays/handle_array.h"
#include "arrays/wrapped.h"
#include "expr/kinds.h"
#include "expr/quadexpr.h"
#include "expr/tempconstr.h"
#include "model/model.h"
#include "model/rows.h"
#include "solver/check.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace tsp {
namespace {

// Quadratic rows as flat arrays, one row behind the other.
struct QuadRows {
    RowArrays linear; // without `begin`
    QuadArrays quadratic;

    void clear() {
        linear.clear();
        quadratic.clear();
    }
    void append(const Model& self, const QuadExpr& q) {
        std::size_t from = quadratic.row.size();
        append_terms(quadratic, self, q); // the one step that may run Python code
        quadratic.finish_row(from);
        append_row(linear, self, q.linear());
    }
};

// The row with the entries of `rows` from `linear` and `quadratic` on, so many of each.
struct Part {
    std::size_t linear, quadratic;
    int linear_count, quadratic_count;
};

void send(Model& self, const QuadRows& rows, const Part& p, Sides sides, const char* name, TakeBack& rows_added) {
    double lower = sides.lower, upper = std::min(sides.upper, TSO_INFINITY);
    bool no_lower = lower <= -TSO_INFINITY, no_upper = upper >= TSO_INFINITY, free = no_lower && no_upper;
    char sense = TSO_LESS_EQUAL;
    if (!free && lower == upper)
        sense = TSO_EQUAL;
    else if (!free && (no_upper || std::isnan(lower))) // a side that is no number is refused where it stands
        sense = TSO_GREATER_EQUAL;
    double rhs = free ? 0.0 : sense == TSO_GREATER_EQUAL ? lower : upper;
    check(TSOaddqconstr(self.mdl_, p.linear_count, rows.linear.index.data() + p.linear,
                        rows.linear.value.data() + p.linear, p.quadratic_count, rows.quadratic.row.data() + p.quadratic,
                        rows.quadratic.col.data() + p.quadratic, rows.quadratic.value.data() + p.quadratic, sense, rhs,
                        name));
    int row = rows_added.added(1);
    if (free)
        check(TSOsetdblattrlist(self.mdl_, "QCRHS", 1, &row, &upper));
    else if (sense == TSO_LESS_EQUAL && !no_lower)
        check(TSOsetdblattrlist(self.mdl_, "QCLHS", 1, &row, &lower));
}

// Enters a new row in the mirror and gives its QConstr. The list of these must be there already.
Ref add_qconstr_object(Model& self) {
    add_constr_object(self);
    PyObject* list = mirror(self.qconstrs_);
    return Ref::borrow(PyList_GET_ITEM(list, PyList_GET_SIZE(list) - 1));
}

Ref add_row(Model& self, const QuadExpr& q, Sides sides, const char* name) {
    // The arrays are kept between calls. Python code that runs while they are filled may come back here, so they are
    // out of reach until then.
    static QuadRows kept;
    QuadRows rows = std::move(kept);
    rows.clear();
    rows.append(self, q);
    model_getQConstrs(self);
    TakeBack added(self, &Model::constrs_);
    send(self, rows, {0, 0, static_cast<int>(rows.linear.index.size()), rows.quadratic.size()}, sides, name, added);
    Ref row = add_qconstr_object(self);
    added.keep();
    kept = std::move(rows);
    return row;
}

// Makes a quadratic expression of a number, a Var, a linear or a quadratic expression, times a factor; false for
// anything else.
bool add_to(QuadExpr& q, double factor, Borrowed x) {
    Operands kind = kind_of(x);
    if (kind != Operands::QuadExpr)
        return append_scaled(q.linear(), kind, x, factor);
    add_expr(q, factor, as_quadexpr(x));
    return true;
}

} // namespace

Ref add_quadratic_row(Model& self, Borrowed quadexpr, Borrowed lower, Borrowed upper, const char* name) {
    Ref hold = Ref::borrow(quadexpr);
    const QuadExpr& q = as_quadexpr(quadexpr);
    return add_row(self, q, sides_of(lower, upper, q.linear().constant), name);
}

// The solver has no call for many such rows. It gets them one by one when all are ready, and if it refuses one it gives
// back those before.
Ref add_quadratic_rows(Model& self, Borrowed mquadexpr, Borrowed lower, Borrowed upper, const char* name) {
    Ref array = Ref::borrow(array_of(as_expr_array(mquadexpr)));
    Shape shape = shape_of(array.get());
    if (size_of(shape) > INT_MAX)
        raise(PyExc_MemoryError, "too many constraints");
    auto count = static_cast<std::size_t>(size_of(shape));
    CellNames names(name, shape, count);
    QuadRows rows;
    std::vector<Part> parts;
    std::vector<Sides> sides;
    parts.reserve(count);
    sides.reserve(count);
    Ref flat = Ref::steal(PyArray_Ravel(as_array(array.get()), NPY_CORDER));
    for (std::size_t i = 0; i < count; ++i) {
        Ref cell = Ref::steal(PyArray_GETITEM(
            as_array(flat.get()), static_cast<char*>(PyArray_GETPTR1(as_array(flat.get()), static_cast<npy_intp>(i)))));
        Ref made;
        if (!is_quadexpr(cell.get())) { // a cell of a sum may have come out linear
            made = owned(new_quadexpr());
            if (!add_to(as_quadexpr(made.get()), 1.0, cell.get()))
                raise(PyExc_TypeError, "Expect a QuadExpr");
        }
        const QuadExpr& q = as_quadexpr(made ? made.get() : cell.get());
        Part p{rows.linear.index.size(), rows.quadratic.row.size(), 0, 0};
        rows.append(self, q);
        p.linear_count = static_cast<int>(rows.linear.index.size() - p.linear);
        p.quadratic_count = static_cast<int>(rows.quadratic.row.size() - p.quadratic);
        parts.push_back(p);
        sides.push_back(sides_of(lower, upper, q.linear().constant));
    }
    Ref result = Ref::steal(PyArray_SimpleNew(static_cast<int>(shape.size()), shape.data(), NPY_OBJECT));
    Ref handles = new_handle_array(state().mqconstr, result.get(), true);
    model_getQConstrs(self);
    TakeBack added(self, &Model::constrs_);
    for (std::size_t i = 0; i < count; ++i)
        send(self, rows, parts[i], sides[i], names.data()[i], added);
    auto** cells = static_cast<PyObject**>(PyArray_DATA(as_array(result.get())));
    for (std::size_t i = 0; i < count; ++i) {
        PyObject* old = std::exchange(cells[i], add_qconstr_object(self).release());
        Py_XDECREF(old);
    }
    added.keep();
    return handles;
}

Ref model_addQConstr(Model& self, const Call& call) {
    static const Signature<4> signature{"addQConstr", {"lhs", "sense", "rhs", "name"}, 1};
    auto [lhs, sense, rhs, name] = parse(signature, call);
    bool no_sense = !sense || sense == Py_None, no_rhs = !rhs || rhs == Py_None;
    Chars holder;
    const char* text = name_or_empty(name, holder);
    Ref hold = owned(new_quadexpr());
    QuadExpr& q = as_quadexpr(hold.get());
    if (is_tempconstr(lhs)) {
        if (!no_sense || !no_rhs)
            raise(PyExc_ValueError, "sense and rhs should be None if lhs is a TempConstr");
        const TempConstr& t = as_tempconstr(lhs);
        if (!add_to(q, 1.0, t.expr))
            raise(PyExc_TypeError, "expression in TempConstr should be one of [constant, Var, LinExpr, QuadExpr] type");
        return add_row(self, q, sides_of(t.lb, t.ub, q.linear().constant), text);
    }
    if (!add_to(q, 1.0, lhs))
        raise(PyExc_TypeError, "lhs should be one of [constant, Var, LinExpr, QuadExpr, TempConstr] type");
    if (no_sense || no_rhs)
        raise(PyExc_ValueError, "sense and rhs can not be None if lhs is not a TempConstr");
    if (!add_to(q, -1.0, rhs))
        raise(PyExc_TypeError, "rhs should be one of [constant, Var, LinExpr, QuadExpr] type");
    char code = row_sense(sense);
    if (!code)
        raise_tessolv_error("Invalid sense `%S`", sense);
    double side = 0.0 - q.linear().constant;
    return add_row(self, q,
                   {code == TSO_LESS_EQUAL ? -TSO_INFINITY : side, code == TSO_GREATER_EQUAL ? TSO_INFINITY : side},
                   text);
}

} // namespace tsp
