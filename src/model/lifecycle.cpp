// Model: creation, disposal, copies, and the lists of handles.
#include "model/model.h"

#include "env/env.h"
#include "env/params.h"
#include "handles/handle.h"
#include "module/state.h"
#include "module/text.h"
#include "py/args.h"
#include "solver/check.h"

namespace tsp {
namespace {

Ref new_list() { return Ref::steal(PyList_New(0)); }

// The two further views of the rows come into being when somebody asks, see row_list.
void forget_row_lists(Model& self) {
    Py_CLEAR(self.qconstrs_);
    Py_CLEAR(self.psdconstrs_);
}

// Gives all containers their empty state.
void initialize(Model& self) {
    assign(self.userattrs_, Ref::steal(PyDict_New()));
    for (auto list : {&Model::vars_, &Model::constrs_, &Model::soss_, &Model::genconstrs_, &Model::psdvars_})
        assign(self.*list, new_list());
    forget_row_lists(self);
}

void make_params(Model& self) {
    Ref params = new_param_class(model_env(self));
    assign(self.Params, Ref::borrow(params.get()));
    assign(self.params, std::move(params));
}

// Rebuilds the lists of handles from what the solver holds.
void populate(Model& self) {
    State& s = state();
    int rows = model_count(self, "NumConstrs"), vars = model_count(self, "NumVars"),
        psdvars = model_count(self, "NumPsdVars"), soss = model_count(self, "NumSOS"),
        genconstrs = model_count(self, "NumGenConstrs");
    assign(self.constrs_, new_handle_list(s.constr, self.mdl_, rows));
    forget_row_lists(self);
    assign(self.soss_, new_handle_list(s.sos, self.mdl_, soss));
    assign(self.genconstrs_, new_handle_list(s.genconstr, self.mdl_, genconstrs));
    assign(self.vars_, new_handle_list(s.var, self.mdl_, vars));
    assign(self.psdvars_, new_handle_list(s.psdvar, self.mdl_, psdvars));
}

// One of the two further views of the rows, made at the first asking.
Ref row_list(Model& self, PyObject* Model::*list, PyTypeObject* type) {
    if (!(self.*list) && self.constrs_) {
        Py_ssize_t rows = PyList_GET_SIZE(self.constrs_);
        self.*list = new_handle_list(type, self.mdl_, static_cast<int>(rows)).release();
    }
    return Ref::borrow(self.*list);
}

// Model(empty=True): a shell, to be filled by the caller.
Ref new_shell() {
    Ref args = Ref::steal(PyTuple_New(0));
    Ref kwargs = Ref::steal(Py_BuildValue("{s:O}", "empty", Py_True));
    return Ref::steal(PyObject_Call(as_object(state().model), args.get(), kwargs.get()));
}

} // namespace

void model_init(Model& self, PyObject* args, PyObject* kwargs) {
    static const Signature<3> signature{"__init__", {"name", "env", "empty"}, 0};
    auto [name, env, empty] = parse(signature, args, kwargs);
    if (name)
        require_str_or_none(name, "name");
    Env* given = env ? require_or_none<Env>(env, state().env, "env") : nullptr;
    bool is_empty = empty && checked(PyObject_IsTrue(empty));

    model_dispose(self); // __init__ called a second time: the first model is not lost
    self.owned_ = 0;
    self.mdl_ = nullptr;
    assign(self.env, Ref::borrow(as_object(given ? given : default_env(true))));
    if (is_empty)
        return;
    initialize(self);
    Ref no_name = Ref::steal(PyUnicode_FromString(""));
    check(TSOnewmodel(reinterpret_cast<Env*>(self.env)->envptr, &self.mdl_, str2chars(name ? name : no_name.get()), 0,
                      nullptr, nullptr, nullptr, nullptr, nullptr));
    self.owned_ = 1;
    make_params(self);
    checked(PyList_Append(state().model_registry, as_object(&self)));
}

int model_count(Model& self, const char* attribute) {
    Ref name = Ref::steal(PyUnicode_FromString(attribute));
    Ref value = model_get_attribute(self, name.get(), Py_None);
    int n = to_int32(value.get());
    return n < 0 ? 0 : n;
}

Ref model_new(TSOmodel mdl) {
    Ref shell = new_shell();
    Model& self = *reinterpret_cast<Model*>(shell.get());
    self.mdl_ = mdl;
    model_reload(self);
    return shell;
}

void model_reload(Model& self) {
    initialize(self);
    self.owned_ = 1;
    populate(self);
    make_params(self);
}

// Kept: a copy does not own its solver model, and has neither parameters nor user attributes
// (test_lifetimes.py: test_copies).
Ref model_copy(Model& self) {
    Ref shell = new_shell();
    Model& copy = *reinterpret_cast<Model*>(shell.get());
    copy.mdl_ = TSOcopymodel(self.mdl_);
    if (!copy.mdl_)
        throw SolverError(TSO_NOMEMORY);
    populate(copy);
    return shell;
}

void model_dispose(Model& self) {
    if (self.owned_ == 1) {
        self.owned_ = 0;
        TSOfreemodel(self.mdl_);
    }
}

Ref model_disposeMethod(Model& self) {
    model_dispose(self);
    return Ref::none();
}

TSOenv model_env(Model& self) {
    TSOenv env = TSOgetenv(self.mdl_);
    if (!env) // a null environment has a meaning of its own for the parameter functions
        throw SolverError(TSO_INVALID_ARGUMENT);
    return env;
}

Ref model_getVars(Model& self) { return Ref::borrow(self.vars_); }
Ref model_getConstrs(Model& self) { return Ref::borrow(self.constrs_); }
Ref model_getQConstrs(Model& self) { return row_list(self, &Model::qconstrs_, state().qconstr); }
Ref model_getSOSs(Model& self) { return Ref::borrow(self.soss_); }
Ref model_getGenConstrs(Model& self) { return Ref::borrow(self.genconstrs_); }
Ref model_getPsdVars(Model& self) { return Ref::borrow(self.psdvars_); }
Ref model_getPsdConstrs(Model& self) { return row_list(self, &Model::psdconstrs_, state().psdconstr); }

} // namespace tsp
