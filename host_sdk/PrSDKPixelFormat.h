// Premiere Pro pixel formats.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "PrSDKTypes.h"

#define MAKE_PIXEL_FORMAT_FOURCC(c0, c1, c2, c3) \
  ((csSDK_uint32)(c0) | ((csSDK_uint32)(c1) << 8) | ((csSDK_uint32)(c2) << 16) | ((csSDK_uint32)(c3) << 24))

enum PrPixelFormat : csSDK_uint32 {
  PrPixelFormat_BGRA_4444_8u = MAKE_PIXEL_FORMAT_FOURCC('B', 'G', 'R', 'A'),
  PrPixelFormat_BGRA_4444_32f = MAKE_PIXEL_FORMAT_FOURCC('B', 'G', 'r', 'a'),
  PrPixelFormat_ARGB_4444_32f = MAKE_PIXEL_FORMAT_FOURCC('A', 'R', 'g', 'b'),
  PrPixelFormat_GPU_BGRA_4444_16f = MAKE_PIXEL_FORMAT_FOURCC('@', 'C', 'D', 'a'),
  PrPixelFormat_Invalid = MAKE_PIXEL_FORMAT_FOURCC('b', 'a', 'd', 'f'),
  PrPixelFormat_Any = 0xFFFFFFFF
};

// The 32-bit float GPU format shares its code with After Effects' GPU format.
#define PrPixelFormat_GPU_BGRA_4444_32f static_cast<PrPixelFormat>(MAKE_PIXEL_FORMAT_FOURCC('@', 'C', 'D', 'A'))
