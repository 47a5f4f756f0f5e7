// The type Model: its memory, its method table, its documentation.
#include "model/model.h"

#include "module/state.h"

#include <cstddef>
#include <structmember.h>

namespace tsp {
namespace {

// Every object field, in the order of the struct.
constexpr PyObject* Model::*kObjects[] = {
    &Model::Params,   &Model::params,          &Model::env,      &Model::userattrs_,  &Model::callback_,
    &Model::usersol_, &Model::callback_error_, &Model::vars_,    &Model::constrs_,    &Model::qconstrs_,
    &Model::soss_,    &Model::genconstrs_,     &Model::psdvars_, &Model::psdconstrs_,
};

PyObject* model_tp_new(PyTypeObject* type, PyObject*, PyObject*) {
    PyObject* self = type->tp_alloc(type, 0);
    if (self) {
        for (auto field : kObjects) {
            Py_INCREF(Py_None);
            reinterpret_cast<Model*>(self)->*field = Py_None;
        }
    }
    return self;
}

int model_traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    for (auto field : kObjects)
        Py_VISIT(reinterpret_cast<Model*>(self)->*field);
    return 0;
}

int model_clear(PyObject* self) {
    for (auto field : kObjects)
        Py_CLEAR(reinterpret_cast<Model*>(self)->*field);
    return 0;
}

void model_finalize(PyObject* self) {
    SavedError saved;
    PyObject* result = PyObject_CallMethodNoArgs(self, state().s_dispose);
    if (!result)
        PyErr_WriteUnraisable(self);
    Py_XDECREF(result);
}

void model_dealloc(PyObject* self) {
    if (PyObject_CallFinalizerFromDealloc(self) < 0)
        return; // somebody took it back
    PyObject_GC_UnTrack(self);
    model_dispose(*reinterpret_cast<Model*>(self));
    model_clear(self);
    plain_dealloc(self);
}

PyMemberDef model_members[] = {
    {"Params", T_OBJECT, offsetof(Model, Params), READONLY,
     "The parameters of the model, as attributes.\n\nExample: m.Params.MaxTime = 60"},
    {"params", T_OBJECT, offsetof(Model, params), READONLY,
     "The parameters of the model, as attributes.\n\nExample: m.Params.MaxTime = 60"},
    {},
};

PyMethodDef model_methods[] = {
    keywords<model_addVar>(
        "addVar",
        "addVar($self, lb=0, ub=1e+20, obj=0, vtype='C', name='', column=None)\n--\n\n"
        "Adds a variable.\n\n"
        "lb, ub: numbers, its bounds; TSO.INFINITY and -TSO.INFINITY for none.\n"
        "obj: number, its coefficient in the objective.\n"
        "vtype: str, one of TSO.CONTINUOUS, BINARY, INTEGER, SEMICONT, SEMIINT.\n"
        "name: str, at most 255 bytes.\n"
        "column: Column, its coefficients in rows that exist already, or None.\n"
        "Returns the Var. Raises TypeError for arguments of wrong types, TessolvError if the solver refuses.\n\n"
        "Example: x = m.addVar(ub=4.0, name=\"x\")"),
    keywords<model_addVars>(
        "addVars",
        "addVars($self, *indices, lb=0.0, ub=1e+20, obj=0.0, vtype='C', name='')\n--\n\n"
        "Adds a variable for each combination of indices.\n\n"
        "indices: ints (0 to n-1) or iterables of keys; tuples among the keys are flattened.\n"
        "lb, ub, obj, vtype: one value for all, or one for each variable in the order of the keys.\n"
        "name: str, to which the key is added as in x[1,2]; or one name for each variable.\n"
        "Returns a tupledict of Var by key. Raises ValueError if there are no indices or the numbers of values\n"
        "differ, TypeError for wrong types, TessolvError if the solver refuses.\n\n"
        "Example: x = m.addVars(2, [\"a\", \"b\"], name=\"x\"); x[0, \"a\"]"),
    keywords<model_addMVar>(
        "addMVar",
        "addMVar($self, shape, lb=0.0, ub=1e+20, obj=0.0, vtype='C', name='')\n--\n\n"
        "Adds an array of variables.\n\n"
        "shape: int or tuple of int.\n"
        "lb, ub, obj, vtype: one value for all, or as many as there are variables, row by row.\n"
        "name: str, to which the place is added as in x[0,1]; or one name for each variable.\n"
        "Returns an MVar. Raises ValueError for an empty shape or another number of values, TypeError for wrong\n"
        "types, TessolvError if the solver refuses.\n\n"
        "Example: x = m.addMVar((2, 3), ub=[[1, 2, 3], [4, 5, 6]], name=\"x\")"),
    keywords<model_addPsdVar>(
        "addPsdVar",
        "addPsdVar($self, dim, obj=None, name='')\n--\n\n"
        "Adds a symmetric matrix variable that is positive semi-definite.\n\n"
        "dim: int, the number n of its rows and columns, at least 1.\n"
        "obj: its coefficient in the objective, a matrix of shape (n, n) as for PsdExpr.addTerm, or None.\n"
        "name: str, at most 255 bytes.\n"
        "Returns the PsdVar. Raises TypeError for arguments of wrong types, ValueError for a dimension or a matrix\n"
        "that does not fit, TessolvError if the solver refuses. A semi-definite variable cannot be removed.\n\n"
        "Example: X = m.addPsdVar(3, name=\"X\")"),
    keywords<model_addConstr>(
        "addConstr",
        "addConstr($self, tconstr, name='')\n--\n\n"
        "Adds a constraint, or the constraints of a comparison of arrays.\n\n"
        "tconstr: what a comparison gives, as in x + y <= 1, x >= y, x == [0, 5] (a range), x * y <= 2, A @ x <= b\n"
        "or, with a semi-definite X, A * X <= 1; or (b == 1) >> (x + y <= 1), which holds if the binary variable b\n"
        "has that value. True or False add a row that always or never holds.\n"
        "name: str, at most 255 bytes; rows of an array have their place added, as in c[0,1].\n"
        "Returns the Constr, QConstr, PsdConstr or GenConstr, for arrays an MConstr or MQConstr. Raises TypeError and\n"
        "ValueError for arguments that do not fit, TessolvError if the solver refuses; then nothing was added.\n\n"
        "Example: c = m.addConstr(x + 2 * y <= 4, name=\"c\")"),
    keywords<model_addLConstr>(
        "addLConstr",
        "addLConstr($self, lhs, sense=None, rhs=None, name='')\n--\n\n"
        "Adds a linear constraint.\n\n"
        "lhs, rhs: numbers, Var or LinExpr; lhs may also be a comparison, then sense and rhs must be None.\n"
        "sense: \"<\", \">\" or \"=\".  name: str, at most 255 bytes.\n"
        "Returns the Constr. Raises TypeError and ValueError for arguments that do not fit, TessolvError for\n"
        "another sense or if the solver refuses.\n\n"
        "Example: m.addLConstr(x + y, TSO.LESS_EQUAL, 4)"),
    keywords<model_addQConstr>(
        "addQConstr",
        "addQConstr($self, lhs, sense=None, rhs=None, name='')\n--\n\n"
        "Adds a quadratic constraint.\n\n"
        "lhs, rhs: numbers, Var, LinExpr or QuadExpr; lhs may also be a comparison, a range too, then sense and rhs\n"
        "must be None.\n"
        "sense: \"<\", \">\" or \"=\".\n"
        "name: str, at most 255 bytes.\n"
        "Returns the QConstr. Raises TypeError and ValueError for arguments that do not fit, TessolvError for\n"
        "another sense or if the solver refuses.\n\n"
        "Example: m.addQConstr(x * x + y * y, TSO.LESS_EQUAL, z * z)"),
    keywords<model_addSOS>(
        "addSOS",
        "addSOS($self, type, vars, weights=None)\n--\n\n"
        "Adds a special ordered set.\n\n"
        "type: TSO.SOS_TYPE1, at most one of the variables is not zero, or TSO.SOS_TYPE2, at most two, which then "
        "stand\n"
        "one behind the other.\n"
        "vars: an iterable of Var, an MVar, or a dict, whose values count; their order is that of the set.\n"
        "weights: as many finite numbers, rising from each variable to the next; for a dict also a dict with the same\n"
        "keys. Without them 1, 2, 3 and so on.\n"
        "Returns the SOS. Raises TypeError for arguments of wrong types, ValueError for weights that do not fit or\n"
        "variables that are missing or there twice, TessolvError if the solver refuses.\n\n"
        "Example: m.addSOS(TSO.SOS_TYPE2, [x, y, z])"),
    keywords<model_addGenConstrIndicator>(
        "addGenConstrIndicator",
        "addGenConstrIndicator($self, binvar, binval, lhs, sense=None, rhs=None, name='')\n--\n\n"
        "Adds a linear constraint that has to hold only if a binary variable has a given value.\n\n"
        "binvar: Var, binary or integer between 0 and 1.  binval: 0 or 1.\n"
        "lhs, rhs: numbers, Var or LinExpr; lhs may also be a comparison, then sense and rhs must be None.\n"
        "sense: \"<\", \">\" or \"=\".\n"
        "name: str, at most 255 bytes.\n"
        "Returns the GenConstr. Raises TypeError for wrong types and what is not linear, ValueError for another "
        "binval,\n"
        "for a range and for arguments that do not fit, TessolvError for another sense or if the solver refuses, as\n"
        "it does for a variable that is not binary.\n\n"
        "Example: m.addGenConstrIndicator(b, 1, x + y, TSO.EQUAL, 3)"),
    keywords<model_addPsdConstr>(
        "addPsdConstr",
        "addPsdConstr($self, lhs, sense=None, rhs=None, name='')\n--\n\n"
        "Adds a constraint on inner products with semi-definite variables.\n\n"
        "lhs, rhs: numbers, Var, LinExpr or PsdExpr; lhs may also be a comparison, a range too, then sense and rhs\n"
        "must be None.\n"
        "sense: \"<\", \">\" or \"=\".\n"
        "name: str, at most 255 bytes.\n"
        "Returns the PsdConstr. Raises TypeError and ValueError for arguments that do not fit, TessolvError for\n"
        "another sense or if the solver refuses. The row is removed by its twin, m.getConstrs()[c.index].\n\n"
        "Example: c = m.addPsdConstr(A * X, TSO.LESS_EQUAL, 4)"),
    keywords<model_addRange>(
        "addRange",
        "addRange($self, expr, lower, upper, name='')\n--\n\n"
        "Adds the constraint lower <= expr <= upper.\n\n"
        "expr: number, Var, LinExpr or PsdExpr.  lower, upper: numbers, or None for none (not both).\n"
        "name: str, at most 255 bytes.\n"
        "Returns the Constr, for a PsdExpr the PsdConstr. Raises TypeError for arguments of wrong types, TessolvError\n"
        "if the solver refuses.\n\n"
        "Example: m.addRange(x + y, 1, 3)"),
    keywords<model_addConstrs>(
        "addConstrs",
        "addConstrs($self, generator, name='')\n--\n\n"
        "Adds the constraints that a generator expression yields.\n\n"
        "generator: yields comparisons; its loop variables become the keys.\n"
        "name: str, to which the key is added as in c[1,2].\n"
        "Returns a tupledict by key of what addConstr returns. What was added before a failure stays in the model.\n"
        "Raises TypeError for what is no generator of comparisons, TessolvError if the solver refuses.\n\n"
        "Example: m.addConstrs((x[i] <= 1 for i in range(3)), name=\"c\")"),
    keywords<model_setObjective>("setObjective",
                                 "setObjective($self, expr, sense=2000000000)\n--\n\n"
                                 "Replaces the objective.\n\n"
                                 "expr: LinExpr, QuadExpr or PsdExpr (write 1 * x for a single variable).\n"
                                 "sense: TSO.MINIMIZE (1) or TSO.MAXIMIZE (-1); without it the sense stays as it is.\n"
                                 "Raises TypeError for another expr, TessolvError if the solver refuses.\n\n"
                                 "Example: m.setObjective(3 * x + y, TSO.MAXIMIZE)"),
    no_args<model_getObjective>(
        "getObjective", "getObjective($self)\n--\n\n"
                        "The objective: a PsdExpr if it has semi-definite terms, a QuadExpr if it has quadratic\n"
                        "ones, otherwise a LinExpr. A PsdExpr has no quadratic terms: where there are both, it\n"
                        "leaves these out.\n\n"
                        "Example: m.getObjective().size()"),
    keywords<model_getRow>("getRow",
                           "getRow($self, constr)\n--\n\n"
                           "The expression of a linear row, variables in the order of their indices.\n\n"
                           "constr: Constr. Its sides are the attributes LHS and RHS.\n"
                           "Returns a new LinExpr. Raises TypeError for what is no Constr, TessolvError if it\n"
                           "was removed, belongs to another model or is a row of another kind.\n\n"
                           "Example: m.getRow(c).size()"),
    keywords<model_getCol>("getCol",
                           "getCol($self, var)\n--\n\n"
                           "The linear coefficients of a variable, rows in the order of their indices.\n\n"
                           "var: Var. Its coefficient in the objective is the attribute Obj.\n"
                           "Returns a new Column. Raises TypeError for what is no Var, TessolvError if it was\n"
                           "removed or belongs to another model.\n\n"
                           "Example: m.addVar(column=m.getCol(x))"),
    no_args<model_getA>("getA",
                        "getA($self)\n--\n\n"
                        "The linear coefficients of all rows.\n\n"
                        "Returns a new scipy.sparse.csr_matrix of float64 with the shape (NumConstrs, NumVars), its\n"
                        "indices sorted; of quadratic and semi-definite rows it has the linear part.\n\n"
                        "Example: m.getA() @ m.getAttr(\"X\", m.getVars())"),
    keywords<model_getCoeff>("getCoeff",
                             "getCoeff($self, constr, var)\n--\n\n"
                             "The linear coefficient of a variable in a row.\n\n"
                             "constr: Constr.  var: Var.\n"
                             "Returns a float, 0.0 if the row does not have the variable. Raises TypeError for\n"
                             "what is no such handle, TessolvError if it was removed or belongs to another\n"
                             "model.\n\n"
                             "Example: m.getCoeff(c, x)"),
    keywords<model_chgCoeff>(
        "chgCoeff",
        "chgCoeff($self, constr, var, value)\n--\n\n"
        "Changes linear coefficients of rows.\n\n"
        "constr, var, value: Constr, Var and float; or lists or arrays of them of one length, where value may\n"
        "also be one number for all. 0.0 takes a variable out of its row.\n"
        "Either all coefficients change or none. Raises TypeError for what is no such handle or number,\n"
        "ValueError if the lengths differ, TessolvError if a handle was removed or belongs to another model,\n"
        "or for a value that is not finite.\n\n"
        "Example: m.chgCoeff(c, x, 2.5)"),
    keywords<model_getQCRow>(
        "getQCRow", "getQCRow($self, qconstr)\n--\n\n"
                    "The expression of a quadratic row.\n\n"
                    "qconstr: QConstr; one of a linear row gives an expression without quadratic terms. Its sides\n"
                    "are the attributes QCLHS and QCRHS.\n"
                    "Returns a new QuadExpr. Raises TypeError for what is no QConstr, TessolvError if it was\n"
                    "removed, belongs to another model or is a semi-definite row.\n\n"
                    "Example: m.getQCRow(q).getLinExpr()"),
    keywords<model_getSOS>("getSOS",
                           "getSOS($self, sos)\n--\n\n"
                           "What a special ordered set consists of.\n\n"
                           "sos: SOS.\n"
                           "Returns (type, vars, weights): TSO.SOS_TYPE1 or SOS_TYPE2 as int, a list of Var in the\n"
                           "order in which they were given, and a list of as many floats. Raises TypeError for\n"
                           "what is no SOS, TessolvError if it was removed or belongs to another model.\n\n"
                           "Example: kind, members, weights = m.getSOS(s)"),
    keywords<model_getGenConstrIndicator>(
        "getGenConstrIndicator",
        "getGenConstrIndicator($self, genconstr)\n--\n\n"
        "What an indicator constraint consists of: if binvar has the value binval, then expr (sense) rhs.\n\n"
        "genconstr: GenConstr.\n"
        "Returns (binvar, binval, expr, sense, rhs): Var, int 0 or 1, LinExpr, one of \"<\", \">\" and \"=\", float.\n"
        "Raises TypeError for what is no GenConstr, TessolvError if it was removed or belongs to another model.\n\n"
        "Example: binvar, binval, expr, sense, rhs = m.getGenConstrIndicator(g)"),
    keywords<model_getVarByName>("getVarByName",
                                 "getVarByName($self, name)\n--\n\n"
                                 "The first variable of a name, given or generated.\n\n"
                                 "name: str.\n"
                                 "Returns the Var, or None if there is none. Raises TypeError for what is no str.\n\n"
                                 "Example: m.getVarByName(\"x\")"),
    keywords<model_getConstrByName>(
        "getConstrByName", "getConstrByName($self, name)\n--\n\n"
                           "The first row of a name, given or generated, of whatever kind.\n\n"
                           "name: str.\n"
                           "Returns its Constr, or None if there is none. Raises TypeError for what is no str.\n\n"
                           "Example: m.getConstrByName(\"c\")"),
    keywords<model_getQConstrByName>(
        "getQConstrByName", "getQConstrByName($self, name)\n--\n\n"
                            "The first quadratic row of a name, given or generated.\n\n"
                            "name: str.\n"
                            "Returns the QConstr, or None if there is none. Raises TypeError for what is no str.\n\n"
                            "Example: m.getQConstrByName(\"risk\")"),
    keywords<model_remove>(
        "remove",
        "remove($self, items)\n--\n\n"
        "Removes elements. The handles of the others are renumbered; those of removed ones have a negative index.\n\n"
        "items: a handle, or containers of handles to any depth; of dicts the values.\n"
        "Raises TypeError for anything else, with nothing removed; TessolvError if the solver refuses.\n\n"
        "Example: m.remove([x, c])"),
    keywords<model_optimize>(
        "optimize",
        "optimize($self, callback=None)\n--\n\n"
        "Solves the model. Other Python threads run meanwhile; Ctrl-C ends the run and keeps what was found.\n\n"
        "callback: a function callback(model, where) that is called while a MIP is solved, or None. Only names that\n"
        "begin with \"_\" may be added to the model, to pass context to it.\n"
        "Returns None; the outcome is in the attributes Status, ObjVal, X and others. Infeasible and unbounded are\n"
        "statuses, not errors. Raises TessolvError when a limit or an interrupt ended the run (errno one of the\n"
        "ABORT_ codes; what was found can be read), or when no engine can solve such a model.\n\n"
        "Example: m.optimize(); print(m.ObjVal)"),
    keywords<model_computeIIS>(
        "computeIIS",
        "computeIIS($self, callback=None)\n--\n\n"
        "Finds an irreducible infeasible subsystem: rows and bounds that contradict one another, of which none can be\n"
        "left out. It is read through the attributes IISConstr, which rows of all kinds have by their index, and "
        "IISVar;\n"
        "special ordered sets and indicators that take part stand in the log.\n\n"
        "callback: as for optimize.\n"
        "Raises TessolvError with errno IIS_FEASIBLE if the model is feasible.\n\n"
        "Example: m.computeIIS(); [c for c in m.getConstrs() if c.IISConstr]"),
    keywords<model_reset>("reset",
                          "reset($self, clearall=0)\n--\n\n"
                          "Forgets the solution.\n\n"
                          "clearall: int, 0 clears the solution only, 1 all related data: starts and basis too.\n"
                          "Handles stay valid. Raises TessolvError if the solver refuses.\n\n"
                          "Example: m.reset(1)"),
    no_args<model_cleanupMilp>("cleanupMilp",
                               "cleanupMilp($self)\n--\n\n"
                               "Drops start values and stored solutions that no longer fit the model.\n\n"
                               "Returns how many were dropped, as int.\n\n"
                               "Example: m.cleanupMilp()"),
    no_args<model_terminate>(
        "terminate", "terminate($self)\n--\n\n"
                     "Asks the running solve to stop. Only for callbacks; optimize then fails with the code for an\n"
                     "aborted run, ABORT_CTRL_C.\n\n"
                     "Raises RuntimeError outside of a callback.\n\n"
                     "Example: m.optimize(lambda model, where: model.terminate())"),
    keywords<model_cbGet>(
        "cbGet",
        "cbGet($self, what)\n--\n\n"
        "A value of the running solve. Only for callbacks.\n\n"
        "what: int, one of the codes 200 to 317, most of which have a name in TSO.Callback.\n"
        "Returns an int or a float; an array of int32 or float64 for what there is one of for each variable,\n"
        "row or coefficient. Raises TessolvError with errno CB_INVALID_WHAT for an unknown code and\n"
        "CB_INVALID_WHERE for what the place of the callback does not have; RuntimeError outside of a callback.\n\n"
        "Example: gap = model.cbGet(TSO.Callback.MIP_OBJBST) - model.cbGet(TSO.Callback.MIP_OBJBND)"),
    keywords<model_cbGetSolution>(
        "cbGetSolution",
        "cbGetSolution($self, vars=None)\n--\n\n"
        "Values of the new solution at MIPSOL, of the best one so far elsewhere. Only for callbacks.\n\n"
        "vars: Var, list of Var, dict or tupledict with Var as values, MVar; None for all variables.\n"
        "Returns a float, a list, a dict or tupledict with the same keys, or an array of the shape of the MVar; for\n"
        "None an array in the order of getVars(). Values that are not known read TSO.UNDEFINED.\n"
        "Raises TypeError for other objects, TessolvError for variables of another model, RuntimeError outside of a\n"
        "callback.\n\n"
        "Example: chosen = [k for k, v in model.cbGetSolution(x).items() if v > 0.5]"),
    keywords<model_cbGetNodeRel>("cbGetNodeRel",
                                 "cbGetNodeRel($self, vars=None)\n--\n\n"
                                 "Values of the relaxation of the current node. Only for callbacks at MIPNODE.\n\n"
                                 "vars and result: as for cbGetSolution.\n"
                                 "Raises TessolvError with errno CB_INVALID_WHERE at other places.\n\n"
                                 "Example: if model.cbGetNodeRel(x) > 0.5: model.cbCut(x + y <= 1)"),
    keywords<model_cbCut>(
        "cbCut",
        "cbCut($self, lhs, sense=None, rhs=None)\n--\n\n"
        "Adds a lazy constraint at MIPSOL, a user cut at MIPNODE. Only for callbacks.\n\n"
        "lhs: a comparison, an array comparison or a list of comparisons; or, with sense and rhs, a number, Var,\n"
        "LinExpr, MVar or MLinExpr; or a pair (column numbers, coefficients) of the presolved problem.\n"
        "sense: \"<\", \">\" or \"=\".  rhs: what lhs may be; a number for a pair.\n"
        "Lazy constraints bind from then on; they need the parameter MIP/EnableLazyConstr. A user cut may cut off\n"
        "only what is no integer solution: the engine may drop it.\n"
        "Raises TypeError and ValueError for arguments that do not fit; TessolvError with errno\n"
        "CB_INVALID_SUBMISSION where a cut cannot be taken; RuntimeError outside of a callback.\n\n"
        "Example: model.cbCut(quicksum(x[i, j] for i in S for j in S if i < j) <= len(S) - 1)"),
    keywords<model_cbBranch>(
        "cbBranch",
        "cbBranch($self, var, value, way=0)\n--\n\n"
        "Asks for a branching of the current node: var <= floor(value) or var >= ceil(value). Only for callbacks at\n"
        "MIPNODE; of several requests at one node the last counts.\n\n"
        "var: Var, an integer variable; or int, a column of the presolved problem.\n"
        "value: number. way: int, -1 explores the lower branch first, 1 the upper, 0 leaves it to the engine.\n"
        "Raises TessolvError with errno CB_INVALID_SUBMISSION for a branching that is none, CB_INVALID_WHERE at other\n"
        "places; RuntimeError outside of a callback.\n\n"
        "Example: model.cbBranch(x, model.cbGetNodeRel(x), 1)"),
    keywords<model_cbSetSolution>(
        "cbSetSolution",
        "cbSetSolution($self, vars, values)\n--\n\n"
        "Enters values of a solution, complete or partial, which cbUseSolution offers; when the callback returns,\n"
        "that is done in any case. Only for callbacks.\n\n"
        "vars: Var, list of Var, dict or tupledict of Var, MVar; or column numbers of the presolved problem (int or\n"
        "list of int), but not both in one solution.\n"
        "values: one number for all, or as many as there are variables; a dict by key for a dict.\n"
        "Raises TypeError and ValueError for arguments that do not fit, TessolvError for variables of another model,\n"
        "RuntimeError outside of a callback. Nothing is entered then.\n\n"
        "Example: model.cbSetSolution(x, {key: 0.0 for key in x})"),
    no_args<model_cbUseSolution>(
        "cbUseSolution",
        "cbUseSolution($self)\n--\n\n"
        "Offers the solution that was entered; the engine completes a partial one. Only for callbacks.\n\n"
        "Returns a pair: 0 (taken), 1 (it violates the model, or cannot be completed) or 2 (feasible, but not better\n"
        "than what is known), and its objective value, TSO.UNDEFINED if it has none. None if nothing was entered.\n"
        "Raises RuntimeError outside of a callback, TessolvError if the solver refuses.\n\n"
        "Example: status, value = model.cbUseSolution()"),
    keywords<model_message>("message", "message($self, message)\n--\n\n"
                                       "Writes a line into the log of the model.\n\n"
                                       "message: str. Raises TypeError for anything else.\n\n"
                                       "Example: m.message(\"second phase\")"),
    keywords<model_read>(
        "read", "read($self, filename)\n--\n\n"
                "Reads parameters, start values, a basis or a solution into the model.\n\n"
                "filename: str; the suffix tells what is read: .prm, .mst, .sol, .bas, each also with .gz or .bz2.\n"
                "A whole model is read by tessolvpy.read.\n"
                "Raises TessolvError if the file is missing or malformed.\n\n"
                "Example: m.read(\"trial1.prm\")"),
    keywords<model_write>(
        "write", "write($self, filename)\n--\n\n"
                 "Writes the model or a part of it.\n\n"
                 "filename: str; the suffix tells what is written: .lp, .mps, .qps the model itself, .sol the\n"
                 "solution, .bas the basis, .prm parameter settings, .mst MIP starts; a further .gz or .bz2\n"
                 "compresses.\n"
                 "Raises TessolvError if the file cannot be written; the old file is then as it was.\n\n"
                 "Example: m.write(\"model.lp.gz\")"),
    keywords<model_getAttr>(
        "getAttr", "getAttr($self, attrname, objs=None)\n--\n\n"
                   "Values of an attribute.\n\n"
                   "attrname: str, in any case, \"_\" as good as \"/\".\n"
                   "objs: None for an attribute of the model; one handle; or a list of handles of one kind, which is\n"
                   "read with a single solver call.\n"
                   "Returns one value, or a list with one value for each handle.\n"
                   "Raises AttributeError for a name that this kind of element does not have, TypeError for objects\n"
                   "that are no handles, TessolvError when there is no value.\n\n"
                   "Example: m.getAttr(\"X\", m.getVars())"),
    keywords<model_setAttr>(
        "setAttr", "setAttr($self, attrname, objs, newvalues=None)\n--\n\n"
                   "Sets an attribute.\n\n"
                   "attrname: str, as for getAttr.\n"
                   "objs: with newvalues None, the value for an attribute of the model; otherwise a handle or a list\n"
                   "of handles of one kind.\n"
                   "newvalues: one value for one handle, as many values as handles for a list.\n"
                   "Raises AttributeError for an unknown name, ValueError if values and handles do not fit, TypeError\n"
                   "for objects that are no handles, TessolvError when the solver refuses.\n\n"
                   "Example: m.setAttr(\"UB\", m.getVars(), [1.0, 2.0])"),
    keywords<model_setParam>(
        "setParam",
        "setParam($self, paramname, paramvalue)\n--\n\n"
        "Sets a parameter of this model.\n\n"
        "paramname: str, in any case, \"_\" as good as \"/\", \"*\" and \"?\" as wildcards that must match\n"
        "one name.  paramvalue: int, float or str by the parameter, or \"default\".\n"
        "Prints what was set, or that nothing matches. Raises TypeError for a value of a wrong type,\n"
        "TessolvError for one out of range.\n\n"
        "Example: m.setParam(\"MIP/GapRel\", 0.01)"),
    keywords<model_getParamInfo>(
        "getParamInfo", "getParamInfo($self, paramname)\n--\n\n"
                        "Value and range of a parameter of this model.\n\n"
                        "paramname: str, as for setParam.\n"
                        "Returns (name, current, least, greatest, default); for texts least and greatest are None.\n"
                        "An unknown name is printed and gives None.\n\n"
                        "Example: m.getParamInfo(\"MaxTime\")"),
    no_args<model_resetParams>("resetParams", "resetParams($self)\n--\n\n"
                                              "Sets all parameters of this model to their defaults.\n\n"
                                              "Example: m.resetParams()"),
    no_args<model_getVars>("getVars", "getVars($self)\n--\n\n"
                                      "The variables, in order: the live list of Var handles, not a copy.\n\n"
                                      "Example: m.getVars()[0].VarName"),
    no_args<model_getConstrs>("getConstrs", "getConstrs($self)\n--\n\n"
                                            "All rows as Constr handles, in order: the live list, not a copy.\n\n"
                                            "Example: [c.DualSoln for c in m.getConstrs()]"),
    no_args<model_getQConstrs>("getQConstrs", "getQConstrs($self)\n--\n\n"
                                              "All rows as QConstr handles, in order: the live list, not a copy.\n\n"
                                              "Example: len(m.getQConstrs())"),
    no_args<model_getSOSs>("getSOSs", "getSOSs($self)\n--\n\n"
                                      "The special ordered sets, in order: the live list, not a copy.\n\n"
                                      "Example: len(m.getSOSs())"),
    no_args<model_getGenConstrs>("getGenConstrs", "getGenConstrs($self)\n--\n\n"
                                                  "The general constraints, in order: the live list, not a copy.\n\n"
                                                  "Example: len(m.getGenConstrs())"),
    no_args<model_getPsdVars>("getPsdVars", "getPsdVars($self)\n--\n\n"
                                            "The semi-definite variables, in order: the live list, not a copy.\n\n"
                                            "Example: len(m.getPsdVars())"),
    no_args<model_getPsdConstrs>("getPsdConstrs",
                                 "getPsdConstrs($self)\n--\n\n"
                                 "All rows as PsdConstr handles, in order: the live list, not a copy.\n\n"
                                 "Example: len(m.getPsdConstrs())"),
    no_args<model_copy>("copy", "copy($self)\n--\n\n"
                                "A copy of the model with handles of its own. Its Params reads None.\n\n"
                                "Raises TessolvError if memory runs out.\n\n"
                                "Example: m2 = m.copy()"),
    no_args<model_disposeMethod>("dispose", "dispose($self)\n--\n\n"
                                            "Frees the solver model. Handles must not be used any more. A second call\n"
                                            "does nothing.\n\n"
                                            "Example: m.dispose()"),
    no_args<model_ctypes>("ctypes",
                          "ctypes($self)\n--\n\n"
                          "The raw solver pointers, for code that calls the solver library itself: an object\n"
                          "with env, data and datap (ctypes pointers) and reload().\n\n"
                          "Example: m.ctypes().data.value"),
    {},
};

PyType_Slot model_slots[] = {
    {Py_tp_doc,
     const_cast<char*>(
         "Model(name=\"\", env=None, empty=False)\n--\n\n"
         "An optimisation model. Attributes are read and assigned by name, in any case: m.ObjVal, m.NumVars,\n"
         "m.ModelSense = TSO.MAXIMIZE. Names that begin with \"_\" are the user's own.\n\n"
         "name: str, its name.\n"
         "env: Env, or None for the default environment, which is made when it is first needed.\n"
         "empty: if true, no solver model is made; for internal use.\n"
         "Raises TypeError for arguments of wrong types, TessolvError if the solver refuses.\n\n"
         "Example: m = Model(\"diet\")")},
    {Py_tp_new, reinterpret_cast<void*>(&model_tp_new)},
    slot<model_init>(Py_tp_init),
    {Py_tp_traverse, reinterpret_cast<void*>(&model_traverse)},
    {Py_tp_clear, reinterpret_cast<void*>(&model_clear)},
    {Py_tp_finalize, reinterpret_cast<void*>(&model_finalize)},
    {Py_tp_dealloc, reinterpret_cast<void*>(&model_dealloc)},
    slot<model_getattro>(Py_tp_getattro),
    slot<model_setattro>(Py_tp_setattro),
    {Py_tp_members, model_members},
    {Py_tp_methods, model_methods},
    {},
};
PyType_Spec model_spec = {"tessolvpy.Model", sizeof(Model), 0,
                          Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC, model_slots};

} // namespace

PyTypeObject* make_model_type() { return make_type(model_spec); }

} // namespace tsp
