#include "host/drawbot/DrawbotRaster.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace dshost::drawbot {
namespace {

float Clamp01(float v) { return v < 0.0f ? 0.0f : (v > 1.0f ? 1.0f : v); }

std::uint8_t ToByte(float v) { return static_cast<std::uint8_t>(std::lround(Clamp01(v) * 255.0f)); }

struct Edge {
  float x0, y0, x1, y1;
  int dir;  // +1 when the edge runs downwards, -1 upwards
};

struct Crossing {
  float x;
  int dir;
};

// Adds the coverage of the horizontal span [xa, xb) with weight `w` to a row.
void AccumulateSpan(std::vector<float>& row, int row_x0, float xa, float xb, float w) {
  if (!(xb > xa)) return;
  const int first = static_cast<int>(std::floor(xa));
  const int last = static_cast<int>(std::ceil(xb)) - 1;
  for (int x = first; x <= last; ++x) {
    const float cover = std::min(xb, static_cast<float>(x + 1)) - std::max(xa, static_cast<float>(x));
    const int idx = x - row_x0;
    if (cover > 0.0f && idx >= 0 && idx < static_cast<int>(row.size())) row[idx] += cover * w;
  }
}

// Straight-alpha bilinear sample at continuous image coordinates (pixel
// centres at +0.5), interpolating premultiplied values.
void SampleBilinear(const ImagePixels& img, float u, float v, float out[4]) {
  const float fu = u - 0.5f, fv = v - 0.5f;
  const int iu = static_cast<int>(std::floor(fu)), iv = static_cast<int>(std::floor(fv));
  const float tu = fu - static_cast<float>(iu), tv = fv - static_cast<float>(iv);
  float acc[4] = {0, 0, 0, 0};
  for (int dy = 0; dy < 2; ++dy) {
    for (int dx = 0; dx < 2; ++dx) {
      const int sx = std::clamp(iu + dx, 0, img.width - 1);
      const int sy = std::clamp(iv + dy, 0, img.height - 1);
      const float w = (dx ? tu : 1.0f - tu) * (dy ? tv : 1.0f - tv);
      const std::uint8_t* p = &img.rgba[(static_cast<std::size_t>(sy) * img.width + sx) * 4];
      const float a = p[3] / 255.0f;
      acc[0] += w * a * p[0] / 255.0f;
      acc[1] += w * a * p[1] / 255.0f;
      acc[2] += w * a * p[2] / 255.0f;
      acc[3] += w * a;
    }
  }
  if (acc[3] > 0.0f) {
    out[0] = acc[0] / acc[3];
    out[1] = acc[1] / acc[3];
    out[2] = acc[2] / acc[3];
  } else {
    out[0] = out[1] = out[2] = 0.0f;
  }
  out[3] = acc[3];
}

}  // namespace

Affine Affine::After(const Affine& first) const {
  Affine r;
  r.a = a * first.a + c * first.b;
  r.b = b * first.a + d * first.b;
  r.c = a * first.c + c * first.d;
  r.d = b * first.c + d * first.d;
  r.tx = a * first.tx + c * first.ty + tx;
  r.ty = b * first.tx + d * first.ty + ty;
  return r;
}

bool Affine::Invert(Affine* out) const {
  const float det = Determinant();
  if (!std::isfinite(det) || std::fabs(det) < 1e-12f) return false;
  Affine r;
  r.a = d / det;
  r.b = -b / det;
  r.c = -c / det;
  r.d = a / det;
  r.tx = -(r.a * tx + r.c * ty);
  r.ty = -(r.b * tx + r.d * ty);
  *out = r;
  return true;
}

bool Affine::IsIdentity() const {
  return a == 1.0f && b == 0.0f && c == 0.0f && d == 1.0f && tx == 0.0f && ty == 0.0f;
}

Affine Affine::FromMatrix(const DRAWBOT_MatrixF32& m) {
  Affine r;
  r.a = m.mat[0][0];
  r.b = m.mat[0][1];
  r.c = m.mat[1][0];
  r.d = m.mat[1][1];
  r.tx = m.mat[2][0];
  r.ty = m.mat[2][1];
  return r;
}

Box Box::Intersect(const Box& o) const {
  return {std::max(x0, o.x0), std::max(y0, o.y0), std::min(x1, o.x1), std::min(y1, o.y1)};
}

Box Box::Bounds(const std::vector<std::vector<PointF>>& polygons) {
  const float inf = std::numeric_limits<float>::infinity();
  Box b{inf, inf, -inf, -inf};
  for (const auto& poly : polygons) {
    for (const PointF& p : poly) {
      b.x0 = std::min(b.x0, p.x);
      b.y0 = std::min(b.y0, p.y);
      b.x1 = std::max(b.x1, p.x);
      b.y1 = std::max(b.y1, p.y);
    }
  }
  return b;
}

