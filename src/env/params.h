// The parameter engine: parameters found by forgiving names, set and read on a solver environment.
#pragma once

#include "env/catalog.h"
#include "py/type.h"
#include "tessolv.h"

#include <vector>

namespace tsp {

// The row that a name or a wildcard pattern stands for. Null if there is none, or if there are several: these are
// printed.
const ParamRow* match_param(Borrowed name);

// Sets a parameter and prints what was set. An unknown or ambiguous name is only printed. The value "default" (in any
// case) is the solver's default.
void set_param(TSOenv env, Borrowed name, Borrowed value);

// The current value: int, float or str.
Ref get_param(TSOenv env, const ParamRow& row);

// (name, current, least, greatest, default); for texts, least and greatest are None. None for an unknown name, which is
// printed.
Ref get_param_info(TSOenv env, Borrowed name);

// Prints name, type and description of what a name or pattern stands for.
void print_param_help(Borrowed name);

// ParamClass: the parameters of one model as attributes.
PyTypeObject* make_param_class_type();
Ref new_param_class(TSOenv env);

} // namespace tsp
