#include "env/env.h"

#include "env/params.h"
#include "module/state.h"
#include "module/text.h"
#include "solver/check.h"

namespace tsp {
namespace {

// Parameters that were set on the null environment for an Env whose construction then fails must not reach the next
// one.
struct KeptParams {
    bool any = false; // until the solver takes them over
    ~KeptParams() {
        if (any)
            TSOresetparams(nullptr);
    }
};

void env_init(Env& self, PyObject* args, PyObject* kwargs) {
    static const Signature<3> signature{"__init__", {"logfilename", "empty", "params"}, 0};
    auto [logfilename, empty, params] = parse(signature, args, kwargs);
    if (logfilename)
        require_str_or_none(logfilename, "logfilename");
    if (params && params != Py_None && !PyDict_Check(params))
        raise_argument_type("params", "dict", params);

    int32_t is_empty = empty ? to_int32(empty) : 0;
    env_dispose(self); // __init__ called a second time: the first environment is not lost
    self.empty = is_empty;
    self.envptr = nullptr;
    KeptParams kept;
    if (params && params != Py_None) {
        // Set on the null environment, which keeps them for the one that is made next.
        PyObject *key, *value;
        Py_ssize_t position = 0, size = PyDict_Size(params);
        Ref set = Ref::steal(PyObject_GetAttrString(as_object(&self), "setParam"));
        kept.any = PyDict_Size(params) > 0;
        while (PyDict_Next(params, &position, &key, &value)) {
            Ref hold_key = Ref::borrow(key), hold_value = Ref::borrow(value);
            Ref::steal(PyObject_CallFunctionObjArgs(set.get(), key, value, nullptr));
            if (PyDict_Size(params) != size)
                raise(PyExc_RuntimeError, "dictionary changed size during iteration");
        }
    }
    TSOenv created = reinterpret_cast<TSOenv>(3);
    self.envptr = created;
    if (is_empty) {
        kept.any = false;
        check(TSOemptyenv(&self.envptr));
    } else {
        Ref no_name = Ref::steal(PyUnicode_FromString(""));
        Chars path = str2chars(logfilename ? logfilename : no_name.get());
        kept.any = false;
        check(TSOloadenv(&self.envptr, path));
    }
    self.alive = 1;
    checked(PyList_Append(state().env_registry, as_object(&self)));
}

// Kept: an environment that was made empty is not started by this, and one that was loaded is started again
// (test_lifetimes.py: test_environments).
Ref env_start(Env& self) {
    if (self.empty == 0)
        check(TSOstartenv(self.envptr));
    return Ref::none();
}

Ref env_resetParam(Env& self) {
    TSOresetparams(self.envptr);
    return Ref::none();
}

Ref env_setParam(Env& self, const Call& call) {
    static const Signature<2> signature{"setParam", {"paramname", "paramvalue"}, 2};
    auto [name, value] = parse(signature, call);
    set_param(self.envptr, name, value);
    return Ref::none();
}

Ref env_writeParams(Env& self, const Call& call) {
    static const Signature<1> signature{"writeParams", {"filename"}, 1};
    auto [filename] = parse(signature, call);
    check(TSOwriteparams(self.envptr, str2chars(filename)));
    return Ref::none();
}

Ref env_checkLicense(Env& self) {
    int valid = 0, daysleft = 0;
    char text[TSO_MAX_STRLEN] = "";
    check(TSOchecklicense(self.envptr, &valid, &daysleft, text));
    text[TSO_MAX_STRLEN - 1] = '\0';
    Ref words = chars2str(text);
    return Ref::steal(Py_BuildValue("(iiO)", valid, daysleft, words.get()));
}

Ref env_disposeMethod(Env& self) {
    env_dispose(self);
    return Ref::none();
}

void env_finalize(PyObject* self) {
    SavedError saved;
    PyObject* result = PyObject_CallMethodNoArgs(self, state().s_dispose);
    if (!result)
        PyErr_WriteUnraisable(self);
    Py_XDECREF(result);
}

void env_dealloc(PyObject* self) {
    if (PyObject_CallFinalizerFromDealloc(self) < 0)
        return; // somebody took it back
    env_dispose(*reinterpret_cast<Env*>(self));
    plain_dealloc(self);
}

PyMethodDef env_methods[] = {
    no_args<env_start>("start", "start($self)\n--\n\n"
                                "Starts an environment that was not made empty; it has been started already, so this\n"
                                "changes nothing. An empty one starts at its first model.\n\n"
                                "Raises TessolvError if the solver refuses (environment disposed).\n\n"
                                "Example: Env().start()"),
    no_args<env_resetParam>("resetParam", "resetParam($self)\n--\n\n"
                                          "Sets all parameters of the environment to their defaults.\n\n"
                                          "Example: env.resetParam()"),
    keywords<env_setParam>(
        "setParam", "setParam($self, paramname, paramvalue)\n--\n\n"
                    "Sets a parameter for the models that are made in this environment from now on.\n\n"
                    "paramname: str, in any case, \"_\" as good as \"/\", \"*\" and \"?\" as wildcards that must\n"
                    "match one name.  paramvalue: int, float or str by the parameter, or \"default\".\n"
                    "Prints what was set, or that nothing matches. Raises TypeError for a value of a wrong\n"
                    "type, TessolvError for one out of range.\n\n"
                    "Example: env.setParam(\"MaxTime\", 60)"),
    keywords<env_writeParams>("writeParams", "writeParams($self, filename)\n--\n\n"
                                             "Writes the parameters that differ from their defaults.\n\n"
                                             "filename: str, ending in .prm, .prm.gz or .prm.bz2.\n"
                                             "Raises TessolvError if the file cannot be written.\n\n"
                                             "Example: env.writeParams(\"mine.prm\")"),
    no_args<env_checkLicense>("checkLicense", "checkLicense($self)\n--\n\n"
                                              "Asks the solver library about its licence.\n\n"
                                              "Returns (valid, days left, text): 1 or 0, a number of days, a line.\n"
                                              "Raises TessolvError if the environment was disposed.\n\n"
                                              "Example: Env().checkLicense()[0]"),
    no_args<env_disposeMethod>("dispose", "dispose($self)\n--\n\n"
                                          "Frees the environment. Its models live on. A second call does nothing.\n\n"
                                          "Example: env.dispose()"),
    {},
};

PyType_Slot env_slots[] = {
    {Py_tp_doc,
     const_cast<char*>("Env(logfilename=\"\", empty=False, params=None)\n--\n\n"
                       "Represents the runtime environment of a model, including License and Configuration.\n\n"
                       "logfilename: str, a file to which the log is appended.\n"
                       "empty: if true, nothing is started and logfilename is not used; the environment starts at its\n"
                       "first model.\n"
                       "params: dict of parameter names and values, set before the environment starts.\n"
                       "Raises TypeError for arguments of wrong types, TessolvError if the solver refuses.\n\n"
                       "Example: env = Env(\"run.log\", params={\"MaxTime\": 60})")},
    slot<env_init>(Py_tp_init),
    {Py_tp_finalize, reinterpret_cast<void*>(&env_finalize)},
    {Py_tp_dealloc, reinterpret_cast<void*>(&env_dealloc)},
    {Py_tp_methods, env_methods},
    {},
};
PyType_Spec env_spec = {"tessolvpy.Env", sizeof(Env), 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, env_slots};

} // namespace

PyTypeObject* make_env_type() { return make_type(env_spec); }

void env_dispose(Env& self) {
    if (self.alive == 1) {
        self.alive = 0;
        TSOfreeenv(self.envptr);
    }
}

Env* default_env(bool create) {
    State& s = state();
    if (s.default_env == Py_None && create) {
        Ref made = Ref::steal(PyObject_CallNoArgs(as_object(s.env)));
        assign(s.default_env, std::move(made));
    }
    return s.default_env == Py_None ? nullptr : reinterpret_cast<Env*>(s.default_env);
}

void dispose_default_env() {
    if (Env* env = default_env(false)) {
        Ref hold = Ref::borrow(as_object(env));
        Ref::steal(PyObject_CallMethodNoArgs(hold.get(), state().s_dispose));
    }
    assign(state().default_env, Ref::none());
}

} // namespace tsp
