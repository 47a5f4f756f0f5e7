// The parameters that the module resolves by name.
#pragma once

#include "module/name_index.h"

namespace tsp {

enum class ParamType : unsigned char { Int, Float, Str };

struct ParamRow {
    std::string_view key;  // the folded name
    std::string_view name; // passed to the solver; NUL-terminated
    ParamType type;
    std::string_view text;
};

// clang-format off
inline constexpr ParamRow kParams[] = {
    {"method", "Method", ParamType::Int,
     "Set the selected optimization method"},
    {"postscaling", "PostScaling", ParamType::Int,
     "Set the method of post scaling used."},
    {"presolve", "Presolve", ParamType::Int,
     "Set whether to enable the presolver method"},
    {"dualization", "Dualization", ParamType::Int,
     "Set whether to dualize the model"},
    {"outputflag", "OutputFlag", ParamType::Int,
     "Enables or disables solver output. Use LogFile and LogToConsole for finer-grain control."},
    {"logtoconsole", "LogToConsole", ParamType::Int,
     "Enables or disables console logging. Use OutputFlag to shut off all logging."},
    {"numthreads", "NumThreads", ParamType::Int,
     "Set the number of threads used"},
    {"enablenetworkflow", "EnableNetworkFlow", ParamType::Int,
     "Set whether to enable the network simplex method"},
    {"enablestochasticlp", "EnableStochasticLP", ParamType::Int,
     "Set whether to detect Stochastic Linear Programming problem structure"},
    {"numericfocus", "NumericFocus", ParamType::Int,
     "Set the efforts spent on detecting and handling numerical issues that may occur."},
    {"spx_columngeneration", "SPX/ColumnGeneration", ParamType::Int,
     "Set whether to use column generation in the simplex method"},
    {"spx_crashstart", "SPX/CrashStart", ParamType::Int,
     "Set whether to use the initial basis solution generation method in the simplex method"},
    {"spx_maxiterations", "SPX/MaxIterations", ParamType::Int,
     "Set the maximum number of iterations in the simplex method"},
    {"spx_primalpricing", "SPX/PrimalPricing", ParamType::Int,
     "Setting the primal pricing strategy in the simplex method"},
    {"spx_dualpricing", "SPX/DualPricing", ParamType::Int,
     "Setting the dual pricing strategy in the simplex method"},
    {"ipm_maxiterations", "IPM/MaxIterations", ParamType::Int,
     "Set the maximum number of iterations in the interior point method"},
    {"mip_levelcuts", "MIP/LevelCuts", ParamType::Int,
     "Control the level of aggression of cut module, the larger the value, the more aggressive."},
    {"mip_levelheurs", "MIP/LevelHeurs", ParamType::Int,
     "Control the level of aggression of heuristic module, the larger the value, the more aggressive."},
    {"mip_levelprobing", "MIP/LevelProbing", ParamType::Int,
     "Control the level of aggression of probing module, the larger the value, the more aggressive."},
    {"mip_levelstrong", "MIP/LevelStrong", ParamType::Int,
     "Control the level of aggression of strong-branching module, the larger the value, the more aggressive."},
    {"mip_levelsubmip", "MIP/LevelSubmip", ParamType::Int,
     "Control the level of aggression of submip module, the larger the value, the more aggressive."},
    {"mip_maxnodes", "MIP/MaxNodes", ParamType::Int,
     "Set maximum node limit in MIP"},
    {"mip_rootparallelism", "MIP/RootParallelism", ParamType::Int,
     "Set the maximum number of concurrent threads allowed by the root node in MIP"},
    {"mip_autoconfiguration", "MIP/AutoConfiguration", ParamType::Int,
     "Specify whether to enable automatical configuration for MIP"},
    {"mip_maxsols", "MIP/MaxSols", ParamType::Int,
     "Set the maximum solution limit in MIP"},
    {"mip_allowdualpresolve", "MIP/AllowDualPresolve", ParamType::Int,
     "Specify whether to enable dual presolve methods in MIP"},
    {"mip_enablelazyconstr", "MIP/EnableLazyConstr", ParamType::Int,
     "Incorperating lazy constraints in the MILP solving process. If this option is activated, lazy constraint callbacks are invoked whenever a MILP solution is found. The generated lazy constraints are used by the solver to reduce the solution space. Note that some techniques, for instance, dual presolving reductions, are disabled under this option to avoid conflict with lazy constraints"},
    {"mip_detectdisconnectedcomponents", "MIP/DetectDisconnectedComponents", ParamType::Int,
     "Specify whether to enable disconnected component strategy in MIP"},
    {"mip_solutionpoolsize", "MIP/SolutionPoolSize", ParamType::Int,
     "Set the maximum number of solutions to be stored for obtaining in MIP"},
    {"mip_maxstallingnodes", "MIP/MaxStallingNodes", ParamType::Int,
     "Set the maximum allowed stalling nodes"},
    {"mip_solutionnumber", "MIP/SolutionNumber", ParamType::Int,
     "Set the index of suboptimal solution to get. After parameter set, access attribute Xn to retrieve corresponding suboptimal solution."},
    {"solutiontarget", "SolutionTarget", ParamType::Int,
     "Set the target of solution in LP problem"},
    {"maxtime", "MaxTime", ParamType::Float,
     "Set the maximum solve time"},
    {"spx_primaltolerance", "SPX/PrimalTolerance", ParamType::Float,
     "Set the primal feasibility tolerance for the simplex method"},
    {"spx_dualtolerance", "SPX/DualTolerance", ParamType::Float,
     "Set the dual feasibility tolerance for the simplex method"},
    {"ipm_primaltolerance", "IPM/PrimalTolerance", ParamType::Float,
     "Set the primal relative feasibility tolerance in the interior point method"},
    {"ipm_dualtolerance", "IPM/DualTolerance", ParamType::Float,
     "Set the dual relative feasibility tolerance in the interior point method"},
    {"ipm_gaptolerance", "IPM/GapTolerance", ParamType::Float,
     "Set the dual relative gap tolerance in the interior point method"},
    {"mip_integertolerance", "MIP/IntegerTolerance", ParamType::Float,
     "Set the integer judgment precision in MIP solution"},
    {"mip_objectivetolerance", "MIP/ObjectiveTolerance", ParamType::Float,
     "Set the objective value comparison accuracy in MIP solution"},
    {"mip_gapabs", "MIP/GapAbs", ParamType::Float,
     "Set absolute gap allowed for a MIP model"},
    {"mip_gaprel", "MIP/GapRel", ParamType::Float,
     "Set relative gap allowed for a MIP model"},
    {"mip_linearizationbigm", "MIP/LinearizationBigM", ParamType::Float,
     "Set the largest coefficient for reformulated the non-linear functions in MIP"},
    {"mip_cutoff", "MIP/Cutoff", ParamType::Float,
     "Set the objective cutoff to avoid finding solutions worse than this value in MIP"},
    {"logfile", "LogFile", ParamType::Str,
     "Determines the name of the Tessolv log file. Modifying this parameter closes the current log file and opens the specified file. Use an empty string for no log file. Use OutputFlag to shut off all logging."},
};
// clang-format on
static_assert(std::size(kParams) == 45);

inline constexpr auto kParamIndex = make_name_index<1024>(kParams);

} // namespace tsp
