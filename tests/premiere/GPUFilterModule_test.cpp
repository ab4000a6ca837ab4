// The GPU filter without a GPU: the module's xGPUFilterEntry,
// the byte-packed records, the Premiere conversions into KernelData, and the
// parameter values and tick rate our host serves.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <numbers>

#include "PrSDKTimeSuite.h"
#include "common/TestSupport.h"
#include "host/EffectHost.h"
#include "host/HostError.h"
#include "host/HostRuntime.h"
#include "host/PluginModule.h"
#include "host/premiere/PremiereHost.h"
#include "params/DriftSmear_Parameters.h"
#include "render/DriftSmear_PrGPU.h"

namespace {

using dshost::EffectHost;
using dshost::HostApp;
using dshost::PluginModule;
using dshost::PremiereHost;

// The Premiere records are byte-packed, so their 64-bit fields sit at odd
// offsets: read them by value before comparing (a reference to one is
// misaligned).
template <typename T>
T ByValue(T field) {
  return field;
}

class FilterEntry : public ::testing::Test {
 protected:
  PluginModule module_{DRIFTSMEAR_MODULE_PATH};
  PrGPUFilterEntry entry_ =
      reinterpret_cast<PrGPUFilterEntry>(module_.Symbol(PrGPUFilterEntryPointName));
};

TEST_F(FilterEntry, StartupHandsOverOneFilterThatRefusesAnInstanceWithoutSuites) {
  ASSERT_NE(entry_, nullptr) << "the module exports xGPUFilterEntry";
  csSDK_int32 index = 0;
  PrGPUFilter filter{};
  PrGPUFilterInfo info{};
  info.outMatchName.opaque[0] = 7;
  EXPECT_EQ(entry_(PrSDKGPUFilterInterfaceVersion, &index, kPrTrue, nullptr, &filter, &info), suiteError_NoError);
  EXPECT_EQ(index, 0) << "no further filter follows";
  EXPECT_EQ(info.outInterfaceVersion, static_cast<csSDK_uint32>(PrSDKGPUFilterInterfaceVersion));
  EXPECT_EQ(ByValue(info.outMatchName.opaque[0]), 0) << "the module's own match name";
  ASSERT_NE(filter.CreateInstance, nullptr);
  ASSERT_NE(filter.DisposeInstance, nullptr);
  EXPECT_NE(filter.GetFrameDependencies, nullptr);
  EXPECT_NE(filter.Precompute, nullptr);
  EXPECT_NE(filter.Render, nullptr);

  // No suites to reach the host through: the filter's own Initialize refuses
  // the instance instead of using null suites, and the module frees it. The
  // record is byte-packed: the pointer is compared by value, never bound to a
  // reference at its unaligned offset.
  PrGPUFilterInstance instance{};
  EXPECT_EQ(filter.CreateInstance(&instance), suiteError_InvalidParms);
  EXPECT_EQ(static_cast<void*>(instance.ioPrivatePluginData), nullptr);
  EXPECT_EQ(filter.DisposeInstance(&instance), suiteError_NoError);

  EXPECT_EQ(entry_(PrSDKGPUFilterInterfaceVersion, &index, kPrFalse, nullptr, &filter, &info), suiteError_NoError);
  csSDK_int32 second = 1;
  EXPECT_EQ(entry_(PrSDKGPUFilterInterfaceVersion, &second, kPrTrue, nullptr, &filter, &info), suiteError_InvalidParms);
}

// Parameter values as a host that reports angles as 32-bit floats gives
// them, with every byte after the value set, so that a read wider than the
// value shows.
class PremiereConversions : public ::testing::Test {
 protected:
  PrParam Value(int diskId) const {
    PrParam param;
    std::memset(&param, 0xFF, sizeof(param));
    switch (diskId) {
      case kDiskMotionAngle:
        param.mType = kPrParamType_Float32;
        param.mFloat32 = motionAngle;
        break;
      case kDiskDebugDisplay:
      case kDiskPreset:
        param.mType = kPrParamType_Int32;
        param.mInt32 = diskId == kDiskPreset ? preset : debugView;
        break;
      case kDiskPremultiplied:
        param.mType = kPrParamType_Bool;
        param.mBool = premultiplied;
        break;
      default:
        param.mType = kPrParamType_Float64;
        param.mFloat64 = diskId == kDiskChromaticOffset ? chromaticOffset : sliders.at(diskId);
        break;
    }
    return param;
  }

