// The generated clip: deterministic, moving shapes over a still background.
#include <gtest/gtest.h>

#include "host/media/MediaError.h"
#include "host/media/SyntheticClip.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

double fractionChanged(const ImageF& a, const ImageF& b) {
  std::size_t changed = 0;
  for (std::size_t i = 0; i < a.pixelCount(); ++i) {
    for (int c = 0; c < 3; ++c) {
      if (a.bgra[i * 4 + c] != b.bgra[i * 4 + c]) {
        ++changed;
        break;
      }
    }
  }
  return static_cast<double>(changed) / static_cast<double>(a.pixelCount());
}

TEST(SyntheticClip, DescribesItself) {
  SyntheticClip clip(testing::smallClip(12));
  EXPECT_EQ(clip.info().kind, SourceKind::Synthetic);
  EXPECT_EQ(clip.info().frameCount, 12);
  EXPECT_EQ(clip.info().frameRate, (Rational{30, 1}));
  EXPECT_DOUBLE_EQ(clip.info().durationSeconds, 0.4);
  const ImageF frame = clip.frame(0);
  EXPECT_EQ(frame.width, 64);
  EXPECT_EQ(frame.height, 48);
  EXPECT_EQ(frame.bgra.size(), 64u * 48u * 4u);
}

TEST(SyntheticClip, SameFrameTwiceIsIdentical) {
  const SyntheticClip a(testing::smallClip(10)), b(testing::smallClip(10));
  const ImageDiff diff = compareImages(a.frame(7), b.frame(7));
  EXPECT_EQ(diff.maxColour, 0.0f);
  EXPECT_EQ(diff.maxAlpha, 0.0f);
}

TEST(SyntheticClip, ShapesMoveOverAStillBackground) {
  const SyntheticClip clip(testing::smallClip(60, false, 160, 90));
  const ImageF first = clip.frame(0);
  const ImageF later = clip.frame(15);
  const double changed = fractionChanged(first, later);
  EXPECT_GT(changed, 0.10);  // the shapes cover a good part of the picture
  EXPECT_LT(changed, 0.60);  // and the background between them stays put
  // The top-left corner is never reached by a shape.
  for (std::int64_t n = 0; n < 60; n += 5) {
    const ImageF frame = clip.frame(n);
    for (int y = 0; y < 4; ++y) {
      for (int x = 0; x < 4; ++x) ASSERT_EQ(frame.pixel(x, y)[0], first.pixel(x, y)[0]) << "frame " << n;
    }
  }
  // Consecutive frames differ: something moves every frame.
  EXPECT_GT(fractionChanged(clip.frame(30), clip.frame(31)), 0.01);
}

TEST(SyntheticClip, ValuesStayInRangeAndAlphaFollowsTheOption) {
  const SyntheticClip opaque(testing::smallClip(3));
  const SyntheticClip layered(testing::smallClip(3, true));
  const ImageF o = opaque.frame(2), l = layered.frame(2);
  float minAlpha = 1.0f, maxAlpha = 0.0f;
  for (std::size_t i = 0; i < o.bgra.size(); ++i) {
    ASSERT_GE(o.bgra[i], 0.0f);
    ASSERT_LE(o.bgra[i], 1.0f);
    if (i % 4 == 3) {
      ASSERT_EQ(o.bgra[i], 1.0f);
      minAlpha = std::min(minAlpha, l.bgra[i]);
      maxAlpha = std::max(maxAlpha, l.bgra[i]);
    }
  }
  EXPECT_NEAR(minAlpha, 0.2f, 0.02f);  // the transparent edge of the background
  EXPECT_EQ(maxAlpha, 1.0f);           // the shapes
  EXPECT_TRUE(layered.info().hasAlpha);
}

TEST(SyntheticClip, RejectsBadOptionsAndFrames) {
  EXPECT_THROW(SyntheticClip(testing::smallClip(0)), MediaError);
  EXPECT_THROW(SyntheticClip(testing::smallClip(5, false, 0, 10)), MediaError);
  EXPECT_THROW(SyntheticClip(testing::smallClip(5)).frame(5), MediaError);
}

}  // namespace
}  // namespace dshost
