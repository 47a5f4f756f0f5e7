// Model: elements by their names.
#include "model/elements.h"
#include "py/args.h"
#include "solver/check.h"

#include <cstring>

namespace tsp {
namespace {

using Find = int (*)(TSOmodel, const char*, int*);

// The index of the first element of that name; -1 if there is none.
int find(const Model& self, Find function, int missing, Borrowed name) {
    require_str(name, "name");
    Py_ssize_t size = 0;
    const char* text = PyUnicode_AsUTF8AndSize(name, &size);
    if (!text)
        throw PythonError();
    // The solver takes the text to end at a NUL, and a name holds none.
    bool has_nul = std::strlen(text) != static_cast<std::size_t>(size);
    int index = -1;
    int code = function(self.mdl_, has_nul ? "" : text, &index);
    if (code == missing)
        return -1;
    check(code);
    return index;
}

Ref handle_or_none(Borrowed list, PyTypeObject* type, int index) {
    return index < 0 ? Ref::none() : Ref::borrow(handle_at(list, type, index));
}

} // namespace

Ref model_getVarByName(Model& self, const Call& call) {
    static const Signature<1> signature{"getVarByName", {"name"}, 1};
    auto [name] = parse(signature, call);
    int index = find(self, &TSOgetvarbyname, TSO_MODEL_INVALID_COL_NAME, name);
    return handle_or_none(self.vars_, state().var, index);
}

Ref model_getConstrByName(Model& self, const Call& call) {
    static const Signature<1> signature{"getConstrByName", {"name"}, 1};
    auto [name] = parse(signature, call);
    int index = find(self, &TSOgetconstrbyname, TSO_MODEL_INVALID_ROW_NAME, name);
    return handle_or_none(self.constrs_, state().constr, index);
}

Ref model_getQConstrByName(Model& self, const Call& call) {
    static const Signature<1> signature{"getQConstrByName", {"name"}, 1};
    auto [name] = parse(signature, call);
    int index = find(self, &TSOgetqconstrbyname, TSO_MODEL_INVALID_ROW_NAME, name);
    if (index < 0)
        return Ref::none();
    Ref list = model_getQConstrs(self);
    return handle_or_none(list.get(), state().qconstr, index);
}

} // namespace tsp
