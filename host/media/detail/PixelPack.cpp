#include "host/media/detail/PixelPack.h"

#include <cmath>

namespace dshost::detail {

namespace {

// Integer codes are divided by the largest code (255 or 65535), not multiplied
// by its reciprocal: the division is correctly rounded, the product is not
// (1 ulp off for 512 of the 65536 16-bit codes). Floats pass with a divisor of 1.
template <typename T>
void unpackGeneric(const T* src, std::ptrdiff_t strideBytes, int channels, float divisor, ImageF& out) {
  const auto scale = [divisor](T value) { return static_cast<float>(value) / divisor; };
  for (int y = 0; y < out.height; ++y) {
    const T* row = reinterpret_cast<const T*>(reinterpret_cast<const std::uint8_t*>(src) + y * strideBytes);
    float* dst = out.pixel(0, y);
    for (int x = 0; x < out.width; ++x, dst += 4) {
      const T* p = row + static_cast<std::ptrdiff_t>(x) * channels;
      switch (channels) {
        case 1:
          dst[0] = dst[1] = dst[2] = scale(p[0]);
          dst[3] = 1.0f;
          break;
        case 2:
          dst[0] = dst[1] = dst[2] = scale(p[0]);
          dst[3] = scale(p[1]);
          break;
        case 3:
          dst[0] = scale(p[2]);
          dst[1] = scale(p[1]);
          dst[2] = scale(p[0]);
          dst[3] = 1.0f;
          break;
        default:
          dst[0] = scale(p[2]);
          dst[1] = scale(p[1]);
          dst[2] = scale(p[0]);
          dst[3] = scale(p[3]);
          break;
      }
    }
  }
}

}  // namespace

std::uint8_t toUnorm8(float v) {
  if (!(v > 0.0f)) return 0;  // also maps NaN to 0
  if (v >= 1.0f) return 255;
  return static_cast<std::uint8_t>(v * 255.0f + 0.5f);
}

std::uint16_t toUnorm16(float v) {
  if (!(v > 0.0f)) return 0;
  if (v >= 1.0f) return 65535;
  return static_cast<std::uint16_t>(v * 65535.0f + 0.5f);
}

void unpack8(const std::uint8_t* src, std::ptrdiff_t stride, int channels, ImageF& out) {
  unpackGeneric(src, stride, channels, 255.0f, out);
}

void unpack16(const std::uint16_t* src, std::ptrdiff_t strideBytes, int channels, ImageF& out) {
  unpackGeneric(src, strideBytes, channels, 65535.0f, out);
}

void unpackFloat(const float* src, std::ptrdiff_t strideBytes, int channels, ImageF& out) {
  unpackGeneric(src, strideBytes, channels, 1.0f, out);
}

void packRgba8(const ImageF& in, std::uint8_t* dst, std::ptrdiff_t stride) {
  for (int y = 0; y < in.height; ++y) {
    const float* p = in.pixel(0, y);
    std::uint8_t* row = dst + y * stride;
    for (int x = 0; x < in.width; ++x, p += 4, row += 4) {
      row[0] = toUnorm8(p[2]);
      row[1] = toUnorm8(p[1]);
      row[2] = toUnorm8(p[0]);
      row[3] = toUnorm8(p[3]);
    }
  }
}

void packRgba16(const ImageF& in, std::uint16_t* dst, std::ptrdiff_t strideBytes) {
  for (int y = 0; y < in.height; ++y) {
    const float* p = in.pixel(0, y);
    std::uint16_t* row = reinterpret_cast<std::uint16_t*>(reinterpret_cast<std::uint8_t*>(dst) + y * strideBytes);
    for (int x = 0; x < in.width; ++x, p += 4, row += 4) {
      row[0] = toUnorm16(p[2]);
      row[1] = toUnorm16(p[1]);
      row[2] = toUnorm16(p[0]);
      row[3] = toUnorm16(p[3]);
    }
  }
}

}  // namespace dshost::detail
