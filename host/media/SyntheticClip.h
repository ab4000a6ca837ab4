// A generated clip for the demo and for tests: coloured, textured shapes moving
// over a textured, still background. Deterministic: the same options and frame
// index always give the same picture, so tests can compare against it.
#pragma once

#include <cstdint>

#include "host/media/Image.h"
#include "host/media/MediaInfo.h"

namespace dshost {

struct SyntheticClipOptions {
  int width = 1280;
  int height = 720;
  std::int64_t frameCount = 150;  // 5 seconds at 30 fps
  Rational frameRate{30, 1};
  // With alpha the background is partly transparent (alpha 0.2 at the left edge
  // to 0.8 at the right) and the shapes are opaque; without, everything is opaque.
  bool alpha = false;
};

// The picture: a still background (a diagonal gradient with a soft tile pattern
// and grain) and five shapes, each with its own motion:
//  - a checkered square that turns while it sways left and right,
//  - a striped ball bouncing along the floor,
//  - a dashed ring circling the middle,
//  - a striped bar sliding up and down near the right edge,
//  - a triangle tracing a figure of eight.
// Motion depends on time (frame / frame rate), so speeds look the same at any
// frame rate; sizes scale with the frame height.
class SyntheticClip {
 public:
  explicit SyntheticClip(SyntheticClipOptions options = {});

  const MediaInfo& info() const { return info_; }
  const SyntheticClipOptions& options() const { return options_; }

  void render(std::int64_t frame, ImageF& out) const;
  ImageF frame(std::int64_t frame) const;

 private:
  SyntheticClipOptions options_;
  MediaInfo info_;
  ImageF background_;
};

}  // namespace dshost
