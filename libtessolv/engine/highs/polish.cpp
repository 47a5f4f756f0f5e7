// The last digits of a MIP's solution. HiGHS may use its tolerances to the full: an objective of 0.999999 for 1, a
// variable of 2.0000004. With the discrete variables put where they mean to be, a linear problem gives the others.
#include "engine/check.h"
#include "engine/highs/engine.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tso::engine {
namespace {

constexpr double kClean = 1e-9; // violations that are left alone

} // namespace

void HighsEngine::polish(Model& model, Run& run, Solution& result) {
    if (result.x.empty() || !object_)
        return;
    const Columns& cols = model.cols();
    const int n = cols.size();
    std::vector<double> x = result.x;
    for (int j = 0; j < n; ++j)
        if (cols.type[j] != TSO_CONTINUOUS && cols.type[j] != TSO_SEMICONT &&
            std::fabs(x[j] - std::round(x[j])) <= kClean)
            x[j] = std::round(x[j]) + 0.0; // no negative zero
    Violations v = violations_of(model, x, activity_of(model, x));
    if (v.worst() <= kClean && v.integrality.by == 0) {
        take_polished(model, std::move(x), result);
        return;
    }
    if (result.status != TSO_STATUS_OPTIMAL)
        return; // the run is over for a reason

    const double tolerance = 10 * model.env.params().get_double(Param::MIP_IntegerTolerance);
    std::vector<double> lower(n), upper(n), own_lower(n), own_upper(n);
    std::vector<HighsInt> type(n), all(n);
    std::iota(all.begin(), all.end(), 0);
    for (int j = 0; j < n; ++j) {
        own_lower[j] = lower[j] = highs_lower(model, j);
        own_upper[j] = upper[j] = highs_upper(model, j);
        type[j] = highs_type(model, j);
        if (is_semi(cols.type[j])) {
            const bool zero = std::fabs(x[j]) <= tolerance && (cols.lower[j] > 0 || cols.upper[j] < 0);
            lower[j] = zero ? 0 : cols.lower[j];
            upper[j] = zero ? 0 : cols.upper[j];
        }
        if (cols.type[j] != TSO_CONTINUOUS && cols.type[j] != TSO_SEMICONT)
            lower[j] = upper[j] = std::clamp(std::round(x[j]), lower[j], upper[j]);
    }
    void* h = object_->get();
    Highs_clearIntegrality(h);
    Highs_changeColsBoundsByRange(h, 0, n - 1, lower.data(), upper.data());
    object_->set("solver", "choose");
    auto exchange = std::make_shared<HighsExchange>();
    const HighsOutcome outcome = run_highs(model, run, exchange, true);
    if (!outcome.ended)
        return;
    if (outcome.status == kHighsModelStatusOptimal) {
        Highs_getSolution(h, x.data(), nullptr, nullptr, nullptr);
        for (int j = 0; j < n; ++j)
            x[j] = std::clamp(x[j], lower[j], upper[j]) + 0.0;
        const Violations before = violations_of(model, result.x, result.activity);
        v = violations_of(model, x, activity_of(model, x));
        if (v.worst() <= std::max(kClean, before.worst()) && v.integrality.by == 0)
            take_polished(model, std::move(x), result);
    }
    Highs_changeColsBoundsByRange(h, 0, n - 1, own_lower.data(), own_upper.data());
    Highs_changeColsIntegralityByRange(h, 0, n - 1, type.data());
}

void HighsEngine::take_polished(const Model& model, std::vector<double> x, Solution& result) {
    result.x = std::move(x);
    result.activity = activity_of(model, result.x);
    result.objective = objective_of(model, result.x);
    if (!result.pool.empty())
        result.pool.front() = {result.objective, result.x};
    incumbent_ = result.x;
    set_gaps(model, result);
}

} // namespace tso::engine
