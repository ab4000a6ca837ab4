// printf-style names of numbered files.
#include <gtest/gtest.h>

#include "host/media/MediaError.h"
#include "host/media/SequencePattern.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

TEST(SequencePattern, NamesFilesLikeFfmpeg) {
  const SequencePattern padded = SequencePattern::parse("shots/a_%04d.png");
  EXPECT_EQ(padded.fileFor(7), std::filesystem::path("shots/a_0007.png"));
  EXPECT_EQ(padded.fileFor(123456), std::filesystem::path("shots/a_123456.png"));
  EXPECT_EQ(SequencePattern::parse("%d.png").fileFor(42), std::filesystem::path("42.png"));
  EXPECT_EQ(SequencePattern::parse("%3d.png").fileFor(5), std::filesystem::path("005.png"));  // width pads with zeros
  EXPECT_EQ(SequencePattern::parse("100%%_%02d.png").fileFor(3), std::filesystem::path("100%_03.png"));
}

TEST(SequencePattern, RecognisesPatterns) {
  EXPECT_TRUE(SequencePattern::looksLikePattern("f%d.png"));
  EXPECT_TRUE(SequencePattern::looksLikePattern("dir/f%06d.png"));
  EXPECT_FALSE(SequencePattern::looksLikePattern("100%%.png"));
  EXPECT_FALSE(SequencePattern::looksLikePattern("%d/frame.png"));  // the folder part does not count
  EXPECT_FALSE(SequencePattern::looksLikePattern("clip.mp4"));
}

TEST(SequencePattern, RejectsMalformedPatterns) {
  for (const char* bad : {"a%d_%d.png", "a%s%d.png", "a%.png"}) {
    try {
      SequencePattern::parse(bad);
      ADD_FAILURE() << bad;
    } catch (const MediaError& e) {
      EXPECT_EQ(e.code(), MediaErrc::InvalidArgument) << bad;
    }
  }
}

TEST(SequencePattern, MatchesOnlyTheExactSpelling) {
  const SequencePattern p = SequencePattern::parse("f_%03d.png");
  EXPECT_EQ(p.numberOf("f_012.png"), 12);
  EXPECT_EQ(p.numberOf("f_1234.png"), 1234);
  EXPECT_EQ(p.numberOf("f_12.png"), std::nullopt);
  EXPECT_EQ(p.numberOf("f_0012.png"), std::nullopt);
  EXPECT_EQ(p.numberOf("f_012.jpg"), std::nullopt);
  EXPECT_EQ(p.numberOf("f_abc.png"), std::nullopt);
  EXPECT_EQ(SequencePattern::parse("%d.png").numberOf("07.png"), std::nullopt);
}

TEST(SequencePattern, RunStartsAtTheLowestNumberAndEndsAtTheFirstGap) {
  testing::ScratchDir dir;
  for (int n : {3, 4, 5, 7, 8}) testing::writeFileBytes(dir / ("f" + std::to_string(n) + ".png"), "x");
  testing::writeFileBytes(dir / "other.png", "x");
  const SequencePattern p = SequencePattern::parse(dir / "f%d.png");
  EXPECT_EQ(p.existingNumbers(), (std::vector<std::int64_t>{3, 4, 5, 7, 8}));
  const SequencePattern::Run run = p.findRun();
  EXPECT_EQ(run.first, 3);
  EXPECT_EQ(run.count, 3);
  EXPECT_EQ(SequencePattern::parse(dir / "g%d.png").findRun().count, 0);
}

}  // namespace
}  // namespace dshost
