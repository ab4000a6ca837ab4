// Conversions between the host's float BGRA and packed integer RGBA.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/media/Image.h"

namespace dshost::detail {

// Packed RGBA with 8 bits per channel -> float BGRA (0..1). channels is 1 (grey),
// 2 (grey+alpha), 3 (RGB) or 4 (RGBA); missing alpha becomes 1.
void unpack8(const std::uint8_t* src, std::ptrdiff_t stride, int channels, ImageF& out);
// The same for 16 bits per channel in native byte order.
void unpack16(const std::uint16_t* src, std::ptrdiff_t strideBytes, int channels, ImageF& out);
// The same for floats (high dynamic range images); values are not clamped.
void unpackFloat(const float* src, std::ptrdiff_t strideBytes, int channels, ImageF& out);

// float BGRA -> packed RGBA, clamped to 0..1 and rounded to nearest.
void packRgba8(const ImageF& in, std::uint8_t* dst, std::ptrdiff_t stride);
void packRgba16(const ImageF& in, std::uint16_t* dst, std::ptrdiff_t strideBytes);

std::uint8_t toUnorm8(float v);
std::uint16_t toUnorm16(float v);

}  // namespace dshost::detail
