#include "engine/run_control.h"

#include <atomic>
#include <csignal>

#ifdef __linux__
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace tso::engine {

#ifdef __linux__
namespace {

// Touched by the main thread and by the handler alone, which may run on any thread while the main thread is inside a
// run; the innermost guard is published last and withdrawn first.
std::atomic<InterruptGuard*> innermost{nullptr};
std::atomic<bool> pressed{false}; // a SIGINT has come since the outermost guard was made
struct sigaction previous;        // written before the handler is installed, read by it

bool on_main_thread() { return syscall(SYS_gettid) == getpid(); }

void pass_on(int signal, siginfo_t* info, void* context) {
    if (previous.sa_flags & SA_SIGINFO) {
        previous.sa_sigaction(signal, info, context);
    } else if (previous.sa_handler == SIG_DFL) {
        sigaction(signal, &previous, nullptr);
        raise(signal); // delivered when this handler returns
    } else if (previous.sa_handler != SIG_IGN) {
        previous.sa_handler(signal);
    }
}

} // namespace

void on_sigint(int signal, void* info, void* context) {
    InterruptGuard* guard = innermost.load();
    if (!guard || pressed.exchange(true)) {
        pass_on(signal, static_cast<siginfo_t*>(info), context);
        return;
    }
    const bool in_callback = guard->run_.in_callback.load(); // its own language may have an answer to the signal
    for (; guard; guard = guard->outer_)
        guard->run_.interrupt.store(true);
    if (in_callback)
        pass_on(signal, static_cast<siginfo_t*>(info), context);
}

namespace {
void handler(int signal, siginfo_t* info, void* context) { on_sigint(signal, info, context); }
} // namespace

InterruptGuard::InterruptGuard(Run& run) : run_(run) {
    if (!on_main_thread())
        return;
    outer_ = innermost.load();
    if (!outer_) {
        struct sigaction now = {};
        if (sigaction(SIGINT, nullptr, &now) != 0)
            return;
        if (!(now.sa_flags & SA_SIGINFO) && now.sa_handler == SIG_IGN)
            return;
        previous = now;
        pressed.store(false);
    }
    active_ = true;
    innermost.store(this);
    if (!outer_) {
        struct sigaction ours = {};
        ours.sa_sigaction = handler;
        ours.sa_flags = SA_SIGINFO | SA_RESTART;
        sigemptyset(&ours.sa_mask);
        installed_ = sigaction(SIGINT, &ours, nullptr) == 0;
    }
}

InterruptGuard::~InterruptGuard() {
    if (!active_)
        return;
    if (installed_) {
        // Somebody who replaced our handler during the run (from a callback) keeps his.
        struct sigaction now = {};
        if (sigaction(SIGINT, nullptr, &now) == 0 && (now.sa_flags & SA_SIGINFO) && now.sa_sigaction == handler)
            sigaction(SIGINT, &previous, nullptr);
    }
    innermost.store(outer_);
}

#else
void on_sigint(int, void*, void*) {}
InterruptGuard::InterruptGuard(Run& run) : run_(run) {}
InterruptGuard::~InterruptGuard() = default;
#endif

} // namespace tso::engine
