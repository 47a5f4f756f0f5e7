// A run from start to result: SCIP's statuses and solutions as ours.
#include "core/failure.h"
#include "engine/check.h"
#include "engine/scip/engine.h"
#include "engine/scip/scip.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

constexpr double kFeasibilityFactor = 10; // what a solution may violate, in tolerances of the engine
constexpr double kLeastFeasibility = 1e-6;
constexpr double kInfinite = 1e19; // objective values of this size are none
constexpr int kSearchOn = -1;      // no code: the search is to go on
constexpr double kClean = 1e-9;    // violations that do not count as any

struct StatusRow {
    SCIP_STATUS scip;
    int status, code;
};
// Statuses of limits say what ended the run; whether something was found is seen apart.
constexpr StatusRow kStatuses[] = {
    {SCIP_STATUS_UNKNOWN, TSO_STATUS_UNKNOWN, TSO_OKAY},
    {SCIP_STATUS_OPTIMAL, TSO_STATUS_OPTIMAL, TSO_OKAY},
    {SCIP_STATUS_GAPLIMIT, TSO_STATUS_OPTIMAL, TSO_OKAY},
    {SCIP_STATUS_INFEASIBLE, TSO_STATUS_INFEASIBLE, TSO_OKAY},
    {SCIP_STATUS_UNBOUNDED, TSO_STATUS_UNBOUNDED, TSO_OKAY},
    {SCIP_STATUS_INFORUNBD, TSO_STATUS_INF_OR_UBD, TSO_OKAY},
    {SCIP_STATUS_USERINTERRUPT, TSO_STATUS_UNKNOWN, TSO_ABORT_INTERRUPTED},
    {SCIP_STATUS_TERMINATE, TSO_STATUS_UNKNOWN, TSO_ABORT_INTERRUPTED},
    {SCIP_STATUS_TIMELIMIT, TSO_STATUS_UNKNOWN, TSO_ABORT_TIME_LIMIT},
    {SCIP_STATUS_NODELIMIT, TSO_STATUS_UNKNOWN, TSO_ABORT_NODE_LIMIT},
    {SCIP_STATUS_TOTALNODELIMIT, TSO_STATUS_UNKNOWN, TSO_ABORT_NODE_LIMIT},
    {SCIP_STATUS_SOLLIMIT, TSO_STATUS_UNKNOWN, TSO_ABORT_SOLUTION_LIMIT},
    {SCIP_STATUS_BESTSOLLIMIT, TSO_STATUS_UNKNOWN, TSO_ABORT_SOLUTION_LIMIT},
};

// Discrete values where they mean to be and nothing outside of its bounds, where the rows let that.
void tidy(const Model& model, std::vector<double>& x, double tolerance) {
    std::vector<double> y = x;
    for (int j = 0; j < model.cols().size(); ++j) {
        const char type = model.cols().type[j];
        if (is_whole(type) && std::fabs(y[j] - std::round(y[j])) <= tolerance)
            y[j] = std::round(y[j]);
        if (is_semi_type(type) && std::fabs(y[j]) <= tolerance)
            y[j] = 0;
        else if (model.effective_lower(j) <= model.effective_upper(j))
            y[j] = std::clamp(y[j], model.effective_lower(j), model.effective_upper(j));
        y[j] += 0.0; // no negative zero
    }
    const Violations before = violations_of(model, x, activity_of(model, x));
    const Violations after = violations_of(model, y, activity_of(model, y));
    if (after.worst() <= std::max({kClean, before.worst(), before.integrality.by}))
        x = std::move(y);
}

// The same vector for the elements that are left; origins ascend.
void carry(std::vector<double>& v, const std::vector<int>& origin) {
    size_t kept = 0;
    for (; kept < origin.size() && static_cast<size_t>(origin[kept]) < v.size(); ++kept)
        v[kept] = v[origin[kept]];
    v.resize(kept);
}

} // namespace

std::unique_ptr<Engine> make_scip() { return std::make_unique<ScipEngine>(); }

