// A run from start to result: HiGHS's statuses and vectors as ours.
#include "engine/check.h"
#include "engine/highs/engine.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

constexpr double kFeasibilityFactor = 10; // what an answer may violate, in tolerances of the engine: it scales
constexpr double kLeastFeasibility = 1e-6;

struct StatusRow {
    int highs;
    int status, code;
};
// Statuses of limits say what ended the run; whether something was found is seen apart.
constexpr StatusRow kStatuses[] = {
    {kHighsModelStatusModelEmpty, TSO_STATUS_OPTIMAL, TSO_OKAY},
    {kHighsModelStatusOptimal, TSO_STATUS_OPTIMAL, TSO_OKAY},
    {kHighsModelStatusInfeasible, TSO_STATUS_INFEASIBLE, TSO_OKAY},
    {kHighsModelStatusUnboundedOrInfeasible, TSO_STATUS_INF_OR_UBD, TSO_OKAY},
    {kHighsModelStatusUnbounded, TSO_STATUS_UNBOUNDED, TSO_OKAY},
    {kHighsModelStatusTimeLimit, TSO_STATUS_UNKNOWN, TSO_ABORT_TIME_LIMIT},
    {kHighsModelStatusIterationLimit, TSO_STATUS_UNKNOWN, TSO_ABORT_ITERATION_LIMIT},
    {kHighsModelStatusSolutionLimit, TSO_STATUS_UNKNOWN, TSO_ABORT_SOLUTION_LIMIT},
    {kHighsModelStatusInterrupt, TSO_STATUS_UNKNOWN, TSO_ABORT_INTERRUPTED},
};

// sum of y_i * row i >= the worth of the sides, while the columns allow less: the difference, relative.
double proof_of(const Model& model, const std::vector<double>& y, double sign) {
    const Rows& rows = model.rows();
    const Columns& cols = model.cols();
    std::vector<double> combined(cols.size(), 0.0);
    long double side = 0;
    double scale = 0;
    for (int i = 0; i < rows.size(); ++i) {
        const double v = sign * y[i];
        if (v == 0)
            continue;
        const double bound = v > 0 ? rows.lower[i] : rows.upper[i];
        if (std::fabs(bound) >= TSO_INFINITY) {
            if (std::fabs(v) > 1e-9)
                return -1;
            continue;
        }
        side += static_cast<long double>(v) * bound;
        scale = std::max(scale, std::fabs(v));
        const auto c = rows.matrix.columns_of(i);
        const auto a = rows.matrix.values_of(i);
        for (size_t k = 0; k < c.size(); ++k)
            combined[c[k]] += v * a[k];
    }
    for (int j = 0; j < cols.size(); ++j) {
        if (std::fabs(combined[j]) <= 1e-9 * std::max(1.0, scale))
            continue;
        const double bound = combined[j] > 0 ? cols.upper[j] : cols.lower[j];
        if (std::fabs(bound) >= TSO_INFINITY)
            return -1;
        side -= static_cast<long double>(combined[j]) * bound;
    }
    return static_cast<double>(side) / std::max(scale, 1e-300);
}

// Whether the objective gets better without end along the ray and every bound and side lets it.
bool is_unbounded_along(const Model& model, const std::vector<double>& ray) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    double size = 0, gain = 0;
    for (size_t j = 0; j < ray.size(); ++j) {
        size = std::max(size, std::fabs(ray[j]));
        gain -= model.sense() * cols.cost[j] * ray[j];
    }
    const double tolerance = 1e-6 * size;
    for (int j = 0; j < cols.size(); ++j)
        if ((ray[j] > tolerance && cols.upper[j] < TSO_INFINITY) ||
            (ray[j] < -tolerance && cols.lower[j] > -TSO_INFINITY))
            return false;
    for (int i = 0; i < rows.size(); ++i) {
        double sum = 0, largest = 1;
        const auto c = rows.matrix.columns_of(i);
        const auto a = rows.matrix.values_of(i);
        for (size_t k = 0; k < c.size(); ++k) {
            sum += a[k] * ray[c[k]];
            largest = std::max(largest, std::fabs(a[k]));
        }
        if ((sum > tolerance * largest && rows.upper[i] < TSO_INFINITY) ||
            (sum < -tolerance * largest && rows.lower[i] > -TSO_INFINITY))
            return false;
    }
    return gain > 0;
}

} // namespace

