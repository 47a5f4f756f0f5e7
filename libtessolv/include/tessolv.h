/* tessolv.h: the C interface of the Tessolv solver library, 82 functions.
 *
 * Rules that hold for every function unless its comment says otherwise:
 *  - The return value is TSO_OKAY (0) or a negative code; TSOexplainerror gives its text. A failed call changes
 * nothing.
 *  - `int` is 32 bits. Element indices count from 0; a removed element's index is taken over by its successors.
 *  - Text is NUL-terminated UTF-8. Names hold at most TSO_MAX_NAMELEN bytes, parameter texts TSO_MAX_STRLEN - 1.
 *  - Arrays belong to the caller, who may free them when the call returns. Text that is given back through a
 *    `const char **` belongs to the library and holds until the next call on that model that gives back text.
 *  - Handles are opaque. A null, freed or foreign handle is answered with TSO_INVALID_ARGUMENT, never by a crash;
 *    functions that return void then do nothing.
 *  - One thread at a time may use a model. A call while another thread is inside the same model returns TSO_ERROR.
 *  - Bounds, costs and coefficients: NaN is TSO_INVALID_ARGUMENT. Bounds of magnitude TSO_INFINITY or more are infinite
 *    and read back as +-TSO_INFINITY; a lower bound of +infinity, an upper bound of -infinity, and costs or
 *    coefficients that are infinite are TSO_INVALID_ARGUMENT. A lower bound above its upper bound is kept: such a
 *    problem is infeasible.
 *  - A bad element index is TSO_MODEL_INVALID_COL_IDX (variables), TSO_MODEL_INVALID_ROW_IDX (rows),
 *    TSO_MODEL_INVALID_SOS_IDX, TSO_MODEL_INVALID_INDICATOR_ROW_IDX (general constraints) or
 *    TSO_MODEL_INVALID_SYM_MAT_IDX (semi-definite variables); a null pointer where an array must be, and a negative
 *    count, is TSO_INVALID_ARGUMENT; memory running out is TSO_NOMEMORY.
 */
#ifndef TESSOLV_H
#define TESSOLV_H

#ifdef _WIN32
#define TSO_API __declspec(dllexport)
#else
#define TSO_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct TSOenv_* TSOenv;       /* an environment: parameters and a log */
typedef struct TSOmodel_* TSOmodel;   /* a model with its private environment, last solution and engine */
typedef struct TSOcbdata_* TSOcbdata; /* the context of one callback, valid until that callback returns */

#define TSO_INFINITY 1e+20
#define TSO_UNDEFINED -1.23457e+88 /* "no value": a start value that was never set */
#define TSO_MAXINT 2000000000
#define TSO_MAX_NAMELEN 255
#define TSO_MAX_STRLEN 512

/* Variable types, row senses, objective senses, SOS types, types of general constraints */
#define TSO_CONTINUOUS 'C'
#define TSO_BINARY 'B'
#define TSO_INTEGER 'I'
#define TSO_SEMICONT 'S' /* zero, or between its bounds */
#define TSO_SEMIINT 'N'  /* zero, or an integer between its bounds */
#define TSO_EQUAL '='
#define TSO_LESS_EQUAL '<'
#define TSO_GREATER_EQUAL '>'
#define TSO_MINIMIZE 1
#define TSO_MAXIMIZE -1
#define TSO_SOS_TYPE1 1
#define TSO_SOS_TYPE2 2
#define TSO_GENCONSTR_INDICATOR 6

/* Types of attributes, as TSOgetattrinfo gives them */
#define TSO_ATTR_CHAR 0
#define TSO_ATTR_INT 1
#define TSO_ATTR_DOUBLE 2
#define TSO_ATTR_STRING 3
#define TSO_ATTR_MATRIX 4

/* Owners of attributes, as TSOgetattrinfo gives them */
#define TSO_OWNER_MODEL 0
#define TSO_OWNER_VAR 1
#define TSO_OWNER_CONSTR 2 /* rows read as linear constraints */
#define TSO_OWNER_SOS 3
#define TSO_OWNER_QCONSTR 4 /* the same rows read as quadratic constraints */
#define TSO_OWNER_GENCONSTR 5
#define TSO_OWNER_PSDVAR 6
#define TSO_OWNER_PSDCONSTR 7 /* the same rows read as semi-definite constraints */

