// The engines of a problem's class, one after the other until an answer stands.
#pragma once

#include "engine/engine.h"

namespace tso::engine {

// Fills `result` but for its times. model.session is that of the engine whose answer stood; if none did, there is none.
// Returns the code for the caller: where no answer stood, but a point was found, the best one is in result as
// TSO_STATUS_SUB_OPTIMAL, or as TSO_STATUS_UNKNOWN if it violates something.
int run_engines(Model& model, Run& run, bool has_callback, Solution& result);

} // namespace tso::engine