std::unique_ptr<Engine> make_highs() { return std::make_unique<HighsEngine>(); }

int HighsEngine::solve(Model& model, Run& run, Solution& result) {
    result.is_mip = model.is_mip();
    if (const std::string reason = unsupported(model); !reason.empty()) {
        model.env.log().line("HiGHS cannot take this model: " + reason + ".");
        return TSO_ABORT_SOLVER_NOT_AVAILABLE;
    }
    update(model);
    set_options(*object_, model);
    auto exchange = std::make_shared<HighsExchange>();
    exchange->columns = model.cols().size();
    exchange->pool_size = result.is_mip ? model.env.params().get_int(Param::MIP_SolutionPoolSize) : 1;
    exchange->stalling_nodes = model.env.params().get_int(Param::MIP_MaxStallingNodes);
    const HighsExtras extras = add_extras(model);
    if (careful_)
        shun_errors();
    else if (result.is_mip)
        start_from_solution(model);
    else if (!has_quadratic_)
        start_from_basis(model);
    const HighsOutcome outcome = run_highs(model, run, exchange);
    const int code = read_result(model, run, *exchange, outcome, result);
    if (object_)
        remove_extras(model, extras);
    if (result.is_mip)
        polish(model, run, result);
    // What is convex and has no end has a direction without one: without it, HiGHS went wrong.
    if (has_quadratic_ && result.status == TSO_STATUS_UNBOUNDED && !find_quadratic_ray(model, run, result) &&
        !run.interrupt.load() && run.remaining() > 0)
        result.status = TSO_STATUS_UNKNOWN;
    careful_ = false;
    return code;
}

// A run from the beginning, without what may have brought the errors in.
void HighsEngine::shun_errors() {
    Highs_clearSolver(object_->get());
    object_->set("presolve", "off");
    object_->set("simplex_scale_strategy", 0);
    object_->set("qp_regularization_value", 0.0);
    object_->set("solver", "choose"); // rather than what the user asked for
    object_->set("run_crossover", "on");
}

bool HighsEngine::be_careful() {
    careful_ = true;
    return true;
}

