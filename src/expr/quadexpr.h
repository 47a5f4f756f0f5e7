// QuadExpr: a quadratic expression, which is products of two variables and a linear expression.
#pragma once

#include "expr/coeff.h"
#include "expr/linexpr.h"
#include "handles/handle.h"

namespace tsp {

struct QuadExpr {
    // The lists need not be as long as one another, as addTerms takes them as they stand, and may hold anything.
    PyObject_HEAD Store<Coeff> coeffs;
    Store<Coeff> vars1, vars2;
    PyObject* linexpr; // the linear part; null only in an object without __init__

    int size() const { return coeffs.size(); }
    LinExpr& linear() const { return as_linexpr(linexpr); }
};

inline QuadExpr& as_quadexpr(Borrowed o) { return *reinterpret_cast<QuadExpr*>(o); }

PyTypeObject* make_quadexpr_type();

// An empty one, with an empty linear part.
QuadExpr* new_quadexpr();
inline Ref owned(QuadExpr* e) { return Ref::steal(as_object(e)); }

// Whether a Var goes behind another one in their product: the smaller index comes first, of equal ones the right one.
inline bool comes_second(Borrowed var1, Borrowed var2) {
    return reinterpret_cast<Handle*>(var1)->index_ >= reinterpret_cast<Handle*>(var2)->index_;
}

// Adds coeff * var1 * var2; the variable with the smaller index comes first. Zero adds nothing.
void add_term(QuadExpr& self, double coeff, Borrowed var1, Borrowed var2);
// Adds a term as it stands.
void push_term(QuadExpr& self, Coeff coeff, Borrowed var1, Borrowed var2);
// Room for so many terms that are about to be added.
void reserve_terms(QuadExpr& self, int count);
void add_expr(QuadExpr& self, double mult, QuadExpr& expr);

// For results that are new: shares nothing that could be seen.
void append_terms(QuadExpr& to, const QuadExpr& from);
// ... as the beginning of one that has no terms.
void begin_terms(QuadExpr& to, const QuadExpr& from);

} // namespace tsp
