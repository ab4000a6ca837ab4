// Path filling through the surface suite: extent, colour, blending, fill rules,
// anti-aliasing, clipping, transforms and argument checks.
#include <limits>

#include "tests/drawbot/DrawbotTestSupport.h"

namespace dshost::testing {
namespace {

constexpr DRAWBOT_ColorRGBA kPanel = {0.11f, 0.11f, 0.11f, 1.0f};
constexpr DRAWBOT_ColorRGBA kRed = {1.0f, 0.0f, 0.0f, 1.0f};
const DrawbotPixel kPanelPixel{28, 28, 28, 255};
const DrawbotPixel kRedPixel{255, 0, 0, 255};

using DrawbotFillTest = DrawbotTest;

TEST_F(DrawbotFillTest, RectCoversExactlyItsPixels) {
  DrawbotCanvas canvas(40, 30, kPanel);
  Open(canvas);
  ASSERT_EQ(FillRect({5, 7, 10, 4}, kRed), kSPNoError);
  for (int y = 0; y < 30; ++y) {
    for (int x = 0; x < 40; ++x) {
      const bool inside = x >= 5 && x < 15 && y >= 7 && y < 11;
      ASSERT_EQ(canvas.Pixel(x, y), inside ? kRedPixel : kPanelPixel) << "at " << x << "," << y;
    }
  }
}

TEST_F(DrawbotFillTest, TranslucentBrushBlendsSourceOver) {
  DrawbotCanvas opaque(4, 4, {0.0f, 0.0f, 1.0f, 1.0f});
  Open(opaque);
  ASSERT_EQ(FillRect({0, 0, 4, 4}, {1.0f, 0.0f, 0.0f, 0.5f}), kSPNoError);
  EXPECT_TRUE(PixelNear(opaque.Pixel(1, 1), {128, 0, 128, 255}));

  // Over a transparent canvas the colour stays, only the coverage is partial.
  DrawbotCanvas clear(4, 4);
  Open(clear);
  ASSERT_EQ(FillRect({0, 0, 4, 4}, {1.0f, 0.0f, 0.0f, 0.5f}), kSPNoError);
  EXPECT_TRUE(PixelNear(clear.Pixel(1, 1), {255, 0, 0, 128}));
  ASSERT_EQ(FillRect({0, 0, 4, 4}, {0.0f, 1.0f, 0.0f, 0.5f}), kSPNoError);
  // 0.5 green over (red, 0.5): alpha 0.75, colour 2/3 green, 1/3 red.
  EXPECT_TRUE(PixelNear(clear.Pixel(1, 1), {85, 170, 0, 191}));
}

TEST_F(DrawbotFillTest, FillRulesDifferOnOverlap) {
  for (DRAWBOT_FillType fill : {kDRAWBOT_FillType_EvenOdd, kDRAWBOT_FillType_Winding}) {
    DrawbotCanvas canvas(20, 4);
    Open(canvas);
    ASSERT_EQ(suites_.surface_suiteP->FillPath(surface_, NewBrush(kRed), NewPath({{0, 0, 10, 4}, {5, 0, 10, 4}}), fill),
              kSPNoError);
    EXPECT_EQ(canvas.Pixel(2, 2), kRedPixel);
    EXPECT_EQ(canvas.Pixel(12, 2), kRedPixel);
    EXPECT_EQ(canvas.Pixel(7, 2).a, fill == kDRAWBOT_FillType_Winding ? 255 : 0) << "fill type " << fill;
  }
}

TEST_F(DrawbotFillTest, FractionalEdgesFollowAntiAliasPolicy) {
  DrawbotCanvas smooth(10, 2);
  Open(smooth);
  ASSERT_EQ(FillRect({2.5f, 0, 4, 2}, kRed), kSPNoError);
  EXPECT_NEAR(smooth.Pixel(2, 0).a, 128, 1);
  EXPECT_EQ(smooth.Pixel(3, 0).a, 255);
  EXPECT_NEAR(smooth.Pixel(6, 0).a, 128, 1);
  EXPECT_EQ(smooth.Pixel(7, 0).a, 0);

  DrawbotCanvas hard(10, 2);
  Open(hard);
  ASSERT_EQ(suites_.surface_suiteP->SetAntiAliasPolicy(surface_, kDRAWBOT_AntiAliasPolicy_None), kSPNoError);
  ASSERT_EQ(FillRect({2.5f, 0, 4, 2}, kRed), kSPNoError);
  // A pixel is filled when its centre is inside: centres 2.5 .. 5.5.
  EXPECT_EQ(hard.Pixel(2, 0).a, 255);
  EXPECT_EQ(hard.Pixel(5, 0).a, 255);
  EXPECT_EQ(hard.Pixel(6, 0).a, 0);
}

TEST_F(DrawbotFillTest, ClipAndTransformLastUntilPop) {
  DrawbotCanvas canvas(30, 30, kPanel);
  Open(canvas);
  const DRAWBOT_Rect32 clip{10, 10, 5, 5};

  ASSERT_EQ(suites_.surface_suiteP->PushStateStack(surface_), kSPNoError);
  ASSERT_EQ(suites_.surface_suiteP->Clip(surface_, supplier_, &clip), kSPNoError);
  EXPECT_EQ(suites_.surface_suiteP->Clip(surface_, supplier_, nullptr), kDrawbotErrBadParameter);
  DRAWBOT_RectF32 bounds{};
  ASSERT_EQ(suites_.surface_suiteP->GetClipBounds(surface_, &bounds), kSPNoError);
  EXPECT_FLOAT_EQ(bounds.left, 10.0f);
  EXPECT_FLOAT_EQ(bounds.width, 5.0f);
  ASSERT_EQ(FillRect({0, 0, 30, 30}, kRed), kSPNoError);
  EXPECT_EQ(canvas.Pixel(10, 10), kRedPixel);
  EXPECT_EQ(canvas.Pixel(14, 14), kRedPixel);
  EXPECT_EQ(canvas.Pixel(15, 14), kPanelPixel);
  EXPECT_EQ(canvas.Pixel(9, 12), kPanelPixel);
  EXPECT_EQ(canvas.StateDepth(), 1);
  ASSERT_EQ(suites_.surface_suiteP->PopStateStack(surface_), kSPNoError);
  EXPECT_EQ(suites_.surface_suiteP->PopStateStack(surface_), kDrawbotErrBadParameter);

  // Row-vector matrix: translation in the third row.
  ASSERT_EQ(suites_.surface_suiteP->PushStateStack(surface_), kSPNoError);
  const DRAWBOT_MatrixF32 shift = {{{1, 0, 0}, {0, 1, 0}, {20, 3, 1}}};
  ASSERT_EQ(suites_.surface_suiteP->Transform(surface_, &shift), kSPNoError);
  ASSERT_EQ(FillRect({0, 0, 2, 2}, {0, 0, 1, 1}), kSPNoError);
  ASSERT_EQ(suites_.surface_suiteP->PopStateStack(surface_), kSPNoError);
  EXPECT_EQ(canvas.Pixel(20, 3), (DrawbotPixel{0, 0, 255, 255}));
  EXPECT_EQ(canvas.Pixel(21, 4), (DrawbotPixel{0, 0, 255, 255}));
  EXPECT_EQ(canvas.Pixel(22, 3), kPanelPixel);
  EXPECT_EQ(canvas.Pixel(0, 0), kPanelPixel);
  EXPECT_EQ(canvas.StateDepth(), 0);
}

TEST_F(DrawbotFillTest, StrokesOutlineAndArcsFillDiscs) {
  DrawbotCanvas canvas(40, 40);
  Open(canvas);
  DRAWBOT_PenRef pen = nullptr;
  ASSERT_EQ(suites_.supplier_suiteP->NewPen(supplier_, &kRed, 2.0f, &pen), kSPNoError);
  Held pen_hold(pen);
  ASSERT_EQ(suites_.surface_suiteP->StrokePath(surface_, pen, NewPath({{5, 5, 10, 10}})), kSPNoError);
  EXPECT_EQ(canvas.Pixel(10, 4), kRedPixel);  // the 2-wide line straddles y = 5
  EXPECT_EQ(canvas.Pixel(10, 5), kRedPixel);
  EXPECT_EQ(canvas.Pixel(10, 10).a, 0);       // interior untouched
  EXPECT_EQ(canvas.Pixel(14, 14), kRedPixel);
  // Round join: the outer corner pixel is partly covered.
  EXPECT_GT(canvas.Pixel(15, 15).a, 100);
  EXPECT_LT(canvas.Pixel(15, 15).a, 255);

  const auto disc = NewPath();
  const DRAWBOT_PointF32 centre{30, 30};
  ASSERT_EQ(suites_.path_suiteP->AddArc(disc, &centre, 6.0f, 0.0f, 360.0f), kSPNoError);
  ASSERT_EQ(suites_.path_suiteP->Close(disc), kSPNoError);
  ASSERT_EQ(suites_.surface_suiteP->FillPath(surface_, NewBrush({0, 0, 1, 1}), disc, kDRAWBOT_FillType_Default),
            kSPNoError);
  EXPECT_EQ(canvas.Pixel(30, 30), (DrawbotPixel{0, 0, 255, 255}));
  EXPECT_EQ(canvas.Pixel(24, 24).a, 0);  // inside the bounding box, outside the circle
  EXPECT_EQ(canvas.Pixel(34, 29).a, 255);
  EXPECT_GT(canvas.Pixel(35, 29).a, 0);  // the rim is anti-aliased
  EXPECT_LT(canvas.Pixel(35, 29).a, 255);
}

TEST_F(DrawbotFillTest, GeometryFarOffCanvasDrawsNothing) {
  DrawbotCanvas canvas(8, 8, kPanel);
  Open(canvas);
  EXPECT_EQ(FillRect({1e30f, 1e30f, 1e30f, 1e30f}, kRed), kSPNoError);
  EXPECT_EQ(FillRect({-1e30f, 2, 1e25f, 3}, kRed), kSPNoError);  // ends far left of the canvas
  const DRAWBOT_MatrixF32 huge = {{{1e30f, 0, 0}, {0, 1e30f, 0}, {0, 0, 1}}};
  ASSERT_EQ(suites_.surface_suiteP->Transform(surface_, &huge), kSPNoError);
  EXPECT_EQ(FillRect({1e10f, 1e10f, 1, 1}, kRed), kSPNoError);  // overflows to infinity
  const std::uint8_t pixel[4] = {0, 0, 255, 255};
  const DRAWBOT_PointF32 far{-1e30f, 1e30f};
  EXPECT_EQ(suites_.surface_suiteP->DrawImage(surface_, NewImage(1, 1, 4, kDRAWBOT_PixelLayout_32BGR, pixel), &far, 1.0f),
            kSPNoError);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) ASSERT_EQ(canvas.Pixel(x, y), kPanelPixel) << x << "," << y;
  }
}

