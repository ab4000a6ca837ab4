// The decoded about image shown in the Effect Controls panel.
#pragma once
#include "AEConfig.h"
#include "AE_Effect.h"

struct AboutImage {
  PF_Handle pixels;    // host memory handle of the decoded pixels; null when empty
  A_long channels;     // channels per pixel
  A_long width;        // in pixels
  A_long height;       // in pixels
  A_long pixelLayout;  // Drawbot pixel layout of the pixels
};
static_assert(sizeof(AboutImage) == 24, "the about-image record is 24 bytes");
