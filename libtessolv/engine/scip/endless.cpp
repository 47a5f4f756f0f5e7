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
constexpr double kHolds = 1e-6;    // violation, relative
constexpr double kBoxes[] = {1e4, 1e6};
constexpr int kFewNodes = 2000;

double side_of(double side) { return std::fabs(side) >= TSO_INFINITY ? side : 0; }

// What is left of the model for directions: finite sides and bounds become zero, linear parts do not count beside
// quadratic ones. The objective is its quadratic part if `curved`, else its linear part where the other gets no worse.
void build_directions(const Model& model, bool curved, Model& directions) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    for (int j = 0; j < cols.size(); ++j)
        directions.add_col(0, nullptr, nullptr, curved ? 0 : cols.cost[j],
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
    std::vector<int> first, second;
    std::vector<double> value;
    for (const QuadTerm& t : model.quadratic()) {
        first.push_back(t.row);
        second.push_back(t.col);
        value.push_back(model.sense() * t.value);
    }
    const int terms = static_cast<int>(value.size());
    if (terms > 0 && !curved)
        directions.add_quadratic_row(0, nullptr, nullptr, terms, first.data(), second.data(), value.data(),
                                     -TSO_INFINITY, 0, nullptr);
    for (double& v : value)
        v *= model.sense();
    if (curved)
        directions.add_quadratic(terms, first.data(), second.data(), value.data());
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

// A problem of directions in the unit box, along which no row and no bound ever ends the way, is solved for one that
// improves the objective.
bool ScipEngine::find_endless(const Model& model, Run& run, const std::vector<double>& x, std::vector<double>& ray) {
    for (bool curved : {true, false}) {
        if (curved && model.quadratic().empty())
            continue;
        Env env;
        Model directions(env);
        directions.env.set_int(Param::OutputFlag, 0);
        directions.env.set_int(Param::MIP_MaxNodes, kFewNodes);
        build_directions(model, curved, directions);
        auto problem = std::make_shared<ScipProblem>();
        scip_build(directions, *problem);
        scip_set_options(problem->object, directions);
        problem->object.set("limits/primal", -model.sense() * kImproves);
        ScipOutcome outcome = run_scip(directions, run, problem, std::make_shared<ScipExchange>());
        if (!outcome.ended)
            break;
        if (!outcome.solutions.empty() && is_endless(model, x, outcome.solutions.front())) {
            ray = std::move(outcome.solutions.front());
            return true;
        }
    }
    return false;
}

// Whether the objective gets better and better from x along the ray, and nothing is violated on the way.
bool ScipEngine::is_endless(const Model& model, const std::vector<double>& x, const std::vector<double>& ray) {
    if (ray.empty() || x.empty() || violations_of(model, x, activity_of(model, x)).worst() > kHolds)
        return false;
    double size = 1, length = 0;
    for (size_t j = 0; j < x.size(); ++j) {
        size = std::max(size, std::fabs(x[j]));
        length = std::max(length, std::fabs(ray[j]));
    }
    if (length == 0)
        return false;
    double last = objective_of(model, x);
    for (double far : {1e2, 1e5, 1e8}) { // from where x is, whatever its size
        const double step = far * size / length;
        std::vector<double> y = x;
        for (size_t j = 0; j < y.size(); ++j)
            y[j] += step * ray[j];
        const double objective = objective_of(model, y);
        if (model.sense() * (last - objective) < far * size * kImproves ||
            violations_of(model, y, activity_of(model, y)).worst() > kHolds)
            return false;
        last = objective;
    }
    return true;
}

// The way need not be straight: whether the best point within bounds of our own goes along with these.
ScipEngine::Growth ScipEngine::growth_of(const Model& model, Run& run, std::vector<double>& best) {
    double objective[2];
    bool at_bound = false;
    for (int k : {0, 1}) {
        const std::unique_ptr<Model> boxed = model.copy();
        boxed->env.set_int(Param::OutputFlag, 0);
        boxed->env.set_int(Param::MIP_MaxNodes, kFewNodes);
        const double box = kBoxes[k];
        std::vector<char> open(model.cols().size());
        for (int j = 0; j < model.cols().size(); ++j) {
            double lower = model.cols().lower[j], upper = model.cols().upper[j];
            open[j] = lower <= -TSO_INFINITY || upper >= TSO_INFINITY;
            if (!open[j])
                continue;
            lower = std::max(lower, std::min(-box, upper - box));
            upper = std::min(upper, std::max(box, lower + box));
            boxed->set_lower(1, &j, &lower);
            boxed->set_upper(1, &j, &upper);
        }
        auto problem = std::make_shared<ScipProblem>();
        scip_build(*boxed, *problem);
        scip_set_options(problem->object, *boxed);
        ScipOutcome outcome = run_scip(*boxed, run, problem, std::make_shared<ScipExchange>());
        if (!outcome.ended || outcome.solutions.empty() ||
            (outcome.status != SCIP_STATUS_OPTIMAL && outcome.status != SCIP_STATUS_GAPLIMIT))
            return Growth::Unknown;
        best = std::move(outcome.solutions.front());
        objective[k] = model.sense() * objective_of(model, best);
        at_bound = false;
        for (size_t j = 0; j < best.size(); ++j)
            at_bound |= open[j] && std::fabs(best[j]) > 0.99 * box;
    }
    const bool better = objective[0] - objective[1] > 1 + 0.1 * std::fabs(objective[0]);
    return at_bound && better ? Growth::Endless : at_bound ? Growth::Unknown : Growth::Inside;
}

} // namespace tso::engine
