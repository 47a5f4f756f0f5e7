// A run from start to result. Ipopt tells only where it has arrived: anything but an optimum is for others to explain.
#include "engine/check.h"
#include "engine/ipopt/engine.h"
#include "engine/ipopt/ipopt.h"
#include "engine/scip/threads.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace tso::engine {
namespace {

constexpr int kIterations = 3000; // where the user sets no limit: convex problems take tens
constexpr double kLeastTolerance = 1e-10;
constexpr double kSmall = 1e-7; // a violation that values on their bounds are worth
constexpr int kSweeps = 50;
constexpr double kNearBound = 1e-6; // a value this close to a bound may be meant to be there

// All that the worker touches.
struct Job {
    std::shared_ptr<NlpProblem> nlp;
    std::shared_ptr<NlpOutcome> outcome;
    SCIP_NLPPARAM settings;
    int columns, rows, sense;

    void operator()() {
        SCIP* s = nlp->scip();
        NlpOutcome& o = *outcome;
        o.return_code = SCIPsolveNlpiParam(s, nlp->solver, nlp->problem, settings);
        if (o.return_code != SCIP_OKAY)
            return;
        o.status = SCIPgetNlpiSolstat(s, nlp->solver, nlp->problem);
        o.ended = SCIPgetNlpiTermstat(s, nlp->solver, nlp->problem);
        SCIP_NLPSTATISTICS statistics{};
        if (SCIPgetNlpiStatistics(s, nlp->solver, nlp->problem, &statistics) == SCIP_OKAY)
            o.iterations = statistics.niterations;
        double *x = nullptr, *dual = nullptr;
        if (o.status > SCIP_NLPSOLSTAT_FEASIBLE ||
            SCIPgetNlpiSolution(s, nlp->solver, nlp->problem, &x, &dual, nullptr, nullptr, nullptr) != SCIP_OKAY || !x)
            return;
        o.x.assign(x, x + columns);
        if (dual && o.status <= SCIP_NLPSOLSTAT_LOCOPT)
            for (int i = 0; i < rows; ++i)
                o.dual.push_back(-sense * dual[i]); // positive there where a minimum has its upper side tight
    }
};

// Whether the value rests on a bound or side that a price claims to be tight. It never does so to the last digit.
bool rests_on(double value, double side, double price) {
    const double slack = std::fabs(value - side);
    return std::fabs(side) < TSO_INFINITY && slack <= kNearBound * std::max(1.0, std::fabs(side)) &&
           std::fabs(price) > slack;
}

// Values that were moved to their bounds leave rows a little behind. Those between theirs make up for it, row by row,
// in the way that changes them least.
void repair(const Model& model, const std::vector<char>& fixed, std::vector<double>& x) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    std::vector<double> slope(cols.size(), 0.0);
    std::vector<int> touched;
    const auto add = [&](int j, double v) {
        if (slope[j] == 0)
            touched.push_back(j);
        slope[j] += v;
    };
    for (int sweep = 0; sweep < kSweeps; ++sweep) {
        bool moved = false;
        for (int i = 0; i < rows.size(); ++i) {
            touched.clear();
            long double activity = 0;
            const auto c = rows.matrix.columns_of(i);
            const auto v = rows.matrix.values_of(i);
            for (size_t k = 0; k < c.size(); ++k) {
                activity += static_cast<long double>(v[k]) * x[c[k]];
                add(c[k], v[k]);
            }
            if (rows.kind_of(i) == RowKind::Quadratic)
                for (const QuadTerm& t : rows.quadratic[i]) {
                    activity += static_cast<long double>(t.value) * x[t.row] * x[t.col];
                    add(t.row, t.value * x[t.col]);
                    add(t.col, t.value * x[t.row]);
                }
            const double value = static_cast<double>(activity);
            const double missing = std::clamp(value, rows.lower[i], rows.upper[i]) - value;
            const bool holds = std::fabs(missing) <= 1e-12 * std::max(1.0, std::fabs(value));
            double square = 0;
            for (int j : touched)
                square += fixed[j] ? 0 : slope[j] * slope[j];
            for (int j : touched) {
                if (!holds && !fixed[j] && square > 1e-12) {
                    x[j] = std::clamp(x[j] + missing * slope[j] / square, cols.lower[j], cols.upper[j]);
                    moved = true;
                }
                slope[j] = 0;
            }
        }
        if (!moved)
            return;
    }
}

