// State: everything that the module keeps between calls. There is one, for the one interpreter that may import it.
#pragma once

#include "py/ref.h"

namespace tsp {

// All fields are owned references, set in the import sequence and kept until the process ends.
struct State {
    PyObject* module = nullptr;

    // Types
    PyTypeObject *tessolv_error, *env, *param_class, *model;
    PyTypeObject *tuplelist, *tupledict;
    PyTypeObject *list, *linexpr, *quadexpr, *psdexpr, *tempconstr, *column;
    PyTypeObject *mvar, *mlinexpr, *mquadexpr, *mconstr, *mqconstr;
    PyTypeObject *operand, *var, *constr, *qconstr, *sos, *genconstr, *psdvar, *psdconstr;

    // Modules and what is used of them
    PyObject *np, *np_array, *np_isscalar;
    PyObject *spmatrix, *sparray; // sparray is null where SciPy has none
    PyObject* number;             // numbers.Number
    PyObject *ctypes, *fnmatch, *traceback;

    // Objects of the module's own
    PyObject* default_env;    // the default Env, or None
    PyObject* model_registry; // list of Model; append only, strong, walked by cleanup
    PyObject* env_registry;   // list of Env; likewise
    PyObject* callback_lock;  // a threading.Lock around every entry of the solver into Python
    PyObject* tso;            // the public object TSO

    // Interned names
    PyObject *s_dispose, *s_index, *s_array_priority, *s_add, *s_mul;
};

extern State g_state;
inline State& state() { return g_state; }

} // namespace tsp
