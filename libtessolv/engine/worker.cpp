#include "engine/worker.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

namespace tso::engine {
namespace {

using namespace std::chrono_literals;

// How long an engine may take to notice the flag before it is left behind; a run must end within a second of an
// interrupt, and the caller needs a little of it for the results.
constexpr auto kPatience = 600ms;
constexpr auto kTick = 50ms;

struct Meeting { // of the thread and its caller
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::exception_ptr error;
};

// The threads that are at work, for the end of the process. Never destroyed: threads may outlive static objects.
struct AtWork {
    std::mutex mutex;
    std::vector<StopFlag*> flags;
};
AtWork& at_work() {
    static AtWork* const all = new AtWork;
    return *all;
}

#ifdef __GLIBC__
// Runs before the destructors of the engine's library, since it is registered after they were: threads that are still
// at work are told to stop and waited for; where one does not listen, the process ends without those destructors, which
// would pull the ground from under it.
void stop_at_exit(int status, void*) {
    AtWork& all = at_work();
    for (int i = 0; i < 20; ++i) {
        {
            std::lock_guard lock(all.mutex);
            if (all.flags.empty())
                return;
            for (StopFlag* flag : all.flags)
                flag->stop.store(true);
        }
        std::this_thread::sleep_for(kTick);
    }
    std::fflush(nullptr);
    _exit(status);
}
#endif

void begin_work(StopFlag* flag) {
#ifdef __GLIBC__
    static const int registered = on_exit(stop_at_exit, nullptr);
    (void)registered;
#endif
    AtWork& all = at_work();
    std::lock_guard lock(all.mutex);
    all.flags.push_back(flag);
}

void end_work(StopFlag* flag) {
    AtWork& all = at_work();
    std::lock_guard lock(all.mutex);
    all.flags.erase(std::find(all.flags.begin(), all.flags.end(), flag));
}

// Signals belong to the threads of the application, not to an engine's.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
            sigdelset(&all, fault);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_;
};

} // namespace

bool run_on_worker(Run& run, const std::shared_ptr<StopFlag>& flag, std::function<void()> job,
                   const std::function<void()>& tick) {
    auto meeting = std::make_shared<Meeting>();
    std::thread thread;
    {
        SignalsBlocked blocked;
        begin_work(flag.get());
        auto work = [meeting, flag, job = std::move(job)]() mutable {
            std::exception_ptr error;
            try {
                job();
            } catch (...) {
                error = std::current_exception();
            }
            job = nullptr; // frees what the job owned while the end of the process still waits for this thread
            {
                std::lock_guard lock(meeting->mutex);
                meeting->error = error;
                meeting->done = true;
            }
            meeting->changed.notify_one();
            end_work(flag.get());
        };
        try {
            thread = std::thread(std::move(work));
        } catch (...) {
            end_work(flag.get());
            throw;
        }
    }
    std::unique_lock lock(meeting->mutex);
    Run::Clock::time_point give_up{};
    try {
        while (!meeting->changed.wait_for(lock, kTick, [&] { return meeting->done; })) {
            lock.unlock();
            tick();
            if (!flag->stop.load() && (run.interrupt.load() || run.remaining() <= 0)) {
                flag->stop.store(true);
                give_up = Run::Clock::now() + kPatience;
            }
            lock.lock();
            if (!meeting->done && flag->stop.load() && Run::Clock::now() >= give_up) {
                lock.unlock();
                thread.detach();
                return false;
            }
        }
    } catch (...) { // of tick: the thread must not be destroyed while it runs
        flag->stop.store(true);
        if (!lock.owns_lock())
            lock.lock();
        meeting->changed.wait(lock, [&] { return meeting->done; });
        lock.unlock();
        thread.join();
        throw;
    }
    lock.unlock();
    thread.join();
    if (meeting->error)
        std::rethrow_exception(meeting->error);
    return true;
}

} // namespace tso::engine