  KernelData Fill() const {
    KernelData data{};
    FillPremiereKernelData([&](int diskId) { return Value(diskId); }, data);
    return data;
  }

  std::map<int, double> sliders{{kDiskTrail, 20},         {kDiskDisplace, 10},       {kDiskVelocityThreshold, 15},
                                {kDiskDisplaceThreshold, 50}, {kDiskMinVelocity, 1},  {kDiskMaxVelocity, 50},
                                {kDiskMotionSize, 10},    {kDiskChromatic, 50},      {kDiskAmount, 80}};
  float motionAngle = 45.0f;
  double chromaticOffset = 90.0;
  csSDK_int32 debugView = 0x7F02;
  csSDK_int32 preset = 0x0105;
  csSDK_uint8 premultiplied = 1;
};

TEST_F(PremiereConversions, SlidersAsInAfterEffects) {
  const KernelData data = Fill();
  EXPECT_EQ(data.trailIntensity, 10.0f);
  EXPECT_EQ(data.displaceIntensity, 5.0f);
  EXPECT_EQ(data.threshold, static_cast<float>(15.0 / 50.0));
  EXPECT_EQ(data.lambda, 0.5f);
  EXPECT_EQ(data.minVel, static_cast<float>(1.0 / 100.0));
  EXPECT_EQ(data.maxVel, 0.5f);
  EXPECT_EQ(data.chromatic, 0.5f);
  EXPECT_EQ(data.percentEase, 4.0f);
}

TEST_F(PremiereConversions, AnglesPopupsAndCheckbox) {
  const KernelData data = Fill();
  // The motion angle is the leading 32-bit float, in degrees; the products
  // with the motion size are single precision.
  const float angle = static_cast<float>(45.0 * std::numbers::pi / 180.0);
  EXPECT_EQ(data.offsetX, std::cos(angle) * 0.1f);
  EXPECT_EQ(data.offsetY, std::sin(angle) * 0.1f);
  EXPECT_NEAR(data.offsetX, 0.0707107f, 1e-6f);
  // The chromatic offset stays in degrees.
  EXPECT_EQ(data.chromaticOffset, 90.0f);
  // Popups and the checkbox are their low byte.
  EXPECT_EQ(data.showDebugData, 2);
  EXPECT_EQ(data.preset, 5);
  EXPECT_TRUE(data.isPremult);

  premultiplied = 0;
  motionAngle = 180.0f;
  const KernelData turned = Fill();
  EXPECT_FALSE(turned.isPremult);
  EXPECT_NEAR(turned.offsetX, -0.1f, 1e-6f);
  EXPECT_NEAR(turned.offsetY, 0.0f, 1e-6f);

  // At 141 degrees radians taken in float arithmetic give other bits.
  motionAngle = 141.0f;
  const KernelData slanted = Fill();
  const float radians = static_cast<float>(141.0 * std::numbers::pi / 180.0);
  EXPECT_EQ(std::bit_cast<uint32_t>(slanted.offsetX), std::bit_cast<uint32_t>(std::cos(radians) * 0.1f));
  EXPECT_EQ(std::bit_cast<uint32_t>(slanted.offsetY), std::bit_cast<uint32_t>(std::sin(radians) * 0.1f));
  const float floatRadians = 141.0f * std::numbers::pi_v<float> / 180.0f;
  EXPECT_NE(std::cos(floatRadians) * 0.1f, std::cos(radians) * 0.1f);
}

// The EffectMain side set up as Premiere does, and the GPU filter module
// started on top of it; no device is needed.
class PremiereParameters : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(effect_.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    ASSERT_EQ(effect_.Call(PF_Cmd_PARAMS_SETUP), PF_Err_NONE);
    host_ = std::make_unique<PremiereHost>(effect_);
  }
  void TearDown() override {
    host_.reset();
    effect_.Call(PF_Cmd_GLOBAL_SETDOWN);
  }

