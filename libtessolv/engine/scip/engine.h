// The inside of the SCIP engine. Only files of this folder include it.
//
// Every run builds a SCIP object of its own: that is quick beside the search, and a worker (worker.h) that had to be
// left behind keeps what it works on.
#pragma once

#include "engine/engine.h"
#include "engine/progress.h"
#include "engine/scip/object.h"
#include "engine/worker.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tso::engine {

// The model as SCIP has it. Its variables are the model's columns, then those of our own.
struct ScipProblem {
    struct Slack { // of an indicator constraint, which SCIP adds by itself
        SCIP_VAR* var;
        int indicator;
        double sign; // the slack covers what sign * (left side - right side) is above zero
    };
    ScipObject object;
    size_t columns = 0;
    SCIP_VAR* objective = nullptr; // stands for the quadratic part of the objective, times scale
    double scale = 1;
    std::vector<Slack> slacks;
    std::vector<char> whole; // of each column
    bool nonlinear = false;
};

// What a run and its worker share while it works; owned by both.
struct ScipExchange : StopFlag {
    const Run::Clock::time_point begin = Run::Clock::now();
    std::mutex mutex; // of all that follows
    News news;
    double first_node = -1;      // seconds from begin when presolve was over
    std::vector<PoolEntry> pool; // improving solutions, the best last
    size_t pool_size = 1;
    int64_t stalling_nodes = TSO_MAXINT; // how many without a better solution end the run
    int64_t best_at = -1;                // nodes when the last better solution was found; -1: none yet
    bool stalled = false;
    // A solution so good that the objective may have no end, which SCIP does not see where it is not linear: it would
    // go on for ever.
    bool looks_endless = false, ask_endless = false;
    bool collecting = true; // false: what SCIP finds now are not solutions of the model's objective
};

// What came of a run.
struct ScipOutcome {
    bool ended = true; // false: the worker was left behind
    SCIP_STATUS status = SCIP_STATUS_UNKNOWN;
    SCIP_RETCODE return_code = SCIP_OKAY;
    std::vector<std::vector<double>> solutions; // the best first, of the model's columns
    std::vector<double> primal_ray;
    double bound = kNoValue, presolve_seconds = 0;
    int64_t nodes = 0, iterations = 0;
};

class ScipEngine final : public Engine {
public:
    std::string_view name() const override { return name_; }
    int solve(Model& model, Run& run, Solution& result) override;

private:
    // start.cpp
    void add_starts(const Model& model, ScipProblem& problem);
    bool add_start(const Model& model, ScipProblem& problem, const std::vector<double>& x, bool discrete_only);

    // run.cpp
    ScipOutcome run_scip(Model& model, Run& run, const std::shared_ptr<ScipProblem>& problem,
                         const std::shared_ptr<ScipExchange>& exchange);

    // endless.cpp
    bool find_endless(const Model& model, Run& run, const std::vector<double>& x, std::vector<double>& ray);
    enum class Growth { Endless, Inside, Unknown };
    Growth growth_of(const Model& model, Run& run, std::vector<double>& best);
    static bool is_endless(const Model& model, const std::vector<double>& x, const std::vector<double>& ray);

    int tell_end(Model& model, Run& run, ScipExchange& exchange, ScipOutcome& outcome, Solution& result);

    // result.cpp
    int read_result(const Model& model, Run& run, ScipExchange& exchange, ScipOutcome& outcome, Solution& result);
    void read_pool(const Model& model, std::vector<std::vector<double>> found, Solution& result);

    std::string name_ = "SCIP " + scip_version();
    // Of the last run, by the columns that the model had then.
    std::vector<double> incumbent_, set_start_; // the user's start values as last seen
};

// model.cpp: why SCIP cannot take the model, empty if it can; whether bounds or sides cross, so that no search is
// needed.
std::string scip_refusal(const Model& model);
bool scip_crossing(const Model& model);
void scip_build(const Model& model, ScipProblem& problem);
inline bool is_whole(char type) { return type == TSO_BINARY || type == TSO_INTEGER || type == TSO_SEMIINT; }
inline bool is_semi_type(char type) { return type == TSO_SEMICONT || type == TSO_SEMIINT; }
// Zero lies outside of the bounds, so that the variable is zero or between them.
bool is_split(const Model& model, int j);

// start.cpp: gives a solution the values of the model's columns, and our own variables what follows from them.
void scip_fill(const Model& model, ScipProblem& problem, SCIP_SOL* sol, const std::vector<double>& value);

// special.cpp: what is not rows
void scip_add_sets(const Model& model, ScipProblem& problem);
void scip_add_indicators(const Model& model, ScipProblem& problem);

// options.cpp
void scip_set_options(ScipObject& scip, const Model& model);

} // namespace tso::engine
