// InterruptGuard: Ctrl-C during a run.
#pragma once

#include "core/run.h"

namespace tso::engine {

// While it lives on the process's main thread, the first SIGINT asks the run to end and later ones go to the handler
// that was there before, as does the first one too if a callback is working; that handler is put back at the end. On
// other threads, and where SIGINT is ignored, it does nothing. Guards nest (a callback may run another model): the
// first SIGINT then ends all runs that are under way.
class InterruptGuard {
public:
    explicit InterruptGuard(Run& run);
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

private:
    Run& run_;
    InterruptGuard* outer_ = nullptr;
    bool active_ = false, installed_ = false;
    friend void on_sigint(int, void*, void*);
};

} // namespace tso::engine
