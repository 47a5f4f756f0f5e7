#include "expr/tempconstr.h"

#include "expr/arithmetic.h"
#include "expr/array_operators.h"
#include "expr/kinds.h"
#include "module/text.h"
#include "py/args.h"
#include "py/nested.h"
#include "py/numpy.h"

namespace tsp {
namespace {

constexpr int kFree = 64;
TempConstr* g_free[kFree];
int g_free_count = 0;

Ref small_zero() { return Ref::steal(PyLong_FromLong(0)); }

Ref make(Ref lb, Ref ub, Ref expr) {
    TempConstr* t;
    PyTypeObject* type = state().tempconstr;
    if (g_free_count) {
        t = g_free[--g_free_count];
        PyObject_Init(as_object(t), type);
    } else {
        t = allocate<TempConstr>(type);
    }
    t->lb = lb.release();
    t->ub = ub.release();
    t->expr = expr.release();
    return Ref::steal(as_object(t));
}

PyObject* tempconstr_new(PyTypeObject* type, PyObject*, PyObject*) {
    PyObject* self = type->tp_alloc(type, 0);
    if (self)
        for (auto field : {&TempConstr::lb, &TempConstr::ub, &TempConstr::expr}) {
            Py_INCREF(Py_None);
            as_tempconstr(self).*field = Py_None;
        }
    return self;
}

void tempconstr_dealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    TempConstr& t = as_tempconstr(self);
    Py_CLEAR(t.lb);
    Py_CLEAR(t.ub);
    Py_CLEAR(t.expr);
    if (type == state().tempconstr && g_free_count < kFree)
        g_free[g_free_count++] = &t;
    else
        type->tp_free(self);
    Py_DECREF(type);
}

// A linear expression, which is the rule, holds nothing that could hold another constraint.
void tempconstr_dealloc_any(PyObject* self) {
    if (Py_TYPE(as_tempconstr(self).expr) == state().linexpr)
        tempconstr_dealloc(self);
    else
        nested_dealloc<tempconstr_dealloc>(self);
}

Ref tempconstr_rshift(PyObject* a, PyObject* b) {
    if (!is_tempconstr(a))
        return Ref::borrow(Py_NotImplemented);
    return make_tempconstr(Py_None, a, b);
}

// Each line of a text, two blanks in front.
Ref indented(Borrowed object) {
    Ref text = Ref::steal(PyObject_Str(object));
    Ref replaced = Ref::steal(PyObject_CallMethod(text.get(), "replace", "ss", "\n", "\n  "));
    return Ref::steal(PyUnicode_FromFormat("  %U", replaced.get()));
}

Ref tempconstr_str(TempConstr& self) {
    if (self.expr == Py_None) {
        Ref left = indented(self.lb), right = indented(self.ub);
        return Ref::steal(PyUnicode_FromFormat("(\n%U\n) >> (\n%U\n)", left.get(), right.get()));
    }
    return Ref::steal(PyUnicode_FromFormat("TempConstr:\nlhs:\n----\n%S\nexpr:\n-----\n%S\nrhs:\n----\n%S", self.lb,
                                           self.expr, self.ub));
}
Ref tempconstr_repr(PyObject* self) { return Ref::steal(PyObject_Str(self)); }

Ref tempconstr_newMethod(PyObject*, const Call& call) {
    static const Signature<3> signature{"new", {"lhs", "lb", "rhs"}, 3};
    auto [lhs, lb, rhs] = parse(signature, call);
    return make_tempconstr(lhs, lb, rhs);
}

constexpr PyMethodDef as_static(PyMethodDef method) {
    method.ml_flags |= METH_STATIC;
    return method;
}
PyMethodDef tempconstr_methods[] = {
    as_static(keywords<tempconstr_newMethod>("new", "new(lhs, lb, rhs)\n--\n\n"
                                                    "A constraint: lhs <= rhs without lb, lhs >= lb without rhs,\n"
                                                    "lb <= lhs <= rhs with both; without lhs `lb >> rhs`.\n\n"
                                                    "lhs: an expression or None.  lb, rhs: None, numbers, expressions\n"
                                                    "(one alone) or TempConstr (without lhs).\n"
                                                    "Raises TypeError for anything else.\n\n"
                                                    "Example: TempConstr.new(x + y, 0, 100)")),
    {},
};

PyType_Slot tempconstr_slots[] = {
    {Py_tp_doc,
     const_cast<char*>("TempConstr()\n--\n\n"
                       "A constraint that is not yet in a model: what comparing expressions gives.\n\n"
                       "`a >> b` of two of them reads: when a, a binary variable compared with 0 or 1, holds,\n"
                       "then b does.\n\n"
                       "Example: c = x + y <= 1")},
    {Py_tp_new, reinterpret_cast<void*>(&tempconstr_new)},
    {Py_tp_dealloc, reinterpret_cast<void*>(&tempconstr_dealloc_any)},
    slot<tempconstr_str>(Py_tp_str),
    slot<tempconstr_repr>(Py_tp_repr),
    slot<tempconstr_rshift>(Py_nb_rshift),
    {Py_tp_methods, tempconstr_methods},
    {},
};
PyType_Spec tempconstr_spec = {"tessolvpy.TempConstr", sizeof(TempConstr), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                               tempconstr_slots};

// a - b, which a class that a program derives may define anew. A linear expression less a plain number is the rule.
Ref difference(Borrowed a, Borrowed b) {
    double number;
    if (Py_TYPE(a) == state().linexpr && plain_number(b, number)) {
        LinExpr* e = new_linexpr();
        Ref result = owned(e);
        begin_terms(*e, as_linexpr(a));
        e->constant -= number;
        return result;
    }
    if (exact_kind(a) != Operands::Other && exact_kind(b) != Operands::Other)
        return subtract(a, b);
    return Ref::steal(PyNumber_Subtract(a, b));
}

// self == other.
Ref equal(Borrowed self, Borrowed other) {
    bool operand = is_instance(other, state().operand);
    if (!operand && is_scalar(other))
        return tempconstr_of(difference(self, other), true, true);
    if (!operand && kind_of(self) >= Operands::Var && is_arraylike(other)) {
        Py_ssize_t size = PyObject_Size(other);
        if (size < 0)
            throw PythonError();
        if (size != 2)
            raise(PyExc_ValueError, "`=` expect an array with 2 elements: [ LHS, RHS ]");
        Ref first = Ref::steal(PyLong_FromLong(0)), second = Ref::steal(PyLong_FromLong(1));
        Ref low = Ref::steal(PyObject_GetItem(other, first.get()));
        Ref high = Ref::steal(PyObject_GetItem(other, second.get()));
        return make_tempconstr(self, low.get(), high.get());
    }
    // From here on the other side counts as an array: one of a list has a negation, which a list has not, and one of an
    // operand, without dimensions, is negated into the operand's own negation. So that is done at once where it works.
    if (bool simple = exact_kind(self) != Operands::Other || g_array_operators.is_array(self); simple && operand)
        if (Ref result; succeeds([&] { result = subtract(self, other); }))
            return tempconstr_of(std::move(result), true, true);
    Ref array = Ref::steal(PyArray_FROM_O(other));
    return tempconstr_of(difference(self, array.get()), true, true);
}

} // namespace