/* Values of the attribute Status */
#define TSO_STATUS_UNKNOWN 0
#define TSO_STATUS_OPTIMAL 1
#define TSO_STATUS_INFEASIBLE 2
#define TSO_STATUS_UNBOUNDED 3
#define TSO_STATUS_INF_OR_UBD 4
#define TSO_STATUS_SUB_OPTIMAL 5 /* a limit or an interrupt ended the run; what was found can be read */

/* Values of the attributes ColBasis and RowBasis */
#define TSO_BASIS_LOWER 0 /* nonbasic at its lower bound */
#define TSO_BASIS_BASIC 1
#define TSO_BASIS_UPPER 2 /* nonbasic at its upper bound */
#define TSO_BASIS_SUPER 3 /* nonbasic and free, at zero */

/* Return codes: TSO_OKAY, TSO_ERROR, ... The rows stand in tessolv_codes.h; TSOexplainerror has their texts. */
#define TSO_CODE(name, value) TSO_##name = value,
enum TSOcode {
#include "tessolv_codes.h"
    TSO_CODE_END_ = 1
};
#undef TSO_CODE

/* ---- Environments ------------------------------------------------------------------------------------------- */

/* Creates an environment without starting it: no banner, no log file. It starts at its first model or TSOstartenv.
 * Parameters that were set on a null environment by this thread since its last environment are taken over.
 *   env: receives the handle; unchanged on failure. Free it with TSOfreeenv. */
TSO_API int TSOemptyenv(TSOenv* env);

/* Creates and starts an environment.
 *   logfilename: path of the log file, appended to; null or "" for none. TSO_FILE_WRITE_ERROR if it can't be opened. */
TSO_API int TSOloadenv(TSOenv* env, const char* logfilename);

/* Starts an environment; one that was started already stays as it is. */
TSO_API int TSOstartenv(TSOenv env);

/* Frees an environment. Its models live on: each has parameters and a log of its own. The private environment of a
 * model is not freed by this. */
TSO_API int TSOfreeenv(TSOenv env);

/* The private environment of a model (its parameters, its log); null for a bad handle. It lives as long as the model
 * and is not to be freed. */
TSO_API TSOenv TSOgetenv(TSOmodel model);

/* The version of this library. Null pointers are skipped. */
TSO_API void TSOversion(int* major, int* minor, int* technical);

/* The text of a return code, in English; for an unknown code a text that says so. Never null; static storage. */
TSO_API const char* TSOexplainerror(int code);

/* Writes one line into the log of an environment, as its parameters OutputFlag, LogToConsole and LogFile say. */
TSO_API void TSOmsg(TSOenv env, const char* message);

/* Tells about the licence of this library, which is free and has no end. Null pointers are skipped.
 *   valid: 1;  daysleft: TSO_MAXINT;  text: at least TSO_MAX_STRLEN bytes, receives a line about the licence. */
TSO_API int TSOchecklicense(TSOenv env, int* valid, int* daysleft, char* text);

/* ---- Parameters ----------------------------------------------------------------------------------------------
 * `name` is the canonical name ("MIP/GapRel"), upper or lower case alike, "_" as good as "/".
 * Setting: an unknown name, a value of the wrong type or out of range is TSO_PARAM_SET_ERROR. Reading: an unknown name
 * or another type is TSO_PARAM_GET_ERROR. With a null `env`, values are checked and kept for the next environment that
 * this thread creates, and reading answers from them and the defaults. */
TSO_API int TSOsetintparam(TSOenv env, const char* name, int value);
TSO_API int TSOsetdblparam(TSOenv env, const char* name, double value);
TSO_API int TSOsetstrparam(TSOenv env, const char* name, const char* value);
TSO_API int TSOgetintparam(TSOenv env, const char* name, int* value);
TSO_API int TSOgetdblparam(TSOenv env, const char* name, double* value);
/* value: at least TSO_MAX_STRLEN bytes. */
TSO_API int TSOgetstrparam(TSOenv env, const char* name, char* value);
/* Current value, least and greatest allowed value, default. Null pointers are skipped. */
TSO_API int TSOgetintparaminfo(TSOenv env, const char* name, int* current, int* min, int* max, int* defaultvalue);
TSO_API int TSOgetdblparaminfo(TSOenv env, const char* name, double* current, double* min, double* max,
                               double* defaultvalue);
