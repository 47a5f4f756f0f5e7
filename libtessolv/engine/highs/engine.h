// The inside of the HiGHS engine. Only files of this folder include it.
//
// A HiGHS object is worked on by one thread at a time: by the caller between runs, by a worker (worker.h) during one.
// A worker that had to be left behind keeps the object; the engine then makes a new one at the next run.
#pragma once

#include "engine/engine.h"
#include "engine/progress.h"
#include "engine/worker.h"

#include "interfaces/highs_c_api.h"

#include <functional>
#include <mutex>
#include <string>

namespace tso::engine {

static_assert(sizeof(HighsInt) == sizeof(int));

class HighsObject {
public:
    HighsObject();
    ~HighsObject() { Highs_destroy(h_); }
    HighsObject(const HighsObject&) = delete;
    HighsObject& operator=(const HighsObject&) = delete;
    void* get() const { return h_; }

    void set(const char* option, int v) { Highs_setIntOptionValue(h_, option, v); }
    void set(const char* option, bool v) { Highs_setBoolOptionValue(h_, option, v); }
    void set(const char* option, double v) { Highs_setDoubleOptionValue(h_, option, v); }
    void set(const char* option, const char* v) { Highs_setStringOptionValue(h_, option, v); }
    double info(const char* name) const; // double or int64 or int, 0 if there is none

private:
    void* h_;
};

inline double finite_or_none(double v) { return v > -TSO_INFINITY && v < TSO_INFINITY ? v : kNoValue; }

// Calls of HiGHS that cannot fail but by running out of memory or by a fault of ours.
void must(HighsInt return_code, const char* what);

// What a run and its HiGHS object share while it works; owned by both.
struct HighsExchange : StopFlag {
    const Run::Clock::time_point begin = Run::Clock::now();
    std::mutex mutex; // of all that follows
    News news;
    double first_poll = -1;      // seconds from begin when presolve was over
    std::vector<PoolEntry> pool; // improving solutions, the best last
    size_t pool_size = 1, columns = 0;
    int64_t improving = 0;               // how many were found
    int64_t stalling_nodes = TSO_MAXINT; // how many without a better solution end the run
    int64_t best_at = -1;                // nodes when the last better solution was found; -1: none yet
    bool stalled = false;
    bool collecting = true; // false: what HiGHS finds now are not solutions of the model
};

// What came of a run, apart from what the HiGHS object keeps.
struct HighsOutcome {
    bool ended = true; // false: the worker was left behind, the object is lost
    int status = kHighsModelStatusNotset;
    HighsInt return_code = kHighsStatusOk;
    std::vector<double> primal_ray, dual_ray;
    int64_t earlier_iterations = 0; // of slices before the last
};

// Columns and rows that a run adds behind the model's and takes out again: what HiGHS has no notion of.
struct HighsExtras {
    int columns = 0, rows = 0;
};

class HighsEngine final : public Engine {
public:
    std::string_view name() const override { return name_; }
    int solve(Model& model, Run& run, Solution& result) override;
    bool be_careful() override;
    int iis(Model& model, Run& run, Solution& result) override;

private:
    // highs_model.cpp: the HiGHS object brought up to date with the model.
    void update(Model& model);
    void pass_model(const Model& model);
    void send_edits(const Model& model, const Changes& changes);
    void send_quadratic(const Model& model);
    void forget();                           // what is remembered of the last run
    void carry_over(const Changes& changes); // what is remembered of the last run, to today's columns and rows
    std::string unsupported(const Model& model) const;
    HighsExtras add_extras(const Model& model);
    void remove_extras(const Model& model, const HighsExtras& extras);
    void start_from_basis(const Model& model);
    void start_from_solution(const Model& model);

    // highs_run.cpp
    HighsOutcome run_highs(Model& model, Run& run, const std::shared_ptr<HighsExchange>& exchange,
                           bool relaxed = false); // the discrete variables were made continuous

    // highs_result.cpp
    void shun_errors();
    int read_result(Model& model, Run& run, HighsExchange& exchange, const HighsOutcome& outcome, Solution& result);
    void read_solution(const Model& model, Solution& result);
    void finish_solution(const Model& model, Solution& result);
    void read_basis(const Model& model, Solution& result);
    void set_gaps(const Model& model, Solution& result) const;

    // highs_ray.cpp
    bool find_quadratic_ray(Model& model, Run& run, Solution& result) const;

    // highs_polish.cpp
    void polish(Model& model, Run& run, Solution& result);
    void take_polished(const Model& model, std::vector<double> x, Solution& result);

    std::shared_ptr<HighsObject> object_; // null: none, or lost
    std::string name_ = std::string("HiGHS ") + Highs_version();
    bool has_quadratic_ = false;
    // Of the last run, by the columns and rows that the object has.
    std::vector<int8_t> col_basis_, row_basis_;         // empty: none
    std::vector<int8_t> set_col_basis_, set_row_basis_; // the user's, as last seen
    std::vector<double> incumbent_, set_start_;         // of a MIP; the user's start values as last seen
    bool careful_ = false;                              // the next run, or the one under way, is
    bool structure_changed_ = false;                    // since the object last had a basis of its own
};

// highs_options.cpp
void set_options(HighsObject& highs, const Model& model);

// Variables as HiGHS must see them.
int highs_type(const Model& model, int j);
double highs_lower(const Model& model, int j);
double highs_upper(const Model& model, int j);
bool is_semi(char type);
bool needs_extra(const Model& model, int j); // semi, and HiGHS would get it wrong

} // namespace tso::engine