TEST_F(DrawbotFillTest, RejectsBadArgumentsWithoutDrawing) {
  DrawbotCanvas canvas(8, 8, kPanel);
  Open(canvas);
  const auto brush = NewBrush(kRed);
  const DRAWBOT_RectF32 all{0, 0, 8, 8};
  const auto path = NewPath({all});

  EXPECT_EQ(suites_.surface_suiteP->FillPath(surface_, brush, path, 7), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.surface_suiteP->FillPath(surface_, reinterpret_cast<DRAWBOT_BrushRef>(DRAWBOT_PathRef(path)),
                                             reinterpret_cast<DRAWBOT_PathRef>(DRAWBOT_BrushRef(brush)),
                                             kDRAWBOT_FillType_Winding),
            kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.surface_suiteP->FillPath(reinterpret_cast<DRAWBOT_SurfaceRef>(supplier_), brush, path,
                                             kDRAWBOT_FillType_Winding),
            kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.path_suiteP->AddRect(reinterpret_cast<DRAWBOT_PathRef>(DRAWBOT_BrushRef(brush)), &all),
            kDrawbotErrBadParameter);
  const DRAWBOT_RectF32 nan_rect{0, 0, std::numeric_limits<float>::quiet_NaN(), 1};
  EXPECT_EQ(suites_.path_suiteP->AddRect(path, &nan_rect), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.path_suiteP->AddRect(path, nullptr), kDrawbotErrBadParameter);
  EXPECT_EQ(canvas.Pixel(4, 4), kPanelPixel);
}

}  // namespace
}  // namespace dshost::testing
