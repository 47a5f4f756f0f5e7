// A run of CSDP from start to result.
#include "engine/check.h"
#include "engine/csdp/child.h"
#include "engine/csdp/csdp.h"
#include "engine/csdp/lift.h"
#include "engine/csdp/standard.h"
#include "engine/progress.h"

#include <algorithm>
#include <cmath>

#include <unistd.h>

namespace tso::engine {
namespace csdp {
namespace {

constexpr double kWanted = 1e-7;   // relative violations and gap: worse than that is tried again
constexpr double kAccepted = 1e-6; // what is called optimal
// The parameters are about what the user sees; prices are less exact than the gap that is left. Closer to the edge CSDP
// may stumble and give back a point from long before, so it is asked for less then.
constexpr double kTighter = 0.1;
constexpr int kMostIterations = 300; // of one try; it has long given up by then
constexpr double kQuietSeconds = 0.5;
constexpr double kWorthTelling = 1e-5; // violations of a solution that a limit has left

class CsdpEngine final : public Engine {
public:
    std::string_view name() const override { return "CSDP 6.2.0"; }
    int solve(Model& model, Run& run, Solution& result) override;
};

struct Manner {
    double tighter; // factor of the tolerances
    bool careful;   // shorter steps
    bool equilibrated;
};
constexpr Manner kPlain = {1, false, false};
constexpr Manner kManners[] = {{kTighter, false, false}, kPlain, {kTighter, false, true}, {1, true, true}}; // in order

// One try: what the program said, and what it is worth.
struct Try {
    Answer answer;
    Solution found;
    double violation = TSO_INFINITY, gap = TSO_INFINITY; // in the user's units, relative
    double dual_error = 0;                               // without it the bound, and so the gap, means nothing
    bool has_point = false;
    double worst() const { return std::max({violation, gap, dual_error}); }
};

class Solve {
public:
    Solve(Model& model, Run& run, Solution& result)
        : model_(model), run_(run), result_(result), progress_(model, run) {}
    int go();
    int64_t iterations() const { return iterations_; }

private:
    int solve(const Lifted& lifted);
    Try run_program(const Standard& standard, bool feasibility, const Manner& manner);
    void read(const Standard& standard, Try& t);
    int take(Try t, int code, int status);
    int take_infeasible(const std::vector<double>& ray);
    int tell_unbounded(const Standard& standard, const Try& t);
    bool fits_in_memory(const Standard& standard, const Request& request);
    int limit_code() const { return run_.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT; }
    int failure_code(const Answer& answer);

