// Kernel support layer: pixel reads and writes in 32-bit float or 16-bit half
// form. The buffer pointer is typed as float pixels in both forms; in half
// form pixel `index` covers halves [4 * index, 4 * index + 3] (or 2 and 1 for
// the narrower forms). Half writes always round toward zero.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_MEMORY_H
#define DRIFTSMEAR_KERNELS_KERNEL_MEMORY_H

#include "kernels/KernelCore.h"
#include "kernels/KernelHalf.h"

GF_NAMESPACE_BEGIN

#if GF_DEVICE_TARGET_OPENCL

// Channel positions are written with GF_LATE_ONE (see KernelCore.h), so that
// a CPU device's pairing vectoriser does not pack a pixel's four channels into
// one vector access.
#define GF_CHANNEL_STEP GF_LATE_ONE

// Without GF_OPENCL_SUPPORTS_16F every access is a 32-bit one, whatever the
// flag says.
#if GF_OPENCL_SUPPORTS_16F
#define GF_HALF_FRAMES(is16Bit) (is16Bit)
#else
#define GF_HALF_FRAMES(is16Bit) false
#endif

// A half's bits widened exactly to a float (zero, subnormal, normal, infinity
// and NaN with its payload), as vload_half does, without a call or a branch.
GF_DEVICE_FUNCTION float HalfBitsToFloat(uint h) {
  const uint exponent = h & 0x7C00u;
  const uint shifted = (h & 0x7FFFu) << 13;
  const uint subnormal = as_uint((float)(h & 0x3FFu) * 5.9604644775390625e-8f);
  const uint infOrNaN = shifted | 0x7F800000u;
  const uint normal = shifted + 0x38000000u;
  const uint magnitude = exponent == 0u ? subnormal : exponent == 0x7C00u ? infOrNaN : normal;
  return as_float(magnitude | ((h & 0x8000u) << 16));
}

// A float narrowed to a half's bits rounding toward zero, as vstore_half_rtz
// does: finite values beyond the largest half give 65504, infinity stays
// infinity and NaN a quiet NaN.
GF_DEVICE_FUNCTION uint FloatToHalfBitsRtz(float value) {
  const uint bits = as_uint(value);
  const uint sign = (bits >> 16) & 0x8000u;
  const uint exponent = (bits >> 23) & 0xFFu;
  const uint mantissa = bits & 0x7FFFFFu;
  const int halfExponent = (int)exponent - 112;
  const uint payload = mantissa != 0u ? 0x200u | (mantissa >> 13) : 0u;
  const uint infOrNaN = 0x7C00u | payload;
  const uint normal = ((uint)halfExponent << 10) | (mantissa >> 13);
  // 126 - exponent is the right shift of the full significand for a
  // subnormal half; from 25 on nothing is left of it.
  const uint subnormal = (mantissa | 0x800000u) >> min(126u - min(exponent, 126u), 31u);
  const uint finite = halfExponent >= 31 ? 0x7BFFu : halfExponent <= 0 ? subnormal : normal;
  return sign | (exponent == 0xFFu ? infOrNaN : finite);
}

// Element `index` of a frame: a float, or a half widened exactly.
GF_DEVICE_FUNCTION float ReadFloat(GF_PTR_READ_ONLY(float) image, int index, bool is16Bit) {
  if (GF_HALF_FRAMES(is16Bit)) {
    return HalfBitsToFloat(((const __global ushort*)image)[index]);
  }
  return image[index];
}

GF_DEVICE_FUNCTION void WriteFloat(float value, GF_PTR(float) image, int index, bool is16Bit) {
  if (GF_HALF_FRAMES(is16Bit)) {
    ((__global ushort*)image)[index] = (ushort)FloatToHalfBitsRtz(value);
    return;
  }
  image[index] = value;
}

// Two-channel elements, one channel at a time like the pixels below.
GF_DEVICE_FUNCTION float2 ReadFloat2(GF_PTR_READ_ONLY(float2) image, int index, bool is16Bit) {
  GF_PTR_READ_ONLY(float) channels = (GF_PTR_READ_ONLY(float))image;
  return make_float2(ReadFloat(channels, 2 * index, is16Bit), ReadFloat(channels, 2 * index + 1, is16Bit));
}

GF_DEVICE_FUNCTION void WriteFloat2(float2 pixel, GF_PTR(float2) image, int index, bool is16Bit) {
  GF_PTR(float) channels = (GF_PTR(float))image;
  WriteFloat(pixel.x, channels, 2 * index, is16Bit);
  WriteFloat(pixel.y, channels, 2 * index + 1, is16Bit);
}

// Pixels are read and written one channel at a time (see GF_CHANNEL_STEP).
GF_DEVICE_FUNCTION float4 ReadFloat4(GF_PTR_READ_ONLY(float4) image, int index, bool is16Bit) {
  GF_PTR_READ_ONLY(float) channels = (GF_PTR_READ_ONLY(float))image;
  const int step = GF_CHANNEL_STEP;
  return make_float4(ReadFloat(channels, 4 * index, is16Bit), ReadFloat(channels, 4 * index + step, is16Bit),
                     ReadFloat(channels, 4 * index + 2 * step, is16Bit),
                     ReadFloat(channels, 4 * index + 3 * step, is16Bit));
}

GF_DEVICE_FUNCTION void WriteFloat4(float4 pixel, GF_PTR(float4) image, int index, bool is16Bit) {
  GF_PTR(float) channels = (GF_PTR(float))image;
  const int step = GF_CHANNEL_STEP;
  WriteFloat(pixel.x, channels, 4 * index, is16Bit);
  WriteFloat(pixel.y, channels, 4 * index + step, is16Bit);
  WriteFloat(pixel.z, channels, 4 * index + 2 * step, is16Bit);
  WriteFloat(pixel.w, channels, 4 * index + 3 * step, is16Bit);
}

