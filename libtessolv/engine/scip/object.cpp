#include "engine/scip/object.h"

#include "core/failure.h"

#include <new>

namespace tso::engine {
namespace {

// SCIP's messages about errors go through one function of the whole process, stderr if nobody sets one. What failed is
// told by return codes.
void swallow(void*, FILE*, const char*) {}

} // namespace

bool scip_is_usable() { return SCIPmajorVersion() == 10 && SCIPminorVersion() == 0; }

std::string scip_version() {
    return std::to_string(SCIPmajorVersion()) + "." + std::to_string(SCIPminorVersion()) + "." +
           std::to_string(SCIPtechVersion());
}

void must(SCIP_RETCODE return_code, const char* what) {
    if (return_code == SCIP_OKAY)
        return;
    if (return_code == SCIP_NOMEMORY)
        throw std::bad_alloc();
    throw Failure(TSO_ERROR, std::string("SCIP refused (code ") + std::to_string(return_code) + "): " + what);
}

ScipObject::ScipObject() {
    static const bool silenced = [] {
        SCIPmessageSetErrorPrinting(swallow, nullptr);
        return true;
    }();
    (void)silenced;
    must(SCIPcreate(&scip_.raw), "to start");
    must(SCIPincludeDefaultPlugins(get()), "its plugins");
    SCIPsetMessagehdlrQuiet(get(), 1);
    set("display/verblevel", 0);
    set("misc/catchctrlc", false);
    set("misc/usevartable", false); // nothing is looked up by name
    set("misc/useconstable", false);
    must(SCIPcreateProbBasic(get(), "model"), "an empty problem");
}

ScipObject::~ScipObject() {
    SCIPfreeTransform(get()); // plugins may look at variables here, so these go later
    for (SCIP_VAR*& var : vars)
        if (var)
            SCIPreleaseVar(get(), &var);
}

SCIP_VAR* ScipObject::add_var(double lower, double upper, double cost, SCIP_VARTYPE type) {
    vars.push_back(nullptr);
    SCIP_VAR*& var = vars.back();
    must(SCIPcreateVarBasic(get(), &var, "x", lower, upper, cost, type), "a variable");
    must(SCIPaddVar(get(), var), "a variable");
    return var;
}

void ScipObject::add(SCIP_CONS* cons) {
    const SCIP_RETCODE code = SCIPaddCons(get(), cons);
    SCIPreleaseCons(get(), &cons);
    must(code, "a constraint");
}

} // namespace tso::engine
