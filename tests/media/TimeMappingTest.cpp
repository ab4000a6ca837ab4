// Frame indices to the host's (value, step, scale) times and back.
#include <gtest/gtest.h>

#include "host/media/MediaError.h"
#include "host/media/TimeMapping.h"

namespace dshost {
namespace {

TEST(TimeMapping, ScaleIsTheRateNumeratorAndStepItsDenominator) {
  const TimeMapping ntsc(Rational{30000, 1001});
  EXPECT_EQ(ntsc.timeOfFrame(0), (HostTime{0, 1001, 30000}));
  EXPECT_EQ(ntsc.timeOfFrame(3), (HostTime{3003, 1001, 30000}));
  EXPECT_NEAR(ntsc.timeOfFrame(30).seconds(), 1.001, 1e-12);
  EXPECT_EQ(TimeMapping(Rational{60, 2}).timeOfFrame(7), (HostTime{7, 1, 30}));  // rates are reduced
}

TEST(TimeMapping, InverseFindsTheFrameWhoseIntervalHoldsTheTime) {
  const TimeMapping map(Rational{30000, 1001});
  for (std::int64_t n : {0LL, 1LL, 29LL, 30LL, 123456LL, 3'000'000'000LL}) {  // the last is years long: no overflow
    const HostTime t = map.timeOfFrame(n);
    EXPECT_EQ(map.frameAtTime(t), n);
    EXPECT_EQ(map.frameAtTime(t.value + t.step - 1, t.scale), n);  // last tick of the frame
    EXPECT_EQ(map.frameAtTime(t.value + t.step, t.scale), n + 1);
  }
  EXPECT_EQ(map.frameAtTime(1000, 1000), 29);  // 1 s in another scale; frame 30 starts at 1.001 s
  EXPECT_EQ(map.frameAtTime(1001, 1000), 30);
  EXPECT_EQ(map.frameAtTime(-1, 30000), -1);  // before zero rounds down, not towards zero
  EXPECT_EQ(TimeMapping(Rational{3, 1}).frameAtSeconds(1.0 / 3.0), 1);
  EXPECT_EQ(TimeMapping(Rational{24000, 1001}).frameAtSeconds(10.0), 239);
}

TEST(TimeMapping, RejectsInvalidRates) {
  for (Rational bad : {Rational{0, 1}, Rational{25, 0}, Rational{-25, 1}}) EXPECT_THROW(TimeMapping{bad}, MediaError);
  EXPECT_THROW(TimeMapping(Rational{25, 1}).frameAtTime(5, 0), MediaError);
}

}  // namespace
}  // namespace dshost
