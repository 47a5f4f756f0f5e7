#include "engine/scip/turns.h"

#include <chrono>
#include <exception>

namespace tso::engine {

// Waits until it is done, and does meanwhile what is asked in return.
void Turns::ask(Order*& theirs, Order*& ours, const Work& work) {
    std::exception_ptr thrown;
    const Work kept = [&] {
        try {
            work();
        } catch (...) {
            thrown = std::current_exception();
        }
    };
    Order order{&kept, false};
    {
        std::unique_lock lock(mutex_);
        theirs = &order;
        wake_.notify_all();
        while (!order.finished) {
            wake_.wait(lock, [&] { return order.finished || ours; });
            if (ours)
                carry_out(lock, ours);
        }
    }
    if (thrown)
        std::rethrow_exception(thrown);
}

void Turns::carry_out(std::unique_lock<std::mutex>& lock, Order*& orders) {
    Order* const order = orders;
    orders = nullptr;
    lock.unlock();
    (*order->work)();
    lock.lock();
    order->finished = true;
    wake_.notify_all();
}

void Turns::serve(const Work& idle) {
    std::unique_lock lock(mutex_);
    while (!done_) {
        if (wake_.wait_for(lock, std::chrono::milliseconds(20), [&] { return done_ || caller_; })) {
            if (caller_)
                carry_out(lock, caller_);
            continue;
        }
        lock.unlock();
        idle();
        lock.lock();
    }
}

void Turns::done() {
    const std::lock_guard lock(mutex_);
    done_ = true;
    wake_.notify_all();
}

} // namespace tso::engine
