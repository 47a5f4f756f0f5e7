#include "core/env.h"

#include "core/version.h"

namespace tso {

void Env::start() {
    if (started_)
        return;
    started_ = true;
    log_.printf("Tessolv %d.%d.%d, library for linear, quadratic and mixed-integer optimisation", kVersionMajor,
                kVersionMinor, kVersionTechnical);
}

void Env::set_int(Param p, int v) {
    Params next = params_;
    next.set_int(p, v);
    replace(next);
}

void Env::set_double(Param p, double v) { params_.set_double(p, v); }

void Env::set_string(Param p, const std::string& v) {
    Params next = params_;
    next.set_string(p, v);
    replace(next);
}

void Env::reset() { replace(Params()); }

void Env::replace(const Params& params) {
    Params next = params; // what can fail comes before the first change
    log_.configure(next);
    params_ = std::move(next);
}

} // namespace tso
