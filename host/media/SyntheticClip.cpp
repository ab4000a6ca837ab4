#include "host/media/SyntheticClip.h"

#include <algorithm>
#include <cmath>

#include "host/media/MediaError.h"

namespace dshost {

namespace {

constexpr float kPi = 3.14159265358979f;

struct Colour {
  float r, g, b;
};

Colour mix(Colour a, Colour b, float t) {
  return Colour{a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

float clamp01(float v) { return std::min(1.0f, std::max(0.0f, v)); }

float smoothstep(float e0, float e1, float x) {
  const float t = clamp01((x - e0) / (e1 - e0));
  return t * t * (3.0f - 2.0f * t);
}

// Integer hash to [0, 1): the grain and the noise are the same on every machine.
float hash2(int x, int y) {
  std::uint32_t h = static_cast<std::uint32_t>(x) * 374761393u + static_cast<std::uint32_t>(y) * 668265263u;
  h = (h ^ (h >> 13)) * 1274126177u;
  h ^= h >> 16;
  return static_cast<float>(h & 0xffffffu) / 16777216.0f;
}

// Smooth value noise, period-free.
float valueNoise(float x, float y) {
  const int xi = static_cast<int>(std::floor(x)), yi = static_cast<int>(std::floor(y));
  const float fx = x - static_cast<float>(xi), fy = y - static_cast<float>(yi);
  const float sx = fx * fx * (3.0f - 2.0f * fx), sy = fy * fy * (3.0f - 2.0f * fy);
  const float a = hash2(xi, yi), b = hash2(xi + 1, yi), c = hash2(xi, yi + 1), d = hash2(xi + 1, yi + 1);
  return (a + (b - a) * sx) + ((c + (d - c) * sx) - (a + (b - a) * sx)) * sy;
}

// One shape: a bounding box in pixels, and for a pixel centre its signed
// distance to the outline in pixels (negative inside) and its colour.
struct ShapeSample {
  float distance;
  Colour colour;
};

// Draws a shape over the image with one-pixel anti-aliased edges, after a soft
// shadow offset down and to the right (both scale with the frame height).
template <typename Sampler>
void drawShape(ImageF& image, float cx, float cy, float radius, Sampler sample) {
  const float offset = 0.012f * static_cast<float>(image.height), blur = 0.02f * static_cast<float>(image.height) + 1.0f;
  const float reach = radius + offset + blur + 2.0f;
  const int x0 = std::max(0, static_cast<int>(std::floor(cx - reach)));
  const int x1 = std::min(image.width - 1, static_cast<int>(std::ceil(cx + reach)));
  const int y0 = std::max(0, static_cast<int>(std::floor(cy - reach)));
  const int y1 = std::min(image.height - 1, static_cast<int>(std::ceil(cy + reach)));
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) {
      const float px = static_cast<float>(x) + 0.5f - cx - offset;
      const float py = static_cast<float>(y) + 0.5f - cy - offset;
      const float shadow = 0.4f * (1.0f - smoothstep(-blur, blur, sample(px, py).distance));
      if (shadow <= 0.0f) continue;
      float* p = image.pixel(x, y);
      p[0] *= 1.0f - shadow;
      p[1] *= 1.0f - shadow;
      p[2] *= 1.0f - shadow;
      p[3] += (1.0f - p[3]) * shadow;
    }
  }
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) {
      const float px = static_cast<float>(x) + 0.5f - cx;
      const float py = static_cast<float>(y) + 0.5f - cy;
      const ShapeSample s = sample(px, py);
      const float coverage = clamp01(0.5f - s.distance);
      if (coverage <= 0.0f) continue;
      float* p = image.pixel(x, y);
      p[0] += (s.colour.b - p[0]) * coverage;
      p[1] += (s.colour.g - p[1]) * coverage;
      p[2] += (s.colour.r - p[2]) * coverage;
      p[3] += (1.0f - p[3]) * coverage;
    }
  }
}

}  // namespace