int HighsEngine::read_result(Model& model, Run& run, HighsExchange& exchange, const HighsOutcome& outcome,
                             Solution& result) {
    const Params& p = model.env.params();
    int code = TSO_ERROR;
    result.status = TSO_STATUS_UNKNOWN;
    for (const StatusRow& row : kStatuses)
        if (outcome.ended && row.highs == outcome.status) {
            result.status = row.status;
            code = row.code;
        }
    News news;
    bool stalled = false;
    {
        std::lock_guard lock(exchange.mutex);
        news = exchange.news;
        result.pool = std::move(exchange.pool);
        exchange.pool.clear();
        result.presolve_seconds = std::max(0.0, exchange.first_poll);
        stalled = exchange.stalled;
    }
    // A stop that was asked for shows in several statuses of HiGHS, by where it came to notice.
    const bool limited = code == TSO_ABORT_TIME_LIMIT || code == TSO_ABORT_INTERRUPTED || !outcome.ended ||
                         (code == TSO_ERROR && exchange.stop.load());
    if (outcome.status == kHighsModelStatusInterrupt && stalled && !exchange.stop.load())
        code = TSO_ABORT_STALLING_NODE_LIMIT;
    else if (limited)
        code = run.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT;

    if (outcome.ended) {
        const HighsObject& highs = *object_;
        const auto counted = [&](const char* name) {
            return std::max<int64_t>(0, static_cast<int64_t>(highs.info(name)));
        };
        result.simplex_iterations =
            counted("simplex_iteration_count") + counted("crossover_iteration_count") + counted("qp_iteration_count");
        result.ipm_iterations = counted("ipm_iteration_count") + counted("pdlp_iteration_count");
        (has_quadratic_ ? result.simplex_iterations : result.ipm_iterations) += outcome.earlier_iterations;
        result.nodes = result.is_mip ? counted("mip_node_count") : 0;
        if (highs.info("primal_solution_status") != kHighsSolutionStatusNone &&
            (result.status == TSO_STATUS_OPTIMAL || result.status == TSO_STATUS_UNKNOWN))
            read_solution(model, result);
        if (result.is_mip && result.status != TSO_STATUS_INFEASIBLE && result.status != TSO_STATUS_UNBOUNDED &&
            result.status != TSO_STATUS_INF_OR_UBD)
            result.bound = finite_or_none(highs.info("mip_dual_bound"));
    } else {
        (news.interior ? result.ipm_iterations : result.simplex_iterations) = std::max<int64_t>(0, news.iterations);
        result.nodes = std::max<int64_t>(0, news.nodes);
        if (result.is_mip)
            result.bound = news.bound;
    }
    if (code == TSO_ABORT_SOLUTION_LIMIT) {
        if (result.nodes >= p.get_int(Param::MIP_MaxNodes))
            code = TSO_ABORT_NODE_LIMIT;
    }
    if (code == TSO_ERROR) // HiGHS gave up
        code = p.get_int(Param::Method) >= 2 && !result.is_mip ? TSO_INTERIOR_NUMERIC : TSO_SIMPLEX_NUMERIC;

    if (result.status == TSO_STATUS_UNBOUNDED)
        result.pool.clear(); // what is told of it is the direction, as for all other classes
    finish_solution(model, result);
    if (result.status == TSO_STATUS_UNKNOWN && !result.x.empty())
        result.status = TSO_STATUS_SUB_OPTIMAL;
    const size_t n = model.cols().size(), m = model.rows().size();
    if (result.status == TSO_STATUS_UNBOUNDED && outcome.primal_ray.size() >= n)
        result.primal_ray.assign(outcome.primal_ray.begin(), outcome.primal_ray.begin() + n);
    if (!result.primal_ray.empty() && !is_unbounded_along(model, result.primal_ray))
        result.primal_ray.clear();
    if (result.status == TSO_STATUS_INFEASIBLE && outcome.dual_ray.size() == m && !result.is_mip) {
        const double plus = proof_of(model, outcome.dual_ray, 1), minus = proof_of(model, outcome.dual_ray, -1);
        if (std::max(plus, minus) > 0) {
            result.dual_ray = outcome.dual_ray;
            if (minus > plus)
                for (double& v : result.dual_ray)
                    v = -v;
        }
    }
    return code;
}

void HighsEngine::read_solution(const Model& model, Solution& result) {
    void* h = object_->get();
    const int n = model.cols().size(), m = model.rows().size();
    const bool duals = !result.is_mip && result.status == TSO_STATUS_OPTIMAL &&
                       object_->info("dual_solution_status") != kHighsSolutionStatusNone;
    // With extras there is more than the model has.
    std::vector<double> x(Highs_getNumCol(h)), rc, dual;
    if (duals) {
        rc.resize(Highs_getNumCol(h));
        dual.resize(Highs_getNumRow(h));
    }
    Highs_getSolution(h, x.data(), duals ? rc.data() : nullptr, nullptr, duals ? dual.data() : nullptr);
    x.resize(n);
    result.x = std::move(x);
    if (duals) {
        rc.resize(n);
        dual.resize(m);
        result.reduced_cost = std::move(rc);
        result.dual = std::move(dual);
    }
}