  // The value the filter receives for the parameter with this Disk ID (its
  // index in the filter's list is the table position - 1).
  PrParam At(int diskId, PrTime time = 0) {
    PrParam param{};
    EXPECT_EQ(host_->ParamValue(FindParamIndexByDiskID(diskId) - 1, time, &param), suiteError_NoError);
    return param;
  }

  testsupport::ScopedTempDir temp_;
  EffectHost effect_{DRIFTSMEAR_MODULE_PATH, HostApp::Premiere};
  std::unique_ptr<PremiereHost> host_;
};

TEST_F(PremiereParameters, EachKindHasItsType) {
  const PrParam trail = At(kDiskTrail);
  EXPECT_EQ(trail.mType, kPrParamType_Float64);
  EXPECT_EQ(ByValue(trail.mFloat64), 20.0);

  effect_.parameters().SetValueById(kDiskMotionAngle, 30.5);
  const PrParam angle = At(kDiskMotionAngle);
  EXPECT_EQ(angle.mType, kPrParamType_Float32);
  EXPECT_EQ(ByValue(angle.mFloat32), 30.5f);

  effect_.parameters().SetValueById(kDiskPreset, 4);
  const PrParam preset = At(kDiskPreset);
  EXPECT_EQ(preset.mType, kPrParamType_Int32);
  EXPECT_EQ(ByValue(preset.mInt32), 4);
  EXPECT_EQ(ByValue(preset.mInt8), 4);

  const PrParam premultiplied = At(kDiskPremultiplied);
  EXPECT_EQ(premultiplied.mType, kPrParamType_Bool);
  EXPECT_EQ(ByValue(premultiplied.mBool), 1);

  host_->SetAngleParamType(kPrParamType_Float64);
  const PrParam wide = At(kDiskMotionAngle);
  EXPECT_EQ(wide.mType, kPrParamType_Float64);
  EXPECT_EQ(ByValue(wide.mFloat64), 30.5);
  EXPECT_THROW(host_->SetAngleParamType(kPrParamType_Int32), dshost::HostError);
}

TEST_F(PremiereParameters, ValuesFollowKeyframesInTicksAndOnlyValuesAreServed) {
  dshost::ParameterStore& store = effect_.parameters();
  const PF_ParamIndex amount = store.IndexOf(kDiskAmount);
  store.SetKeyframe(amount, 0, 1, 0.0);
  store.SetKeyframe(amount, 2, 1, 100.0);
  EXPECT_DOUBLE_EQ(At(kDiskAmount, dshost::kPremiereTicksPerSecond / 2).mFloat64, 25.0);
  // A time with no 32-bit fraction of a second is taken to the microsecond.
  EXPECT_DOUBLE_EQ(At(kDiskAmount, dshost::kPremiereTicksPerSecond * 3 / 2 + 1).mFloat64, 75.0);

  PrParam param{};
  EXPECT_EQ(host_->ParamValue(FindParamIndexByDiskID(kDiskMotionGroup) - 1, 0, &param), suiteError_InvalidParms);
  EXPECT_EQ(host_->ParamValue(-1, 0, &param), suiteError_InvalidParms) << "the input layer is not in the list";
  EXPECT_EQ(host_->ParamValue(kParameterCount - 1, 0, &param), suiteError_InvalidParms);
}

TEST_F(PremiereParameters, TheSuitesAreReachedThroughTheBasicSuite) {
  dshost::HostScope scope(effect_.runtime());
  SPBasicSuite* basic = host_->suites()->utilFuncs->getSPBasicSuite();
  ASSERT_NE(basic, nullptr);
  const void* suite = nullptr;
  ASSERT_EQ(basic->AcquireSuite(kPrSDKTimeSuite, kPrSDKTimeSuiteVersion, &suite), kSPNoError);
  const auto* time = static_cast<const PrSDKTimeSuite*>(suite);
  PrTime ticks = 0;
  EXPECT_EQ(time->GetTicksPerSecond(&ticks), suiteError_NoError);
  EXPECT_EQ(ticks, 254016000000);
  EXPECT_EQ(time->GetTicksPerVideoFrame(kVideoFrameRate_2997, &ticks), suiteError_NoError);
  EXPECT_EQ(ticks, 8475667200);
  EXPECT_EQ(basic->ReleaseSuite(kPrSDKTimeSuite, kPrSDKTimeSuiteVersion), kSPNoError);
}

}  // namespace
