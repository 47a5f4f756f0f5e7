// What a callback needs of SCIP beside api.h: constraint handlers, heuristics, branching rules, cuts, nodes.
#pragma once

#include "engine/scip/api.h"

extern "C" {
enum SCIP_RESULT {
    SCIP_DIDNOTRUN = 1,
    SCIP_DIDNOTFIND = 3,
    SCIP_FEASIBLE = 4,
    SCIP_INFEASIBLE = 5,
    SCIP_CUTOFF = 7,
    SCIP_SEPARATED = 8,
    SCIP_CONSADDED = 11,
    SCIP_BRANCHED = 13,
    SCIP_FOUNDSOL = 15
};
enum SCIP_LPSOLSTAT { SCIP_LPSOLSTAT_NOTSOLVED = 0, SCIP_LPSOLSTAT_OPTIMAL = 1 };
enum SCIP_LOCKTYPE { SCIP_LOCKTYPE_MODEL = 0 };
inline constexpr SCIP_HEURTIMING SCIP_HEURTIMING_BEFORENODE = 1, SCIP_HEURTIMING_AFTERLPLOOP = 4;

SCIP_RETCODE SCIPincludeConshdlrBasic(
    SCIP*, SCIP_CONSHDLR**, const char* name, const char* description, int enforce_priority, int check_priority,
    int eager_frequency, SCIP_Bool needs_constraints,
    SCIP_RETCODE (*enforce_lp)(SCIP*, SCIP_CONSHDLR*, SCIP_CONS**, int, int, SCIP_Bool, SCIP_RESULT*),
    SCIP_RETCODE (*enforce_pseudo)(SCIP*, SCIP_CONSHDLR*, SCIP_CONS**, int, int, SCIP_Bool, SCIP_Bool, SCIP_RESULT*),
    SCIP_RETCODE (*check)(SCIP*, SCIP_CONSHDLR*, SCIP_CONS**, int, SCIP_SOL*, SCIP_Bool, SCIP_Bool, SCIP_Bool,
                          SCIP_Bool, SCIP_RESULT*),
    SCIP_RETCODE (*lock)(SCIP*, SCIP_CONSHDLR*, SCIP_CONS*, SCIP_LOCKTYPE, int, int), SCIP_CONSHDLRDATA*);
SCIP_RETCODE
SCIPsetConshdlrSepa(SCIP*, SCIP_CONSHDLR*, SCIP_RETCODE (*)(SCIP*, SCIP_CONSHDLR*, SCIP_CONS**, int, int, SCIP_RESULT*),
                    SCIP_RETCODE (*)(SCIP*, SCIP_CONSHDLR*, SCIP_CONS**, int, int, SCIP_SOL*, SCIP_RESULT*),
                    int frequency, int priority, SCIP_Bool delay);
SCIP_CONSHDLRDATA* SCIPconshdlrGetData(SCIP_CONSHDLR*);
SCIP_RETCODE SCIPincludeHeurBasic(SCIP*, SCIP_HEUR**, const char* name, const char* description, char display,
                                  int priority, int frequency, int offset, int max_depth, SCIP_HEURTIMING,
                                  SCIP_Bool uses_subscip,
                                  SCIP_RETCODE (*)(SCIP*, SCIP_HEUR*, SCIP_HEURTIMING, SCIP_Bool, SCIP_RESULT*),
                                  SCIP_HEURDATA*);
SCIP_HEURDATA* SCIPheurGetData(SCIP_HEUR*);
SCIP_RETCODE SCIPincludeBranchruleBasic(SCIP*, SCIP_BRANCHRULE**, const char* name, const char* description,
                                        int priority, int max_depth, SCIP_Real max_bound_distance,
                                        SCIP_BRANCHRULEDATA*);
SCIP_RETCODE SCIPsetBranchruleExecLp(SCIP*, SCIP_BRANCHRULE*,
                                     SCIP_RETCODE (*)(SCIP*, SCIP_BRANCHRULE*, SCIP_Bool, SCIP_RESULT*));
SCIP_BRANCHRULEDATA* SCIPbranchruleGetData(SCIP_BRANCHRULE*);

// Rows: lazy constraints and cuts.
SCIP_RETCODE SCIPcreateConsLinear(SCIP*, SCIP_CONS**, const char* name, int count, SCIP_VAR**, SCIP_Real*,
                                  SCIP_Real lower, SCIP_Real upper, SCIP_Bool initial, SCIP_Bool separate,
                                  SCIP_Bool enforce, SCIP_Bool check, SCIP_Bool propagate, SCIP_Bool local,
                                  SCIP_Bool modifiable, SCIP_Bool dynamic, SCIP_Bool removable,
                                  SCIP_Bool sticking_at_node);
SCIP_RETCODE SCIPcreateEmptyRowConshdlr(SCIP*, SCIP_ROW**, SCIP_CONSHDLR*, const char* name, SCIP_Real lower,
                                        SCIP_Real upper, SCIP_Bool local, SCIP_Bool modifiable, SCIP_Bool removable);
SCIP_RETCODE SCIPcacheRowExtensions(SCIP*, SCIP_ROW*);
SCIP_RETCODE SCIPaddVarToRow(SCIP*, SCIP_ROW*, SCIP_VAR*, SCIP_Real);
SCIP_RETCODE SCIPflushRowExtensions(SCIP*, SCIP_ROW*);
SCIP_RETCODE SCIPaddRow(SCIP*, SCIP_ROW*, SCIP_Bool force, SCIP_Bool* infeasible);
SCIP_RETCODE SCIPaddPoolCut(SCIP*, SCIP_ROW*);
SCIP_RETCODE SCIPreleaseRow(SCIP*, SCIP_ROW**);

// Nodes and solutions on the way.
SCIP_NODE* SCIPgetCurrentNode(SCIP*);
SCIP_Longint SCIPnodeGetNumber(SCIP_NODE*);
int SCIPgetDepth(SCIP*);
int SCIPgetNNodesLeft(SCIP*);
int SCIPgetNCutsApplied(SCIP*);
SCIP_Longint SCIPgetNSolsFound(SCIP*);
SCIP_RETCODE SCIPcreateChild(SCIP*, SCIP_NODE**, SCIP_Real priority, SCIP_Real estimate);
SCIP_RETCODE SCIPaddConsNode(SCIP*, SCIP_NODE*, SCIP_CONS*, SCIP_NODE* valid);
SCIP_Real SCIPgetLocalTransEstimate(SCIP*);
SCIP_LPSOLSTAT SCIPgetLPSolstat(SCIP*);
SCIP_Bool SCIPhasCurrentNodeLP(SCIP*);
SCIP_Real SCIPgetLPObjval(SCIP*);
SCIP_Real SCIPgetVarRedcost(SCIP*, SCIP_VAR*);
SCIP_RETCODE SCIPcreateSol(SCIP*, SCIP_SOL**, SCIP_HEUR*);
SCIP_Real SCIPgetSolVal(SCIP*, SCIP_SOL*, SCIP_VAR*);
SCIP_RETCODE SCIPtrySolFree(SCIP*, SCIP_SOL**, SCIP_Bool print_reason, SCIP_Bool completely, SCIP_Bool check_bounds,
                            SCIP_Bool check_integrality, SCIP_Bool check_lp_rows, SCIP_Bool* stored);

// The presolved problem.
SCIP_RETCODE SCIPgetTransformedVar(SCIP*, SCIP_VAR*, SCIP_VAR**);
SCIP_RETCODE SCIPaddVarLocksType(SCIP*, SCIP_VAR*, SCIP_LOCKTYPE, int down, int up);
SCIP_RETCODE SCIPchgVarLb(SCIP*, SCIP_VAR*, SCIP_Real);
SCIP_RETCODE SCIPchgVarUb(SCIP*, SCIP_VAR*, SCIP_Real);
SCIP_VAR** SCIPgetVars(SCIP*);
int SCIPgetNVars(SCIP*);
SCIP_CONS** SCIPgetConss(SCIP*);
int SCIPgetNConss(SCIP*);
SCIP_RETCODE SCIPgetConsNVars(SCIP*, SCIP_CONS*, int* count, SCIP_Bool* success);
SCIP_RETCODE SCIPgetConsVars(SCIP*, SCIP_CONS*, SCIP_VAR**, int size, SCIP_Bool* success);
SCIP_RETCODE SCIPgetConsVals(SCIP*, SCIP_CONS*, SCIP_Real*, int size, SCIP_Bool* success);
SCIP_Real SCIPconsGetLhs(SCIP*, SCIP_CONS*, SCIP_Bool* success);
SCIP_Real SCIPconsGetRhs(SCIP*, SCIP_CONS*, SCIP_Bool* success);
SCIP_RETCODE SCIPgetProbvarSum(SCIP*, SCIP_VAR**, SCIP_Real* scalar, SCIP_Real* constant);
int SCIPvarGetProbindex(SCIP_VAR*);
SCIP_Bool SCIPvarIsIntegral(SCIP_VAR*);
SCIP_Real SCIPvarGetObj(SCIP_VAR*);
SCIP_Real SCIPvarGetLbGlobal(SCIP_VAR*);
SCIP_Real SCIPvarGetUbGlobal(SCIP_VAR*);
SCIP_Real SCIPcomputeVarLbLocal(SCIP*, SCIP_VAR*);
SCIP_Real SCIPcomputeVarUbLocal(SCIP*, SCIP_VAR*);
SCIP_Real SCIPgetTransObjscale(SCIP*);
SCIP_Real SCIPretransformObj(SCIP*, SCIP_Real);
}
