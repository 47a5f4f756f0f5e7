// The program that runs CSDP, as a child process for the time of one problem.
#pragma once

#include "core/run.h"
#include "engine/csdp/protocol.h"

#include <functional>
#include <string>
#include <vector>

namespace tso::engine::csdp {

struct Request {
    ProblemHeader header;
    std::vector<int32_t> blocks;
    std::vector<double> rhs;
    std::vector<Entry> entries;
};

struct Answer {
    enum How {
        Finished,     // head and values are there
        Stopped,      // by a limit or an interrupt, and it did not answer any more
        NotAvailable, // the program can't be started
        NoMemory,
        Died // or did not say what it should
    } how = Died;
    std::string why; // of the last three, for the log
    ResultHeader head;
    std::vector<double> values; // y, then the blocks of X
};

std::string program_path(); // beside this library

// Starts the program, gives it the problem and waits for the answer. A limit or an interrupt of the run makes it end
// with what it has; if it does not soon, it is killed. `tick` is called with each progress.
Answer ask(const Request& request, Run& run, const std::function<void(const Progress&)>& tick);

} // namespace tso::engine::csdp
