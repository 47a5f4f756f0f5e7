// The model into a nonlinear problem of SCIP's.
#include "engine/ipopt/engine.h"

#include "core/failure.h"

#include <map>

namespace tso::engine {

// An expression that is given back.
class NlpProblem::Expression {
public:
    explicit Expression(SCIP* scip) : scip_(scip) {}
    Expression(Expression&& other) noexcept : scip_(other.scip_), raw(std::exchange(other.raw, nullptr)) {}
    ~Expression() {
        if (raw)
            SCIPreleaseExpr(scip_, &raw);
    }
    Expression& operator=(Expression&&) = delete;

private:
    SCIP* scip_;

public:
    SCIP_EXPR* raw = nullptr;
};

NlpProblem::NlpProblem(const Model& model) {
    const Columns& cols = model.cols();
    solver = SCIPfindNlpi(scip(), "ipopt");
    if (!solver)
        throw Failure(TSO_ABORT_SOLVER_NOT_AVAILABLE, "SCIP was built without Ipopt");
    must(SCIPcreateNlpiProblem(scip(), solver, &problem, "model"), "a nonlinear problem");
    must(SCIPaddNlpiVars(scip(), solver, problem, cols.size(), cols.lower.data(), cols.upper.data(), nullptr),
         "the variables");
    var_.resize(cols.size());
    const auto need = [&](const std::vector<QuadTerm>& terms) {
        for (const QuadTerm& t : terms)
            for (int j : {t.row, t.col})
                if (!var_[j])
                    must(SCIPcreateExprVaridx(scip(), &var_[j], j, nullptr, nullptr), "a variable");
    };
    need(model.quadratic());
    for (const std::vector<QuadTerm>& terms : model.rows().quadratic)
        need(terms);
    add_rows(model);

    std::vector<int> index;
    std::vector<double> value;
    for (int j = 0; j < cols.size(); ++j)
        if (cols.cost[j] != 0) {
            index.push_back(j);
            value.push_back(model.sense() * cols.cost[j]);
        }
    const Expression quadratic = sum_of(model.quadratic(), model.sense());
    must(SCIPsetNlpiObjective(scip(), solver, problem, static_cast<int>(index.size()), index.data(), value.data(),
                              quadratic.raw, 0.0),
         "the objective");
}

NlpProblem::~NlpProblem() {
    for (SCIP_EXPR*& e : var_)
        if (e)
            SCIPreleaseExpr(scip(), &e);
    if (problem)
        SCIPfreeNlpiProblem(scip(), solver, &problem);
}

// Null if nothing is left of the terms.
NlpProblem::Expression NlpProblem::sum_of(const std::vector<QuadTerm>& terms, double sign) const {
    std::map<std::pair<int, int>, double> cells;
    for (const QuadTerm& t : terms)
        cells[std::minmax(t.row, t.col)] += sign * t.value;
    std::vector<Expression> products;
    std::vector<double> value;
    for (const auto& [at, v] : cells) {
        if (v == 0)
            continue;
        products.emplace_back(scip());
        SCIP_EXPR** made = &products.back().raw;
        if (at.first == at.second) {
            must(SCIPcreateExprPow(scip(), made, var_[at.first], 2.0, nullptr, nullptr), "a square");
        } else {
            SCIP_EXPR* factors[] = {var_[at.first], var_[at.second]};
            must(SCIPcreateExprProduct(scip(), made, 2, factors, 1.0, nullptr, nullptr), "a product");
        }
        value.push_back(v);
    }
    Expression sum(scip());
    std::vector<SCIP_EXPR*> raw;
    for (const Expression& e : products)
        raw.push_back(e.raw);
    if (!raw.empty())
        must(SCIPcreateExprSum(scip(), &sum.raw, static_cast<int>(raw.size()), raw.data(), value.data(), 0.0, nullptr,
                               nullptr),
             "a sum");
    return sum;
}

void NlpProblem::add_rows(const Model& model) {
    const Rows& rows = model.rows();
    const int m = rows.size();
    std::vector<std::vector<int>> index(m);
    std::vector<std::vector<double>> value(m);
    std::vector<int> linear(m);
    std::vector<int*> index_of(m);
    std::vector<double*> value_of(m);
    std::vector<Expression> sums;
    std::vector<SCIP_EXPR*> quadratic(m, nullptr);
    for (int i = 0; i < m; ++i) {
        const auto c = rows.matrix.columns_of(i);
        const auto v = rows.matrix.values_of(i);
        index[i].assign(c.begin(), c.end());
        value[i].assign(v.begin(), v.end());
        linear[i] = static_cast<int>(c.size());
        index_of[i] = index[i].data();
        value_of[i] = value[i].data();
        if (rows.kind_of(i) == RowKind::Quadratic) {
            sums.push_back(sum_of(rows.quadratic[i], 1));
            quadratic[i] = sums.back().raw;
        }
    }
    if (m > 0)
        must(SCIPaddNlpiConstraints(scip(), solver, problem, m, rows.lower.data(), rows.upper.data(), linear.data(),
                                    index_of.data(), value_of.data(), quadratic.data(), nullptr),
             "the rows");
}

} // namespace tso::engine
