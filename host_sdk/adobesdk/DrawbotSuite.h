// Drawbot: the host's 2D drawing interface for custom UI (Effect Controls
// panel, Composition and Layer windows). Our own declarations, name-compatible
// with the vendor's header of this name.
//
// A plug-in gets a DRAWBOT_DrawRef from the host for the context it draws in,
// asks it for a supplier (factory of pens, brushes, fonts, images, paths) and
// a surface (the drawing target), and releases every object it made with a
// supplier's New* call through ReleaseObject. Supplier and surface belong to
// the draw reference and are not released by the plug-in.
#pragma once
#include <cstddef>
#include <cstdint>

#include "SPBasic.h"

#pragma pack(push, 8)

// Opaque references. Distinct struct types so that a brush cannot be passed
// where a path is expected without a cast; every one converts to
// DRAWBOT_ObjectRef by an explicit cast for RetainObject/ReleaseObject.
typedef struct _DRAWBOT_DrawRef* DRAWBOT_DrawRef;
typedef struct _DRAWBOT_SupplierRef* DRAWBOT_SupplierRef;
typedef struct _DRAWBOT_SurfaceRef* DRAWBOT_SurfaceRef;
typedef struct _DRAWBOT_PenRef* DRAWBOT_PenRef;
typedef struct _DRAWBOT_BrushRef* DRAWBOT_BrushRef;
typedef struct _DRAWBOT_FontRef* DRAWBOT_FontRef;
typedef struct _DRAWBOT_ImageRef* DRAWBOT_ImageRef;
typedef struct _DRAWBOT_PathRef* DRAWBOT_PathRef;
typedef struct _DRAWBOT_ObjectRef* DRAWBOT_ObjectRef;

// UTF-16 code unit; 16 bits on every platform (wchar_t is 32 bits on Linux).
typedef uint16_t DRAWBOT_UTF16Char;
typedef uint8_t DRAWBOT_Boolean;

typedef struct {
  float red;
  float green;
  float blue;
  float alpha;
} DRAWBOT_ColorRGBA;

typedef struct {
  float x;
  float y;
} DRAWBOT_PointF32;

// Rectangles are origin plus size, not two corners.
typedef struct {
  float left;
  float top;
  float width;
  float height;
} DRAWBOT_RectF32;

typedef struct {
  int left;
  int top;
  int width;
  int height;
} DRAWBOT_Rect32;

// Affine transform, row-vector convention:
// x' = x * mat[0][0] + y * mat[1][0] + mat[2][0]
// y' = x * mat[0][1] + y * mat[1][1] + mat[2][1]
// The third column is (0, 0, 1).
typedef struct {
  float mat[3][3];
} DRAWBOT_MatrixF32;

typedef int32_t DRAWBOT_PixelLayout;
enum {
  kDRAWBOT_PixelLayout_24RGB = 0,
  kDRAWBOT_PixelLayout_24BGR = 1,
  kDRAWBOT_PixelLayout_32RGB = 2,  // 4 bytes: ignored, R, G, B
  kDRAWBOT_PixelLayout_32BGR = 3,  // 4 bytes: B, G, R, ignored
  kDRAWBOT_PixelLayout_32ARGB_Straight = 4,
  kDRAWBOT_PixelLayout_32ARGB_Premul = 5,
  kDRAWBOT_PixelLayout_32BGRA_Straight = 6,
  kDRAWBOT_PixelLayout_32BGRA_Premul = 7
};

typedef int32_t DRAWBOT_FillType;
enum {
  kDRAWBOT_FillType_EvenOdd = 0,
  kDRAWBOT_FillType_Winding = 1,
  kDRAWBOT_FillType_Default = kDRAWBOT_FillType_Winding
};

typedef int32_t DRAWBOT_TextAlignment;
enum {
  kDRAWBOT_TextAlignment_Left = 0,
  kDRAWBOT_TextAlignment_Center = 1,
  kDRAWBOT_TextAlignment_Right = 2,
  kDRAWBOT_TextAlignment_Default = kDRAWBOT_TextAlignment_Left
};

typedef int32_t DRAWBOT_TextTruncation;
enum {
  kDRAWBOT_TextTruncation_None = 0,
  kDRAWBOT_TextTruncation_End = 1,
  kDRAWBOT_TextTruncation_EndEllipsis = 2,
  kDRAWBOT_TextTruncation_PathEllipsis = 3
};

typedef int32_t DRAWBOT_InterpolationPolicy;
enum {
  kDRAWBOT_InterpolationPolicy_None = 0,
  kDRAWBOT_InterpolationPolicy_Med = 1,
  kDRAWBOT_InterpolationPolicy_High = 2
};

typedef int32_t DRAWBOT_AntiAliasPolicy;
enum {
  kDRAWBOT_AntiAliasPolicy_None = 0,
  kDRAWBOT_AntiAliasPolicy_Med = 1,
  kDRAWBOT_AntiAliasPolicy_High = 2
};

