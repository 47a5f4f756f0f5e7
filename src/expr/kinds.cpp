#include "expr/kinds.h"

#include "module/text.h"
#include "py/numpy.h"

namespace tsp {

bool is_number(Borrowed x) {
    PyTypeObject* t = Py_TYPE(x);
    const State& s = state();
    if (PyFloat_Check(x) || PyLong_Check(x))
        return true;
    if (t == s.var || t == s.linexpr || t == s.quadexpr || t == s.constr || t == s.tempconstr || t == &PyUnicode_Type ||
        t == &PyList_Type || t == &PyTuple_Type || t == &PyDict_Type || t == &PyArray_Type || x == Py_None ||
        is_instance(x, s.operand))
        return false;
    if (PyComplex_Check(x) || PyArray_IsScalar(x, Number))
        return true;
    return checked(PyObject_IsInstance(x, s.number));
}

bool is_arraylike(Borrowed x, bool sparse) {
    if (is_instance(x, state().operand))
        return false;
    PyTypeObject* t = Py_TYPE(x);
    if (t == &PyFloat_Type || t == &PyLong_Type || t == &PyUnicode_Type)
        return false;
    if (t == &PyList_Type || t == &PyTuple_Type || t == &PyArray_Type)
        return true;
    if (is_sparse(x))
        return sparse;
    PyObject* priority = PyObject_GetAttr(x, state().s_array_priority);
    if (priority) {
        Py_DECREF(priority);
        return true;
    }
    if (!PyErr_ExceptionMatches(PyExc_AttributeError))
        throw PythonError();
    PyErr_Clear();
    return !is_scalar(x);
}

bool is_var(Borrowed x) { return is_instance(x, state().var); }
bool is_linexpr(Borrowed x) { return is_instance(x, state().linexpr); }
bool is_quadexpr(Borrowed x) { return is_instance(x, state().quadexpr); }

Operands kind_of(Borrowed x) {
    Operands k = exact_kind(x);
    if (k != Operands::Other)
        return k;
    if (is_var(x))
        return Operands::Var;
    if (is_linexpr(x))
        return Operands::LinExpr;
    if (is_quadexpr(x))
        return Operands::QuadExpr;
    return is_number(x) ? Operands::Number : Operands::Other;
}

} // namespace tsp
