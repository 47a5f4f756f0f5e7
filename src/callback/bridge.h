// The callback bridge: from the solver's thread into the user's Python function.
#pragma once

#include "model/model.h"

namespace tsp {

// Readers of one value of the running callback: TessolvError if the solver refuses.
int cbint(Model& model, int what);
double cbdbl(Model& model, int what);
// RuntimeError outside of a callback.
void require_callback(const Model& model);
// The attribute numvars.
int variable_count(Model& model);
// Of an array, entry i. An array that the library does not have reads as TSO_UNDEFINED from cbdblat.
int cbintat(Model& model, int what, int i);
double cbdblat(Model& model, int what, int i);

} // namespace tsp
