// Kernel support layer: IEEE half-float conversions for 16-bit frames.
//
// Frames may hold four 16-bit halves per pixel. Reads widen exactly; writes
// narrow with rounding toward zero on every back end (OpenCL's
// vstore_half_rtz, CUDA's round-toward-zero conversion, and the bit-exact
// conversion below on the host), so 1.0009f is stored as 1.0 (0x3C00) and a
// finite value beyond the largest half becomes 65504, not infinity.
// OpenCL needs nothing here: vload_half and vstore_half_rtz are built-ins.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_HALF_H
#define DRIFTSMEAR_KERNELS_KERNEL_HALF_H

#include "kernels/KernelCore.h"

#if GF_DEVICE_TARGET_CUDA
#include <cuda_fp16.h>
#endif

GF_NAMESPACE_BEGIN

#if GF_DEVICE_TARGET_HOST
inline float HalfBitsToFloat(std::uint16_t h) {
  const std::uint32_t sign = static_cast<std::uint32_t>(h & 0x8000u) << 16;
  const std::uint32_t exponent = (h >> 10) & 0x1Fu;
  const std::uint32_t mantissa = h & 0x3FFu;
  std::uint32_t bits;
  if (exponent == 0) {
    // Zero or subnormal: mantissa * 2^-24, exact in float.
    const float magnitude = static_cast<float>(mantissa) * 5.9604644775390625e-08f;
    return sign ? -magnitude : magnitude;
  }
  if (exponent == 31) {
    bits = sign | 0x7F800000u | (mantissa << 13);
  } else {
    bits = sign | ((exponent + 112u) << 23) | (mantissa << 13);
  }
  float result;
  std::memcpy(&result, &bits, sizeof result);
  return result;
}

inline std::uint16_t FloatToHalfBitsRtz(float value) {
  const std::uint32_t bits = as_uint(value);
  const std::uint32_t sign = (bits >> 16) & 0x8000u;
  const std::uint32_t exponent = (bits >> 23) & 0xFFu;
  std::uint32_t mantissa = bits & 0x7FFFFFu;
  if (exponent == 0xFFu) {
    // Infinity stays infinity; NaN stays a quiet NaN.
    return static_cast<std::uint16_t>(sign | 0x7C00u | (mantissa ? 0x200u | (mantissa >> 13) : 0u));
  }
  const int halfExponent = static_cast<int>(exponent) - 127 + 15;
  if (halfExponent >= 31) {
    return static_cast<std::uint16_t>(sign | 0x7BFFu);  // largest finite half
  }
  if (halfExponent <= 0) {
    // Subnormal half (or zero): truncate the full significand.
    const int shift = 14 - halfExponent;
    if (shift > 24) {
      return static_cast<std::uint16_t>(sign);
    }
    mantissa |= 0x800000u;
    return static_cast<std::uint16_t>(sign | (mantissa >> shift));
  }
  return static_cast<std::uint16_t>(sign | (static_cast<std::uint32_t>(halfExponent) << 10) |
                                    (mantissa >> 13));
}
#endif  // GF_DEVICE_TARGET_HOST

#if GF_DEVICE_TARGET_CUDA
GF_DEVICE_FUNCTION float HalfBitsToFloat(unsigned short h) { return __half2float(__ushort_as_half(h)); }
GF_DEVICE_FUNCTION unsigned short FloatToHalfBitsRtz(float value) { return __half_as_ushort(__float2half_rz(value)); }
#endif

GF_NAMESPACE_END

#endif  // DRIFTSMEAR_KERNELS_KERNEL_HALF_H
