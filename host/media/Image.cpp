#include "host/media/Image.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace dshost {

ImageF makeImage(int width, int height, float b, float g, float r, float a) {
  ImageF image;
  if (width <= 0 || height <= 0) return image;
  image.width = width;
  image.height = height;
  image.bgra.resize(image.pixelCount() * 4);
  for (std::size_t i = 0; i < image.bgra.size(); i += 4) {
    image.bgra[i + 0] = b;
    image.bgra[i + 1] = g;
    image.bgra[i + 2] = r;
    image.bgra[i + 3] = a;
  }
  return image;
}

ImageDiff compareImages(const ImageF& a, const ImageF& b) {
  ImageDiff diff;
  diff.sameSize = a.width == b.width && a.height == b.height && a.bgra.size() == b.bgra.size();
  if (!diff.sameSize) return diff;
  double sum = 0.0;
  float worst = -1.0f;
  for (std::size_t i = 0; i < a.bgra.size(); ++i) {
    const int channel = static_cast<int>(i % 4);
    const float d = std::fabs(a.bgra[i] - b.bgra[i]);
    if (channel == 3) {
      diff.maxAlpha = std::max(diff.maxAlpha, d);
    } else {
      diff.maxColour = std::max(diff.maxColour, d);
      sum += d;
    }
    if (d > worst) {
      worst = d;
      const std::size_t pixel = i / 4;
      diff.worstX = static_cast<int>(pixel % static_cast<std::size_t>(a.width));
      diff.worstY = static_cast<int>(pixel / static_cast<std::size_t>(a.width));
      diff.worstChannel = channel;
    }
  }
  const std::size_t colourSamples = a.pixelCount() * 3;
  diff.meanColour = colourSamples ? sum / static_cast<double>(colourSamples) : 0.0;
  return diff;
}

std::string ImageDiff::describe() const {
  if (!sameSize) return "images differ in size";
  static const char* const names[] = {"B", "G", "R", "A"};
  char line[200];
  std::snprintf(line, sizeof line, "max colour diff %.6f, max alpha diff %.6f, mean colour diff %.6f, worst at (%d,%d) %s",
                maxColour, maxAlpha, meanColour, worstX, worstY,
                worstChannel >= 0 ? names[worstChannel] : "-");
  return line;
}

bool imagesClose(const ImageF& a, const ImageF& b, float colourTolerance, float alphaTolerance) {
  const ImageDiff diff = compareImages(a, b);
  return diff.sameSize && diff.maxColour <= colourTolerance && diff.maxAlpha <= alphaTolerance;
}

}  // namespace dshost
