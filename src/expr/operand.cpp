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
    {},
};
PyType_Spec operand_spec = {"tessolvpy.Operand", sizeof(PyObject), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
                            operand_slots};

} // namespace

PyTypeObject* make_operand_type() { return make_type(operand_spec); }

} // namespace tsp
