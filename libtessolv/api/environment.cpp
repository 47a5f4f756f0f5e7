// Environments: their life, the log, the version, the licence.
#include "api/guard.h"
#include "core/callback.h"
#include "core/version.h"

#include <cstdio>

using namespace tso;
using namespace tso::api;

void tso::api::destroy(Kind kind, void* object) noexcept {
    switch (kind) {
    case Kind::Env:
        delete static_cast<Env*>(object);
        break;
    case Kind::Model:
        delete static_cast<ModelObject*>(object);
        break;
    case Kind::Callback:
        delete static_cast<CallbackContext*>(object);
        break;
    case Kind::PrivateEnv: // goes with its model
        break;
    }
}

namespace {

// Creates an environment with this thread's pending parameters; `prepare` finishes it.
template <class F> int create_env(TSOenv* env, F&& prepare) noexcept {
    return run_body(nullptr, [&] {
        require_pointers(env);
        auto created = std::make_unique<Env>();
        take_pending_params(*created);
        prepare(*created);
        *env = opaque<TSOenv>(open(Kind::Env, created.get()));
        created.release();
    });
}

} // namespace

int TSOemptyenv(TSOenv* env) {
    return create_env(env, [](Env&) {});
}

int TSOloadenv(TSOenv* env, const char* logfilename) {
    return create_env(env, [&](Env& created) {
        if (logfilename && *logfilename)
            created.set_string(Param::LogFile, logfilename);
        created.start();
    });
}

int TSOstartenv(TSOenv env) {
    return on_env(env, Mode::Edit, [](Env& e) { e.start(); });
}

int TSOfreeenv(TSOenv env) {
    const Handle h = handle_of(env);
    if (kind_of(h) == Kind::PrivateEnv)
        return peek(with_kind(h, Kind::Model), Kind::Model);
    return close(h, Kind::Env);
}

TSOenv TSOgetenv(TSOmodel model) {
    const Handle h = handle_of(model);
    return peek(h, Kind::Model) == TSO_INVALID_ARGUMENT ? nullptr : opaque<TSOenv>(with_kind(h, Kind::PrivateEnv));
}

void TSOversion(int* major, int* minor, int* technical) {
    put(major, kVersionMajor);
    put(minor, kVersionMinor);
    put(technical, kVersionTechnical);
}

void TSOmsg(TSOenv env, const char* message) {
    on_env(env, Mode::Read, [&](Env& e) {
        require_pointers(message);
        e.log().line(message);
    });
}

int TSOchecklicense(TSOenv env, int* valid, int* daysleft, char* text) {
    return on_env(env, Mode::Read, [&](Env&) {
        put(valid, 1);
        put(daysleft, TSO_MAXINT);
        if (text)
            std::snprintf(text, TSO_MAX_STRLEN, "Tessolv is free software; its licence has no end.");
    });
}
