// Irreducible infeasible subsystems of models of every kind.
#pragma once

#include "engine/engine.h"

namespace tso::engine {

// For a model that is known to be infeasible. `last_seconds`: how long it took to find that out. Fills iis_col and
// iis_row, of whatever was needed when a limit or an interrupt came (the code then tells of it); sets and indicators
// that belong to the subsystem stand in the log, for they have no attribute. TSO_IIS_NO_SOLN: what is infeasible is not
// the model by itself.
int find_iis(Model& model, Run& run, double last_seconds, Solution& result);

} // namespace tso::engine
