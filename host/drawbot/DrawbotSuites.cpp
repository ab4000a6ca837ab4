#include "host/drawbot/DrawbotSuites.h"

#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <new>

#include "host/drawbot/DrawbotObjects.h"
#include "host/drawbot/DrawbotText.h"

namespace dshost {
namespace {

using drawbot::Registry;

// Size the host's own panel text uses.
constexpr float kDefaultFontSize = 11.0f;
// Deeper than any sane drawing code nests; catches unbalanced pushes in a loop.
constexpr std::size_t kMaxStateDepth = 256;

// ---------------------------------------------------------------------------
// Call accounting and fault injection.

struct Monitor {
  std::mutex mutex;
  std::uint64_t sequence = 0;
  std::map<std::string, std::uint64_t, std::less<>> counts;
  DrawbotFaultHook hook;
  std::map<std::uint64_t, SPErr> fail_numbers;
  std::map<std::string, SPErr, std::less<>> fail_names;
  std::atomic<std::uint64_t> failed{0};
};

Monitor& TheMonitor() {
  static Monitor monitor;
  return monitor;
}

SPErr BeginCall(const char* suite, const char* function) {
  Monitor& m = TheMonitor();
  DrawbotFaultHook hook;
  DrawbotCall call{suite, function, 0};
  {
    std::lock_guard<std::mutex> lock(m.mutex);
    call.sequence = ++m.sequence;
    auto it = m.counts.find(std::string_view(function));
    if (it == m.counts.end()) it = m.counts.emplace(function, 0).first;
    ++it->second;
    if (auto n = m.fail_numbers.find(call.sequence); n != m.fail_numbers.end()) {
      const SPErr err = n->second;
      m.fail_numbers.erase(n);
      return err;
    }
    if (auto n = m.fail_names.find(std::string_view(function)); n != m.fail_names.end()) return n->second;
    hook = m.hook;
  }
  // Called without the lock so that a hook may use the functions of this file.
  return hook ? hook(call) : kSPNoError;
}

// Runs one suite function: counts it, applies injected faults, and turns any
// exception into an error code so that none reaches the plug-in.
template <class Body>
SPErr Run(const char* suite, const char* function, Body&& body) noexcept {
  SPErr err = kSPNoError;
  try {
    err = BeginCall(suite, function);
    if (err == kSPNoError) err = body();
  } catch (const std::bad_alloc&) {
    err = kDrawbotErrOutOfMemory;
  } catch (...) {
    err = kDrawbotErrInternal;
  }
  if (err != kSPNoError) TheMonitor().failed.fetch_add(1);
  return err;
}

template <class T>
void ClearOut(T* out) {
  if (out != nullptr) *out = T{};
}

template <class Ref>
Ref ToRef(drawbot::Object* object) {
  return reinterpret_cast<Ref>(object);
}

template <class Ref, class T>
SPErr Publish(std::unique_ptr<T> object, Ref* out) {
  drawbot::Object* base = object.get();
  Registry::Add(base);
  object.release();
  *out = ToRef<Ref>(base);
  return kSPNoError;
}

bool Finite(float v) { return std::isfinite(v); }

bool ValidColor(const DRAWBOT_ColorRGBA* c) {
  return c != nullptr && Finite(c->red) && Finite(c->green) && Finite(c->blue) && Finite(c->alpha);
}

bool ValidRect(const DRAWBOT_RectF32* r) {
  return r != nullptr && Finite(r->left) && Finite(r->top) && Finite(r->width) && Finite(r->height);
}

bool ValidPoint(const DRAWBOT_PointF32* p) { return p != nullptr && Finite(p->x) && Finite(p->y); }

// Scale of the current transform, for sizes given in drawing units.
float LinearScale(const drawbot::Affine& ctm) { return std::sqrt(std::fabs(ctm.Determinant())); }

drawbot::Box DeviceBounds(const DRAWBOT_RectF32& r, const drawbot::Affine& ctm) {
  const float x1 = r.left + r.width, y1 = r.top + r.height;
  return drawbot::Box::Bounds({{ctm.Apply({r.left, r.top}), ctm.Apply({x1, r.top}), ctm.Apply({x1, y1}),
                                ctm.Apply({r.left, y1})}});
}

bool ToFillRule(DRAWBOT_FillType type, drawbot::FillRule* rule) {
  if (type == kDRAWBOT_FillType_EvenOdd) {
    *rule = drawbot::FillRule::EvenOdd;
    return true;
  }
  if (type == kDRAWBOT_FillType_Winding) {
    *rule = drawbot::FillRule::NonZero;
    return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// DRAWBOT Draw Suite

SPErr GetSupplier(DRAWBOT_DrawRef in_drawbot_ref, DRAWBOT_SupplierRef* out_supplierP) {
  ClearOut(out_supplierP);
  return Run("Draw", "GetSupplier", [&]() -> SPErr {
    auto* context = Registry::Find<drawbot::DrawContext>(in_drawbot_ref);
    if (context == nullptr || out_supplierP == nullptr) return kDrawbotErrBadParameter;
    *out_supplierP = ToRef<DRAWBOT_SupplierRef>(context->supplier);
    return kSPNoError;
  });
}

SPErr GetSurface(DRAWBOT_DrawRef in_drawbot_ref, DRAWBOT_SurfaceRef* out_surfaceP) {
  ClearOut(out_surfaceP);
  return Run("Draw", "GetSurface", [&]() -> SPErr {
    auto* context = Registry::Find<drawbot::DrawContext>(in_drawbot_ref);
    if (context == nullptr || out_surfaceP == nullptr) return kDrawbotErrBadParameter;
    *out_surfaceP = ToRef<DRAWBOT_SurfaceRef>(context->surface);
    return kSPNoError;
  });
}

// ---------------------------------------------------------------------------
// DRAWBOT Supplier Suite

bool IsSupplier(DRAWBOT_SupplierRef ref) { return Registry::Find<drawbot::Supplier>(ref) != nullptr; }

SPErr NewPen(DRAWBOT_SupplierRef in_supplier_ref, const DRAWBOT_ColorRGBA* in_colorP, float in_size,
             DRAWBOT_PenRef* out_penP) {
  ClearOut(out_penP);
  return Run("Supplier", "NewPen", [&]() -> SPErr {
    if (!IsSupplier(in_supplier_ref) || !ValidColor(in_colorP) || !Finite(in_size) || in_size < 0.0f ||
        out_penP == nullptr) {
      return kDrawbotErrBadParameter;
    }
    return Publish(std::make_unique<drawbot::Pen>(*in_colorP, in_size), out_penP);
  });
}

SPErr NewBrush(DRAWBOT_SupplierRef in_supplier_ref, const DRAWBOT_ColorRGBA* in_colorP, DRAWBOT_BrushRef* out_brushP) {
  ClearOut(out_brushP);
  return Run("Supplier", "NewBrush", [&]() -> SPErr {
    if (!IsSupplier(in_supplier_ref) || !ValidColor(in_colorP) || out_brushP == nullptr) {
      return kDrawbotErrBadParameter;
    }
    return Publish(std::make_unique<drawbot::Brush>(*in_colorP), out_brushP);
  });
}

SPErr SupportsText(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_Boolean* out_supports_textB) {
  ClearOut(out_supports_textB);
  return Run("Supplier", "SupportsText", [&]() -> SPErr {
    if (!IsSupplier(in_supplier_ref) || out_supports_textB == nullptr) return kDrawbotErrBadParameter;
    *out_supports_textB = drawbot::LoadDefaultFontFace() != nullptr ? 1 : 0;
    return kSPNoError;
  });
}

SPErr GetDefaultFontSize(DRAWBOT_SupplierRef in_supplier_ref, float* out_font_sizeF) {
  ClearOut(out_font_sizeF);
  return Run("Supplier", "GetDefaultFontSize", [&]() -> SPErr {
    if (!IsSupplier(in_supplier_ref) || out_font_sizeF == nullptr) return kDrawbotErrBadParameter;
    *out_font_sizeF = kDefaultFontSize;
    return kSPNoError;
  });
}

SPErr NewDefaultFont(DRAWBOT_SupplierRef in_supplier_ref, float in_font_sizeF, DRAWBOT_FontRef* out_fontP) {
  ClearOut(out_fontP);
  return Run("Supplier", "NewDefaultFont", [&]() -> SPErr {
    if (!IsSupplier(in_supplier_ref) || !Finite(in_font_sizeF) || in_font_sizeF <= 0.0f || out_fontP == nullptr) {
      return kDrawbotErrBadParameter;
    }
    // A missing font file is reported by DrawString, where text is needed.
    return Publish(std::make_unique<drawbot::Font>(in_font_sizeF, drawbot::LoadDefaultFontFace()), out_fontP);
  });
}

SPErr NewImageFromBuffer(DRAWBOT_SupplierRef in_supplier_ref, int in_width, int in_height, int in_row_bytes,
                         DRAWBOT_PixelLayout in_pl, const void* in_dataP, DRAWBOT_ImageRef* out_imageP) {
  ClearOut(out_imageP);
  return Run("Supplier", "NewImageFromBuffer", [&]() -> SPErr {
    if (!IsSupplier(in_supplier_ref) || out_imageP == nullptr) return kDrawbotErrBadParameter;
    auto image = std::make_unique<drawbot::Image>();
    if (!drawbot::DecodePixels(in_width, in_height, in_row_bytes, in_pl, in_dataP, &image->pixels)) {
      return kDrawbotErrBadParameter;
    }
    return Publish(std::move(image), out_imageP);
  });
}

SPErr NewPath(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_PathRef* out_pathP) {
  ClearOut(out_pathP);
  return Run("Supplier", "NewPath", [&]() -> SPErr {
    if (!IsSupplier(in_supplier_ref) || out_pathP == nullptr) return kDrawbotErrBadParameter;
    return Publish(std::make_unique<drawbot::Path>(), out_pathP);
  });
}

SPErr AnswerFlag(const char* function, DRAWBOT_SupplierRef supplier, DRAWBOT_Boolean* out, bool value) {
  ClearOut(out);
  return Run("Supplier", function, [&]() -> SPErr {
    if (!IsSupplier(supplier) || out == nullptr) return kDrawbotErrBadParameter;
    *out = value ? 1 : 0;
    return kSPNoError;
  });
}

// Every layout is accepted; BGRA is the native order of the Windows host.
SPErr SupportsPixelLayoutBGRA(DRAWBOT_SupplierRef s, DRAWBOT_Boolean* out) {
  return AnswerFlag("SupportsPixelLayoutBGRA", s, out, true);
}
SPErr PrefersPixelLayoutBGRA(DRAWBOT_SupplierRef s, DRAWBOT_Boolean* out) {
  return AnswerFlag("PrefersPixelLayoutBGRA", s, out, true);
}
SPErr SupportsPixelLayoutARGB(DRAWBOT_SupplierRef s, DRAWBOT_Boolean* out) {
  return AnswerFlag("SupportsPixelLayoutARGB", s, out, true);
}
SPErr PrefersPixelLayoutARGB(DRAWBOT_SupplierRef s, DRAWBOT_Boolean* out) {
  return AnswerFlag("PrefersPixelLayoutARGB", s, out, false);
}

SPErr RetainObject(DRAWBOT_ObjectRef in_obj_ref) {
  return Run("Supplier", "RetainObject",
             [&]() -> SPErr { return Registry::Retain(in_obj_ref) ? kSPNoError : kDrawbotErrBadParameter; });
}

SPErr ReleaseObject(DRAWBOT_ObjectRef in_obj_ref) {
  return Run("Supplier", "ReleaseObject",
             [&]() -> SPErr { return Registry::Release(in_obj_ref) ? kSPNoError : kDrawbotErrBadParameter; });
}

// ---------------------------------------------------------------------------
// DRAWBOT Surface Suite

template <class Body>
SPErr OnSurface(const char* function, DRAWBOT_SurfaceRef ref, Body&& body) {
  return Run("Surface", function, [&]() -> SPErr {
    auto* surface = Registry::Find<drawbot::Surface>(ref);
    if (surface == nullptr) return kDrawbotErrBadParameter;
    return body(*surface);
  });
}

SPErr PushStateStack(DRAWBOT_SurfaceRef in_surface_ref) {
  return OnSurface("PushStateStack", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (s.saved.size() >= kMaxStateDepth) return kDrawbotErrBadParameter;
    s.saved.push_back(s.state);
    return kSPNoError;
  });
}

SPErr PopStateStack(DRAWBOT_SurfaceRef in_surface_ref) {
  return OnSurface("PopStateStack", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (s.saved.empty()) return kDrawbotErrBadParameter;
    s.state = s.saved.back();
    s.saved.pop_back();
    return kSPNoError;
  });
}

SPErr PaintRect(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_ColorRGBA* in_colorP,
                const DRAWBOT_RectF32* in_rectPR) {
  return OnSurface("PaintRect", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (!ValidColor(in_colorP) || !ValidRect(in_rectPR)) return kDrawbotErrBadParameter;
    drawbot::PathGeometry rect;
    rect.AddRect(*in_rectPR);
    drawbot::FillPolygons(s.target, rect.Transformed(s.state.ctm), drawbot::FillRule::NonZero, *in_colorP,
                          s.state.clip, s.state.antialias);
    return kSPNoError;
  });
}

SPErr FillPath(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_BrushRef in_brush_ref, DRAWBOT_PathRef in_path_ref,
               DRAWBOT_FillType in_fill_type) {
  return OnSurface("FillPath", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    auto* brush = Registry::Find<drawbot::Brush>(in_brush_ref);
    auto* path = Registry::Find<drawbot::Path>(in_path_ref);
    drawbot::FillRule rule{};
    if (brush == nullptr || path == nullptr || !ToFillRule(in_fill_type, &rule)) return kDrawbotErrBadParameter;
    drawbot::FillPolygons(s.target, path->geometry.Transformed(s.state.ctm), rule, brush->color, s.state.clip,
                          s.state.antialias);
    return kSPNoError;
  });
}