SyntheticClip::SyntheticClip(SyntheticClipOptions options) : options_(options) {
  if (options_.width <= 0 || options_.height <= 0 || options_.frameCount <= 0 || !options_.frameRate.valid()) {
    throw MediaError(MediaErrc::InvalidArgument, "a generated clip needs a positive size, frame count and frame rate");
  }
  options_.frameRate = options_.frameRate.reduced();
  info_.kind = SourceKind::Synthetic;
  info_.width = options_.width;
  info_.height = options_.height;
  info_.frameCount = options_.frameCount;
  info_.frameRate = options_.frameRate;
  info_.timeBase = options_.frameRate.inverse();
  info_.hasAlpha = options_.alpha;
  info_.durationSeconds = static_cast<double>(options_.frameCount) / options_.frameRate.toDouble();
  info_.codecName = "generated";
  info_.pixelFormat = "bgraf";

  // The background never moves, so it is drawn once.
  const int w = options_.width, h = options_.height;
  const float unit = static_cast<float>(h);  // sizes relative to the frame height
  background_ = makeImage(w, h);
  const Colour deep{0.10f, 0.08f, 0.32f}, teal{0.05f, 0.42f, 0.48f}, warm{0.46f, 0.20f, 0.30f};
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const float u = (static_cast<float>(x) + 0.5f) / unit, v = (static_cast<float>(y) + 0.5f) / unit;
      const float diagonal = clamp01((u + v) / (static_cast<float>(w) / unit + 1.0f));
      Colour c = diagonal < 0.5f ? mix(deep, teal, diagonal * 2.0f) : mix(teal, warm, diagonal * 2.0f - 1.0f);
      // Soft tiles: a checker of rounded squares, slightly lighter and darker.
      const float tile = 0.09f;
      const float tu = u / tile, tv = v / tile;
      const int checker = (static_cast<int>(std::floor(tu)) + static_cast<int>(std::floor(tv))) & 1;
      const float edge = std::min(std::fabs(tu - std::round(tu)), std::fabs(tv - std::round(tv)));
      const float tileShade = (checker ? 0.06f : -0.04f) * smoothstep(0.02f, 0.12f, edge);
      // Clouds (two octaves of value noise) and fine grain.
      const float clouds = valueNoise(u * 4.0f, v * 4.0f) * 0.65f + valueNoise(u * 11.0f, v * 11.0f) * 0.35f;
      const float grain = hash2(x, y) - 0.5f;
      const float shade = 0.75f + 0.45f * clouds + tileShade + 0.05f * grain;
      float* p = background_.pixel(x, y);
      p[0] = clamp01(c.b * shade + 0.02f);
      p[1] = clamp01(c.g * shade + 0.02f);
      p[2] = clamp01(c.r * shade + 0.02f);
      p[3] = options_.alpha ? 0.2f + 0.6f * (static_cast<float>(x) + 0.5f) / static_cast<float>(w) : 1.0f;
    }
  }
}

