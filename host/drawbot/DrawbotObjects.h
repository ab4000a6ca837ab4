// The C++ objects behind the opaque Drawbot references. A reference handed to
// the plug-in is the address of one of these objects; every call looks it up
// in a registry of live objects first, so a stale, foreign or wrongly typed
// reference is answered with an error instead of being dereferenced.
#pragma once
#include <cstddef>
#include <memory>
#include <vector>

#include "adobesdk/DrawbotSuite.h"
#include "host/drawbot/DrawbotRaster.h"
#include "host/drawbot/DrawbotText.h"

namespace dshost::drawbot {

enum class ObjectKind { Draw, Supplier, Surface, Pen, Brush, Font, Image, Path };

class Object {
 public:
  Object(ObjectKind kind, bool canvas_owned) : kind_(kind), canvas_owned_(canvas_owned) {}
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  ObjectKind Kind() const { return kind_; }
  // Supplier, surface and draw context belong to a canvas, which destroys
  // them; everything else is made by a supplier and dies with its last release.
  bool CanvasOwned() const { return canvas_owned_; }

 private:
  friend class Registry;
  ObjectKind kind_;
  bool canvas_owned_;
  int refs_ = 1;
};

class Registry {
 public:
  // Makes the object reachable through its reference. Takes ownership.
  static void Add(Object* object);
  // Removes and deletes a canvas-owned object regardless of its count.
  static void Destroy(Object* object);
  // The live object behind a reference, or null.
  static Object* Find(const void* ref);
  template <class T>
  static T* Find(const void* ref) {
    Object* o = Find(ref);
    return o != nullptr && o->Kind() == T::kKind ? static_cast<T*>(o) : nullptr;
  }
  // False when the reference is not a live object, or when a release would
  // drop the reference a canvas holds on its own objects.
  static bool Retain(const void* ref);
  static bool Release(const void* ref);
  // Objects made through a supplier and not yet released.
  static std::size_t LiveCreatedObjects();
};

// Polylines of a path in user coordinates; curves are flattened on entry.
struct PathGeometry {
  std::vector<std::vector<PointF>> subpaths;
  std::vector<bool> closed;

  void MoveTo(PointF p);
  void LineTo(PointF p);
  void BezierTo(PointF c1, PointF c2, PointF end);
  void AddRect(const DRAWBOT_RectF32& rect);
  // Angles in degrees from the +x axis, positive towards +y (clockwise on screen).
  void AddArc(PointF center, float radius, float start_deg, float sweep_deg);
  void Close();
  std::vector<std::vector<PointF>> Transformed(const Affine& ctm) const;

 private:
  bool has_current_ = false;
  PointF current_;
  bool OpenSubpath() const { return has_current_ && !subpaths.empty() && !closed.back(); }
};

struct Brush : Object {
  static constexpr ObjectKind kKind = ObjectKind::Brush;
  explicit Brush(const DRAWBOT_ColorRGBA& c) : Object(kKind, false), color(c) {}
  DRAWBOT_ColorRGBA color;
};

struct Pen : Object {
  static constexpr ObjectKind kKind = ObjectKind::Pen;
  Pen(const DRAWBOT_ColorRGBA& c, float s) : Object(kKind, false), color(c), size(s) {}
  DRAWBOT_ColorRGBA color;
  float size;
  std::vector<float> dashes;  // on, off, on, ... lengths; empty for a solid line
};

struct Font : Object {
  static constexpr ObjectKind kKind = ObjectKind::Font;
  Font(float s, std::shared_ptr<const FontFace> f) : Object(kKind, false), size(s), face(std::move(f)) {}
  float size;
  std::shared_ptr<const FontFace> face;  // null when no font file could be read
};

struct Image : Object {
  static constexpr ObjectKind kKind = ObjectKind::Image;
  Image() : Object(kKind, false) {}
  ImagePixels pixels;
  float scale_factor = 1.0f;
};

struct Path : Object {
  static constexpr ObjectKind kKind = ObjectKind::Path;
  Path() : Object(kKind, false) {}
  PathGeometry geometry;
};

struct SurfaceState {
  Affine ctm;
  Box clip;
  DRAWBOT_InterpolationPolicy interpolation = kDRAWBOT_InterpolationPolicy_Med;
  DRAWBOT_AntiAliasPolicy antialias = kDRAWBOT_AntiAliasPolicy_Med;
};

struct Surface : Object {
  static constexpr ObjectKind kKind = ObjectKind::Surface;
  explicit Surface(const RasterTarget& t) : Object(kKind, true), target(t) { state.clip = t.Full(); }
  RasterTarget target;
  SurfaceState state;
  std::vector<SurfaceState> saved;
  float screen_scale = 1.0f;
};

struct Supplier : Object {
  static constexpr ObjectKind kKind = ObjectKind::Supplier;
  Supplier() : Object(kKind, true) {}
};

struct DrawContext : Object {
  static constexpr ObjectKind kKind = ObjectKind::Draw;
  DrawContext(Supplier* s, Surface* f) : Object(kKind, true), supplier(s), surface(f) {}
  Supplier* supplier;
  Surface* surface;
};

// Decodes a caller's pixel buffer in one of the Drawbot layouts into
// straight-alpha RGBA. False for an unknown layout.
bool DecodePixels(int width, int height, int row_bytes, DRAWBOT_PixelLayout layout, const void* data,
                  ImagePixels* out);

// Outline polygons of a stroked path (device coordinates, all wound the same
// way so that a non-zero fill gives their union).
std::vector<std::vector<PointF>> StrokeOutline(const std::vector<std::vector<PointF>>& polylines,
                                               const std::vector<bool>& closed, float width,
                                               const std::vector<float>& dashes);

}  // namespace dshost::drawbot
