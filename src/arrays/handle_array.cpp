#include "arrays/handle_array.h"

#include "arrays/expr_array.h"
#include "arrays/wrapped.h"
#include "attr/access.h"
#include "module/readonly.h"

namespace tsp {
namespace {

// What tells the three classes apart.
struct ArrayRow {
    const char *name, *type_name;
    PyTypeObject* State::*type;
    PyTypeObject* State::*element;
    Kind kind;
    const char* more_than_one;
    Words words; // of the examples: class, an array, an attribute that is read, one that is written
    const char* doc;
};
constexpr ArrayRow kArrays[] = {
    {"MVar",
     "tessolvpy.MVar",
     &State::mvar,
     &State::var,
     Kind::Var,
     "MVar contains more than 1 variable",
     {{{"@C", "MVar"}, {"@x", "x"}, {"@A", "X"}, {"@W", "UB"}}},
     "MVar()\n--\n\n"
     "An array of variables, as Model.addMVar makes it, that takes part in NumPy's kind of arithmetic.\n\n"
     "Every attribute of a variable can be read and set for the whole array: x.X, x.lb = 0.\n\n"
     "Example: x = m.addMVar(3); m.addConstr(A @ x <= b)"},
    {"MConstr",
     "tessolvpy.MConstr",
     &State::mconstr,
     &State::constr,
     Kind::Constr,
     "MConstr contains more than 1 constraint",
     {{{"@C", "MConstr"}, {"@x", "c"}, {"@A", "Activity"}, {"@W", "RHS"}}},
     "MConstr()\n--\n\n"
     "An array of linear constraints, as Model.addConstr makes it of a comparison of arrays.\n\n"
     "Every attribute of a constraint can be read and set for the whole array.\n\n"
     "Example: c = m.addConstr(A @ x <= b); m.optimize(); print(c.DualSoln)"},
    {"MQConstr",
     "tessolvpy.MQConstr",
     &State::mqconstr,
     &State::qconstr,
     Kind::QConstr,
     "MQConstr contains more than 1 constraint",
     {{{"@C", "MQConstr"}, {"@x", "qc"}, {"@A", "QCRHS"}, {"@W", "QCRHS"}}},
     "MQConstr()\n--\n\n"
     "An array of quadratic constraints, as Model.addConstr makes it of a comparison of arrays.\n\n"
     "Every attribute of a quadratic constraint can be read and set for the whole array.\n\n"
     "Example: x = m.addMVar(2); c = m.addConstr(x * x <= 4); c.QCRHS = 9"},
};
constexpr int kMVar = 0;

PyArrayObject* ndarray(const HandleArray& self) { return as_array(array_of(self)); }

template <int Row> Ref make(Borrowed array, bool owned) {
    return new_handle_array(state().*kArrays[Row].type, array, owned);
}

PyObject* array_new(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    if (PyTuple_GET_SIZE(args) != 0 || (kwargs && PyDict_GET_SIZE(kwargs) != 0)) {
        PyErr_Format(PyExc_TypeError, "%s() takes no arguments", type->tp_name);
        return nullptr;
    }
    return type->tp_alloc(type, 0);
}

void array_dealloc(PyObject* self) {
    PyTypeObject* type = Py_TYPE(self);
    Py_CLEAR(as_handle_array(self).array);
    type->tp_free(self);
    Py_DECREF(type);
}

// The model of the first element.
template <int Row> TSOmodel model_of(PyArrayObject* a) {
    Ref hold = Ref::steal(PyArray_GETITEM(a, static_cast<char*>(PyArray_DATA(a))));
    PyObject* first = hold.get();
    PyTypeObject* element = state().*kArrays[Row].element;
    if (!is_instance(first, element))
        raise(PyExc_TypeError, "Cannot convert %.200s to %.200s", Py_TYPE(first)->tp_name, element->tp_name);
    return reinterpret_cast<Handle*>(first)->mdl_;
}

// The index of every element, row by row.
template <int Row> std::vector<int> indices(PyArrayObject* a) {
    Ref flat = Ref::steal(PyArray_Ravel(a, NPY_CORDER));
    PyArrayObject* f = as_array(flat.get());
    PyTypeObject* element = state().*kArrays[Row].element;
    std::vector<int> result;
    result.reserve(static_cast<std::size_t>(PyArray_SIZE(f)));
    for (npy_intp i = 0; i < PyArray_SIZE(f); ++i) {
        Ref item = Ref::steal(PyArray_GETITEM(f, static_cast<char*>(PyArray_GETPTR1(f, i))));
        if (Py_TYPE(item.get()) == element) {
            result.push_back(reinterpret_cast<Handle*>(item.get())->index_);
        } else {
            Ref index = Ref::steal(PyObject_GetAttr(item.get(), state().s_index));
            result.push_back(to_int32(index.get()));
        }
    }
    return result;
}

template <int Row> Ref get_attribute(HandleArray& self, Borrowed name) {
    PyArrayObject* a = ndarray(self);
    if (PyArray_SIZE(a) == 0) {
        npy_intp none = 0;
        return Ref::steal(PyArray_SimpleNew(1, &none, NPY_OBJECT));
    }
    Attribute attribute = resolve_attribute(model_of<Row>(a), name, kArrays[Row].kind);
    Ref values = read_attribute_array(attribute, indices<Row>(a));
    PyArray_Dims dims{PyArray_DIMS(a), PyArray_NDIM(a)};
    return Ref::steal(PyArray_Newshape(as_array(values.get()), &dims, NPY_CORDER));
}

template <int Row> void set_attribute(HandleArray& self, Borrowed name, Borrowed values) {
    PyArrayObject* a = ndarray(self);
    if (PyArray_SIZE(a) == 0)
        return;
    Attribute attribute = resolve_attribute(model_of<Row>(a), name, kArrays[Row].kind);
    Ref flat; // texts of an array with more dimensions would be read as rows of characters
    if (PyArray_Check(values) && PyArray_NDIM(as_array(values)) > 1)
        values = (flat = Ref::steal(PyArray_Ravel(as_array(values), NPY_CORDER))).get();
    write_attribute_list(attribute, indices<Row>(a), values);
}

template <int Row> Ref array_getAttr(HandleArray& self, const Call& call) {
    static const Signature<1> signature{"getAttr", {"attrname"}, 1};
    auto [name] = parse(signature, call);
    return get_attribute<Row>(self, name);
}
template <int Row> Ref array_setAttr(HandleArray& self, const Call& call) {
    static const Signature<2> signature{"setAttr", {"attrname", "attrvalues"}, 2};
    auto [name, values] = parse(signature, call);
    set_attribute<Row>(self, name, values);
    return Ref::none();
}

// Ordinary lookup first, then the attributes of the elements. Names that Python and NumPy use among themselves are no
// attributes of elements: an empty array answers any other name.
template <int Row> Ref array_getattro(PyObject* self, PyObject* name) {
    if (PyObject* found = PyObject_GenericGetAttr(self, name))
        return Ref::steal(found);
    if (!PyErr_ExceptionMatches(PyExc_AttributeError))
        throw PythonError();
    if (PyUnicode_GET_LENGTH(name) >= 2 && PyUnicode_READ_CHAR(name, 0) == '_' && PyUnicode_READ_CHAR(name, 1) == '_')
        throw PythonError();
    PyErr_Clear();
    return get_attribute<Row>(as_handle_array(self), name);
}
template <int Row> void array_setattro(PyObject* self, PyObject* name, PyObject* value) {
    if (!value)
        checked(PyObject_GenericSetAttr(self, name, nullptr));
    else
        set_attribute<Row>(as_handle_array(self), name, value);
}

template <int Row> Ref array_copy(HandleArray& self) {
    return make<Row>(Ref::steal(PyArray_NewCopy(ndarray(self), NPY_CORDER)).get(), true);
}
template <int Row> Ref array_diagonal(HandleArray& self) {
    return make<Row>(call_method(array_of(self), "diagonal").get(), self.owned);
}
template <int Row> Ref array_transpose(HandleArray& self) {
    return make<Row>(call_method(array_of(self), "transpose").get(), self.owned);
}
template <int Row> Ref array_reshape(HandleArray& self, const Call& call) {
    Ref method = Ref::steal(PyObject_GetAttrString(array_of(self), "reshape"));
    return make<Row>(
        Ref::steal(PyObject_Vectorcall(method.get(), call.args, static_cast<size_t>(call.nargs), call.kwnames)).get(),
        self.owned);
}
template <int Row> Ref array_new_of(PyObject*, PyObject* array) { return make<Row>(array, !PyArray_Check(array)); }
template <int Row> Ref array_fromlist(PyObject*, PyObject* list) {
    return make<Row>(Ref::steal(PyObject_CallOneArg(state().np_array, list)).get(), true);
}
template <int Row> Ref array_fromvar(PyObject*, PyObject* var) {
    Ref list = Ref::steal(PyList_New(1));
    Py_INCREF(var);
    PyList_SET_ITEM(list.get(), 0, var);
    return array_fromlist<Row>(nullptr, list.get());
}
Ref array_tolist(HandleArray& self) { return call_method(array_of(self), "tolist"); }
Ref mvar_sum(HandleArray& self, const Call& call) {
    static const Signature<1> signature{"sum", {"axis"}, 0};
    auto [axis] = parse(signature, call);
    return sum_cells(block_of(self), array_of(self), axis ? axis : Py_None);
}
template <int Row> Ref array_item(HandleArray& self) { return only_item(ndarray(self), kArrays[Row].more_than_one); }

Ref array_shape(HandleArray& self) { return shape_tuple(shape_of(array_of(self))); }
Ref array_ndim(HandleArray& self) { return Ref::steal(PyLong_FromLong(PyArray_NDIM(ndarray(self)))); }
Ref array_size(HandleArray& self) { return Ref::steal(PyLong_FromSsize_t(PyArray_SIZE(ndarray(self)))); }
Ref array_priority(HandleArray&) { return Ref::steal(PyFloat_FromDouble(1000.0)); }

template <int Row> Ref array_getitem(HandleArray& self, PyObject* key) {
    return make<Row>(indexed(array_of(self), key).get(), self.owned);
}
Py_ssize_t array_length(HandleArray& self) { return length_of(shape_of(array_of(self))); }
Ref array_iter(PyObject* self) { return iterate(self, array_length(as_handle_array(self))); }
template <int Row> Ref array_str(HandleArray& self) { return array_text(kArrays[Row].name, array_of(self)); }

template <int Row> void make_row() {
    static PyMethodDef methods[] = {
        no_args<array_copy<Row>>("copy",
                                 "copy($self, /)\n--\n\nA new array of the same handles.\n\nExample: y = @x.copy()"),
        no_args<array_diagonal<Row>>("diagonal", "diagonal($self, /)\n--\n\nThe diagonal of a matrix.\n\n"
                                                 "Example: d = @x.diagonal()"),
        no_args<array_transpose<Row>>("transpose",
                                      "transpose($self, /)\n--\n\nThe array with its axes reversed; a view.\n\n"
                                      "Example: turned = @x.transpose()"),
        keywords<array_reshape<Row>>("reshape", "reshape($self, /, *shape, order='C')\n--\n\n"
                                                "The same handles in another shape.\n\n"
                                                "shape: integers or a tuple; -1 for what follows from the size.\n"
                                                "order: 'C' by rows, 'F' by columns.\n"
                                                "Raises ValueError for a shape of another size.\n\n"
                                                "Example: y = @x.reshape(2, -1)"),
        as_static_method(one_arg<array_new_of<Row>>(
            "new", "new(array, /)\n--\n\nWraps an array of handles, which is shared; anything else is copied.\n\n"
                   "Example: y = @C.new(numpy.array([a, b]))")),
        as_static_method(one_arg<array_fromlist<Row>>("fromlist", "fromlist(li, /)\n--\n\n"
                                                                  "An array of the handles in a (nested) list.\n\n"
                                                                  "Example: y = @C.fromlist([[a, b], [c, d]])")),
        as_static_method(one_arg<array_fromvar<Row>>(
            Row == kMVar ? "fromvar" : "fromconstr",
            Row == kMVar ? "fromvar(var, /)\n--\n\nAn array of shape (1,) with one handle.\n\n"
                           "var: Var.\n\nExample: y = @C.fromvar(a)"
                         : "fromconstr(constr, /)\n--\n\nAn array of shape (1,) with one handle.\n\n"
                           "constr: a Constr or QConstr.\n\nExample: y = @C.fromconstr(a)")),
        no_args<array_tolist>("tolist", "tolist($self, /)\n--\n\nThe handles as nested lists.\n\nExample: @x.tolist()"),
        no_args<array_item<Row>>("item", "item($self, /)\n--\n\nThe handle in an array of size 1.\n\n"
                                         "Raises ValueError for any other size.\n\nExample: first = @x[0, 1].item()"),
        keywords<array_getAttr<Row>>("getAttr", "getAttr($self, /, attrname)\n--\n\n"
                                                "An attribute of all elements, as an array of the same shape.\n\n"
                                                "attrname: str; @x.@A is the same as @x.getAttr('@A').\n"
                                                "Raises AttributeError for an unknown name, TessolvError if the solver "
                                                "has no value.\n\nExample: values = @x.getAttr('@A')"),
        keywords<array_setAttr<Row>>("setAttr",
                                     "setAttr($self, /, attrname, attrvalues)\n--\n\n"
                                     "Sets an attribute of all elements.\n\n"
                                     "attrname: str, as for getAttr.\n"
                                     "attrvalues: one value for all, or as many as there are elements, row by "
                                     "row.\n"
                                     "Raises ValueError for another number of values.\n\n"
                                     "Example: @x.setAttr('@W', 10.0)"),
        Row == kMVar ? keywords<mvar_sum>("sum", "sum($self, /, axis=None)\n--\n\n"
                                                 "The sum over one axis, or of all variables.\n\n"
                                                 "axis: int, tuple or None.\n\nReturns an MLinExpr.\n\n"
                                                 "Example: m.addConstr(x.sum(axis=1) == 1)")
                     : PyMethodDef{},
        {},
    };
    const ArrayRow& row = kArrays[Row];
    fill_in(methods, row.words);
    PyType_Slot slots[] = {
        {Py_tp_doc, const_cast<char*>(row.doc)},
        {Py_tp_new, reinterpret_cast<void*>(&array_new)},
        {Py_tp_dealloc, reinterpret_cast<void*>(&array_dealloc)},
        slot<array_getattro<Row>>(Py_tp_getattro),
        slot<array_setattro<Row>>(Py_tp_setattro),
        slot<array_str<Row>>(Py_tp_str),
        slot<array_str<Row>>(Py_tp_repr),
        slot<array_iter>(Py_tp_iter),
        slot<array_getitem<Row>>(Py_mp_subscript),
        slot<array_length>(Py_mp_length),
        {Py_tp_methods, methods},
        {},
    };
    PyType_Spec spec = {row.type_name, sizeof(HandleArray), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots};
    state().*row.type = make_type(spec, Row == kMVar ? state().operand : nullptr);
}

template <int Row> void install_row() {
    static PyMethodDef readonly[] = {
        no_args<array_shape>("shape", "The shape, a tuple of int.\n\nExample: rows, columns = @x.shape"),
        no_args<array_ndim>("ndim", "The number of dimensions.\n\nExample: @x.ndim  # 2"),
        no_args<array_size>("size", "The number of elements.\n\nExample: @x.size  # 4"),
        no_args<array_transpose<Row>>("T", "The transpose, a view.\n\nExample: @x.T.shape  # (2, 2)"),
        no_args<array_priority>("__array_priority__", "Tells NumPy to leave operators to this class."),
        {},
    };
    fill_in(readonly, kArrays[Row].words);
    add_readonly(state().*kArrays[Row].type, readonly);
}

} // namespace

void make_handle_array_types() {
    make_row<0>();
    make_row<1>();
    make_row<2>();
}

void install_handle_array_members() {
    install_row<0>();
    install_row<1>();
    install_row<2>();
}

Ref new_handle_array(PyTypeObject* type, Borrowed array, bool owned) {
    Ref nd = as_ndarray(array);
    HandleArray* a = allocate<HandleArray>(type);
    Ref result = Ref::steal(as_object(a));
    a->array = nd.release();
    a->owned = owned;
    return result;
}

PyObject* array_of(const HandleArray& a) {
    if (!a.array)
        raise(PyExc_AttributeError, "'NoneType' object has no attribute 'shape'");
    return a.array;
}

} // namespace tsp
