// What a callback may ask of a run of SCIP.
#include "engine/scip/callback.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

enum What {
    kNumVars = 200,
    kNumConstrs,
    kNumNzs,
    kLb,
    kUb,
    kLhs,
    kRhs,
    kObj,
    kIsInt,
    kElements,
    kIndices,
    kStarts,
    kObjConst,
    kBest = 300,
    kBound,
    kRelaxation,
    kSolPre,
    kRelPre,
    kRelRdcPre,
    kNodeCount,
    kSolCount,
    kCutCount,
    kNodesLeft,
    kNodeId,
    kDepth,
    kPhase,
    kNodeLb,
    kNodeUb,
    kSol = 316,
    kRel = 317
};

constexpr double kCloseGap = 0.01; // relative, below which the phase is "close to the optimum"

int clamped(SCIP_Longint n) { return static_cast<int>(std::clamp<SCIP_Longint>(n, 0, TSO_MAXINT)); }

int answer(void* result, int v) {
    *static_cast<int*>(result) = v;
    return TSO_OKAY;
}
int answer(void* result, double v) {
    *static_cast<double*>(result) = std::clamp(v, -TSO_INFINITY, TSO_INFINITY);
    return TSO_OKAY;
}
int answer(void* result, const double* v) {
    *static_cast<const double**>(result) = v;
    return TSO_OKAY;
}
int answer(void* result, const std::vector<int>& v) {
    *static_cast<const int**>(result) = v.data();
    return TSO_OKAY;
}

} // namespace

// Those of one node need a relaxation; values that do not exist yet read as null arrays.
int ScipCallback::get(int where, int what, void* result) {
    if (where_ == kNowhere || where != where_)
        return TSO_CB_INVALID_WHERE;
    const bool known =
        (what >= kNumVars && what <= kObjConst) || (what >= kBest && what <= kNodeUb) || what == kSol || what == kRel;
    if (!known)
        return TSO_CB_INVALID_WHAT;
    constexpr int of_node[] = {kRelaxation, kRelPre, kRelRdcPre, kNodeId, kDepth, kNodeLb, kNodeUb, kRel};
    if (where_ != kNode && std::find(std::begin(of_node), std::end(of_node), what) != std::end(of_node))
        return TSO_CB_INVALID_WHERE;
    return fetch(what, result);
}

int ScipCallback::fetch(int what, void* result) {
    SCIP* s = scip();
    const int count = SCIPgetNVars(s);
    SCIP_VAR** vars = SCIPgetVars(s);
    const auto of_presolved = [&](auto value) {
        std::vector<double> v(static_cast<size_t>(count));
        for (int j = 0; j < count; ++j)
            v[static_cast<size_t>(j)] = value(vars[j]);
        return answer(result, keep(what, std::move(v)));
    };
    const auto of_model = [&](auto value) {
        std::vector<double> v(problem_.columns);
        for (size_t j = 0; j < v.size(); ++j)
            v[j] = value(transformed(static_cast<int>(j)));
        return answer(result, keep(what, std::move(v)));
    };
    // At a solution that one, the best so far elsewhere.
    const auto at_solution = [&](auto use) {
        if (where_ == kSolution)
            return use(sol_);
        SCIP_SOL* best = SCIPgetBestSol(s);
        return best ? use(best) : answer(result, static_cast<const double*>(nullptr));
    };
    const double sense = model_.sense(), scale = sense * SCIPgetTransObjscale(s);
    switch (what) {
    case kNumVars:
        return answer(result, count);
    case kNumConstrs:
        return answer(result, static_cast<int>(presolved().lower.size()));
    case kNumNzs:
        return answer(result, static_cast<int>(presolved().elements.size()));
    case kLb:
        return of_presolved([](SCIP_VAR* v) { return SCIPvarGetLbGlobal(v); });
    case kUb:
        return of_presolved([](SCIP_VAR* v) { return SCIPvarGetUbGlobal(v); });
    case kLhs:
        return answer(result, presolved().lower.data());
    case kRhs:
        return answer(result, presolved().upper.data());
    case kObj:
        return of_presolved([&](SCIP_VAR* v) { return scale * SCIPvarGetObj(v); });
    case kIsInt: {
        std::vector<int>& v = ints_[what];
        v.assign(static_cast<size_t>(count), 0);
        for (int j = 0; j < count; ++j)
            v[static_cast<size_t>(j)] = SCIPvarIsIntegral(vars[j]) ? 1 : 0;
        return answer(result, v);
    }
    case kElements:
        return answer(result, presolved().elements.data());
    case kIndices:
        return answer(result, presolved().indices);
    case kStarts:
        return answer(result, presolved().starts);
    case kObjConst:
        return answer(result, SCIPretransformObj(s, 0));
    case kBest:
        return answer(result, SCIPgetPrimalbound(s));
    case kBound:
        return answer(result, SCIPgetDualbound(s));
    case kRelaxation:
        return answer(result, SCIPretransformObj(s, SCIPgetLPObjval(s)));
    case kSolPre:
        return at_solution(
            [&](SCIP_SOL* sol) { return of_presolved([&](SCIP_VAR* v) { return SCIPgetSolVal(s, sol, v); }); });
    case kRelPre:
        return of_presolved([&](SCIP_VAR* v) { return SCIPgetSolVal(s, nullptr, v); });
    case kRelRdcPre:
        return of_presolved([&](SCIP_VAR* v) { return scale * SCIPgetVarRedcost(s, v); });
    case kNodeCount:
        return answer(result, clamped(SCIPgetNTotalNodes(s)));
    case kSolCount:
        return answer(result, clamped(SCIPgetNSolsFound(s)));
    case kCutCount:
        return answer(result, SCIPgetNCutsApplied(s));
    case kNodesLeft:
        return answer(result, SCIPgetNNodesLeft(s));
    case kNodeId:
        return answer(result, clamped(SCIPnodeGetNumber(SCIPgetCurrentNode(s))));
    case kDepth:
        return answer(result, SCIPgetDepth(s));
    case kPhase: {
        const double best = SCIPgetPrimalbound(s), bound = SCIPgetDualbound(s);
        if (std::fabs(best) >= TSO_INFINITY)
            return answer(result, 0);
        return answer(result, std::fabs(best - bound) > kCloseGap * std::max(1e-10, std::fabs(best)) ? 1 : 2);
    }
    case kNodeLb:
        return of_model([&](SCIP_VAR* v) { return SCIPcomputeVarLbLocal(s, v); });
    case kNodeUb:
        return of_model([&](SCIP_VAR* v) { return SCIPcomputeVarUbLocal(s, v); });
    case kSol:
        return at_solution([&](SCIP_SOL* sol) { return answer(result, keep(what, values_of(sol))); });
    default: // kRel
        return answer(result, keep(what, values_of(nullptr)));
    }
}

