// The import: one ordered sequence, in which later steps read what earlier ones made.
#include "arrays/expr_array.h"
#include "arrays/handle_array.h"
#include "arrays/operators.h"
#include "attr/catalog.h"
#include "containers/tupledict.h"
#include "containers/tuplelist.h"
#include "env/env.h"
#include "env/params.h"
#include "expr/column.h"
#include "expr/linexpr.h"
#include "expr/list.h"
#include "expr/operand.h"
#include "expr/psdexpr.h"
#include "expr/quadexpr.h"
#include "expr/tempconstr.h"
#include "handles/handle.h"
#include "model/model.h"
#include "module/constants.h"
#include "module/functions.h"
#include "module/pickling.h"
#include "module/readonly.h"
#include "module/state.h"
#include "module/text.h"
#include "py/numpy.h"
#include "solver/check.h"

#include <new>

namespace tsp {
namespace {

// What "from tessolvpy import *" gives.
constexpr const char* kPublicNames[] = {
    "TSO",       "models",       "disposeDefaultEnv",
    "multidict", "paramHelp",    "quicksum",
    "read",      "readParams",   "resetParams",
    "setParam",  "system",       "writeParams",
    "version",   "TessolvError", "tuplelist",
    "tupledict", "Var",          "MVar",
    "Constr",    "QConstr",      "SOS",
    "GenConstr", "MConstr",      "MQConstr",
    "PsdVar",    "PsdConstr",    "LinExpr",
    "QuadExpr",  "MLinExpr",     "MQuadExpr",
    "PsdExpr",   "TempConstr",   "Column",
    "Env",       "Model",
};

struct TypeRow {
    const char* name;
    PyTypeObject* State::*type;
};
constexpr TypeRow kTypes[] = {
    {"TessolvError", &State::tessolv_error},
    {"Env", &State::env},
    {"ParamClass", &State::param_class},
    {"tuplelist", &State::tuplelist},
    {"tupledict", &State::tupledict},
    {"Operand", &State::operand},
    {"Var", &State::var},
    {"Constr", &State::constr},
    {"QConstr", &State::qconstr},
    {"SOS", &State::sos},
    {"GenConstr", &State::genconstr},
    {"PsdVar", &State::psdvar},
    {"PsdConstr", &State::psdconstr},
    {"MVar", &State::mvar},
    {"MConstr", &State::mconstr},
    {"MQConstr", &State::mqconstr},
    {"MLinExpr", &State::mlinexpr},
    {"MQuadExpr", &State::mquadexpr},
    {"Model", &State::model},
    {"List", &State::list},
    {"LinExpr", &State::linexpr},
    {"QuadExpr", &State::quadexpr},
    {"PsdExpr", &State::psdexpr},
    {"TempConstr", &State::tempconstr},
    {"Column", &State::column},
};

void add(Borrowed module, const char* name, Borrowed value) { checked(PyObject_SetAttrString(module, name, value)); }

void make_types(Borrowed module) {
    State& s = state();
    s.tessolv_error = make_tessolv_error_type();
    s.env = make_env_type();
    s.param_class = make_param_class_type();
    s.tuplelist = make_tuplelist_type();
    s.tupledict = make_tupledict_type();
    s.operand = make_operand_type();
    make_handle_types();
    s.list = make_list_type();
    s.linexpr = make_linexpr_type();
    s.quadexpr = make_quadexpr_type();
    s.psdexpr = make_psdexpr_type();
    make_handle_array_types();
    make_expr_array_types();
    install_array_operators();
    s.tempconstr = make_tempconstr_type();
    s.column = make_column_type();
    s.model = make_model_type();
    for (const TypeRow& row : kTypes)
        add(module, row.name, as_object(s.*row.type));
}

// Binds the helper modules, each under its name here, in this order.
void import_modules(Borrowed module) {
    struct {
        const char *bound, *name, *member;
    } rows[] = {
        {"os", "os", nullptr},
        {"inspect", "inspect", nullptr},
        {"itertools", "itertools", nullptr},
        {"_ctypes", "ctypes", nullptr},
        {"fnmatch", "fnmatch", nullptr},
        {"_np", "numpy", nullptr},
        {"_sp", "scipy", "sparse"},
        {"time", "time", nullptr},
        {"pydoc", "pydoc", nullptr},
        {"threading", "threading", nullptr},
        {"traceback", "traceback", nullptr},
        {"atexit", "atexit", nullptr},
        {"numbers", "numbers", nullptr},
    };
    for (auto& row : rows) {
        Ref imported;
        if (row.member) { // from name import member
            Ref list = Ref::steal(Py_BuildValue("[s]", row.member));
            Ref parent = Ref::steal(PyImport_ImportModuleLevel(row.name, nullptr, nullptr, list.get(), 0));
            imported = Ref::steal(PyObject_GetAttrString(parent.get(), row.member));
        } else {
            imported = Ref::steal(PyImport_ImportModule(row.name));
        }
        add(module, row.bound, imported.get());
    }
}

PyObject* member(Borrowed object, const char* name) {
    return Ref::steal(PyObject_GetAttrString(object, name)).release();
}

void keep_helpers(Borrowed module) {
    State& s = state();
    s.np = member(module, "_np");
    s.np_array = member(s.np, "array");
    s.np_isscalar = member(s.np, "isscalar");
    Ref sparse = Ref::steal(PyObject_GetAttrString(module, "_sp"));
    s.spmatrix = member(sparse.get(), "spmatrix");
    s.sparray = PyObject_GetAttrString(sparse.get(), "sparray");
    PyErr_Clear();
    s.ctypes = member(module, "_ctypes");
    s.fnmatch = member(module, "fnmatch");
    s.traceback = member(module, "traceback");
    s.s_dispose = Ref::steal(PyUnicode_InternFromString("dispose")).release();
    Ref numbers = Ref::steal(PyObject_GetAttrString(module, "numbers"));
    s.number = member(numbers.get(), "Number");
    s.s_array_priority = Ref::steal(PyUnicode_InternFromString("__array_priority__")).release();
    s.s_add = Ref::steal(PyUnicode_InternFromString("__add__")).release();
    s.s_mul = Ref::steal(PyUnicode_InternFromString("__mul__")).release();
    s.s_index = Ref::steal(PyUnicode_InternFromString("index")).release();
}

void bind_all(Borrowed module) {
    Ref names = Ref::steal(PyList_New(0));
    for (const char* name : kPublicNames)
        checked(PyList_Append(names.get(), chars2str(name).get()));
    add(module, "__all__", names.get());
}

void run_import(Borrowed module) {
    // What a thread needs to throw gets its memory at the first throw, and where none is left then the process ends.
    try {
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
    }
    State& s = state();
    s.module = Ref::borrow(module).release();
    make_types(module);
    import_modules(module);
    import_numpy();
    keep_helpers(module);
    bind_all(module);
    s.default_env = Ref::none().release();
    s.model_registry = Ref::steal(PyList_New(0)).release();
    s.env_registry = Ref::steal(PyList_New(0)).release();
    Ref atexit = Ref::steal(PyObject_GetAttrString(module, "atexit"));
    Ref::steal(PyObject_CallMethod(atexit.get(), "register", "O", cleanup_function().get()));
    Ref threading = Ref::steal(PyObject_GetAttrString(module, "threading"));
    s.callback_lock = Ref::steal(PyObject_CallMethod(threading.get(), "Lock", nullptr)).release();
    install_tessolv_error_members();
    bind_functions(module);
    for (PyTypeObject* type : {s.operand, s.psdexpr})
        add(as_object(type), "__array_priority__", Ref::steal(PyLong_FromLong(1000)).get());
    build_constants(module);
    install_handle_members();
    install_handle_array_members();
    install_expr_array_members();
    for (const TypeRow& row : kTypes)
        if (s.*row.type != s.tessolv_error)
            add_getmetaclass(s.*row.type);
    install_pickling(module);
    add(module, "__test__", Ref::steal(PyDict_New()).get());
}

bool g_imported = false;

int exec_module(PyObject* module) noexcept {
    if (g_imported) {
        PyErr_SetString(PyExc_RuntimeError,
                        "Module 'tessolvpy' has already been imported. Re-initialisation is not supported.");
        return -1;
    }
    try {
        run_import(module);
        g_imported = true;
        return 0;
    } catch (...) {
        error_from_exception();
        if (!PyErr_Occurred())
            PyErr_SetString(PyExc_ImportError, "init tessolvpy");
        return -1;
    }
}

PyModuleDef_Slot module_slots[] = {
    {Py_mod_exec, reinterpret_cast<void*>(&exec_module)},
#ifdef Py_MOD_MULTIPLE_INTERPRETERS_NOT_SUPPORTED
    {Py_mod_multiple_interpreters, Py_MOD_MULTIPLE_INTERPRETERS_NOT_SUPPORTED},
#endif
    {0, nullptr},
};

PyModuleDef module_def = {
    PyModuleDef_HEAD_INIT,
    "tessolvpy",
    "The modelling layer of the Tessolv optimisation library: models, variables and constraints in Python, solved by\n"
    "the solver library, results as named attributes.\n\n"
    "Example: m = read(\"diet.lp\"); m.optimize(); print(m.ObjVal)",
    0,
    nullptr,
    module_slots,
    nullptr,
    nullptr,
    nullptr,
};

} // namespace
} // namespace tsp

PyMODINIT_FUNC PyInit_tessolvpy() { return PyModuleDef_Init(&tsp::module_def); }