SPErr StrokePath(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_PenRef in_pen_ref, DRAWBOT_PathRef in_path_ref) {
  return OnSurface("StrokePath", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    auto* pen = Registry::Find<drawbot::Pen>(in_pen_ref);
    auto* path = Registry::Find<drawbot::Path>(in_path_ref);
    if (pen == nullptr || path == nullptr) return kDrawbotErrBadParameter;
    const float scale = LinearScale(s.state.ctm);
    std::vector<float> dashes = pen->dashes;
    for (float& d : dashes) d *= scale;
    const auto outline =
        drawbot::StrokeOutline(path->geometry.Transformed(s.state.ctm), path->geometry.closed, pen->size * scale, dashes);
    drawbot::FillPolygons(s.target, outline, drawbot::FillRule::NonZero, pen->color, s.state.clip, s.state.antialias);
    return kSPNoError;
  });
}

// Clipping is to the bounding box of the rectangle as the current transform
// places it.
SPErr Clip(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_SupplierRef in_supplier_ref, const DRAWBOT_Rect32* in_rectPR) {
  return OnSurface("Clip", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (!IsSupplier(in_supplier_ref) || in_rectPR == nullptr || in_rectPR->width < 0 || in_rectPR->height < 0) {
      return kDrawbotErrBadParameter;
    }
    const float x0 = static_cast<float>(in_rectPR->left);
    const float y0 = static_cast<float>(in_rectPR->top);
    const float x1 = x0 + static_cast<float>(in_rectPR->width);
    const float y1 = y0 + static_cast<float>(in_rectPR->height);
    const drawbot::Affine& ctm = s.state.ctm;
    drawbot::Box bounds =
        drawbot::Box::Bounds({{ctm.Apply({x0, y0}), ctm.Apply({x1, y0}), ctm.Apply({x1, y1}), ctm.Apply({x0, y1})}});
    if (bounds.Empty()) bounds = {0, 0, 0, 0};
    s.state.clip = s.state.clip.Intersect(bounds);
    return kSPNoError;
  });
}

