#include "expr/quicksum.h"

#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/psdexpr.h"
#include "py/args.h"
#include "py/signals.h"

namespace tsp {

void SumBuilder::add(Borrowed item) {
    switch (kind_of(item)) {
    case Operands::Number:
        add_number(to_double(item));
        break;
    case Operands::Var:
        add_var(item);
        break;
    case Operands::LinExpr:
        add_linexpr(as_linexpr(item));
        break;
    case Operands::QuadExpr:
        add_quadexpr(as_quadexpr(item));
        break;
    default:
        if (!is_psdexpr(item))
            raise(PyExc_TypeError, "bad type for quicksum: %s", type_name(item));
        add_psdexpr(as_psdexpr(item));
    }
}

Py_ssize_t SumBuilder::add_leading_vars(PyObject* const* items, Py_ssize_t size) {
    const PyTypeObject* var = state().var;
    if (size == 0 || Py_TYPE(items[0]) != var || size > INT32_MAX / 4) // too many: the ordinary way finds that out
        return 0;
    constexpr Py_ssize_t kAhead = 12;
    // Where the first is a Var, mostly all are: there is room for them at once.
    PyObject** vars = linear_->vars.grow(static_cast<int>(size));
    double* coeffs = linear_->coeffs.grow(static_cast<int>(size));
    int count = 0;
    for (; count < size && Py_TYPE(items[count]) == var; ++count) {
        __builtin_prefetch(items[count + kAhead < size ? count + kAhead : count]); // they may lie anywhere
        Py_INCREF(items[count]);
        vars[count] = items[count];
        coeffs[count] = 1.0;
    }
    linear_->vars.take_in(count);
    linear_->coeffs.take_in(count);
    return count;
}

void SumBuilder::add_quadexpr(const QuadExpr& expr) {
    if (expr.size() > 0) {
        if (quad_) {
            append_terms(as_quadexpr(quad_.get()), expr);
        } else {
            quad_ = owned(new_quadexpr());
            begin_terms(as_quadexpr(quad_.get()), expr);
        }
    }
    add_linexpr(expr.linear());
}

void SumBuilder::add_psdexpr(const PsdExpr& expr) {
    if (!psd_)
        psd_ = owned(new_psdexpr());
    append_terms(as_psdexpr(psd_.get()).terms, expr.terms, 1.0);
    add_linexpr(expr.linear());
}

Ref SumBuilder::finish() {
    if (psd_) {
        if (quad_)
            unsupported("+", quad_.get(), psd_.get());
        assign(as_psdexpr(psd_.get()).linexpr, std::move(result_));
        return std::move(psd_);
    }
    if (!quad_)
        return std::move(result_);
    assign(as_quadexpr(quad_.get()).linexpr, std::move(result_));
    return std::move(quad_);
}

Ref quicksum(Borrowed data) {
    SumBuilder sum;
    if (PyList_CheckExact(data) || PyTuple_CheckExact(data)) {
        // The size is asked at every step: a number's conversion may run Python code that changes the list.
        for (Py_ssize_t i = sum.add_leading_vars(PySequence_Fast_ITEMS(data), PySequence_Fast_GET_SIZE(data));
             i < PySequence_Fast_GET_SIZE(data); ++i) {
            Ref item = Ref::borrow(PySequence_Fast_GET_ITEM(data, i));
            sum.add(item.get());
        }
        return sum.finish();
    }
    Ref iterator = Ref::steal(PyObject_GetIter(data));
    iternextfunc next = Py_TYPE(iterator.get())->tp_iternext;
    Interruptible loop;
    while (PyObject* item = next(iterator.get())) {
        Ref hold = Ref::steal(item);
        sum.add(item);
        loop.step();
    }
    if (PyErr_Occurred()) {
        if (!PyErr_ExceptionMatches(PyExc_StopIteration))
            throw PythonError();
        PyErr_Clear();
    }
    return sum.finish();
}

} // namespace tsp
