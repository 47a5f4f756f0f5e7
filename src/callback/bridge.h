// The callback bridge: from the solver's thread into the user's Python function.
#pragma once

#include "model/model.h"

namespace tsp {

// The entry that TSOsetcallbackfunc gets; `usrdata` is the Model. Returns 0, or -1 when an error was not handled, which
// ends the run.
extern "C" int PyCallback(TSOmodel mdl, TSOcbdata cbdata, int where, void* usrdata);

// Makes the error that a callback left behind the context of the Python error that is set.
void attach_callback_error(Model& self);

// Readers of one value of the running callback: TessolvError if the solver refuses.
int cbint(Model& model, int what);
double cbdbl(Model& model, int what);
// Of an array, entry i. An array that the library does not have reads as TSO_UNDEFINED from cbdblat.
int cbintat(Model& model, int what, int i);
double cbdblat(Model& model, int what, int i);

} // namespace tsp
