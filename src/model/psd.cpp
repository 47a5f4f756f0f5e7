// Semi-definite variables, their rows and their part of the objective.
#include "model/psd.h"

#include "expr/arithmetic.h"
#include "expr/kinds.h"
#include "expr/tempconstr.h"
#include "model/rows.h"
#include "module/text.h"
#include "py/args.h"
#include "solver/check.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <map>
#include <new>

namespace tsp {
namespace {

constexpr char kPsdObj[] = "PsdObj";

// Entries of symmetric matrices as the solver takes them.
struct EntryArrays {
    std::vector<int> variable, row, col;
    std::vector<double> value;

    void reserve(std::size_t count) {
        if (count > INT_MAX)
            throw std::bad_alloc();
        for (auto list : {&variable, &row, &col})
            list->reserve(count);
        value.reserve(count);
    }
    void append(int index, const SymMatrix& matrix, double factor) {
        for (const SymEntry& e : matrix.entries()) {
            variable.push_back(index);
            row.push_back(e.row);
            col.push_back(e.col);
            value.push_back(factor * e.value);
        }
    }
    int count() const { return static_cast<int>(value.size()); }
};

// Handles that enter the lists of the mirror before the solver is asked: a variable could not be taken back from it if
// there were no memory then. Unless all goes well, the lists get their old length again.
class Ahead {
public:
    explicit Ahead(std::initializer_list<PyObject*> lists) {
        for (PyObject* list : lists)
            if (list)
                lists_.emplace_back(Ref::borrow(list), PyList_GET_SIZE(list));
    }
    Ahead(const Ahead&) = delete;
    Ahead& operator=(const Ahead&) = delete;
    ~Ahead() {
        if (lists_.empty())
            return;
        SavedError saved;
        for (auto& [list, size] : lists_)
            shorten(list.get(), size);
    }
    void keep() { lists_.clear(); }

private:
    std::vector<std::pair<Ref, Py_ssize_t>> lists_;
};

// A dimension: an int, or what is as good as one.
int checked_dim(Borrowed dim) {
    Ref number = Ref::steal(PyNumber_Index(dim));
    int overflow = 0;
    long long n = PyLong_AsLongLongAndOverflow(number.get(), &overflow);
    if (overflow || n < 1 || n > INT_MAX)
        raise(PyExc_ValueError, "dim must be from 1 to %d, not %S", INT_MAX, number.get());
    return static_cast<int>(n);
}

bool has_sum(Borrowed x) { return is_number(x) || is_var(x) || is_linexpr(x) || is_psdexpr(x); }

Ref as_semidefinite(Borrowed expr) {
    PsdExpr* e = new_psdexpr();
    Ref result = owned(e);
    append_scaled(*e, expr, 1.0);
    return result;
}

} // namespace

Ref model_addPsdVar(Model& self, const Call& call) {
    static const Signature<3> signature{"addPsdVar", {"dim", "obj", "name"}, 1};
    auto [dim, obj, name] = parse(signature, call);
    int n = checked_dim(dim);
    EntryArrays cost;
    if (obj && obj != Py_None) {
        SymRef matrix = read_matrix(obj, n);
        cost.reserve(matrix->entries().size());
        cost.append(0, *matrix, 1.0);
    }
    Ref empty;
    if (!name)
        name = (empty = chars2str("")).get();
    Chars text = str2chars(name);
    PyObject* list = mirror(self.psdvars_);
    Ahead ahead{list};
    Ref handle = append_handle(list, state().psdvar, self);
    check(TSOaddpsdvar(self.mdl_, n, cost.count(), cost.row.data(), cost.col.data(), cost.value.data(), text));
    ahead.keep();
    return handle;
}

Ref add_psd_row(Model& self, Borrowed expr, Borrowed lower, Borrowed upper, const char* name) {
    Ref hold = Ref::borrow(expr);
    const PsdExpr& e = as_psdexpr(expr);
    Sides sides = sides_of(lower, upper, e.linear().constant); // the last step that may run Python code
    RowArrays linear;
    append_row(linear, self, e.linear());
    EntryArrays entries;
    std::vector<int> variables;
    std::size_t total = 0;
    for (int i = 0; i < e.size(); ++i)
        total += e.terms.data()[i].matrix->entries().size();
    entries.reserve(total);
    for (int i = 0; i < e.size(); ++i) {
        const PsdTerm& term = e.terms.data()[i];
        variables.push_back(index_in(self, term.var));
        entries.append(variables.back(), *term.matrix, term.factor);
    }
    std::sort(variables.begin(), variables.end());
    variables.erase(std::unique(variables.begin(), variables.end()), variables.end());
    mirror(self.constrs_);
    model_getPsdConstrs(self); // makes the list if there was none
    Ahead ahead{self.constrs_, self.qconstrs_, self.psdconstrs_};
    add_constr_object(self);
    PyObject* rows = mirror(self.psdconstrs_);
    Ref row = Ref::borrow(PyList_GET_ITEM(rows, PyList_GET_SIZE(rows) - 1));
    check(TSOaddrangepsdconstr(self.mdl_, static_cast<int>(linear.index.size()), static_cast<int>(variables.size()),
                               entries.count(), linear.index.data(), linear.value.data(), entries.variable.data(),
                               entries.row.data(), entries.col.data(), entries.value.data(), sides.lower, sides.upper,
                               name));
    ahead.keep();
    return row;
}

Ref model_addPsdConstr(Model& self, const Call& call) {
    static const Signature<4> signature{"addPsdConstr", {"lhs", "sense", "rhs", "name"}, 1};
    auto [lhs, sense, rhs, name] = parse(signature, call);
    bool no_sense = !sense || sense == Py_None, no_rhs = !rhs || rhs == Py_None;
    Chars holder;
    const char* text = name_or_empty(name, holder);
    if (is_tempconstr(lhs)) {
        if (!no_sense || !no_rhs)
            raise(PyExc_ValueError, "sense and rhs should be None if lhs is a TempConstr");
        const TempConstr& t = as_tempconstr(lhs);
        if (!has_sum(t.expr))
            raise(PyExc_TypeError, "expression in TempConstr should be one of [constant, Var, LinExpr, PsdExpr] type");
        Ref expr = as_semidefinite(t.expr);
        return add_psd_row(self, expr.get(), t.lb, t.ub, text);
    }
    if (!has_sum(lhs))
        raise(PyExc_TypeError, "lhs should be one of [constant, Var, LinExpr, PsdExpr, TempConstr] type");
    if (no_sense || no_rhs)
        raise(PyExc_ValueError, "sense and rhs can not be None if lhs is not a TempConstr");
    if (!has_sum(rhs))
        raise(PyExc_TypeError, "rhs should be one of [constant, Var, LinExpr, PsdExpr] type");
    char code = row_sense(sense);
    if (!code)
        raise_tessolv_error("Invalid sense `%S`", sense);
    Ref expr = as_semidefinite(lhs);
    append_scaled(as_psdexpr(expr.get()), rhs, -1.0);
    Ref zero = Ref::steal(PyLong_FromLong(0));
    return add_psd_row(self, expr.get(), code == TSO_LESS_EQUAL ? Py_None : zero.get(),
                       code == TSO_GREATER_EQUAL ? Py_None : zero.get(), text);
}

PsdCosts psd_costs(Model& self, const PsdExpr& expr) {
    // What the solver would refuse is found before the old objective is gone.
    const LinExpr& linear = expr.linear();
    Py_ssize_t vars = PyList_GET_SIZE(mirror(self.vars_)), psdvars = PyList_GET_SIZE(mirror(self.psdvars_));
    for (int i = 0; i < linear.size(); ++i)
        if (int index = index_in(self, linear.vars.data()[i]); index < 0 || index >= vars)
            throw SolverError(TSO_MODEL_INVALID_COL_IDX);
    std::map<int, std::size_t> places;
    PsdCosts costs;
    for (int i = 0; i < expr.size(); ++i) {
        const PsdTerm& term = expr.terms.data()[i];
        int index = index_in(self, term.var);
        if (index < 0 || index >= psdvars)
            throw SolverError(TSO_MODEL_INVALID_SYM_MAT_IDX);
        auto [place, fresh] = places.try_emplace(index, costs.index.size());
        if (fresh) {
            costs.index.push_back(index);
            costs.matrix.emplace_back();
        }
        auto& entries = costs.matrix[place->second];
        for (SymEntry e : term.matrix->entries()) {
            e.value *= term.factor;
            entries.push_back(e);
        }
    }
    for (auto& entries : costs.matrix) {
        merge_entries(entries);
        for (const SymEntry& e : entries)
            if (!(std::fabs(e.value) < TSO_INFINITY))
                throw SolverError(TSO_MODEL_INVALID_REAL_ATTR_SYM_MAT);
    }
    return costs;
}

void write_psd_costs(Model& self, const PsdCosts& costs) {
    std::vector<const std::vector<SymEntry>*> matrices;
    for (const auto& entries : costs.matrix)
        matrices.push_back(&entries);
    if (!matrices.empty())
        write_matrices(self.mdl_, kPsdObj, costs.index, matrices);
}

namespace {

std::vector<int> psdvar_indices(Model& self) {
    PyObject* list = mirror(self.psdvars_);
    std::vector<int> indices;
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(list); ++i)
        if (is_psdvar(PyList_GET_ITEM(list, i)))
            indices.push_back(index_in(self, PyList_GET_ITEM(list, i)));
    return indices;
}

} // namespace

void clear_psd_costs(Model& self) {
    PsdCosts none;
    none.index = psdvar_indices(self);
    none.matrix.resize(none.index.size());
    write_psd_costs(self, none);
}

void read_psd_costs(Model& self, PsdExpr& to) {
    std::vector<int> indices = psdvar_indices(self);
    if (indices.empty())
        return;
    std::vector<SymRef> matrices = read_matrices(self.mdl_, kPsdObj, indices);
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (indices[i] < 0 || indices[i] >= PyList_GET_SIZE(self.psdvars_))
            raise(PyExc_IndexError, "list index out of range");
        add_term(to.terms, *matrices[i], PyList_GET_ITEM(self.psdvars_, indices[i]));
    }
}

} // namespace tsp
