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

// min(max(x, lo), hi) with NaN discarded: a NaN x gives lo. The bounds are
// never NaN. Where comparisons are IEEE ones, a NaN x simply fails the first
// comparison (and this is the cheaper form); under relaxed math the bit test
// of maxNum is needed.
GF_DEVICE_FUNCTION float clampNum(float x, float lo, float hi) {
#if GF_DEVICE_TARGET_OPENCL
  return minNum(maxNum(x, lo), hi);
#else
  const float above = x > lo ? x : lo;
  return above < hi ? above : hi;
#endif
}

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
  const float t = saturate((x - edge0) / (edge1 - edge0));
  const float above = x > edge0 ? 1.0f : 0.0f;
  return edge0 == edge1 ? above : t * t * (3.0f - 2.0f * t);
}

GF_DEVICE_FUNCTION int clampInt(int x, int lo, int hi) { return x < lo ? lo : x > hi ? hi : x; }

// `value`, computed after `earlier`: on a CPU OpenCL device the two can then
// not be packed into one vector (see GF_LATE_ONE). The result is `value`
// itself on every back end; on OpenCL the dependency folds away once the
// work-group size is known.
GF_DEVICE_FUNCTION float sequenced(float value, float earlier) {
#if GF_DEVICE_TARGET_OPENCL
  return as_float(as_uint(value) | (as_uint(earlier) & (uint)(GF_LATE_ONE - 1)));
#else
  (void)earlier;
  return value;
#endif
}

// The same for a pixel coordinate or index after another.
GF_DEVICE_FUNCTION unsigned int sequencedIndex(unsigned int value, unsigned int earlier) {
#if GF_DEVICE_TARGET_OPENCL
  return value | (earlier & (uint)(GF_LATE_ONE - 1));
#else
  (void)earlier;
  return value;
#endif
}

// A coordinate after a pixel index.
GF_DEVICE_FUNCTION float sequencedAfterIndex(float value, int earlier) {
#if GF_DEVICE_TARGET_OPENCL
  return as_float(sequencedIndex(as_uint(value), (uint)earlier));
#else
  (void)earlier;
  return value;
#endif
}

#if GF_DEVICE_TARGET_OPENCL
// cos(a) (phase 0) or sin(a) (phase 3) in single precision, inlined: the
// argument is reduced to [-pi/4, pi/4] around the nearest multiple of pi/2
// (pi/2 split in three parts so that the reduction is exact for the
// arguments the kernels use) and the Taylor series of cos and sin, accurate
// to float precision on that range, is selected by quadrant.
GF_DEVICE_FUNCTION float cosQuadrant(float a, int phase) {
  // The nearest multiple, rounded half away from zero through an integer
  // conversion (any nearby integer keeps the reduction exact; the library's
  // rint is a branching routine on some CPU devices, which would keep the
  // work-item loop scalar). The bound keeps the conversion in range.
  const float t = clamp(a * 0.636619772367581343f, -4194304.0f, 4194304.0f);
  const float q = (float)(int)(t + copysign(0.5f, t));
  float r = a - q * 1.5703125f;
  r = r - q * 4.837512969970703125e-4f;
  r = r - q * 7.54978995489188216e-8f;
  const int quadrant = ((int)q + phase) & 3;
  const float r2 = r * r;
  const float c =
      1.0f + r2 * (-0.5f + r2 * (4.16666667e-2f + r2 * (-1.38888889e-3f + r2 * (2.48015873e-5f + r2 * -2.75573192e-7f))));
  const float s = r * (1.0f + r2 * (-1.66666667e-1f + r2 * (8.33333333e-3f + r2 * (-1.98412698e-4f + r2 * 2.75573192e-6f))));
  const float v = (quadrant & 1) != 0 ? s : c;
  return quadrant == 1 || quadrant == 2 ? -v : v;
}
#endif

// The red/blue split of a pixel with clamped flow (fx, fy):
// (cos(fx * pi + offset), sin(fy * pi + offset)) * 0.0025 * chromatic, in
// normalised units. The literals are deliberately unsuffixed: the CUDA and
// host builds evaluate the expression with its cosine and sine in double
// precision. OpenCL, built with -cl-single-precision-constant, stays in
// single precision and uses the inlined cosine and sine above (the library's
// argument reduction is a call that would stop the work-item loop from being
// vectorised).
GF_DEVICE_FUNCTION float2 getChromaticShift(float fx, float fy, float offset, float chromatic) {
#if GF_DEVICE_TARGET_OPENCL
  // The second axis after the first (see sequenced()).
  const float x = cosQuadrant(fx * 3.141592653589793238f + offset, 0) * 0.0025f * chromatic;
  return make_float2(x, cosQuadrant(sequenced(fy, x) * 3.141592653589793238f + offset, 3) * 0.0025f * chromatic);
#else
  return make_float2((float)(cos(fx * 3.141592653589793238 + offset) * 0.0025 * chromatic),
                     (float)(sin(fy * 3.141592653589793238 + offset) * 0.0025 * chromatic));
#endif
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