/* current, defaultvalue: at least TSO_MAX_STRLEN bytes each. */
TSO_API int TSOgetstrparaminfo(TSOenv env, const char* name, char* current, char* defaultvalue);
/* Sets every parameter to its default; closes the log file. With a null `env`: forgets what was set on it. */
TSO_API int TSOresetparams(TSOenv env);
/* Reads parameters from a file (".prm", also ".prm.gz", ".prm.bz2"). All or none are set.
 * TSO_FILE_READ_ERROR, TSO_DIRECTORY_ERROR, TSO_FORMAT_ERROR, TSO_PARAM_SET_ERROR. */
TSO_API int TSOreadparams(TSOenv env, const char* filename);
/* Writes the parameters that differ from their defaults. TSO_FILE_WRITE_ERROR, TSO_DIRECTORY_ERROR. */
TSO_API int TSOwriteparams(TSOenv env, const char* filename);

/* ---- Attributes -----------------------------------------------------------------------------------------------
 * `name` is the canonical name ("SPX/NumIters"), upper or lower case alike, "_" as good as "/". An unknown name is
 * TSO_MODEL_INVALID_ATTR_NAME. A name of another type, or of an element where the model is asked or the other way
 * round, is TSO_MODEL_INVALID_CHAR_ATTR, _INT_ATTR, _REAL_ATTR, _STR_ATTR or _MAT_ATTR by the type of the function.
 * A value that there is none of (a solution before a run, the dual values of a MIP, the solution of a variable that
 * was added later) is TSO_DATA_NOT_AVAILABLE. Writing one that can only be read is TSO_INVALID_ARGUMENT.
 * List forms: `len` elements; `ind` gives their indices, null means elements 0 to len-1. Results come in the order
 * of `ind`. Writing is all or nothing; of an index given twice the last value stays. */

/* type: one of TSO_ATTR_...; owner: one of TSO_OWNER_...; writable: 1 or 0. Null pointers are skipped. */
TSO_API int TSOgetattrinfo(TSOmodel model, const char* name, int* type, int* owner, int* writable);
TSO_API int TSOgetintattr(TSOmodel model, const char* name, int* value);
TSO_API int TSOgetdblattr(TSOmodel model, const char* name, double* value);
TSO_API int TSOsetintattr(TSOmodel model, const char* name, int value);
TSO_API int TSOsetdblattr(TSOmodel model, const char* name, double value);
TSO_API int TSOgetstrattr(TSOmodel model, const char* name, const char** value);
TSO_API int TSOsetstrattr(TSOmodel model, const char* name, const char* value);
TSO_API int TSOgetintattrlist(TSOmodel model, const char* name, int len, const int* ind, int* values);
TSO_API int TSOgetdblattrlist(TSOmodel model, const char* name, int len, const int* ind, double* values);
TSO_API int TSOgetcharattrlist(TSOmodel model, const char* name, int len, const int* ind, char* values);
TSO_API int TSOsetintattrlist(TSOmodel model, const char* name, int len, const int* ind, const int* values);
TSO_API int TSOsetdblattrlist(TSOmodel model, const char* name, int len, const int* ind, const double* values);
TSO_API int TSOsetcharattrlist(TSOmodel model, const char* name, int len, const int* ind, const char* values);
TSO_API int TSOgetstrattrlist(TSOmodel model, const char* name, int len, const int* ind, const char** values);
TSO_API int TSOsetstrattrlist(TSOmodel model, const char* name, int len, const int* ind, const char** values);
/* Symmetric matrices of semi-definite variables (PsdX, PsdObj). First call with starts, rows, cols and values null:
 *   sizes: len entries, receives each matrix's dimension;  counts: len entries, each matrix's number of entries.
 * Second call with starts (len + 1), rows, cols and values (sum of counts each): the entries of element i stand at
 * starts[i] to starts[i+1]-1; of each pair of mirrored entries the one in the lower triangle (row >= col) is given. */
TSO_API int TSOgetmatattrlist(TSOmodel model, const char* name, int len, const int* ind, int* sizes, int* starts,
                              int* rows, int* cols, double* values, int* counts);
/* Replaces the matrices of len elements: nz entries in all, those of element i at starts[i] up to the next start
 * (starts has len entries). An entry stands for itself and its mirror, so of a symmetric matrix one triangle is given,
 * either one: an entry and its mirror, or one given twice, add up as one position. TSO_MODEL_INVALID_SYM_MAT_ROW_IDX,
 * TSO_MODEL_INVALID_SYM_MAT_COL_IDX, TSO_MODEL_INVALID_REAL_ATTR_SYM_MAT.
 */