int ScipEngine::solve(Model& model, Run& run, Solution& result) {
    // All but an LP takes a search, whatever its variables are: its gap and its solutions are worth reading.
    result.is_mip = model.is_mip() || !model.sos().empty() || !model.indicators().empty() ||
                    !model.quadratic().empty() || model.num_quadratic_rows() > 0;
    Changes& changes = model.changes;
    if (changes.everything) {
        incumbent_.clear();
        set_start_.clear();
    } else {
        carry(incumbent_, changes.col_origin);
        carry(set_start_, changes.col_origin);
    }
    changes.settle(model.cols().size(), model.rows().size());
    std::string refusal = scip_is_usable() ? scip_refusal(model) : "libtessolv-scip.so is of version " + scip_version();
    if (!refusal.empty()) {
        model.env.log().line("Not for SCIP: " + refusal + ".");
        return TSO_ABORT_SOLVER_NOT_AVAILABLE;
    }
    if (scip_crossing(model)) {
        model.env.log().line("Bounds or sides cross.");
        result.status = TSO_STATUS_INFEASIBLE;
        return TSO_OKAY;
    }
    const Params& p = model.env.params();
    bool open = false; // some variable has a way to go on for ever
    for (int j = 0; j < model.cols().size(); ++j)
        open |= model.cols().lower[j] <= -TSO_INFINITY || model.cols().upper[j] >= TSO_INFINITY;
    for (bool ask_endless : {true, false}) {
        auto problem = std::make_shared<ScipProblem>();
        scip_build(model, *problem);
        scip_set_options(problem->object, model);
        add_starts(model, *problem);
        auto exchange = std::make_shared<ScipExchange>();
        exchange->pool_size = p.get_int(Param::MIP_SolutionPoolSize);
        exchange->stalling_nodes = p.get_int(Param::MIP_MaxStallingNodes);
        exchange->ask_endless = ask_endless && problem->nonlinear && open && !run.callback; // it is asked once
        ScipOutcome outcome = run_scip(model, run, problem, exchange);
        problem.reset();
        const bool unbounded = outcome.status == SCIP_STATUS_UNBOUNDED;
        if (outcome.ended && exchange->ask_endless && (unbounded || exchange->looks_endless)) {
            const int code = tell_end(model, run, *exchange, outcome, result);
            if (code != kSearchOn)
                return code;
            continue;
        }
        const std::vector<double> point = outcome.solutions.empty() ? std::vector<double>() : outcome.solutions.back();
        const int code = read_result(model, run, *exchange, outcome, result);
        if (!is_endless(model, point, result.primal_ray))
            result.primal_ray.clear();
        if (result.status == TSO_STATUS_OPTIMAL && std::fabs(result.objective) >= kInfinite)
            result.status = TSO_STATUS_UNKNOWN; // the end of SCIP's numbers, not of the objective
        return code;
    }
    return TSO_ERROR; // not reached: the second round never continues
}

// What SCIP's claim that there is no end, or the look of it, is worth.
int ScipEngine::tell_end(Model& model, Run& run, ScipExchange& exchange, ScipOutcome& outcome, Solution& result) {
    result.nodes = outcome.nodes;
    result.simplex_iterations = outcome.iterations;
    result.status = TSO_STATUS_UNBOUNDED;
    for (const std::vector<double>& x : outcome.solutions)
        if (is_endless(model, x, outcome.primal_ray)) {
            result.primal_ray = std::move(outcome.primal_ray);
            return TSO_OKAY;
        }
    if (!outcome.solutions.empty() && find_endless(model, run, outcome.solutions.back(), result.primal_ray))
        return TSO_OKAY;
    std::vector<double> best;
    const Growth growth = growth_of(model, run, best);
    if (growth == Growth::Endless)
        return TSO_OKAY;
    result.status = TSO_STATUS_UNKNOWN;
    if (run.interrupt.load() || run.remaining() <= 0)
        outcome.status = SCIP_STATUS_TIMELIMIT;
    else if (outcome.status != SCIP_STATUS_UNBOUNDED)
        return kSearchOn;
    else
        outcome.status = SCIP_STATUS_UNKNOWN;
    model.env.log().line("No bound of the objective was found, and no way to go on for ever.");
    if (!best.empty())
        outcome.solutions.insert(outcome.solutions.begin(), std::move(best));
    outcome.bound = kNoValue;
    return read_result(model, run, exchange, outcome, result);
}

