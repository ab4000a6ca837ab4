#include "host/drawbot/DrawbotObjects.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <numbers>
#include <unordered_set>

namespace dshost::drawbot {
namespace {

struct RegistryState {
  std::mutex mutex;
  std::unordered_set<const void*> live;
  std::size_t created = 0;
};

RegistryState& State() {
  static RegistryState state;
  return state;
}

Object* LookupLocked(RegistryState& s, const void* ref) {
  if (ref == nullptr || s.live.count(ref) == 0) return nullptr;
  return static_cast<Object*>(const_cast<void*>(ref));
}

float SignedArea(const std::vector<PointF>& poly) {
  float area = 0.0f;
  for (std::size_t i = 0; i < poly.size(); ++i) {
    const PointF& p = poly[i];
    const PointF& q = poly[(i + 1) % poly.size()];
    area += p.x * q.y - q.x * p.y;
  }
  return 0.5f * area;
}

void AddOriented(std::vector<std::vector<PointF>>& out, std::vector<PointF> poly) {
  if (SignedArea(poly) < 0.0f) std::reverse(poly.begin(), poly.end());
  out.push_back(std::move(poly));
}

float Distance(PointF a, PointF b) { return std::hypot(b.x - a.x, b.y - a.y); }

PointF Lerp(PointF a, PointF b, float t) { return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t}; }

// Splits a polyline into the pieces where the dash pattern is "on".
std::vector<std::vector<PointF>> ApplyDashes(const std::vector<PointF>& line, const std::vector<float>& dashes) {
  float period = 0.0f;
  for (float d : dashes) period += std::max(d, 0.0f);
  if (dashes.empty() || !(period > 0.0f)) return {line};

  std::vector<std::vector<PointF>> pieces;
  std::size_t dash = 0;
  float left_in_dash = std::max(dashes[0], 0.0f);
  bool on = true;
  std::vector<PointF> current;
  if (on) current.push_back(line.front());
  for (std::size_t i = 0; i + 1 < line.size(); ++i) {
    PointF a = line[i];
    const PointF b = line[i + 1];
    float remaining = Distance(a, b);
    while (remaining > 0.0f) {
      const float step = std::min(remaining, left_in_dash);
      const PointF p = Lerp(a, b, step / remaining);
      if (on) current.push_back(p);
      a = p;
      remaining -= step;
      left_in_dash -= step;
      if (left_in_dash <= 0.0f) {
        if (on && current.size() > 1) pieces.push_back(current);
        current.clear();
        on = !on;
        dash = (dash + 1) % dashes.size();
        left_in_dash = std::max(dashes[dash], 0.0f);
        if (on) current.push_back(a);
      }
    }
  }
  if (on && current.size() > 1) pieces.push_back(current);
  return pieces;
}

std::uint8_t Unpremultiply(std::uint8_t c, std::uint8_t a) {
  if (a == 0) return 0;
  return static_cast<std::uint8_t>(std::min(255, (c * 255 + a / 2) / a));
}

}  // namespace

void Registry::Add(Object* object) {
  RegistryState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.live.insert(object);
  if (!object->CanvasOwned()) ++s.created;
}

void Registry::Destroy(Object* object) {
  {
    RegistryState& s = State();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (s.live.erase(object) == 0) return;
    if (!object->CanvasOwned()) --s.created;
  }
  delete object;
}

Object* Registry::Find(const void* ref) {
  RegistryState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  return LookupLocked(s, ref);
}

bool Registry::Retain(const void* ref) {
  RegistryState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  Object* o = LookupLocked(s, ref);
  if (o == nullptr) return false;
  ++o->refs_;
  return true;
}

