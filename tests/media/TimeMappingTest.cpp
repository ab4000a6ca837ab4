// Frame indices to the host's (value, step, scale) times and back.
#include <gtest/gtest.h>

#include "host/media/MediaError.h"
#include "host/media/TimeMapping.h"

namespace dshost {
namespace {

TEST(TimeMapping, NtscRateUsesNumeratorAsScaleAndDenominatorAsStep) {
  const TimeMapping map(Rational{30000, 1001});
  EXPECT_EQ(map.scale(), 30000);
  EXPECT_EQ(map.step(), 1001);
  EXPECT_EQ(map.timeOfFrame(0), (HostTime{0, 1001, 30000}));
  EXPECT_EQ(map.timeOfFrame(3), (HostTime{3003, 1001, 30000}));
  EXPECT_NEAR(map.timeOfFrame(30).seconds(), 1.001, 1e-12);
}

TEST(TimeMapping, RatesAreReduced) {
  const TimeMapping map(Rational{60, 2});
  EXPECT_EQ(map.frameRate(), (Rational{30, 1}));
  EXPECT_EQ(map.frameRate().num, 30);
  EXPECT_EQ(map.timeOfFrame(7), (HostTime{7, 1, 30}));
}

TEST(TimeMapping, InverseFindsTheFrameWhoseIntervalHoldsTheTime) {
  const TimeMapping map(Rational{30000, 1001});
  for (std::int64_t n : {0, 1, 2, 29, 30, 1000, 123456}) {
    const HostTime t = map.timeOfFrame(n);
    EXPECT_EQ(map.frameAtTime(t), n);
    EXPECT_EQ(map.frameAtTime(t.value + t.step - 1, t.scale), n);  // last tick of the frame
    EXPECT_EQ(map.frameAtTime(t.value + t.step, t.scale), n + 1);
  }
  // Times in another scale: 1 s is frame 29 (frame 30 starts at 1.001 s).
  EXPECT_EQ(map.frameAtTime(1000, 1000), 29);
  EXPECT_EQ(map.frameAtTime(1001, 1000), 30);
  EXPECT_EQ(map.frameAtTime(-1, 30000), -1);  // before zero rounds down, not towards zero
}

TEST(TimeMapping, LongTimesDoNotOverflow) {
  const TimeMapping map(Rational{30000, 1001});
  const std::int64_t frame = 3'000'000'000;  // over three years at 30 fps
  EXPECT_EQ(map.frameAtTime(map.timeOfFrame(frame)), frame);
  EXPECT_EQ(map.frameAtTime(map.timeOfFrame(frame).value, 30000), frame);
}

TEST(TimeMapping, Seconds) {
  const TimeMapping map(Rational{3, 1});
  EXPECT_EQ(map.frameAtSeconds(1.0 / 3.0), 1);
  EXPECT_EQ(map.frameAtSeconds(0.66), 1);
  EXPECT_EQ(map.frameAtSeconds(2.0), 6);
  EXPECT_EQ(TimeMapping(Rational{24000, 1001}).frameAtSeconds(10.0), 239);
}

TEST(TimeMapping, RejectsInvalidRates) {
  EXPECT_THROW(TimeMapping(Rational{0, 1}), MediaError);
  EXPECT_THROW(TimeMapping(Rational{25, 0}), MediaError);
  EXPECT_THROW(TimeMapping(Rational{-25, 1}), MediaError);
  EXPECT_THROW(TimeMapping(Rational{25, 1}).frameAtTime(5, 0), MediaError);
}

}  // namespace
}  // namespace dshost