    Model& model_;
    Run& run_;
    Solution& result_;
    ProgressLog progress_;
    Lifted lifted_;
    int64_t iterations_ = 0; // of all tries
};

bool Solve::fits_in_memory(const Standard& standard, const Request& request) {
    const double rows = request.header.constraint_count;
    double bytes = 2 * 8 * rows * rows;
    for (int32_t b : request.blocks)
        bytes += b > 0 ? 14.0 * 8 * b * b : 14.0 * 8 * -b;
    const double has = static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (rows <= kMaxDimension && standard.largest_block() <= kMaxDimension && bytes <= has)
        return true;
    model_.env.log().printf("The semi-definite problem is too large: %.0f rows, largest block of %.0f rows, %.1f GB.",
                            rows, standard.largest_block(), bytes / 1e9);
    return false;
}

Try Solve::run_program(const Standard& standard, bool feasibility, const Manner& manner) {
    Try t;
    Request request = standard.request(feasibility);
    if (!fits_in_memory(standard, request)) {
        t.answer.how = Answer::NoMemory;
        return t;
    }
    const Params& p = model_.env.params();
    const auto tolerance = [&](Param which) { return std::clamp(manner.tighter * p.get_double(which), 1e-11, 1e-4); };
    request.header.primal_tolerance = tolerance(Param::IPM_PrimalTolerance);
    request.header.dual_tolerance = tolerance(Param::IPM_DualTolerance);
    request.header.gap_tolerance = tolerance(Param::IPM_GapTolerance);
    const int most = p.get_int(Param::IPM_MaxIterations);
    request.header.max_iterations = static_cast<int32_t>(std::clamp<int64_t>(most - iterations_, 1, kMostIterations));
    request.header.careful = manner.careful;
    request.header.seconds = run_.remaining();
    const double sense = model_.sense();
    t.answer = ask(request, run_, [&](const Progress& now) {
        if (run_.elapsed() < kQuietSeconds)
            return; // the first points are far from anything
        News news;
        news.interior = true;
        news.iterations = iterations_ + now.iterations;
        if (!feasibility) {
            news.incumbent = sense * standard.objective(now.primal);
            news.bound = sense * standard.objective(now.dual);
        }
        progress_.tell(news);
    });
    if (t.answer.how == Answer::Finished)
        iterations_ += t.answer.head.last.iterations;
    return t;
}

// The user's solution out of the program's, and how good it is.
void Solve::read(const Standard& standard, Try& t) {
    for (double v : t.answer.values)
        if (!std::isfinite(v))
            return;
    const LiftedPoint point = standard.point(t.answer.values);
    const double sense = model_.sense();
    const auto n = static_cast<size_t>(model_.cols().size()), m = static_cast<size_t>(model_.rows().size());
    Solution& s = t.found;
    s.x.assign(point.columns.begin(), point.columns.begin() + static_cast<std::ptrdiff_t>(n));
    for (size_t b = 0; b < model_.psdvars().size(); ++b) {
        std::vector<SymEntry> matrix;
        const int size = model_.psdvars()[b].dim;
        auto v = point.blocks[b].begin();
        for (int col = 0; col < size; ++col)
            for (int row = col; row < size; ++row)
                matrix.push_back({row, col, *v++});
        s.psd.push_back(std::move(matrix));
    }
    s.activity = activity_of(model_, s.x, s.psd);
    s.objective = objective_of(model_, s.x, s.psd);
    s.bound = sense * point.dual_objective;

    s.dual.assign(m, 0.0);
    for (size_t i = 0; i < m; ++i) {
        if (lifted_.row_of[i] < 0)
            continue;
        double price = sense * point.duals[static_cast<size_t>(lifted_.row_of[i])];
        if (const Lifted::Head head = lifted_.head_of[i]; head.column >= 0) {
            const double value = head.factor * s.x[static_cast<size_t>(head.column)];
            price = value > 1e-6 ? price / value : 0; // at the tip of a cone there is no price
        }
        s.dual[i] = price;
    }
    // Off the lifted rows, which also tell what a quadratic row has for a gradient.
    s.reduced_cost = model_.cols().cost;
    for (size_t i = 0; i < lifted_.rows.size(); ++i)
        for (const auto& [j, v] : lifted_.rows[i].columns)
            if (static_cast<size_t>(j) < n)
                s.reduced_cost[static_cast<size_t>(j)] -= sense * point.duals[i] * v;

    t.has_point = true;
    t.dual_error = std::isfinite(t.answer.head.dual_error) ? t.answer.head.dual_error : TSO_INFINITY;
    t.violation = violations_of(model_, s.x, s.activity, s.psd).worst();
    t.gap = std::fabs(s.objective - s.bound) / (1 + std::fabs(s.objective) + std::fabs(s.bound));
    if (std::isnan(t.violation) || std::isnan(t.gap))
        t.violation = t.gap = TSO_INFINITY;
}

int Solve::take(Try t, int code, int status) {
    result_ = std::move(t.found);
    result_.status = status;
    result_.empty_but_solved = model_.cols().size() == 0;
    return code;
}

int Solve::take_infeasible(const std::vector<double>& ray) {
    result_.status = TSO_STATUS_INFEASIBLE;
    if (ray.empty())
        return TSO_OKAY;
    const Rows& rows = model_.rows();
    std::vector<double> weights(static_cast<size_t>(rows.size()), 0.0);
    double largest = 0;
    for (size_t i = 0; i < weights.size(); ++i)
        if (lifted_.row_of[i] >= 0) {
            weights[i] = ray[static_cast<size_t>(lifted_.row_of[i])];
            largest = std::max(largest, std::fabs(weights[i]));
        }
    if (!(largest > 0 && std::isfinite(largest)))
        return TSO_OKAY;
    for (size_t i = 0; i < weights.size(); ++i) {
        weights[i] /= largest;
        if (std::fabs(weights[i]) < 1e-9)
            weights[i] = 0;
        const bool no_side = weights[i] > 0 ? rows.lower[i] <= -TSO_INFINITY : rows.upper[i] >= TSO_INFINITY;
        if (weights[i] != 0 && no_side && std::fabs(weights[i]) < 1e-6)
            weights[i] = 0;
        if (weights[i] != 0 && (no_side || lifted_.head_of[i].column >= 0))
            return TSO_OKAY; // no proof in terms of the user's rows
    }
    result_.dual_ray = std::move(weights);
    return TSO_OKAY;
}

// There is a direction without end. Whether there is a point to go from is another question.
int Solve::tell_unbounded(const Standard& standard, const Try& t) {
    const Try point = run_program(standard, true, kPlain);
    if (point.answer.how == Answer::Finished && point.answer.head.code == kCodePrimalInfeasible)
        return take_infeasible(standard.infeasibility_ray(point.answer.values));
    if (point.answer.how == Answer::Stopped || (point.answer.how == Answer::Finished && point.answer.head.stopped)) {
        result_.status = TSO_STATUS_INF_OR_UBD;
        return limit_code();
    }
    if (point.answer.how != Answer::Finished ||
        (point.answer.head.code != kCodeSolved && point.answer.head.code != 3)) {
        result_.status = TSO_STATUS_INF_OR_UBD;
        return TSO_OKAY;
    }
    result_.status = TSO_STATUS_UNBOUNDED;
    std::vector<double> ray = standard.unbounded_ray(t.answer.values);
    ray.resize(static_cast<size_t>(model_.cols().size()));
    double largest = 0;
    for (double v : ray)
        largest = std::max(largest, std::fabs(v));
    // One that goes through matrices alone can't be told in columns.
    if (largest > 0 && std::isfinite(largest) && model_.psdvars().empty()) {
        for (double& v : ray)
            v /= largest;
        result_.primal_ray = std::move(ray);
    }
    return TSO_OKAY;
}

int Solve::failure_code(const Answer& answer) {
    Log& log = model_.env.log();
    switch (answer.how) {
    case Answer::NotAvailable:
        log.line("The program that solves semi-definite problems can't be started: " + answer.why + ".");
        log.line("It is built with the library where libsdp-dev is installed: install that package, then this one "
                 "again.");
        return TSO_ABORT_SOLVER_NOT_AVAILABLE;
    case Answer::NoMemory:
        if (!answer.why.empty())
            log.line("The program that solves semi-definite problems failed: " + answer.why + ".");
        return TSO_NOMEMORY;
    case Answer::Stopped:
        return limit_code();
    default:
        log.line("The program that solves semi-definite problems failed: " + answer.why + ".");
        return TSO_INTERIOR_NUMERIC;
    }
}

int Solve::go() {
    if (const std::string reason = lifted_.build(model_); !reason.empty()) {
        model_.env.log().line("No engine for this: " + reason + ".");
        return TSO_ABORT_SOLVER_NOT_AVAILABLE;
    }
    Lifted loose = lifted_;
    if (loose.drop_far_bounds()) {
        const int code = solve(loose);
        const bool holds = result_.status == TSO_STATUS_OPTIMAL || result_.status == TSO_STATUS_INFEASIBLE;
        if (holds || (code != TSO_OKAY && code != TSO_INTERIOR_NUMERIC))
            return code;
        result_ = Solution();
    }
    return solve(lifted_);
}

int Solve::solve(const Lifted& lifted) {
    Standard standard(lifted);
    const double presolve = run_.elapsed();
    result_.presolve_seconds = presolve;
    if (standard.state() == Standard::Infeasible)
        return take_infeasible(standard.ray());
    Try best;
    int code = TSO_OKAY;
    const int most = model_.env.params().get_int(Param::IPM_MaxIterations);
    for (const Manner& manner : kManners) {
        if (iterations_ >= most) {
            code = TSO_ABORT_ITERATION_LIMIT;
            break;
        }
        if (best.has_point)
            model_.env.log().printf("Relative violations of %.2g, a gap of %.2g and a dual error of %.2g are left: "
                                    "trying again.",
                                    best.violation, best.gap, best.dual_error);
        if (manner.equilibrated)
            standard.equilibrate();
        Try t = run_program(standard, false, manner);
        if (t.answer.how != Answer::Finished) {
            code = failure_code(t.answer);
            break;
        }
        if (t.answer.head.code == kCodePrimalInfeasible)
            return take_infeasible(standard.infeasibility_ray(t.answer.values));
        if (t.answer.head.code == kCodeDualInfeasible)
            return tell_unbounded(standard, t);
        read(standard, t);
        const int said = t.answer.head.code;
        const bool stopped = t.answer.head.stopped;
        if (!best.has_point || t.worst() < best.worst())
            best = std::move(t);
        if (stopped)
            code = limit_code();
        else if (said == kCodeIterationLimit && iterations_ >= most)
            code = TSO_ABORT_ITERATION_LIMIT;
        // One more look is worth an answer that is better than it has to be, but not all of them.
        if (code != TSO_OKAY || best.worst() <= (&manner == kManners ? kWanted : kAccepted))
            break;
    }
    if (best.has_point && best.worst() <= kAccepted) {
        code = take(std::move(best), TSO_OKAY, TSO_STATUS_OPTIMAL);
    } else if (best.has_point && best.violation <= kWorthTelling) {
        if (code == TSO_OKAY)
            model_.env.log().printf("The solution violates the model by %.2g, its gap is %.2g, its dual error %.2g "
                                    "(relative).",
                                    best.violation, best.gap, best.dual_error);
        code = take(std::move(best), code, TSO_STATUS_SUB_OPTIMAL);
    } else if (code == TSO_OKAY) {
        model_.env.log().line("CSDP found neither a solution nor a proof that there is none.");
        code = TSO_INTERIOR_NUMERIC;
    }
    result_.presolve_seconds = presolve;
    return code;
}

int CsdpEngine::solve(Model& model, Run& run, Solution& result) {
    Solve solve(model, run, result);
    const int code = solve.go();
    result.ipm_iterations = solve.iterations();
    model.changes.settle(model.cols().size(), model.rows().size()); // so that later edits are seen
    return code;
}

} // namespace
} // namespace csdp

std::unique_ptr<Engine> make_csdp() { return std::make_unique<csdp::CsdpEngine>(); }

} // namespace tso::engine