int SubScanlines(DRAWBOT_AntiAliasPolicy policy) {
  switch (policy) {
    case kDRAWBOT_AntiAliasPolicy_None:
      return 1;
    case kDRAWBOT_AntiAliasPolicy_High:
      return 16;
    default:
      return 5;
  }
}

void BlendPixel(std::uint8_t* px, float r, float g, float b, float a) {
  const float sa = Clamp01(a);
  if (sa <= 0.0f) return;
  const float da = px[3] / 255.0f;
  const float oa = sa + da * (1.0f - sa);
  const float dw = da * (1.0f - sa);
  const float src[3] = {r, g, b};
  for (int i = 0; i < 3; ++i) {
    const float d = px[i] / 255.0f;
    px[i] = ToByte((Clamp01(src[i]) * sa + d * dw) / oa);
  }
  px[3] = ToByte(oa);
}

void FillPolygons(const RasterTarget& target, const std::vector<std::vector<PointF>>& polygons, FillRule rule,
                  const DRAWBOT_ColorRGBA& color, const Box& clip, DRAWBOT_AntiAliasPolicy aa) {
  std::vector<Edge> edges;
  for (const auto& poly : polygons) {
    const std::size_t n = poly.size();
    if (n < 3) continue;
    for (std::size_t i = 0; i < n; ++i) {
      const PointF p0 = poly[i];
      const PointF p1 = poly[(i + 1) % n];
      if (!std::isfinite(p0.x) || !std::isfinite(p0.y) || !std::isfinite(p1.x) || !std::isfinite(p1.y)) return;
      if (p0.y == p1.y) continue;
      edges.push_back({p0.x, p0.y, p1.x, p1.y, p1.y > p0.y ? 1 : -1});
    }
  }
  if (edges.empty()) return;

  const Box limit = clip.Intersect(target.Full());
  const Box area = Box::Bounds(polygons).Intersect(limit);
  if (area.Empty()) return;
  const int row_first = static_cast<int>(std::floor(area.y0));
  const int row_last = static_cast<int>(std::ceil(area.y1)) - 1;
  const int col_first = static_cast<int>(std::floor(area.x0));
  const int col_last = static_cast<int>(std::ceil(area.x1)) - 1;
  const int samples = SubScanlines(aa);
  const float weight = 1.0f / static_cast<float>(samples);
  // Without anti-aliasing a pixel is in when its centre is: span ends (and
  // the clip's) snap to the first pixel whose centre lies beyond them.
  auto snap = [samples](float x) { return samples == 1 ? std::ceil(x - 0.5f) : x; };
  const float clip_x0 = snap(limit.x0), clip_x1 = snap(limit.x1);

  std::vector<float> coverage(static_cast<std::size_t>(col_last - col_first + 1));
  std::vector<Crossing> crossings;
  for (int y = row_first; y <= row_last; ++y) {
    std::fill(coverage.begin(), coverage.end(), 0.0f);
    bool any = false;
    for (int s = 0; s < samples; ++s) {
      const float sy = static_cast<float>(y) + (static_cast<float>(s) + 0.5f) * weight;
      if (sy < limit.y0 || sy >= limit.y1) continue;
      crossings.clear();
      for (const Edge& e : edges) {
        const float lo = std::min(e.y0, e.y1), hi = std::max(e.y0, e.y1);
        if (sy < lo || sy >= hi) continue;
        crossings.push_back({e.x0 + (sy - e.y0) * (e.x1 - e.x0) / (e.y1 - e.y0), e.dir});
      }
      if (crossings.size() < 2) continue;
      std::sort(crossings.begin(), crossings.end(), [](const Crossing& l, const Crossing& r) { return l.x < r.x; });
      int winding = 0;
      for (std::size_t i = 0; i + 1 < crossings.size(); ++i) {
        winding += crossings[i].dir;
        const bool inside = rule == FillRule::EvenOdd ? (winding & 1) != 0 : winding != 0;
        if (!inside) continue;
        const float xa = std::max(snap(crossings[i].x), clip_x0);
        const float xb = std::min(snap(crossings[i + 1].x), clip_x1);
        if (xb > xa) {
          AccumulateSpan(coverage, col_first, xa, xb, weight);
          any = true;
        }
      }
    }
    if (!any) continue;
    std::uint8_t* row = target.pixels + static_cast<std::size_t>(y) * target.width * 4;
    for (int x = col_first; x <= col_last; ++x) {
      const float c = coverage[static_cast<std::size_t>(x - col_first)];
      if (c > 0.0f) BlendPixel(row + static_cast<std::size_t>(x) * 4, color.red, color.green, color.blue,
                               color.alpha * std::min(c, 1.0f));
    }
  }
}

