// Whether an objective that is not linear has no end, which SCIP would not see: a problem of directions in the unit
// box, along which no row and no bound ever ends the way, is solved for one that improves the objective. Along it the
// objective then must get better and better, in fact.
#include "engine/check.h"
#include "engine/scip/engine.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

constexpr double kImproves = 1e-6; // objective of a direction, at least

double side_of(double side) { return std::fabs(side) >= TSO_INFINITY ? side : 0; }

// What is left of the model for directions: finite sides and bounds become zero, linear parts do not count beside
// quadratic ones.
void build_directions(const Model& model, Model& directions) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    const bool quadratic = !model.quadratic().empty();
    for (int j = 0; j < cols.size(); ++j)
        directions.add_col(0, nullptr, nullptr, quadratic ? 0 : cols.cost[j],
                           cols.lower[j] > -TSO_INFINITY || cols.type[j] == TSO_BINARY ? 0 : -1,
                           cols.upper[j] < TSO_INFINITY || cols.type[j] == TSO_BINARY ? 0 : 1, TSO_CONTINUOUS, nullptr);
    for (int i = 0; i < rows.size(); ++i) {
        const auto c = rows.matrix.columns_of(i);
        const auto v = rows.matrix.values_of(i);
        const int linear = static_cast<int>(c.size());
        const double lower = side_of(rows.lower[i]), upper = side_of(rows.upper[i]);
        if (rows.kind_of(i) != RowKind::Quadratic || rows.quadratic[i].empty()) {
            directions.add_row(linear, c.data(), v.data(), lower, upper, nullptr);
            continue;
        }
        std::vector<int> first, second;
        std::vector<double> value;
        for (const QuadTerm& t : rows.quadratic[i]) {
            first.push_back(t.row);
            second.push_back(t.col);
            value.push_back(t.value);
        }
        directions.add_quadratic_row(0, nullptr, nullptr, static_cast<int>(value.size()), first.data(), second.data(),
                                     value.data(), lower, upper, nullptr);
    }
    for (const QuadTerm& t : model.quadratic())
        directions.add_quadratic(1, &t.row, &t.col, &t.value);
    for (const Sos& s : model.sos()) {
        const int begin = 0;
        directions.add_sos(1, static_cast<int>(s.member.size()), &s.type, &begin, s.member.data(), s.weight.data());
    }
    for (const Indicator& g : model.indicators())
        directions.add_row(static_cast<int>(g.ind.size()), g.ind.data(), g.val.data(),
                           g.sense == TSO_LESS_EQUAL ? -TSO_INFINITY : 0,
                           g.sense == TSO_GREATER_EQUAL ? TSO_INFINITY : 0, nullptr);
    directions.set_sense(model.sense());
}

} // namespace

bool ScipEngine::find_endless(const Model& model, Run& run, const std::vector<double>& x, std::vector<double>& ray) {
    Env env;
    Model directions(env);
    directions.env.set_int(Param::OutputFlag, 0);
    directions.env.set_int(Param::MIP_MaxNodes, 10000);
    build_directions(model, directions);
    auto problem = std::make_shared<ScipProblem>();
    scip_build(directions, *problem);
    scip_set_options(problem->object, directions);
    problem->object.set("limits/primal", -model.sense() * kImproves);
    const ScipOutcome outcome = run_scip(directions, run, problem, std::make_shared<ScipExchange>());
    if (!outcome.ended || outcome.solutions.empty())
        return false;
    ray = outcome.solutions.front();
    if (is_endless(model, x, ray))
        return true;
    ray.clear();
    return false;
}

// Whether the objective gets better and better from x along the ray, and nothing is violated on the way.
bool ScipEngine::is_endless(const Model& model, const std::vector<double>& x, const std::vector<double>& ray) {
    if (ray.empty() || x.empty())
        return false;
    double last = objective_of(model, x);
    const double start = violations_of(model, x, activity_of(model, x)).worst();
    for (double step : {1e3, 1e6, 1e9}) {
        std::vector<double> y = x;
        for (size_t j = 0; j < y.size(); ++j)
            y[j] += step * ray[j];
        const double objective = objective_of(model, y);
        if (model.sense() * (last - objective) < step * kImproves ||
            violations_of(model, y, activity_of(model, y)).worst() > std::max(1e-6, start))
            return false;
        last = objective;
    }
    return true;
}

} // namespace tso::engine
