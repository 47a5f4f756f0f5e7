#include "module/functions.h"

#include "containers/multidict.h"
#include "env/env.h"
#include "env/params.h"
#include "expr/quicksum.h"
#include "model/model.h"
#include "module/state.h"
#include "module/text.h"
#include "py/args.h"
#include "solver/check.h"

namespace tsp {
namespace {

// The models that the calling code has under global names of its module, as (name, Model) pairs in the order of the
// names. A model under two names is there twice; models in lists, dicts or local variables are not seen.
std::vector<std::pair<Ref, Ref>> named_models() {
    std::vector<std::pair<Ref, Ref>> found;
    PyObject* globals = PyEval_GetGlobals(); // the module's own functions have no frame, so this is the caller's
    if (!globals)
        return found;
    PyObject *name, *value;
    Py_ssize_t position = 0;
    while (PyDict_Next(globals, &position, &name, &value))
        if (is_instance(value, state().model))
            found.emplace_back(Ref::borrow(name), Ref::borrow(value));
    return found;
}

Ref models(PyObject*) {
    auto found = named_models();
    if (found.empty()) {
        print(chars2str("No models currently loaded"));
        return Ref::none();
    }
    print(chars2str("Currently loaded models:"));
    for (auto& [name, model] : found)
        print(Ref::steal(PyUnicode_FromFormat("%S : %S", name.get(), model.get())));
    return Ref::none();
}

Ref disposeDefaultEnv(PyObject*) {
    dispose_default_env();
    return Ref::none();
}

Ref paramHelp(PyObject*, const Call& call) {
    static const Signature<1> signature{"paramHelp", {"paramname"}, 1};
    auto [name] = parse(signature, call);
    print_param_help(name);
    return Ref::none();
}

Ref quicksumFunction(PyObject*, const Call& call) {
    static const Signature<1> signature{"quicksum", {"data"}, 1};
    auto [data] = parse(signature, call);
    return quicksum(data);
}

Ref read(PyObject*, const Call& call) {
    static const Signature<2> signature{"read", {"filename", "env"}, 1};
    auto [filename, env] = parse(signature, call);
    if (env && env != Py_None && !is_instance(env, state().env))
        raise(PyExc_TypeError, "Cannot convert %.200s to %.200s", Py_TYPE(env)->tp_name, state().env->tp_name);
    Ref hold = Ref::borrow(env && env != Py_None ? env : as_object(default_env(true)));
    Chars path = str2chars(filename);
    TSOmodel model = nullptr;
    check(TSOreadmodel(reinterpret_cast<Env*>(hold.get())->envptr, path, &model));
    return model_new(model);
}

Ref version(PyObject*) {
    int major = 0, minor = 0, technical = 0;
    TSOversion(&major, &minor, &technical);
    return Ref::steal(Py_BuildValue("(iii)", major, minor, technical));
}

// The environments that the functions for "all models" act on: the default one if there is one, then the private ones
// of the caller's models.
template <class Act> void each_env(Act act) {
    auto found = named_models();
    if (Env* env = default_env(false)) {
        Ref hold = Ref::borrow(as_object(env));
        act(env->envptr);
    }
    for (auto& [name, model] : found)
        act(model_env(*reinterpret_cast<Model*>(model.get())));
}

Ref readParams(PyObject*, const Call& call) {
    static const Signature<1> signature{"readParams", {"filename"}, 1};
    auto [filename] = parse(signature, call);
    Chars path = str2chars(filename);
    each_env([&](TSOenv env) { check(TSOreadparams(env, path)); });
    return Ref::none();
}

Ref resetParams(PyObject*) {
    each_env([](TSOenv env) { TSOresetparams(env); });
    return Ref::none();
}

Ref setParam(PyObject*, const Call& call) {
    static const Signature<2> signature{"setParam", {"paramname", "paramvalue"}, 2};
    auto [name, value] = parse(signature, call);
    each_env([&, name = name, value = value](TSOenv env) { set_param(env, name, value); });
    return Ref::none();
}

Ref system(PyObject* module, PyObject* args, PyObject* kwargs) {
    Ref os = Ref::steal(PyObject_GetAttrString(module, "os"));
    Ref function = Ref::steal(PyObject_GetAttrString(os.get(), "system"));
    Ref::steal(PyObject_Call(function.get(), args, kwargs));
    return Ref::none();
}

Ref writeParams(PyObject*, const Call& call) {
    static const Signature<1> signature{"writeParams", {"filename"}, 1};
    auto [filename] = parse(signature, call);
    Chars path = str2chars(filename);
    Env* env = default_env(false);
    if (!env)
        raise(PyExc_RuntimeError, "there is no default environment, or it was disposed");
    check(TSOwriteparams(env->envptr, path));
    return Ref::none();
}

// Disposes the entries that a registry has now; the first failure ends it.
void dispose_all(Borrowed registry) {
    Py_ssize_t size = PyList_GET_SIZE(registry);
    for (Py_ssize_t i = 0; i < size && i < PyList_GET_SIZE(registry); ++i) {
        Ref entry = Ref::borrow(PyList_GET_ITEM(registry, i));
        Ref::steal(PyObject_CallMethodNoArgs(entry.get(), state().s_dispose));
    }
}

Ref cleanup(PyObject*) {
    dispose_all(state().model_registry);
    dispose_all(state().env_registry);
    return Ref::none();
}

PyMethodDef function_defs[] = {
    no_args<models>("models", "models($module)\n--\n\n"
                              "Return all current instantiated models except those in the user's data structure\n\n"
                              "Prints the models that the calling module has under global names.\n\n"
                              "Example: models()"),
    no_args<disposeDefaultEnv>(
        "disposeDefaultEnv",
        "disposeDefaultEnv($module)\n--\n\n"
        "Disposes the default environment, if there is one.\n\n"
        "When you need to use the default Environment again after you disposed it, Environment will be\n"
        "automatically created again\n\n"
        "Example: disposeDefaultEnv()"),
    keywords<multidict>("multidict", kMultidictDoc),
    keywords<paramHelp>("paramHelp",
                        "paramHelp($module, paramname)\n--\n\n"
                        "Prints name, type and description of parameters.\n\n"
                        "paramname: str, in any case, \"_\" as good as \"/\"; \"*\" and \"?\" are wildcards.\n\n"
                        "Example: paramHelp(\"MIP/*\")"),
    keywords<quicksumFunction>("quicksum", "quicksum($module, data)\n--\n\n"
                                           "The sum of many items, faster than sum().\n\n"
                                           "data: an iterable of numbers, Var, LinExpr, QuadExpr and PsdExpr.\n"
                                           "Returns a QuadExpr if there are quadratic terms, a PsdExpr if there was\n"
                                           "one, otherwise a LinExpr. Raises TypeError for other items, and where\n"
                                           "quadratic and semi-definite terms meet.\n\n"
                                           "Example: quicksum(c[i] * x[i] for i in x)"),
    keywords<read>("read", "read($module, filename, env=None)\n--\n\n"
                           "Reads a model file into a new Model.\n\n"
                           "filename: str, ending in .lp, .mps or .qps, also with .gz or .bz2.\n"
                           "env: Env to read in, None for the default environment.\n"
                           "Raises TessolvError if the file is missing (FILE_READ_ERROR) or malformed (FORMAT_ERROR;\n"
                           "the log tells the line), TypeError for arguments of wrong types.\n\n"
                           "Example: m = read(\"diet.lp\"); m.optimize()"),
    no_args<version>("version", "version($module)\n--\n\n"
                                "The version of the solver library, as (major, minor, technical).\n\n"
                                "Example: version()"),
    keywords<readParams>("readParams", "readParams($module, filename)\n--\n\n"
                                       "Reads a parameter file into the default environment and the models that the\n"
                                       "calling module has under global names.\n\n"
                                       "filename: str, ending in .prm, .prm.gz or .prm.bz2.\n"
                                       "Raises TessolvError if the file is missing or malformed.\n\n"
                                       "Example: readParams(\"fast.prm\")"),
    no_args<resetParams>("resetParams", "resetParams($module)\n--\n\n"
                                        "Sets all parameters of the default environment, and of the models that the\n"
                                        "calling module has under global names, to their defaults.\n\n"
                                        "Example: resetParams()"),
    keywords<setParam>(
        "setParam",
        "setParam($module, paramname, paramvalue)\n--\n\n"
        "Sets a parameter of the default environment and of the models that the calling module\n"
        "has under global names.\n\n"
        "paramname: str, in any case, \"_\" as good as \"/\", \"*\" and \"?\" as wildcards that must match\n"
        "one name.  paramvalue: int, float or str by the parameter, or \"default\".\n"
        "Prints what was set, or that nothing matches. Raises TypeError for a value of a wrong type,\n"
        "TessolvError for one out of range.\n\n"
        "Example: setParam(\"OutputFlag\", 0)"),
    {"system", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&detail::Entry<&system>::call)),
     METH_VARARGS | METH_KEYWORDS,
     "system($module, command)\n--\n\n"
     "Runs a command in a shell of the system. Its exit status is not returned.\n\n"
     "command: str. Raises TypeError for anything else.\n\n"
     "Example: system(\"ls\")"},
    keywords<writeParams>("writeParams",
                          "writeParams($module, filename)\n--\n\n"
                          "Writes the parameters of the default environment that differ from their\n"
                          "defaults. If the current default Environment is released, the method reports\n"
                          "an error.\n\n"
                          "filename: str, ending in .prm, .prm.gz or .prm.bz2.\n"
                          "Raises TessolvError if the file cannot be written, RuntimeError if there is no\n"
                          "default environment.\n\n"
                          "Example: writeParams(\"mine.prm\")"),
    {},
};

PyMethodDef cleanup_def = no_args<cleanup>("cleanup", nullptr);

} // namespace

void bind_functions(Borrowed module) { checked(PyModule_AddFunctions(module, function_defs)); }

Ref cleanup_function() { return Ref::steal(PyCFunction_New(&cleanup_def, nullptr)); }

} // namespace tsp
