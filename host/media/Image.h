// The host's frame format: float BGRA, the layout the host uploads to the GPU.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace dshost {

// Four floats per pixel in B, G, R, A order, rows top to bottom with no padding.
// Alpha is straight (colour is not multiplied by alpha). Sources with 8 or 16
// bits per channel map onto 0..1; high-dynamic-range sources may exceed 1.
struct ImageF {
  int width = 0;
  int height = 0;
  std::vector<float> bgra;

  bool empty() const { return width <= 0 || height <= 0; }
  std::size_t pixelCount() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  float* pixel(int x, int y) { return bgra.data() + (static_cast<std::size_t>(y) * width + x) * 4; }
  const float* pixel(int x, int y) const { return bgra.data() + (static_cast<std::size_t>(y) * width + x) * 4; }
};

// An image of the given size with every pixel set to (b, g, r, a).
ImageF makeImage(int width, int height, float b = 0.0f, float g = 0.0f, float r = 0.0f, float a = 1.0f);

// Per-channel comparison of two images of the same size.
struct ImageDiff {
  bool sameSize = false;
  float maxColour = 0.0f;  // largest |a-b| over B, G, R
  float maxAlpha = 0.0f;   // largest |a-b| over A
  double meanColour = 0.0; // mean |a-b| over B, G, R
  int worstX = -1, worstY = -1, worstChannel = -1;  // where maxColour or maxAlpha peaks
  std::string describe() const;  // one line, for test failure messages
};

ImageDiff compareImages(const ImageF& a, const ImageF& b);

// True when the images have the same size and every colour channel differs by at
// most colourTolerance and alpha by at most alphaTolerance.
bool imagesClose(const ImageF& a, const ImageF& b, float colourTolerance, float alphaTolerance);

}  // namespace dshost