int ScipEngine::read_result(const Model& model, Run& run, ScipExchange& exchange, ScipOutcome& outcome,
                            Solution& result) {
    int code = TSO_SIMPLEX_NUMERIC; // SCIP gave up
    result.status = TSO_STATUS_UNKNOWN;
    for (const StatusRow& row : kStatuses)
        if (outcome.ended && row.scip == outcome.status) {
            result.status = row.status;
            code = row.code;
        }
    if (outcome.return_code != SCIP_OKAY)
        code = TSO_SIMPLEX_NUMERIC;
    std::vector<std::vector<double>> found = std::move(outcome.solutions);
    bool stalled = false;
    {
        std::lock_guard lock(exchange.mutex);
        stalled = exchange.stalled;
        if (outcome.ended) {
            result.nodes = outcome.nodes;
            result.simplex_iterations = outcome.iterations;
            result.presolve_seconds = outcome.presolve_seconds;
            result.bound = outcome.bound;
        } else {
            result.nodes = std::max<int64_t>(0, exchange.news.nodes);
            result.simplex_iterations = std::max<int64_t>(0, exchange.news.iterations);
            result.presolve_seconds = std::max(0.0, exchange.first_node);
            result.bound = exchange.news.bound;
        }
        for (auto e = exchange.pool.rbegin(); e != exchange.pool.rend(); ++e)
            found.push_back(std::move(e->x));
        exchange.pool.clear();
    }
    if (code == TSO_ABORT_INTERRUPTED && stalled && !exchange.stop.load())
        code = TSO_ABORT_STALLING_NODE_LIMIT;
    else if (code == TSO_ABORT_INTERRUPTED || code == TSO_ABORT_TIME_LIMIT || !outcome.ended)
        code = run.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT;

    if (result.status == TSO_STATUS_OPTIMAL || result.status == TSO_STATUS_UNKNOWN)
        read_pool(model, std::move(found), result);
    else
        result.bound = kNoValue;
    if (result.status == TSO_STATUS_UNKNOWN && !result.x.empty())
        result.status = TSO_STATUS_SUB_OPTIMAL;
    if (result.status == TSO_STATUS_OPTIMAL && result.x.empty())
        result.status = TSO_STATUS_UNKNOWN;
    if (result.status == TSO_STATUS_UNBOUNDED)
        result.primal_ray = std::move(outcome.primal_ray);
    return code;
}

// The best of what was found, without repetition; of them the best is the result.
void ScipEngine::read_pool(const Model& model, std::vector<std::vector<double>> found, Solution& result) {
    const Params& p = model.env.params();
    const double whole = p.get_double(Param::MIP_IntegerTolerance);
    const double tolerance = std::max(kLeastFeasibility, kFeasibilityFactor * whole);
    for (std::vector<double>& x : found) {
        tidy(model, x, kFeasibilityFactor * whole);
        const Violations v = violations_of(model, x, activity_of(model, x));
        // The one that SCIP calls optimal is shown with its faults: it is checked again.
        const bool shown = &x == &found.front() && result.status == TSO_STATUS_OPTIMAL;
        if (!shown && (v.worst() > tolerance || v.integrality.by > tolerance))
            continue;
        if (std::any_of(result.pool.begin(), result.pool.end(),
                        [&](const PoolEntry& o) { return same_solution(o.x, x); }))
            continue;
        const double objective = objective_of(model, x);
        result.pool.push_back({objective, std::move(x)});
    }
    std::stable_sort(result.pool.begin(), result.pool.end(), [&](const PoolEntry& a, const PoolEntry& b) {
        return model.sense() * a.objective < model.sense() * b.objective;
    });
    if (result.pool.size() > static_cast<size_t>(p.get_int(Param::MIP_SolutionPoolSize)))
        result.pool.resize(p.get_int(Param::MIP_SolutionPoolSize));
    if (result.pool.empty())
        return;
    result.x = result.pool.front().x;
    incumbent_ = result.x;
    result.activity = activity_of(model, result.x);
    result.objective = objective_of(model, result.x);
    // A bound that is better than the solution only by rounding.
    if (result.status == TSO_STATUS_OPTIMAL &&
        (std::isnan(result.bound) || model.sense() * (result.objective - result.bound) < 0))
        result.bound = result.objective;
    result.gap_abs = std::fabs(result.objective - result.bound);
    result.gap_rel = result.gap_abs / std::max(1e-10, std::fabs(result.objective));
    if (std::isnan(result.bound))
        result.gap_abs = result.gap_rel = TSO_INFINITY;
}

} // namespace tso::engine
