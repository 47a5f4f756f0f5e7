// Engine: the one interface behind which every solving engine stands. An engine is one folder, one
// row of kEngines and one of kMakers.
#pragma once

#include "core/model.h"
#include "core/run.h"
#include "core/session.h"
#include "engine/classes.h"

#include <string_view>

namespace tso::engine {

class Engine : public Session {
public:
    virtual std::string_view name() const = 0; // with version, for the log

    // Brings the engine up to date with the model (model.changes), runs it and fills `result`, signs and units as
    // Solution tells them. Returns TSO_OKAY, or the TSO_ABORT_... code of what ended the run (what was found is then in
    // result), or another code, with result.status TSO_STATUS_UNKNOWN. Must see run.interrupt within a second.
    //
    // x, psd and, where the engine has them, duals, bound and counts are the engine's to fill; activities, objective
    // and reduced costs that it leaves empty are made of them. The answer is then checked against the model.
    //
    // The engine failed, and the next one of the problem's class gets its try, where the code is another one than
    // TSO_OKAY and those of limits and interrupts (TSO_ABORT_SOLVER_NOT_AVAILABLE: it cannot take this model, and has
    // said why in the log), where TSO_OKAY comes with TSO_STATUS_UNKNOWN or TSO_STATUS_SUB_OPTIMAL, and where an
    // optimum does not stand the check.
    virtual int solve(Model& model, Run& run, Solution& result) = 0;

    // After an answer that did not stand: the next solve is to shun what may have brought errors in. False if the
    // engine has no other ways than those that it went.
    virtual bool be_careful() { return false; }

    // An irreducible infeasible subsystem of a model known to be infeasible, whatever its objective: fills iis_col and
    // iis_row of `result`. TSO_OKAY, TSO_ABORT_..., or TSO_IIS_NO_SOLN if the engine has no way to find one.
    virtual int iis(Model&, Run&, Solution&) { return TSO_IIS_NO_SOLN; }
};

// What TSOoptimize and TSOcomputeIIS do: header in the log, choice of the engine, the run with its limits and signals,
// result in model.solution, closing lines in the log. Returns the code for the caller.
int optimize(Model& model, Run& run, bool has_callback);
int compute_iis(Model& model, Run& run, bool has_callback);

} // namespace tso::engine
