#include "module/state.h"

namespace tsp {

State g_state{};

} // namespace tsp
