// CallbackContext: what an engine offers to a callback while the callback runs. The TSOcb... functions end here.
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

} // namespace tso
