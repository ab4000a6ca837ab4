// The effect's global data: one 16-byte host memory handle created at global
// setup and kept until global setdown.
#pragma once
#include "AEConfig.h"
#include "AE_Effect.h"

struct AboutImage;

struct GlobalData {
  AboutImage* aboutImage;  // owned; null while no about image is loaded
  A_long pluginId;         // plug-in manager id (After Effects only), 0 until registered
  A_long reserved;         // always 0
};
static_assert(sizeof(GlobalData) == 16, "the global data handle holds exactly 16 bytes");

// The size the about area keeps when no image is loaded, so the Effect
// Controls panel does not change its layout.
inline constexpr A_long kDefaultAboutAreaWidth = 250;
inline constexpr A_long kDefaultAboutAreaHeight = 70;

// The width and height of the about area: the loaded image's size, or the
// default size without one. Returns whether an image supplied the size.
bool AboutAreaSize(const GlobalData& global, A_long* width, A_long* height);