TSO_API int TSOsetmatattrlist(TSOmodel model, const char* name, int len, const int* ind, int nz, const int* starts,
                              const int* rows, const int* cols, const double* values);

/* ---- Models: lifetime, files, solving -------------------------------------------------------------------------- */

/* Creates a model, with numvars variables (0 and nulls for none). Starts the environment if it is not yet started.
 * The model takes a copy of the environment's parameters.
 *   name: its name, null for "";  obj, lb, ub, vtype, names: numvars entries each, or null for cost 0, bounds 0 and
 *   infinity, continuous, no name. */
TSO_API int TSOnewmodel(TSOenv env, TSOmodel* model, const char* name, int numvars, const double* obj, const double* lb,
                        const double* ub, const char* vtype, const char** names);
/* A copy of a model: its elements, names, starts, basis, parameters and last solution; null on failure. */
TSO_API TSOmodel TSOcopymodel(TSOmodel model);
/* Frees a model. One that another thread is solving is stopped and freed when its run ends. */
TSO_API int TSOfreemodel(TSOmodel model);
/* Reads a model file (".lp", ".mps", ".qps", each also with ".gz" or ".bz2") into a new model.
 * TSO_FILE_READ_ERROR, TSO_DIRECTORY_ERROR; TSO_FORMAT_ERROR, with a line in the log that tells file, line and what was
 * expected. An unknown suffix is TSO_FORMAT_ERROR. */
TSO_API int TSOreadmodel(TSOenv env, const char* filename, TSOmodel* model);
/* Reads into a model, by suffix: ".lp", ".mps", ".qps" replace the model, ".sol" and ".mst" give start values, ".bas" a
 * basis, ".prm" parameters. Names in .sol, .mst and .bas must be names of the model (TSO_MODEL_INVALID_COL_NAME,
 * TSO_MODEL_INVALID_ROW_NAME). Codes as for TSOreadmodel. */
TSO_API int TSOread(TSOmodel model, const char* filename);
/* Writes by suffix: the model, its solution (".sol"), its basis (".bas"), its starts (".mst"), its parameters (".prm").
 * The file is replaced as a whole or not at all. TSO_FILE_WRITE_ERROR, TSO_DIRECTORY_ERROR, TSO_DATA_NOT_AVAILABLE;
 * an unknown suffix is TSO_FORMAT_ERROR, and so is a model with semi-definite variables or rows, which the forms of
 * model files do not have. */
TSO_API int TSOwrite(TSOmodel model, const char* filename);
/* Forgets the solution, and what the engine remembers of it. clearall 1 also forgets the starts and the basis that were
 * set. Elements, names and parameters stay. */
TSO_API int TSOreset(TSOmodel model, int clearall);
/* Solves. The status is an attribute: infeasible and unbounded are answers, not errors. A run that a limit or an
 * interrupt ended returns its TSO_ABORT_... code and keeps what was found. TSO_ABORT_SOLVER_NOT_AVAILABLE: no engine
 * can do this kind of problem, and the log says why. On the main thread Ctrl-C ends the run with TSO_ABORT_INTERRUPTED.
 */
TSO_API int TSOoptimize(TSOmodel model);
/* Finds an irreducible infeasible subsystem; solves first if no status is known. It is read through IISVar and
 * IISConstr. TSO_IIS_FEASIBLE if the problem is feasible, TSO_IIS_NO_SOLN if none could be found. */
TSO_API int TSOcomputeIIS(TSOmodel model);
/* Takes out of the model what a MIP solution does not need: start values that no longer fit their variables' bounds and
 * types, and of the stored suboptimal solutions those that are no longer feasible. removed: how many of both. */
TSO_API int TSOcleanupmilp(TSOmodel model, int* removed);
/* Sets the function that the engine calls while it solves a MIP, null for none. `where` is 3 before the search, 4 at a
 * new solution, 5 at a node; a non-zero answer ends the run with TSO_ABORT_INTERRUPTED. It may come on another thread.
 */
TSO_API int TSOsetcallbackfunc(TSOmodel model, int (*cb)(TSOmodel model, TSOcbdata cbdata, int where, void* usrdata),
                               void* usrdata);

/* ---- Building ------------------------------------------------------------------------------------------------
 * New elements take the next free indices. Entries of one row or column may come in any order; entries given twice are
 * added up. Names: null or "" means unnamed, too long is TSO_INVALID_ARGUMENT; unnamed elements read as a generated
 * name (C0, R0, ...) that no other element has. */