// Values on their bounds, no prices but on tight sides: what an interior point leaves a little open.
void settle(const Model& model, Solution& s) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    std::vector<double> x = s.x;
    std::vector<char> fixed(x.size());
    s.reduced_cost = reduced_costs(model, s.x, s.dual);
    for (int j = 0; j < cols.size(); ++j) {
        const double price = model.sense() * s.reduced_cost[j];
        fixed[j] = rests_on(x[j], price > 0 ? cols.lower[j] : cols.upper[j], price);
        if (fixed[j])
            x[j] = price > 0 ? cols.lower[j] : cols.upper[j];
        x[j] = std::clamp(x[j], cols.lower[j], cols.upper[j]) + 0.0;
    }
    repair(model, fixed, x);
    const double before = violations_of(model, s.x, activity_of(model, s.x)).worst();
    if (violations_of(model, x, activity_of(model, x)).worst() <= std::max(kSmall, before))
        s.x = std::move(x);
    s.activity = activity_of(model, s.x);
    for (int i = 0; i < rows.size(); ++i) {
        const double price = model.sense() * s.dual[i], side = price > 0 ? rows.lower[i] : rows.upper[i];
        const bool tight = std::fabs(side) < TSO_INFINITY && std::fabs(s.activity[i] - side) <= std::fabs(price);
        if (!tight && std::fabs(price) <= kNearBound)
            s.dual[i] = 0;
    }
    s.reduced_cost = reduced_costs(model, s.x, s.dual);
}

bool crosses(const Model& model) {
    for (int j = 0; j < model.cols().size(); ++j)
        if (model.cols().lower[j] > model.cols().upper[j])
            return true;
    for (int i = 0; i < model.rows().size(); ++i)
        if (model.rows().lower[i] > model.rows().upper[i])
            return true;
    return false;
}

} // namespace

std::unique_ptr<Engine> make_ipopt() { return std::make_unique<IpoptEngine>(); }

int IpoptEngine::solve(Model& model, Run& run, Solution& result) {
    model.changes.settle(model.cols().size(), model.rows().size());
    Log& log = model.env.log();
    if (!scip_is_usable()) {
        log.line("Not for Ipopt: libtessolv-scip.so is of version " + scip_version() + ".");
        return TSO_ABORT_SOLVER_NOT_AVAILABLE;
    }
    if (crosses(model)) {
        log.line("Not for Ipopt: bounds or sides cross.");
        return TSO_ABORT_SOLVER_NOT_AVAILABLE;
    }
    const Params& p = model.env.params();
    const int most = p.get_int(Param::IPM_MaxIterations);
    std::shared_ptr<NlpProblem> nlp;
    on_scip_thread([&] {
        const auto free = [](NlpProblem* problem) { on_scip_thread([problem] { delete problem; }); };
        nlp = std::shared_ptr<NlpProblem>(new NlpProblem(model), free);
    });
    auto outcome = std::make_shared<NlpOutcome>();
    auto flag = std::make_shared<StopFlag>();
    const double left = std::clamp(run.remaining(), 1e-3, 1e6);
    const SCIP_NLPPARAM settings{-DBL_MAX,
                                 std::max(kLeastTolerance, p.get_double(Param::IPM_PrimalTolerance)),
                                 std::max(kLeastTolerance, std::min(p.get_double(Param::IPM_DualTolerance),
                                                                    p.get_double(Param::IPM_GapTolerance))),
                                 0,
                                 left,
                                 std::min(most, kIterations),
                                 0,
                                 SCIP_NLPPARAM_FASTFAIL_OFF,
                                 0,
                                 0,
                                 nullptr};
    Job job{nlp, outcome, settings, model.cols().size(), model.rows().size(), model.sense()};
    const bool ended = run_on_worker(
        run, flag, [job = std::move(job)]() mutable { on_scip_thread(std::ref(job)); },
        [&] {
            if (flag->stop.load())
                nlp->object.interrupt();
        });
    const int stopped = run.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT;
    if (!ended)
        return stopped;
    result.ipm_iterations = outcome->iterations;
    if (!outcome->x.empty()) {
        result.x = std::move(outcome->x);
        result.dual = std::move(outcome->dual);
        if (result.dual.size() == static_cast<size_t>(model.rows().size()) &&
            outcome->status <= SCIP_NLPSOLSTAT_LOCOPT) {
            settle(model, result);
            result.status = TSO_STATUS_OPTIMAL;
        } else {
            result.status = TSO_STATUS_SUB_OPTIMAL;
            result.dual.clear();
        }
        result.activity = activity_of(model, result.x);
        result.objective = objective_of(model, result.x);
        if (result.status == TSO_STATUS_OPTIMAL) {
            result.bound = result.objective - model.sense() * complementarity(model, result.x, result.activity,
                                                                              result.reduced_cost, result.dual);
            return TSO_OKAY;
        }
    }
    if (outcome->ended == SCIP_NLPTERMSTAT_INTERRUPT || outcome->ended == SCIP_NLPTERMSTAT_TIMELIMIT || flag->stop)
        return stopped;
    if (outcome->ended == SCIP_NLPTERMSTAT_ITERLIMIT && most < kIterations)
        return TSO_ABORT_ITERATION_LIMIT;
    log.printf("Ipopt ended without an optimum (status %d, %d).", static_cast<int>(outcome->status),
               static_cast<int>(outcome->ended));
    return TSO_OKAY;
}

// Ipopt can't tell why there is no point.
int IpoptEngine::iis(Model&, Run&, Solution&) { return TSO_IIS_NO_SOLN; }

} // namespace tso::engine
