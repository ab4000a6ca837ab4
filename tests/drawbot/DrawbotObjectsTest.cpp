// Reference counting of Drawbot objects: what the plug-in makes it must
// release, stale and foreign references are refused, and the canvas' own
// supplier and surface cannot be released away.
#include <memory>

#include "tests/drawbot/DrawbotTestSupport.h"

namespace dshost::testing {
namespace {

using DrawbotObjectsTest = DrawbotTest;

TEST_F(DrawbotObjectsTest, EveryMadeObjectCountsUntilReleased) {
  DrawbotCanvas canvas(4, 4);
  Open(canvas);
  const std::size_t base = DrawbotLiveObjectCount();
  {
    const DRAWBOT_ColorRGBA white{1, 1, 1, 1};
    const std::uint8_t pixel[4] = {1, 2, 3, 4};
    DRAWBOT_PenRef pen = nullptr;
    ASSERT_EQ(suites_.supplier_suiteP->NewPen(supplier_, &white, 1.0f, &pen), kSPNoError);
    const Held pen_hold(pen);
    const auto brush = NewBrush(white);
    const auto font = NewFont(12.0f);
    const auto image = NewImage(1, 1, 4, kDRAWBOT_PixelLayout_32BGR, pixel);
    const auto path = NewPath();
    EXPECT_EQ(DrawbotLiveObjectCount(), base + 5);
  }
  EXPECT_EQ(DrawbotLiveObjectCount(), base);
  EXPECT_EQ(DrawbotCallCount("ReleaseObject"), 5u);
}

TEST_F(DrawbotObjectsTest, RetainDefersDestructionAndDoubleReleaseIsRefused) {
  DrawbotCanvas canvas(4, 4);
  Open(canvas);
  DRAWBOT_BrushRef brush = NewBrush({1, 0, 0, 1}).release();
  const auto object = reinterpret_cast<DRAWBOT_ObjectRef>(brush);
  ASSERT_EQ(suites_.supplier_suiteP->RetainObject(object), kSPNoError);
  ASSERT_EQ(suites_.supplier_suiteP->ReleaseObject(object), kSPNoError);
  // Still alive after one of two releases: usable for drawing.
  EXPECT_EQ(FillRect({0, 0, 1, 1}, {0, 0, 0, 0}), kSPNoError);
  const auto path = NewPath({{0, 0, 4, 4}});
  EXPECT_EQ(suites_.surface_suiteP->FillPath(surface_, brush, path, kDRAWBOT_FillType_Winding), kSPNoError);
  EXPECT_EQ(canvas.Pixel(2, 2), (DrawbotPixel{255, 0, 0, 255}));

  ASSERT_EQ(suites_.supplier_suiteP->ReleaseObject(object), kSPNoError);
  EXPECT_EQ(suites_.supplier_suiteP->ReleaseObject(object), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.supplier_suiteP->RetainObject(object), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.surface_suiteP->FillPath(surface_, brush, path, kDRAWBOT_FillType_Winding), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.supplier_suiteP->ReleaseObject(nullptr), kDrawbotErrBadParameter);
}

TEST_F(DrawbotObjectsTest, CanvasOwnsSupplierAndSurface) {
  auto canvas = std::make_unique<DrawbotCanvas>(4, 4);
  Open(*canvas);
  const std::size_t base = DrawbotLiveObjectCount();
  const auto supplier = reinterpret_cast<DRAWBOT_ObjectRef>(supplier_);
  // The plug-in may retain and release them in pairs, never below the canvas' reference.
  EXPECT_EQ(suites_.supplier_suiteP->ReleaseObject(supplier), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.supplier_suiteP->RetainObject(supplier), kSPNoError);
  EXPECT_EQ(suites_.supplier_suiteP->ReleaseObject(supplier), kSPNoError);
  EXPECT_EQ(suites_.supplier_suiteP->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(surface_)),
            kDrawbotErrBadParameter);
  EXPECT_EQ(DrawbotLiveObjectCount(), base);

  const DRAWBOT_DrawRef stale = canvas->DrawRef();
  const DRAWBOT_SurfaceRef stale_surface = surface_;
  canvas.reset();
  DRAWBOT_SupplierRef out = reinterpret_cast<DRAWBOT_SupplierRef>(&out);
  EXPECT_EQ(suites_.drawbot_suiteP->GetSupplier(stale, &out), kDrawbotErrBadParameter);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(suites_.surface_suiteP->Flush(stale_surface), kDrawbotErrBadParameter);
}

TEST_F(DrawbotObjectsTest, MissingOutputsAndForeignReferencesAreRefused) {
  DrawbotCanvas canvas(4, 4);
  Open(canvas);
  const DRAWBOT_ColorRGBA white{1, 1, 1, 1};
  EXPECT_EQ(suites_.supplier_suiteP->NewBrush(supplier_, &white, nullptr), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.drawbot_suiteP->GetSurface(canvas.DrawRef(), nullptr), kDrawbotErrBadParameter);
  int not_an_object = 0;
  DRAWBOT_BrushRef brush = nullptr;
  EXPECT_EQ(suites_.supplier_suiteP->NewBrush(reinterpret_cast<DRAWBOT_SupplierRef>(&not_an_object), &white, &brush),
            kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.supplier_suiteP->NewBrush(reinterpret_cast<DRAWBOT_SupplierRef>(surface_), &white, &brush),
            kDrawbotErrBadParameter);
  DRAWBOT_FontRef font = nullptr;
  EXPECT_EQ(suites_.supplier_suiteP->NewDefaultFont(supplier_, 0.0f, &font), kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.surface_suiteP->PopStateStack(surface_), kDrawbotErrBadParameter);
  EXPECT_EQ(brush, nullptr);
  EXPECT_EQ(font, nullptr);
}

}  // namespace
}  // namespace dshost::testing
