#include "expr/linexpr.h"

#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/list.h"
#include "expr/print.h"
#include "handles/handle.h"
#include "py/args.h"
#include "py/numpy.h"
#include "solver/check.h"

namespace tsp {
namespace {

constexpr int kFree = 256; // expressions kept for reuse
LinExpr* g_free[kFree];
int g_free_count = 0;

PyObject* linexpr_new(PyTypeObject* type, PyObject*, PyObject*) { return type->tp_alloc(type, 0); } // zeroes: empty

void linexpr_dealloc(PyObject* self) {
    LinExpr& e = as_linexpr(self);
    PyTypeObject* type = Py_TYPE(self);
    e.coeffs.clear_for_good();
    e.vars.clear_for_good();
    if (type == state().linexpr && g_free_count < kFree)
        g_free[g_free_count++] = &e;
    else
        type->tp_free(self);
    Py_DECREF(type);
}

// As float(x).
double as_float(Borrowed x) {
    if (PyFloat_CheckExact(x))
        return PyFloat_AS_DOUBLE(x);
    Ref number = Ref::steal(PyNumber_Float(x));
    return PyFloat_AS_DOUBLE(number.get());
}

void linexpr_init(LinExpr& self, PyObject* args, PyObject* kwargs) {
    static const Signature<2> signature{"__init__", {"arg1", "arg2"}, 0};
    auto [arg1, arg2] = parse(signature, args, kwargs);
    self.coeffs.clear_for_good();
    self.vars.clear_for_good();
    self.constant = 0.0;
    if (arg2 && arg2 != Py_None) {
        Ref zero;
        if (!arg1) {
            zero = Ref::steal(PyLong_FromLong(0));
            arg1 = zero.get();
        }
        add_terms(self, arg1, arg2);
    } else if (arg1) {
        fill_linexpr(self, arg1);
    }
}

Ref linexpr_iadd(LinExpr& self, PyObject* other) {
    switch (kind_of(other)) {
    case Operands::Number:
        self.constant += to_double(other);
        break;
    case Operands::Var:
        add_term(self, 1.0, other);
        break;
    case Operands::LinExpr:
        add_expr(self, 1.0, as_linexpr(other));
        break;
    default:
        unsupported_inplace(as_object(&self), other);
    }
    return Ref::borrow(as_object(&self));
}

Ref linexpr_isub(LinExpr& self, PyObject* other) {
    Ref negative = Ref::steal(PyNumber_Negative(other));
    if (Py_TYPE(&self) != state().linexpr)
        return Ref::steal(PyObject_CallMethod(as_object(&self), "__iadd__", "(O)", negative.get()));
    return linexpr_iadd(self, negative.get());
}

Ref linexpr_imul(LinExpr& self, PyObject* other) {
    if (!is_number(other))
        unsupported_inplace(as_object(&self), other);
    auto [mult, constant] = scaled_constant(self, other);
    scale_terms(self, mult);
    self.constant = constant;
    return Ref::borrow(as_object(&self));
}

Ref linexpr_addTerms(LinExpr& self, const Call& call) {
    static const Signature<2> signature{"addTerms", {"coeffs", "vars"}, 2};
    auto [coeffs, vars] = parse(signature, call);
    add_terms(self, coeffs, vars);
    return Ref::none();
}

Ref linexpr_add(LinExpr& self, const Call& call) {
    static const Signature<2> signature{"add", {"expr", "mult"}, 1};
    auto [expr, mult] = parse(signature, call);
    if (!is_linexpr(expr))
        raise_argument_type("expr", state().linexpr->tp_name, expr);
    add_expr(self, mult ? to_double(mult) : 1.0, as_linexpr(expr));
    return Ref::none();
}

// May run Python code, which changes the lists.
int checked_index(const LinExpr& self, Borrowed arg) {
    int32_t i = to_int32(arg);
    if (i < 0 || i >= self.size())
        raise(PyExc_IndexError, "list index out of range");
    return i;
}
Ref linexpr_getCoeff(LinExpr& self, const Call& call) {
    static const Signature<1> signature{"getCoeff", {"index"}, 1};
    auto [index] = parse(signature, call);
    int i = checked_index(self, index);
    return Ref::steal(PyFloat_FromDouble(self.coeffs.data()[i]));
}
Ref linexpr_getVar(LinExpr& self, const Call& call) {
    static const Signature<1> signature{"getVar", {"index"}, 1};
    auto [index] = parse(signature, call);
    int i = checked_index(self, index);
    return Ref::borrow(self.vars.data()[i]);
}
Ref linexpr_getConstant(LinExpr& self) { return Ref::steal(PyFloat_FromDouble(self.constant)); }

Ref linexpr_addConstant(LinExpr& self, const Call& call) {
    static const Signature<1> signature{"addConstant", {"c"}, 1};
    auto [c] = parse(signature, call);
    add_constant(self, c);
    return Ref::none();
}
Ref linexpr_sizeMethod(LinExpr& self) { return Ref::steal(PyLong_FromLong(self.size())); }

Ref linexpr_clear(LinExpr& self) {
    clear(self);
    return Ref::none();
}

Ref linexpr_remove(LinExpr& self, const Call& call) {
    static const Signature<1> signature{"remove", {"item"}, 1};
    auto [item] = parse(signature, call);
    if (PyLong_Check(item))
        remove_at({position(item)}, self.coeffs, self.vars);
    else if (is_var(item))
        remove_var(self, item);
    else
        raise(PyExc_TypeError, "Argument `item` should be an integer or Var");
    return Ref::none();
}

Ref linexpr_getValue(LinExpr& self) { return Ref::steal(PyFloat_FromDouble(value_of(self))); }

Ref linexpr_str(LinExpr& self) { return linexpr_text(self); }
Ref linexpr_repr(PyObject* self) { return Ref::steal(PyObject_Str(self)); }

PyMethodDef linexpr_methods[] = {
    keywords<linexpr_addTerms>("addTerms",
                               "addTerms($self, coeffs, vars)\n--\n\n"
                               "Adds terms; those with coefficient 0 are left out.\n\n"
                               "coeffs: a number, or a list, tuple or array of numbers.\n"
                               "vars: a Var for one number; otherwise as many Var, by position.\n"
                               "Raises TessolvError for what is no Var, TypeError for what is no number.\n\n"
                               "Example: e.addTerms([1.0, 2.0], [x, y])"),
    keywords<linexpr_add>("add", "add($self, expr, mult=1.0)\n--\n\n"
                                 "Adds mult times another linear expression.\n\n"
                                 "expr: LinExpr.  mult: a number.\n"
                                 "Raises TypeError for anything else.\n\n"
                                 "Example: e.add(x + y, 2.0)"),
    keywords<linexpr_getCoeff>("getCoeff", "getCoeff($self, index)\n--\n\n"
                                           "The coefficient of a term, as float.\n\n"
                                           "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                           "Example: (2 * x).getCoeff(0)"),
    keywords<linexpr_getVar>("getVar", "getVar($self, index)\n--\n\n"
                                       "The variable of a term.\n\n"
                                       "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                       "Example: (2 * x).getVar(0)"),
    no_args<linexpr_getConstant>("getConstant", "getConstant($self)\n--\n\n"
                                                "The constant, as float.\n\n"
                                                "Example: (x + 1).getConstant()"),
    keywords<linexpr_addConstant>("addConstant", "addConstant($self, c)\n--\n\n"
                                                 "Adds a number to the constant.\n\n"
                                                 "c: a number. Raises TypeError for anything else.\n\n"
                                                 "Example: e.addConstant(1)"),
    no_args<linexpr_sizeMethod>("size", "size($self)\n--\n\n"
                                        "The number of terms, without the constant. Terms are never merged.\n\n"
                                        "Example: (x + x).size()"),
    no_args<linexpr_clear>("clear", "clear($self)\n--\n\nTakes out all terms and the constant.\n\nExample: e.clear()"),
    keywords<linexpr_remove>("remove", "remove($self, item)\n--\n\n"
                                       "Takes out terms.\n\n"
                                       "item: int, the position of a term (none there, nothing happens), or Var, all\n"
                                       "terms of that variable. Raises TypeError for anything else.\n\n"
                                       "Example: e.remove(x)"),
    no_args<linexpr_getValue>("getValue", "getValue($self)\n--\n\n"
                                          "The value of the expression in the solution, as float.\n\n"
                                          "Raises TessolvError if there is no solution.\n\n"
                                          "Example: (x + 2 * y).getValue()"),
    {},
};

PyType_Slot linexpr_slots[] = {
    {Py_tp_doc, const_cast<char*>("LinExpr(arg1=0, arg2=None)\n--\n\n"
                                  "A linear expression: a constant and terms in the order in which they were added.\n\n"
                                  "arg1: a number (the constant), a Var, a LinExpr to copy, or a list of tuples that\n"
                                  "begin with coefficient and Var and have at least three items.\n"
                                  "arg2: Var or list of Var; then arg1 holds the coefficients, as for addTerms.\n"
                                  "Raises TessolvError for terms that are none, TypeError for other types.\n\n"
                                  "Example: LinExpr([1.0, 2.0], [x, y])")},
    {Py_tp_new, reinterpret_cast<void*>(&linexpr_new)},
    slot<linexpr_init>(Py_tp_init),
    {Py_tp_dealloc, reinterpret_cast<void*>(&linexpr_dealloc)},
    slot<linexpr_str>(Py_tp_str),
    slot<linexpr_repr>(Py_tp_repr),
    slot<linexpr_iadd>(Py_nb_inplace_add),
    slot<linexpr_isub>(Py_nb_inplace_subtract),
    slot<linexpr_imul>(Py_nb_inplace_multiply),
    {Py_tp_methods, linexpr_methods},
    {},
};
PyType_Spec linexpr_spec = {"tessolvpy.LinExpr", sizeof(LinExpr), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                            linexpr_slots};

} // namespace

PyTypeObject* make_linexpr_type() { return make_type(linexpr_spec, state().operand); }

LinExpr* new_linexpr() {
    PyTypeObject* type = state().linexpr;
    if (g_free_count == 0)
        return allocate<LinExpr>(type);
    LinExpr* e = g_free[--g_free_count];
    PyObject_Init(as_object(e), type);
    e->constant = 0.0;
    return e;
}

void fill_linexpr(LinExpr& self, Borrowed from) {
    if (is_var(from)) {
        add_term(self, 1.0, from);
    } else if (is_linexpr(from)) {
        LinExpr& other = as_linexpr(from);
        self.coeffs.share(other.coeffs);
        self.vars.share(other.vars);
        self.constant += other.constant;
    } else if (PyList_Check(from) || PyTuple_Check(from) || PyArray_Check(from)) {
        Ref iterator = Ref::steal(PyObject_GetIter(from));
        while (PyObject* next = PyIter_Next(iterator.get())) {
            Ref element = Ref::steal(next);
            bool is_sequence = PyTuple_Check(next) || PyList_Check(next);
            // Kept: two items are refused in spite of the words, and a third is ignored (test_refusals.py).
            if (!is_sequence || PySequence_Fast_GET_SIZE(next) < 3)
                raise_tessolv_error("Each element should be a tuple or list with length 2");
            Ref coeff = Ref::borrow(PySequence_Fast_GET_ITEM(next, 0));
            Ref var = Ref::borrow(PySequence_Fast_GET_ITEM(next, 1));
            add_terms(self, coeff.get(), var.get());
        }
        if (PyErr_Occurred())
            throw PythonError();
    } else {
        self.constant = as_float(from);
    }
}

void clear(LinExpr& self) {
    self.coeffs.clear();
    self.vars.clear();
    self.constant = 0.0;
}

void unsupported_inplace(Borrowed self, Borrowed other) {
    raise(PyExc_TypeError, "unsupport operation +=: `%s` and `%s`", type_name(self), type_name(other));
}

bool add_operand(LinExpr& self, Operands kind, Borrowed other) {
    switch (kind) {
    case Operands::Number:
        add_constant(self, other);
        return true;
    case Operands::Var:
        add_term(self, 1.0, other);
        return true;
    case Operands::LinExpr:
        add_expr(self, 1.0, as_linexpr(other));
        return true;
    default:
        return false;
    }
}

void add_constant(LinExpr& self, Borrowed c) {
    if (PyFloat_CheckExact(c) || PyLong_CheckExact(c)) {
        self.constant += to_double(c);
        return;
    }
    Ref constant = Ref::steal(PyFloat_FromDouble(self.constant));
    Ref sum = Ref::steal(PyNumber_Add(constant.get(), c));
    self.constant = as_float(sum.get());
}

std::pair<double, double> scaled_constant(const LinExpr& self, Borrowed by) {
    double mult = to_double(by);
    if (PyFloat_CheckExact(by) || PyLong_CheckExact(by))
        return {mult, self.constant * mult};
    Ref product = Ref::steal(PyFloat_FromDouble(self.constant)); // a number may multiply in a way of its own
    product = Ref::steal(PyNumber_Multiply(product.get(), by));
    return {mult, to_double(product.get())};
}

void scale_terms(LinExpr& self, double mult) {
    self.coeffs.make_update_safe();
    double* c = self.coeffs.writable();
    for (int i = 0; i < self.coeffs.size(); ++i)
        c[i] *= mult;
}

void add_expr(LinExpr& self, double mult, LinExpr& expr) {
    if (mult == 0.0)
        return;
    double k = expr.constant;
    self.vars.prepare_list(expr.vars); // what can fail comes first
    if (mult == 1.0) {
        self.coeffs.append_list(expr.coeffs);
    } else {
        Store<double> scaled; // separated from expr before it is scaled, all of its vector
        scaled.share(expr.coeffs);
        scaled.make_update_safe();
        double* c = scaled.writable();
        for (int i = 0; i < scaled.size(); ++i)
            c[i] *= mult;
        k *= mult;
        self.coeffs.append_list(scaled);
    }
    self.vars.append_list(expr.vars);
    self.constant += k;
}

void begin_terms(LinExpr& to, const LinExpr& from) {
    to.coeffs.copy_items(from.coeffs);
    to.vars.copy_items(from.vars);
    to.constant += from.constant;
}

void append_terms(LinExpr& to, const LinExpr& from, double mult) {
    if (mult == 1.0 && to.size() == 0)
        return begin_terms(to, from);
    int n = from.size();
    double* c = to.coeffs.grow(n);
    const double* values = from.coeffs.data();
    if (mult == 1.0) {
        for (int i = 0; i < n; ++i)
            c[i] = values[i];
    } else {
        for (int i = 0; i < n; ++i)
            c[i] = mult * values[i];
    }
    to.vars.add_all(from.vars, n); // may fail; the coefficients are not taken in before
    to.coeffs.set_vector_size(to.coeffs.vector_size() + n);
    to.coeffs.set_size(to.coeffs.size() + n);
    to.constant += mult == 1.0 ? from.constant : mult * from.constant;
}

bool append_scaled(LinExpr& to, Operands kind, Borrowed x, double mult) {
    switch (kind) {
    case Operands::Number:
        to.constant += mult * to_double(x);
        return true;
    case Operands::Var:
        add_term(to, mult, x);
        return true;
    case Operands::LinExpr:
        append_terms(to, as_linexpr(x), mult);
        return true;
    default:
        return false;
    }
}

bool is_term_array(Borrowed x) { return PyList_Check(x) || PyTuple_Check(x) || is_list(x) || PyArray_Check(x); }

namespace {

bool is_zero(Borrowed x) {
    if (PyFloat_CheckExact(x))
        return PyFloat_AS_DOUBLE(x) == 0.0;
    Ref zero = Ref::steal(PyLong_FromLong(0));
    return checked(PyObject_RichCompareBool(x, zero.get(), Py_EQ));
}

} // namespace

void add_terms(LinExpr& self, Borrowed coeffs, Borrowed vars) {
    if (!is_term_array(coeffs)) {
        if (!is_var(vars))
            raise_tessolv_error("Expect a var");
        if (!is_zero(coeffs))
            add_term(self, as_float(coeffs), vars);
        return;
    }
    Py_ssize_t size = PyObject_Size(coeffs);
    if (size < 0)
        throw PythonError();
    for (Py_ssize_t i = 0; i < size; ++i) {
        Ref coeff = Ref::steal(PySequence_GetItem(coeffs, i));
        if (is_zero(coeff.get()))
            continue;
        Ref index = Ref::steal(PyLong_FromSsize_t(i));
        Ref var = PyList_CheckExact(vars) ? Ref::steal(PySequence_GetItem(vars, i))
                                          : Ref::steal(PyObject_GetItem(vars, index.get()));
        if (!is_var(var.get()))
            raise_tessolv_error("Expect a list of var");
        add_term(self, as_float(coeff.get()), var.get());
    }
}

bool same_element(Borrowed a, Borrowed b) {
    if (is_var(a) && is_var(b)) {
        const Handle &h = *reinterpret_cast<Handle*>(a), &k = *reinterpret_cast<Handle*>(b);
        return h.mdl_ == k.mdl_ && h.index_ == k.index_;
    }
    Ref same = Ref::steal(PyObject_CallMethod(a, "sameAs", "(O)", b));
    return checked(PyObject_IsTrue(same.get()));
}

std::vector<int> positions_of(const Store<PyObject*>& vars, Borrowed var) {
    std::vector<int> found;
    for (int i = 0; i < vars.size(); ++i)
        if (same_element(vars.data()[i], var))
            found.push_back(i);
    return found;
}

int position(Borrowed number) {
    int overflow = 0;
    long i = PyLong_AsLongAndOverflow(number, &overflow);
    return overflow || i < 0 || i > INT32_MAX ? -1 : static_cast<int>(i);
}

void remove_var(LinExpr& self, Borrowed var) {
    std::vector<int> positions = positions_of(self.vars, var);
    if (!positions.empty())
        remove_at(positions, self.coeffs, self.vars);
}

double var_value(Borrowed var) {
    Ref name = Ref::steal(PyUnicode_FromString("X"));
    Ref value = read_attribute(resolve_attribute(reinterpret_cast<Handle*>(var)->mdl_, name.get(), Kind::Var),
                               reinterpret_cast<Handle*>(var)->index_);
    return to_double(value.get());
}

double value_of(LinExpr& self) {
    double sum = self.constant;
    for (int i = 0; i < self.size(); ++i)
        sum += self.coeffs.data()[i] * var_value(self.vars.data()[i]);
    return sum;
}

} // namespace tsp
