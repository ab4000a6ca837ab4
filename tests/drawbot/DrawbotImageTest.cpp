// Images made from caller buffers: placement, byte orders of every layout,
// row padding, opacity, scale factor and rejected buffers.
#include <cstdint>
#include <vector>

#include "tests/drawbot/DrawbotTestSupport.h"

namespace dshost::testing {
namespace {

using DrawbotImageTest = DrawbotTest;

struct LayoutCase {
  DRAWBOT_PixelLayout layout;
  std::vector<std::uint8_t> bytes;  // one pixel of (R,G,B,A) = (200,100,50,128) in that layout
  DrawbotPixel expected;
};

TEST_F(DrawbotImageTest, EveryLayoutDecodesToTheSameColour) {
  const DrawbotPixel opaque{200, 100, 50, 255}, translucent{200, 100, 50, 128};
  const LayoutCase cases[] = {
      {kDRAWBOT_PixelLayout_24RGB, {200, 100, 50}, opaque},
      {kDRAWBOT_PixelLayout_24BGR, {50, 100, 200}, opaque},
      {kDRAWBOT_PixelLayout_32RGB, {9, 200, 100, 50}, opaque},
      {kDRAWBOT_PixelLayout_32BGR, {50, 100, 200, 9}, opaque},  // the about image's: fourth byte ignored
      {kDRAWBOT_PixelLayout_32ARGB_Straight, {128, 200, 100, 50}, translucent},
      {kDRAWBOT_PixelLayout_32ARGB_Premul, {128, 100, 50, 25}, translucent},
      {kDRAWBOT_PixelLayout_32BGRA_Straight, {50, 100, 200, 128}, translucent},
      {kDRAWBOT_PixelLayout_32BGRA_Premul, {25, 50, 100, 128}, translucent},
  };
  for (const LayoutCase& c : cases) {
    DrawbotCanvas canvas(2, 2);
    Open(canvas);
    const DRAWBOT_PointF32 origin{1, 1};
    const auto image = NewImage(1, 1, static_cast<int>(c.bytes.size()), c.layout, c.bytes.data());
    ASSERT_EQ(suites_.surface_suiteP->DrawImage(surface_, image, &origin, 1.0f), kSPNoError);
    EXPECT_TRUE(PixelNear(canvas.Pixel(1, 1), c.expected, 2)) << "layout " << c.layout;
  }
}

TEST_F(DrawbotImageTest, RowPaddingOpacityAndScaleFactor) {
  // Two rows of two 24-bit pixels, each row padded to 8 bytes.
  const std::uint8_t rgb[16] = {255, 0, 0, 0, 255, 0, 0xEE, 0xEE, 0, 0, 255, 255, 255, 255, 0xEE, 0xEE};
  DrawbotCanvas canvas(10, 10, {1, 1, 1, 1});
  Open(canvas);
  const auto image = NewImage(2, 2, 8, kDRAWBOT_PixelLayout_24RGB, rgb);
  const DRAWBOT_PointF32 at_origin{0, 0};
  ASSERT_EQ(suites_.surface_suiteP->DrawImage(surface_, image, &at_origin, 0.5f), kSPNoError);
  EXPECT_TRUE(PixelNear(canvas.Pixel(0, 0), {255, 128, 128, 255}));
  EXPECT_TRUE(PixelNear(canvas.Pixel(1, 0), {128, 255, 128, 255}));
  EXPECT_TRUE(PixelNear(canvas.Pixel(0, 1), {128, 128, 255, 255}));
  EXPECT_TRUE(PixelNear(canvas.Pixel(1, 1), {255, 255, 255, 255}));

  // A scale factor of 0.5 shows each image pixel as 2x2 drawing units.
  ASSERT_EQ(suites_.image_suiteP->SetScaleFactor(image, 0.5f), kSPNoError);
  ASSERT_EQ(suites_.surface_suiteP->SetInterpolationPolicy(surface_, kDRAWBOT_InterpolationPolicy_None), kSPNoError);
  const DRAWBOT_PointF32 at_four{4, 4};
  ASSERT_EQ(suites_.surface_suiteP->DrawImage(surface_, image, &at_four, 1.0f), kSPNoError);
  EXPECT_EQ(canvas.Pixel(5, 5), (DrawbotPixel{255, 0, 0, 255}));
  EXPECT_EQ(canvas.Pixel(6, 5), (DrawbotPixel{0, 255, 0, 255}));
  EXPECT_EQ(canvas.Pixel(4, 7), (DrawbotPixel{0, 0, 255, 255}));
  EXPECT_EQ(canvas.Pixel(8, 8), (DrawbotPixel{255, 255, 255, 255}));
  EXPECT_EQ(suites_.image_suiteP->SetScaleFactor(image, 0.0f), kDrawbotErrBadParameter);
}

TEST_F(DrawbotImageTest, RejectsUnusableBuffers) {
  DrawbotCanvas canvas(4, 4);
  Open(canvas);
  const std::uint8_t data[64] = {};
  DRAWBOT_ImageRef image = reinterpret_cast<DRAWBOT_ImageRef>(&canvas);
  EXPECT_EQ(suites_.supplier_suiteP->NewImageFromBuffer(supplier_, 2, 2, 8, 8, data, &image), kDrawbotErrBadParameter);
  EXPECT_EQ(image, nullptr);
  EXPECT_EQ(suites_.supplier_suiteP->NewImageFromBuffer(supplier_, 2, 2, 7, kDRAWBOT_PixelLayout_32BGR, data, &image),
            kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.supplier_suiteP->NewImageFromBuffer(supplier_, 0, 2, 8, kDRAWBOT_PixelLayout_32BGR, data, &image),
            kDrawbotErrBadParameter);
  EXPECT_EQ(suites_.supplier_suiteP->NewImageFromBuffer(supplier_, 2, 2, 8, kDRAWBOT_PixelLayout_32BGR, nullptr, &image),
            kDrawbotErrBadParameter);
  EXPECT_EQ(DrawbotCallCount("NewImageFromBuffer"), 4u);
  EXPECT_EQ(DrawbotFailedCallCount(), 4u);
}

}  // namespace
}  // namespace dshost::testing