SPErr GetClipBounds(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_RectF32* out_rectPR) {
  ClearOut(out_rectPR);
  return OnSurface("GetClipBounds", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (out_rectPR == nullptr) return kDrawbotErrBadParameter;
    drawbot::Affine inverse;
    if (!s.state.ctm.Invert(&inverse)) return kDrawbotErrBadParameter;
    const drawbot::Box clip = s.state.clip;
    if (clip.Empty()) return kSPNoError;
    const drawbot::Box user = drawbot::Box::Bounds({{inverse.Apply({clip.x0, clip.y0}), inverse.Apply({clip.x1, clip.y0}),
                                                     inverse.Apply({clip.x1, clip.y1}), inverse.Apply({clip.x0, clip.y1})}});
    *out_rectPR = {user.x0, user.y0, user.x1 - user.x0, user.y1 - user.y0};
    return kSPNoError;
  });
}

SPErr IsWithinClipBounds(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_RectF32* in_rectPR,
                         DRAWBOT_Boolean* out_withinPB) {
  ClearOut(out_withinPB);
  return OnSurface("IsWithinClipBounds", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (!ValidRect(in_rectPR) || out_withinPB == nullptr) return kDrawbotErrBadParameter;
    *out_withinPB = DeviceBounds(*in_rectPR, s.state.ctm).Intersect(s.state.clip).Empty() ? 0 : 1;
    return kSPNoError;
  });
}

