#include "arrays/expr_array.h"

#include "arrays/operators.h"
#include "arrays/wrapped.h"
#include "expr/kinds.h"
#include "expr/quadexpr.h"
#include "module/readonly.h"

#include <algorithm>
#include <new>

namespace tsp {
namespace {

struct ExprRow {
    const char *name, *type_name;
    PyTypeObject* State::*type;
    PyTypeObject* State::*element;
    const char* more_than_one;
    Words words; // of the examples: class, its cells, one of size 1, an array
    const char* doc;
};
constexpr ExprRow kRows[] = {
    {"MLinExpr",
     "tessolvpy.MLinExpr",
     &State::mlinexpr,
     &State::linexpr,
     "MLinExpr contains more than 1 LinExpr",
     {{{"@C", "MLinExpr"}, {"@cells", "2 * a, b + 1"}, {"@one", "(w @ x)"}, {"@e", "(2 * x)"}}},
     "MLinExpr()\n--\n\n"
     "An array of linear expressions: what arithmetic of MVar with numbers and arrays gives.\n\n"
     "Example: e = A @ x + b"},
    {"MQuadExpr",
     "tessolvpy.MQuadExpr",
     &State::mquadexpr,
     &State::quadexpr,
     "MQuadExpr contains more than 1 QuadExpr",
     {{{"@C", "MQuadExpr"}, {"@cells", "a * b, a * a"}, {"@one", "(x @ Q @ x)"}, {"@e", "(x * x)"}}},
     "MQuadExpr()\n--\n\n"
     "An array of quadratic expressions: what products of arrays with variables give.\n\n"
     "Example: risk = x @ Q @ x"},
};
constexpr int kLinear = 0;

template <int Row> PyTypeObject* type() { return state().*kRows[Row].type; }

PyObject* expr_array_new(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    if (PyTuple_GET_SIZE(args) != 0 || (kwargs && PyDict_GET_SIZE(kwargs) != 0)) {
        PyErr_Format(PyExc_TypeError, "%s() takes no arguments", type->tp_name);
        return nullptr;
    }
    PyObject* self = type->tp_alloc(type, 0);
    if (self)
        new (&as_expr_array(self).block) BlockRef();
    return self;
}

void expr_array_dealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    as_expr_array(self).block.~BlockRef();
    Py_CLEAR(as_expr_array(self).array);
    type->tp_free(self);
    Py_DECREF(type);
}

PyArrayObject* ndarray(ExprArray& self) { return as_array(array_of(self)); }

template <int Row> Ref fresh_cell() { return Row == kLinear ? owned(new_linexpr()) : owned(new_quadexpr()); }

template <int Row> Ref expr_new_of(PyObject*, PyObject* array) { return new_expr_array(type<Row>(), array); }

// Kept: all cells are one object, so a change of one shows in all (test_expressions.py: test_zeros_share_one_cell).
template <int Row> Ref expr_zeros(PyObject*, PyObject* shape) {
    Ref array = Ref::steal(PyObject_CallMethod(state().np, "empty", "(OO)", shape, as_object(&PyBaseObject_Type)));
    Ref cell = fresh_cell<Row>();
    checked(PyArray_FillWithScalar(as_array(array.get()), cell.get()));
    return new_expr_array(type<Row>(), array.get());
}

template <int Row> Ref expr_copy(ExprArray& self) {
    return new_expr_array(type<Row>(), Ref::steal(PyArray_NewCopy(ndarray(self), NPY_CORDER)).get());
}

template <int Row> Ref expr_clear(ExprArray& self) {
    Ref array = Ref::borrow(array_of(self));
    PyArrayObject* a = as_array(array.get());
    Ref flat = Ref::steal(PyArray_IterNew(array.get()));
    auto* it = reinterpret_cast<PyArrayIterObject*>(flat.get());
    while (PyArray_ITER_NOTDONE(it)) {
        auto* place = static_cast<char*>(PyArray_ITER_DATA(it));
        if (Row == kLinear) {
            Ref cell = Ref::steal(PyArray_GETITEM(a, place));
            call_method(cell.get(), "clear");
        } else {
            checked(PyArray_SETITEM(a, place, fresh_cell<Row>().get()));
        }
        PyArray_ITER_NEXT(it);
    }
    return Ref::none();
}

Ref expr_getValue(ExprArray& self) {
    Ref array = Ref::borrow(array_of(self));
    PyArrayObject* a = as_array(array.get());
    Ref values = Ref::steal(PyArray_SimpleNew(PyArray_NDIM(a), PyArray_DIMS(a), NPY_FLOAT64));
    auto* out = static_cast<double*>(PyArray_DATA(as_array(values.get())));
    Ref flat = Ref::steal(PyArray_IterNew(array.get()));
    auto* it = reinterpret_cast<PyArrayIterObject*>(flat.get());
    while (PyArray_ITER_NOTDONE(it)) {
        Ref cell = Ref::steal(PyArray_GETITEM(a, static_cast<char*>(PyArray_ITER_DATA(it))));
        *out++ = to_double(call_method(cell.get(), "getValue").get());
        PyArray_ITER_NEXT(it);
    }
    return values;
}

template <int Row> Ref expr_item(ExprArray& self) { return only_item(ndarray(self), kRows[Row].more_than_one); }

template <int Row> Ref expr_sum(ExprArray& self, const Call& call) {
    static const Signature<1> signature{"sum", {"axis"}, 0};
    auto [given] = parse(signature, call);
    Borrowed axis = given ? given : Py_None;
    if (Row == kLinear && self.block)
        return sum_cells(self.block, nullptr, axis);
    Ref total = Ref::steal(PyObject_CallMethod(array_of(self), "sum", "(O)", axis));
    return new_expr_array(type<Row>(), as_ndarray(total.get()).get());
}

Ref expr_shape(ExprArray& self) { return shape_tuple(shape_of(self)); }
Ref expr_ndim(ExprArray& self) { return Ref::steal(PyLong_FromSize_t(shape_of(self).size())); }
Ref expr_size(ExprArray& self) { return Ref::steal(PyLong_FromLongLong(size_of(shape_of(self)))); }
Ref expr_priority(ExprArray&) { return Ref::steal(PyFloat_FromDouble(1000.0)); }

template <int Row> Ref expr_getitem(ExprArray& self, PyObject* key) {
    return new_expr_array(type<Row>(), indexed(array_of(self), key).get());
}
void expr_setitem(ExprArray& self, PyObject* key, PyObject* value) {
    if (!value)
        raise(PyExc_NotImplementedError, "Subscript deletion not supported by %.200s",
              Py_TYPE(as_object(&self))->tp_name);
    checked(PyObject_SetItem(array_of(self), key, value));
}
Py_ssize_t expr_length(ExprArray& self) { return length_of(shape_of(self)); }
Ref expr_iter(PyObject* self) { return iterate(self, expr_length(as_expr_array(self))); }
template <int Row> Ref expr_str(ExprArray& self) { return array_text(kRows[Row].name, array_of(self)); }

Ref expr_iadd(PyObject* self, PyObject* other) { return arrays_add(self, other); }
Ref expr_isub(PyObject* self, PyObject* other) {
    Ref minus = Ref::steal(PyNumber_Negative(other));
    return Ref::steal(PyNumber_InPlaceAdd(self, minus.get()));
}
Ref expr_imul(PyObject* self, PyObject* other) {
    if (is_number(other) || is_arraylike(other))
        return arrays_multiply(self, other);
    raise(PyExc_TypeError, "unsupport operation *=: `%s` and `%s`", type_name(self), type_name(other));
}

template <int Row> void make_row() {
    static PyMethodDef methods[] = {
        as_static_method(one_arg<expr_new_of<Row>>("new",
                                                   "new(arr, /)\n--\n\n"
                                                   "Wraps an array of expressions, which is shared; anything else "
                                                   "is copied.\n\n"
                                                   "Example: e = @C.new([[@cells]])")),
        as_static_method(one_arg<expr_zeros<Row>>("zeros", "zeros(shape, /)\n--\n\n"
                                                           "An array whose cells are all one and the same empty "
                                                           "expression.\n\n"
                                                           "shape: int or tuple of int.\n\n"
                                                           "Example: e = @C.zeros(3)")),
        no_args<expr_copy<Row>>("copy", "copy($self, /)\n--\n\nA new array of the same expressions.\n\n"
                                        "Example: f = @e.copy()"),
        no_args<expr_clear<Row>>("clear", "clear($self, /)\n--\n\n"
                                          "Empties every cell: linear ones in place, quadratic ones become new.\n\n"
                                          "Example: e = @e; e.clear()"),
        no_args<expr_getValue>("getValue", "getValue($self, /)\n--\n\n"
                                           "The values of the expressions in the solution, an array of float.\n\n"
                                           "Raises TessolvError if there is no solution.\n\nExample: @e.getValue()"),
        no_args<expr_item<Row>>("item", "item($self, /)\n--\n\nThe expression in an array of size 1.\n\n"
                                        "Raises ValueError for any other size.\n\nExample: @one.item()"),
        keywords<expr_sum<Row>>("sum", "sum($self, /, axis=None)\n--\n\nThe sum over one axis, or of all cells.\n\n"
                                       "axis: int, tuple or None.\n\nExample: @e.sum(axis=0)"),
        {},
    };
    const ExprRow& row = kRows[Row];
    fill_in(methods, row.words);
    PyType_Slot slots[] = {
        {Py_tp_doc, const_cast<char*>(row.doc)},
        {Py_tp_new, reinterpret_cast<void*>(&expr_array_new)},
        {Py_tp_dealloc, reinterpret_cast<void*>(&expr_array_dealloc)},
        slot<expr_str<Row>>(Py_tp_str),
        slot<expr_str<Row>>(Py_tp_repr),
        slot<expr_iter>(Py_tp_iter),
        slot<expr_getitem<Row>>(Py_mp_subscript),
        slot<expr_setitem>(Py_mp_ass_subscript),
        slot<expr_length>(Py_mp_length),
        slot<expr_iadd>(Py_nb_inplace_add),
        slot<expr_isub>(Py_nb_inplace_subtract),
        slot<expr_imul>(Py_nb_inplace_multiply),
        {Py_tp_methods, methods},
        {},
    };
    PyType_Spec spec = {row.type_name, sizeof(ExprArray), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots};
    state().*row.type = make_type(spec, state().operand);
}

} // namespace

