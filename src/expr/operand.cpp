#include "expr/operand.h"

#include "expr/arithmetic.h"
#include "expr/array_operators.h"
#include "expr/kinds.h"
#include "expr/tempconstr.h"
#include "handles/handle.h"
#include "py/args.h"
#include "solver/check.h"

namespace tsp {

ArrayOperators g_array_operators{};

namespace {

// Only variables have a hash, which is their position.
Py_hash_t operand_hash(PyObject* self) {
    if (!is_var(self))
        raise(PyExc_TypeError, "unsupported operand type(s) for hash(): `%s`", type_name(self));
    int32_t index = reinterpret_cast<Handle*>(self)->index_;
    return index == -1 ? -2 : index;
}

// Division is multiplication by the reciprocal, which is computed once.
Ref operand_divide(PyObject* a, PyObject* b) {
    if (!is_instance(a, state().operand))
        return Ref::borrow(Py_NotImplemented);
    double divisor = to_double(b);
    if (divisor == 0.0)
        raise(PyExc_ZeroDivisionError, "float division");
    Ref reciprocal = Ref::steal(PyFloat_FromDouble(1.0 / divisor));
    if (exact_kind(a) != Operands::Other)
        return multiply(a, reciprocal.get());
    return Ref::steal(PyObject_CallMethodOneArg(a, state().s_mul, reciprocal.get()));
}

bool is_two(Borrowed exponent) {
    if (PyFloat_CheckExact(exponent))
        return PyFloat_AS_DOUBLE(exponent) == 2.0;
    Ref two = Ref::steal(PyLong_FromLong(2));
    return !checked(PyObject_RichCompareBool(exponent, two.get(), Py_NE));
}

Ref operand_power(PyObject* a, PyObject* exponent, PyObject*) {
    if (!is_instance(a, state().operand))
        return Ref::borrow(Py_NotImplemented);
    if (!is_two(exponent))
        raise_tessolv_error("`%s` can only be raised to a power of two", type_name(a));
    if (is_var(a))
        return v_mul_v(a, a);
    if (is_linexpr(a))
        return l_mul_l(as_linexpr(a), as_linexpr(a));
    if (Ref square = g_array_operators.square(a))
        return square;
    raise(PyExc_TypeError, "unsupported operand type(s) for ** or pow(): `%s` and 'int'", type_name(a));
}

Ref operand_matmul(PyObject* a, PyObject* b) {
    if (!is_instance(a, state().operand) && !is_instance(b, state().operand))
        return Ref::borrow(Py_NotImplemented);
    return g_array_operators.matmul(a, b);
}

// __add__ and __mul__ called as functions: their left side may also be a number or an array, which an operand takes as
// its right side.
Ref on_any(const char* op, Ref (*forward)(Borrowed, Borrowed), Borrowed self, Borrowed other) {
    if (is_instance(self, state().operand))
        return forward(self, other);
    Ref left = is_number(self) ? Ref::steal(PyFloat_FromDouble(to_double(self))) : Ref::borrow(self);
    if (!PyFloat_CheckExact(left.get()) && !is_arraylike(self))
        unsupported(op, self, other);
    if (!has_kind(other))
        unsupported(op, left.get(), other);
    return forward(other, left.get());
}

Ref operand_add(PyObject*, const Call& call) {
    static const Signature<2> signature{"__add__", {"self", "other"}, 2};
    auto [self, other] = parse(signature, call);
    return on_any("+", &add, self, other);
}
Ref operand_mul(PyObject*, const Call& call) {
    static const Signature<2> signature{"__mul__", {"self", "other"}, 2};
    auto [self, other] = parse(signature, call);
    return on_any("*", &multiply, self, other);
}
Ref operand_sub(PyObject*, const Call& call) {
    static const Signature<2> signature{"__sub__", {"self", "other"}, 2};
    auto [self, other] = parse(signature, call);
    if (is_instance(self, state().operand))
        return subtract(self, other);
    if (!is_number(self) && !is_arraylike(self))
        return Ref::none();
    Ref result;
    bool worked = succeeds([&result, self = self, other = other] {
        Ref minus = Ref::steal(PyNumber_Negative(other));
        result = on_any("+", &add, self, minus.get());
    });
    if (!worked)
        unsupported("-", self, other);
    return result;
}

// A reflected method puts its own object in front. Python calls it for a class that a program derives also where the
// left side is an operand; that one leads then, as everywhere.
bool leads(PyObject* other, PyObject* self) {
    bool derived = PyType_GetSlot(Py_TYPE(self), Py_nb_add) != PyType_GetSlot(state().operand, Py_nb_add);
    return derived && is_instance(other, state().operand);
}
Ref operand_radd(PyObject* self, PyObject* other) {
    return leads(other, self) ? add(other, self) : Ref::steal(PyObject_CallMethodOneArg(self, state().s_add, other));
}
Ref operand_rmul(PyObject* self, PyObject* other) {
    return leads(other, self) ? multiply(other, self)
                              : Ref::steal(PyObject_CallMethodOneArg(self, state().s_mul, other));
}
Ref operand_rsub(PyObject* self, PyObject* other) {
    if (leads(other, self))
        return subtract(other, self);
    Ref minus = Ref::steal(PyNumber_Negative(self));
    return Ref::steal(PyObject_CallMethodOneArg(minus.get(), state().s_add, other));
}

constexpr PyMethodDef in_place_of_the_slot(PyMethodDef method) {
    method.ml_flags |= METH_COEXIST;
    return method;
}
PyMethodDef operand_methods[] = {
    in_place_of_the_slot(one_arg<operand_radd>("__radd__", "__radd__($self, other, /)\n--\n\n"
                                                           "The same as __add__.\n\n"
                                                           "Example: (2 * x).__radd__(y)")),
    in_place_of_the_slot(one_arg<operand_rsub>("__rsub__", "__rsub__($self, other, /)\n--\n\n"
                                                           "-self + other.\n\n"
                                                           "Example: (2 * x).__rsub__(y)")),
    in_place_of_the_slot(one_arg<operand_rmul>("__rmul__", "__rmul__($self, other, /)\n--\n\n"
                                                           "The same as __mul__.\n\n"
                                                           "Example: (2 * x).__rmul__(y)")),
    {},
};
PyMethodDef operand_functions[] = {
    keywords<operand_add>("__add__",
                          "__add__(self, other)\n--\n\n"
                          "self + other. Called as a function, it takes a number or an array as self too.\n\n"
                          "Example: Operand.__add__(2, x)"),
    keywords<operand_sub>("__sub__",
                          "__sub__(self, other)\n--\n\n"
                          "self - other. Called as a function, it takes a number or an array as self too.\n\n"
                          "Example: Operand.__sub__(2, x)"),
    keywords<operand_mul>("__mul__",
                          "__mul__(self, other)\n--\n\n"
                          "self * other. Called as a function, it takes a number or an array as self too.\n\n"
                          "Example: Operand.__mul__(2, x)"),
};

PyType_Slot operand_slots[] = {
    {Py_tp_doc,
     const_cast<char*>("Operand()\n--\n\n"
                       "The base class of variables and of what arithmetic makes of them.\n\n"
                       "Sums, differences and products of operands, numbers and arrays give expressions; /\n"
                       "divides by a number, ** 2 squares, @ is the matrix product. Comparing with <=, >= or\n"
                       "== gives a TempConstr, so `sameAs` and `is` tell whether two are the same.\n\n"
                       "Example: isinstance(2 * x + 1, Operand)  # True")},
    {Py_tp_dealloc, reinterpret_cast<void*>(&plain_dealloc)},
    slot<operand_hash>(Py_tp_hash),
    slot<compare>(Py_tp_richcompare),
    slot<add>(Py_nb_add),
    slot<subtract>(Py_nb_subtract),
    slot<multiply>(Py_nb_multiply),
    slot<operand_divide>(Py_nb_true_divide),
    slot<operand_power>(Py_nb_power),
    slot<operand_matmul>(Py_nb_matrix_multiply),
    slot<negative>(Py_nb_negative),
    {Py_tp_methods, operand_methods},
    {},
};
PyType_Spec operand_spec = {"tessolvpy.Operand", sizeof(PyObject), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                            operand_slots};

} // namespace

PyTypeObject* make_operand_type() {
    PyTypeObject* type = make_type(operand_spec);
    for (PyMethodDef& def : operand_functions) { // a method when taken from an object, a function when from the class
        Ref function = Ref::steal(PyCFunction_New(&def, nullptr)),
            method = Ref::steal(PyInstanceMethod_New(function.get()));
        checked(PyDict_SetItemString(type->tp_dict, def.ml_name, method.get()));
    }
    PyType_Modified(type);
    return type;
}

} // namespace tsp
