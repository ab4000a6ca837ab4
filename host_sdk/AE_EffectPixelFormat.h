// The pixel formats of effect worlds, as four-character codes.
// Our own declarations, name-compatible with the vendor's header of this name
// (reached through AE_EffectCBSuites.h).
#pragma once
#include "A.h"

typedef A_long PF_PixelFormat;

#define PF_PIXEL_FORMAT_FOURCC(c0, c1, c2, c3) \
  ((A_long)((A_u_long)(c0) | ((A_u_long)(c1) << 8) | ((A_u_long)(c2) << 16) | ((A_u_long)(c3) << 24)))

enum {
  PF_PixelFormat_ARGB32 = PF_PIXEL_FORMAT_FOURCC('a', 'r', 'g', 'b'),
  PF_PixelFormat_ARGB64 = PF_PIXEL_FORMAT_FOURCC('a', 'e', '1', '6'),
  PF_PixelFormat_ARGB128 = PF_PIXEL_FORMAT_FOURCC('a', 'e', '3', '2'),
  PF_PixelFormat_GPU_BGRA128 = PF_PIXEL_FORMAT_FOURCC('@', 'C', 'D', 'A'),
  PF_PixelFormat_RESERVED = PF_PIXEL_FORMAT_FOURCC('@', 'C', 'D', 'a'),
  PF_PixelFormat_BGRA32 = PF_PIXEL_FORMAT_FOURCC('b', 'g', 'r', 'a'),
  PF_PixelFormat_VUYA32 = PF_PIXEL_FORMAT_FOURCC('v', 'u', 'y', 'a'),
  PF_PixelFormat_NTSCDV25 = PF_PIXEL_FORMAT_FOURCC('d', 'v', 'n', 't'),
  PF_PixelFormat_PALDV25 = PF_PIXEL_FORMAT_FOURCC('d', 'v', 'p', 'a'),
  PF_PixelFormat_INVALID = PF_PIXEL_FORMAT_FOURCC('b', 'a', 'd', 'f'),
  PF_PixelFormat_FORCE_LONG_INT = (A_long)0xFFFFFFFF
};