void SyntheticClip::render(std::int64_t frame, ImageF& out) const {
  if (frame < 0 || frame >= options_.frameCount) {
    throw MediaError(MediaErrc::InvalidArgument, "frame " + std::to_string(frame) + " is outside the generated clip");
  }
  out = background_;
  const float t = static_cast<float>(static_cast<double>(frame) / options_.frameRate.toDouble());
  const float W = static_cast<float>(options_.width), H = static_cast<float>(options_.height);

  // Checkered square, turning and swaying.
  {
    const float half = 0.12f * H;
    const float cx = W * (0.5f + 0.33f * std::sin(0.7f * t)), cy = H * (0.30f + 0.08f * std::sin(1.3f * t));
    const float angle = 0.9f * t, ca = std::cos(angle), sa = std::sin(angle);
    drawShape(out, cx, cy, half * 1.4143f, [&](float px, float py) {
      const float lx = ca * px + sa * py, ly = -sa * px + ca * py;
      const float dx = std::fabs(lx) - half, dy = std::fabs(ly) - half;
      const float outside = std::hypot(std::max(dx, 0.0f), std::max(dy, 0.0f));
      const float distance = outside + std::min(std::max(dx, dy), 0.0f);
      const float cell = half / 2.0f;
      const bool odd = ((static_cast<int>(std::floor(lx / cell)) + static_cast<int>(std::floor(ly / cell))) & 1) != 0;
      const Colour colour = odd ? Colour{0.98f, 0.62f, 0.10f} : Colour{0.96f, 0.88f, 0.30f};
      const float rim = smoothstep(-6.0f, -1.0f, distance);  // a darker rim inside the edge
      return ShapeSample{distance, mix(colour, Colour{0.55f, 0.25f, 0.05f}, rim * 0.6f)};
    });
  }

  // Striped ball bouncing along the floor.
  {
    const float radius = 0.09f * H;
    const float phase = std::fmod(0.11f * t, 1.0f);
    const float across = phase < 0.5f ? phase * 2.0f : 2.0f - phase * 2.0f;
    const float cx = radius + (W - 2.0f * radius) * across;
    const float cy = H - radius - 0.5f * H * std::fabs(std::sin(1.9f * t));
    const float spin = 3.0f * t;
    drawShape(out, cx, cy, radius, [&](float px, float py) {
      const float r = std::hypot(px, py);
      const float light = clamp01(1.0f - std::hypot(px + 0.35f * radius, py + 0.35f * radius) / (1.6f * radius));
      const float stripe = 0.5f + 0.5f * std::sin((px * std::cos(spin) + py * std::sin(spin)) / radius * 3.0f * kPi);
      Colour c = mix(Colour{0.85f, 0.08f, 0.22f}, Colour{0.95f, 0.35f, 0.75f}, smoothstep(0.3f, 0.7f, stripe));
      c = mix(c, Colour{1.0f, 0.95f, 0.95f}, light * light * 0.7f);
      return ShapeSample{r - radius, c};
    });
  }

  // Dashed ring circling the middle.
  {
    const float radius = 0.085f * H, thickness = 0.028f * H;
    const float cx = W * 0.5f + 0.30f * H * std::cos(0.9f * t), cy = H * 0.5f + 0.30f * H * std::sin(0.9f * t);
    drawShape(out, cx, cy, radius + thickness, [&](float px, float py) {
      const float r = std::hypot(px, py);
      const float distance = std::fabs(r - radius) - thickness * 0.5f;
      const float around = std::atan2(py, px) + 2.0f * t;
      const bool dash = std::sin(around * 6.0f) > 0.0f;
      return ShapeSample{distance, dash ? Colour{0.30f, 0.92f, 0.40f} : Colour{0.08f, 0.45f, 0.18f}};
    });
  }

  // Striped bar sliding up and down near the right edge.
  {
    const float halfW = 0.05f * H, halfH = 0.16f * H;
    const float cx = W - 0.12f * H, cy = H * (0.5f + 0.28f * std::sin(1.1f * t + 1.0f));
    drawShape(out, cx, cy, std::hypot(halfW, halfH), [&](float px, float py) {
      const float dx = std::fabs(px) - halfW + 6.0f, dy = std::fabs(py) - halfH + 6.0f;  // 6 px rounded corners
      const float distance = std::hypot(std::max(dx, 0.0f), std::max(dy, 0.0f)) + std::min(std::max(dx, dy), 0.0f) - 6.0f;
      const bool stripe = std::fmod(std::fabs(px + py) / (0.035f * H), 2.0f) < 1.0f;
      return ShapeSample{distance, stripe ? Colour{0.15f, 0.80f, 0.95f} : Colour{0.92f, 0.97f, 1.0f}};
    });
  }

  // Triangle tracing a figure of eight, turning slowly.
  {
    const float size = 0.11f * H;
    const float cx = W * (0.32f + 0.18f * std::sin(0.8f * t)), cy = H * (0.55f + 0.14f * std::sin(1.6f * t));
    const float angle = -0.5f * t, ca = std::cos(angle), sa = std::sin(angle);
    drawShape(out, cx, cy, size * 2.0f, [&](float px, float py) {
      const float lx = ca * px + sa * py, ly = -sa * px + ca * py;
      // Equilateral triangle of circumradius `size`: the largest distance to its three edges.
      float distance = -1e9f;
      for (int k = 0; k < 3; ++k) {
        const float a = 2.0f * kPi * static_cast<float>(k) / 3.0f + kPi / 2.0f;
        distance = std::max(distance, lx * std::cos(a) + ly * std::sin(a) - size * 0.5f);
      }
      const float shade = clamp01(0.5f + ly / (2.0f * size));
      return ShapeSample{distance, mix(Colour{1.0f, 0.95f, 0.35f}, Colour{0.95f, 0.55f, 0.05f}, shade)};
    });
  }
}

ImageF SyntheticClip::frame(std::int64_t index) const {
  ImageF out;
  render(index, out);
  return out;
}

}  // namespace dshost
