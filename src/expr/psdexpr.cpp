#include "expr/psdexpr.h"

#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/print.h"
#include "expr/tempconstr.h"
#include "module/text.h"
#include "py/args.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <map>

namespace tsp {
namespace {

Ref psdexpr_new(PyTypeObject* type, PyObject*, PyObject*) {
    Ref self = Ref::steal(type->tp_alloc(type, 0)); // zeroes: empty
    as_psdexpr(self.get()).linexpr = as_object(new_linexpr());
    return self;
}

void psdexpr_dealloc(PyObject* self) {
    PsdExpr& e = as_psdexpr(self);
    e.terms.clear_for_good();
    Py_CLEAR(e.linexpr);
    plain_dealloc(self);
}

Handle& handle(Borrowed psdvar) { return *reinterpret_cast<Handle*>(psdvar); }

// One term as a program gives it.
void read_term(PsdTerms& terms, Borrowed coeff, Borrowed var) {
    if (!is_psdvar(var))
        raise_tessolv_error("Expect a PsdVar");
    SymRef matrix = read_matrix(coeff, psd_dim(handle(var).mdl_, handle(var).index_));
    add_term(terms, *matrix, var);
}

// A matrix and its variable, or as many of the one as of the other.
void read_terms(PsdTerms& terms, Borrowed coeffs, Borrowed vars) {
    if (is_psdvar(vars))
        return read_term(terms, coeffs, vars);
    if (!PyList_Check(vars) && !PyTuple_Check(vars))
        raise_tessolv_error("Expect a PsdVar");
    Ref matrices = Ref::steal(PySequence_Tuple(coeffs)), all = Ref::steal(PySequence_Tuple(vars));
    Py_ssize_t count = PyTuple_GET_SIZE(all.get());
    if (PyTuple_GET_SIZE(matrices.get()) != count)
        raise(PyExc_ValueError, "%zd matrices given for %zd variables", PyTuple_GET_SIZE(matrices.get()), count);
    for (Py_ssize_t i = 0; i < count; ++i)
        read_term(terms, PyTuple_GET_ITEM(matrices.get(), i), PyTuple_GET_ITEM(all.get(), i));
}

void psdexpr_init(PsdExpr& self, PyObject* args, PyObject* kwargs) {
    static const Signature<2> signature{"__init__", {"arg1", "arg2"}, 0};
    auto [arg1, arg2] = parse(signature, args, kwargs);
    LinExpr* linear = new_linexpr();
    Ref fresh = owned(linear);
    PsdTerms terms;
    if (arg2 && arg2 != Py_None) {
        read_terms(terms, arg1 ? arg1 : Py_None, arg2);
    } else if (arg1 && is_psdexpr(arg1)) {
        terms.copy_items(as_psdexpr(arg1).terms);
        begin_terms(*linear, as_psdexpr(arg1).linear());
    } else if (arg1 && arg1 != Py_None) {
        fill_linexpr(*linear, arg1);
    }
    self.terms.swap(terms);
    assign(self.linexpr, std::move(fresh));
}

// ---- Operators ----

// a + mult * b; null if the two have no sum.
Ref sum(Borrowed a, Borrowed b, double mult) {
    PsdExpr* e = new_psdexpr();
    Ref result = owned(e);
    return append_scaled(*e, a, 1.0) && append_scaled(*e, b, mult) ? std::move(result) : Ref();
}

Ref psdexpr_plus(PyObject* a, PyObject* b) {
    Ref result = sum(a, b, 1.0);
    if (!result)
        unsupported("+", a, b);
    return result;
}
Ref psdexpr_minus(PyObject* a, PyObject* b) {
    Ref result = sum(a, b, -1.0);
    if (!result)
        unsupported("-", a, b);
    return result;
}

Ref scaled(Borrowed expr, double mult) {
    PsdExpr* e = new_psdexpr();
    Ref result = owned(e);
    if (mult != 0.0)
        append_scaled(*e, expr, mult);
    return result;
}
Ref psdexpr_times(PyObject* a, PyObject* b) {
    if (is_psdexpr(a) && is_number(b))
        return scaled(a, to_double(b));
    if (is_psdexpr(b) && is_number(a))
        return scaled(b, to_double(a));
    unsupported("*", a, b);
}
Ref psdexpr_divide(PyObject* a, PyObject* b) {
    if (!is_psdexpr(a) || !is_number(b))
        unsupported("/", a, b);
    double divisor = to_double(b);
    if (divisor == 0.0)
        raise(PyExc_ZeroDivisionError, "float division");
    return scaled(a, 1.0 / divisor);
}
Ref psdexpr_negative(PyObject* a) { return scaled(a, -1.0); }

Ref equal(PyObject* a, PyObject* b) {
    bool pair = !is_number(b) && !is_psdexpr(b) && !is_instance(b, state().operand) && is_arraylike(b);
    if (!pair)
        return tempconstr_of(psdexpr_minus(a, b), true, true);
    Py_ssize_t size = PyObject_Size(b);
    if (size < 0)
        throw PythonError();
    if (size != 2)
        raise(PyExc_ValueError, "`=` expect an array with 2 elements: [ LHS, RHS ]");
    Ref low = Ref::steal(PySequence_GetItem(b, 0)), high = Ref::steal(PySequence_GetItem(b, 1));
    return make_tempconstr(a, low.get(), high.get());
}
Ref psdexpr_compare(PyObject* a, PyObject* b, int op) {
    switch (op) {
    case Py_LE:
        return tempconstr_of(psdexpr_minus(a, b), false, true);
    case Py_GE:
        return tempconstr_of(psdexpr_minus(a, b), true, false);
    case Py_EQ:
        return equal(a, b);
    case Py_NE: { // of expressions in general: a constraint is true
        Ref same = equal(a, b);
        return Ref::boolean(!checked(PyObject_IsTrue(same.get())));
    }
    default:
        return Ref::borrow(Py_NotImplemented);
    }
}

Py_hash_t psdexpr_hash(PyObject* self) {
    raise(PyExc_TypeError, "unsupported operand type(s) for hash(): `%s`", type_name(self));
}

// self += mult * expr, all of it or nothing.
void add_psdexpr(PsdExpr& self, PsdExpr& expr, double mult) {
    if (mult == 0.0)
        return;
    PsdTerms sum;
    sum.copy_items(self.terms);
    append_terms(sum, expr.terms, mult);
    add_expr(self.linear(), mult, expr.linear());
    self.terms.swap(sum);
}

Ref psdexpr_iadd(PsdExpr& self, PyObject* other) {
    if (is_psdexpr(other))
        add_psdexpr(self, as_psdexpr(other), 1.0);
    else if (!add_operand(self.linear(), kind_of(other), other))
        unsupported_inplace(as_object(&self), other);
    return Ref::borrow(as_object(&self));
}
Ref psdexpr_isub(PsdExpr& self, PyObject* other) {
    Ref negative = Ref::steal(PyNumber_Negative(other));
    return psdexpr_iadd(self, negative.get());
}

void scale_factors(PsdTerms& terms, double mult) {
    terms.make_update_safe();
    for (int i = 0; i < terms.size(); ++i)
        terms.writable()[i].factor *= mult;
}
Ref psdexpr_imul(PsdExpr& self, PyObject* other) {
    if (!is_number(other))
        unsupported_inplace(as_object(&self), other);
    double mult = to_double(other);
    scale_factors(self.terms, mult);
    scale_terms(self.linear(), mult);
    self.linear().constant *= mult;
    return Ref::borrow(as_object(&self));
}

// ---- Methods ----

Ref psdexpr_addTerm(PsdExpr& self, const Call& call) {
    static const Signature<2> signature{"addTerm", {"coeff", "var"}, 2};
    auto [coeff, var] = parse(signature, call);
    read_term(self.terms, coeff, var);
    return Ref::none();
}

Ref psdexpr_addTerms(PsdExpr& self, const Call& call) {
    static const Signature<2> signature{"addTerms", {"coeffs", "vars"}, 2};
    auto [coeffs, vars] = parse(signature, call);
    PsdTerms added;
    read_terms(added, coeffs, vars);
    append_terms(self.terms, added, 1.0);
    return Ref::none();
}

Ref psdexpr_add(PsdExpr& self, const Call& call) {
    static const Signature<2> signature{"add", {"expr", "mult"}, 1};
    auto [expr, mult] = parse(signature, call);
    double factor = mult ? to_double(mult) : 1.0;
    if (is_linexpr(expr))
        add_expr(self.linear(), factor, as_linexpr(expr));
    else if (is_psdexpr(expr))
        add_psdexpr(self, as_psdexpr(expr), factor);
    else
        raise(PyExc_TypeError, "Argument `expr` cannot be %S type", as_object(Py_TYPE(expr)));
    return Ref::none();
}

Ref psdexpr_addConstant(PsdExpr& self, const Call& call) {
    static const Signature<1> signature{"addConstant", {"c"}, 1};
    auto [c] = parse(signature, call);
    add_constant(self.linear(), c);
    return Ref::none();
}
Ref psdexpr_getConstant(PsdExpr& self) { return Ref::steal(PyFloat_FromDouble(self.linear().constant)); }

const PsdTerm& term_at(const PsdExpr& self, const Call& call, const Signature<1>& signature) {
    auto [index] = parse(signature, call);
    int i = to_int32(index);
    if (i < 0 || i >= self.size())
        raise(PyExc_IndexError, "list index out of range");
    return self.terms.data()[i];
}
Ref psdexpr_getCoeff(PsdExpr& self, const Call& call) {
    static const Signature<1> signature{"getCoeff", {"index"}, 1};
    const PsdTerm& term = term_at(self, call, signature);
    double factor = term.factor;
    term.matrix->keep(); // making the object may run Python code
    SymRef matrix(term.matrix);
    return matrix_object(*matrix, factor, matrix->dense());
}
Ref psdexpr_getPsdVar(PsdExpr& self, const Call& call) {
    static const Signature<1> signature{"getPsdVar", {"index"}, 1};
    return Ref::borrow(term_at(self, call, signature).var);
}
Ref psdexpr_getVar(PsdExpr& self, const Call& call) {
    static const Signature<1> signature{"getVar", {"index"}, 1};
    return Ref::borrow(term_at(self, call, signature).var);
}
Ref psdexpr_getLinExpr(PsdExpr& self) { return Ref::borrow(self.linexpr); }
Ref psdexpr_sizeMethod(PsdExpr& self) { return Ref::steal(PyLong_FromLong(self.size())); }

Ref psdexpr_getValue(PsdExpr& self) {
    double sum = value_of(self.linear());
    std::map<std::pair<TSOmodel, int>, SymRef> values; // each variable is read once
    for (int i = 0; i < self.size(); ++i) {
        const PsdTerm& term = self.terms.data()[i];
        std::pair key{handle(term.var).mdl_, handle(term.var).index_};
        SymRef& value = values[key];
        if (!value)
            value = std::move(read_matrices(key.first, "PsdX", {key.second})[0]);
        sum += term.factor * inner_product(*term.matrix, *value);
    }
    return Ref::steal(PyFloat_FromDouble(sum));
}

Ref psdexpr_clear(PsdExpr& self) {
    clear(self.linear());
    self.terms.clear();
    return Ref::none();
}

Ref psdexpr_copy(PsdExpr& self) {
    return Ref::steal(PyObject_CallFunctionObjArgs(as_object(state().psdexpr), as_object(&self), nullptr));
}

Ref psdexpr_remove(PsdExpr& self, const Call& call) {
    static const Signature<1> signature{"remove", {"item"}, 1};
    auto [item] = parse(signature, call);
    std::vector<int> positions;
    if (PyLong_Check(item)) {
        positions = {position(item)};
    } else if (is_psdvar(item)) {
        for (int i = 0; i < self.size(); ++i) {
            const Handle& h = handle(self.terms.data()[i].var);
            if (h.mdl_ == handle(item).mdl_ && h.index_ == handle(item).index_)
                positions.push_back(i);
        }
    } else if (is_var(item)) {
        remove_var(self.linear(), item);
    } else {
        raise(PyExc_TypeError, "Argument `item` should be an integer, PsdVar or Var");
    }
    if (!positions.empty())
        remove_at(positions, self.terms);
    return Ref::none();
}

Ref psdexpr_str(PsdExpr& self) { return psdexpr_text(self); }
Ref psdexpr_repr(PyObject* self) { return Ref::steal(PyObject_Str(self)); }

PyMethodDef psdexpr_methods[] = {
    keywords<psdexpr_addTerm>(
        "addTerm", "addTerm($self, coeff, var)\n--\n\n"
                   "Adds the inner product of a matrix with a semi-definite variable, the sum of coeff[i, j] *\n"
                   "var[i, j] over all cells.\n\n"
                   "coeff: a matrix of shape (n, n), n being var.Dim: NumPy array, SciPy sparse matrix, list or tuple\n"
                   "of rows. It is copied. One that is not symmetric counts as (coeff + coeff.T) / 2, for which the\n"
                   "product is the same; zeros add nothing.\n"
                   "var: PsdVar.\n"
                   "Raises TessolvError for what is no PsdVar, TypeError for what is no matrix of numbers, ValueError\n"
                   "for another shape and for entries that are infinite or not a number.\n\n"
                   "Example: e.addTerm([[2, 1], [1, 3]], X)"),
    keywords<psdexpr_addTerms>(
        "addTerms", "addTerms($self, coeffs, vars)\n--\n\n"
                    "Adds terms, all of them or none.\n\n"
                    "coeffs: a matrix as for addTerm, or as many matrices as there are variables.\n"
                    "vars: a PsdVar, or a list or tuple of them.\n"
                    "Raises what addTerm raises, ValueError if the numbers of matrices and variables differ.\n\n"
                    "Example: e.addTerms([A, B], [X, Y])"),
    keywords<psdexpr_add>("add", "add($self, expr, mult=1.0)\n--\n\n"
                                 "Adds mult times another expression.\n\n"
                                 "expr: LinExpr or PsdExpr.  mult: a number.\n"
                                 "Raises TypeError for anything else.\n\n"
                                 "Example: e.add(A * X + y, 2.0)"),
    keywords<psdexpr_addConstant>("addConstant", "addConstant($self, c)\n--\n\n"
                                                 "Adds a number to the constant.\n\n"
                                                 "c: a number. Raises TypeError for anything else.\n\n"
                                                 "Example: e.addConstant(1)"),
    no_args<psdexpr_getConstant>("getConstant",
                                 "getConstant($self)\n--\n\nThe constant, as float.\n\nExample: e.getConstant()"),
    keywords<psdexpr_getCoeff>("getCoeff",
                               "getCoeff($self, index)\n--\n\n"
                               "The matrix of a term, a copy: an ndarray where it was given as array or list, a\n"
                               "scipy.sparse.csr_matrix where it was given as a sparse matrix.\n\n"
                               "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                               "Example: (A * X).getCoeff(0)"),
    keywords<psdexpr_getPsdVar>("getPsdVar", "getPsdVar($self, index)\n--\n\n"
                                             "The semi-definite variable of a term.\n\n"
                                             "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                             "Example: (A * X).getPsdVar(0)"),
    keywords<psdexpr_getVar>("getVar", "getVar($self, index)\n--\n\n"
                                       "The semi-definite variable of a term; the same as getPsdVar.\n\n"
                                       "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                       "Example: (A * X).getVar(0)"),
    no_args<psdexpr_getLinExpr>("getLinExpr",
                                "getLinExpr($self)\n--\n\n"
                                "The linear part itself, not a copy: changing it changes the expression.\n\n"
                                "Example: (A * X + y).getLinExpr()"),
    no_args<psdexpr_getValue>("getValue", "getValue($self)\n--\n\n"
                                          "The value of the expression in the solution, as float.\n\n"
                                          "Raises TessolvError if there is no solution.\n\n"
                                          "Example: (A * X + y).getValue()"),
    no_args<psdexpr_sizeMethod>("size", "size($self)\n--\n\n"
                                        "The number of terms with semi-definite variables. Terms are never merged.\n\n"
                                        "Example: (A * X + B * X + y).size()"),
    no_args<psdexpr_clear>("clear", "clear($self)\n--\n\nTakes out all terms and the constant.\n\nExample: e.clear()"),
    no_args<psdexpr_copy>("copy",
                          "copy($self)\n--\n\n"
                          "A copy of the expression. The matrices themselves, which never change, are shared.\n\n"
                          "Example: e.copy()"),
    keywords<psdexpr_remove>("remove", "remove($self, item)\n--\n\n"
                                       "Takes out terms.\n\n"
                                       "item: int, the position of a term with a semi-definite variable (none there,\n"
                                       "nothing happens); PsdVar, all terms of that variable; or Var, all linear\n"
                                       "terms of that variable. Raises TypeError for anything else.\n\n"
                                       "Example: e.remove(X)"),
    {},
};

PyType_Slot psdexpr_slots[] = {
    {Py_tp_doc,
     const_cast<char*>(
         "PsdExpr(arg1=0, arg2=None)\n--\n\n"
         "A semi-definite expression: inner products of matrices with semi-definite variables in the order in which\n"
         "they were added, and a linear part. A * X makes one; it can be added to, subtracted and compared with\n"
         "numbers, Var, LinExpr and its like, and be multiplied by numbers. Quadratic terms have no place in it.\n\n"
         "arg1: a PsdExpr to copy, or anything that LinExpr takes for its linear part.\n"
         "arg2: PsdVar or list of PsdVar; then arg1 holds the matrices, as for addTerms.\n"
         "Raises what addTerms and LinExpr raise.\n\n"
         "Example: PsdExpr([[2, 1], [1, 3]], X)")},
    slot<psdexpr_new>(Py_tp_new),
    slot<psdexpr_init>(Py_tp_init),
    {Py_tp_dealloc, reinterpret_cast<void*>(&psdexpr_dealloc)},
    slot<psdexpr_str>(Py_tp_str),
    slot<psdexpr_repr>(Py_tp_repr),
    slot<psdexpr_hash>(Py_tp_hash),
    slot<psdexpr_compare>(Py_tp_richcompare),
    slot<psdexpr_plus>(Py_nb_add),
    slot<psdexpr_minus>(Py_nb_subtract),
    slot<psdexpr_times>(Py_nb_multiply),
    slot<psdexpr_divide>(Py_nb_true_divide),
    slot<psdexpr_negative>(Py_nb_negative),
    slot<psdexpr_iadd>(Py_nb_inplace_add),
    slot<psdexpr_isub>(Py_nb_inplace_subtract),
    slot<psdexpr_imul>(Py_nb_inplace_multiply),
    {Py_tp_methods, psdexpr_methods},
    {},
};
PyType_Spec psdexpr_spec = {"tessolvpy.PsdExpr", sizeof(PsdExpr), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                            psdexpr_slots};

} // namespace

PyTypeObject* make_psdexpr_type() { return make_type(psdexpr_spec); }

PsdExpr* new_psdexpr() { return &as_psdexpr(psdexpr_new(state().psdexpr, nullptr, nullptr).release()); }

void add_term(PsdTerms& terms, const SymMatrix& matrix, Borrowed var) {
    if (!matrix.entries().empty())
        terms.add({1.0, &matrix, var});
}

void append_terms(PsdTerms& to, const PsdTerms& from, double mult) {
    if (mult == 1.0)
        return to.add_all(from, from.size());
    PsdTerms scaled;
    scaled.copy_items(from);
    scale_factors(scaled, mult);
    to.add_all(scaled, scaled.size());
}

bool append_scaled(PsdExpr& to, Borrowed x, double mult) {
    if (is_psdexpr(x)) {
        PsdExpr& e = as_psdexpr(x);
        if (to.size() == 0 && mult == 1.0)
            to.terms.copy_items(e.terms); // behind which the next terms of a long sum are written
        else
            append_terms(to.terms, e.terms, mult);
        x = e.linexpr;
    }
    return append_scaled(to.linear(), kind_of(x), x, mult);
}

Ref multiply_psdvar(Borrowed a, Borrowed b) {
    bool left = is_psdvar(a);
    Borrowed var = left ? a : b, coeff = left ? b : a;
    if (PyTuple_Check(coeff) || !is_matrix(coeff))
        unsupported("*", a, b);
    PsdExpr* e = new_psdexpr();
    Ref result = owned(e);
    read_term(e->terms, coeff, var);
    return result;
}

} // namespace tsp
