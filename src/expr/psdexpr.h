// PsdExpr: a semi-definite expression, which is inner products of matrices with semi-definite variables and a linear
// expression.
#pragma once

#include "attr/matrix.h"
#include "expr/linexpr.h"

namespace tsp {

// factor * <matrix, var>. The matrix is shared: scaling an expression touches its factors alone.
struct PsdTerm {
    double factor;
    const SymMatrix* matrix; // of the dimension of var, and not zero
    PyObject* var;           // PsdVar
};
template <> struct Item<PsdTerm> {
    static constexpr bool kOwns = true;
    static void keep(const PsdTerm& t) {
        t.matrix->keep();
        Py_INCREF(t.var);
    }
    static void drop(const PsdTerm& t) {
        t.matrix->drop();
        Py_DECREF(t.var);
    }
};
using PsdTerms = Store<PsdTerm, 2>;

struct PsdExpr {
    PyObject_HEAD PsdTerms terms;
    PyObject* linexpr; // the linear part, a LinExpr; never null

    int size() const { return terms.size(); }
    LinExpr& linear() const { return as_linexpr(linexpr); }
};

inline PsdExpr& as_psdexpr(Borrowed o) { return *reinterpret_cast<PsdExpr*>(o); }

PyTypeObject* make_psdexpr_type();

// An empty one, with an empty linear part.
PsdExpr* new_psdexpr();
inline Ref owned(PsdExpr* e) { return Ref::steal(as_object(e)); }

// Adds <matrix, var>; a matrix of zeros adds nothing.
void add_term(PsdTerms& terms, const SymMatrix& matrix, Borrowed var);
// Adds mult times the terms of another expression, which may be the same. All or none.
void append_terms(PsdTerms& to, const PsdTerms& from, double mult);

// For results that are new: adds mult times a number, Var, LinExpr or PsdExpr; false for anything else.
bool append_scaled(PsdExpr& to, Borrowed x, double mult);

} // namespace tsp