bool Registry::Release(const void* ref) {
  Object* doomed = nullptr;
  {
    RegistryState& s = State();
    std::lock_guard<std::mutex> lock(s.mutex);
    Object* o = LookupLocked(s, ref);
    if (o == nullptr) return false;
    if (o->CanvasOwned() && o->refs_ <= 1) return false;
    if (--o->refs_ == 0) {
      s.live.erase(o);
      --s.created;
      doomed = o;
    }
  }
  delete doomed;
  return true;
}

std::size_t Registry::LiveCreatedObjects() {
  RegistryState& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  return s.created;
}

void PathGeometry::MoveTo(PointF p) {
  subpaths.push_back({p});
  closed.push_back(false);
  has_current_ = true;
  current_ = p;
}

void PathGeometry::LineTo(PointF p) {
  if (!OpenSubpath()) {
    // After Close the next segment starts where the closed figure began.
    MoveTo(has_current_ ? current_ : p);
    if (subpaths.back().front().x == p.x && subpaths.back().front().y == p.y) return;
  }
  subpaths.back().push_back(p);
  current_ = p;
}

void PathGeometry::BezierTo(PointF c1, PointF c2, PointF end) {
  const PointF start = has_current_ ? current_ : c1;
  const float length = Distance(start, c1) + Distance(c1, c2) + Distance(c2, end);
  const int steps = std::clamp(static_cast<int>(std::ceil(length / 2.0f)), 4, 256);
  for (int i = 1; i <= steps; ++i) {
    const float t = static_cast<float>(i) / static_cast<float>(steps);
    const float u = 1.0f - t;
    const float w0 = u * u * u, w1 = 3 * u * u * t, w2 = 3 * u * t * t, w3 = t * t * t;
    LineTo({w0 * start.x + w1 * c1.x + w2 * c2.x + w3 * end.x, w0 * start.y + w1 * c1.y + w2 * c2.y + w3 * end.y});
  }
}

void PathGeometry::AddRect(const DRAWBOT_RectF32& r) {
  const float x0 = r.left, y0 = r.top, x1 = r.left + r.width, y1 = r.top + r.height;
  MoveTo({x0, y0});
  LineTo({x1, y0});
  LineTo({x1, y1});
  LineTo({x0, y1});
  Close();
}

void PathGeometry::AddArc(PointF center, float radius, float start_deg, float sweep_deg) {
  constexpr float kDegToRad = std::numbers::pi_v<float> / 180.0f;
  const float arc_length = std::fabs(sweep_deg * kDegToRad * radius);
  const int steps = std::clamp(static_cast<int>(std::ceil(arc_length / 2.0f)), 8, 720);
  for (int i = 0; i <= steps; ++i) {
    const float angle = (start_deg + sweep_deg * static_cast<float>(i) / static_cast<float>(steps)) * kDegToRad;
    const PointF p{center.x + radius * std::cos(angle), center.y + radius * std::sin(angle)};
    if (i == 0 && !OpenSubpath()) {
      MoveTo(p);
    } else {
      LineTo(p);
    }
  }
}

void PathGeometry::Close() {
  if (!OpenSubpath()) return;
  closed.back() = true;
  current_ = subpaths.back().front();
}

std::vector<std::vector<PointF>> PathGeometry::Transformed(const Affine& ctm) const {
  std::vector<std::vector<PointF>> out;
  out.reserve(subpaths.size());
  for (const auto& sub : subpaths) {
    std::vector<PointF> poly;
    poly.reserve(sub.size());
    for (const PointF& p : sub) poly.push_back(ctm.Apply(p));
    out.push_back(std::move(poly));
  }
  return out;
}

