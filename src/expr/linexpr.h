// LinExpr: a linear expression, which is a constant and terms in the order in which they were added.
#pragma once

#include "expr/kinds.h"
#include "expr/store.h"
#include "module/state.h"
#include "py/type.h"

namespace tsp {

struct LinExpr {
    PyObject_HEAD Store<double> coeffs;
    Store<PyObject*> vars; // Var, parallel to coeffs
    double constant;

    int size() const { return coeffs.size(); }
};

inline LinExpr& as_linexpr(Borrowed o) { return *reinterpret_cast<LinExpr*>(o); }

PyTypeObject* make_linexpr_type();

// An empty one; from a free list.
LinExpr* new_linexpr();
inline Ref owned(LinExpr* e) { return Ref::steal(as_object(e)); }

// Makes a LinExpr of what the constructor takes: a number, a Var, a LinExpr, a list of terms.
void fill_linexpr(LinExpr& self, Borrowed from);

// The two ways in which terms are added by everything that a program can call. A coefficient or multiplier of zero adds
// nothing. Adding to an empty expression shares the other's terms where they need no scaling.
inline void add_term(LinExpr& self, double coeff, Borrowed var) {
    if (coeff == 0.0)
        return;
    self.coeffs.add(coeff);
    try {
        self.vars.add(var);
    } catch (...) {
        self.coeffs.take_back(1);
        throw;
    }
}
void add_expr(LinExpr& self, double mult, LinExpr& expr);

void add_constant(LinExpr& self, Borrowed c);
// Adds a number, a Var or a LinExpr to a linear part; false for what is none of them.
bool add_operand(LinExpr& self, Operands kind, Borrowed other);
// TypeError: an object cannot be added to or multiplied into an expression in place.
[[noreturn]] void unsupported_inplace(Borrowed self, Borrowed other);
// A number as a factor of terms, and the constant times it.
std::pair<double, double> scaled_constant(const LinExpr& self, Borrowed by);
void scale_terms(LinExpr& self, double mult); // in place, without the constant; zero keeps the terms
void clear(LinExpr& self);

// For results that are new: the terms and the constant of `from`, times `mult`, behind those of `to`. Shares nothing
// that could be seen.
void append_terms(LinExpr& to, const LinExpr& from, double mult);
// ... as the beginning of an empty `to`.
void begin_terms(LinExpr& to, const LinExpr& from);
// The same for a number, a Var or a LinExpr; false for what is none of them.
bool append_scaled(LinExpr& to, Operands kind, Borrowed x, double mult);

// The methods addTerms and remove, which quadratic expressions use for their linear part.
void add_terms(LinExpr& self, Borrowed coeffs, Borrowed vars);
void remove_var(LinExpr& self, Borrowed var);
double value_of(LinExpr& self);
double var_value(Borrowed var); // its attribute X

// Whether addTerms takes an object as an array of coefficients.
bool is_term_array(Borrowed x);

// Whether two objects are handles of the same element, as sameAs tells it.
bool same_element(Borrowed a, Borrowed b);

// The positions, ascending, at which a store of variables holds the same element as `var`.
std::vector<int> positions_of(const Store<PyObject*>& vars, Borrowed var);
// The position that remove(int) means; -1, where nothing is, for what no list can have.
int position(Borrowed number);
// remove(int) of the stores: ascending positions, of which those out of range do nothing.
template <class... S> void remove_at(const std::vector<int>& positions, S&... stores) {
    (stores.remove(positions.data(), static_cast<int>(positions.size())), ...);
}

} // namespace tsp
