// What we use of SCIP's C interface. The wheel that the library comes out of has no headers, so its types, values and
// functions are declared here as they are in version 10.0; scip_is_usable() holds the library to that version. Only
// files of the engines that are built on SCIP include this.
#pragma once

#include <cstdint>
#include <cstdio>

extern "C" {

using SCIP_Bool = unsigned int;
using SCIP_Real = double;
using SCIP_Longint = long long;
using SCIP_EVENTTYPE = uint64_t;
using SCIP_HEURTIMING = unsigned int;

struct Scip;
using SCIP = Scip;
struct SCIP_Var;
using SCIP_VAR = SCIP_Var;
struct SCIP_Cons;
using SCIP_CONS = SCIP_Cons;
struct SCIP_Sol;
using SCIP_SOL = SCIP_Sol;
struct SCIP_Row;
using SCIP_ROW = SCIP_Row;
struct SCIP_Node;
using SCIP_NODE = SCIP_Node;
struct SCIP_Conshdlr;
using SCIP_CONSHDLR = SCIP_Conshdlr;
struct SCIP_ConshdlrData;
using SCIP_CONSHDLRDATA = SCIP_ConshdlrData;
struct SCIP_Branchrule;
using SCIP_BRANCHRULE = SCIP_Branchrule;
struct SCIP_BranchruleData;
using SCIP_BRANCHRULEDATA = SCIP_BranchruleData;
struct SCIP_Heur;
using SCIP_HEUR = SCIP_Heur;
struct SCIP_HeurData;
using SCIP_HEURDATA = SCIP_HeurData;
struct SCIP_Eventhdlr;
using SCIP_EVENTHDLR = SCIP_Eventhdlr;
struct SCIP_EventhdlrData;
using SCIP_EVENTHDLRDATA = SCIP_EventhdlrData;
struct SCIP_Event;
using SCIP_EVENT = SCIP_Event;
struct SCIP_EventData;
using SCIP_EVENTDATA = SCIP_EventData;
struct SCIP_Expr;
using SCIP_EXPR = SCIP_Expr;
struct SCIP_Nlpi;
using SCIP_NLPI = SCIP_Nlpi;
struct SCIP_NlpiProblem;
using SCIP_NLPIPROBLEM = SCIP_NlpiProblem;

enum SCIP_RETCODE { SCIP_OKAY = 1, SCIP_ERROR = 0, SCIP_NOMEMORY = -1 };
enum SCIP_STATUS {
    SCIP_STATUS_UNKNOWN = 0,
    SCIP_STATUS_OPTIMAL = 1,
    SCIP_STATUS_INFEASIBLE = 2,
    SCIP_STATUS_UNBOUNDED = 3,
    SCIP_STATUS_INFORUNBD = 4,
    SCIP_STATUS_USERINTERRUPT = 10,
    SCIP_STATUS_TERMINATE = 11,
    SCIP_STATUS_NODELIMIT = 20,
    SCIP_STATUS_TOTALNODELIMIT = 21,
    SCIP_STATUS_STALLNODELIMIT = 22,
    SCIP_STATUS_TIMELIMIT = 23,
    SCIP_STATUS_MEMLIMIT = 24,
    SCIP_STATUS_GAPLIMIT = 25,
    SCIP_STATUS_PRIMALLIMIT = 26,
    SCIP_STATUS_DUALLIMIT = 27,
    SCIP_STATUS_SOLLIMIT = 28,
    SCIP_STATUS_BESTSOLLIMIT = 29,
    SCIP_STATUS_RESTARTLIMIT = 30
};
enum SCIP_VARTYPE { SCIP_VARTYPE_BINARY = 0, SCIP_VARTYPE_INTEGER = 1, SCIP_VARTYPE_CONTINUOUS = 3 };
enum SCIP_OBJSENSE { SCIP_OBJSENSE_MAXIMIZE = -1, SCIP_OBJSENSE_MINIMIZE = 1 };
enum SCIP_BOUNDTYPE { SCIP_BOUNDTYPE_LOWER = 0, SCIP_BOUNDTYPE_UPPER = 1 };
enum SCIP_PARAMSETTING {
    SCIP_PARAMSETTING_DEFAULT = 0,
    SCIP_PARAMSETTING_AGGRESSIVE = 1,
    SCIP_PARAMSETTING_FAST = 2,
    SCIP_PARAMSETTING_OFF = 3
};
enum SCIP_PARAMEMPHASIS { SCIP_PARAMEMPHASIS_DEFAULT = 0, SCIP_PARAMEMPHASIS_NUMERICS = 10 };
enum SCIP_NLPSOLSTAT {
    SCIP_NLPSOLSTAT_GLOBOPT = 0,
    SCIP_NLPSOLSTAT_LOCOPT = 1,
    SCIP_NLPSOLSTAT_FEASIBLE = 2,
    SCIP_NLPSOLSTAT_LOCINFEASIBLE = 3,
    SCIP_NLPSOLSTAT_GLOBINFEASIBLE = 4,
    SCIP_NLPSOLSTAT_UNBOUNDED = 5,
    SCIP_NLPSOLSTAT_UNKNOWN = 6
};
enum SCIP_NLPTERMSTAT {
    SCIP_NLPTERMSTAT_OKAY = 0,
    SCIP_NLPTERMSTAT_TIMELIMIT = 1,
    SCIP_NLPTERMSTAT_ITERLIMIT = 2,
    SCIP_NLPTERMSTAT_LOBJLIMIT = 3,
    SCIP_NLPTERMSTAT_INTERRUPT = 4,
    SCIP_NLPTERMSTAT_NUMERICERROR = 5,
    SCIP_NLPTERMSTAT_OTHER = 9
};
enum SCIP_NLPPARAM_FASTFAIL { SCIP_NLPPARAM_FASTFAIL_OFF = 0 };

struct SCIP_NLPPARAM { // passed by value
    SCIP_Real lobjlimit, feastol, opttol, solvertol, timelimit;
    int iterlimit;
    unsigned short verblevel;
    SCIP_NLPPARAM_FASTFAIL fastfail;
    SCIP_Bool expectinfeas, warmstart;
    const char* caller;
};
struct SCIP_NLPSTATISTICS {
    int niterations;
    SCIP_Real totaltime, evaltime, consviol, boundviol;
};

// Running: version, life of a problem, solving.
int SCIPmajorVersion();
int SCIPminorVersion();
int SCIPtechVersion();
SCIP_RETCODE SCIPcreate(SCIP**);
SCIP_RETCODE SCIPfree(SCIP**);
SCIP_RETCODE SCIPincludeDefaultPlugins(SCIP*);
SCIP_RETCODE SCIPcreateProbBasic(SCIP*, const char* name);
SCIP_RETCODE SCIPfreeTransform(SCIP*);
SCIP_RETCODE SCIPsetObjsense(SCIP*, SCIP_OBJSENSE);
SCIP_RETCODE SCIPaddOrigObjoffset(SCIP*, SCIP_Real);
SCIP_RETCODE SCIPsetObjlimit(SCIP*, SCIP_Real);
SCIP_RETCODE SCIPsolve(SCIP*);
SCIP_RETCODE SCIPinterruptSolve(SCIP*);
SCIP_STATUS SCIPgetStatus(SCIP*);
void SCIPsetMessagehdlrQuiet(SCIP*, SCIP_Bool);
void SCIPmessageSetErrorPrinting(void (*)(void* data, FILE*, const char* text), void* data);

// Parameters.
SCIP_RETCODE SCIPsetIntParam(SCIP*, const char*, int);
SCIP_RETCODE SCIPsetBoolParam(SCIP*, const char*, SCIP_Bool);
SCIP_RETCODE SCIPsetRealParam(SCIP*, const char*, SCIP_Real);
SCIP_RETCODE SCIPsetLongintParam(SCIP*, const char*, SCIP_Longint);
SCIP_RETCODE SCIPsetCharParam(SCIP*, const char*, char);
SCIP_RETCODE SCIPsetPresolving(SCIP*, SCIP_PARAMSETTING, SCIP_Bool quiet);
SCIP_RETCODE SCIPsetHeuristics(SCIP*, SCIP_PARAMSETTING, SCIP_Bool quiet);
SCIP_RETCODE SCIPsetSeparating(SCIP*, SCIP_PARAMSETTING, SCIP_Bool quiet);
SCIP_RETCODE SCIPsetEmphasis(SCIP*, SCIP_PARAMEMPHASIS, SCIP_Bool quiet);

// Variables and constraints of the problem.
SCIP_RETCODE SCIPcreateVarBasic(SCIP*, SCIP_VAR**, const char* name, SCIP_Real lower, SCIP_Real upper, SCIP_Real cost,
                                SCIP_VARTYPE);
SCIP_RETCODE SCIPaddVar(SCIP*, SCIP_VAR*);
SCIP_RETCODE SCIPreleaseVar(SCIP*, SCIP_VAR**);
SCIP_RETCODE SCIPchgVarObj(SCIP*, SCIP_VAR*, SCIP_Real);
SCIP_RETCODE SCIPchgVarLb(SCIP*, SCIP_VAR*, SCIP_Real);
SCIP_RETCODE SCIPchgVarUb(SCIP*, SCIP_VAR*, SCIP_Real);
SCIP_RETCODE SCIPgetNegatedVar(SCIP*, SCIP_VAR*, SCIP_VAR**);
SCIP_RETCODE SCIPaddCons(SCIP*, SCIP_CONS*);
SCIP_RETCODE SCIPreleaseCons(SCIP*, SCIP_CONS**);
SCIP_RETCODE SCIPcreateConsBasicLinear(SCIP*, SCIP_CONS**, const char* name, int count, SCIP_VAR**, SCIP_Real*,
                                       SCIP_Real lower, SCIP_Real upper);
SCIP_RETCODE SCIPcreateConsBasicQuadraticNonlinear(SCIP*, SCIP_CONS**, const char* name, int linear, SCIP_VAR**,
                                                   SCIP_Real*, int quadratic, SCIP_VAR** first, SCIP_VAR** second,
                                                   SCIP_Real*, SCIP_Real lower, SCIP_Real upper);
SCIP_RETCODE SCIPcreateConsBasicSOS1(SCIP*, SCIP_CONS**, const char* name, int count, SCIP_VAR**, SCIP_Real* weights);
SCIP_RETCODE SCIPcreateConsBasicSOS2(SCIP*, SCIP_CONS**, const char* name, int count, SCIP_VAR**, SCIP_Real* weights);
SCIP_RETCODE SCIPcreateConsBasicIndicator(SCIP*, SCIP_CONS**, const char* name, SCIP_VAR* binary, int count, SCIP_VAR**,
                                          SCIP_Real*, SCIP_Real upper);
SCIP_VAR* SCIPgetSlackVarIndicator(SCIP_CONS*);
SCIP_RETCODE SCIPcreateConsBasicBounddisjunction(SCIP*, SCIP_CONS**, const char* name, int count, SCIP_VAR**,
                                                 SCIP_BOUNDTYPE*, SCIP_Real* bounds);

// Solutions and what is known of the search.
SCIP_RETCODE SCIPcreateOrigSol(SCIP*, SCIP_SOL**, SCIP_HEUR*);
SCIP_RETCODE SCIPcreatePartialSol(SCIP*, SCIP_SOL**, SCIP_HEUR*);
SCIP_RETCODE SCIPsetSolVal(SCIP*, SCIP_SOL*, SCIP_VAR*, SCIP_Real);
SCIP_RETCODE SCIPsetSolVals(SCIP*, SCIP_SOL*, int count, SCIP_VAR**, SCIP_Real*);
SCIP_RETCODE SCIPcheckSolOrig(SCIP*, SCIP_SOL*, SCIP_Bool* feasible, SCIP_Bool print_reason, SCIP_Bool completely);
SCIP_RETCODE SCIPaddSolFree(SCIP*, SCIP_SOL**, SCIP_Bool* stored);
SCIP_RETCODE SCIPfreeSol(SCIP*, SCIP_SOL**);
SCIP_SOL* SCIPgetBestSol(SCIP*);
int SCIPgetNSols(SCIP*);
SCIP_SOL** SCIPgetSols(SCIP*);
SCIP_RETCODE SCIPgetSolVals(SCIP*, SCIP_SOL*, int count, SCIP_VAR**, SCIP_Real*);
SCIP_Real SCIPgetPrimalbound(SCIP*);
SCIP_Real SCIPgetDualbound(SCIP*);
SCIP_Real SCIPgetPresolvingTime(SCIP*);
SCIP_Longint SCIPgetNTotalNodes(SCIP*);
SCIP_Longint SCIPgetNLPIterations(SCIP*);
SCIP_Bool SCIPhasPrimalRay(SCIP*);
SCIP_Real SCIPgetPrimalRayVal(SCIP*, SCIP_VAR*);

// Plugins: what SCIP calls while it works.
inline constexpr SCIP_EVENTTYPE SCIP_EVENTTYPE_PRESOLVEROUND = 0x40000;
inline constexpr SCIP_EVENTTYPE SCIP_EVENTTYPE_NODEFOCUSED = 0x80000;
inline constexpr SCIP_EVENTTYPE SCIP_EVENTTYPE_LPSOLVED = 0x4000000;
inline constexpr SCIP_EVENTTYPE SCIP_EVENTTYPE_BESTSOLFOUND = 0x10000000;
SCIP_RETCODE SCIPincludeEventhdlrBasic(SCIP*, SCIP_EVENTHDLR**, const char* name, const char* description,
                                       SCIP_RETCODE (*)(SCIP*, SCIP_EVENTHDLR*, SCIP_EVENT*, SCIP_EVENTDATA*),
                                       SCIP_EVENTHDLRDATA*);
SCIP_RETCODE SCIPsetEventhdlrInit(SCIP*, SCIP_EVENTHDLR*, SCIP_RETCODE (*)(SCIP*, SCIP_EVENTHDLR*));
SCIP_RETCODE SCIPsetEventhdlrExit(SCIP*, SCIP_EVENTHDLR*, SCIP_RETCODE (*)(SCIP*, SCIP_EVENTHDLR*));
SCIP_EVENTHDLRDATA* SCIPeventhdlrGetData(SCIP_EVENTHDLR*);
SCIP_RETCODE SCIPcatchEvent(SCIP*, SCIP_EVENTTYPE, SCIP_EVENTHDLR*, SCIP_EVENTDATA*, int* position);
SCIP_RETCODE SCIPdropEvent(SCIP*, SCIP_EVENTTYPE, SCIP_EVENTHDLR*, SCIP_EVENTDATA*, int position);
SCIP_EVENTTYPE SCIPeventGetType(SCIP_EVENT*);

// Expressions and the interface to solvers of nonlinear problems. The last two parameters of the expressions' makers
// are a callback and its data, which we never give.
SCIP_RETCODE SCIPcreateExprVaridx(SCIP*, SCIP_EXPR**, int index, void*, void*);
SCIP_RETCODE SCIPcreateExprSum(SCIP*, SCIP_EXPR**, int count, SCIP_EXPR**, SCIP_Real*, SCIP_Real constant, void*,
                               void*);
SCIP_RETCODE SCIPcreateExprProduct(SCIP*, SCIP_EXPR**, int count, SCIP_EXPR**, SCIP_Real factor, void*, void*);
SCIP_RETCODE SCIPcreateExprPow(SCIP*, SCIP_EXPR**, SCIP_EXPR*, SCIP_Real exponent, void*, void*);
SCIP_RETCODE SCIPreleaseExpr(SCIP*, SCIP_EXPR**);
SCIP_NLPI* SCIPfindNlpi(SCIP*, const char*);
SCIP_RETCODE SCIPcreateNlpiProblem(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM**, const char* name);
SCIP_RETCODE SCIPfreeNlpiProblem(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM**);
SCIP_RETCODE SCIPaddNlpiVars(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*, int count, const SCIP_Real* lower,
                             const SCIP_Real* upper, const char** names);
SCIP_RETCODE SCIPaddNlpiConstraints(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*, int count, const SCIP_Real* lower,
                                    const SCIP_Real* upper, const int* linear, int* const* index,
                                    SCIP_Real* const* value, SCIP_EXPR**, const char** names);
SCIP_RETCODE SCIPsetNlpiObjective(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*, int linear, const int* index,
                                  const SCIP_Real* value, SCIP_EXPR*, const SCIP_Real constant);
SCIP_RETCODE SCIPsetNlpiInitialGuess(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*, SCIP_Real* primal, SCIP_Real* dual,
                                     SCIP_Real* lower_dual, SCIP_Real* upper_dual);
SCIP_RETCODE SCIPsolveNlpiParam(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*, SCIP_NLPPARAM);
SCIP_NLPSOLSTAT SCIPgetNlpiSolstat(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*);
SCIP_NLPTERMSTAT SCIPgetNlpiTermstat(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*);
SCIP_RETCODE SCIPgetNlpiSolution(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*, SCIP_Real** primal, SCIP_Real** dual,
                                 SCIP_Real** lower_dual, SCIP_Real** upper_dual, SCIP_Real* objective);
SCIP_RETCODE SCIPgetNlpiStatistics(SCIP*, SCIP_NLPI*, SCIP_NLPIPROBLEM*, SCIP_NLPSTATISTICS*);
}
