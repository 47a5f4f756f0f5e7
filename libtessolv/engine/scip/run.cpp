// One run of SCIP on a worker: what it is told to look at, and what is asked again where its answer is open.
#include "engine/scip/callback.h"
#include "engine/scip/engine.h"
#include "engine/scip/threads.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <functional>
#include <limits>
#include <new>
#include <thread>

namespace tso::engine {
namespace {

constexpr SCIP_EVENTTYPE kEvents =
    SCIP_EVENTTYPE_PRESOLVEROUND | SCIP_EVENTTYPE_NODEFOCUSED | SCIP_EVENTTYPE_LPSOLVED | SCIP_EVENTTYPE_BESTSOLFOUND;

constexpr double kEndless = 1e12; // an incumbent of this size is looked into
constexpr double kNoBound = 1e19; // a bound of this size is none
constexpr int kNodesWithoutBound = 2000;

double finite_or_none(double v) { return std::fabs(v) < kNoBound ? v : kNoValue; }

// What the plugins of a run carry.
struct Watch {
    std::shared_ptr<ScipProblem> problem;
    std::shared_ptr<ScipExchange> exchange;
    ScipCallback* callback = nullptr; // the user's
};

std::vector<double> values_of(ScipProblem& problem, SCIP_SOL* sol) {
    std::vector<double> x(problem.columns);
    SCIPgetSolVals(problem.object.get(), sol, static_cast<int>(x.size()), problem.object.vars.data(), x.data());
    return x;
}

Watch& watch_of(SCIP_EVENTHDLR* handler) { return *reinterpret_cast<Watch*>(SCIPeventhdlrGetData(handler)); }

SCIP_RETCODE begin_events(SCIP* s, SCIP_EVENTHDLR* handler) {
    return SCIPcatchEvent(s, kEvents, handler, nullptr, nullptr);
}
SCIP_RETCODE end_events(SCIP* s, SCIP_EVENTHDLR* handler) { return SCIPdropEvent(s, kEvents, handler, nullptr, -1); }

// Called by SCIP on the worker. Nothing may be thrown through SCIP.
SCIP_RETCODE on_event(SCIP* s, SCIP_EVENTHDLR* handler, SCIP_EVENT* event, SCIP_EVENTDATA*) {
    Watch& w = watch_of(handler);
    ScipExchange& x = *w.exchange;
    const SCIP_EVENTTYPE type = SCIPeventGetType(event);
    try {
        std::lock_guard lock(x.mutex);
        if (type != SCIP_EVENTTYPE_PRESOLVEROUND) {
            x.news.nodes = SCIPgetNTotalNodes(s);
            x.news.iterations = SCIPgetNLPIterations(s);
        }
        if (type == SCIP_EVENTTYPE_NODEFOCUSED && x.first_node < 0)
            x.first_node = std::chrono::duration<double>(Run::Clock::now() - x.begin).count();
        if (x.collecting) {
            x.news.bound = finite_or_none(SCIPgetDualbound(s));
            if (type == SCIP_EVENTTYPE_BESTSOLFOUND) {
                x.news.incumbent = finite_or_none(SCIPgetPrimalbound(s));
                x.best_at = std::max<int64_t>(0, x.news.nodes);
                x.looks_endless |= x.ask_endless && std::fabs(SCIPgetPrimalbound(s)) >= kEndless;
                if (x.pool.size() >= x.pool_size)
                    x.pool.erase(x.pool.begin());
                x.pool.push_back({x.news.incumbent, values_of(*w.problem, SCIPgetBestSol(s))});
            }
            x.looks_endless |= x.ask_endless && type == SCIP_EVENTTYPE_NODEFOCUSED &&
                               x.news.nodes > kNodesWithoutBound && std::fabs(SCIPgetDualbound(s)) >= kNoBound;
            x.stalled |= type == SCIP_EVENTTYPE_NODEFOCUSED && x.stalling_nodes < TSO_MAXINT && x.best_at >= 0 &&
                         x.news.nodes - x.best_at >= x.stalling_nodes;
        }
        if (x.stop.load() || x.stalled || x.looks_endless)
            SCIPinterruptSolve(s);
    } catch (const std::bad_alloc&) { // a solution less in the pool
    }
    return SCIP_OKAY;
}

// All that the worker touches.
struct Job {
    Watch watch;
    std::shared_ptr<ScipOutcome> outcome;
    Run::Clock::time_point begin;
    double max_seconds;