// Of the constraints that are linear; others have no place in a matrix.
const ScipCallback::Presolved& ScipCallback::presolved() {
    if (presolved_)
        return *presolved_;
    struct Entry {
        int column, row;
        double value;
    };
    SCIP* s = scip();
    Presolved p;
    std::vector<Entry> entries;
    std::vector<SCIP_VAR*> vars;
    std::vector<double> values;
    for (int i = 0; i < SCIPgetNConss(s); ++i) {
        SCIP_CONS* cons = SCIPgetConss(s)[i];
        SCIP_Bool lower_known = 0, upper_known = 0, counted = 0, vars_known = 0, values_known = 0;
        double lower = SCIPconsGetLhs(s, cons, &lower_known), upper = SCIPconsGetRhs(s, cons, &upper_known);
        int n = 0;
        if (!lower_known || !upper_known || SCIPgetConsNVars(s, cons, &n, &counted) != SCIP_OKAY || !counted)
            continue;
        vars.resize(static_cast<size_t>(n));
        values.resize(static_cast<size_t>(n));
        if (SCIPgetConsVars(s, cons, vars.data(), n, &vars_known) != SCIP_OKAY || !vars_known ||
            SCIPgetConsVals(s, cons, values.data(), n, &values_known) != SCIP_OKAY || !values_known)
            continue;
        double constant = 0;
        const int row = static_cast<int>(p.lower.size());
        for (int k = 0; k < n; ++k) {
            SCIP_VAR* var = vars[static_cast<size_t>(k)];
            double value = values[static_cast<size_t>(k)];
            must(SCIPgetProbvarSum(s, &var, &value, &constant), "a row of the presolved problem");
            if (var && value != 0 && SCIPvarGetProbindex(var) >= 0)
                entries.push_back({SCIPvarGetProbindex(var), row, value});
        }
        p.lower.push_back(lower > -TSO_INFINITY ? lower - constant : -TSO_INFINITY);
        p.upper.push_back(upper < TSO_INFINITY ? upper - constant : TSO_INFINITY);
    }
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.column != b.column ? a.column < b.column : a.row < b.row;
    });
    p.starts.assign(static_cast<size_t>(SCIPgetNVars(s)) + 1, 0);
    int last_column = -1, last_row = -1;
    for (const Entry& e : entries) {
        if (e.column == last_column && e.row == last_row) { // two variables of a row became one
            p.elements.back() += e.value;
            continue;
        }
        last_column = e.column, last_row = e.row;
        p.elements.push_back(e.value);
        p.indices.push_back(e.row);
        ++p.starts[static_cast<size_t>(e.column) + 1];
    }
    for (size_t j = 1; j < p.starts.size(); ++j)
        p.starts[j] += p.starts[j - 1];
    p.indices.reserve(1); // an address even where there is nothing
    return presolved_.emplace(std::move(p));
}

} // namespace tso::engine