void BlendMask(const RasterTarget& target, const std::uint8_t* mask, int mask_w, int mask_h, int mask_stride,
               int left, int top, const DRAWBOT_ColorRGBA& color, const Box& clip, bool hard_edges) {
  const Box area = clip.Intersect(target.Full());
  if (area.Empty()) return;
  // A pixel is inside the clip when its centre is.
  const int cx0 = static_cast<int>(std::ceil(area.x0 - 0.5f)), cx1 = static_cast<int>(std::ceil(area.x1 - 0.5f));
  const int cy0 = static_cast<int>(std::ceil(area.y0 - 0.5f)), cy1 = static_cast<int>(std::ceil(area.y1 - 0.5f));
  for (int my = 0; my < mask_h; ++my) {
    const int y = top + my;
    if (y < cy0 || y >= cy1) continue;
    std::uint8_t* row = target.pixels + static_cast<std::size_t>(y) * target.width * 4;
    for (int mx = 0; mx < mask_w; ++mx) {
      const int x = left + mx;
      if (x < cx0 || x >= cx1) continue;
      float c = mask[static_cast<std::size_t>(my) * mask_stride + mx] / 255.0f;
      if (hard_edges) c = c >= 0.5f ? 1.0f : 0.0f;
      if (c > 0.0f) BlendPixel(row + static_cast<std::size_t>(x) * 4, color.red, color.green, color.blue, color.alpha * c);
    }
  }
}

void DrawImagePixels(const RasterTarget& target, const ImagePixels& image, PointF origin, float scale, float opacity,
                     const Affine& ctm, const Box& clip, DRAWBOT_InterpolationPolicy interpolation) {
  if (image.width <= 0 || image.height <= 0 || !(scale > 0.0f) || !(opacity > 0.0f)) return;
  // Image space -> user space -> device space.
  Affine image_to_user;
  image_to_user.a = 1.0f / scale;
  image_to_user.d = 1.0f / scale;
  image_to_user.tx = origin.x;
  image_to_user.ty = origin.y;
  const Affine image_to_device = ctm.After(image_to_user);
  Affine device_to_image;
  if (!image_to_device.Invert(&device_to_image)) return;

  const float w = static_cast<float>(image.width), h = static_cast<float>(image.height);
  const std::vector<std::vector<PointF>> quad = {
      {image_to_device.Apply({0, 0}), image_to_device.Apply({w, 0}), image_to_device.Apply({w, h}),
       image_to_device.Apply({0, h})}};
  const Box area = Box::Bounds(quad).Intersect(clip).Intersect(target.Full());
  if (area.Empty()) return;
  const int x_first = static_cast<int>(std::floor(area.x0)), x_last = static_cast<int>(std::ceil(area.x1)) - 1;
  const int y_first = static_cast<int>(std::floor(area.y0)), y_last = static_cast<int>(std::ceil(area.y1)) - 1;
  const float alpha_scale = Clamp01(opacity);

  for (int y = y_first; y <= y_last; ++y) {
    const float cy = static_cast<float>(y) + 0.5f;
    if (cy < area.y0 || cy >= area.y1) continue;
    std::uint8_t* row = target.pixels + static_cast<std::size_t>(y) * target.width * 4;
    for (int x = x_first; x <= x_last; ++x) {
      const float cx = static_cast<float>(x) + 0.5f;
      if (cx < area.x0 || cx >= area.x1) continue;
      const PointF uv = device_to_image.Apply({cx, cy});
      if (uv.x < 0.0f || uv.y < 0.0f || uv.x >= w || uv.y >= h) continue;
      float s[4];
      if (interpolation == kDRAWBOT_InterpolationPolicy_None) {
        const int sx = std::min(static_cast<int>(uv.x), image.width - 1);
        const int sy = std::min(static_cast<int>(uv.y), image.height - 1);
        const std::uint8_t* p = &image.rgba[(static_cast<std::size_t>(sy) * image.width + sx) * 4];
        for (int i = 0; i < 4; ++i) s[i] = p[i] / 255.0f;
      } else {
        SampleBilinear(image, uv.x, uv.y, s);
      }
      BlendPixel(row + static_cast<std::size_t>(x) * 4, s[0], s[1], s[2], s[3] * alpha_scale);
    }
  }
}

}  // namespace dshost::drawbot
