// Models: their life, files, solving.
#include "api/guard.h"
#include "core/callback.h"
#include "engine/engine.h"
#include "io/files.h"

using namespace tso;
using namespace tso::api;

namespace {

TSOmodel open_model(std::unique_ptr<Model> model) {
    auto object = std::make_unique<ModelObject>(std::move(model));
    const Handle h = open(Kind::Model, object.get());
    object.release();
    return opaque<TSOmodel>(h);
}

// The environment a new model copies, started. The copy is made so that a long call does not keep it from others.
int started_copy(TSOenv env, std::unique_ptr<Env>& copy) noexcept {
    return on_env(env, Mode::Edit, [&](Env& e) {
        e.start();
        copy = std::make_unique<Env>(e);
    });
}

// What a callback holds a handle of: the engine's context, which outlives no call.
class Relay final : public CallbackContext {
public:
    explicit Relay(CallbackContext& context) : context_(context) {}
    int get(int where, int what, void* result) override { return context_.get(where, what, result); }
    int offer_solution(const double* solution, double* objective, bool presolved) override {
        return context_.offer_solution(solution, objective, presolved);
    }
    int add_cut(int count, const int* ind, const double* val, char sense, double rhs, bool presolved) override {
        return context_.add_cut(count, ind, val, sense, rhs, presolved);
    }
    int branch(int var, double value, int way, bool presolved) override {
        return context_.branch(var, value, way, presolved);
    }

private:
    CallbackContext& context_;
};

class UserCallback final : public Callback {
public:
    UserCallback(TSOmodel model, const ModelObject& object)
        : model_(model), function_(object.callback), data_(object.callback_data) {}
    bool call(CallbackContext& context, int where) override {
        auto relay = std::make_unique<Relay>(context);
        const Handle h = open(Kind::Callback, relay.get());
        relay.release();
        const int answer = function_(model_, opaque<TSOcbdata>(h), where, data_);
        close(h, Kind::Callback);
        return answer == 0;
    }

private:
    TSOmodel model_;
    CallbackFunction function_;
    void* data_;
};

using EngineCall = int (*)(Model&, Run&, bool has_callback);

int run_engine(TSOmodel model, EngineCall call) noexcept {
    return on_model(model, Mode::Edit, [&](ModelObject& object, Slot& slot) {
        Run run;
        UserCallback callback(model, object);
        if (object.callback)
            run.callback = &callback;
        const RunScope scope(slot, run);
        return call(*object.model, run, object.callback != nullptr);
    });
}

} // namespace

int TSOnewmodel(TSOenv env, TSOmodel* model, const char* name, int numvars, const double* obj, const double* lb,
                const double* ub, const char* vtype, const char** names) {
    std::unique_ptr<Env> copy;
    if (const int code = started_copy(env, copy))
        return code;
    return run_body(&copy->log(), [&] {
        require_pointers(model);
        auto created = std::make_unique<Model>(*copy);
        created->set_name(name ? name : "");
        created->add_cols(numvars, 0, nullptr, nullptr, nullptr, obj, lb, ub, vtype, names);
        *model = open_model(std::move(created));
    });
}

TSOmodel TSOcopymodel(TSOmodel model) {
    TSOmodel twin = nullptr;
    read_model(model, [&](Model& m) { twin = open_model(m.copy()); });
    return twin;
}

int TSOfreemodel(TSOmodel model) { return close(handle_of(model), Kind::Model); }

int TSOreadmodel(TSOenv env, const char* filename, TSOmodel* model) {
    std::unique_ptr<Env> copy;
    if (const int code = started_copy(env, copy))
        return code;
    return run_body(&copy->log(), [&] {
        require_pointers(filename);
        require_pointers(model);
        *model = open_model(io::read_model(*copy, filename));
    });
}

int TSOread(TSOmodel model, const char* filename) {
    return edit_model(model, [&](Model& m) {
        require_pointers(filename);
        io::read_into(m, filename);
    });
}

int TSOwrite(TSOmodel model, const char* filename) {
    return read_model(model, [&](Model& m) {
        require_pointers(filename);
        io::write(m, filename);
    });
}

int TSOreset(TSOmodel model, int clearall) {
    return edit_model(model, [&](Model& m) { m.reset(clearall != 0); });
}

int TSOoptimize(TSOmodel model) { return run_engine(model, engine::optimize); }

int TSOcomputeIIS(TSOmodel model) { return run_engine(model, engine::compute_iis); }

int TSOcleanupmilp(TSOmodel model, int* removed) {
    return edit_model(model, [&](Model& m) {
        require_pointers(removed);
        *removed = m.cleanup_milp();
    });
}

int TSOsetcallbackfunc(TSOmodel model, int (*cb)(TSOmodel model, TSOcbdata cbdata, int where, void* usrdata),
                       void* usrdata) {
    return on_model(model, Mode::Edit, [&](ModelObject& object, Slot&) {
        object.callback = cb;
        object.callback_data = usrdata;
    });
}