SPErr Transform(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_MatrixF32* in_matrixP) {
  return OnSurface("Transform", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (in_matrixP == nullptr) return kDrawbotErrBadParameter;
    const drawbot::Affine m = drawbot::Affine::FromMatrix(*in_matrixP);
    for (float v : {m.a, m.b, m.c, m.d, m.tx, m.ty}) {
      if (!Finite(v)) return kDrawbotErrBadParameter;
    }
    s.state.ctm = s.state.ctm.After(m);
    return kSPNoError;
  });
}

// Text is laid out in device pixels: the origin goes through the transform
// and the size is scaled by it; rotation and shear are not applied to glyphs.
SPErr DrawString(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_BrushRef in_brush_ref, DRAWBOT_FontRef in_font_ref,
                 const DRAWBOT_UTF16Char* in_stringP, const DRAWBOT_PointF32* in_originP,
                 DRAWBOT_TextAlignment in_alignment_style, DRAWBOT_TextTruncation in_truncation_style,
                 float in_truncation_width) {
  return OnSurface("DrawString", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    auto* brush = Registry::Find<drawbot::Brush>(in_brush_ref);
    auto* font = Registry::Find<drawbot::Font>(in_font_ref);
    if (brush == nullptr || font == nullptr || in_stringP == nullptr || !ValidPoint(in_originP) ||
        in_alignment_style < kDRAWBOT_TextAlignment_Left || in_alignment_style > kDRAWBOT_TextAlignment_Right ||
        in_truncation_style < kDRAWBOT_TextTruncation_None ||
        in_truncation_style > kDRAWBOT_TextTruncation_PathEllipsis || !Finite(in_truncation_width)) {
      return kDrawbotErrBadParameter;
    }
    if (font->face == nullptr) return kDrawbotErrNoFont;

    std::u32string text;
    for (char32_t cp : drawbot::DecodeUtf16(in_stringP)) {
      if (cp >= 0x20 && cp != 0x7F) text.push_back(cp);
    }
    const float scale = LinearScale(s.state.ctm);
    const float size = font->size * scale;
    if (!(size > 0.0f)) return kSPNoError;
    text = drawbot::TruncateText(*font->face, size, std::move(text), in_truncation_style, in_truncation_width * scale);
    drawbot::PointF origin = s.state.ctm.Apply({in_originP->x, in_originP->y});
    const float width = font->face->Measure(text, size);
    if (in_alignment_style == kDRAWBOT_TextAlignment_Center) origin.x -= width * 0.5f;
    if (in_alignment_style == kDRAWBOT_TextAlignment_Right) origin.x -= width;
    font->face->Draw(s.target, text, size, origin, brush->color, s.state.clip,
                     s.state.antialias != kDRAWBOT_AntiAliasPolicy_None);
    return kSPNoError;
  });
}

