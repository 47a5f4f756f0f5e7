#include "expr/column.h"

#include "expr/linexpr.h"
#include "module/state.h"
#include "py/args.h"
#include "solver/check.h"

namespace tsp {
namespace {

PyObject* column_new(PyTypeObject* type, PyObject*, PyObject*) {
    PyObject* self = type->tp_alloc(type, 0);
    if (!self)
        return nullptr;
    as_column(self).coeffs_ = PyList_New(0);
    as_column(self).constrs_ = PyList_New(0);
    if (!as_column(self).coeffs_ || !as_column(self).constrs_)
        Py_CLEAR(self);
    return self;
}

int column_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    Py_VISIT(as_column(self).coeffs_);
    Py_VISIT(as_column(self).constrs_);
    return 0;
}
int column_clear_refs(PyObject* self) {
    Py_CLEAR(as_column(self).coeffs_);
    Py_CLEAR(as_column(self).constrs_);
    return 0;
}
void column_dealloc(PyObject* self) {
    PyObject_GC_UnTrack(self);
    column_clear_refs(self);
    plain_dealloc(self);
}

void append(Column& self, Borrowed coeff, Borrowed constr) {
    checked(PyList_Append(self.coeffs_, coeff));
    if (PyList_Append(self.constrs_, constr) < 0) {
        SavedError saved;
        PySequence_DelItem(self.coeffs_, -1);
        PyErr_Clear();
        throw PythonError();
    }
}

bool is_constr(Borrowed o) { return is_instance(o, state().constr); }

void add_terms(Column& self, Borrowed coeffs, Borrowed constrs) {
    if (!is_term_array(coeffs)) {
        if (!is_constr(constrs))
            raise_tessolv_error("Expect a constr");
        append(self, coeffs, constrs);
        return;
    }
    Py_ssize_t size = PyObject_Size(coeffs);
    if (size < 0)
        throw PythonError();
    for (Py_ssize_t i = 0; i < size; ++i) {
        Ref index = Ref::steal(PyLong_FromSsize_t(i));
        Ref coeff = Ref::steal(PyObject_GetItem(coeffs, index.get()));
        Ref constr = Ref::steal(PyObject_GetItem(constrs, index.get()));
        if (!is_constr(constr.get()))
            raise_tessolv_error("Expect a list of constr");
        append(self, coeff.get(), constr.get());
    }
}

void clear(Column& self) {
    assign(self.coeffs_, Ref::steal(PyList_New(0)));
    assign(self.constrs_, Ref::steal(PyList_New(0)));
}

void column_init(Column& self, PyObject* args, PyObject* kwargs) {
    static const Signature<2> signature{"__init__", {"coeffs", "constrs"}, 0};
    auto [coeffs, constrs] = parse(signature, args, kwargs);
    clear(self);
    bool no_coeffs = !coeffs || coeffs == Py_None, no_constrs = !constrs || constrs == Py_None;
    if (no_coeffs && no_constrs)
        return;
    if (no_coeffs)
        raise_tessolv_error("Argument `coeffs` cannot be None");
    if (no_constrs)
        raise_tessolv_error("Argument `constrs` cannot be None");
    add_terms(self, coeffs, constrs);
}

Ref column_addTerms(Column& self, const Call& call) {
    static const Signature<2> signature{"addTerms", {"coeffs", "constrs"}, 2};
    auto [coeffs, constrs] = parse(signature, call);
    add_terms(self, coeffs, constrs);
    return Ref::none();
}

Ref item_at(const Column& self, PyObject* Column::*field, const Call& call, const Signature<1>& signature) {
    auto [index] = parse(signature, call);
    int32_t i = to_int32(index); // may run Python code, which changes the lists
    Borrowed list = self.*field;
    if (i < 0 || i >= PyList_GET_SIZE(list))
        raise(PyExc_IndexError, "list index out of range");
    return Ref::borrow(PyList_GET_ITEM(list, i));
}
Ref column_getCoeff(Column& self, const Call& call) {
    static const Signature<1> signature{"getCoeff", {"index"}, 1};
    return item_at(self, &Column::coeffs_, call, signature);
}
Ref column_getConstr(Column& self, const Call& call) {
    static const Signature<1> signature{"getConstr", {"index"}, 1};
    return item_at(self, &Column::constrs_, call, signature);
}
Ref column_size(Column& self) { return Ref::steal(PyLong_FromSsize_t(PyList_GET_SIZE(self.coeffs_))); }

Ref column_remove(Column& self, const Call& call) {
    static const Signature<1> signature{"remove", {"item"}, 1};
    auto [item] = parse(signature, call);
    bool by_index = PyLong_Check(item);
    if (!by_index && !is_constr(item))
        raise(PyExc_TypeError, "Argument `item` should be an integer or Constr");
    int at = by_index ? position(item) : -1; // out of range: nothing is removed
    Ref coeffs = Ref::steal(PyList_New(0)), constrs = Ref::steal(PyList_New(0));
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(self.coeffs_); ++i) {
        Ref coeff = Ref::borrow(PyList_GET_ITEM(self.coeffs_, i)),
            constr = Ref::borrow(PyList_GET_ITEM(self.constrs_, i));
        if (by_index ? i == at : same_element(constr.get(), item)) // may run Python code, which changes the lists
            continue;
        checked(PyList_Append(coeffs.get(), coeff.get()));
        checked(PyList_Append(constrs.get(), constr.get()));
    }
    assign(self.coeffs_, std::move(coeffs));
    assign(self.constrs_, std::move(constrs));
    return Ref::none();
}

