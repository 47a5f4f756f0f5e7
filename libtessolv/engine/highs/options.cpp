// The parameters as HiGHS's options: one row each, set before every run.
#include "engine/highs/engine.h"

#include <algorithm>
#include <limits>

namespace tso::engine {
namespace {

// Options that are one choice among few, by the parameter's value from -1 on.
struct ChoiceRow {
    Param param;
    const char* option;
    int value[5]; // for -1, 0, 1, 2, 3
};
constexpr ChoiceRow kIntChoices[] = {
    {Param::PostScaling, "simplex_scale_strategy", {2, 0, 4, 4, 4}},
    {Param::SPX_PrimalPricing, "simplex_primal_edge_weight_strategy", {-1, 0, 1, 2, 2}},
    {Param::SPX_DualPricing, "simplex_dual_edge_weight_strategy", {-1, 0, 1, 2, 2}},
    {Param::MIP_LevelStrong, "mip_pscost_minreliable", {8, 0, 4, 8, 16}},
    {Param::MIP_LevelCuts, "mip_pool_soft_limit", {10000, 1, 5000, 10000, 50000}},
    {Param::MIP_LevelProbing, "mip_lifting_for_probing", {-1, -1, -1, 0, 100}},
};
constexpr ChoiceRow kBoolChoices[] = {
    {Param::MIP_LevelCuts, "mip_allow_cut_separation_at_nodes", {1, 0, 0, 1, 1}},
    {Param::MIP_LevelHeurs, "mip_heuristic_run_feasibility_jump", {1, 0, 1, 1, 1}},
    {Param::MIP_LevelHeurs, "mip_heuristic_run_root_reduced_cost", {1, 0, 1, 1, 1}},
    {Param::MIP_LevelHeurs, "mip_heuristic_run_zi_round", {0, 0, 0, 0, 1}},
    {Param::MIP_LevelHeurs, "mip_heuristic_run_shifting", {0, 0, 0, 0, 1}},
    {Param::MIP_LevelSubmip, "mip_heuristic_run_rins", {1, 0, 1, 1, 1}},
    {Param::MIP_LevelSubmip, "mip_heuristic_run_rens", {1, 0, 1, 1, 1}},
    {Param::MIP_AllowDualPresolve, "mip_detect_symmetry", {1, 0, 1, 1, 1}},
};
// Bits of presolve_rule_off. Those that reason by the objective: forcing columns, dual fixing, column stuffing.
constexpr int kDualRules = 1 << 7 | 1 << 17 | 1 << 18;
constexpr int kProbingRule = 1 << 15;

// Limits: TSO_MAXINT means none.
struct LimitRow {
    Param param;
    const char* option;
};
constexpr LimitRow kMipLimits[] = {
    {Param::MIP_MaxNodes, "mip_max_nodes"},
    {Param::MIP_MaxSols, "mip_max_improving_sols"},
};
constexpr LimitRow kLpLimits[] = {
    {Param::SPX_MaxIterations, "simplex_iteration_limit"},
    {Param::SPX_MaxIterations, "qp_iteration_limit"},
    {Param::IPM_MaxIterations, "ipm_iteration_limit"},
    {Param::IPM_MaxIterations, "pdlp_iteration_limit"},
};

struct DoubleRow {
    Param param;
    const char* option;
    double least; // that the option takes
};
constexpr DoubleRow kDoubles[] = {
    {Param::SPX_PrimalTolerance, "primal_feasibility_tolerance", 1e-10},
    {Param::SPX_DualTolerance, "dual_feasibility_tolerance", 1e-10},
    {Param::IPM_GapTolerance, "ipm_optimality_tolerance", 1e-12},
    {Param::MIP_IntegerTolerance, "mip_feasibility_tolerance", 1e-10},
    {Param::MIP_GapAbs, "mip_abs_gap", 0},
    {Param::MIP_GapRel, "mip_rel_gap", 0},
};

constexpr double kHeuristicEffort[] = {0.05, 0, 0.02, 0.1, 0.25}; // for MIP/LevelHeurs -1, 0, 1, 2, 3
constexpr double kPivotThreshold[] = {0.1, 0.2, 0.35, 0.5};       // for NumericFocus 0, 1, 2, 3

int limit_of(int v) { return v >= TSO_MAXINT ? std::numeric_limits<int>::max() : v; }

void set_method(HighsObject& highs, const Params& p, bool linear, bool mip) {
    const int method = p.get_int(Param::Method), target = p.get_int(Param::SolutionTarget);
    const char* solver = method < 0 || !linear ? "choose" : method <= 1 ? "simplex" : method <= 3 ? "ipm" : "pdlp";
    highs.set("solver", solver);
    highs.set("simplex_strategy", method == 0 ? 4 : 1); // primal : dual
    const bool crossover = target == 0 || (target != 1 && method != 3);
    highs.set("run_crossover", crossover ? "on" : "off");
    highs.set("mip_lp_solver", !mip || method < 0 || method > 3 ? "choose" : method <= 1 ? "simplex" : "ipm");
    if (linear && ((method == 3 && !crossover) || method == 4)) {
        highs.set("primal_feasibility_tolerance", std::max(1e-10, p.get_double(Param::IPM_PrimalTolerance)));
        highs.set("dual_feasibility_tolerance", std::max(1e-10, p.get_double(Param::IPM_DualTolerance)));
    }
    // A first-order method gets to its own 1e-7 in reasonable time, but not to the 1e-8 of a barrier.
    highs.set("pdlp_optimality_tolerance",
              p.is_default(Param::IPM_GapTolerance) ? 1e-7 : std::max(1e-10, p.get_double(Param::IPM_GapTolerance)));
}

} // namespace

void set_options(HighsObject& highs, const Model& model) {
    const Params& p = model.env.params();
    const bool mip = model.is_mip(), linear = !mip && model.quadratic().empty();
    for (const DoubleRow& row : kDoubles)
        highs.set(row.option, std::max(row.least, p.get_double(row.param)));
    for (const ChoiceRow& row : kIntChoices)
        highs.set(row.option, row.value[p.get_int(row.param) + 1]);
    for (const ChoiceRow& row : kBoolChoices)
        highs.set(row.option, row.value[p.get_int(row.param) + 1] != 0);
    for (const LimitRow& row : kMipLimits)
        highs.set(row.option, limit_of(p.get_int(row.param)));
    for (const LimitRow& row : kLpLimits) // a MIP's linear problems are not what these limit
        highs.set(row.option, mip ? std::numeric_limits<int>::max() : limit_of(p.get_int(row.param)));
    highs.set("mip_heuristic_effort", kHeuristicEffort[p.get_int(Param::MIP_LevelHeurs) + 1]);
    int rules_off = 0;
    if (mip && !p.get_int(Param::MIP_AllowDualPresolve))
        rules_off |= kDualRules;
    if (mip && p.get_int(Param::MIP_LevelProbing) == 0)
        rules_off |= kProbingRule;
    highs.set("presolve_rule_off", rules_off);
    highs.set("factor_pivot_threshold", kPivotThreshold[p.get_int(Param::NumericFocus)]);
    highs.set("qp_regularization_value", 1e-7);
    const int presolve = p.get_int(Param::Presolve);
    highs.set("presolve", presolve < 0 ? "choose" : presolve == 0 ? "off" : "on");
    highs.set("threads", std::max(1, p.get_int(Param::NumThreads)));
    set_method(highs, p, linear, mip);
}

} // namespace tso::engine