#define kDRAWBOT_DrawSuite "DRAWBOT Draw Suite"
#define kDRAWBOT_DrawSuite_Version1 1
#define kDRAWBOT_DrawSuite_VersionCurrent kDRAWBOT_DrawSuite_Version1

#define kDRAWBOT_SupplierSuite "DRAWBOT Supplier Suite"
#define kDRAWBOT_SupplierSuite_Version1 1
#define kDRAWBOT_SupplierSuite_VersionCurrent kDRAWBOT_SupplierSuite_Version1

#define kDRAWBOT_SurfaceSuite "DRAWBOT Surface Suite"
#define kDRAWBOT_SurfaceSuite_Version1 1
#define kDRAWBOT_SurfaceSuite_Version2 2
#define kDRAWBOT_SurfaceSuite_VersionCurrent kDRAWBOT_SurfaceSuite_Version2

#define kDRAWBOT_PathSuite "DRAWBOT Path Suite"
#define kDRAWBOT_PathSuite_Version1 1
#define kDRAWBOT_PathSuite_VersionCurrent kDRAWBOT_PathSuite_Version1

#define kDRAWBOT_PenSuite "DRAWBOT Pen Suite"
#define kDRAWBOT_PenSuite_Version1 1
#define kDRAWBOT_PenSuite_VersionCurrent kDRAWBOT_PenSuite_Version1

#define kDRAWBOT_ImageSuite "DRAWBOT Image Suite"
#define kDRAWBOT_ImageSuite_Version1 1
#define kDRAWBOT_ImageSuite_VersionCurrent kDRAWBOT_ImageSuite_Version1

typedef struct DRAWBOT_DrawbotSuite1 {
  SPAPI SPErr (*GetSupplier)(DRAWBOT_DrawRef in_drawbot_ref, DRAWBOT_SupplierRef* out_supplierP);
  SPAPI SPErr (*GetSurface)(DRAWBOT_DrawRef in_drawbot_ref, DRAWBOT_SurfaceRef* out_surfaceP);
} DRAWBOT_DrawbotSuite1;

typedef struct DRAWBOT_SupplierSuite1 {
  SPAPI SPErr (*NewPen)(DRAWBOT_SupplierRef in_supplier_ref, const DRAWBOT_ColorRGBA* in_colorP,
                        float in_size, DRAWBOT_PenRef* out_penP);
  SPAPI SPErr (*NewBrush)(DRAWBOT_SupplierRef in_supplier_ref, const DRAWBOT_ColorRGBA* in_colorP,
                          DRAWBOT_BrushRef* out_brushP);
  SPAPI SPErr (*SupportsText)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_Boolean* out_supports_textB);
  SPAPI SPErr (*GetDefaultFontSize)(DRAWBOT_SupplierRef in_supplier_ref, float* out_font_sizeF);
  SPAPI SPErr (*NewDefaultFont)(DRAWBOT_SupplierRef in_supplier_ref, float in_font_sizeF,
                                DRAWBOT_FontRef* out_fontP);
  SPAPI SPErr (*NewImageFromBuffer)(DRAWBOT_SupplierRef in_supplier_ref, int in_width, int in_height,
                                    int in_row_bytes, DRAWBOT_PixelLayout in_pl, const void* in_dataP,
                                    DRAWBOT_ImageRef* out_imageP);
  SPAPI SPErr (*NewPath)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_PathRef* out_pathP);
  SPAPI SPErr (*SupportsPixelLayoutBGRA)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_Boolean* out_supports_bgraPB);
  SPAPI SPErr (*PrefersPixelLayoutBGRA)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_Boolean* out_prefers_bgraPB);
  SPAPI SPErr (*SupportsPixelLayoutARGB)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_Boolean* out_supports_argbPB);
  SPAPI SPErr (*PrefersPixelLayoutARGB)(DRAWBOT_SupplierRef in_supplier_ref, DRAWBOT_Boolean* out_prefers_argbPB);
  SPAPI SPErr (*RetainObject)(DRAWBOT_ObjectRef in_obj_ref);
  SPAPI SPErr (*ReleaseObject)(DRAWBOT_ObjectRef in_obj_ref);
} DRAWBOT_SupplierSuite1;