// Objective, activities, pool, bound and gaps out of x and what the run has told.
void HighsEngine::finish_solution(const Model& model, Solution& result) {
    const Params& p = model.env.params();
    if (result.is_mip) {
        // The solution that HiGHS ended with stands in front; it need not have been told as an improving one.
        std::vector<PoolEntry> found = std::move(result.pool);
        result.pool.clear();
        if (!result.x.empty())
            found.push_back({0, std::move(result.x)});
        result.x.clear();
        const double tolerance =
            std::max(kLeastFeasibility, kFeasibilityFactor * p.get_double(Param::MIP_IntegerTolerance));
        for (PoolEntry& e : found) {
            e.objective = objective_of(model, e.x);
            const Violations v = violations_of(model, e.x, activity_of(model, e.x));
            const bool duplicate = std::any_of(result.pool.begin(), result.pool.end(),
                                               [&](const PoolEntry& o) { return same_solution(o.x, e.x); });
            if (v.worst() <= tolerance && v.integrality.by <= tolerance && !duplicate)
                result.pool.push_back(std::move(e));
            else if (result.status == TSO_STATUS_OPTIMAL && &e == &found.back() && !duplicate)
                result.pool.push_back(std::move(e)); // shown with its faults: what is called optimal is checked again
        }
        std::stable_sort(result.pool.begin(), result.pool.end(), [&](const PoolEntry& a, const PoolEntry& b) {
            return model.sense() * a.objective < model.sense() * b.objective;
        });
        if (result.pool.size() > static_cast<size_t>(p.get_int(Param::MIP_SolutionPoolSize)))
            result.pool.resize(p.get_int(Param::MIP_SolutionPoolSize));
        if (!result.pool.empty())
            result.x = result.pool.front().x;
        incumbent_ = result.x;
    } else if (!result.pool.empty() && result.x.empty()) {
        result.x = result.pool.front().x; // of a quadratic run that was left behind
        result.pool.clear();
    }
    if (!result.x.empty()) {
        result.activity = activity_of(model, result.x);
        result.objective = objective_of(model, result.x);
    }
    if (!result.is_mip && !result.dual.empty())
        result.bound = result.objective - model.sense() * complementarity(model, result.x, result.activity,
                                                                          result.reduced_cost, result.dual);
    set_gaps(model, result);
    if (!result.is_mip && !has_quadratic_ && object_)
        read_basis(model, result);
}

void HighsEngine::set_gaps(const Model& model, Solution& result) const {
    if (!result.is_mip || result.x.empty())
        return;
    // A bound that is better than the solution only by rounding.
    if (result.status == TSO_STATUS_OPTIMAL &&
        (std::isnan(result.bound) || model.sense() * (result.objective - result.bound) < 0))
        result.bound = result.objective;
    result.gap_abs = std::fabs(result.objective - result.bound);
    result.gap_rel = result.gap_abs / std::max(1e-10, std::fabs(result.objective));
    if (std::isnan(result.bound))
        result.gap_abs = result.gap_rel = TSO_INFINITY;
}

void HighsEngine::read_basis(const Model& model, Solution& result) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    if (object_->info("basis_validity") != kHighsBasisValidityValid)
        return;
    std::vector<HighsInt> col(cols.size()), row(rows.size());
    if (Highs_getBasis(object_->get(), col.data(), row.data()) == kHighsStatusError)
        return;
    const auto code = [](HighsInt status, double lower, double upper) -> int8_t {
        switch (status) {
        case kHighsBasisStatusBasic:
            return TSO_BASIS_BASIC;
        case kHighsBasisStatusLower:
            return TSO_BASIS_LOWER;
        case kHighsBasisStatusUpper:
            return TSO_BASIS_UPPER;
        case kHighsBasisStatusZero:
            return TSO_BASIS_SUPER;
        default: // nonbasic, HiGHS does not say where
            return lower > -TSO_INFINITY ? TSO_BASIS_LOWER : upper < TSO_INFINITY ? TSO_BASIS_UPPER : TSO_BASIS_SUPER;
        }
    };
    result.col_basis.resize(col.size());
    result.row_basis.resize(row.size());
    for (size_t j = 0; j < col.size(); ++j)
        result.col_basis[j] = code(col[j], cols.lower[j], cols.upper[j]);
    for (size_t i = 0; i < row.size(); ++i)
        result.row_basis[i] = code(row[i], rows.lower[i], rows.upper[i]);
    col_basis_ = result.col_basis;
    row_basis_ = result.row_basis;
    structure_changed_ = false;
}

} // namespace tso::engine
