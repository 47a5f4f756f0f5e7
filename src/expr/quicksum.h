// quicksum: the sum of many items, each term written once into one new expression.
#pragma once

#include "expr/quadexpr.h"

namespace tsp {

struct PsdExpr;

// A sum under construction. Its result shares nothing that could be seen with what went in.
class SumBuilder {
public:
    SumBuilder() : linear_(new_linexpr()), result_(owned(linear_)) {}

    // A PsdExpr, QuadExpr, LinExpr, Var or number; TypeError "bad type for quicksum: {}" for anything else.
    void add(Borrowed item);
    // The exact Vars with which an array of items begins, at once; how many these are.
    Py_ssize_t add_leading_vars(PyObject* const* items, Py_ssize_t size);
    // coeff * var for an exact Var; a zero coefficient adds nothing.
    void add_scaled(double coeff, Borrowed var) { add_term(*linear_, coeff, var); }
    void add_var(Borrowed var) {
        linear_->coeffs.add(1.0);
        linear_->vars.add(var);
    }
    // mult * expr.
    void add_linexpr(const LinExpr& expr, double mult = 1.0) { append_terms(*linear_, expr, mult); }
    void add_quadexpr(const QuadExpr& expr);
    void add_psdexpr(const PsdExpr& expr);
    void add_number(double value) { linear_->constant += value; }
    LinExpr& linear() { return *linear_; } // the linear part so far

    // A QuadExpr if there are quadratic terms, a PsdExpr if there was one, otherwise a LinExpr; TypeError where both
    // are wanted.
    Ref finish();

private:
    LinExpr* linear_;
    Ref result_; // owns linear_
    Ref quad_;   // a QuadExpr without its linear part, once there are quadratic terms
    Ref psd_;    // a PsdExpr without its linear part, once there was one
};

// quicksum(data).
Ref quicksum(Borrowed data);

} // namespace tsp