typedef struct DRAWBOT_SurfaceSuite2 {
  SPAPI SPErr (*PushStateStack)(DRAWBOT_SurfaceRef in_surface_ref);
  SPAPI SPErr (*PopStateStack)(DRAWBOT_SurfaceRef in_surface_ref);
  SPAPI SPErr (*PaintRect)(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_ColorRGBA* in_colorP,
                           const DRAWBOT_RectF32* in_rectPR);
  SPAPI SPErr (*FillPath)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_BrushRef in_brush_ref,
                          DRAWBOT_PathRef in_path_ref, DRAWBOT_FillType in_fill_type);
  SPAPI SPErr (*StrokePath)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_PenRef in_pen_ref,
                            DRAWBOT_PathRef in_path_ref);
  // Narrows the clip to a rectangle in the current transform's space.
  SPAPI SPErr (*Clip)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_SupplierRef in_supplier_ref,
                      const DRAWBOT_Rect32* in_rectPR);
  SPAPI SPErr (*GetClipBounds)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_RectF32* out_rectPR);
  SPAPI SPErr (*IsWithinClipBounds)(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_RectF32* in_rectPR,
                                    DRAWBOT_Boolean* out_withinPB);
  SPAPI SPErr (*Transform)(DRAWBOT_SurfaceRef in_surface_ref, const DRAWBOT_MatrixF32* in_matrixP);
  SPAPI SPErr (*DrawString)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_BrushRef in_brush_ref,
                            DRAWBOT_FontRef in_font_ref, const DRAWBOT_UTF16Char* in_stringP,
                            const DRAWBOT_PointF32* in_originP, DRAWBOT_TextAlignment in_alignment_style,
                            DRAWBOT_TextTruncation in_truncation_style, float in_truncation_width);
  SPAPI SPErr (*DrawImage)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_ImageRef in_imageRef,
                           const DRAWBOT_PointF32* in_originP, float in_alpha);
  SPAPI SPErr (*SetInterpolationPolicy)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_InterpolationPolicy in_policy);
  SPAPI SPErr (*GetInterpolationPolicy)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_InterpolationPolicy* out_policyP);
  SPAPI SPErr (*SetAntiAliasPolicy)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_AntiAliasPolicy in_policy);
  SPAPI SPErr (*GetAntiAliasPolicy)(DRAWBOT_SurfaceRef in_surface_ref, DRAWBOT_AntiAliasPolicy* out_policyP);
  SPAPI SPErr (*Flush)(DRAWBOT_SurfaceRef in_surface_ref);
  // Added in version 2: device pixels per drawing unit (HiDPI displays).
  SPAPI SPErr (*GetTransformToScreenScale)(DRAWBOT_SurfaceRef in_surface_ref, float* out_scale);
} DRAWBOT_SurfaceSuite2;

// Version 1 of the surface suite has the same layout; its callers just never
// use the last member.
typedef DRAWBOT_SurfaceSuite2 DRAWBOT_SurfaceSuite1;

typedef struct DRAWBOT_PathSuite1 {
  SPAPI SPErr (*MoveTo)(DRAWBOT_PathRef in_path_ref, float in_x, float in_y);
  SPAPI SPErr (*LineTo)(DRAWBOT_PathRef in_path_ref, float in_x, float in_y);
  SPAPI SPErr (*BezierTo)(DRAWBOT_PathRef in_path_ref, const DRAWBOT_PointF32* in_pt1P,
                          const DRAWBOT_PointF32* in_pt2P, const DRAWBOT_PointF32* in_pt3P);
  SPAPI SPErr (*AddRect)(DRAWBOT_PathRef in_path_ref, const DRAWBOT_RectF32* in_rectPR);
  // Angles in degrees; positive sweep runs clockwise on screen (y down).
  SPAPI SPErr (*AddArc)(DRAWBOT_PathRef in_path_ref, const DRAWBOT_PointF32* in_centerP, float in_radius,
                        float in_start_angle, float in_sweep);
  SPAPI SPErr (*Close)(DRAWBOT_PathRef in_path_ref);
} DRAWBOT_PathSuite1;

typedef struct DRAWBOT_PenSuite1 {
  SPAPI SPErr (*SetDashPattern)(DRAWBOT_PenRef in_pen_ref, const float* in_dashesP, int32_t in_dashes_size);
} DRAWBOT_PenSuite1;

typedef struct DRAWBOT_ImageSuite1 {
  SPAPI SPErr (*SetScaleFactor)(DRAWBOT_ImageRef in_image_ref, float in_scale_factor);
} DRAWBOT_ImageSuite1;

typedef DRAWBOT_DrawbotSuite1 DRAWBOT_DrawbotSuiteCurrent;
typedef DRAWBOT_SupplierSuite1 DRAWBOT_SupplierSuiteCurrent;
typedef DRAWBOT_SurfaceSuite2 DRAWBOT_SurfaceSuiteCurrent;
typedef DRAWBOT_PathSuite1 DRAWBOT_PathSuiteCurrent;
typedef DRAWBOT_PenSuite1 DRAWBOT_PenSuiteCurrent;
typedef DRAWBOT_ImageSuite1 DRAWBOT_ImageSuiteCurrent;

// The suites a custom-UI drawing needs, acquired together.
typedef struct {
  DRAWBOT_DrawbotSuiteCurrent* drawbot_suiteP;
  DRAWBOT_SupplierSuiteCurrent* supplier_suiteP;
  DRAWBOT_SurfaceSuiteCurrent* surface_suiteP;
  DRAWBOT_PathSuiteCurrent* path_suiteP;
  DRAWBOT_PenSuiteCurrent* pen_suiteP;
  DRAWBOT_ImageSuiteCurrent* image_suiteP;
} DRAWBOT_Suites;

#pragma pack(pop)
