// Parameters, by name, of an environment or of the null environment.
#include "api/guard.h"
#include "catalog/lookup.h"
#include "io/files.h"

#include <cstring>

using namespace tso;
using namespace tso::api;

namespace {

// What was set on the null environment by this thread; null if nothing was.
thread_local std::unique_ptr<Params> pending;

Param param_named(const char* name, ParamType type, int code) {
    require_pointers(name);
    const int i = Lookup<kParams>::find_text(name);
    if (i < 0 || kParams[i].type != type)
        throw Failure(code);
    return static_cast<Param>(i);
}

// body(env or params, param): both have the same setters.
template <class F> int set_param(TSOenv env, const char* name, ParamType type, F&& body) noexcept {
    if (!env)
        return run_body(nullptr, [&] {
            const Param p = param_named(name, type, TSO_PARAM_SET_ERROR);
            auto next = pending ? std::make_unique<Params>(*pending) : std::make_unique<Params>();
            body(*next, p);
            pending = std::move(next);
        });
    return on_env(env, Mode::Edit, [&](Env& e) { body(e, param_named(name, type, TSO_PARAM_SET_ERROR)); });
}

template <class F> int get_param(TSOenv env, const char* name, ParamType type, F&& body) noexcept {
    if (!env)
        return run_body(nullptr, [&] {
            const Param p = param_named(name, type, TSO_PARAM_GET_ERROR);
            body(pending ? *pending : Params(), p);
        });
    return on_env(env, Mode::Read, [&](Env& e) { body(e.params(), param_named(name, type, TSO_PARAM_GET_ERROR)); });
}

void put_text(char* target, const std::string& text) {
    if (target)
        std::memcpy(target, text.c_str(), text.size() + 1); // shorter than TSO_MAX_STRLEN, as Params holds it
}

} // namespace

void tso::api::take_pending_params(Env& env) {
    if (const std::unique_ptr<Params> taken = std::move(pending))
        env.replace(*taken);
}

int TSOsetintparam(TSOenv env, const char* name, int value) {
    return set_param(env, name, ParamType::Int, [&](auto& target, Param p) { target.set_int(p, value); });
}

int TSOsetdblparam(TSOenv env, const char* name, double value) {
    return set_param(env, name, ParamType::Double, [&](auto& target, Param p) { target.set_double(p, value); });
}

int TSOsetstrparam(TSOenv env, const char* name, const char* value) {
    return set_param(env, name, ParamType::String, [&](auto& target, Param p) {
        require_pointers(value);
        target.set_string(p, value);
    });
}

int TSOgetintparam(TSOenv env, const char* name, int* value) {
    return get_param(env, name, ParamType::Int, [&](const Params& params, Param p) {
        require_pointers(value);
        *value = params.get_int(p);
    });
}

int TSOgetdblparam(TSOenv env, const char* name, double* value) {
    return get_param(env, name, ParamType::Double, [&](const Params& params, Param p) {
        require_pointers(value);
        *value = params.get_double(p);
    });
}

int TSOgetstrparam(TSOenv env, const char* name, char* value) {
    return get_param(env, name, ParamType::String, [&](const Params& params, Param p) {
        require_pointers(value);
        put_text(value, params.get_string(p));
    });
}

int TSOgetintparaminfo(TSOenv env, const char* name, int* current, int* min, int* max, int* defaultvalue) {
    return get_param(env, name, ParamType::Int, [&](const Params& params, Param p) {
        put(current, params.get_int(p));
        put(min, row(p).least);
        put(max, row(p).greatest);
        put(defaultvalue, row(p).fallback);
    });
}

int TSOgetdblparaminfo(TSOenv env, const char* name, double* current, double* min, double* max, double* defaultvalue) {
    return get_param(env, name, ParamType::Double, [&](const Params& params, Param p) {
        put(current, params.get_double(p));
        put(min, row(p).least);
        put(max, row(p).greatest);
        put(defaultvalue, row(p).fallback);
    });
}

int TSOgetstrparaminfo(TSOenv env, const char* name, char* current, char* defaultvalue) {
    return get_param(env, name, ParamType::String, [&](const Params& params, Param p) {
        put_text(current, params.get_string(p));
        put_text(defaultvalue, "");
    });
}

int TSOresetparams(TSOenv env) {
    if (!env) {
        pending.reset();
        return TSO_OKAY;
    }
    return on_env(env, Mode::Edit, [](Env& e) { e.reset(); });
}

int TSOreadparams(TSOenv env, const char* filename) {
    return on_env(env, Mode::Edit, [&](Env& e) {
        require_pointers(filename);
        io::read_params(e, filename);
    });
}

int TSOwriteparams(TSOenv env, const char* filename) {
    return on_env(env, Mode::Read, [&](Env& e) {
        require_pointers(filename);
        io::write_params(e, filename);
    });
}