SPErr DrawImage(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_ImageRef in_imageRef, const DRAWBOT_PointF32* in_originP,
                float in_alpha) {
  return OnSurface("DrawImage", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    auto* image = Registry::Find<drawbot::Image>(in_imageRef);
    if (image == nullptr || !ValidPoint(in_originP) || !Finite(in_alpha)) return kDrawbotErrBadParameter;
    drawbot::DrawImagePixels(s.target, image->pixels, {in_originP->x, in_originP->y}, image->scale_factor, in_alpha,
                             s.state.ctm, s.state.clip, s.state.interpolation);
    return kSPNoError;
  });
}

SPErr SetInterpolationPolicy(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_InterpolationPolicy in_policy) {
  return OnSurface("SetInterpolationPolicy", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (in_policy < kDRAWBOT_InterpolationPolicy_None || in_policy > kDRAWBOT_InterpolationPolicy_High) {
      return kDrawbotErrBadParameter;
    }
    s.state.interpolation = in_policy;
    return kSPNoError;
  });
}

SPErr GetInterpolationPolicy(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_InterpolationPolicy* out_policyP) {
  ClearOut(out_policyP);
  return OnSurface("GetInterpolationPolicy", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (out_policyP == nullptr) return kDrawbotErrBadParameter;
    *out_policyP = s.state.interpolation;
    return kSPNoError;
  });
}

