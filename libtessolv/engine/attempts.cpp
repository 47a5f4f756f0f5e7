#include "engine/attempts.h"

#include "engine/check.h"
#include "engine/choose.h"
#include "engine/verdict.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

constexpr double kNearlyOptimal = 1e-2, kLeastAllowance = 10, kAllowanceFactor = 10;

bool is_limit(int code) {
    switch (code) {
    case TSO_ABORT_ITERATION_LIMIT:
    case TSO_ABORT_TIME_LIMIT:
    case TSO_ABORT_INTERRUPTED:
    case TSO_ABORT_NODE_LIMIT:
    case TSO_ABORT_STALLING_NODE_LIMIT:
    case TSO_ABORT_SOLUTION_LIMIT:
        return true;
    default:
        return false;
    }
}

int code_of_end(const Run& run) { return run.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT; }

bool is_over(const Run& run) { return run.interrupt.load() || run.remaining() <= 0; }

struct Attempt {
    int code = TSO_OKAY;
    Solution result;
    Verdict verdict;
    bool stands = false;
    bool has_point() const { return result.has_primal(); }
};

// One call of optimize: what the model has, and what the attempts so far have brought.
class Attempts {
public:
    Attempts(Model& model, Run& run, const Features& features)
        : model_(model), run_(run), features_(features), log_(model.env.log()) {}

    int run(const ClassRow& problem, Solution& result);

private:
    Engine& engine(EngineId id);
    bool try_engine(Engine& engine, bool last, double patience);
    double allowance(bool last, double patience) const;
    int solve(Engine& engine, double allowed, Solution& result) const;
    void complete(Solution& s) const;
    void assess(Attempt& a) const;
    void keep(Attempt&& a);
    bool better(const Attempt& a, const Attempt& b) const;

    Model& model_;
    Run& run_;
    const Features& features_;
    Log& log_;
    bool any_ = false; // engine took the model
    Attempt best_;
    int64_t simplex_iterations_ = 0, ipm_iterations_ = 0, nodes_ = 0;
};

// The one of the last run if it is that, with what it remembers, else a new one.
Engine& Attempts::engine(EngineId id) {
    auto* engine = dynamic_cast<Engine*>(model_.session.get());
    if (!engine || !engine->name().starts_with(row(id).name)) {
        std::unique_ptr<Engine> made = make_engine(id);
        engine = made.get();
        model_.session = std::move(made);
        model_.changes.drop();
    }
    return *engine;
}

void Attempts::complete(Solution& s) const {
    const size_t n = model_.cols().size(), m = model_.rows().size();
    if (s.x.size() != n || s.psd.size() != model_.psdvars().size() || (s.x.empty() && s.psd.empty()))
        return;
    if (s.activity.size() != m)
        s.activity = activity_of(model_, s.x, s.psd);
    s.objective = objective_of(model_, s.x, s.psd);
    if (!s.is_mip && s.dual.size() == m && m > 0 && s.reduced_cost.size() != n)
        s.reduced_cost = reduced_costs(model_, s.x, s.dual);
}

void Attempts::assess(Attempt& a) const {
    Solution& s = a.result;
    complete(s);
    if (is_limit(a.code)) { // what it has left is worth telling only if it is feasible
        if (s.has_primal() && !judge_point(model_, s).feasible) {
            s.x.clear();
            s.psd.clear();
            s.activity.clear();
            s.empty_but_solved = false;
            s.objective = 0;
            s.status = TSO_STATUS_UNKNOWN;
        }
        a.stands = true;
        return;
    }
    if (s.has_primal() || s.status == TSO_STATUS_OPTIMAL)
        a.verdict = judge(model_, features_, s);
    if (std::isnan(s.bound) && !std::isnan(a.verdict.gap))
        s.bound = s.objective - model_.sense() * a.verdict.gap;
    switch (a.code == TSO_OKAY ? s.status : TSO_STATUS_UNKNOWN) {
    case TSO_STATUS_OPTIMAL:
        a.stands = a.verdict.optimal;
        break;
    case TSO_STATUS_INFEASIBLE:
    case TSO_STATUS_UNBOUNDED:
    case TSO_STATUS_INF_OR_UBD:
        a.stands = true;
        break;
    default:
        if (a.verdict.fault.empty() || !s.has_primal())
            a.verdict.fault = s.has_primal() ? "nothing proves that it is the best" : "there is none";
    }
}

bool Attempts::better(const Attempt& a, const Attempt& b) const {
    if (a.has_point() != b.has_point())
        return a.has_point();
    if (!a.has_point())
        return false;
    if (a.verdict.feasible != b.verdict.feasible)
        return a.verdict.feasible;
    if (!a.verdict.feasible)
        return a.verdict.excess < b.verdict.excess;
    const double least = 1e-6 * std::max(1.0, std::fabs(b.result.objective)); // less is rounding
    return model_.sense() * (b.result.objective - a.result.objective) > least;
}

void Attempts::keep(Attempt&& a) {
    a.result.status = a.has_point() && a.verdict.feasible ? TSO_STATUS_SUB_OPTIMAL : TSO_STATUS_UNKNOWN;
    if (!any_ || better(a, best_))
        best_ = std::move(a);
    any_ = true;
}