    void operator()();

private:
    SCIP* scip() const { return watch.problem->object.get(); }
    double left() const { return max_seconds - std::chrono::duration<double>(Run::Clock::now() - begin).count(); }
    bool stopped() const { return watch.exchange->stop.load(); }
    SCIP_STATUS run();
    void count();
    void read_ray();
    SCIP_STATUS look_for_ray();
    SCIP_STATUS tell_unbounded();
    void refine();
    void stop_collecting();
};

SCIP_STATUS Job::run() {
    const double limit = left();
    watch.problem->object.set("limits/time", limit >= TSO_INFINITY ? TSO_INFINITY : std::max(limit, 1e-3));
    outcome->return_code = SCIPsolve(scip());
    count();
    return outcome->return_code == SCIP_OKAY ? SCIPgetStatus(scip()) : SCIP_STATUS_UNKNOWN;
}

void Job::count() {
    outcome->nodes += SCIPgetNTotalNodes(scip());
    outcome->iterations += SCIPgetNLPIterations(scip());
    outcome->presolve_seconds += SCIPgetPresolvingTime(scip());
}

void Job::read_ray() {
    if (!SCIPhasPrimalRay(scip()))
        return;
    std::vector<double> ray(watch.problem->columns);
    for (size_t j = 0; j < ray.size(); ++j)
        ray[j] = SCIPgetPrimalRayVal(scip(), watch.problem->object.vars[j]);
    outcome->primal_ray = std::move(ray);
}

// Presolve may see that the problem has no end without a ray to show for it.
SCIP_STATUS Job::look_for_ray() {
    if (SCIPfreeTransform(scip()) != SCIP_OKAY)
        return SCIP_STATUS_INFORUNBD;
    SCIPsetPresolving(scip(), SCIP_PARAMSETTING_OFF, 1);
    watch.problem->object.set("limits/totalnodes", SCIP_Longint{1});
    const SCIP_STATUS status = run();
    read_ray();
    return status;
}

// Infeasible or unbounded: unbounded if there is a feasible point.
SCIP_STATUS Job::tell_unbounded() {
    stop_collecting();
    const bool feasible = SCIPgetNSols(scip()) > 0;
    SCIP_STATUS status = SCIP_STATUS_UNBOUNDED;
    if (outcome->primal_ray.empty())
        status = look_for_ray();
    if (feasible)
        return SCIP_STATUS_UNBOUNDED;
    if (status == SCIP_STATUS_INFEASIBLE || stopped() || left() <= 0)
        return status;
    if (SCIPfreeTransform(scip()) != SCIP_OKAY)
        return SCIP_STATUS_INFORUNBD;
    for (SCIP_VAR* var : watch.problem->object.vars)
        SCIPchgVarObj(scip(), var, 0);
    SCIPsetObjlimit(scip(), 1e99); // none, in either sense
    SCIPsetPresolving(scip(), SCIP_PARAMSETTING_DEFAULT, 1);
    watch.problem->object.set("limits/totalnodes", SCIP_Longint{-1});
    watch.problem->object.set("limits/bestsol", 1);
    status = run();
    if (SCIPgetNSols(scip()) > 0) {
        outcome->solutions.push_back(values_of(*watch.problem, SCIPgetBestSol(scip())));
        return SCIP_STATUS_UNBOUNDED;
    }
    outcome->primal_ray.clear();
    return status;
}

void Job::stop_collecting() {
    std::lock_guard lock(watch.exchange->mutex);
    watch.exchange->collecting = false;
}

// The gap of a MIP is wide enough to leave continuous variables in nonlinear parts short of their best. With the
// discrete ones fixed that is soon made up for.
void Job::refine() {
    const std::vector<double> best = outcome->solutions.front();
    stop_collecting();
    if (SCIPfreeTransform(scip()) != SCIP_OKAY)
        return;
    ScipProblem& problem = *watch.problem;
    for (size_t j = 0; j < problem.columns; ++j)
        if (problem.whole[j]) {
            SCIPchgVarLb(scip(), problem.object.vars[j], std::round(best[j]));
            SCIPchgVarUb(scip(), problem.object.vars[j], std::round(best[j]));
        }
    problem.object.set("limits/gap", 1e-8);
    problem.object.set("limits/absgap", 0.0);
    problem.object.set("limits/totalnodes", SCIP_Longint{1000});
    problem.object.set("limits/bestsol", -1);
    const double before = max_seconds;
    max_seconds = std::min(max_seconds, max_seconds - left() + 1); // a second for it
    run();
    max_seconds = before;
    if (outcome->return_code == SCIP_OKAY && SCIPgetNSols(scip()) > 0)
        outcome->solutions.push_back(values_of(problem, SCIPgetBestSol(scip())));
    outcome->return_code = SCIP_OKAY;
}

void Job::operator()() {
    SCIP_EVENTHDLR* handler = nullptr;
    must(SCIPincludeEventhdlrBasic(scip(), &handler, "tessolv", "news of the search", on_event,
                                   reinterpret_cast<SCIP_EVENTHDLRDATA*>(&watch)),
         "an event handler");
    must(SCIPsetEventhdlrInit(scip(), handler, begin_events), "an event handler");
    must(SCIPsetEventhdlrExit(scip(), handler, end_events), "an event handler");
    if (watch.callback)
        watch.callback->include();
    SCIP_STATUS status = run();
    if (watch.callback)
        watch.callback->mute();
    outcome->bound = finite_or_none(SCIPgetDualbound(scip()));
    for (int k = 0; k < SCIPgetNSols(scip()); ++k)
        outcome->solutions.push_back(values_of(*watch.problem, SCIPgetSols(scip())[k]));
    if (status == SCIP_STATUS_UNBOUNDED || status == SCIP_STATUS_INFORUNBD) {
        read_ray();
        if (!stopped())
            status = tell_unbounded();
    }
    const std::vector<char>& whole = watch.problem->whole;
    if ((status == SCIP_STATUS_OPTIMAL || status == SCIP_STATUS_GAPLIMIT) && watch.problem->nonlinear && !stopped() &&
        !(watch.callback && watch.callback->is_lazy()) && !outcome->solutions.empty() &&
        std::find(whole.begin(), whole.end(), 1) != whole.end() &&
        std::find(whole.begin(), whole.end(), 0) != whole.end())
        refine();
    outcome->status = status;
    SCIPfreeTransform(scip()); // the events end with this thread's data
}

} // namespace

ScipOutcome ScipEngine::run_scip(Model& model, Run& run, const std::shared_ptr<ScipProblem>& problem,
                                 const std::shared_ptr<ScipExchange>& exchange) {
    auto outcome = std::make_shared<ScipOutcome>();
    ProgressLog progress(model, run);
    const auto tick = [&] {
        News news;
        {
            std::lock_guard lock(exchange->mutex);
            news = exchange->news;
            if (!exchange->collecting)
                return;
        }
        progress.tell(news);
    };
    if (run.callback) {
        Turns turns;
        ScipCallback callback(model, run, *problem, *exchange, turns);
        std::exception_ptr thrown;
        std::thread engine([&] {
            try {
                on_scip_thread(Job{{problem, exchange, &callback}, outcome, run.begin, run.max_seconds});
            } catch (...) {
                thrown = std::current_exception();
            }
            turns.done();
        });
        turns.serve([&] {
            if (run.interrupt.load() || run.remaining() <= 0) {
                exchange->stop = true;
                problem->object.interrupt();
            }
            tick();
        });
        engine.join();
        callback.rethrow();
        if (thrown)
            std::rethrow_exception(thrown);
        if (callback.ended()) {
            outcome->status = SCIP_STATUS_USERINTERRUPT;
            run.interrupt = true;
        }
        return std::move(*outcome);
    }
    Job job{{problem, exchange, nullptr}, outcome, run.begin, run.max_seconds};
    const bool ended = run_on_worker(
        run, exchange, [job = std::move(job)]() mutable { on_scip_thread(std::ref(job)); },
        [&] {
            if (exchange->stop.load())
                problem->object.interrupt();
            tick();
        });
    if (!ended) {
        ScipOutcome lost;
        lost.ended = false;
        return lost;
    }
    return std::move(*outcome);
}

} // namespace tso::engine
