// The one way from a C function into the library: checks the handle, takes the object for the length of the call, runs
// the body, turns every exception into a code.
#pragma once

#include "api/handles.h"
#include "core/failure.h"
#include "core/model.h"

#include <string>
#include <type_traits>

namespace tso::api {

using CallbackFunction = int (*)(TSOmodel model, TSOcbdata cbdata, int where, void* usrdata);

// What stands behind the handle of a model.
struct ModelObject {
    explicit ModelObject(std::unique_ptr<Model> m) : model(std::move(m)) {}
    std::unique_ptr<Model> model;
    CallbackFunction callback = nullptr;
    void* callback_data = nullptr;
    std::vector<char> text; // what was last given back as text
};

// The code of the exception in flight. Its text, if it has one, goes to the log.
int code_of_exception(Log* log) noexcept;

// A body returns a code, or nothing for TSO_OKAY.
template <class F> int run_body(Log* log, F&& body) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(body())>) {
            body();
            return TSO_OKAY;
        } else {
            return body();
        }
    } catch (...) {
        return code_of_exception(log);
    }
}

// body(ModelObject&, Slot&) or body(Model&).
template <class F> int on_model(TSOmodel handle, Mode mode, F&& body) noexcept {
    const Claim claim(handle_of(handle), Kind::Model, mode);
    if (claim.code() != TSO_OKAY)
        return claim.code();
    ModelObject& object = *static_cast<ModelObject*>(claim.object());
    return run_body(&object.model->env.log(), [&] {
        if constexpr (std::is_invocable_v<F, ModelObject&, Slot&>)
            return body(object, claim.slot());
        else
            return body(*object.model);
    });
}
template <class F> int read_model(TSOmodel handle, F&& body) noexcept {
    return on_model(handle, Mode::Read, static_cast<F&&>(body));
}
template <class F> int edit_model(TSOmodel handle, F&& body) noexcept {
    return on_model(handle, Mode::Edit, static_cast<F&&>(body));
}

// body(Env&), for an environment of its own or the private one of a model, which is taken with its model.
template <class F> int on_env(TSOenv handle, Mode mode, F&& body) noexcept {
    const Handle h = handle_of(handle);
    if (kind_of(h) == Kind::PrivateEnv)
        return on_model(opaque<TSOmodel>(with_kind(h, Kind::Model)), mode,
                        [&](Model& model) { return body(model.env); });
    const Claim claim(h, Kind::Env, Mode::Wait);
    if (claim.code() != TSO_OKAY)
        return claim.code();
    Env& env = *static_cast<Env*>(claim.object());
    return run_body(&env.log(), [&] { return body(env); });
}

// Null pointers where something must be.
template <class... T> void require_pointers(const T*... p) {
    if (!(... && (p != nullptr)))
        throw Failure(TSO_INVALID_ARGUMENT);
}

template <class T, class V> void put(T* target, V value) {
    if (target)
        *target = static_cast<T>(value);
}

// The parameters that this thread has set on the null environment since its last environment: taken over by `env`.
void take_pending_params(Env& env);

} // namespace tso::api
