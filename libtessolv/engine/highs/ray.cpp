// The direction in which a quadratic objective has no end, which HiGHS does not tell: one along which the objective is
// linear and gets better, and which no bound or row limits.
#include "engine/highs/engine.h"

#include <algorithm>

namespace tso::engine {

bool HighsEngine::find_quadratic_ray(Model& model, Run& run, Solution& result) const {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    const int n = cols.size();
    std::vector<double> cost(n), lower(n), upper(n), row_lower, row_upper, value;
    std::vector<HighsInt> begin, index;
    for (int j = 0; j < n; ++j) {
        cost[j] = model.sense() * cols.cost[j];
        lower[j] = cols.lower[j] > -TSO_INFINITY ? 0 : -1;
        upper[j] = cols.upper[j] < TSO_INFINITY ? 0 : 1;
    }
    for (int i = 0; i < rows.size(); ++i) {
        begin.push_back(static_cast<HighsInt>(index.size()));
        const auto c = rows.matrix.columns_of(i);
        const auto v = rows.matrix.values_of(i);
        index.insert(index.end(), c.begin(), c.end());
        value.insert(value.end(), v.begin(), v.end());
        row_lower.push_back(rows.lower[i] > -TSO_INFINITY ? 0 : -TSO_INFINITY);
        row_upper.push_back(rows.upper[i] < TSO_INFINITY ? 0 : TSO_INFINITY);
    }
    std::vector<std::vector<std::pair<int, double>>> gradient(n); // of the quadratic part, linear in the direction
    for (const QuadTerm& t : model.quadratic()) {
        gradient[t.row].emplace_back(t.col, t.value);
        gradient[t.col].emplace_back(t.row, t.value);
    }
    for (auto& g : gradient) {
        if (g.empty())
            continue;
        std::sort(g.begin(), g.end());
        begin.push_back(static_cast<HighsInt>(index.size()));
        for (size_t k = 0; k < g.size();) {
            double sum = 0;
            const int j = g[k].first;
            for (; k < g.size() && g[k].first == j; ++k)
                sum += g[k].second;
            index.push_back(j);
            value.push_back(sum);
        }
        row_lower.push_back(0);
        row_upper.push_back(0);
    }
    auto object = std::make_shared<HighsObject>();
    const HighsInt m = static_cast<HighsInt>(row_lower.size());
    must(Highs_passLp(object->get(), n, m, static_cast<HighsInt>(index.size()), kHighsMatrixFormatRowwise,
                      kHighsObjSenseMinimize, 0, cost.data(), lower.data(), upper.data(), row_lower.data(),
                      row_upper.data(), begin.data(), index.data(), value.data()),
         "the search for a ray");
    object->set("threads", 1);
    object->set("time_limit", std::clamp(run.remaining(), 1e-3, 1e6));
    auto flag = std::make_shared<StopFlag>();
    const bool ended = run_on_worker(
        run, flag, [object] { Highs_run(object->get()); }, [] {});
    if (!ended || Highs_getModelStatus(object->get()) != kHighsModelStatusOptimal ||
        Highs_getObjectiveValue(object->get()) >= -1e-7)
        return false;
    result.primal_ray.resize(n);
    Highs_getSolution(object->get(), result.primal_ray.data(), nullptr, nullptr, nullptr);
    return true;
}

} // namespace tso::engine
