#include "engine/highs_engine.h"
namespace tso::engine {
int HighsEngine::iis(Model&, Run&, Solution&) { return TSO_IIS_NO_SOLN; }
} // namespace tso::engine
