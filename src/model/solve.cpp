// Model: solving, and moving data between the model and files.
#include "model/model.h"
#include "module/text.h"
#include "py/args.h"
#include "py/gil.h"
#include "solver/check.h"

namespace tsp {
namespace {

// optimize and computeIIS differ in the solver function alone.
Ref run(Model& self, Borrowed callback, int (*solver)(TSOmodel)) {
    assign(self.callback_, Ref::borrow(callback));
    check(TSOsetcallbackfunc(self.mdl_, callback == Py_None ? nullptr : &PyCallback, &self));
    assign(self.callback_error_, Ref::none());
    self.nested_ = inside_callback();
    Ref alive = Ref::borrow(as_object(&self)); // the solver holds a bare pointer to it during the run
    TSOmodel mdl = self.mdl_;
    int code;
    {
        DropGil unlocked;
        code = solver(mdl);
    }
    if (code == 0)
        return Ref::none();
    SolverError(code).set();
    attach_callback_error(self);
    throw PythonError();
}

using FileFunction = int (*)(TSOmodel, const char*);
Ref with_file(Model& self, const Call& call, const Signature<1>& signature, FileFunction function) {
    auto [filename] = parse(signature, call);
    check(function(self.mdl_, str2chars(filename)));
    return Ref::none();
}

} // namespace

Ref model_optimize(Model& self, const Call& call) {
    static const Signature<1> signature{"optimize", {"callback"}, 0};
    auto [callback] = parse(signature, call);
    return run(self, callback ? callback : Py_None, &TSOoptimize);
}

Ref model_computeIIS(Model& self, const Call& call) {
    static const Signature<1> signature{"computeIIS", {"callback"}, 0};
    auto [callback] = parse(signature, call);
    return run(self, callback ? callback : Py_None, &TSOcomputeIIS);
}

Ref model_reset(Model& self, const Call& call) {
    static const Signature<1> signature{"reset", {"clearall"}, 0};
    auto [clearall] = parse(signature, call);
    check(TSOreset(self.mdl_, clearall ? to_int32(clearall) : 0));
    return Ref::none();
}

Ref model_cleanupMilp(Model& self) {
    int removed = 0;
    check(TSOcleanupmilp(self.mdl_, &removed));
    return Ref::steal(PyLong_FromLong(removed));
}

Ref model_terminate(Model& self) {
    if (!self.cbdata_)
        raise(PyExc_RuntimeError, "method can only be called in callback function");
    self.terminate_ = 1;
    return Ref::none();
}

Ref model_message(Model& self, const Call& call) {
    static const Signature<1> signature{"message", {"message"}, 1};
    auto [message] = parse(signature, call);
    require_str_or_none(message, "message");
    if (message == Py_None)
        raise(PyExc_TypeError, "expected bytes, NoneType found");
    Chars text = str2chars(message);
    TSOmsg(model_env(self), text);
    return Ref::none();
}

Ref model_read(Model& self, const Call& call) {
    static const Signature<1> signature{"read", {"filename"}, 1};
    return with_file(self, call, signature, &TSOread);
}

Ref model_write(Model& self, const Call& call) {
    static const Signature<1> signature{"write", {"filename"}, 1};
    return with_file(self, call, signature, &TSOwrite);
}

} // namespace tsp
