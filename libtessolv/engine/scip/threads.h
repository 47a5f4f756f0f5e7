// Threads that are kept for SCIP. Its automatic differentiation numbers every thread that ever comes to it, has room
// for 64 of them in the life of a process, and writes beyond its tables after that.
#pragma once

#include <functional>

namespace tso::engine {

// Runs `job` on one of the kept threads and waits for its end; its exceptions are thrown again here. Whatever may touch
// nonlinear parts of SCIP or Ipopt goes through this, solving as well as making and freeing.
void on_scip_thread(const std::function<void()>& job);

} // namespace tso::engine
