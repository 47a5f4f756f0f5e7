// Run: the control of one solver run, shared between the running engine, signal handlers and other threads.
#pragma once

#include <atomic>
#include <chrono>

namespace tso {

class Callback;

struct Run {
    using Clock = std::chrono::steady_clock;

    std::atomic<bool> interrupt{false}; // somebody wants the run to end; engines look at it all the time
    Clock::time_point begin = Clock::now();
    Callback* callback = nullptr;         // asked about solutions and nodes; null if there is none
    std::atomic<bool> in_callback{false}; // it is working
    double max_seconds = 1e20;            // from begin, presolve included

    double elapsed() const { return std::chrono::duration<double>(Clock::now() - begin).count(); }
    double remaining() const { return max_seconds - elapsed(); }
};

} // namespace tso
