// One run of HiGHS on a worker: what it is told to look at, and what is asked again where its answer is open.
#include "engine/highs/engine.h"

#include <algorithm>
#include <limits>
#include <new>

namespace tso::engine {
namespace {

// The QP solver and the first-order method look at nothing but their time limit. They get their time in slices, each
// twice as long as the one before, so that one that was left behind ends by itself before long.
constexpr double kFirstQpSlice = 1, kFirstPdlpSlice = 10;

void keep_solution(HighsExchange& x, const HighsCallbackDataOut& out) {
    if (!out.mip_solution || static_cast<size_t>(out.mip_solution_size) < x.columns)
        return;
    ++x.improving;
    if (x.pool.size() >= x.pool_size)
        x.pool.erase(x.pool.begin());
    x.pool.push_back({out.objective_function_value, {out.mip_solution, out.mip_solution + x.columns}});
}

// Called by HiGHS on the worker. Nothing may be thrown through HiGHS.
void on_event(int type, const char*, const HighsCallbackDataOut* out, HighsCallbackDataIn* in, void* user) noexcept {
    HighsExchange& x = *static_cast<HighsExchange*>(user);
    bool stalled = false;
    try {
        std::lock_guard lock(x.mutex);
        if (x.first_poll < 0)
            x.first_poll = std::chrono::duration<double>(Run::Clock::now() - x.begin).count();
        switch (type) {
        case kHighsCallbackSimplexInterrupt:
            x.news.iterations = out->simplex_iteration_count;
            x.news.interior = false;
            break;
        case kHighsCallbackIpmInterrupt:
            x.news.iterations = out->ipm_iteration_count;
            x.news.interior = true;
            break;
        case kHighsCallbackMipInterrupt:
            x.news.nodes = out->mip_node_count;
            x.news.iterations = out->mip_total_lp_iterations;
            if (const double incumbent = finite_or_none(out->mip_primal_bound); incumbent == incumbent) {
                if (incumbent != x.news.incumbent)
                    x.best_at = out->mip_node_count;
                x.news.incumbent = incumbent;
                x.stalled = x.collecting && x.stalling_nodes < TSO_MAXINT &&
                            out->mip_node_count - x.best_at >= x.stalling_nodes;
            }
            x.news.bound = finite_or_none(out->mip_dual_bound);
            stalled = x.stalled;
            break;
        case kHighsCallbackMipImprovingSolution:
            if (x.collecting)
                keep_solution(x, *out);
            break;
        }
    } catch (const std::bad_alloc&) { // a solution less in the pool
    }
    // Assigned always: HiGHS does not take a flag of an earlier run back. It asserts that others do not interrupt.
    const bool asks = type == kHighsCallbackSimplexInterrupt || type == kHighsCallbackIpmInterrupt ||
                      type == kHighsCallbackMipInterrupt;
    if (in)
        in->user_interrupt = asks && (x.stop.load() || stalled);
}

void on_nothing(int, const char*, const HighsCallbackDataOut*, HighsCallbackDataIn*, void*) {}

constexpr int kEvents[] = {kHighsCallbackSimplexInterrupt, kHighsCallbackIpmInterrupt, kHighsCallbackMipInterrupt,
                           kHighsCallbackMipImprovingSolution};

// All that the worker touches.
struct Job {
    std::shared_ptr<HighsObject> object;
    std::shared_ptr<HighsExchange> exchange;
    std::shared_ptr<HighsOutcome> outcome;
    Run::Clock::time_point begin;
    double max_seconds;
    bool mip, quadratic, first_order;
    int threads;
    std::vector<double> cost; // of a MIP, to be put back