SPErr SetAntiAliasPolicy(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_AntiAliasPolicy in_policy) {
  return OnSurface("SetAntiAliasPolicy", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (in_policy < kDRAWBOT_AntiAliasPolicy_None || in_policy > kDRAWBOT_AntiAliasPolicy_High) {
      return kDrawbotErrBadParameter;
    }
    s.state.antialias = in_policy;
    return kSPNoError;
  });
}

SPErr GetAntiAliasPolicy(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_AntiAliasPolicy* out_policyP) {
  ClearOut(out_policyP);
  return OnSurface("GetAntiAliasPolicy", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (out_policyP == nullptr) return kDrawbotErrBadParameter;
    *out_policyP = s.state.antialias;
    return kSPNoError;
  });
}

// Drawing goes straight into the canvas; there is nothing to flush.
SPErr Flush(DRAWBOT_SurfaceRef in_surface_ref) {
  return OnSurface("Flush", in_surface_ref, [](drawbot::Surface&) -> SPErr { return kSPNoError; });
}

SPErr GetTransformToScreenScale(DRAWBOT_SurfaceRef in_surface_ref, float* out_scale) {
  ClearOut(out_scale);
  return OnSurface("GetTransformToScreenScale", in_surface_ref, [&](drawbot::Surface& s) -> SPErr {
    if (out_scale == nullptr) return kDrawbotErrBadParameter;
    *out_scale = s.screen_scale;
    return kSPNoError;
  });
}

// ---------------------------------------------------------------------------
// DRAWBOT Path Suite

template <class Body>
SPErr OnPath(const char* function, DRAWBOT_PathRef ref, Body&& body) {
  return Run("Path", function, [&]() -> SPErr {
    auto* path = Registry::Find<drawbot::Path>(ref);
    if (path == nullptr) return kDrawbotErrBadParameter;
    return body(path->geometry);
  });
}

SPErr MoveTo(DRAWBOT_PathRef in_path_ref, float in_x, float in_y) {
  return OnPath("MoveTo", in_path_ref, [&](drawbot::PathGeometry& g) -> SPErr {
    if (!Finite(in_x) || !Finite(in_y)) return kDrawbotErrBadParameter;
    g.MoveTo({in_x, in_y});
    return kSPNoError;
  });
}

SPErr LineTo(DRAWBOT_PathRef in_path_ref, float in_x, float in_y) {
  return OnPath("LineTo", in_path_ref, [&](drawbot::PathGeometry& g) -> SPErr {
    if (!Finite(in_x) || !Finite(in_y)) return kDrawbotErrBadParameter;
    g.LineTo({in_x, in_y});
    return kSPNoError;
  });
}