/* Adds a variable with numnz entries in existing rows.
 *   vind, vval: numnz row indices and coefficients, null if numnz is 0. A binary's bounds are cut to [0, 1]. */
TSO_API int TSOaddvar(TSOmodel model, int numnz, const int* vind, const double* vval, double obj, double lb, double ub,
                      char vtype, const char* name);
/* Adds numvars variables. vbeg: numvars starts into vind and vval, which hold numnz entries; all three null if numnz is
 * 0. obj, lb, ub, vtype, names: numvars entries each, or null for cost 0, bounds 0 and infinity, continuous, no name.
 */
TSO_API int TSOaddvars(TSOmodel model, int numvars, int numnz, const int* vbeg, const int* vind, const double* vval,
                       const double* obj, const double* lb, const double* ub, const char* vtype, const char** names);
/* Adds the row lower <= sum of cval[k] * x[cind[k]] <= upper. */
TSO_API int TSOaddrangeconstr(TSOmodel model, int numnz, const int* cind, const double* cval, double lower,
                              double upper, const char* name);
/* Adds numconstrs rows. cbeg: numconstrs starts into cind and cval (numnz entries). lower, upper: numconstrs entries
 * each, or null for -infinity and +infinity. names: numconstrs entries or null. */
TSO_API int TSOaddrangeconstrs(TSOmodel model, int numconstrs, int numnz, const int* cbeg, const int* cind,
                               const double* cval, const double* lower, const double* upper, const char** names);
/* Adds the row sum of lval[k] * x[lind[k]] + sum of qval[k] * x[qrow[k]] * x[qcol[k]] (sense) rhs. */
TSO_API int TSOaddqconstr(TSOmodel model, int numlnz, const int* lind, const double* lval, int numqnz, const int* qrow,
                          const int* qcol, const double* qval, char sense, double rhs, const char* name);
/* Adds qval[k] * x[qrow[k]] * x[qcol[k]] to the objective, numqnz terms. A term given twice adds up. */
TSO_API int TSOaddqpterms(TSOmodel model, int numqnz, const int* qrow, const int* qcol, const double* qval);
/* Takes all quadratic terms out of the objective. */
TSO_API int TSOdelq(TSOmodel model);
/* Adds numsos special ordered sets with nummembers members in all. types: TSO_SOS_TYPE1 or 2 each; beg: numsos starts
 * into ind (variables) and weight; weight null means 1, 2, 3 ... in the order given. */
TSO_API int TSOaddsos(TSOmodel model, int numsos, int nummembers, const int* types, const int* beg, const int* ind,
                      const double* weight);
/* Adds "if x[binvar] == binval then sum of val[k] * x[ind[k]] (sense) rhs". binvar must be a binary, or an integer
 * between 0 and 1; binval is 0 or 1. TSO_MODEL_INVALID_INDICATOR_COL_IDX. */
TSO_API int TSOaddgenconstrIndicator(TSOmodel model, const char* name, int binvar, int binval, int nvars,
                                     const int* ind, const double* val, char sense, double rhs);
/* Adds a symmetric positive semi-definite matrix variable of dimension dim, with nz entries of its objective
 * coefficient (either triangle, see TSOsetmatattrlist). */
TSO_API int TSOaddpsdvar(TSOmodel model, int dim, int nz, const int* rows, const int* cols, const double* vals,
                         const char* name);
/* Adds the row lower <= sum of cval[k] * x[cind[k]] + sum over psd variables of <A, X> <= upper.
 *   numpsdvars: how many different psd variables occur;  pind, prow, pcol, pval: numpsdnz entries each, the psd
 * variable and the position and value of an entry of its matrix, which stands for its mirror too (see
 * TSOsetmatattrlist): off the diagonal it counts twice in <A, X>. */
TSO_API int TSOaddrangepsdconstr(TSOmodel model, int numnz, int numpsdvars, int numpsdnz, const int* cind,
                                 const double* cval, const int* pind, const int* prow, const int* pcol,
                                 const double* pval, double lower, double upper, const char* name);
/* Sets cnt coefficients: of row cind[k], variable vind[k], to val[k]; 0 takes the entry out. */
TSO_API int TSOchgcoeffs(TSOmodel model, int cnt, const int* cind, const int* vind, const double* val);
/* Remove len elements; an index given twice counts once. Removing a variable takes it out of every row, SOS and
 * objective term; an indicator constraint whose binary goes, goes with it. */
