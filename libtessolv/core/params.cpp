#include "core/params.h"

#include "catalog/lookup.h"
#include "core/failure.h"

namespace tso {

Params::Params() {
    for (int i = 0; i < kParamCount; ++i)
        number_[i] = kParams[i].fallback;
}

void Params::set_int(Param p, int v) {
    const ParamRow& r = row(p);
    if (r.type != ParamType::Int || v < r.least || v > r.greatest)
        throw Failure(TSO_PARAM_SET_ERROR);
    number_[index(p)] = v;
}

void Params::set_double(Param p, double v) {
    const ParamRow& r = row(p);
    if (r.type != ParamType::Double || !(v >= r.least && v <= r.greatest)) // a NaN fails both
        throw Failure(TSO_PARAM_SET_ERROR);
    number_[index(p)] = v;
}

void Params::set_string(Param p, const std::string& v) {
    if (row(p).type != ParamType::String || v.size() >= TSO_MAX_STRLEN)
        throw Failure(TSO_PARAM_SET_ERROR);
    logfile_ = v;
}

bool Params::is_default(Param p) const {
    return row(p).type == ParamType::String ? logfile_.empty() : number_[index(p)] == row(p).fallback;
}

const ParamRow* find_param(std::string_view name) {
    const int i = Lookup<kParams>::find(name);
    return i < 0 ? nullptr : &kParams[i];
}

} // namespace tso