// Seconds for the next run, zero for all that there are. With a point at hand that is nearly as good as can be proved,
// a long search for the rest is not what the user waits for.
double Attempts::allowance(bool last, double patience) const {
    if (any_ && best_.has_point() && best_.verdict.feasible && !std::isnan(best_.verdict.gap) &&
        best_.verdict.gap <= kNearlyOptimal * std::max(1.0, std::fabs(best_.result.objective)))
        return std::max(kLeastAllowance, kAllowanceFactor * run_.elapsed());
    return last ? 0 : patience;
}

// Within `allowed` seconds, if that is not zero: TSO_ABORT_TIME_LIMIT is then of this engine only.
int Attempts::solve(Engine& engine, double allowed, Solution& result) const {
    const double limit = run_.max_seconds;
    if (allowed > 0)
        run_.max_seconds = std::min(limit, run_.elapsed() + allowed);
    try {
        const int code = engine.solve(model_, run_, result);
        run_.max_seconds = limit;
        return code;
    } catch (...) { // what the engine holds now is anybody's guess
        run_.max_seconds = limit;
        model_.session.reset();
        model_.changes.drop();
        throw;
    }
}

// True if this was the last attempt that is needed, or possible.
bool Attempts::try_engine(Engine& engine, bool last, double patience) {
    for (bool again = false;; again = true) {
        Attempt a;
        a.result.is_mip = model_.is_mip();
        a.code = solve(engine, allowance(last, patience), a.result);
        if (a.code == TSO_ABORT_SOLVER_NOT_AVAILABLE)
            return false;
        simplex_iterations_ += a.result.simplex_iterations;
        ipm_iterations_ += a.result.ipm_iterations;
        nodes_ += a.result.nodes;
        if (a.code == TSO_ABORT_TIME_LIMIT && !is_over(run_)) { // its time is over, not that of the run
            log_.line(std::string(engine.name()) + " takes too long.");
            a.code = TSO_OKAY;
            a.result.status = std::isnan(a.result.bound) ? TSO_STATUS_UNKNOWN : TSO_STATUS_OPTIMAL; // if it stands
        }
        assess(a);
        if (a.stands) {
            // What a limit has left may be worse than what an earlier engine had.
            if (any_ && is_limit(a.code) && better(best_, a))
                best_.code = a.code;
            else
                best_ = std::move(a);
            any_ = true;
            return true;
        }
        log_.line("The answer of " + std::string(engine.name()) + " does not stand: " + a.verdict.fault + ".");
        keep(std::move(a));
        if (is_over(run_)) {
            best_.code = code_of_end(run_);
            return true;
        }
        // Where another method is at hand, that is of more use than the same one again.
        const bool other_method = features_.quadratic_objective && !last;
        if (again || other_method || !engine.be_careful())
            return false;
        log_.line("Running it again, with more care.");
    }
}

int Attempts::run(const ClassRow& problem, Solution& result) {
    std::string missing;
    std::vector<EngineId> at_hand;
    for (EngineId id : problem.engines) {
        if (is_built_in(id)) {
            at_hand.push_back(id);
        } else {
            if (!missing.empty())
                missing += ", ";
            missing += row(id).name;
        }
    }
    bool done = false;
    for (size_t k = 0; k < at_hand.size() && !done; ++k) {
        Engine& next = engine(at_hand[k]);
        log_.line("Engine: " + std::string(next.name()));
        done = try_engine(next, k + 1 == at_hand.size(), problem.patience);
    }
    if (!done) {
        model_.session.reset();
        model_.changes.drop();
    }
    if (!any_) {
        log_.line("No engine can solve this model. It has: " + in_words(features_) + ".");
        if (!missing.empty())
            log_.line("Engines for it that this build does not have: " + missing + ".");
        if (!problem.advice.empty())
            log_.line(std::string(problem.advice) + ".");
        result.is_mip = model_.is_mip();
        return TSO_ABORT_SOLVER_NOT_AVAILABLE;
    }
    if (!done) {
        best_.code = best_.has_point() ? TSO_OKAY : best_.code;
        log_.line("No engine found an answer that stands the check." +
                  (best_.has_point() ? " Of the point that is kept: " + best_.verdict.fault + "." : ""));
    }
    result = std::move(best_.result);
    result.simplex_iterations = simplex_iterations_;
    result.ipm_iterations = ipm_iterations_;
    result.nodes = nodes_;
    return best_.code;
}

} // namespace

int run_engines(Model& model, Run& run, bool has_callback, Solution& result) {
    const Features features = features_of(model, has_callback, &run);
    if (is_over(run)) {
        result.is_mip = model.is_mip();
        return run.interrupt.load() ? TSO_ABORT_INTERRUPTED : TSO_ABORT_TIME_LIMIT;
    }
    const ClassRow& problem = class_of(features);
    model.env.log().line("Class: " + std::string(problem.words));
    return Attempts(model, run, features).run(problem, result);
}

} // namespace tso::engine
