// The parameters: one row each drives setting, reading, files and the reference page.
#pragma once

#include "tessolv.h"

#include <cstdint>
#include <iterator>
#include <string_view>

namespace tso {

enum class ParamType : uint8_t { Int, Double, String };

// Row number of each parameter in kParams.
// clang-format off
enum class Param : uint8_t {
    Method,
    PostScaling,
    Presolve,
    Dualization,
    OutputFlag,
    LogToConsole,
    NumThreads,
    EnableNetworkFlow,
    EnableStochasticLP,
    NumericFocus,
    SPX_ColumnGeneration,
    SPX_CrashStart,
    SPX_MaxIterations,
    SPX_PrimalPricing,
    SPX_DualPricing,
    IPM_MaxIterations,
    MIP_LevelCuts,
    MIP_LevelHeurs,
    MIP_LevelProbing,
    MIP_LevelStrong,
    MIP_LevelSubmip,
    MIP_MaxNodes,
    MIP_RootParallelism,
    MIP_AutoConfiguration,
    MIP_MaxSols,
    MIP_AllowDualPresolve,
    MIP_EnableLazyConstr,
    MIP_DetectDisconnectedComponents,
    MIP_SolutionPoolSize,
    MIP_MaxStallingNodes,
    MIP_SolutionNumber,
    SolutionTarget,
    MaxTime,
    SPX_PrimalTolerance,
    SPX_DualTolerance,
    IPM_PrimalTolerance,
    IPM_DualTolerance,
    IPM_GapTolerance,
    MIP_IntegerTolerance,
    MIP_ObjectiveTolerance,
    MIP_GapAbs,
    MIP_GapRel,
    MIP_LinearizationBigM,
    MIP_Cutoff,
    LogFile,
};

struct ParamRow {
    std::string_view name;
    ParamType type;
    double fallback, least, greatest;  // default and range, inclusive; unused for strings (default "")
    std::string_view meaning;          // of its values
    std::string_view effect;           // what it becomes in the engines; empty: accepted without effect
};

inline constexpr ParamRow kParams[] = {
    {"Method", ParamType::Int, -1, -1, 4,
     "-1 the engine chooses; 0 primal simplex; 1 dual simplex; 2 barrier, then crossover to a basic solution; 3 "
     "barrier alone; 4 first-order method (no basis, moderate accuracy)",
     "LPs: solver, simplex_strategy and run_crossover of HiGHS. MIPs: 0 to 3 choose the method of the root "
     "relaxation (mip_lp_solver); SCIP: 0 and 1, lp/initalgorithm. Quadratic objectives: none"},
    {"PostScaling", ParamType::Int, -1, -1, 1,
     "-1 automatic; 0 no scaling of the matrix; 1 scaling by the largest entries",
     "simplex: simplex_scale_strategy 2, 0 or 4"},
    {"Presolve", ParamType::Int, -1, -1, 1,
     "-1 automatic; 0 off; 1 on",
     "LPs and MIPs: presolve of HiGHS, presolving of SCIP (off for 0). A run that starts from a basis works without it"},
    {"Dualization", ParamType::Int, -1, -1, 1,
     "-1 automatic; 0 never; 1 always",
     ""},
    {"OutputFlag", ParamType::Int, 1, 0, 1,
     "0 no log at all; 1 log",
     "the library's own log"},
    {"LogToConsole", ParamType::Int, 1, 0, 1,
     "0 no log to the console; 1 log to the console",
     "the library's own log"},
    {"NumThreads", ParamType::Int, 0, 0, 1024,
     "0 automatic, which is one thread: more have not been found to help; n at most n threads",
     "MIPs and parallel parts of others: threads of HiGHS. SCIP and Ipopt: one thread"},
    {"EnableNetworkFlow", ParamType::Int, 0, 0, 1,
     "0 no; 1 yes",
     ""},
    {"EnableStochasticLP", ParamType::Int, 0, 0, 1,
     "0 no; 1 yes",
     ""},
    {"NumericFocus", ParamType::Int, 0, 0, 3,
     "0 automatic; 1 to 3 the more, the more careful and the slower",
     "simplex: factor_pivot_threshold 0.1, 0.2, 0.35 or 0.5; SCIP: emphasis on numerics for 2 and 3. Whatever the value, answers are checked in the "
     "model's own units and tried again without presolve and scaling when they fail"},
    {"SPX/ColumnGeneration", ParamType::Int, -1, -1, 1,
     "-1 automatic; 0 no; 1 yes",
     ""},
    {"SPX/CrashStart", ParamType::Int, -1, -1, 1,
     "-1 automatic; 0 no; 1 yes",
     ""},
    {"SPX/MaxIterations", ParamType::Int, TSO_MAXINT, 0, TSO_MAXINT,
     "most iterations of a run; 2000000000 means no limit",
     "LPs and quadratic objectives: simplex_iteration_limit, qp_iteration_limit; ABORT_ITERATION_LIMIT. MIPs: none"},
    {"SPX/PrimalPricing", ParamType::Int, -1, -1, 2,
     "-1 automatic; 0 largest reduced cost; 1 devex; 2 steepest edge",
     "simplex_primal_edge_weight_strategy, for quadratic objectives too"},
    {"SPX/DualPricing", ParamType::Int, -1, -1, 2,
     "-1 automatic; 0 largest infeasibility; 1 devex; 2 steepest edge",
     "simplex_dual_edge_weight_strategy"},
    {"IPM/MaxIterations", ParamType::Int, TSO_MAXINT, 0, TSO_MAXINT,
     "most iterations of a run; 2000000000 means no limit",
     "LPs: ipm_iteration_limit and pdlp_iteration_limit; the iterations of CSDP, all its tries together; max_iter of "
     "Ipopt, which is 3000 at most; "
     "ABORT_ITERATION_LIMIT. MIPs: none"},
    {"MIP/LevelCuts", ParamType::Int, -1, -1, 3,
     "-1 automatic; 0 as few as can be; 1 at the root, fewer; 2 as automatic; 3 many",
     "mip_allow_cut_separation_at_nodes (off for 0 and 1) and mip_pool_soft_limit (1, 5000, 10000, 50000); SCIP: "
     "separation default, off, fast, default, aggressive"},
    {"MIP/LevelHeurs", ParamType::Int, -1, -1, 3,
     "-1 automatic; 0 none; 1 few; 2 many; 3 very many",
     "mip_heuristic_effort 0.05, 0, 0.02, 0.1, 0.25 and the switches mip_heuristic_run_...; SCIP: heuristics default, "
     "off, fast, default, aggressive"},
    {"MIP/LevelProbing", ParamType::Int, -1, -1, 3,
     "-1 automatic; 0 none; 1 plain; 2 with lifting; 3 with lifting that may add entries",
     "presolve_rule_off (probing) for 0; mip_lifting_for_probing -1, 0, 100 for 1, 2, 3; SCIP: no probing for 0"},
    {"MIP/LevelStrong", ParamType::Int, -1, -1, 3,
     "-1 automatic; 0 none; 1 little; 2 as automatic; 3 much",
     "mip_pscost_minreliable 8, 0, 4, 8, 16; SCIP: branching/relpscost/maxreliable 5, 0, 2, 5, 16"},
    {"MIP/LevelSubmip", ParamType::Int, -1, -1, 3,
     "-1 automatic; 0 no heuristics by smaller MIPs; 1 to 3 with them",
     "mip_heuristic_run_rins and mip_heuristic_run_rens; SCIP: the same kinds of heuristics off for 0"},
    {"MIP/MaxNodes", ParamType::Int, TSO_MAXINT, 0, TSO_MAXINT,
     "most nodes of a run, 0 ends it before the root; 2000000000 means no limit",
     "mip_max_nodes; limits/totalnodes of SCIP; ABORT_NODE_LIMIT"},
    {"MIP/RootParallelism", ParamType::Int, 0, 0, 1024,
     "0 automatic; n at most n threads at the root",
     ""},
    {"MIP/AutoConfiguration", ParamType::Int, 0, 0, 1,
     "0 no; 1 yes",
     ""},
    {"MIP/MaxSols", ParamType::Int, TSO_MAXINT, 1, TSO_MAXINT,
     "ends the run when so many solutions, each better than the one before, were found; 2000000000 means no limit",
     "mip_max_improving_sols; limits/bestsol of SCIP; ABORT_SOLUTION_LIMIT"},
    {"MIP/AllowDualPresolve", ParamType::Int, 1, 0, 1,
     "0 presolve may not cut off feasible solutions by the objective or by symmetry; 1 it may",
     "0: presolve_rule_off (forcing columns, dual fixing, column stuffing) and mip_detect_symmetry; SCIP: "
     "misc/allowstrongdualreds, misc/allowweakdualreds, misc/usesymmetry"},
    {"MIP/EnableLazyConstr", ParamType::Int, 0, 0, 1,
     "0 no; 1 a callback may add lazy constraints",
     ""},
    {"MIP/DetectDisconnectedComponents", ParamType::Int, -1, -1, 1,
     "-1 automatic; 0 no; 1 yes",
     "SCIP: constraints/components off for 0"},
    {"MIP/SolutionPoolSize", ParamType::Int, 10, 1, 1000000,
     "most solutions kept: the best of those that were found on the way, without repetition",
     "the library's own pool, from HiGHS's improving solutions and those that SCIP keeps"},
    {"MIP/MaxStallingNodes", ParamType::Int, TSO_MAXINT, 1, TSO_MAXINT,
     "ends the run after so many nodes without a better solution, once there is one; 2000000000 means no limit",
     "the library's own count; ABORT_STALLING_NODE_LIMIT"},
    {"MIP/SolutionNumber", ParamType::Int, 0, 0, TSO_MAXINT,
     "which stored solution Xn reads, 0 is the best",
     "reading only"},
    {"SolutionTarget", ParamType::Int, -1, -1, 1,
     "-1 as Method says; 0 a basic solution; 1 any optimal solution, without crossover",
     "LPs solved by barrier: run_crossover"},
    {"MaxTime", ParamType::Double, 1e20, 0, 1e20,
     "seconds of a run, presolve included, from its beginning; 1e20 means no limit",
     "the engine's time limit, and the library's own clock where the engine does not look at it; ABORT_TIME_LIMIT"},
    {"SPX/PrimalTolerance", ParamType::Double, 1e-7, 1e-10, 1e-2,
     "largest violation of a bound or side that counts as none",
     "primal_feasibility_tolerance, except for a barrier alone and the first-order method; SCIP without integers: "
     "numerics/feastol"},
    {"SPX/DualTolerance", ParamType::Double, 1e-7, 1e-10, 1e-2,
     "largest violation of a reduced cost's sign that counts as none",
     "dual_feasibility_tolerance, except for a barrier alone and the first-order method; numerics/dualfeastol of SCIP"},
    {"IPM/PrimalTolerance", ParamType::Double, 1e-8, 1e-12, 1e-2,
     "as SPX/PrimalTolerance, relative, for methods without a basis",
     "primal_feasibility_tolerance (from 1e-10) for Method 3 and 4; constr_viol_tol of Ipopt; CSDP: a "
     "tenth of it is axtol"},
    {"IPM/DualTolerance", ParamType::Double, 1e-8, 1e-12, 1e-2,
     "as SPX/DualTolerance, relative, for methods without a basis",
     "dual_feasibility_tolerance (from 1e-10) for Method 3 and 4; dual_inf_tol of Ipopt; CSDP: a tenth "
     "of it is atytol"},
    {"IPM/GapTolerance", ParamType::Double, 1e-8, 1e-12, 1e-2,
     "relative difference of primal and dual objective that counts as none",
     "ipm_optimality_tolerance; for Method 4 pdlp_optimality_tolerance, which stays at 1e-7 unless this is set; "
     "CSDP: a tenth of it is objtol"},
    {"MIP/IntegerTolerance", ParamType::Double, 1e-6, 1e-10, 0.5,
     "largest distance to an integer that counts as none",
     "mip_feasibility_tolerance or numerics/feastol of SCIP, for the rows of a MIP too"},
    {"MIP/ObjectiveTolerance", ParamType::Double, 1e-6, 1e-10, 1,
     "difference of objective values that counts as none, relative above 1",
     "the slack that MIP/Cutoff is given"},
    {"MIP/GapAbs", ParamType::Double, 1e-6, 0, 1e20,
     "a MIP is solved when incumbent and bound differ by no more",
     "mip_abs_gap; limits/absgap of SCIP"},
    {"MIP/GapRel", ParamType::Double, 1e-4, 0, 1e20,
     "a MIP is solved when incumbent and bound differ by no more, relative to the incumbent",
     "mip_rel_gap; limits/gap of SCIP, which is 1e-6 for problems without integers, sets and indicators unless this is "
     "set"},
    {"MIP/LinearizationBigM", ParamType::Double, 0, 0, 1e20,
     "0 automatic; otherwise the largest coefficient for rewriting",
     "indicator constraints: 0 leaves them to SCIP; otherwise those whose variables' bounds allow it become rows with a "
     "coefficient of the size that the bounds ask for, if that is no larger than this"},
    {"MIP/Cutoff", ParamType::Double, 1e20, -1e20, 1e20,
     "only solutions at least as good as this are wanted; a MIP that has none is reported as infeasible; magnitude "
     "1e20 means no cutoff",
     "MIPs: a row that bounds the objective, for the time of the run; the objective limit of SCIP"},
    {"LogFile", ParamType::String, 0, 0, 0,
     "path of a file that the log is appended to; empty for none",
     "the library's own log"},
};
// clang-format on

inline constexpr int kParamCount = static_cast<int>(std::size(kParams));
static_assert(kParamCount == 45);

constexpr const ParamRow& row(Param p) { return kParams[static_cast<int>(p)]; }

} // namespace tso
