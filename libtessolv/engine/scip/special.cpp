// Special ordered sets and indicator constraints into a SCIP object.
#include "engine/scip/engine.h"

#include <algorithm>
#include <numeric>

namespace tso::engine {
namespace {

// One side of an indicator constraint: if the binary has its value, a sum is at most `upper`.
struct Side {
    int indicator;
    double sign; // of the values as the model has them
    double upper;
};

// How far the sum can go above `upper` by the bounds of its variables; infinite where they allow that.
double excess(const Model& model, const Indicator& g, const Side& side) {
    long double most = 0;
    for (size_t k = 0; k < g.ind.size(); ++k) {
        const double v = side.sign * g.val[k];
        if (v == 0)
            continue;
        const bool semi = is_semi_type(model.cols().type[g.ind[k]]);
        double bound = v > 0 ? model.effective_upper(g.ind[k]) : model.effective_lower(g.ind[k]);
        if (semi)
            bound = v > 0 ? std::max(bound, 0.0) : std::min(bound, 0.0);
        if (bound >= TSO_INFINITY || bound <= -TSO_INFINITY)
            return TSO_INFINITY;
        most += static_cast<long double>(v) * bound;
    }
    return static_cast<double>(most - side.upper);
}

void add_side(const Model& model, ScipProblem& problem, const Side& side) {
    SCIP* s = problem.object.get();
    const Indicator& g = model.indicators()[side.indicator];
    if (side.upper >= TSO_INFINITY)
        return;
    SCIP_VAR* binary = problem.object.vars[g.binvar];
    SCIP_CONS* cons = nullptr;
    if (side.upper <= -TSO_INFINITY) { // no sum is, so the binary must not have the value
        double one = 1;
        const double other = 1 - g.binval;
        must(SCIPcreateConsBasicLinear(s, &cons, "i", 1, &binary, &one, other, other), "an indicator constraint");
        problem.object.add(cons);
        return;
    }
    std::vector<SCIP_VAR*> vars;
    std::vector<double> value;
    for (size_t k = 0; k < g.ind.size(); ++k) {
        vars.push_back(problem.object.vars[g.ind[k]]);
        value.push_back(side.sign * g.val[k]);
    }
    // A row with a coefficient that lifts the side out of the way, where the user allows one of that size.
    const double big = excess(model, g, side), allowed = model.env.params().get_double(Param::MIP_LinearizationBigM);
    if (big <= 0)
        return; // holds always
    if (big <= allowed) {
        vars.push_back(binary);
        value.push_back(g.binval == 1 ? big : -big);
        must(SCIPcreateConsBasicLinear(s, &cons, "i", static_cast<int>(vars.size()), vars.data(), value.data(),
                                       -TSO_INFINITY, g.binval == 1 ? side.upper + big : side.upper),
             "an indicator constraint");
        problem.object.add(cons);
        return;
    }
    if (g.binval == 0)
        must(SCIPgetNegatedVar(s, binary, &binary), "an indicator's variable");
    must(SCIPcreateConsBasicIndicator(s, &cons, "i", binary, static_cast<int>(vars.size()), vars.data(), value.data(),
                                      side.upper),
         "an indicator constraint");
    problem.slacks.push_back({SCIPgetSlackVarIndicator(cons), side.indicator, side.sign});
    problem.object.add(cons);
}

} // namespace

void scip_add_sets(const Model& model, ScipProblem& problem) {
    std::vector<size_t> order;
    std::vector<SCIP_VAR*> vars;
    std::vector<double> place;
    for (const Sos& set : model.sos()) {
        const size_t most = set.type == TSO_SOS_TYPE1 ? 1 : 2; // members that may differ from zero
        if (set.member.size() <= most)
            continue;
        order.resize(set.member.size());
        std::iota(order.begin(), order.end(), size_t{0});
        std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return set.weight[a] < set.weight[b]; });
        vars.clear();
        for (size_t k : order)
            vars.push_back(problem.object.vars[set.member[k]]);
        place.resize(order.size());
        std::iota(place.begin(), place.end(), 1.0); // SCIP does not like weights that are close to one another
        SCIP_CONS* cons = nullptr;
        const auto create = set.type == TSO_SOS_TYPE1 ? SCIPcreateConsBasicSOS1 : SCIPcreateConsBasicSOS2;
        must(create(problem.object.get(), &cons, "s", static_cast<int>(vars.size()), vars.data(), place.data()),
             "a special ordered set");
        problem.object.add(cons);
    }
}

void scip_add_indicators(const Model& model, ScipProblem& problem) {
    for (size_t k = 0; k < model.indicators().size(); ++k) {
        const Indicator& g = model.indicators()[k];
        const int index = static_cast<int>(k);
        if (g.sense != TSO_GREATER_EQUAL)
            add_side(model, problem, {index, 1, g.rhs});
        if (g.sense != TSO_LESS_EQUAL)
            add_side(model, problem, {index, -1, -g.rhs});
    }
}

} // namespace tso::engine