SPErr BezierTo(DRAWBOT_PathRef in_path_ref, const DRAWBOT_PointF32* in_pt1P, const DRAWBOT_PointF32* in_pt2P,
               const DRAWBOT_PointF32* in_pt3P) {
  return OnPath("BezierTo", in_path_ref, [&](drawbot::PathGeometry& g) -> SPErr {
    if (!ValidPoint(in_pt1P) || !ValidPoint(in_pt2P) || !ValidPoint(in_pt3P)) return kDrawbotErrBadParameter;
    g.BezierTo({in_pt1P->x, in_pt1P->y}, {in_pt2P->x, in_pt2P->y}, {in_pt3P->x, in_pt3P->y});
    return kSPNoError;
  });
}

SPErr AddRect(DRAWBOT_PathRef in_path_ref, const DRAWBOT_RectF32* in_rectPR) {
  return OnPath("AddRect", in_path_ref, [&](drawbot::PathGeometry& g) -> SPErr {
    if (!ValidRect(in_rectPR)) return kDrawbotErrBadParameter;
    g.AddRect(*in_rectPR);
    return kSPNoError;
  });
}

SPErr AddArc(DRAWBOT_PathRef in_path_ref, const DRAWBOT_PointF32* in_centerP, float in_radius, float in_start_angle,
             float in_sweep) {
  return OnPath("AddArc", in_path_ref, [&](drawbot::PathGeometry& g) -> SPErr {
    if (!ValidPoint(in_centerP) || !Finite(in_radius) || in_radius < 0.0f || !Finite(in_start_angle) ||
        !Finite(in_sweep)) {
      return kDrawbotErrBadParameter;
    }
    g.AddArc({in_centerP->x, in_centerP->y}, in_radius, in_start_angle, in_sweep);
    return kSPNoError;
  });
}

SPErr Close(DRAWBOT_PathRef in_path_ref) {
  return OnPath("Close", in_path_ref, [&](drawbot::PathGeometry& g) -> SPErr {
    g.Close();
    return kSPNoError;
  });
}

// ---------------------------------------------------------------------------
// DRAWBOT Pen Suite and DRAWBOT Image Suite

SPErr SetDashPattern(DRAWBOT_PenRef in_pen_ref, const float* in_dashesP, int32_t in_dashes_size) {
  return Run("Pen", "SetDashPattern", [&]() -> SPErr {
    auto* pen = Registry::Find<drawbot::Pen>(in_pen_ref);
    if (pen == nullptr || in_dashes_size < 0 || (in_dashes_size > 0 && in_dashesP == nullptr)) {
      return kDrawbotErrBadParameter;
    }
    std::vector<float> dashes(in_dashesP, in_dashesP + in_dashes_size);
    for (float d : dashes) {
      if (!Finite(d) || d < 0.0f) return kDrawbotErrBadParameter;
    }
    pen->dashes = std::move(dashes);
    return kSPNoError;
  });
}

SPErr SetScaleFactor(DRAWBOT_ImageRef in_image_ref, float in_scale_factor) {
  return Run("Image", "SetScaleFactor", [&]() -> SPErr {
    auto* image = Registry::Find<drawbot::Image>(in_image_ref);
    if (image == nullptr || !Finite(in_scale_factor) || in_scale_factor <= 0.0f) return kDrawbotErrBadParameter;
    image->scale_factor = in_scale_factor;
    return kSPNoError;
  });
}

// ---------------------------------------------------------------------------
// Tables

const DRAWBOT_DrawbotSuite1 kDrawSuite = {GetSupplier, GetSurface};

const DRAWBOT_SupplierSuite1 kSupplierSuite = {
    NewPen,          NewBrush,
    SupportsText,    GetDefaultFontSize,
    NewDefaultFont,  NewImageFromBuffer,
    NewPath,         SupportsPixelLayoutBGRA,
    PrefersPixelLayoutBGRA, SupportsPixelLayoutARGB,
    PrefersPixelLayoutARGB, RetainObject,
    ReleaseObject,
};

