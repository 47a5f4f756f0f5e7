// The user's callback inside a run of SCIP: plugins that ask it about solutions and nodes, and what it hands in.
//
// The callback runs on the thread of the library's caller, while SCIP's own waits. What it hands in is kept until it
// has returned: offering a solution to SCIP while it runs would ask it again about that solution.
#pragma once

#include "core/callback.h"
#include "engine/scip/engine.h"
#include "engine/scip/plugins.h"
#include "engine/scip/turns.h"

#include <exception>
#include <map>
#include <optional>

namespace tso::engine {

class ScipCallback final : public CallbackContext {
public:
    ScipCallback(const Model& model, Run& run, ScipProblem& problem, ScipExchange& exchange, Turns& turns);
    void include();                        // plugins and settings, before the problem is solved
    void mute() { muted_ = true; }         // what SCIP is asked from now on is not the model's problem
    bool ended() const { return ended_; }  // the callback asked for the end of the run
    bool is_lazy() const { return lazy_; } // constraints may come later
    void rethrow() const {
        if (error_)
            std::rethrow_exception(error_);
    }

    int get(int where, int what, void* result) override; // callback_values.cpp
    int offer_solution(const double* solution, double* objective, bool presolved) override;
    int add_cut(int count, const int* ind, const double* val, char sense, double rhs, bool presolved) override;
    int branch(int var, double value, int way, bool presolved) override;

    // What the plugins do; each sets what SCIP is to be told.
    void enforce(SCIP_RESULT& result);
    void check(SCIP_SOL* sol, SCIP_RESULT& result);
    void lock(SCIP_LOCKTYPE type, int count);
    void separate(SCIP_CONSHDLR* handler, SCIP_RESULT& result);
    void look(SCIP_HEUR* heuristic, SCIP_RESULT& result);
    void split(SCIP_RESULT& result);
    // Runs one of them. Nothing may be thrown through SCIP: an error ends the run and is kept.
    template <class F> SCIP_RETCODE guarded(F&& work) noexcept;

private:
    enum Where { kNowhere = 0, kStart = 3, kSolution = 4, kNode = 5 };
    struct Row {
        std::vector<SCIP_VAR*> vars; // of the transformed problem
        std::vector<double> values;
        double lower, upper;
    };
    struct Branching {
        SCIP_Longint node;
        SCIP_VAR* var;
        double value;
        int way;
    };
    // The linear rows of the presolved problem, by columns.
    struct Presolved {
        std::vector<double> lower, upper, elements;
        std::vector<int> indices, starts;
    };

    SCIP* scip() const { return problem_.object.get(); }
    void call(Where where, SCIP_SOL* sol);
    void start();
    void ask(SCIP_SOL* sol, std::vector<double> x); // about a solution
    std::vector<double> values_of(SCIP_SOL* sol) const;
    SCIP_VAR* transformed(int column) const;
    SCIP_VAR* variable(int index, bool presolved) const;
    double excess(const Row& row, SCIP_SOL* sol) const; // by how much it is violated, relative to its size
    bool violated(const std::vector<Row>& rows, SCIP_SOL* sol) const;
    void add_pending();                          // makes lazy rows part of the problem
    bool hand_over(SCIP_HEUR* heuristic);        // the solutions that were offered; true if one was taken
    bool complete(std::vector<double>& x) const; // finds the values that are undefined
    std::vector<double> in_model(const double* presolved) const;
    int fetch(int what, void* result); // callback_values.cpp
    const double* keep(int what, std::vector<double> values) { return (doubles_[what] = std::move(values)).data(); }
    const Presolved& presolved();

    const Model& model_;
    Run& run_;
    ScipProblem& problem_;
    ScipExchange& exchange_;
    Turns& turns_;
    const bool lazy_;
    double tolerance_;
    bool started_ = false, muted_ = false, ended_ = false;
    std::exception_ptr error_;

    // Of the callback that runs:
    Where where_ = kNowhere;
    SCIP_SOL* sol_ = nullptr; // null: the relaxation
    std::map<int, std::vector<double>> doubles_;
    std::map<int, std::vector<int>> ints_;
    std::optional<Presolved> presolved_;

    std::vector<Row> pending_, cuts_; // lazy rows that SCIP does not have yet; cuts of this node
    std::vector<std::vector<double>> offers_;
    std::optional<Branching> branching_;
    std::vector<double> accepted_; // the solution that was let through last
};

template <class F> SCIP_RETCODE ScipCallback::guarded(F&& work) noexcept {
    try {
        if (!error_ && !muted_)
            work();
    } catch (...) {
        error_ = std::current_exception();
        exchange_.stop = true;
        SCIPinterruptSolve(scip());
    }
    return SCIP_OKAY;
}

} // namespace tso::engine