PyTypeObject* make_tempconstr_type() { return make_type(tempconstr_spec); }

Ref tempconstr_of(Ref expr, bool lower, bool upper) {
    return make(lower ? small_zero() : Ref::none(), upper ? small_zero() : Ref::none(), std::move(expr));
}

Ref make_tempconstr(Borrowed lhs, Borrowed lb, Borrowed rhs) {
    if (lhs == Py_None && is_tempconstr(lb) && is_tempconstr(rhs))
        return make(Ref::borrow(lb), Ref::borrow(rhs), Ref::none());
    if (lb == Py_None)
        return tempconstr_of(Ref::steal(PyNumber_Subtract(lhs, rhs)), false, true);
    if (rhs == Py_None)
        return tempconstr_of(Ref::steal(PyNumber_Subtract(lhs, lb)), true, false);
    if (!is_number(lb) || !is_number(rhs))
        raise(PyExc_TypeError, "range constraint requires numeric values");
    return make(Ref::borrow(lb), Ref::borrow(rhs), Ref::borrow(lhs));
}

Ref compare(Borrowed a, Borrowed b, int op) {
    // A semi-definite expression compares itself the other way round; with a variable of that kind there is no order.
    if (exact_kind(b) == Operands::Other && (is_psdexpr(b) || (is_psdvar(b) && (op == Py_LE || op == Py_GE))))
        return Ref::borrow(Py_NotImplemented);
    switch (op) {
    case Py_LE:
        return tempconstr_of(difference(a, b), false, true);
    case Py_GE:
        return tempconstr_of(difference(a, b), true, false);
    case Py_EQ:
        return equal(a, b);
    case Py_NE: {
        Ref same = exact_kind(a) != Operands::Other ? equal(a, b) : Ref::steal(PyObject_RichCompare(a, b, Py_EQ));
        return Ref::boolean(!checked(PyObject_IsTrue(same.get())));
    }
    default:
        return Ref::borrow(Py_NotImplemented);
    }
}

} // namespace tsp
