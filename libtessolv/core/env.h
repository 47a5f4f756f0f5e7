// Env: an environment, which is a set of parameters and a log.
#pragma once

#include "core/log.h"
#include "core/params.h"

namespace tso {

class Env {
public:
    Env() = default;
    Env(const Env&) = default; // a model's private copy: same values, the log file shared

    const Params& params() const { return params_; }
    Log& log() { return log_; }
    bool started() const { return started_; }
    void start(); // writes the banner once

    void set_int(Param p, int v);
    void set_double(Param p, double v);
    void set_string(Param p, const std::string& v); // LogFile opens at once; a failure leaves the old one
    void reset();
    void replace(const Params& params); // all at once, as from a file

private:
    Params params_;
    Log log_;
    bool started_ = false;
};

} // namespace tso
