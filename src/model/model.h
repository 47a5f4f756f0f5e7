// Model: one solver model and the handles of its elements.
#pragma once

#include "attr/access.h"
#include "py/type.h"
#include "tessolv.h"

namespace tsp {

struct Model {
    PyObject_HEAD TSOmodel mdl_; // null until created; dangling, though harmless, after dispose
    PyObject *Params, *params;
    PyObject* env;
    PyObject* userattrs_; // dict of the user's attributes whose names begin with "_"
    PyObject* callback_;  // of the running or last run
    TSOcbdata cbdata_;    // non-null only while a callback runs
    int32_t where_;
    uint8_t terminate_;
    uint8_t usersolmode_;
    PyObject* usersol_;
    bool nested_;              // the run was started inside a callback
    PyObject* callback_error_; // what a callback raised that nobody handled; context of the error of the run
    // Handles by kind; position equals index. None in a shell. constrs_, qconstrs_ and psdconstrs_ are three views of
    // one row space and always as long as one another; the last two are null until somebody asks for them, which
    // nobody can tell and saves two handles a row.
    PyObject *vars_, *constrs_, *qconstrs_, *soss_, *genconstrs_, *psdvars_, *psdconstrs_;
    int32_t owned_; // 1 while mdl_ must be freed by this object
};

PyTypeObject* make_model_type();

// A new Model around a solver model, which it owns from then on. Not entered in the registry.
Ref model_new(TSOmodel mdl);
void model_reload(Model& self);
void model_dispose(Model& self);

// Defined in callback/bridge.cpp, which lies above the model: the entry that TSOsetcallbackfunc gets; `usrdata` is the
// Model. Returns 0, or -1 when an error was not handled, which ends the run.
extern "C" int PyCallback(TSOmodel mdl, TSOcbdata cbdata, int where, void* usrdata);

// Whether this thread is inside a callback. Likewise defined in callback/bridge.cpp.
bool inside_callback();

// Makes the error that a callback left behind the context of the Python error that is set.
void attach_callback_error(Model& self);

// The environment of the solver model; TessolvError if the model is gone.
TSOenv model_env(Model& self);

// Model.getAttr and setAttr.
Ref model_get_attribute(Model& self, Borrowed name, Borrowed objects);
void model_set_attribute(Model& self, Borrowed name, Borrowed objects, Borrowed values);

// One of the counts that the solver keeps, as "NumVars"; never negative.
int model_count(Model& self, const char* attribute);

// Methods of Model by file; the table that lists them is in type.cpp.
Ref model_copy(Model& self); // lifecycle.cpp
Ref model_disposeMethod(Model& self);
Ref model_getVars(Model& self);
Ref model_getConstrs(Model& self);
Ref model_getQConstrs(Model& self);
Ref model_getSOSs(Model& self);
Ref model_getGenConstrs(Model& self);
Ref model_getPsdVars(Model& self);
Ref model_getPsdConstrs(Model& self);
Ref model_getAttr(Model& self, const Call& call); // attributes.cpp
Ref model_setAttr(Model& self, const Call& call);
Ref model_setParam(Model& self, const Call& call); // parameters.cpp
Ref model_getParamInfo(Model& self, const Call& call);
Ref model_resetParams(Model& self);
Ref model_optimize(Model& self, const Call& call); // solve.cpp
Ref model_computeIIS(Model& self, const Call& call);
Ref model_reset(Model& self, const Call& call);
Ref model_cleanupMilp(Model& self);
Ref model_terminate(Model& self);
Ref model_message(Model& self, const Call& call);
Ref model_read(Model& self, const Call& call);
Ref model_write(Model& self, const Call& call);
Ref model_addVar(Model& self, const Call& call); // variables.cpp
Ref model_addVars(Model& self, const Call& call);
Ref model_addMVar(Model& self, const Call& call);
Ref model_addConstr(Model& self, const Call& call); // linear.cpp
Ref model_addLConstr(Model& self, const Call& call);
Ref model_addRange(Model& self, const Call& call);
Ref model_addConstrs(Model& self, const Call& call);
Ref model_addQConstr(Model& self, const Call& call);            // quadratic.cpp
Ref model_addSOS(Model& self, const Call& call);                // sos.cpp
Ref model_addGenConstrIndicator(Model& self, const Call& call); // indicator.cpp
Ref model_addPsdVar(Model& self, const Call& call);             // psd.cpp
Ref model_addPsdConstr(Model& self, const Call& call);
Ref model_setObjective(Model& self, const Call& call); // objective.cpp
Ref model_getObjective(Model& self);
Ref model_getRow(Model& self, const Call& call); // query.cpp
Ref model_getCol(Model& self, const Call& call);
Ref model_getA(Model& self);
Ref model_getCoeff(Model& self, const Call& call);
Ref model_getQCRow(Model& self, const Call& call);
Ref model_getSOS(Model& self, const Call& call);
Ref model_getGenConstrIndicator(Model& self, const Call& call);
Ref model_chgCoeff(Model& self, const Call& call);     // edit.cpp
Ref model_getVarByName(Model& self, const Call& call); // by_name.cpp
Ref model_getConstrByName(Model& self, const Call& call);
Ref model_getQConstrByName(Model& self, const Call& call);
Ref model_remove(Model& self, const Call& call); // remove.cpp
Ref model_ctypes(Model& self);                   // view.cpp

// Inside a callback: callback/values.cpp and submit.cpp, which lie above the model.
Ref model_cbGet(Model& self, const Call& call);
Ref model_cbGetSolution(Model& self, const Call& call);
Ref model_cbGetNodeRel(Model& self, const Call& call);
Ref model_cbCut(Model& self, const Call& call);
Ref model_cbBranch(Model& self, const Call& call);
Ref model_cbSetSolution(Model& self, const Call& call);
Ref model_cbUseSolution(Model& self);

// Slots: lifecycle.cpp and attributes.cpp.
void model_init(Model& self, PyObject* args, PyObject* kwargs);
Ref model_getattro(Model& self, PyObject* name);
void model_setattro(Model& self, PyObject* name, PyObject* value);

} // namespace tsp
