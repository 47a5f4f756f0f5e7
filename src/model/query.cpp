// Model: what rows, columns, sets and general constraints consist of. Every query asks the solver for the sizes first,
// then for the contents.
#include "expr/column.h"
#include "expr/quadexpr.h"
#include "model/elements.h"
#include "py/args.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <vector>

namespace tsp {
namespace {

// Entries of a row or a column as the solver gives them.
struct Terms {
    std::vector<int> index;
    std::vector<double> value;

    explicit Terms(int count) : index(static_cast<std::size_t>(count)), value(static_cast<std::size_t>(count)) {}
    int size() const { return static_cast<int>(index.size()); }
};

// Terms with the model's own variables, into an expression without any.
Ref linexpr_of(const Model& self, const Terms& terms) {
    LinExpr* e = new_linexpr();
    Ref result = owned(e);
    PyTypeObject* var = state().var;
    for (int index : terms.index) // before the first is taken in
        handle_at(self.vars_, var, index);
    int n = terms.size();
    if (n == 0)
        return result;
    double* coeffs = e->coeffs.grow(n);
    PyObject** vars = e->vars.grow(n);
    for (int k = 0; k < n; ++k) {
        auto at = static_cast<std::size_t>(k);
        coeffs[k] = terms.value[at];
        vars[k] = PyList_GET_ITEM(self.vars_, terms.index[at]);
        Py_INCREF(vars[k]);
    }
    e->coeffs.take_in(n);
    e->vars.take_in(n);
    return result;
}

struct RowSize {
    int linear = 0, quadratic = 0;
};

// How many terms a row has; a row with terms that neither kind of expression can hold is refused.
RowSize size_of_row(const Model& self, int row, const char* argument) {
    RowSize size;
    int code =
        TSOgetqconstr(self.mdl_, row, &size.linear, nullptr, nullptr, &size.quadratic, nullptr, nullptr, nullptr);
    if (code == TSO_DATA_NOT_AVAILABLE)
        raise_tessolv_error(code, "Argument '%s' is a semi-definite row, whose terms cannot be read", argument);
    check(code);
    return size;
}

Ref list_of_floats(const std::vector<double>& values) {
    Ref list = Ref::steal(PyList_New(static_cast<Py_ssize_t>(values.size())));
    for (std::size_t i = 0; i < values.size(); ++i)
        PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), Ref::steal(PyFloat_FromDouble(values[i])).release());
    return list;
}

Ref list_of_handles(Borrowed mirror, PyTypeObject* type, const std::vector<int>& indices) {
    Ref list = Ref::steal(PyList_New(static_cast<Py_ssize_t>(indices.size())));
    for (std::size_t i = 0; i < indices.size(); ++i)
        PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i),
                        Ref::borrow(handle_at(mirror, type, indices[i])).release());
    return list;
}

Ref vector_of(npy_intp size, int type) { return Ref::steal(PyArray_SimpleNew(1, &size, type)); }

template <class T> T* data_of(const Ref& array) { return static_cast<T*>(PyArray_DATA(as_array(array.get()))); }

} // namespace

Ref model_getRow(Model& self, const Call& call) {
    static const Signature<1> signature{"getRow", {"constr"}, 1};
    auto [constr] = parse(signature, call);
    int row = index_of_element(self, constr, state().constr, "constr");
    if (size_of_row(self, row, "constr").quadratic > 0)
        raise_tessolv_error(TSO_MODEL_INVALID_ROW_IDX,
                            "Argument 'constr' is a quadratic row, which getQCRow reads by its QConstr");
    int count = 0;
    check(TSOgetconstrs(self.mdl_, &count, nullptr, nullptr, nullptr, row, 1));
    Terms terms(count);
    int begin = 0;
    check(TSOgetconstrs(self.mdl_, &count, &begin, terms.index.data(), terms.value.data(), row, 1));
    return linexpr_of(self, terms);
}

Ref model_getCol(Model& self, const Call& call) {
    static const Signature<1> signature{"getCol", {"var"}, 1};
    auto [var] = parse(signature, call);
    int col = index_of_element(self, var, state().var, "var");
    int count = 0;
    check(TSOgetvars(self.mdl_, &count, nullptr, nullptr, nullptr, col, 1));
    Terms terms(count);
    int begin = 0;
    check(TSOgetvars(self.mdl_, &count, &begin, terms.index.data(), terms.value.data(), col, 1));
    Ref column = Ref::steal(PyObject_CallNoArgs(as_object(state().column)));
    assign(as_column(column.get()).coeffs_, list_of_floats(terms.value));
    assign(as_column(column.get()).constrs_, list_of_handles(self.constrs_, state().constr, terms.index));
    return column;
}

