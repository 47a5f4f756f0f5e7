// Model: the objective.
#include "expr/kinds.h"
#include "expr/quadexpr.h"
#include "model/model.h"
#include "model/psd.h"
#include "model/rows.h"
#include "module/text.h"
#include "py/args.h"
#include "solver/check.h"

#include <algorithm>
#include <vector>

namespace tsp {
namespace {

// One attribute of one variable, the way in which every handle reads and writes it: two calls of the solver.
constexpr char kObj[] = "Obj";

void resolve_obj(TSOmodel mdl) {
    int type = 0, owner = 0, flag = 0;
    check(TSOgetattrinfo(mdl, kObj, &type, &owner, &flag));
}
void write_cost(TSOmodel mdl, int index, double cost) {
    resolve_obj(mdl);
    check(TSOsetdblattrlist(mdl, kObj, 1, &index, &cost));
}
double read_cost(TSOmodel mdl, int index) {
    resolve_obj(mdl);
    double cost = 0;
    check(TSOgetdblattrlist(mdl, kObj, 1, &index, &cost));
    return cost;
}

Ref name(const char* text) { return chars2str(text); }

void write_linear(Model& self, const LinExpr& e) {
    // Terms of one variable are added up; variables come in the order of their first term. `places` has one more than
    // where the cost of each index stands, 0 for those without one; what is not in the model, and ends the writing,
    // comes first.
    auto n = static_cast<std::size_t>(e.size());
    std::vector<std::pair<int, double>> costs;
    costs.reserve(n);
    std::vector<std::size_t> places(static_cast<std::size_t>(PyList_GET_SIZE(mirror(self.vars_))) + 1);
    for (std::size_t i = 0; i < n; ++i) {
        int index = index_in(self, e.vars.data()[i]);
        auto at = static_cast<std::size_t>(std::max(index, -1) + 1);
        if (at >= places.size())
            places.resize(at + 1);
        if (places[at] == 0) {
            costs.emplace_back(index, e.coeffs.data()[i]);
            places[at] = costs.size();
        } else {
            costs[places[at] - 1].second += e.coeffs.data()[i];
        }
    }
    for (auto [index, cost] : costs)
        write_cost(self.mdl_, index, cost);
}

void write_quadratic(Model& self, const QuadExpr& q) {
    QuadArrays terms;
    append_terms(terms, self, q);
    check(TSOaddqpterms(self.mdl_, terms.size(), terms.row.data(), terms.col.data(), terms.value.data()));
}

// The list of variables; an error in a shell, which has none.
Ref live_vars(const Model& self) {
    if (self.vars_ == Py_None)
        raise(PyExc_TypeError, "'NoneType' object is not iterable");
    return Ref::borrow(mirror(self.vars_));
}

template <class F> void for_each_var(Borrowed vars, F&& act) {
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(vars); ++i) {
        PyObject* var = PyList_GET_ITEM(vars, i);
        if (is_var(var))
            act(var);
    }
}

} // namespace

Ref model_setObjective(Model& self, const Call& call) {
    static const Signature<2> signature{"setObjective", {"expr", "sense"}, 1};
    auto [expr, sense] = parse(signature, call);
    int32_t direction = sense ? to_int32(sense) : TSO_MAXINT;
    bool quadratic = is_quadexpr(expr), semidefinite = is_psdexpr(expr);
    if (!quadratic && !semidefinite && !is_linexpr(expr))
        raise(PyExc_TypeError, "expr should be one of [LinExpr, QuadExpr, PsdExpr] type");
    Ref hold = Ref::borrow(expr);
    PsdCosts costs;
    if (semidefinite)
        costs = psd_costs(self, as_psdexpr(expr));
    if (direction != TSO_MAXINT) {
        Ref value = Ref::steal(PyLong_FromLong(direction));
        model_set_attribute(self, name("ModelSense").get(), value.get(), Py_None);
    }
    int delq = TSOdelq(self.mdl_);
    Ref vars = live_vars(self);
    for_each_var(vars.get(), [&](PyObject* var) { write_cost(self.mdl_, index_in(self, var), 0.0); });
    clear_psd_costs(self);
    check(delq);
    model_get_attribute(self, name("NumVars").get(), Py_None);
    Ref linear = Ref::borrow(quadratic ? as_quadexpr(expr).linexpr : semidefinite ? as_psdexpr(expr).linexpr : expr);
    Ref constant = Ref::steal(PyFloat_FromDouble(as_linexpr(linear.get()).constant));
    model_set_attribute(self, name("ObjCon").get(), constant.get(), Py_None);
    if (as_linexpr(linear.get()).size() > 0)
        write_linear(self, as_linexpr(linear.get()));
    write_psd_costs(self, costs);
    if (quadratic && as_quadexpr(expr).size() > 0)
        write_quadratic(self, as_quadexpr(expr));
    return Ref::none();
}

Ref model_getObjective(Model& self) {
    LinExpr* le = new_linexpr();
    Ref linear = owned(le);
    Ref constant = model_get_attribute(self, name("objcon").get(), Py_None);
    add_constant(*le, constant.get());
    Ref vars = live_vars(self);
    for_each_var(vars.get(), [&](PyObject* var) { add_term(*le, read_cost(self.mdl_, index_in(self, var)), var); });
    int count = 0;
    check(TSOgetq(self.mdl_, &count, nullptr, nullptr, nullptr));
    auto n = static_cast<std::size_t>(std::max(count, 0));
    std::vector<int> rows(n), cols(n);
    std::vector<double> values(n);
    if (n > 0)
        check(TSOgetq(self.mdl_, &count, rows.data(), cols.data(), values.data()));
    PsdExpr* psd = new_psdexpr();
    Ref semidefinite = owned(psd);
    read_psd_costs(self, *psd);
    if (psd->size() > 0) { // Kept: in which quadratic terms have no place (test_psd.py)
        assign(psd->linexpr, std::move(linear));
        return semidefinite;
    }
    if (n == 0)
        return linear;
    QuadExpr* q = new_quadexpr();
    Ref result = owned(q);
    assign(q->linexpr, std::move(linear));
    for (std::size_t i = 0; i < n; ++i) {
        for (int index : {rows[i], cols[i]})
            if (index < 0 || index >= PyList_GET_SIZE(vars.get()) || !is_var(PyList_GET_ITEM(vars.get(), index)))
                raise(PyExc_IndexError, "list index out of range");
        add_term(*q, values[i], PyList_GET_ITEM(vars.get(), rows[i]), PyList_GET_ITEM(vars.get(), cols[i]));
    }
    if (q->size() == 0)
        return Ref::borrow(q->linexpr);
    return result;
}

} // namespace tsp
