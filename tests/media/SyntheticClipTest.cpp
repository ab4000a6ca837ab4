// The generated clip: deterministic, moving shapes over a still background.
#include <gtest/gtest.h>

#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

double fractionChanged(const ImageF& a, const ImageF& b) {
  std::size_t changed = 0;
  for (std::size_t i = 0; i < a.pixelCount(); ++i) {
    const float* p = &a.bgra[i * 4];
    const float* q = &b.bgra[i * 4];
    changed += (p[0] != q[0] || p[1] != q[1] || p[2] != q[2]) ? 1 : 0;
  }
  return static_cast<double>(changed) / static_cast<double>(a.pixelCount());
}

TEST(SyntheticClip, ShapesMoveOverAStillBackground) {
  const SyntheticClip clip(testing::smallClip(60, false, 160, 90));
  const ImageF first = clip.frame(0);
  EXPECT_EQ(first.width, 160);
  EXPECT_EQ(compareImages(first, SyntheticClip(testing::smallClip(60, false, 160, 90)).frame(0)).maxColour, 0.0f);
  const double changed = fractionChanged(first, clip.frame(15));
  EXPECT_GT(changed, 0.10);  // the shapes cover a good part of the picture
  EXPECT_LT(changed, 0.60);  // and the background between them stays put
  for (std::int64_t n = 0; n < 60; n += 5) {  // no shape reaches the top-left corner
    const ImageF frame = clip.frame(n);
    for (int y = 0; y < 4; ++y) {
      for (int x = 0; x < 4; ++x) ASSERT_EQ(frame.pixel(x, y)[0], first.pixel(x, y)[0]) << "frame " << n;
    }
  }
  EXPECT_GT(fractionChanged(clip.frame(30), clip.frame(31)), 0.01);  // something moves every frame
}

TEST(SyntheticClip, ValuesStayInRangeAndAlphaFollowsTheOption) {
  const ImageF opaque = SyntheticClip(testing::smallClip(3)).frame(2);
  const SyntheticClip layeredClip(testing::smallClip(3, true));
  const ImageF layered = layeredClip.frame(2);
  float minAlpha = 1.0f, maxAlpha = 0.0f;
  for (std::size_t i = 0; i < opaque.bgra.size(); ++i) {
    ASSERT_GE(opaque.bgra[i], 0.0f);
    ASSERT_LE(opaque.bgra[i], 1.0f);
    if (i % 4 == 3) {
      ASSERT_EQ(opaque.bgra[i], 1.0f);
      minAlpha = std::min(minAlpha, layered.bgra[i]);
      maxAlpha = std::max(maxAlpha, layered.bgra[i]);
    }
  }
  EXPECT_NEAR(minAlpha, 0.2f, 0.02f);  // the transparent edge of the background
  EXPECT_EQ(maxAlpha, 1.0f);           // the shapes
  EXPECT_TRUE(layeredClip.info().hasAlpha);
  testing::mediaErrorOf(MediaErrc::InvalidArgument, [] { SyntheticClip(testing::smallClip(0)); });
  testing::mediaErrorOf(MediaErrc::InvalidArgument, [&] { layeredClip.frame(3); });
}

}  // namespace
}  // namespace dshost
