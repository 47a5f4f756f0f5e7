// A thread of its own for a call into an engine that may not come back in time.
//
// Engines look at their stop flag only here and there: presolve, the root relaxation of a MIP, its sub-MIPs and some
// whole solvers never do. So a run's engine works on a thread of its own, which owns everything that it touches, and
// the caller waits for it. When the run is interrupted or out of time and the engine does not end soon, the caller
// goes on with what has been found so far and leaves the thread behind: it ends at the engine's next look at the flag,
// and then frees what it owns. A process that ends before that is ended without the engine's static destructors, which
// would pull the ground from under the thread.
#pragma once

#include "core/run.h"

#include <functional>
#include <memory>

namespace tso::engine {

// Whether somebody has asked the engine to stop. Shared with the thread, which may outlive the run.
struct StopFlag {
    std::atomic<bool> stop{false};
};

// Runs `job` on a new thread and waits for its end. `job` must own (by shared_ptr) all that it touches. Sets `flag`
// when the run is interrupted or its time is over. `tick` is called on this thread several times a second meanwhile.
// Returns false if the thread had to be left behind: nothing that the job owns may be touched then. An exception of the
// job is thrown again here.
bool run_on_worker(Run& run, const std::shared_ptr<StopFlag>& flag, std::function<void()> job,
                   const std::function<void()>& tick);

} // namespace tso::engine
