// Model: its parameters.
#include "env/params.h"
#include "model/model.h"
#include "py/args.h"

namespace tsp {

Ref model_setParam(Model& self, const Call& call) {
    static const Signature<2> signature{"setParam", {"paramname", "paramvalue"}, 2};
    auto [name, value] = parse(signature, call);
    set_param(model_env(self), name, value);
    return Ref::none();
}

Ref model_getParamInfo(Model& self, const Call& call) {
    static const Signature<1> signature{"getParamInfo", {"paramname"}, 1};
    auto [name] = parse(signature, call);
    return get_param_info(model_env(self), name);
}

Ref model_resetParams(Model& self) {
    TSOresetparams(model_env(self));
    return Ref::none();
}

} // namespace tsp
