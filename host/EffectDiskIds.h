// The Disk IDs of the effect's parameters that the front ends (driftsmear,
// the frei0r module) address directly. Disk IDs are the effect's stable
// project keys: they never change, whatever the order of the parameters.
#pragma once
#include "A.h"

namespace dshost {

inline constexpr A_long kAboutDiskId = 1;
inline constexpr A_long kDebugDisplayDiskId = 3;
inline constexpr A_long kFramesDiskId = 6;
inline constexpr A_long kFrameOffsetDiskId = 7;
inline constexpr A_long kPresetDiskId = 23;

}  // namespace dshost