const DRAWBOT_SurfaceSuite2 kSurfaceSuite = {
    PushStateStack,         PopStateStack,      PaintRect,          FillPath,
    StrokePath,             Clip,               GetClipBounds,      IsWithinClipBounds,
    Transform,              DrawString,         DrawImage,          SetInterpolationPolicy,
    GetInterpolationPolicy, SetAntiAliasPolicy, GetAntiAliasPolicy, Flush,
    GetTransformToScreenScale,
};

const DRAWBOT_PathSuite1 kPathSuite = {MoveTo, LineTo, BezierTo, AddRect, AddArc, Close};
const DRAWBOT_PenSuite1 kPenSuite = {SetDashPattern};
const DRAWBOT_ImageSuite1 kImageSuite = {SetScaleFactor};

}  // namespace

const DRAWBOT_DrawbotSuite1* DrawbotDrawSuite() { return &kDrawSuite; }
const DRAWBOT_SupplierSuite1* DrawbotSupplierSuite() { return &kSupplierSuite; }
const DRAWBOT_SurfaceSuite2* DrawbotSurfaceSuite() { return &kSurfaceSuite; }
const DRAWBOT_PathSuite1* DrawbotPathSuite() { return &kPathSuite; }
const DRAWBOT_PenSuite1* DrawbotPenSuite() { return &kPenSuite; }
const DRAWBOT_ImageSuite1* DrawbotImageSuite() { return &kImageSuite; }

const std::vector<DrawbotSuiteEntry>& DrawbotSuiteEntries() {
  static const std::vector<DrawbotSuiteEntry> entries = {
      {kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_Version1, &kDrawSuite},
      {kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_Version1, &kSupplierSuite},
      {kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version1, &kSurfaceSuite},
      {kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_Version2, &kSurfaceSuite},
      {kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_Version1, &kPathSuite},
      {kDRAWBOT_PenSuite, kDRAWBOT_PenSuite_Version1, &kPenSuite},
      {kDRAWBOT_ImageSuite, kDRAWBOT_ImageSuite_Version1, &kImageSuite},
  };
  return entries;
}

DRAWBOT_Suites DrawbotSuiteSet() {
  DRAWBOT_Suites suites{};
  suites.drawbot_suiteP = const_cast<DRAWBOT_DrawbotSuite1*>(&kDrawSuite);
  suites.supplier_suiteP = const_cast<DRAWBOT_SupplierSuite1*>(&kSupplierSuite);
  suites.surface_suiteP = const_cast<DRAWBOT_SurfaceSuite2*>(&kSurfaceSuite);
  suites.path_suiteP = const_cast<DRAWBOT_PathSuite1*>(&kPathSuite);
  suites.pen_suiteP = const_cast<DRAWBOT_PenSuite1*>(&kPenSuite);
  suites.image_suiteP = const_cast<DRAWBOT_ImageSuite1*>(&kImageSuite);
  return suites;
}

void SetDrawbotFaultHook(DrawbotFaultHook hook) {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.hook = std::move(hook);
}

void FailDrawbotCallNumber(std::uint64_t sequence, SPErr error) {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.fail_numbers[sequence] = error;
}

void FailDrawbotCallsNamed(const std::string& function, SPErr error) {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.fail_names[function] = error;
}

void ClearDrawbotFaults() {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.hook = nullptr;
  m.fail_numbers.clear();
  m.fail_names.clear();
}

std::uint64_t DrawbotCallCount(std::string_view function) {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  auto it = m.counts.find(function);
  return it == m.counts.end() ? 0 : it->second;
}

std::uint64_t DrawbotTotalCallCount() {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  return m.sequence;
}

std::uint64_t DrawbotFailedCallCount() { return TheMonitor().failed.load(); }

std::map<std::string, std::uint64_t> DrawbotCallCounts() {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  return {m.counts.begin(), m.counts.end()};
}

void ResetDrawbotCallCounters() {
  Monitor& m = TheMonitor();
  std::lock_guard<std::mutex> lock(m.mutex);
  m.sequence = 0;
  m.counts.clear();
  m.failed = 0;
}

std::size_t DrawbotLiveObjectCount() { return Registry::LiveCreatedObjects(); }

}  // namespace dshost