    void operator()();

private:
    double left() const { return max_seconds - std::chrono::duration<double>(Run::Clock::now() - begin).count(); }
    bool stopped() const { return exchange->stop.load(); }
    int run(double limit = std::numeric_limits<double>::infinity());
    int run_sliced(double slice);
    void keep_feasible_point();
    int tell_unbounded_mip();
    int tell_unbounded_lp();
    void read_rays();
};

int Job::run(double limit) {
    void* h = object->get();
    limit = std::min(limit, left());
    Highs_zeroAllClocks(h);
    object->set("time_limit", limit >= TSO_INFINITY ? std::numeric_limits<double>::infinity() : std::max(limit, 1e-3));
    outcome->return_code = Highs_run(h);
    return Highs_getModelStatus(h);
}

int Job::run_sliced(double slice) {
    object->set("qp_allow_hot_start", false);
    for (bool first = true;; first = false, slice *= 2) {
        int status = run(slice);
        if (status == kHighsModelStatusSolveError && !first && !stopped()) {
            object->set("qp_allow_hot_start", false); // it did not like its own point
            status = run();
        }
        // The first-order method may be early with its time.
        if (status != kHighsModelStatusTimeLimit || stopped() || left() <= 0.01)
            return status;
        outcome->earlier_iterations += static_cast<int64_t>(std::max(0.0, object->info("qp_iteration_count")) +
                                                            std::max(0.0, object->info("pdlp_iteration_count")));
        if (quadratic) {
            keep_feasible_point();
            object->set("qp_allow_hot_start", true);
        }
    }
}

// So that a run that is left behind has what its last slice had.
void Job::keep_feasible_point() {
    if (object->info("primal_solution_status") != kHighsSolutionStatusFeasible)
        return;
    std::vector<double> x(exchange->columns);
    Highs_getSolution(object->get(), x.data(), nullptr, nullptr, nullptr);
    std::lock_guard lock(exchange->mutex);
    exchange->news.iterations = outcome->earlier_iterations;
    exchange->news.incumbent = Highs_getObjectiveValue(object->get());
    exchange->pool.clear();
    exchange->pool.push_back({exchange->news.incumbent, std::move(x)});
}

// A MIP that is infeasible or unbounded: unbounded if the relaxation is and there is a feasible point.
int Job::tell_unbounded_mip() {
    void* h = object->get();
    {
        std::lock_guard lock(exchange->mutex);
        exchange->collecting = false;
    }
    object->set("presolve", "off");
    object->set("solve_relaxation", true);
    int status = run();
    if (status == kHighsModelStatusUnboundedOrInfeasible)
        status = tell_unbounded_lp();
    if (status == kHighsModelStatusUnbounded)
        read_rays();
    object->set("solve_relaxation", false);
    if (status == kHighsModelStatusOptimal)
        return kHighsModelStatusInfeasible; // bounded after all, so the other
    if (status != kHighsModelStatusUnbounded)
        return status;
    const std::vector<double> zero(cost.size(), 0.0);
    const HighsInt last = static_cast<HighsInt>(cost.size()) - 1;
    Highs_changeColsCostByRange(h, 0, last, zero.data());
    object->set("presolve", "choose");
    status = run();
    Highs_changeColsCostByRange(h, 0, last, cost.data());
    if (status == kHighsModelStatusOptimal)
        return kHighsModelStatusUnbounded;
    outcome->primal_ray.clear();
    return status;
}

int Job::tell_unbounded_lp() {
    object->set("solver", "simplex");
    object->set("simplex_strategy", 4); // primal
    object->set("presolve", "off");
    return run();
}

std::vector<double> ray_of_one_column(void* h) {
    const HighsInt n = Highs_getNumCol(h);
    std::vector<double> cost(n), lower(n), upper(n), ray(n, 0.0);
    HighsInt cols = 0, entries = 0, sense = 1;
    Highs_getColsByRange(h, 0, n - 1, &cols, cost.data(), lower.data(), upper.data(), &entries, nullptr, nullptr,
                         nullptr);
    Highs_getObjectiveSense(h, &sense);
    for (HighsInt j = 0; j < n; ++j) {
        const double better = -sense * cost[j]; // the way of improvement
        if (better == 0 || (better > 0 ? upper[j] < TSO_INFINITY : lower[j] > -TSO_INFINITY))
            continue;
        ray[j] = better > 0 ? 1 : -1;
        return ray;
    }
    return {};
}

// HiGHS has a ray only if the simplex method that ends with one was the last to run. Asked for one that it has not, it
// solves again, with the options of the moment.
void Job::read_rays() {
    void* h = object->get();
    const HighsInt status = Highs_getModelStatus(h);
    const bool unbounded = status == kHighsModelStatusUnbounded;
    if ((!unbounded && status != kHighsModelStatusInfeasible) || stopped())
        return;
    if (unbounded && Highs_getNumRow(h) == 0) { // for which HiGHS has none
        outcome->primal_ray = ray_of_one_column(h);
        return;
    }
    object->set("solver", "simplex");
    object->set("simplex_strategy", unbounded ? 4 : 1); // primal : dual
    std::vector<double> ray(unbounded ? Highs_getNumCol(h) : Highs_getNumRow(h));
    for (int attempt = 0; attempt < 2 && !stopped(); ++attempt) {
        HighsInt has = 0;
        const HighsInt code =
            unbounded ? Highs_getPrimalRay(h, &has, ray.data()) : Highs_getDualRay(h, &has, ray.data());
        if (code != kHighsStatusError && has) {
            (unbounded ? outcome->primal_ray : outcome->dual_ray) = std::move(ray);
            return;
        }
        Highs_clearSolver(h);
    }
}

void Job::operator()() {
    void* h = object->get();
    Highs_setCallback(h, on_event, exchange.get());
    for (int event : kEvents)
        Highs_startCallback(h, event);
    int status;
    if (quadratic)
        status = run_sliced(kFirstQpSlice);
    else if (first_order)
        status = run_sliced(kFirstPdlpSlice);
    else
        status = run();
    if (mip) {
        if ((status == kHighsModelStatusUnboundedOrInfeasible || status == kHighsModelStatusUnbounded) && !stopped())
            status = tell_unbounded_mip();
    } else {
        if (status == kHighsModelStatusUnboundedOrInfeasible && !quadratic && !stopped())
            status = tell_unbounded_lp();
        if (!quadratic || status == kHighsModelStatusInfeasible)
            read_rays();
    }
    outcome->status = status;
    Highs_setCallback(h, on_nothing, nullptr);
    if (threads > 1)
        Highs_resetGlobalScheduler(1); // this thread's own
}

} // namespace

HighsOutcome HighsEngine::run_highs(Model& model, Run& run, const std::shared_ptr<HighsExchange>& exchange,
                                    bool relaxed) {
    auto outcome = std::make_shared<HighsOutcome>();
    const Params& p = model.env.params();
    Job job;
    job.object = object_;
    job.exchange = exchange;
    job.outcome = outcome;
    job.begin = run.begin;
    job.max_seconds = run.max_seconds;
    job.mip = model.is_mip() && !relaxed;
    job.quadratic = has_quadratic_;
    job.first_order = !model.is_mip() && !job.quadratic && !careful_ && p.get_int(Param::Method) == 4;
    job.threads = std::max(1, p.get_int(Param::NumThreads));
    if (job.mip)
        job.cost = model.cols().cost;
    ProgressLog progress(model, run);
    const bool ended = run_on_worker(run, exchange, std::move(job), [&] {
        News news;
        {
            std::lock_guard lock(exchange->mutex);
            news = exchange->news;
        }
        if (!relaxed)
            progress.tell(news);
    });
    if (!ended) {
        object_.reset(); // the worker's now
        HighsOutcome lost;
        lost.ended = false;
        return lost;
    }
    return std::move(*outcome);
}

} // namespace tso::engine