TSO_API int TSOdelvars(TSOmodel model, int len, const int* ind);
TSO_API int TSOdelconstrs(TSOmodel model, int len, const int* ind);
TSO_API int TSOdelsos(TSOmodel model, int len, const int* ind);
TSO_API int TSOdelgenconstrs(TSOmodel model, int len, const int* ind);

/* ---- Reading -------------------------------------------------------------------------------------------------
 * Two-call pattern: with the arrays null only the counts are written; then with arrays of that size. */

/* The coefficient of a variable in a row, 0 if there is none. */
TSO_API int TSOgetcoeff(TSOmodel model, int constr, int var, double* value);
/* Rows start to start+len-1: numnz receives the number of entries; cbeg (len entries) their starts, cind and cval the
 * entries, by rising variable. Any array may be null. */
TSO_API int TSOgetconstrs(TSOmodel model, int* numnz, int* cbeg, int* cind, double* cval, int start, int len);
/* Variables start to start+len-1, as columns: by rising row. */
TSO_API int TSOgetvars(TSOmodel model, int* numnz, int* vbeg, int* vind, double* vval, int start, int len);
/* The quadratic terms of the objective, in the order in which they were added. */
TSO_API int TSOgetq(TSOmodel model, int* numqnz, int* qrow, int* qcol, double* qval);
/* Linear and quadratic terms of a row; of a linear row the second count is 0. A semi-definite row has terms
 * that this cannot give: TSO_DATA_NOT_AVAILABLE. */
TSO_API int TSOgetqconstr(TSOmodel model, int constr, int* numlnz, int* lind, double* lval, int* numqnz, int* qrow,
                          int* qcol, double* qval);
/* SOS start to start+len-1: nummembers receives the number of members; types and beg have len entries. */
TSO_API int TSOgetsos(TSOmodel model, int* nummembers, int* types, int* beg, int* ind, double* weight, int start,
                      int len);
TSO_API int TSOgetgenconstrIndicator(TSOmodel model, int genconstr, int* binvar, int* binval, int* nvars, int* ind,
                                     double* val, char* sense, double* rhs);
/* The first element of that name; TSO_MODEL_INVALID_COL_NAME or TSO_MODEL_INVALID_ROW_NAME if there is none.
 * TSOgetqconstrbyname looks among quadratic rows only. */
TSO_API int TSOgetvarbyname(TSOmodel model, const char* name, int* index);
TSO_API int TSOgetconstrbyname(TSOmodel model, const char* name, int* index);
TSO_API int TSOgetqconstrbyname(TSOmodel model, const char* name, int* index);

/* ---- Inside a callback ---------------------------------------------------------------------------------------
 * `cb` is what the callback was given; outside of a callback every function answers TSO_INVALID_ARGUMENT. The forms
 * with a final p work on the presolved problem. */

/* result: an int or a double, or a pointer to an array that the library keeps until the callback returns, by `what`.
 * TSO_CB_INVALID_WHAT, TSO_CB_INVALID_WHERE. */
TSO_API int TSOcbget(TSOcbdata cb, int where, int what, void* result);
/* Offers a solution: one value for each variable, TSO_UNDEFINED where it is open. objective: receives its value, or
 * TSO_UNDEFINED. Answers TSO_OKAY if it was taken, 1 if it violates the problem or could not be completed, 2 if it is
 * feasible but not better than what is known, and otherwise a code. */
TSO_API int TSOcbsolution(TSOcbdata cb, const double* solution, double* objective);
TSO_API int TSOcbsolutionp(TSOcbdata cb, const double* solution, double* objective);
/* Adds a cut at a node, or a lazy constraint at a new solution. TSO_CB_INVALID_SUBMISSION. */
TSO_API int TSOcbcut(TSOcbdata cb, int numnz, const int* ind, const double* val, char sense, double rhs);
TSO_API int TSOcbcutp(TSOcbdata cb, int numnz, const int* ind, const double* val, char sense, double rhs);
/* Asks for a branching of a variable at a value; way -1 explores the lower branch first, +1 the upper, 0 leaves it. */
TSO_API int TSOcbbranch(TSOcbdata cb, int var, double value, int way);
TSO_API int TSOcbbranchp(TSOcbdata cb, int var, double value, int way);

#ifdef __cplusplus
}
#endif
#endif
