// Engine: the one interface behind which every solving engine stands. An engine is one file and one row of kEngines.
#pragma once

#include "core/model.h"
#include "core/run.h"
#include "core/session.h"

#include <memory>
#include <string_view>

namespace tso::engine {

// What a problem contains, gathered once before an engine is chosen.
struct Features {
    bool integers = false, semicontinuous = false, quadratic_objective = false, quadratic_rows = false, sos = false,
         indicators = false, psd = false, callback = false;
    bool convex = true; // of the quadratic objective, in the sense of the objective
};

class Engine : public Session {
public:
    virtual std::string_view name() const = 0; // with version, for the log

    // Brings the engine up to date with the model (model.changes), runs it and fills `result`, signs and units as
    // Solution tells them. Returns TSO_OKAY, or the TSO_ABORT_... code of what ended the run (what was found is then in
    // result), or another code, with result.status TSO_STATUS_UNKNOWN. Must see run.interrupt within a second.
    virtual int solve(Model& model, Run& run, Solution& result) = 0;

    // Fills iis_col and iis_row of `result`. TSO_OKAY, TSO_IIS_FEASIBLE, TSO_IIS_NO_SOLN, TSO_ABORT_...
    virtual int iis(Model& model, Run& run, Solution& result) = 0;
};

struct EngineRow {
    std::string_view name;
    bool (*can)(const Features&);
    std::unique_ptr<Engine> (*make)();
};

// What TSOoptimize and TSOcomputeIIS do: header in the log, choice of the engine, the run with its limits and signals,
// result in model.solution, closing lines in the log. Returns the code for the caller.
int optimize(Model& model, Run& run, bool has_callback);
int compute_iis(Model& model, Run& run, bool has_callback);

} // namespace tso::engine
