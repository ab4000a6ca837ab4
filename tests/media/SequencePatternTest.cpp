// printf-style names of numbered files.
#include <gtest/gtest.h>

#include <cstdint>

#include "host/media/SequencePattern.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

TEST(SequencePattern, NamesFilesLikeFfmpeg) {
  EXPECT_EQ(SequencePattern::parse("shots/a_%04d.png").fileFor(7), std::filesystem::path("shots/a_0007.png"));
  EXPECT_EQ(SequencePattern::parse("a_%04d.png").fileFor(123456), std::filesystem::path("a_123456.png"));
  EXPECT_EQ(SequencePattern::parse("%d.png").fileFor(42), std::filesystem::path("42.png"));
  EXPECT_EQ(SequencePattern::parse("%3d.png").fileFor(5), std::filesystem::path("005.png"));  // width pads with zeros
  EXPECT_EQ(SequencePattern::parse("100%%_%02d.png").fileFor(3), std::filesystem::path("100%_03.png"));
  EXPECT_EQ(SequencePattern::parse("f_%03d.png").fileFor(-7), std::filesystem::path("f_-007.png"));
  EXPECT_EQ(SequencePattern::parse("%d").fileFor(INT64_MIN), std::filesystem::path("-9223372036854775808"));
  EXPECT_FALSE(SequencePattern::looksLikePattern("100%%.png"));
  EXPECT_FALSE(SequencePattern::looksLikePattern("%d/frame.png"));  // the folder part does not count
  for (const char* bad : {"a%d_%d.png", "a%s%d.png", "a%.png"}) {
    testing::mediaErrorOf(MediaErrc::InvalidArgument, [&] { SequencePattern::parse(bad); });
  }
}

TEST(SequencePattern, MatchesOnlyTheExactSpelling) {
  const SequencePattern p = SequencePattern::parse("f_%03d.png");
  EXPECT_EQ(p.numberOf("f_012.png"), 12);
  EXPECT_EQ(p.numberOf("f_1234.png"), 1234);
  for (const char* other : {"f_12.png", "f_0012.png", "f_012.jpg", "f_abc.png"}) EXPECT_EQ(p.numberOf(other), std::nullopt) << other;
  EXPECT_EQ(SequencePattern::parse("%d.png").numberOf("07.png"), std::nullopt);
}

TEST(SequencePattern, RunStartsAtTheLowestNumberAndEndsAtTheFirstGap) {
  testing::ScratchDir dir;
  for (int n : {3, 4, 5, 7, 8}) testing::writeFileBytes(dir / ("f" + std::to_string(n) + ".png"), "x");
  testing::writeFileBytes(dir / "other.png", "x");
  const SequencePattern p = SequencePattern::parse(dir / "f%d.png");
  EXPECT_EQ(p.existingNumbers(), (std::vector<std::int64_t>{3, 4, 5, 7, 8}));
  EXPECT_EQ(p.findRun().first, 3);
  EXPECT_EQ(p.findRun().count, 3);
  EXPECT_EQ(SequencePattern::parse(dir / "g%d.png").findRun().count, 0);
}

}  // namespace
}  // namespace dshost
