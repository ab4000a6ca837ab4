// The kernel data record's filling from the parameters, with the values
// served by our host. (Its layout is checked where it is declared.)
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstddef>
#include <cstring>
#include <numbers>

#include "ParamsTestSupport.h"
#include "params/DriftSmear_KernelData.h"
#include "params/DriftSmear_Parameters.h"

using paramstest::AfterEffectsTest;

namespace {

constexpr unsigned char kUnwritten = 0xAB;

class KernelDataFillTest : public AfterEffectsTest {
 protected:
  void SetUp() override {
    AfterEffectsTest::SetUp();
    std::memset(&data_, kUnwritten, sizeof(data_));
  }

  PF_Err Fill(bool activated = true) {
    dshost::HostScope scope(host().runtime());
    store().ClearCheckoutLog();
    return FillKernelData(&host().in_data(), activated, &data_, &frameOffset_);
  }

  bool Unwritten(const void* field, size_t size) const {
    const auto* bytes = static_cast<const unsigned char*>(field);
    for (size_t i = 0; i < size; ++i) if (bytes[i] != kUnwritten) return false;
    return true;
  }

  static float Radians(double degrees) {
    // 16.16 degrees to radians in double precision, rounded once to float.
    return static_cast<float>(std::llround(degrees * 65536.0) * 1.52587890625e-05 * std::numbers::pi / 180.0);
  }

  KernelData data_{};
  float frameOffset_ = -1.0f;
};

}  // namespace

TEST_F(KernelDataFillTest, DefaultsConvertAsTheKernelsExpect) {
  host().in_data().current_time = 50;
  host().in_data().time_scale = 25;
  ASSERT_EQ(Fill(), PF_Err_NONE);
  EXPECT_TRUE(data_.is_activated);
  EXPECT_EQ(data_.time, 2.0f);
  EXPECT_EQ(data_.numFrames, 10);
  EXPECT_EQ(frameOffset_, 1.0f);
  EXPECT_EQ(data_.trailIntensity, 10.0f);
  EXPECT_EQ(data_.displaceIntensity, 5.0f);
  EXPECT_EQ(data_.threshold, 0.3f);
  EXPECT_EQ(data_.lambda, 0.5f);
  EXPECT_EQ(data_.minVel, 0.01f);
  EXPECT_EQ(data_.maxVel, 0.5f);
  EXPECT_NEAR(data_.offsetX, 0.0707107, 1e-7);
  EXPECT_NEAR(data_.offsetY, 0.0707107, 1e-7);
  EXPECT_EQ(data_.chromatic, 0.5f);
  EXPECT_EQ(data_.chromaticOffset, 0.0f);
  EXPECT_EQ(data_.percentEase, 4.0f);
  EXPECT_EQ(data_.showDebugData, 1);
  EXPECT_EQ(data_.preset, 1);
  EXPECT_TRUE(data_.isPremult);
  // Neither the per-pass weight nor the frame origins are part of this step.
  EXPECT_TRUE(Unwritten(&data_.percent, sizeof(data_.percent)));
  EXPECT_TRUE(Unwritten(data_.originH, sizeof(data_.originH)));
}

TEST_F(KernelDataFillTest, FetchesByDiskIdInOrderAndChecksEveryParameterIn) {
  ASSERT_EQ(Fill(false), PF_Err_NONE);
  EXPECT_FALSE(data_.is_activated);
  std::vector<PF_ParamIndex> expected;
  for (A_long id : {6, 7, 19, 20, 10, 11, 8, 9, 13, 12, 16, 17, 18, 3, 23, 22}) expected.push_back(Index(id));
  EXPECT_EQ(store().CheckoutLog(), expected);
  EXPECT_EQ(store().OutstandingCheckouts(), 0);
}

