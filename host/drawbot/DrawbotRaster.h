// Software rasterizer behind the host's Drawbot surface: polygon filling with
// analytic horizontal coverage, source-over blending of straight-alpha colours
// into an RGBA8 canvas, and coverage masks (glyphs) blended in a colour.
#pragma once
#include <cstdint>
#include <vector>

#include "adobesdk/DrawbotSuite.h"

namespace dshost::drawbot {

struct PointF {
  float x = 0.0f;
  float y = 0.0f;
};

// 2D affine transform: x' = a*x + c*y + tx, y' = b*x + d*y + ty.
struct Affine {
  float a = 1.0f, b = 0.0f, c = 0.0f, d = 1.0f, tx = 0.0f, ty = 0.0f;

  PointF Apply(PointF p) const { return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty}; }
  // This transform applied after `first`.
  Affine After(const Affine& first) const;
  bool Invert(Affine* out) const;
  float Determinant() const { return a * d - b * c; }
  bool IsIdentity() const;
  static Affine FromMatrix(const DRAWBOT_MatrixF32& m);
};

// Axis-aligned box in device pixels, [x0, x1) x [y0, y1).
struct Box {
  float x0 = 0.0f, y0 = 0.0f, x1 = 0.0f, y1 = 0.0f;

  bool Empty() const { return !(x1 > x0 && y1 > y0); }
  Box Intersect(const Box& other) const;
  static Box Bounds(const std::vector<std::vector<PointF>>& polygons);
};

// Non-owning view of straight-alpha RGBA8 pixels, rows top first.
struct RasterTarget {
  std::uint8_t* pixels = nullptr;
  int width = 0;
  int height = 0;
  Box Full() const { return {0.0f, 0.0f, static_cast<float>(width), static_cast<float>(height)}; }
};

enum class FillRule { EvenOdd, NonZero };

// Vertical samples per pixel row; horizontal coverage is exact.
int SubScanlines(DRAWBOT_AntiAliasPolicy policy);

// Blends one straight-alpha colour over a pixel with the given coverage
// (0..1) using source-over.
void BlendPixel(std::uint8_t* px, float r, float g, float b, float a);

// Fills the polygons (device coordinates, implicitly closed) in a colour.
void FillPolygons(const RasterTarget& target, const std::vector<std::vector<PointF>>& polygons,
                  FillRule rule, const DRAWBOT_ColorRGBA& color, const Box& clip,
                  DRAWBOT_AntiAliasPolicy aa);

// Blends an 8-bit coverage mask whose top-left pixel lands on device pixel
// (left, top). With `hard_edges` coverage is thresholded at one half.
void BlendMask(const RasterTarget& target, const std::uint8_t* mask, int mask_w, int mask_h,
               int mask_stride, int left, int top, const DRAWBOT_ColorRGBA& color, const Box& clip,
               bool hard_edges);

// A decoded image: straight-alpha RGBA8, rows top first.
struct ImagePixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgba;
};

// Draws an image whose user-space top-left corner is `origin` and whose
// user-space size is (width, height) / scale, through `ctm`, with an extra
// opacity. Nearest sampling for InterpolationPolicy_None, bilinear otherwise.
void DrawImagePixels(const RasterTarget& target, const ImagePixels& image, PointF origin, float scale,
                     float opacity, const Affine& ctm, const Box& clip,
                     DRAWBOT_InterpolationPolicy interpolation);

}  // namespace dshost::drawbot
