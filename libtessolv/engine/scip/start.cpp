// Solutions that a run starts from.
#include "engine/check.h"
#include "engine/scip/engine.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {

// The user's start values where they were given since the last run, otherwise the last incumbent.
void ScipEngine::add_starts(const Model& model, ScipProblem& problem) {
    const Columns& cols = model.cols();
    const bool any_set = std::any_of(cols.start.begin(), cols.start.end(), [](double v) { return v != TSO_UNDEFINED; });
    const bool newly_set = any_set && (set_start_.empty() || set_start_.size() > cols.start.size() ||
                                       !std::equal(set_start_.begin(), set_start_.end(), cols.start.begin()));
    set_start_ = any_set ? cols.start : std::vector<double>();
    for (const std::vector<double>* x : {newly_set || incumbent_.empty() ? &set_start_ : &incumbent_}) {
        if (x->empty())
            continue;
        // What the values that are to stay fixed leave open, SCIP fills in by itself.
        if (!add_start(model, problem, *x, false))
            add_start(model, problem, *x, true);
    }
}

void scip_fill(const Model& model, ScipProblem& problem, SCIP_SOL* sol, const std::vector<double>& value) {
    SCIP* s = problem.object.get();
    for (size_t j = 0; j < problem.columns; ++j)
        must(SCIPsetSolVal(s, sol, problem.object.vars[j], value[j]), "a solution");
    if (problem.objective) {
        long double quadratic = 0;
        for (const QuadTerm& t : model.quadratic())
            quadratic += static_cast<long double>(t.value) * value[t.row] * value[t.col];
        must(SCIPsetSolVal(s, sol, problem.objective, static_cast<double>(quadratic) * problem.scale), "a solution");
    }
    for (const ScipProblem::Slack& slack : problem.slacks) {
        const Indicator& g = model.indicators()[slack.indicator];
        long double sum = -g.rhs;
        for (size_t k = 0; k < g.ind.size(); ++k)
            sum += static_cast<long double>(g.val[k]) * value[g.ind[k]];
        const double over = static_cast<double>(slack.sign * sum);
        if (value[g.binvar] != g.binval && over > 0)
            must(SCIPsetSolVal(s, sol, slack.var, std::ceil(over)), "a solution");
    }
}

// Returns whether the start is complete and feasible as it stands.
bool ScipEngine::add_start(const Model& model, ScipProblem& problem, const std::vector<double>& x, bool discrete_only) {
    SCIP* s = problem.object.get();
    const Columns& cols = model.cols();
    const double tolerance = model.env.params().get_double(Param::MIP_IntegerTolerance);
    std::vector<double> value(cols.size(), TSO_UNDEFINED);
    bool complete = true, any = false;
    for (int j = 0; j < cols.size(); ++j) {
        double v = static_cast<size_t>(j) < x.size() ? x[j] : TSO_UNDEFINED;
        const bool whole = is_whole(cols.type[j]);
        if (v != TSO_UNDEFINED && whole && std::fabs(v - std::round(v)) <= tolerance)
            v = std::round(v);
        const bool zero = is_semi_type(cols.type[j]) && std::fabs(v) <= tolerance;
        const bool outside = v < model.effective_lower(j) - tolerance || v > model.effective_upper(j) + tolerance;
        if (v == TSO_UNDEFINED || (outside && !zero) || (discrete_only && !whole)) {
            complete = false;
            continue;
        }
        value[j] = v;
        any = true;
    }
    if (!any || (complete && discrete_only))
        return false;
    SCIP_SOL* sol = nullptr;
    must(complete ? SCIPcreateOrigSol(s, &sol, nullptr) : SCIPcreatePartialSol(s, &sol, nullptr), "a start");
    SCIP_Bool feasible = 0, stored = 0;
    if (complete) {
        scip_fill(model, problem, sol, value);
        must(SCIPcheckSolOrig(s, sol, &feasible, 0, 0), "a start");
        if (!feasible) {
            must(SCIPfreeSol(s, &sol), "a start");
            return false;
        }
    }
    if (!complete)
        for (int j = 0; j < cols.size(); ++j)
            if (value[j] != TSO_UNDEFINED)
                must(SCIPsetSolVal(s, sol, problem.object.vars[j], value[j]), "a start value");
    must(SCIPaddSolFree(s, &sol, &stored), "a start");
    return feasible;
}

} // namespace tso::engine
