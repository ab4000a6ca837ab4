// The canvas itself: PNG files, clearing, the published suite list, and the
// About image the plug-in ships.
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/drawbot/DrawbotTestSupport.h"

namespace dshost::testing {
namespace {

using DrawbotCanvasTest = DrawbotTest;

std::uint32_t BigEndian32(const std::string& d, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = (value << 8) | static_cast<std::uint8_t>(d[at + i]);
  return value;
}

TEST_F(DrawbotCanvasTest, PngRoundTripKeepsEveryPixel) {
  DrawbotCanvas canvas(17, 9, {0.11f, 0.11f, 0.11f, 1.0f});
  Open(canvas);
  ASSERT_EQ(FillRect({3.5f, 1, 6, 5}, {1.0f, 0.2f, 0.1f, 0.6f}), kSPNoError);
  ASSERT_EQ(FillRect({0, 7, 17, 2}, {0.0f, 0.0f, 0.0f, 0.0f}), kSPNoError);
  const std::string path = ::testing::TempDir() + "drawbot_roundtrip.png";
  ASSERT_TRUE(canvas.SavePng(path));

  const std::string file = testsupport::ReadFileBytes(path);
  ASSERT_GT(file.size(), 33u);
  EXPECT_EQ(BigEndian32(file, 16), 17u);  // IHDR width
  EXPECT_EQ(BigEndian32(file, 20), 9u);   // IHDR height
  EXPECT_EQ(file[24], 8);                 // bit depth
  EXPECT_EQ(file[25], 6);                 // colour type RGBA

  const auto loaded = DrawbotCanvas::LoadPng(path);
  ASSERT_NE(loaded, nullptr);
  ASSERT_EQ(loaded->Width(), 17);
  ASSERT_EQ(loaded->Height(), 9);
  EXPECT_EQ(loaded->Pixels(), canvas.Pixels());
  EXPECT_FALSE(canvas.SavePng(::testing::TempDir() + "no/such/folder/x.png"));
  EXPECT_EQ(DrawbotCanvas::LoadPng(::testing::TempDir() + "no/such/file.png"), nullptr);
}

TEST_F(DrawbotCanvasTest, ClearRestoresColourAndState) {
  DrawbotCanvas canvas(6, 6, {0.0f, 0.5f, 1.0f, 1.0f});
  EXPECT_EQ(canvas.Pixel(5, 5), (DrawbotPixel{0, 128, 255, 255}));
  EXPECT_EQ(canvas.Pixel(6, 0), DrawbotPixel{});
  Open(canvas);
  ASSERT_EQ(suites_.surface_suiteP->PushStateStack(surface_), kSPNoError);
  ASSERT_EQ(FillRect({0, 0, 6, 6}, {1, 0, 0, 1}), kSPNoError);
  EXPECT_EQ(canvas.StateDepth(), 1);
  canvas.Clear();
  EXPECT_EQ(canvas.StateDepth(), 0);
  EXPECT_EQ(canvas.Pixel(2, 2), (DrawbotPixel{0, 128, 255, 255}));
  EXPECT_THROW(DrawbotCanvas(-1, 4), std::invalid_argument);
}

// Plug-ins pass these values: a renumbered constant breaks every compiled
// plug-in. (The tables' layout is checked with the other host declarations.)
TEST(DrawbotSuiteLayout, ConstantsKeepTheirValues) {
  EXPECT_EQ(sizeof(DRAWBOT_UTF16Char), 2u);
  EXPECT_EQ(kDRAWBOT_PixelLayout_32BGR, 3);
  EXPECT_EQ(kDRAWBOT_PixelLayout_32BGRA_Premul, 7);
  EXPECT_EQ(kDRAWBOT_FillType_Winding, 1);
  EXPECT_EQ(kDRAWBOT_FillType_Default, kDRAWBOT_FillType_Winding);
  EXPECT_EQ(kDRAWBOT_TextAlignment_Right, 2);
  EXPECT_EQ(kDRAWBOT_TextTruncation_PathEllipsis, 3);
  EXPECT_EQ(kDRAWBOT_SurfaceSuite_VersionCurrent, 2);
}

// The panel draws the About image as 32BGR, ignoring alpha, on a
// (0.11, 0.11, 0.11) background: the file must be opaque. (Its size and
// channels are checked where the effect decodes it.)
TEST(DrawbotAboutImage, ShippedPngIsOpaque) {
  const auto image = DrawbotCanvas::LoadPng(std::string(DRIFTSMEAR_SOURCE_DIR) + "/ui/resources/DriftSmear_About.png");
  ASSERT_NE(image, nullptr);
  std::set<std::uint32_t> colours;
  for (int y = 0; y < image->Height(); ++y) {
    for (int x = 0; x < image->Width(); ++x) {
      const DrawbotPixel p = image->Pixel(x, y);
      ASSERT_EQ(p.a, 255) << "transparent pixel at " << x << "," << y;
      colours.insert((std::uint32_t{p.r} << 16) | (std::uint32_t{p.g} << 8) | p.b);
    }
  }
  EXPECT_GT(colours.size(), 50u) << "the image looks blank";
}

}  // namespace
}  // namespace dshost::testing
