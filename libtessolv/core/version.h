// The version of library and module, once: the build and the package read the three numbers from here.
#pragma once

namespace tso {

inline constexpr int kVersionMajor = 1;
inline constexpr int kVersionMinor = 0;
inline constexpr int kVersionTechnical = 0;

} // namespace tso
