// Model: linear constraints.
#include "arrays/expr_array.h"
#include "arrays/handle_array.h"
#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/tempconstr.h"
#include "model/model.h"
#include "model/psd.h"
#include "model/rows.h"
#include "py/args.h"
#include "solver/check.h"

#include <climits>

namespace tsp {
namespace {

// One row. Entries are gathered in arrays that are kept between calls: nothing in between runs Python code.
Ref add_row(Model& self, const LinExpr& expr, Borrowed lower, Borrowed upper, const char* name) {
    Sides sides = sides_of(lower, upper, expr.constant);
    static std::vector<int> index;
    static std::vector<double> value;
    auto room = static_cast<std::size_t>(expr.size());
    if (value.size() < room) {
        index.resize(room);
        value.resize(room);
    }
    std::size_t count = fill_row(index.data(), value.data(), self, expr);
    check(TSOaddrangeconstr(self.mdl_, static_cast<int>(count), index.data(), value.data(), sides.lower, sides.upper,
                            name));
    TakeBack added(self, &Model::constrs_);
    added.added(1);
    Ref constr = add_constr_object(self);
    added.keep();
    return constr;
}

Ref add_row(Model& self, Borrowed expr, Borrowed lower, Borrowed upper, const char* name) {
    if (Py_TYPE(expr) == state().linexpr) {
        Ref hold = Ref::borrow(expr);
        return add_row(self, as_linexpr(expr), lower, upper, name);
    }
    LinExpr* e = new_linexpr();
    Ref copy = owned(e);
    fill_linexpr(*e, expr);
    return add_row(self, *e, lower, upper, name);
}

// The rows of an array of expressions, with one solver call.
Ref add_rows(Model& self, Borrowed exprs, Borrowed lower, Borrowed upper, const char* name) {
    ExprArray& e = as_expr_array(exprs);
    Ref hold = Ref::borrow(exprs);
    Shape shape = shape_of(e);
    int64_t size = size_of(shape);
    if (size > INT_MAX)
        raise(PyExc_MemoryError, "too many constraints");
    auto count = static_cast<std::size_t>(size);
    CellNames names(name, shape, count);
    RowArrays rows;
    std::vector<double> low(lower == Py_None ? 0 : count), high(upper == Py_None ? 0 : count);
    auto bounds = [&](std::size_t i, double constant) {
        Sides sides = sides_of(lower, upper, constant);
        if (lower != Py_None)
            low[i] = sides.lower;
        if (upper != Py_None)
            high[i] = sides.upper;
    };
    if (BlockRef block = block_of(e)) {
        append_rows(rows, self, *block);
        for (std::size_t i = 0; i < count; ++i)
            bounds(i, block->constant(static_cast<int64_t>(i)));
    } else {
        Ref flat = Ref::steal(PyArray_Ravel(as_array(array_of(e)), NPY_CORDER));
        for (std::size_t i = 0; i < count; ++i) {
            Ref cell = Ref::steal(
                PyArray_GETITEM(as_array(flat.get()),
                                static_cast<char*>(PyArray_GETPTR1(as_array(flat.get()), static_cast<npy_intp>(i)))));
            if (!is_linexpr(cell.get()))
                raise(PyExc_TypeError, "Expect a LinExpr");
            rows.begin.push_back(static_cast<int>(rows.index.size()));
            append_row(rows, self, as_linexpr(cell.get()));
            bounds(i, as_linexpr(cell.get()).constant);
        }
    }
    Ref array = Ref::steal(PyArray_SimpleNew(static_cast<int>(shape.size()), shape.data(), NPY_OBJECT));
    Ref handles = new_handle_array(state().mconstr, array.get(), true);
    check(TSOaddrangeconstrs(self.mdl_, static_cast<int>(count), static_cast<int>(rows.index.size()), rows.begin.data(),
                             rows.index.data(), rows.value.data(), lower == Py_None ? nullptr : low.data(),
                             upper == Py_None ? nullptr : high.data(), names.data()));
    TakeBack added(self, &Model::constrs_);
    added.added(static_cast<int>(count));
    auto** cells = static_cast<PyObject**>(PyArray_DATA(as_array(array.get())));
    for (std::size_t i = 0; i < count; ++i) {
        PyObject* old = std::exchange(cells[i], add_constr_object(self).release());
        Py_XDECREF(old);
    }
    added.keep();
    return handles;
}

bool is_plain_side(Borrowed x) { return x == Py_None || PyLong_CheckExact(x) || PyFloat_CheckExact(x); }

// The router of all comparisons.
Ref add_constr(Model& self, Borrowed tconstr, RowName name) {
    if (PyBool_Check(tconstr)) { // 0 <= 0 or 0 <= -1: a row that always holds, or never
        LinExpr* e = new_linexpr();
        Ref hold = owned(e);
        if (tconstr == Py_False)
            e->constant = 1.0;
        Ref zero = Ref::steal(PyLong_FromLong(0));
        return add_row(self, *e, Py_None, zero.get(), name.of_one());
    }
    if (!is_tempconstr(tconstr))
        raise_argument_type("tconstr", state().tempconstr->tp_name, tconstr);
    const TempConstr& t = as_tempconstr(tconstr);
    Ref hold = Ref::borrow(tconstr);
    if (Py_TYPE(t.expr) == state().linexpr && is_plain_side(t.lb) && is_plain_side(t.ub))
        return add_row(self, t.expr, t.lb, t.ub, name.of_one()); // the rule
    if (is_mquadexpr(t.expr))
        return add_quadratic_rows(self, t.expr, t.lb, t.ub, name.of_many());
    if (is_mvar(t.expr)) {
        BlockRef block = block_of(as_handle_array(t.expr));
        Ref zero = Ref::steal(PyLong_FromLong(0));
        Ref exprs = block ? new_mlinexpr(block) : Ref::steal(PyNumber_Add(t.expr, zero.get()));
        return add_rows(self, exprs.get(), t.lb, t.ub, name.of_many());
    }
    if (is_mlinexpr(t.expr))
        return add_rows(self, t.expr, t.lb, t.ub, name.of_many());
    if (is_quadexpr(t.expr))
        return add_quadratic_row(self, t.expr, t.lb, t.ub, name.of_one());
    if (is_psdexpr(t.expr))
        return add_psd_row(self, t.expr, t.lb, t.ub, name.of_one());
    if (is_tempconstr(t.lb) || is_tempconstr(t.ub))
        return add_indicator_pair(self, t, name.of_one());
    return add_row(self, t.expr, t.lb, t.ub, name.of_one());
}

// self.addConstr(tconstr, name), which a class of the user's own may have instead.
Ref add_own_constr(Model& self, Borrowed tconstr, RowName name) {
    if (Py_TYPE(&self) == state().model)
        return add_constr(self, tconstr, name);
    Ref given = name.object();
    return Ref::steal(PyObject_CallMethod(as_object(&self), "addConstr", "OO", tconstr, given.get()));
}

bool is_linear(Borrowed x) { return is_number(x) || is_var(x) || is_linexpr(x); }

} // namespace

Ref model_addConstr(Model& self, const Call& call) {
    static const Signature<2> signature{"addConstr", {"tconstr", "name"}, 1};
    auto [tconstr, name] = parse(signature, call);
    return add_constr(self, tconstr, RowName(name));
}

Ref model_addLConstr(Model& self, const Call& call) {
    static const Signature<4> signature{"addLConstr", {"lhs", "sense", "rhs", "name"}, 1};
    auto [lhs, sense, rhs, name] = parse(signature, call);
    bool no_sense = !sense || sense == Py_None, no_rhs = !rhs || rhs == Py_None;
    if (is_tempconstr(lhs)) {
        if (!no_sense || !no_rhs)
            raise(PyExc_ValueError, "sense and rhs should be None if lhs is s TempConstr");
        if (!is_linear(as_tempconstr(lhs).expr))
            raise(PyExc_TypeError, "expression in TempConstr shoud be one of [constant, Var, LinExpr] type");
        return add_own_constr(self, lhs, RowName(name));
    }
    if (!is_linear(lhs))
        raise(PyExc_TypeError, "lhs shoud be one of [constant, Var, LinExpr, TempConstr] type");
    if (no_sense || no_rhs)
        raise(PyExc_ValueError, "sense and rhs can not be None if lhs is not a TempConstr");
    if (!is_linear(rhs))
        raise(PyExc_TypeError, "rhs shoud be one of [constant, Var, LinExpr, TempConstr] type");
    LinExpr* e = new_linexpr();
    Ref left = owned(e);
    fill_linexpr(*e, lhs);
    Ref expr = subtract(left.get(), rhs);
    char code = row_sense(sense);
    if (!code) // Kept: the text never shows the sense (test_refusals.py).
        raise_tessolv_error("Invalid sense ``");
    Ref tconstr = tempconstr_of(std::move(expr), code != TSO_LESS_EQUAL, code != TSO_GREATER_EQUAL);
    return add_own_constr(self, tconstr.get(), RowName(name));
}

Ref model_addRange(Model& self, const Call& call) {
    static const Signature<4> signature{"addRange", {"expr", "lower", "upper", "name"}, 3};
    auto [expr, lower, upper, name] = parse(signature, call);
    if (!is_psdexpr(expr) && !is_linear(expr))
        raise(PyExc_TypeError, "expr should be one of [Var, LinExpr, PsdExpr] type");
    RowName given(name);
    const char* text = given.of_many(); // None is no name here
    return is_psdexpr(expr) ? add_psd_row(self, expr, lower, upper, text) : add_row(self, expr, lower, upper, text);
}

namespace {

// The values of the loop variables of a suspended generator, in the order of its frame.
class LoopVariables {
public:
    explicit LoopVariables(Borrowed generator)
        : generator_(Ref::borrow(generator)), f_locals_(Ref::steal(PyUnicode_InternFromString("f_locals"))) {}

