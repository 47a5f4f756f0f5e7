// Parameters as SCIP's.
#include "engine/scip/engine.h"

#include <algorithm>

namespace tso::engine {
namespace {

// Heuristics that solve smaller problems.
constexpr const char* kSubmipHeuristics[] = {
    "heuristics/alns/freq",           "heuristics/crossover/freq", "heuristics/gins/freq",
    "heuristics/localbranching/freq", "heuristics/lpface/freq",    "heuristics/mutation/freq",
    "heuristics/ofins/freq",          "heuristics/proximity/freq", "heuristics/rens/freq",
    "heuristics/rins/freq",           "heuristics/clique/freq",    "heuristics/vbounds/freq",
    "heuristics/undercover/freq",     "heuristics/mpec/freq",
};

// By MIP/Level... + 1.
constexpr SCIP_PARAMSETTING kCuts[] = {SCIP_PARAMSETTING_DEFAULT, SCIP_PARAMSETTING_OFF, SCIP_PARAMSETTING_FAST,
                                       SCIP_PARAMSETTING_DEFAULT, SCIP_PARAMSETTING_AGGRESSIVE};
constexpr SCIP_PARAMSETTING kHeuristics[] = {SCIP_PARAMSETTING_DEFAULT, SCIP_PARAMSETTING_OFF, SCIP_PARAMSETTING_FAST,
                                             SCIP_PARAMSETTING_DEFAULT, SCIP_PARAMSETTING_AGGRESSIVE};
struct StrongRow {
    double least, most; // reliability of pseudo costs
};
constexpr StrongRow kStrong[] = {{1, 5}, {0, 0}, {1, 2}, {1, 5}, {4, 16}};

constexpr double kLeastTolerance = 1e-9, kLargestTolerance = 1e-4;

} // namespace

void scip_set_options(ScipObject& scip, const Model& model) {
    const Params& p = model.env.params();
    const bool discrete = model.is_mip() || !model.sos().empty() || !model.indicators().empty();
    SCIP* s = scip.get();
    if (p.get_int(Param::NumericFocus) >= 2) // first, for it sets what others set too
        SCIPsetEmphasis(s, SCIP_PARAMEMPHASIS_NUMERICS, 1);
    SCIPsetSeparating(s, kCuts[p.get_int(Param::MIP_LevelCuts) + 1], 1);
    SCIPsetHeuristics(s, kHeuristics[p.get_int(Param::MIP_LevelHeurs) + 1], 1);
    if (p.get_int(Param::MIP_LevelSubmip) == 0)
        for (const char* frequency : kSubmipHeuristics)
            scip.set(frequency, -1);
    // Start values are completed whatever the level of heuristics.
    scip.set("heuristics/completesol/freq", 0);
    scip.set("heuristics/completesol/maxunknownrate", 1.0);
    if (p.get_int(Param::Presolve) == 0)
        SCIPsetPresolving(s, SCIP_PARAMSETTING_OFF, 1);
    if (p.get_int(Param::MIP_LevelProbing) == 0)
        scip.set("propagating/probing/maxprerounds", 0);
    if (const int level = p.get_int(Param::MIP_LevelStrong); level >= 0) {
        scip.set("branching/relpscost/minreliable", kStrong[level + 1].least);
        scip.set("branching/relpscost/maxreliable", kStrong[level + 1].most);
    }
    if (!p.get_int(Param::MIP_AllowDualPresolve)) {
        scip.set("misc/allowstrongdualreds", false);
        scip.set("misc/allowweakdualreds", false);
        scip.set("misc/usesymmetry", 0);
    }
    if (p.get_int(Param::MIP_DetectDisconnectedComponents) == 0) {
        scip.set("constraints/components/maxprerounds", 0);
        scip.set("constraints/components/propfreq", -1);
    }
    if (const int method = p.get_int(Param::Method); method == 0 || method == 1)
        scip.set("lp/initalgorithm", method == 0 ? 'p' : 'd');

    const double feasible = p.get_double(discrete ? Param::MIP_IntegerTolerance : Param::SPX_PrimalTolerance);
    scip.set("numerics/feastol", std::clamp(feasible, kLeastTolerance, kLargestTolerance));
    scip.set("numerics/dualfeastol",
             std::clamp(p.get_double(Param::SPX_DualTolerance), kLeastTolerance, kLargestTolerance));

    // Without integers the loose default of a MIP's gap would be a poor answer.
    const double gap = p.get_double(Param::MIP_GapRel);
    scip.set("limits/gap", !discrete && p.is_default(Param::MIP_GapRel) ? 1e-6 : gap);
    scip.set("limits/absgap", p.get_double(Param::MIP_GapAbs));
    const auto limit = [&](Param param) -> SCIP_Longint {
        const int v = p.get_int(param);
        return v >= TSO_MAXINT ? -1 : v;
    };
    scip.set("limits/totalnodes", limit(Param::MIP_MaxNodes));
    scip.set("limits/bestsol", static_cast<int>(limit(Param::MIP_MaxSols)));
    scip.set("limits/maxsol", std::max(10, p.get_int(Param::MIP_SolutionPoolSize)));
    if (const double cutoff = p.get_double(Param::MIP_Cutoff); discrete && std::abs(cutoff) < TSO_INFINITY)
        SCIPsetObjlimit(s, cutoff + model.sense() * p.get_double(Param::MIP_ObjectiveTolerance) *
                                        std::max(1.0, std::abs(cutoff)));
}

} // namespace tso::engine
