// The rows of the public constants: callback codes, error and status codes, limits.
#pragma once

#include "tessolv.h"

#include <cstdint>
#include <iterator>
#include <string_view>

namespace tsp {

// clang-format off
struct CodeRow {
    std::string_view name;
    int code;
};

inline constexpr CodeRow kErrorCodes[] = {
#define TSO_CODE(name, value) {#name, value},
#include "tessolv_codes.h"
#undef TSO_CODE
};
static_assert(std::size(kErrorCodes) == 61);

inline constexpr CodeRow kStatusCodes[] = {
    {"UNKNOWN", TSO_STATUS_UNKNOWN},
    {"OPTIMAL", TSO_STATUS_OPTIMAL},
    {"INFEASIBLE", TSO_STATUS_INFEASIBLE},
    {"UNBOUNDED", TSO_STATUS_UNBOUNDED},
    {"INF_OR_UBD", TSO_STATUS_INF_OR_UBD},
    {"SUB_OPTIMAL", TSO_STATUS_SUB_OPTIMAL},
};

struct WhereRow {
    std::string_view name;
    int code;
    std::string_view text;
};

inline constexpr WhereRow kWhereCodes[] = {
    {"MIPSTART", 3, "MIP Optimizer is in initial optimization phase."},
    {"MIPSOL", 4, "MIP Optimizer just found a new incumbent solution."},
    {"MIPNODE", 5, "MIP Optimizer is currently exploring a node."},
};

// How the value of a callback code is read: one number, or one entry of an array that the library keeps.
enum class Getter : uint8_t { Int, Double, IntAt, DoubleAt };

struct WhatRow {
    int code;
    std::string_view name;
    Getter getter;
    std::string_view owner; // "md": one value, "vd": one for each variable, "cd": one for each row
    bool direct;            // a constant of CallbackClass
    std::string_view text;
};

inline constexpr WhatRow kWhatCodes[] = {
    {200, "PRE_NUMVARS", Getter::Int, "md", true,
     "Number columns of the presolved model."},
    {201, "PRE_NUMCONSTRS", Getter::Int, "md", true,
     "Number rows of the presolved model."},
    {202, "PRE_NUMNZS", Getter::Int, "md", true,
     "Number nonzero elements of the presolved model."},
    {203, "PRE_LB", Getter::DoubleAt, "vd", false,
     "Array to hold the lower bound of columns of the presolved model."},
    {204, "PRE_UB", Getter::DoubleAt, "vd", false,
     "Array to hold the upper bound of columns of the presolved model."},
    {205, "PRE_LHS", Getter::DoubleAt, "cd", false,
     "Array to hold the lower bound of rows of the presolved model."},
    {206, "PRE_RHS", Getter::DoubleAt, "cd", false,
     "Array to hold the upper bound of rows of the presolved model."},
    {207, "PRE_OBJ", Getter::DoubleAt, "vd", false,
     "Array to hold the objective coefficients of the presolved model."},
    {208, "PRE_ISINT", Getter::IntAt, "vd", false,
     "Array to hold the integer type of columns of the presolved model."},
    {209, "PRE_ELEMENTS", Getter::DoubleAt, "cd", false,
     "Array to hold the value of the nonzero elements (in CSC format) of the presolved model."},
    {210, "PRE_INDICES", Getter::IntAt, "cd", false,
     "Array to hold the row index of the nonzero elements (in CSC format) of the presolved model."},
    {211, "PRE_STARTS", Getter::IntAt, "vd", false,
     "Array to hold the start position of the nonzero elements (in CSC format) of the presolved model."},
    {212, "PRE_OBJCONST", Getter::Double, "md", false,
     "The objective constant of the presolved model."},
    {300, "MIP_OBJBST", Getter::Double, "md", true,
     "Current best objective (global primal bound)."},
    {301, "MIP_OBJBND", Getter::Double, "md", true,
     "Current best objective bound (global dual bound)."},
    {302, "MIP_RELVAL", Getter::Double, "md", true,
     "Current relaxation objective (local dual bound)."},
    {303, "MIP_SOLPRE", Getter::DoubleAt, "vd", false,
     "Current best objective (global primal bound)."},
    {304, "MIP_RELPRE", Getter::DoubleAt, "vd", false,
     "Current best objective bound (global dual bound)."},
    {305, "MIP_RELRDCPRE", Getter::DoubleAt, "vd", false,
     "Current relaxation objective (local dual bound)."},
    {306, "MIP_NODCNT", Getter::Int, "md", true,
     "Total number of nodes explored so far."},
    {307, "MIP_SOLCNT", Getter::Int, "md", true,
     "Total number of feasible solutions found so far."},
    {308, "MIP_CUTCNT", Getter::Int, "md", true,
     "Total number of cutting planes applied so far."},
    {309, "MIP_NODLFT", Getter::Int, "md", true,
     "Total number of nodes unexplored nodes."},
    {310, "MIP_NODEID", Getter::Int, "md", true,
     "The unique ID of the current node."},
    {311, "MIP_DEPTH", Getter::Int, "md", true,
     "The depth of the current node."},
    {312, "MIP_PHASE", Getter::Int, "md", true,
     "Current phase in the MIP optimizer. (0: no solution; 1: far away from optimum; 2: close to the optimum)"},
    {313, "MIP_LB", Getter::DoubleAt, "vd", false,
     "Array to hold the lower bound of variables at the current node."},
    {314, "MIP_UB", Getter::DoubleAt, "vd", false,
     "Array to hold the upper bound of variables at the current node."},
    {316, "MIP_SOL", Getter::DoubleAt, "vd", true,
     "Array to hold the best solution(in original domain) found so far."},
    {317, "MIP_REL", Getter::DoubleAt, "vd", true,
     "Array to hold the relaxation solution(in original domain) found so far."},
};

// Plain constants of TSO, by type.
struct NumberRow {
    std::string_view name;
    double value;
};
struct TextRow {
    std::string_view name;
    char text;
};
inline constexpr NumberRow kFloatConstants[] = {{"UNDEFINED", TSO_UNDEFINED}, {"INFINITY", TSO_INFINITY}};
inline constexpr TextRow kTextConstants[] = {
    {"CONTINUOUS", TSO_CONTINUOUS}, {"BINARY", TSO_BINARY}, {"INTEGER", TSO_INTEGER}, {"SEMICONT", TSO_SEMICONT},
    {"SEMIINT", TSO_SEMIINT}, {"EQUAL", TSO_EQUAL}, {"LESS_EQUAL", TSO_LESS_EQUAL}, {"GREATER_EQUAL", TSO_GREATER_EQUAL},
};
inline constexpr CodeRow kIntConstants[] = {
    {"GENCONSTR_INDICATOR", TSO_GENCONSTR_INDICATOR}, {"MINIMIZE", TSO_MINIMIZE}, {"MAXIMIZE", TSO_MAXIMIZE},
    {"SOS_TYPE1", TSO_SOS_TYPE1}, {"SOS_TYPE2", TSO_SOS_TYPE2}, {"MAXINT", TSO_MAXINT},
    {"MAX_NAMELEN", TSO_MAX_NAMELEN}, {"MAX_STRLEN", TSO_MAX_STRLEN},
};
// clang-format on

} // namespace tsp