    void read(std::vector<Ref>& values) {
        values.clear();
        if (!frame_ || !PyGen_CheckExact(generator_.get())) // a generator has the same one until it ends
            frame_ = Ref::steal(PyObject_GetAttrString(generator_.get(), "gi_frame"));
        Ref locals = Ref::steal(PyObject_GetAttr(frame_.get(), f_locals_.get()));
        if (!free_) {
            Ref code = Ref::steal(PyObject_GetAttrString(generator_.get(), "gi_code"));
            free_ = Ref::steal(PyObject_GetAttrString(code.get(), "co_freevars"));
        }
        if (PyDict_CheckExact(locals.get())) {
            PyObject *name, *value;
            Py_ssize_t position = 0;
            for (std::size_t i = 0; PyDict_Next(locals.get(), &position, &name, &value); ++i) {
                Ref hold_name = Ref::borrow(name), local = Ref::borrow(value); // what is no generator may run code here
                if (wanted(i, name))
                    values.push_back(std::move(local));
            }
            return;
        }
        Ref items = Ref::steal(PyMapping_Items(locals.get()));
        for (Py_ssize_t i = 0; i < PyList_GET_SIZE(items.get()); ++i) {
            PyObject* pair = PyList_GET_ITEM(items.get(), i);
            if (PyTuple_Check(pair) && PyTuple_GET_SIZE(pair) == 2 &&
                wanted(static_cast<std::size_t>(i), PyTuple_GET_ITEM(pair, 0)))
                values.push_back(Ref::borrow(PyTuple_GET_ITEM(pair, 1)));
        }
    }

private:
    // Neither the hidden argument of a generator expression nor a variable of the code around it. The names come in
    // the same order at every step, so the answers are kept by their places.
    bool wanted(std::size_t place, Borrowed name) {
        if (place >= known_.size())
            known_.resize(place + 1);
        Known& known = known_[place];
        if (known.name.get() != name) {
            known.wanted = PyUnicode_Check(name) &&
                           !(PyUnicode_GET_LENGTH(name) > 0 && PyUnicode_READ_CHAR(name, 0) == '.') &&
                           !checked(PySequence_Contains(free_.get(), name));
            known.name = Ref::borrow(name);
        }
        return known.wanted;
    }

