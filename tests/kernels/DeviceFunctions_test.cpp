// The kernel text's device functions, called directly through the host build.
#include <cmath>
#include <cstdint>
#include <limits>

#include "KernelTestSupport.h"

namespace driftsmear::testing {
namespace {

using namespace driftsmear::kernel;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(DeviceFunctions, FlowVectorInvertsTheVerticalComponent) {
  float2 f = getFlowVector(0.25f, 0.5f, make_float2(2.0f, 2.0f));
  EXPECT_EQ(f.x, 0.5f);
  EXPECT_EQ(f.y, -1.0f);
  f = getFlowVector(-0.25f, -0.5f, make_float2(2.0f, 2.0f));
  EXPECT_EQ(f.x, -0.5f);
  EXPECT_EQ(f.y, 1.0f);
  // A negative scale keeps fx * s horizontally and never moves vertically.
  for (float fy : {0.5f, -0.5f}) {
    f = getFlowVector(0.25f, fy, make_float2(-2.0f, -2.0f));
    EXPECT_EQ(f.x, -0.5f);
    EXPECT_EQ(f.y, 0.0f);
  }
  // NaN components (0/0 on a flat area with lambda 0) give no motion.
  f = getFlowVector(kNaN, kNaN, make_float2(2.0f, 2.0f));
  EXPECT_EQ(f.x, 0.0f);
  EXPECT_EQ(f.y, 0.0f);
}

TEST(DeviceFunctions, SmoothStepDefinesEveryCase) {
  EXPECT_EQ(smoothStep(0.0f, 1.0f, -1.0f), 0.0f);
  EXPECT_EQ(smoothStep(0.0f, 1.0f, 0.5f), 0.5f);
  EXPECT_FLOAT_EQ(smoothStep(0.0f, 2.0f, 0.5f), 0.15625f);
  EXPECT_EQ(smoothStep(0.0f, 1.0f, 3.0f), 1.0f);
  // Equal edges: 0 at or below the edge, 1 above it.
  EXPECT_EQ(smoothStep(0.0f, 0.0f, -0.1f), 0.0f);
  EXPECT_EQ(smoothStep(0.0f, 0.0f, 0.0f), 0.0f);
  EXPECT_EQ(smoothStep(0.0f, 0.0f, 1e-30f), 1.0f);
  EXPECT_EQ(smoothStep(0.3f, 0.3f, 0.3f), 0.0f);
  // NaN input and reversed edges.
  EXPECT_EQ(smoothStep(0.0f, 1.0f, kNaN), 0.0f);
  EXPECT_EQ(smoothStep(0.0f, 0.0f, kNaN), 0.0f);
  EXPECT_EQ(smoothStep(1.0f, 0.0f, 0.0f), 1.0f);
  EXPECT_EQ(smoothStep(1.0f, 0.0f, 1.0f), 0.0f);
}

TEST(DeviceFunctions, ClampsDiscardNaN) {
  EXPECT_EQ(saturate(kNaN), 0.0f);
  EXPECT_EQ(saturate(-kInf), 0.0f);
  EXPECT_EQ(saturate(kInf), 1.0f);
  EXPECT_EQ(saturate(0.25f), 0.25f);
  EXPECT_EQ(clampNum(kNaN, -1.0f, 1.0f), -1.0f);
  EXPECT_EQ(maxNum(kNaN, 2.0f), 2.0f);
  EXPECT_EQ(maxNum(2.0f, kNaN), 2.0f);
  EXPECT_EQ(minNum(kNaN, -2.0f), -2.0f);
  EXPECT_EQ(minNum(-2.0f, 3.0f), -2.0f);
}

// Nearest pixel at or below the coordinate; outside the frame both components
// are clamped to the last pixel's low corner.
TEST(DeviceFunctions, TextureSamplesClampAtTheFrame) {
  PixelBuffer image(4, 2, false, 5);
  for (unsigned int y = 0; y < 2; ++y) {
    for (unsigned int x = 0; x < 4; ++x) {
      image.Set(x, y, make_float4(static_cast<float>(x), static_cast<float>(y), 7.0f, 1.0f));  // B=x, G=y
    }
  }
  const auto sample = [&](float u, float v) {
    const float4 rgba = getTexture(image.data(), make_float2(u, v), 4, 2, image.pitch(), false);
    return std::pair<float, float>(rgba.z, rgba.y);  // (x, y) of the pixel read
  };
  using P = std::pair<float, float>;
  EXPECT_EQ(sample(0.0f, 0.0f), P(0.0f, 0.0f));
  EXPECT_EQ(sample(0.49f, 0.49f), P(1.0f, 0.0f));
  EXPECT_EQ(sample(0.5f, 0.5f), P(2.0f, 1.0f));
  EXPECT_EQ(sample(0.999f, 0.999f), P(3.0f, 1.0f));
  EXPECT_EQ(sample(-0.3f, 0.6f), P(0.0f, 1.0f));
  EXPECT_EQ(sample(1.5f, -2.0f), P(3.0f, 0.0f));
  EXPECT_EQ(sample(0.5f, 7.0f), P(2.0f, 1.0f));
  EXPECT_EQ(sample(-kInf, kInf), P(0.0f, 1.0f));
  EXPECT_EQ(sample(kNaN, 0.6f), P(0.0f, 1.0f));
}

TEST(DeviceFunctions, HalfStoresRoundTowardZero) {
  EXPECT_EQ(FloatToHalfBitsRtz(1.0009f), 0x3C00);
  EXPECT_EQ(FloatToHalfBitsRtz(-1.0009f), 0xBC00);
  EXPECT_EQ(FloatToHalfBitsRtz(1.0009765625f), 0x3C01);
  EXPECT_EQ(FloatToHalfBitsRtz(0.0f), 0x0000);
  EXPECT_EQ(FloatToHalfBitsRtz(-0.0f), 0x8000);
  EXPECT_EQ(FloatToHalfBitsRtz(65519.0f), 0x7BFF);  // nearest would round up to infinity
  EXPECT_EQ(FloatToHalfBitsRtz(1e9f), 0x7BFF);      // finite overflow stays finite
  EXPECT_EQ(FloatToHalfBitsRtz(-1e9f), 0xFBFF);
  EXPECT_EQ(FloatToHalfBitsRtz(kInf), 0x7C00);
  EXPECT_EQ(FloatToHalfBitsRtz(-kInf), 0xFC00);
  EXPECT_TRUE(std::isnan(HalfBitsToFloat(FloatToHalfBitsRtz(kNaN))));
  const float subnormalStep = std::ldexp(1.0f, -24);
  EXPECT_EQ(FloatToHalfBitsRtz(subnormalStep), 0x0001);
  EXPECT_EQ(FloatToHalfBitsRtz(3.0f * subnormalStep), 0x0003);
  EXPECT_EQ(FloatToHalfBitsRtz(2.99f * subnormalStep), 0x0002);  // truncated
  EXPECT_EQ(FloatToHalfBitsRtz(0.99f * subnormalStep), 0x0000);
  EXPECT_EQ(FloatToHalfBitsRtz(1e-30f), 0x0000);
  EXPECT_EQ(FloatToHalfBitsRtz(std::ldexp(1.0f, -14)), 0x0400);          // smallest normal
  EXPECT_EQ(FloatToHalfBitsRtz(std::ldexp(0.9999f, -14)), 0x03FF);       // largest subnormal
}

TEST(DeviceFunctions, EveryHalfWidensAndNarrowsBackExactly) {
  for (std::uint32_t bits = 0; bits <= 0xFFFF; ++bits) {
    const std::uint16_t h = static_cast<std::uint16_t>(bits);
    const float f = HalfBitsToFloat(h);
    if ((h & 0x7C00) == 0x7C00 && (h & 0x03FF) != 0) {
      EXPECT_TRUE(std::isnan(f)) << std::hex << bits;
      continue;
    }
    ASSERT_EQ(FloatToHalfBitsRtz(f), h) << std::hex << bits << " widened to " << f;
  }
  EXPECT_EQ(HalfBitsToFloat(0x3C00), 1.0f);
  EXPECT_EQ(HalfBitsToFloat(0xC000), -2.0f);
  EXPECT_EQ(HalfBitsToFloat(0x7BFF), 65504.0f);
  EXPECT_EQ(HalfBitsToFloat(0x0001), 5.9604644775390625e-08f);
}

}  // namespace
}  // namespace driftsmear::testing