TEST_F(KernelDataFillTest, HandPickedValues) {
  // A keyframed frame count passes through fractional values.
  store().SetKeyframe(Index(6), 0, 25, 10.0);
  store().SetKeyframe(Index(6), 250, 25, 11.0);
  host().in_data().current_time = 225;
  host().in_data().time_scale = 25;
  store().SetValueById(12, 90.0);
  store().SetValueById(13, 20.0);
  store().SetValueById(17, -0.5);
  store().SetValueById(19, 500.0);
  store().SetValueById(3, 4.0);
  store().SetValueById(22, 0.0);

  ASSERT_EQ(Fill(), PF_Err_NONE);
  EXPECT_DOUBLE_EQ(store().ValueById(6, 225, 25), 10.9);
  EXPECT_EQ(data_.numFrames, 10);
  EXPECT_EQ(data_.offsetY, 0.2f);
  EXPECT_NEAR(data_.offsetX, 0.0, 1e-7);
  EXPECT_EQ(data_.chromaticOffset, Radians(-0.5));
  EXPECT_EQ(data_.trailIntensity, 250.0f);
  EXPECT_EQ(data_.showDebugData, 4);
  EXPECT_FALSE(data_.isPremult);
}

TEST_F(KernelDataFillTest, TheMotionAngleIsConvertedInDoubleThenTakenInSinglePrecisionTrig) {
  // At 141 degrees, radians taken in float arithmetic, or cos and sin taken in
  // double, give other bits.
  store().SetValueById(kDiskMotionAngle, 141.0);
  ASSERT_EQ(Fill(), PF_Err_NONE);
  const float radians = Radians(141.0);
  const float expectedX = static_cast<float>(static_cast<double>(std::cos(radians)) * 0.1);
  const float expectedY = static_cast<float>(static_cast<double>(std::sin(radians)) * 0.1);
  EXPECT_EQ(std::bit_cast<uint32_t>(data_.offsetX), std::bit_cast<uint32_t>(expectedX));
  EXPECT_EQ(std::bit_cast<uint32_t>(data_.offsetY), std::bit_cast<uint32_t>(expectedY));
  const float floatRadians = 141.0f * 65536.0f * 1.52587890625e-05f * std::numbers::pi_v<float> / 180.0f;
  EXPECT_NE(static_cast<float>(static_cast<double>(std::cos(floatRadians)) * 0.1), expectedX);
  EXPECT_NE(static_cast<float>(std::cos(static_cast<double>(radians)) * 0.1), expectedX);
}

TEST_F(KernelDataFillTest, FailedFirstCheckoutStillWritesTheOffsets) {
  FailNext("inter.checkout_param", 1, PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(Fill(), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(data_.offsetX, 0.0f);
  EXPECT_EQ(data_.offsetY, 0.0f);
  EXPECT_TRUE(Unwritten(&data_.numFrames, sizeof(data_.numFrames)));
  EXPECT_TRUE(Unwritten(&data_.isPremult, sizeof(data_.isPremult)));
  EXPECT_EQ(frameOffset_, -1.0f);
  EXPECT_EQ(store().CheckoutCount(), 0);  // nothing after the failure
}

TEST_F(KernelDataFillTest, FailedCheckinKeepsItsCodeAndSkipsTheRest) {
  FailNext("inter.checkin_param", 3, PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(Fill(), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(data_.numFrames, 10);
  EXPECT_EQ(data_.trailIntensity, 10.0f);
  EXPECT_TRUE(Unwritten(&data_.displaceIntensity, sizeof(data_.displaceIntensity)));
  EXPECT_EQ(data_.offsetX, 0.0f);
  EXPECT_EQ(data_.offsetY, 0.0f);
  EXPECT_EQ(store().CheckoutCount(), 3);
}

TEST_F(KernelDataFillTest, FailureAfterTheMotionSizeKeepsItsLength) {
  // The angle's checkout (the tenth) fails: the direction stays 0 degrees.
  FailNext("inter.checkout_param", 10, PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(Fill(), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(data_.offsetX, 0.1f);
  EXPECT_EQ(data_.offsetY, 0.0f);
}

TEST(KernelDataFill, RejectsMissingRecords) {
  PF_InData in{};
  KernelData data{};
  EXPECT_EQ(FillKernelData(nullptr, true, &data, nullptr), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(FillKernelData(&in, true, nullptr, nullptr), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(FillKernelData(&in, true, &data, nullptr), PF_Err_INVALID_CALLBACK);
}
