// Pixel conversions and colour functions of the kernel text.
//
// Frames are stored B, G, R, A; every value read through bgra() is held in
// R, G, B, A order (x = R, y = G, z = B, w = A) while the kernels work on it.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_FUNCTIONS_H
#define DRIFTSMEAR_KERNELS_KERNEL_FUNCTIONS_H

#include "kernels/KernelCore.h"

GF_NAMESPACE_BEGIN

// Exchanges the first and third channels (BGRA <-> RGBA).
GF_DEVICE_FUNCTION float4 bgra(float4 c) { return make_float4(c.z, c.y, c.x, c.w); }

GF_DEVICE_FUNCTION float4 premult(float4 c) { return make_float4(c.x * c.w, c.y * c.w, c.z * c.w, c.w); }

// Grey (g, g, g, 1) with g = 0.3 R + 0.59 G + 0.11 B.
GF_DEVICE_FUNCTION float4 getGray(float4 c) {
  const float g = c.x * 0.3f + c.y * 0.59f + c.z * 0.11f;
  return make_float4(g, g, g, 1.0f);
}

// Tonal conversion hooks around every pixel read and write. The half/float
// conversion itself is done by ReadFloat4/WriteFloat4, so both are identities;
// they keep one place for a tonal mapping of 16-bit frames.
GF_DEVICE_FUNCTION float4 half4ToFloat4(float4 c) { return c; }
GF_DEVICE_FUNCTION float4 float4ToHalf4(float4 c) { return c; }

GF_NAMESPACE_END

#endif  // DRIFTSMEAR_KERNELS_KERNEL_FUNCTIONS_H
