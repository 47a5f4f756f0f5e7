// The version of library and module, once: the build and the package read the three numbers from here.
#pragma once

namespace tso {

inline constexpr int kVersionMajor = 1, kVersionMinor = 0, kVersionTechnical = 0;

} // namespace tso