Ref column_clear(Column& self) {
    clear(self);
    return Ref::none();
}

Ref column_copy(Column& self) {
    return Ref::steal(PyObject_CallFunctionObjArgs(as_object(state().column), self.coeffs_, self.constrs_, nullptr));
}

PyMethodDef column_methods[] = {
    keywords<column_addTerms>("addTerms", "addTerms($self, coeffs, constrs)\n--\n\n"
                                          "Adds terms.\n\n"
                                          "coeffs: a number, or a list, tuple or array of numbers.\n"
                                          "constrs: a Constr for one number; otherwise as many Constr, by position.\n"
                                          "Raises TessolvError for what is no Constr.\n\n"
                                          "Example: col.addTerms([1.0, 2.0], [c1, c2])"),
    keywords<column_getCoeff>("getCoeff", "getCoeff($self, index)\n--\n\n"
                                          "The coefficient of a term.\n\n"
                                          "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                          "Example: col.getCoeff(0)"),
    keywords<column_getConstr>("getConstr", "getConstr($self, index)\n--\n\n"
                                            "The constraint of a term.\n\n"
                                            "index: int, from 0. Raises IndexError outside of the terms.\n\n"
                                            "Example: col.getConstr(0)"),
    no_args<column_size>("size", "size($self)\n--\n\nThe number of terms.\n\nExample: col.size()"),
    keywords<column_remove>("remove",
                            "remove($self, item)\n--\n\n"
                            "Takes out terms.\n\n"
                            "item: int, the position of a term (none there, nothing happens), or Constr, all\n"
                            "terms of that constraint. Raises TypeError for anything else.\n\n"
                            "Example: col.remove(c1)"),
    no_args<column_clear>("clear", "clear($self)\n--\n\nTakes out all terms.\n\nExample: col.clear()"),
    no_args<column_copy>("copy", "copy($self)\n--\n\nA copy of the column.\n\nExample: col.copy()"),
    {},
};

PyType_Slot column_slots[] = {
    {Py_tp_doc, const_cast<char*>("Column(coeffs=None, constrs=None)\n--\n\n"
                                  "The coefficients in existing rows of a variable that is yet to be made.\n\n"
                                  "coeffs, constrs: as for addTerms; both None for an empty column.\n"
                                  "Raises TessolvError if only one of them is given or for what is no Constr.\n\n"
                                  "Example: m.addVar(obj=1.0, column=Column([2.0, 1.0], [c1, c2]))")},
    {Py_tp_new, reinterpret_cast<void*>(&column_new)},
    slot<column_init>(Py_tp_init),
    {Py_tp_traverse, reinterpret_cast<void*>(&column_traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(&column_clear_refs)},
    {Py_tp_dealloc, reinterpret_cast<void*>(&column_dealloc)},
    {Py_tp_methods, column_methods},
    {},
};
PyType_Spec column_spec = {"tessolvpy.Column", sizeof(Column), 0,
                           Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC, column_slots};

} // namespace

PyTypeObject* make_column_type() { return make_type(column_spec); }

} // namespace tsp
