// Text through DrawString: real glyphs in the brush colour around the baseline
// origin, alignment, truncation, UTF-16 decoding and a missing font file.
#include <algorithm>
#include <fstream>
#include <string>

#include "host/drawbot/DrawbotText.h"
#include "tests/drawbot/DrawbotTestSupport.h"

namespace dshost::testing {
namespace {

struct InkBox {
  int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1;  // inclusive
  int opaque_in_colour = 0;
  bool Empty() const { return right < 0; }
  float CentreX() const { return 0.5f * static_cast<float>(left + right + 1); }
};

InkBox Ink(const DrawbotCanvas& canvas, const DrawbotPixel& colour) {
  InkBox box;
  for (int y = 0; y < canvas.Height(); ++y) {
    for (int x = 0; x < canvas.Width(); ++x) {
      const DrawbotPixel p = canvas.Pixel(x, y);
      if (p.a == 0) continue;
      // Overlapping glyph edges blend the brush colour with itself: only rounding may differ.
      EXPECT_TRUE(PixelNear({p.r, p.g, p.b, 0}, {colour.r, colour.g, colour.b, 0})) << "at " << x << "," << y;
      box.left = std::min(box.left, x);
      box.right = std::max(box.right, x);
      box.top = std::min(box.top, y);
      box.bottom = std::max(box.bottom, y);
      if (p.a == colour.a) ++box.opaque_in_colour;
    }
  }
  return box;
}

class DrawbotTextTest : public DrawbotTest {
 protected:
  void SetUp() override {
    DrawbotTest::SetUp();
    if (drawbot::LoadDefaultFontFace() == nullptr) GTEST_SKIP() << "no default font at " << drawbot::DefaultFontPath();
  }

