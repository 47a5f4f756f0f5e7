#include "engine/scip/threads.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>

#include <signal.h>
#include <unistd.h>

namespace tso::engine {
namespace {

constexpr int kMostThreads = 48; // below SCIP's 64: the caller's own may have come to it too

struct Pool {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::packaged_task<void()>> waiting;
    int threads = 0, idle = 0;
    const pid_t process = getpid();
};

// Never destroyed: its threads wait until the process ends. A forked process has none of them and begins anew.
Pool& pool() {
    static std::mutex mutex;
    static Pool* current = nullptr;
    std::lock_guard lock(mutex);
    if (!current || current->process != getpid())
        current = new Pool;
    return *current;
}

thread_local bool serving = false; // this thread is one of them

void serve(Pool& p) {
    serving = true;
    std::unique_lock lock(p.mutex);
    for (;;) {
        ++p.idle;
        p.changed.wait(lock, [&] { return !p.waiting.empty(); });
        --p.idle;
        std::packaged_task<void()> task = std::move(p.waiting.front());
        p.waiting.pop_front();
        lock.unlock();
        task();
        task = {};
        lock.lock();
    }
}

// Signals belong to the threads of the application.
void start_thread(Pool& p) {
    sigset_t all, before;
    sigfillset(&all);
    for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        sigdelset(&all, fault);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    std::exception_ptr error;
    try {
        std::thread([&p] { serve(p); }).detach();
        ++p.threads;
    } catch (const std::system_error&) {
        error = std::current_exception();
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error && p.threads == 0)
        std::rethrow_exception(error);
}

} // namespace

void on_scip_thread(const std::function<void()>& job) {
    if (serving)
        return job();
    Pool& p = pool();
    std::packaged_task<void()> task(job);
    std::future<void> done = task.get_future();
    {
        std::lock_guard lock(p.mutex);
        if (p.idle <= static_cast<int>(p.waiting.size()) && p.threads < kMostThreads)
            start_thread(p);
        p.waiting.push_back(std::move(task));
    }
    p.changed.notify_one();
    done.get();
}

} // namespace tso::engine
