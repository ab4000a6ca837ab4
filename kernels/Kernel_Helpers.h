// Small scalar and vector helpers of the kernel text.
//
// Some inputs reach the kernels with no defined result on the devices: a NaN
// blend weight (percent NaN or > 1), smoothstep with equal edges (both
// velocity limits 0 in the "strong" and "stutter" presets), 0/0 on a flat
// area with lambda 0, NaN or infinite pixels. The kernels define them once,
// the same on CUDA, OpenCL and the host build, the way a clamp written as
// min(max(x, lo), hi) with NaN-discarding min and max reads them:
//   - a NaN clamped into a range becomes the range's low end (so a NaN blend
//     weight is 0);
//   - minimum and maximum of a NaN and a number give the number;
//   - smoothStep with equal edges is 0 at or below the edge and 1 above it.
// OpenCL builds the text with -cl-fast-relaxed-math, under which the compiler
// may assume that no value is NaN and drop comparisons that would catch one;
// NaN is therefore detected from the bit pattern, which no floating-point
// assumption can remove.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_HELPERS_H
#define DRIFTSMEAR_KERNELS_KERNEL_HELPERS_H

#include "kernels/KernelCore.h"

GF_NAMESPACE_BEGIN

GF_DEVICE_FUNCTION bool isNaN(float x) { return (as_uint(x) & 0x7FFFFFFFu) > 0x7F800000u; }

// IEEE maxNum/minNum: a NaN operand is discarded.
GF_DEVICE_FUNCTION float maxNum(float a, float b) {
  if (isNaN(a)) {
    return b;
  }
  if (isNaN(b)) {
    return a;
  }
  return a > b ? a : b;
}

GF_DEVICE_FUNCTION float minNum(float a, float b) {
  if (isNaN(a)) {
    return b;
  }
  if (isNaN(b)) {
    return a;
  }
  return a < b ? a : b;
}

// min(max(x, lo), hi) with NaN discarded: a NaN x gives lo.
GF_DEVICE_FUNCTION float clampNum(float x, float lo, float hi) { return minNum(maxNum(x, lo), hi); }

GF_DEVICE_FUNCTION float2 clampNum2(float2 v, float2 lo, float2 hi) {
  return make_float2(clampNum(v.x, lo.x, hi.x), clampNum(v.y, lo.y, hi.y));
}

GF_DEVICE_FUNCTION float saturate(float x) { return clampNum(x, 0.0f, 1.0f); }

// smoothstep(e0, e1, x) = t * t * (3 - 2t) with t = clamp((x - e0) / (e1 - e0), 0, 1).
// Used instead of any built-in so that every back end computes the same thing.
// Equal edges are written out rather than divided: (x - e)/0 is +inf above the
// edge (clamped to 1), -inf below it and NaN at it (clamped to 0), so the
// result is 1 above the edge and 0 at or below it (and 0 for a NaN x).
// Reversed edges (e0 > e1) follow the formula as it stands.
GF_DEVICE_FUNCTION float smoothStep(float edge0, float edge1, float x) {
  if (edge0 == edge1) {
    return x > edge0 ? 1.0f : 0.0f;
  }
  const float t = saturate((x - edge0) / (edge1 - edge0));
  return t * t * (3.0f - 2.0f * t);
}

// Work-group barrier on local memory (no kernel of this program uses one).
#if GF_DEVICE_TARGET_OPENCL
GF_DEVICE_FUNCTION void SyncThreads(void) { barrier(CLK_LOCAL_MEM_FENCE); }
#elif GF_DEVICE_TARGET_CUDA
GF_DEVICE_FUNCTION void SyncThreads() { __syncthreads(); }
#else
inline void SyncThreads() {}
#endif

GF_NAMESPACE_END

#endif  // DRIFTSMEAR_KERNELS_KERNEL_HELPERS_H