Ref model_getA(Model& self) {
    // The solver's own counts: the shape must hold every index, whatever has become of the lists of handles.
    int rows = model_count(self, "NumConstrs"), cols = model_count(self, "NumVars"), count = 0;
    check(TSOgetconstrs(self.mdl_, &count, nullptr, nullptr, nullptr, 0, rows));
    Ref begin = vector_of(static_cast<npy_intp>(rows) + 1, NPY_INT32);
    Ref index = vector_of(count, NPY_INT32), value = vector_of(count, NPY_FLOAT64);
    check(TSOgetconstrs(self.mdl_, &count, data_of<int>(begin), data_of<int>(index), data_of<double>(value), 0, rows));
    data_of<int>(begin)[rows] = count;
    // SciPy takes these arrays over as they are, and is told what it would otherwise find out by passes over them.
    Ref module = Ref::steal(PyImport_ImportModule("scipy.sparse"));
    Ref type = Ref::steal(PyObject_GetAttrString(module.get(), "csr_matrix"));
    Ref args = Ref::steal(Py_BuildValue("((OOO)(ii))", value.get(), index.get(), begin.get(), rows, cols));
    Ref matrix = Ref::steal(PyObject_CallObject(type.get(), args.get()));
    checked(PyObject_SetAttrString(matrix.get(), "has_canonical_format", Py_True));
    return matrix;
}

Ref model_getCoeff(Model& self, const Call& call) {
    static const Signature<2> signature{"getCoeff", {"constr", "var"}, 2};
    auto [constr, var] = parse(signature, call);
    int row = index_of_element(self, constr, state().constr, "constr");
    int col = index_of_element(self, var, state().var, "var");
    double value = 0;
    check(TSOgetcoeff(self.mdl_, row, col, &value));
    return Ref::steal(PyFloat_FromDouble(value));
}

Ref model_getQCRow(Model& self, const Call& call) {
    static const Signature<1> signature{"getQCRow", {"qconstr"}, 1};
    auto [qconstr] = parse(signature, call);
    int row = index_of_element(self, qconstr, state().qconstr, "qconstr");
    RowSize size = size_of_row(self, row, "qconstr");
    Terms linear(size.linear), quadratic(size.quadratic);
    std::vector<int> col(static_cast<std::size_t>(size.quadratic));
    check(TSOgetqconstr(self.mdl_, row, &size.linear, linear.index.data(), linear.value.data(), &size.quadratic,
                        quadratic.index.data(), col.data(), quadratic.value.data()));
    QuadExpr* q = new_quadexpr();
    Ref result = owned(q);
    assign(q->linexpr, linexpr_of(self, linear));
    PyTypeObject* var = state().var;
    reserve_terms(*q, quadratic.size());
    for (std::size_t k = 0; k < col.size(); ++k)
        add_term(*q, quadratic.value[k], handle_at(self.vars_, var, quadratic.index[k]),
                 handle_at(self.vars_, var, col[k]));
    return result;
}

Ref model_getSOS(Model& self, const Call& call) {
    static const Signature<1> signature{"getSOS", {"sos"}, 1};
    auto [sos] = parse(signature, call);
    int set = index_of_element(self, sos, state().sos, "sos");
    int count = 0, type = 0, begin = 0;
    check(TSOgetsos(self.mdl_, &count, nullptr, nullptr, nullptr, nullptr, set, 1));
    Terms members(count);
    check(TSOgetsos(self.mdl_, &count, &type, &begin, members.index.data(), members.value.data(), set, 1));
    Ref vars = list_of_handles(self.vars_, state().var, members.index), weights = list_of_floats(members.value);
    return Ref::steal(Py_BuildValue("iOO", type, vars.get(), weights.get()));
}

Ref model_getGenConstrIndicator(Model& self, const Call& call) {
    static const Signature<1> signature{"getGenConstrIndicator", {"genconstr"}, 1};
    auto [genconstr] = parse(signature, call);
    int which = index_of_element(self, genconstr, state().genconstr, "genconstr");
    int binvar = 0, binval = 0, count = 0;
    char sense = 0;
    double rhs = 0;
    check(TSOgetgenconstrIndicator(self.mdl_, which, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr));
    Terms terms(count);
    check(TSOgetgenconstrIndicator(self.mdl_, which, &binvar, &binval, &count, terms.index.data(), terms.value.data(),
                                   &sense, &rhs));
    Ref expr = linexpr_of(self, terms);
    Borrowed binary = handle_at(self.vars_, state().var, binvar);
    return Ref::steal(Py_BuildValue("OiOCd", binary, binval, expr.get(), sense, rhs));
}

} // namespace tsp
