// Run: the control of one solver run, shared between the running engine, signal handlers and other threads.
#pragma once

#include <atomic>
#include <chrono>

namespace tso {

struct Run {
    using Clock = std::chrono::steady_clock;

    std::atomic<bool> interrupt{false}; // somebody wants the run to end; engines look at it all the time
    Clock::time_point begin = Clock::now();
    double max_seconds = 1e20; // from begin, presolve included

    double elapsed() const { return std::chrono::duration<double>(Clock::now() - begin).count(); }
    double remaining() const { return max_seconds - elapsed(); }
};

} // namespace tso