void make_expr_array_types() {
    make_row<0>();
    make_row<1>();
}

void install_expr_array_members() {
    static PyMethodDef readonly[] = {
        no_args<expr_shape>("shape", "The shape, a tuple of int.\n\nExample: @e.shape  # (3,)"),
        no_args<expr_ndim>("ndim", "The number of dimensions.\n\nExample: @e.ndim  # 1"),
        no_args<expr_size>("size", "The number of cells.\n\nExample: @e.size  # 3"),
        no_args<expr_priority>("__array_priority__", "Tells NumPy to leave operators to this class."),
        {},
    };
    static PyMethodDef quadratic[std::size(readonly)];
    std::ranges::copy(readonly, quadratic);
    fill_in(readonly, kRows[0].words);
    fill_in(quadratic, kRows[1].words);
    add_readonly(state().mlinexpr, readonly);
    add_readonly(state().mquadexpr, quadratic);
}

Ref new_expr_array(PyTypeObject* type, Borrowed array) {
    Ref nd = as_ndarray(array);
    ExprArray* a = allocate<ExprArray>(type);
    Ref result = Ref::steal(as_object(a));
    new (&a->block) BlockRef();
    a->array = nd.release();
    return result;
}

Ref new_mlinexpr(BlockRef block) {
    ExprArray* a = allocate<ExprArray>(state().mlinexpr);
    Ref result = Ref::steal(as_object(a));
    new (&a->block) BlockRef(std::move(block));
    return result;
}

