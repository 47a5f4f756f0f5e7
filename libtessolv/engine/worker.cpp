#include "engine/worker.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <thread>

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
    bool done = false, left_behind = false;
    std::exception_ptr error;
};

std::atomic<int> left_behind_threads{0};

#ifdef __GLIBC__
// Runs before the destructors of the engine's library, since it is registered after they were.
void wait_at_exit(int status, void*) {
    for (int i = 0; i < 20 && left_behind_threads.load() > 0; ++i)
        std::this_thread::sleep_for(kTick);
    if (left_behind_threads.load() > 0) {
        std::fflush(nullptr);
        _exit(status);
    }
}
#endif

void count_left_behind() {
    left_behind_threads.fetch_add(1);
#ifdef __GLIBC__
    static const int registered = on_exit(wait_at_exit, nullptr);
    (void)registered;
#endif
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
        thread = std::thread([meeting, job = std::move(job)]() mutable {
            std::exception_ptr error;
            try {
                job();
            } catch (...) {
                error = std::current_exception();
            }
            std::unique_lock lock(meeting->mutex);
            meeting->error = error;
            meeting->done = true;
            const bool left_behind = meeting->left_behind;
            lock.unlock();
            meeting->changed.notify_one();
            if (left_behind) {
                job = nullptr; // frees what the job owned while the process still waits for this thread
                left_behind_threads.fetch_sub(1);
            }
        });
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
                meeting->left_behind = true;
                count_left_behind();
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