    struct Known {
        Ref name;
        bool wanted = false;
    };
    Ref generator_, f_locals_, free_, frame_;
    std::vector<Known> known_;
};

} // namespace

Ref model_addConstrs(Model& self, const Call& call) {
    static const Signature<2> signature{"addConstrs", {"generator", "name"}, 1};
    auto [generator, name] = parse(signature, call);
    Ref result = Ref::steal(PyObject_CallNoArgs(as_object(state().tupledict)));
    if (!PyIter_Check(generator))
        raise(PyExc_TypeError, "%.200s object is not an iterator", Py_TYPE(generator)->tp_name);
    std::string prefix;
    if (name && name != Py_None)
        prefix = str2chars(name).get();
    LoopVariables loop(generator);
    std::vector<Ref> values;
    std::string text;
    Py_ssize_t number = 0;
    while (PyObject* next = PyIter_Next(generator)) {
        Ref tconstr = Ref::steal(next);
        if (!is_tempconstr(next))
            raise(PyExc_TypeError, "only accept generator which generates TempConstr value");
        loop.read(values);
        if (values.empty())
            values.push_back(Ref::steal(PyLong_FromSsize_t(number++)));
        auto* items = reinterpret_cast<PyObject**>(values.data()); // a Ref is one pointer
        auto count = static_cast<Py_ssize_t>(values.size());
        text.clear();
        if (!prefix.empty()) {
            text = prefix;
            append_subscript(text, items, count);
        }
        Ref constr = add_own_constr(self, next, RowName(text.c_str()));
        Ref key;
        if (count == 1) {
            key = std::move(values[0]);
        } else {
            key = Ref::steal(PyTuple_New(count));
            for (Py_ssize_t i = 0; i < count; ++i)
                PyTuple_SET_ITEM(key.get(), i, values[static_cast<std::size_t>(i)].release());
        }
        checked(PyDict_SetItem(result.get(), key.get(), constr.get()));
    }
    if (PyErr_Occurred())
        throw PythonError();
    return result;
}

} // namespace tsp
