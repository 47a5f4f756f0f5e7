// Attribute access: every read and write of an attribute, from whatever class, ends here, and only this code calls the
// solver's attribute functions.
//
// The order is the same everywhere: the name is resolved in the catalogue, the solver tells type and owner
// (TSOgetattrinfo), an attribute of another owner does not exist for the asker, then one typed call reads or writes.
#pragma once

#include "attr/catalog.h"
#include "py/ref.h"
#include "tessolv.h"

#include <vector>

namespace tsp {

// Kinds of elements; the values are the solver's codes for owners of attributes.
enum class Kind : int {
    Model = TSO_OWNER_MODEL,
    Var = TSO_OWNER_VAR,
    Constr = TSO_OWNER_CONSTR,
    Sos = TSO_OWNER_SOS,
    QConstr = TSO_OWNER_QCONSTR,
    GenConstr = TSO_OWNER_GENCONSTR,
    PsdVar = TSO_OWNER_PSDVAR,
    PsdConstr = TSO_OWNER_PSDCONSTR,
};

// The row of a name as a person wrote it; null if there is none. What is not a str fails as value.replace would.
const AttrRow* find_attr(Borrowed name);

// AttributeError "Attribute `...` does not exist", as a result of a slot or thrown.
Ref no_attribute(Borrowed name);
[[noreturn]] void raise_no_attribute(Borrowed name);

// A resolved attribute that belongs to the asked kind.
struct Attribute {
    TSOmodel model;
    Borrowed asked; // the name as passed in, for errors
    const char* name;
    int type; // TSO_ATTR_...
};
Attribute resolve_attribute(TSOmodel model, Borrowed name, Kind kind);

// Reading. Values are what indexing an array of the attribute's type gives: numpy.int32, numpy.float64, bytes, str; of
// a matrix an array or a sparse matrix (see matrix.h).
Ref read_model_attribute(const Attribute& a);
Ref read_attribute(const Attribute& a, int index);
// A list of plain values, one for each index.
Ref read_attribute_list(const Attribute& a, const std::vector<int>& indices);
// The same as an array of the attribute's type; texts as an array of objects.
Ref read_attribute_array(const Attribute& a, const std::vector<int>& indices);

// Writing. Values are converted as numpy.array does for the attribute's type; nothing is written if that fails.
void write_model_attribute(const Attribute& a, Borrowed value);
void write_attribute(const Attribute& a, int index, Borrowed value);
// One value for each index; a single value goes to all of them.
void write_attribute_list(const Attribute& a, const std::vector<int>& indices, Borrowed values);

} // namespace tsp
