// The version of the library, once.
#pragma once

namespace tso {

inline constexpr int kVersionMajor = 1, kVersionMinor = 0, kVersionTechnical = 0;

} // namespace tso
