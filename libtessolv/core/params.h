// Params: the values of all parameters of one environment.
#pragma once

#include "catalog/params.h"

#include <array>
#include <string>

namespace tso {

class Params {
public:
    Params(); // all defaults

    int get_int(Param p) const { return static_cast<int>(number_[index(p)]); }
    double get_double(Param p) const { return number_[index(p)]; }
    const std::string& get_string(Param) const { return logfile_; } // LogFile is the only one

    // Throw Failure(TSO_PARAM_SET_ERROR) when the type or the range does not fit; the value is then as it was.
    void set_int(Param p, int v);
    void set_double(Param p, double v);
    void set_string(Param p, const std::string& v);
    bool is_default(Param p) const;

private:
    static int index(Param p) { return static_cast<int>(p); }
    std::array<double, kParamCount> number_;
    std::string logfile_;
};

// The parameter of that name, case and "/" or "_" alike; nullptr for an unknown one.
const ParamRow* find_param(std::string_view name);
inline Param param_of(const ParamRow* r) { return static_cast<Param>(r - kParams); }

} // namespace tso
