// The interpreter lock, released or taken for a scope.
#pragma once

#include "py/ref.h"

#include <unistd.h>

namespace tsp {

// Runs a call that waits for the interpreter lock. Where the interpreter is ending, it ends the waiting thread instead, by
// unwinding its stack; that must not reach code that needs the lock, so the thread stops here until the process is gone.
template <class F> auto wait_for_gil(F call) {
    try {
        return call();
    } catch (...) {
        for (;;)
            pause();
    }
}

class DropGil {
public:
    DropGil() : thread_(PyEval_SaveThread()) {}
    ~DropGil() {
        wait_for_gil([this] { PyEval_RestoreThread(thread_); });
    }
    DropGil(const DropGil&) = delete;
    DropGil& operator=(const DropGil&) = delete;

private:
    PyThreadState* thread_;
};

class HoldGil {
public:
    HoldGil() : state_(wait_for_gil([] { return PyGILState_Ensure(); })) {}
    ~HoldGil() { PyGILState_Release(state_); }
    HoldGil(const HoldGil&) = delete;
    HoldGil& operator=(const HoldGil&) = delete;

private:
    PyGILState_STATE state_;
};

} // namespace tsp
