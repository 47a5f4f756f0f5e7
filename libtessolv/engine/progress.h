// The log of a run in one format, whatever the engine: what is solved, lines on the way, the outcome.
#pragma once

#include "core/model.h"
#include "core/run.h"

#include <cstdint>
#include <limits>
#include <string_view>

namespace tso::engine {

inline constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

// The latest news of a running engine; negative counts and NaN where it tells nothing.
struct News {
    int64_t nodes = -1, iterations = -1;
    double incumbent = kNoValue, bound = kNoValue;
    bool interior = false; // iterations are of an interior-point method
};

void log_header(Model& model);
void log_result(Model& model, int code);

// Lines on the way: soon at first, then rarer, and at each better incumbent, but never more than a few in a second.
class ProgressLog {
public:
    ProgressLog(Model& model, const Run& run) : model_(model), run_(run) {}
    void tell(const News& news); // writes a line if it is time for one

private:
    Model& model_;
    const Run& run_;
    double next_ = 0.5, last_ = -1, last_incumbent_ = kNoValue;
    bool titled_ = false, tree_ = false;
};

std::string_view status_text(int status);

} // namespace tso::engine