  // Draws on a fresh transparent canvas and returns where the ink landed.
  InkBox Draw(const std::u16string& text, DRAWBOT_PointF32 origin, float size,
              DRAWBOT_TextAlignment align = kDRAWBOT_TextAlignment_Left,
              DRAWBOT_TextTruncation truncation = kDRAWBOT_TextTruncation_None, float truncation_width = 0.0f) {
    DrawbotCanvas canvas(240, 60);
    Open(canvas);
    EXPECT_EQ(suites_.surface_suiteP->DrawString(surface_, NewBrush({0.17f, 0.7f, 0.46f, 1.0f}), NewFont(size),
                                                 reinterpret_cast<const DRAWBOT_UTF16Char*>(text.c_str()), &origin,
                                                 align, truncation, truncation_width),
              kSPNoError);
    return Ink(canvas, {43, 179, 117, 255});
  }
};

TEST_F(DrawbotTextTest, GlyphsSitOnTheBaselineInBrushColour) {
  const InkBox box = Draw(u"GPU: Hello", {10, 40}, 20.0f);
  ASSERT_FALSE(box.Empty());
  EXPECT_GT(box.opaque_in_colour, 20) << "stems should be fully covered";
  EXPECT_GE(box.left, 10);
  EXPECT_LE(box.left, 13);
  // No descenders: the ink ends at the baseline (round letters overshoot it
  // by a fraction of a pixel).
  EXPECT_GE(box.bottom, 39);
  EXPECT_LE(box.bottom, 40);
  // Cap height of a 20 px sans face is 14-15 px.
  EXPECT_GE(box.top, 40 - 16);
  EXPECT_LE(box.top, 40 - 13);

  const InkBox descender = Draw(u"gy", {10, 40}, 20.0f);
  EXPECT_GE(descender.bottom, 43);
  EXPECT_LE(descender.bottom, 40 + 6);

  EXPECT_TRUE(Draw(u"far away", {-1e30f, 1e30f}, 20.0f).Empty());
}

TEST_F(DrawbotTextTest, SizeScalesTheInk) {
  const InkBox small = Draw(u"HHHH", {10, 50}, 11.0f);
  const InkBox large = Draw(u"HHHH", {10, 50}, 22.0f);
  const int small_h = small.bottom - small.top + 1, large_h = large.bottom - large.top + 1;
  const int small_w = small.right - small.left + 1, large_w = large.right - large.left + 1;
  EXPECT_NEAR(static_cast<double>(large_h) / small_h, 2.0, 0.25);
  EXPECT_NEAR(static_cast<double>(large_w) / small_w, 2.0, 0.2);
}

TEST_F(DrawbotTextTest, AlignmentPlacesTheOriginLeftCentreOrRight) {
  const InkBox left = Draw(u"Drift Smear", {120, 40}, 14.0f, kDRAWBOT_TextAlignment_Left);
  const InkBox centre = Draw(u"Drift Smear", {120, 40}, 14.0f, kDRAWBOT_TextAlignment_Center);
  const InkBox right = Draw(u"Drift Smear", {120, 40}, 14.0f, kDRAWBOT_TextAlignment_Right);
  EXPECT_NEAR(left.left, 120, 2);
  EXPECT_NEAR(centre.CentreX(), 120.0f, 2.0f);
  EXPECT_NEAR(right.right, 119, 2);
  EXPECT_EQ(left.right - left.left, right.right - right.left);
}

TEST_F(DrawbotTextTest, TruncationKeepsTheTextInsideItsWidth) {
  const std::u16string text = u"A notice far too long for the panel";
  const InkBox full = Draw(text, {10, 40}, 12.0f);
  EXPECT_GT(full.right, 10 + 80);
  for (DRAWBOT_TextTruncation mode : {kDRAWBOT_TextTruncation_End, kDRAWBOT_TextTruncation_EndEllipsis,
                                      kDRAWBOT_TextTruncation_PathEllipsis}) {
    const InkBox cut = Draw(text, {10, 40}, 12.0f, kDRAWBOT_TextAlignment_Left, mode, 80.0f);
    ASSERT_FALSE(cut.Empty()) << "mode " << mode;
    EXPECT_LE(cut.right, 10 + 80) << "mode " << mode;
    EXPECT_GT(cut.right, 10 + 50) << "mode " << mode;
  }
}

TEST(DrawbotUtf16, SurrogatePairsBecomeOneCodePoint) {
  const DRAWBOT_UTF16Char text[] = {'A', 0xD83D, 0xDE00, 0x00E9, 0xDC00, 'B', 0xD800, 0};
  EXPECT_EQ(drawbot::DecodeUtf16(text), (std::u32string{U'A', 0x1F600, 0xE9, 0xFFFD, U'B', 0xFFFD}));
  EXPECT_TRUE(drawbot::DecodeUtf16(nullptr).empty());
}

TEST_F(DrawbotTest, UnreadableFontFailsDrawStringOnly) {
  const std::string not_a_font = ::testing::TempDir() + "drawbot_not_a_font.ttf";
  std::ofstream(not_a_font) << "this is not a TrueType file";
  for (const std::string& path : {std::string("/nonexistent/font.ttf"), not_a_font}) {
    ScopedEnv env("DRIFTSMEAR_FONT", path);
    DrawbotCanvas canvas(50, 20);
    Open(canvas);
    DRAWBOT_Boolean supports = 1;
    ASSERT_EQ(suites_.supplier_suiteP->SupportsText(supplier_, &supports), kSPNoError);
    EXPECT_EQ(supports, 0);
    const auto font = NewFont(11.0f);
    ASSERT_NE(DRAWBOT_FontRef(font), nullptr);
    const DRAWBOT_PointF32 origin{2, 15};
    EXPECT_EQ(suites_.surface_suiteP->DrawString(surface_, NewBrush({1, 1, 1, 1}), font, reinterpret_cast<const DRAWBOT_UTF16Char*>(u"GPU:"),
                                                 &origin, kDRAWBOT_TextAlignment_Left, kDRAWBOT_TextTruncation_None, 0),
              kDrawbotErrNoFont)
        << path;
    EXPECT_EQ(canvas.Pixel(4, 10).a, 0);
  }
}

}  // namespace
}  // namespace dshost::testing