PyObject* array_of(ExprArray& a) {
    if (a.block) {
        Ref made = cells(*a.block);
        a.array = made.release();
        a.block.reset();
    }
    if (!a.array)
        raise(PyExc_AttributeError, "'NoneType' object has no attribute 'shape'");
    return a.array;
}

BlockRef block_of(ExprArray& a) { return a.block ? a.block : block_of_exprs(array_of(a)); }

Shape shape_of(ExprArray& a) { return a.block ? a.block->shape : shape_of(array_of(a)); }

Ref sum_cells(const BlockRef& block, Borrowed array, Borrowed axis) {
    if (block && block->size > 1) {
        if (axis == Py_None)
            return new_mlinexpr(sum(block, -1));
        if (PyLong_CheckExact(axis)) {
            auto dims = static_cast<long>(block->shape.size());
            long k = PyLong_AsLong(axis);
            if (k == -1 && PyErr_Occurred())
                PyErr_Clear();
            else if (k >= -dims && k < dims && block->shape[static_cast<std::size_t>(k < 0 ? k + dims : k)] > 1)
                return new_mlinexpr(sum(block, static_cast<int>(k < 0 ? k + dims : k)));
        }
    }
    Ref made;
    if (!array) {
        made = cells(*block);
        array = made.get();
    }
    Ref total = Ref::steal(PyObject_CallMethod(array, "sum", "(O)", axis));
    return new_expr_array(state().mlinexpr, as_ndarray(total.get()).get());
}

} // namespace tsp