bool DecodePixels(int width, int height, int row_bytes, DRAWBOT_PixelLayout layout, const void* data,
                  ImagePixels* out) {
  int bytes_per_pixel = 0;
  // Byte positions of R, G, B and A in a pixel; -1 for "opaque".
  int ri = 0, gi = 0, bi = 0, ai = -1;
  bool premultiplied = false;
  switch (layout) {
    case kDRAWBOT_PixelLayout_24RGB: bytes_per_pixel = 3; ri = 0; gi = 1; bi = 2; break;
    case kDRAWBOT_PixelLayout_24BGR: bytes_per_pixel = 3; ri = 2; gi = 1; bi = 0; break;
    case kDRAWBOT_PixelLayout_32RGB: bytes_per_pixel = 4; ri = 1; gi = 2; bi = 3; break;
    case kDRAWBOT_PixelLayout_32BGR: bytes_per_pixel = 4; ri = 2; gi = 1; bi = 0; break;
    case kDRAWBOT_PixelLayout_32ARGB_Premul: premultiplied = true; [[fallthrough]];
    case kDRAWBOT_PixelLayout_32ARGB_Straight: bytes_per_pixel = 4; ai = 0; ri = 1; gi = 2; bi = 3; break;
    case kDRAWBOT_PixelLayout_32BGRA_Premul: premultiplied = true; [[fallthrough]];
    case kDRAWBOT_PixelLayout_32BGRA_Straight: bytes_per_pixel = 4; bi = 0; gi = 1; ri = 2; ai = 3; break;
    default: return false;
  }
  if (width <= 0 || height <= 0 || data == nullptr) return false;
  if (static_cast<long long>(row_bytes) < static_cast<long long>(width) * bytes_per_pixel) return false;

  out->width = width;
  out->height = height;
  out->rgba.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 0);
  const auto* src = static_cast<const std::uint8_t*>(data);
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* row = src + static_cast<std::size_t>(y) * static_cast<std::size_t>(row_bytes);
    std::uint8_t* dst = &out->rgba[static_cast<std::size_t>(y) * width * 4];
    for (int x = 0; x < width; ++x, row += bytes_per_pixel, dst += 4) {
      const std::uint8_t a = ai >= 0 ? row[ai] : 255;
      dst[0] = premultiplied ? Unpremultiply(row[ri], a) : row[ri];
      dst[1] = premultiplied ? Unpremultiply(row[gi], a) : row[gi];
      dst[2] = premultiplied ? Unpremultiply(row[bi], a) : row[bi];
      dst[3] = a;
    }
  }
  return true;
}

std::vector<std::vector<PointF>> StrokeOutline(const std::vector<std::vector<PointF>>& polylines,
                                               const std::vector<bool>& closed, float width,
                                               const std::vector<float>& dashes) {
  std::vector<std::vector<PointF>> out;
  if (!(width > 0.0f)) return out;
  const float half = width * 0.5f;
  for (std::size_t i = 0; i < polylines.size(); ++i) {
    std::vector<PointF> line = polylines[i];
    if (line.size() < 2) continue;
    if (i < closed.size() && closed[i]) line.push_back(line.front());
    for (const auto& piece : ApplyDashes(line, dashes)) {
      for (std::size_t k = 0; k + 1 < piece.size(); ++k) {
        const PointF a = piece[k], b = piece[k + 1];
        const float len = Distance(a, b);
        if (!(len > 0.0f)) continue;
        const PointF n{-(b.y - a.y) / len * half, (b.x - a.x) / len * half};
        AddOriented(out, {{a.x + n.x, a.y + n.y}, {b.x + n.x, b.y + n.y}, {b.x - n.x, b.y - n.y}, {a.x - n.x, a.y - n.y}});
        // Round joins between consecutive segments of one piece.
        if (k + 2 < piece.size() || (k + 2 == piece.size() && piece.front().x == piece.back().x &&
                                     piece.front().y == piece.back().y && piece.size() > 2)) {
          std::vector<PointF> disc;
          for (int s = 0; s < 16; ++s) {
            const float t = static_cast<float>(s) * std::numbers::pi_v<float> / 8.0f;
            disc.push_back({b.x + half * std::cos(t), b.y + half * std::sin(t)});
          }
          AddOriented(out, std::move(disc));
        }
      }
    }
  }
  return out;
}

}  // namespace dshost::drawbot
