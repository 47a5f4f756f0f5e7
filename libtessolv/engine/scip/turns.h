// Two threads that take turns: SCIP's, and that of the library's caller, on which the user's callback runs.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

namespace tso::engine {

// While one of the two has work done by the other it waits, so never both of them are at work on what they share. What
// the work throws is thrown again where it was asked for.
class Turns {
public:
    using Work = std::function<void()>;

    void on_caller(const Work& work) { ask(caller_, engine_, work); } // from SCIP's thread
    void on_engine(const Work& work) { ask(engine_, caller_, work); } // from work that on_caller asked for
    // The caller's thread: does what it is asked until the engine is done. `idle` is called several times a second.
    void serve(const Work& idle);
    void done(); // SCIP's thread

private:
    struct Order {
        const Work* work;
        bool finished;
    };
    void ask(Order*& theirs, Order*& ours, const Work& work);
    void carry_out(std::unique_lock<std::mutex>& lock, Order*& orders);

    std::mutex mutex_;
    std::condition_variable wake_;
    Order *caller_ = nullptr, *engine_ = nullptr; // what each of them is to do
    bool done_ = false;
};

} // namespace tso::engine
