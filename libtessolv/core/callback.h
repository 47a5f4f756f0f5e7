// Callback: the user's function, as an engine calls it. CallbackContext: what the engine offers to it while it runs,
// where the TSOcb... functions end.
#pragma once

namespace tso {

// Every operation returns a code of the interface. `presolved` works on the presolved problem instead of the model.
class CallbackContext {
public:
    virtual ~CallbackContext() = default;
    virtual int get(int where, int what, void* result) = 0;
    virtual int offer_solution(const double* solution, double* objective, bool presolved) = 0;
    virtual int add_cut(int count, const int* ind, const double* val, char sense, double rhs, bool presolved) = 0;
    virtual int branch(int var, double value, int way, bool presolved) = 0;
};

class Callback {
public:
    virtual ~Callback() = default;
    // `where` as TSOsetcallbackfunc tells. Only on the thread that runs the engine's caller. False: the run is to end.
    virtual bool call(CallbackContext& context, int where) = 0;
};

} // namespace tso