#elif GF_DEVICE_TARGET_CUDA

GF_DEVICE_FUNCTION float4 ReadFloat4(GF_PTR_READ_ONLY(float4) image, int index, bool is16Bit) {
  if (is16Bit) {
    const ushort4 h = reinterpret_cast<const ushort4*>(image)[index];
    return make_float4(HalfBitsToFloat(h.x), HalfBitsToFloat(h.y), HalfBitsToFloat(h.z), HalfBitsToFloat(h.w));
  }
  return image[index];
}

GF_DEVICE_FUNCTION void WriteFloat4(float4 pixel, GF_PTR(float4) image, int index, bool is16Bit) {
  if (is16Bit) {
    reinterpret_cast<ushort4*>(image)[index] =
        make_ushort4(FloatToHalfBitsRtz(pixel.x), FloatToHalfBitsRtz(pixel.y), FloatToHalfBitsRtz(pixel.z),
                     FloatToHalfBitsRtz(pixel.w));
    return;
  }
  image[index] = pixel;
}

GF_DEVICE_FUNCTION float2 ReadFloat2(GF_PTR_READ_ONLY(float2) image, int index, bool is16Bit) {
  if (is16Bit) {
    const ushort2 h = reinterpret_cast<const ushort2*>(image)[index];
    return make_float2(HalfBitsToFloat(h.x), HalfBitsToFloat(h.y));
  }
  return image[index];
}

GF_DEVICE_FUNCTION void WriteFloat2(float2 pixel, GF_PTR(float2) image, int index, bool is16Bit) {
  if (is16Bit) {
    reinterpret_cast<ushort2*>(image)[index] =
        make_ushort2(FloatToHalfBitsRtz(pixel.x), FloatToHalfBitsRtz(pixel.y));
    return;
  }
  image[index] = pixel;
}

GF_DEVICE_FUNCTION float ReadFloat(GF_PTR_READ_ONLY(float) image, int index, bool is16Bit) {
  if (is16Bit) {
    return HalfBitsToFloat(reinterpret_cast<const unsigned short*>(image)[index]);
  }
  return image[index];
}

GF_DEVICE_FUNCTION void WriteFloat(float value, GF_PTR(float) image, int index, bool is16Bit) {
  if (is16Bit) {
    reinterpret_cast<unsigned short*>(image)[index] = FloatToHalfBitsRtz(value);
    return;
  }
  image[index] = value;
}

#else  // host

// Host buffers are reached through memcpy: the same memory is read as floats
// or as halves depending on the flag.
template <int N>
inline void ReadHalves(const void* image, int index, float* out) {
  std::uint16_t halves[N];
  std::memcpy(halves, static_cast<const unsigned char*>(image) + static_cast<std::ptrdiff_t>(index) * N * 2,
              sizeof halves);
  for (int i = 0; i < N; ++i) {
    out[i] = HalfBitsToFloat(halves[i]);
  }
}

template <int N>
inline void WriteHalves(const float* in, void* image, int index) {
  std::uint16_t halves[N];
  for (int i = 0; i < N; ++i) {
    halves[i] = FloatToHalfBitsRtz(in[i]);
  }
  std::memcpy(static_cast<unsigned char*>(image) + static_cast<std::ptrdiff_t>(index) * N * 2, halves,
              sizeof halves);
}

template <int N>
inline void ReadFloats(const void* image, int index, float* out) {
  std::memcpy(out, static_cast<const unsigned char*>(image) + static_cast<std::ptrdiff_t>(index) * N * 4,
              sizeof(float) * N);
}

template <int N>
inline void WriteFloats(const float* in, void* image, int index) {
  std::memcpy(static_cast<unsigned char*>(image) + static_cast<std::ptrdiff_t>(index) * N * 4, in,
              sizeof(float) * N);
}

inline float4 ReadFloat4(const float4* image, int index, bool is16Bit) {
  float v[4];
  if (is16Bit) {
    ReadHalves<4>(image, index, v);
  } else {
    ReadFloats<4>(image, index, v);
  }
  return make_float4(v[0], v[1], v[2], v[3]);
}

inline void WriteFloat4(float4 pixel, float4* image, int index, bool is16Bit) {
  const float v[4] = {pixel.x, pixel.y, pixel.z, pixel.w};
  if (is16Bit) {
    WriteHalves<4>(v, image, index);
  } else {
    WriteFloats<4>(v, image, index);
  }
}

inline float2 ReadFloat2(const float2* image, int index, bool is16Bit) {
  float v[2];
  if (is16Bit) {
    ReadHalves<2>(image, index, v);
  } else {
    ReadFloats<2>(image, index, v);
  }
  return make_float2(v[0], v[1]);
}

inline void WriteFloat2(float2 pixel, float2* image, int index, bool is16Bit) {
  const float v[2] = {pixel.x, pixel.y};
  if (is16Bit) {
    WriteHalves<2>(v, image, index);
  } else {
    WriteFloats<2>(v, image, index);
  }
}

inline float ReadFloat(const float* image, int index, bool is16Bit) {
  float v;
  if (is16Bit) {
    ReadHalves<1>(image, index, &v);
  } else {
    ReadFloats<1>(image, index, &v);
  }
  return v;
}

inline void WriteFloat(float value, float* image, int index, bool is16Bit) {
  if (is16Bit) {
    WriteHalves<1>(&value, image, index);
  } else {
    WriteFloats<1>(&value, image, index);
  }
}

#endif

GF_NAMESPACE_END

#endif  // DRIFTSMEAR_KERNELS_KERNEL_MEMORY_H
