// The interpreter lock, released or taken for a scope.
#pragma once

#include "py/ref.h"

namespace tsp {

class DropGil {
public:
    DropGil() : thread_(PyEval_SaveThread()) {}
    ~DropGil() { PyEval_RestoreThread(thread_); }
    DropGil(const DropGil&) = delete;
    DropGil& operator=(const DropGil&) = delete;

private:
    PyThreadState* thread_;
};

class HoldGil {
public:
    HoldGil() : state_(PyGILState_Ensure()) {}
    ~HoldGil() { PyGILState_Release(state_); }
    HoldGil(const HoldGil&) = delete;
    HoldGil& operator=(const HoldGil&) = delete;

private:
    PyGILState_STATE state_;
};

} // namespace tsp
