// What a callback may do while it runs.
#include "core/callback.h"
#include "api/guard.h"

using namespace tso;
using namespace tso::api;

namespace {

// The context of a running callback. It is closed when the callback returns, so that a handle kept longer is foreign.
template <class F> int in_callback(TSOcbdata cb, F&& body) noexcept {
    const Claim claim(handle_of(cb), Kind::Callback, Mode::Edit);
    if (claim.code() != TSO_OKAY)
        return claim.code();
    return run_body(nullptr, [&] { return body(*static_cast<CallbackContext*>(claim.object())); });
}

int offer_solution(TSOcbdata cb, const double* solution, double* objective, bool presolved) noexcept {
    return in_callback(cb, [&](CallbackContext& context) {
        require_pointers(solution);
        return context.offer_solution(solution, objective, presolved);
    });
}

int add_cut(TSOcbdata cb, int numnz, const int* ind, const double* val, char sense, double rhs,
            bool presolved) noexcept {
    return in_callback(cb, [&](CallbackContext& context) {
        check_arrays(numnz, ind, val);
        for (int k = 0; k < numnz; ++k)
            checked_finite(val[k]);
        checked_sense(sense);
        checked_finite(rhs);
        return context.add_cut(numnz, ind, val, sense, rhs, presolved);
    });
}

int branch(TSOcbdata cb, int var, double value, int way, bool presolved) noexcept {
    return in_callback(cb, [&](CallbackContext& context) {
        checked_finite(value);
        require(way >= -1 && way <= 1, TSO_INVALID_ARGUMENT);
        return context.branch(var, value, way, presolved);
    });
}

} // namespace

int TSOcbget(TSOcbdata cb, int where, int what, void* result) {
    return in_callback(cb, [&](CallbackContext& context) {
        require(result != nullptr, TSO_INVALID_ARGUMENT);
        return context.get(where, what, result);
    });
}

int TSOcbsolution(TSOcbdata cb, const double* solution, double* objective) {
    return offer_solution(cb, solution, objective, false);
}

int TSOcbsolutionp(TSOcbdata cb, const double* solution, double* objective) {
    return offer_solution(cb, solution, objective, true);
}

int TSOcbcut(TSOcbdata cb, int numnz, const int* ind, const double* val, char sense, double rhs) {
    return add_cut(cb, numnz, ind, val, sense, rhs, false);
}

int TSOcbcutp(TSOcbdata cb, int numnz, const int* ind, const double* val, char sense, double rhs) {
    return add_cut(cb, numnz, ind, val, sense, rhs, true);
}

int TSOcbbranch(TSOcbdata cb, int var, double value, int way) { return branch(cb, var, value, way, false); }

int TSOcbbranchp(TSOcbdata cb, int var, double value, int way) { return branch(cb, var, value, way, true); }
