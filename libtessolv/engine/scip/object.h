// A SCIP object that frees itself, and how its calls fail. The engines that are built on SCIP share this.
#pragma once

#include "engine/scip/api.h"

#include <string>
#include <vector>

namespace tso::engine {

// The bundled library has the interface that api.h declares.
bool scip_is_usable();
std::string scip_version();

// Calls of SCIP that cannot fail but by running out of memory, by numbers that SCIP does not take or by a fault of
// ours.
void must(SCIP_RETCODE return_code, const char* what);

// An empty problem, all default plugins, no prints and no signal handlers. It is worked on by one thread at a time;
// interrupt() alone may be called from others.
class ScipObject {
public:
    ScipObject();
    ~ScipObject();
    ScipObject(const ScipObject&) = delete;
    ScipObject& operator=(const ScipObject&) = delete;
    SCIP* get() const { return scip_.raw; }

    // A parameter that this build of SCIP does not have is no error: it is one of its plugins'.
    void set(const char* parameter, int v) { SCIPsetIntParam(get(), parameter, v); }
    void set(const char* parameter, bool v) { SCIPsetBoolParam(get(), parameter, v); }
    void set(const char* parameter, double v) { SCIPsetRealParam(get(), parameter, v); }
    void set(const char* parameter, SCIP_Longint v) { SCIPsetLongintParam(get(), parameter, v); }
    void set(const char* parameter, char v) { SCIPsetCharParam(get(), parameter, v); }

    // Ends a solve that is under way as soon as SCIP looks; asked before the solve has begun, it is lost.
    void interrupt() { SCIPinterruptSolve(get()); }

    SCIP_VAR* add_var(double lower, double upper, double cost, SCIP_VARTYPE type);
    void add(SCIP_CONS* cons); // the problem's from now on

    std::vector<SCIP_VAR*> vars; // in the order of add_var
    SCIP_VAR** vars_data() { return vars.data(); }

private:
    struct Owner {
        SCIP* raw = nullptr;
        ~Owner() {
            if (raw)
                SCIPfree(&raw);
        }
    };
    Owner scip_;
};

} // namespace tso::engine
