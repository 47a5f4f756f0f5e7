#include "expr/quadexpr.h"

#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/list.h"
#include "expr/print.h"
#include "py/args.h"
#include "py/nested.h"
#include "solver/check.h"

namespace tsp {
namespace {

Ref quadexpr_new(PyTypeObject* type, PyObject*, PyObject*) {
    Ref self = Ref::steal(type->tp_alloc(type, 0)); // zeroes: empty
    as_quadexpr(self.get()).linexpr = as_object(new_linexpr());
    return self;
}

void quadexpr_dealloc(PyObject* self) {
    QuadExpr& e = as_quadexpr(self);
    e.coeffs.clear_for_good();
    e.vars1.clear_for_good();
    e.vars2.clear_for_good();
    Py_CLEAR(e.linexpr);
    plain_dealloc(self);
}

void quadexpr_init(QuadExpr& self, PyObject* args, PyObject* kwargs) {
    static const Signature<1> signature{"__init__", {"expr"}, 0};
    auto [expr] = parse(signature, args, kwargs);
    LinExpr* linear = new_linexpr();
    Ref fresh = owned(linear);
    bool from_quadratic = expr && is_quadexpr(expr);
    if (from_quadratic && expr != as_object(&self)) { // itself is empty by then
        QuadExpr& other = as_quadexpr(expr);
        self.coeffs.share(other.coeffs);
        self.vars1.share(other.vars1);
        self.vars2.share(other.vars2);
        fill_linexpr(*linear, other.linexpr);
    } else {
        self.coeffs.clear_for_good();
        self.vars1.clear_for_good();
        self.vars2.clear_for_good();
        if (expr && expr != Py_None && !from_quadratic)
            fill_linexpr(*linear, expr);
    }
    assign(self.linexpr, std::move(fresh));
}

Ref quadexpr_iadd(QuadExpr& self, PyObject* other) {
    Operands kind = kind_of(other);
    if (kind == Operands::QuadExpr)
        add_expr(self, 1.0, as_quadexpr(other));
    else if (!add_operand(self.linear(), kind, other))
        unsupported_inplace(as_object(&self), other);
    return Ref::borrow(as_object(&self));
}

Ref quadexpr_isub(QuadExpr& self, PyObject* other) {
    Ref negative = Ref::steal(PyNumber_Negative(other));
    if (Py_TYPE(&self) != state().quadexpr)
        return Ref::steal(PyObject_CallMethod(as_object(&self), "__iadd__", "(O)", negative.get()));
    return quadexpr_iadd(self, negative.get());
}

Ref quadexpr_imul(QuadExpr& self, PyObject* other) {
    if (!is_number(other))
        unsupported_inplace(as_object(&self), other);
    scaled_constant(self.linear(), other); // what does not work is told before anything changes
    multiply_items(self.coeffs, other);
    Ref linear = Ref::borrow(self.linexpr);
    Ref product = Ref::steal(PyNumber_InPlaceMultiply(linear.get(), other));
    if (!is_linexpr(product.get()))
        raise(PyExc_TypeError, "Cannot convert %.200s to %.200s", Py_TYPE(product.get())->tp_name,
              state().linexpr->tp_name);
    assign(self.linexpr, std::move(product));
    return Ref::borrow(as_object(&self));
}

Ref quadexpr_add(QuadExpr& self, const Call& call) {
    static const Signature<2> signature{"add", {"expr", "mult"}, 1};
    auto [expr, mult] = parse(signature, call);
    double factor = mult ? to_double(mult) : 1.0;
    if (is_linexpr(expr))
        add_expr(self.linear(), factor, as_linexpr(expr));
    else if (is_quadexpr(expr))
        add_expr(self, factor, as_quadexpr(expr));
    else
        raise(PyExc_TypeError, "Argument `expr` cannot be %S type", as_object(Py_TYPE(expr)));
    return Ref::none();
}

Ref quadexpr_addConstant(QuadExpr& self, const Call& call) {
    static const Signature<1> signature{"addConstant", {"c"}, 1};
    auto [c] = parse(signature, call);
    add_constant(self.linear(), c);
    return Ref::none();
}
Ref quadexpr_getConstant(QuadExpr& self) { return Ref::steal(PyFloat_FromDouble(self.linear().constant)); }

Ref quadexpr_addTerms(QuadExpr& self, const Call& call) {
    static const Signature<3> signature{"addTerms", {"coeffs", "vars", "vars2"}, 2};
    auto [coeffs, vars, vars2] = parse(signature, call);
    if (!vars2 || vars2 == Py_None) {
        add_terms(self.linear(), coeffs, vars);
        return Ref::none();
    }
    if (is_term_array(coeffs)) {
        // Kept: as it stands, without a test of lengths, types or order, and for lists alone (test_expressions.py).
        append_to(self.coeffs, coeffs);
        append_to(self.vars1, vars);
        append_to(self.vars2, vars2);
        return Ref::none();
    }
    if (!is_var(vars))
        raise_tessolv_error("Expect a var");
    Ref zero = Ref::steal(PyLong_FromLong(0));
    if (checked(PyObject_RichCompareBool(coeffs, zero.get(), Py_EQ)))
        return Ref::none();
    if (!is_var(vars2))
        raise_tessolv_error("Expect a var");
    Ref number = Ref::steal(PyNumber_Float(coeffs));
    add_term(self, PyFloat_AS_DOUBLE(number.get()), vars, vars2);
    return Ref::none();
}

Ref quadexpr_clear(QuadExpr& self) {
    clear(self.linear());
    self.coeffs.clear();
    self.vars1.clear();
    self.vars2.clear();
    return Ref::none();
}

Ref quadexpr_copy(QuadExpr& self) {
    return Ref::steal(PyObject_CallFunctionObjArgs(as_object(state().quadexpr), as_object(&self), nullptr));
}

Ref item_at(const Store<Coeff>& store, const Call& call, const Signature<1>& signature) {
    auto [index] = parse(signature, call);
    return item(store, to_int32(index));
}
Ref quadexpr_getCoeff(QuadExpr& self, const Call& call) {
    static const Signature<1> signature{"getCoeff", {"index"}, 1};
    return item_at(self.coeffs, call, signature);
}
Ref quadexpr_getVar1(QuadExpr& self, const Call& call) {
    static const Signature<1> signature{"getVar1", {"index"}, 1};
    return item_at(self.vars1, call, signature);
}
Ref quadexpr_getVar2(QuadExpr& self, const Call& call) {
    static const Signature<1> signature{"getVar2", {"index"}, 1};
    return item_at(self.vars2, call, signature);
}
Ref quadexpr_getLinExpr(QuadExpr& self) { return Ref::borrow(self.linexpr); }
Ref quadexpr_sizeMethod(QuadExpr& self) { return Ref::steal(PyLong_FromLong(self.size())); }

Ref quadexpr_getValue(QuadExpr& self) {
    Ref linear = Ref::borrow(self.linexpr);
    Ref sum = Ref::steal(PyObject_CallMethod(linear.get(), "getValue", nullptr));
    for (int i = 0; i < self.size(); ++i) {
        Coeff coeff = coeff_at(self.coeffs, i);
        Ref var1 = item(self.vars1, i), var2 = item(self.vars2, i);
        Ref product;
        if (double c;
            coeff.to_number(c) && exact_kind(var1.get()) == Operands::Var && exact_kind(var2.get()) == Operands::Var) {
            double x1 = var_value(var1.get());
            product = Ref::steal(PyFloat_FromDouble(c * x1 * var_value(var2.get())));
        } else {
            Ref factor = coeff.object();
            Ref x1 = Ref::steal(PyObject_CallMethod(var1.get(), "getAttr", "s", "X"));
            Ref x2 = Ref::steal(PyObject_CallMethod(var2.get(), "getAttr", "s", "X"));
            product = Ref::steal(PyNumber_Multiply(factor.get(), x1.get()));
            product = Ref::steal(PyNumber_Multiply(product.get(), x2.get()));
        }
        sum = Ref::steal(PyNumber_Add(sum.get(), product.get()));
    }
    return sum;
}

Ref quadexpr_remove(QuadExpr& self, const Call& call) {
    static const Signature<1> signature{"remove", {"item"}, 1};
    auto [item] = parse(signature, call);
    if (PyLong_Check(item)) {
        remove_at({position(item)}, self.coeffs, self.vars1, self.vars2);
        return Ref::none();
    }
    if (!is_var(item))
        raise(PyExc_TypeError, "Argument `item` should be an integer or Var");
    std::vector<int> positions;
    for (int i = 0; i < self.size(); ++i) {
        Ref var1 = tsp::item(self.vars1, i), var2 = tsp::item(self.vars2, i);
        if (same_element(var1.get(), item) || same_element(var2.get(), item))
            positions.push_back(i);
    }
    if (!positions.empty())
        remove_at(positions, self.coeffs, self.vars1, self.vars2);
    remove_var(self.linear(), item);
    return Ref::none();
}

Ref quadexpr_str(QuadExpr& self) { return quadexpr_text(self); }
Ref quadexpr_repr(PyObject* self) { return Ref::steal(PyObject_Str(self)); }

PyMethodDef quadexpr_methods[] = {
    keywords<quadexpr_add>("add", "add($self, expr, mult=1.0)\n--\n\n"
                                  "Adds mult times another expression.\n\n"
                                  "expr: LinExpr or QuadExpr.  mult: a number.\n"
                                  "Raises TypeError for anything else.\n\n"
                                  "Example: q.add(x * y, 2.0)"),
    keywords<quadexpr_addConstant>("addConstant", "addConstant($self, c)\n--\n\n"
                                                  "Adds a number to the constant.\n\n"
                                                  "c: a number. Raises TypeError for anything else.\n\n"
                                                  "Example: q.addConstant(1)"),
    no_args<quadexpr_getConstant>("getConstant",
                                  "getConstant($self)\n--\n\nThe constant, as float.\n\nExample: q.getConstant()"),
    keywords<quadexpr_addTerms>(
        "addTerms",
        "addTerms($self, coeffs, vars, vars2=None)\n--\n\n"
        "Adds quadratic terms, or without vars2 linear ones.\n\n"
        "coeffs, vars, vars2: a number and two Var, or three lists of them. Lists are taken as they stand.\n"
        "Raises TessolvError for what is no Var, TypeError for other types.\n\n"
        "Example: q.addTerms(2.0, x, y)"),
    no_args<quadexpr_clear>("clear", "clear($self)\n--\n\nTakes out all terms and the constant.\n\nExample: q.clear()"),
    no_args<quadexpr_copy>("copy", "copy($self)\n--\n\nA copy of the expression.\n\nExample: q.copy()"),
    keywords<quadexpr_getCoeff>("getCoeff", "getCoeff($self, index)\n--\n\n"
                                            "The coefficient of a quadratic term.\n\n"
                                            "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                            "Example: (2 * x * y).getCoeff(0)"),
    keywords<quadexpr_getVar1>("getVar1", "getVar1($self, index)\n--\n\n"
                                          "The first variable of a quadratic term.\n\n"
                                          "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                          "Example: (x * y).getVar1(0)"),
    keywords<quadexpr_getVar2>("getVar2", "getVar2($self, index)\n--\n\n"
                                          "The second variable of a quadratic term.\n\n"
                                          "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                          "Example: (x * y).getVar2(0)"),
    no_args<quadexpr_getLinExpr>("getLinExpr",
                                 "getLinExpr($self)\n--\n\n"
                                 "The linear part itself, not a copy: changing it changes the expression.\n\n"
                                 "Example: (x * y + x).getLinExpr()"),
    no_args<quadexpr_getValue>("getValue", "getValue($self)\n--\n\n"
                                           "The value of the expression in the solution.\n\n"
                                           "Raises TessolvError if there is no solution.\n\n"
                                           "Example: (x * y).getValue()"),
    keywords<quadexpr_remove>("remove",
                              "remove($self, item)\n--\n\n"
                              "Takes out terms.\n\n"
                              "item: int, the position of a quadratic term (none there, nothing happens), or\n"
                              "Var, all terms with that variable, linear ones too. Raises TypeError for\n"
                              "anything else.\n\n"
                              "Example: q.remove(x)"),
    no_args<quadexpr_sizeMethod>("size", "size($self)\n--\n\n"
                                         "The number of quadratic terms. Terms are never merged.\n\n"
                                         "Example: (x * y + x).size()"),
    {},
};

PyType_Slot quadexpr_slots[] = {
    {Py_tp_doc,
     const_cast<char*>("QuadExpr(expr=None)\n--\n\n"
                       "A quadratic expression: products of two variables in the order in which they were added,\n"
                       "and a linear part.\n\n"
                       "expr: None, a QuadExpr to copy, or anything that LinExpr takes for its linear part.\n"
                       "Raises what LinExpr raises.\n\n"
                       "Example: q = QuadExpr(x * y)")},
    slot<quadexpr_new>(Py_tp_new),
    slot<quadexpr_init>(Py_tp_init),
    {Py_tp_dealloc, reinterpret_cast<void*>(&nested_dealloc<quadexpr_dealloc>)},
    slot<quadexpr_str>(Py_tp_str),
    slot<quadexpr_repr>(Py_tp_repr),
    slot<quadexpr_iadd>(Py_nb_inplace_add),
    slot<quadexpr_isub>(Py_nb_inplace_subtract),
    slot<quadexpr_imul>(Py_nb_inplace_multiply),
    {Py_tp_methods, quadexpr_methods},
    {},
};
PyType_Spec quadexpr_spec = {"tessolvpy.QuadExpr", sizeof(QuadExpr), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                             quadexpr_slots};

} // namespace

PyTypeObject* make_quadexpr_type() { return make_type(quadexpr_spec, state().operand); }

QuadExpr* new_quadexpr() { return &as_quadexpr(quadexpr_new(state().quadexpr, nullptr, nullptr).release()); }

void push_term(QuadExpr& self, Coeff coeff, Borrowed var1, Borrowed var2) {
    Coeff first = Coeff::of_object(var1), second = Coeff::of_object(var2);
    self.vars1.prepare(1);
    self.vars2.prepare(1);
    self.coeffs.add(coeff);
    self.vars1.add(first);
    self.vars2.add(second);
}

void reserve_terms(QuadExpr& self, int count) {
    self.coeffs.prepare(count);
    self.vars1.prepare(count);
    self.vars2.prepare(count);
}

void add_term(QuadExpr& self, double coeff, Borrowed var1, Borrowed var2) {
    if (coeff == 0.0)
        return;
    if (comes_second(var1, var2))
        std::swap(var1, var2);
    push_term(self, Coeff::of(coeff), var1, var2);
}

void add_expr(QuadExpr& self, double mult, QuadExpr& expr) {
    if (mult == 0.0)
        return;
    Ref hold = Ref::borrow(as_object(&expr));
    Store<Coeff> scaled;
    scaled.share(expr.coeffs);
    add_expr(self.linear(), mult, expr.linear());
    if (mult != 1.0)
        scale_items(scaled, mult);
    self.coeffs.prepare_list(scaled);
    self.vars1.prepare_list(expr.vars1);
    self.vars2.prepare_list(expr.vars2);
    self.coeffs.append_list(scaled);
    self.vars1.append_list(expr.vars1);
    self.vars2.append_list(expr.vars2);
}

void begin_terms(QuadExpr& to, const QuadExpr& from) {
    if (from.vars1.size() != from.size() || from.vars2.size() != from.size())
        return append_terms(to, from);
    to.coeffs.copy_items(from.coeffs);
    to.vars1.copy_items(from.vars1);
    to.vars2.copy_items(from.vars2);
}

void append_terms(QuadExpr& to, const QuadExpr& from) {
    int n = from.size();
    if (from.vars1.size() < n || from.vars2.size() < n)
        raise(PyExc_IndexError, "list index out of range");
    to.coeffs.add_all(from.coeffs, n);
    to.vars1.add_all(from.vars1, n);
    to.vars2.add_all(from.vars2, n);
}

} // namespace tsp
