// Ctrl-C in loops that run no Python code of their own and may be long, or endless.
#pragma once

#include "py/ref.h"

namespace tsp {

class Interruptible {
public:
    // One step of the loop. Now and then the signals that have come are served, which may run Python code.
    void step() {
        if ((++steps_ & 0xffff) == 0)
            checked(PyErr_CheckSignals());
    }

private:
    unsigned steps_ = 0;
};

} // namespace tsp
