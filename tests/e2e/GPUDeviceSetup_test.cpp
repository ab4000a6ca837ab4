// GPU device setup and takedown through EffectMain: a device with kernels
// (OpenCL), one without (CUDA, whose kernels are registered at load), refused
// frameworks, failing host calls, and nothing left behind afterwards.
#include <gtest/gtest.h>

#include "AE_EffectCBSuites.h"
#include "AE_EffectGPUSuites.h"
#include "common/ContextReferences.h"
#include "e2e/E2ETestSupport.h"
#include "render/DriftSmear_AePrGPU_Functions.h"

namespace e2e {
namespace {

using testsupport::LinesContaining;

TEST(GPUDeviceSetup, AnOpenCLDeviceGetsItsKernelsAndTakedownReturnsEverything) {
  E2E_REQUIRE_DEVICE(kFirstOpenCL, index);
  AeInstance ae;
  dshost::EffectHost& host = ae.host();
  dshost::GpuDevice& device = host.gpu().OpenDevice(index);
  const uint32_t references = device.ContextReferenceCount().value_or(0);
  const size_t handles = host.runtime().LiveHandles();

  ASSERT_EQ(ae.SetUpDevice(index), PF_Err_NONE);
  EXPECT_EQ(host.out_data().out_flags2, PF_OutFlag2_SUPPORTS_GPU_RENDER_F32);
  EXPECT_NE(host.out_data().out_flags & PF_OutFlag_REFRESH_UI, 0);
  ASSERT_NE(ae.gpuData(), nullptr);
  const auto listHandle = static_cast<PF_Handle>(ae.gpuData());
  EXPECT_EQ(host.runtime().HandleSize(listHandle), sizeof(KernelList));
  const auto* list = static_cast<const KernelList*>(*listHandle);
  EXPECT_STREQ(list->entries[0].name, "MainKernel");
  EXPECT_STREQ(list->entries[1].name, "ResizeKernel");
  EXPECT_NE(list->entries[0].kernel, nullptr);
  EXPECT_EQ(host.runtime().LiveHandles(), handles + 1);
  EXPECT_EQ(LinesContaining(ae.Log(), "KQR :: Initialized new device: OpenCL").size(), 1u);

  EXPECT_EQ(ae.TakeDownDevice(), PF_Err_NONE);
  device.Finish();
  EXPECT_EQ(host.runtime().LiveHandles(), handles);
  EXPECT_EQ(testsupport::SettledContextReferences(device, references).value_or(0), references) << "a kernel or program of the effect is left";
  EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
}

TEST(GPUDeviceSetup, ACudaDeviceNeedsNoKernelsOfItsOwn) {
  E2E_REQUIRE_DEVICE(kFirstCuda, index);
  AeInstance ae;
  const size_t handles = ae.host().runtime().LiveHandles();
  ASSERT_EQ(ae.SetUpDevice(index), PF_Err_NONE);
  EXPECT_EQ(ae.host().out_data().out_flags2, PF_OutFlag2_SUPPORTS_GPU_RENDER_F32);
  ASSERT_NE(ae.gpuData(), nullptr);
  const auto* list = static_cast<const KernelList*>(*static_cast<PF_Handle>(ae.gpuData()));
  EXPECT_EQ(list->entries[0].kernel, nullptr);
  EXPECT_EQ(LinesContaining(ae.Log(), "KQR :: Initialized new device: CUDA").size(), 1u);
  EXPECT_EQ(ae.TakeDownDevice(), PF_Err_NONE);
  EXPECT_EQ(ae.host().runtime().LiveHandles(), handles);
}

class GPUDeviceRefusal : public ::testing::Test {
 protected:
  void SetUp() override {
    E2E_REQUIRE_DEVICE(kFirstOpenCL, index);
    index_ = index;
  }
  uint32_t index_ = 0;
  AeInstance ae_;
};

TEST_F(GPUDeviceRefusal, MetalAndUnknownFrameworksAreRefusedAndTakedownThenDoesNothing) {
  const size_t handles = ae_.host().runtime().LiveHandles();
  EXPECT_EQ(ae_.SetUpDevice(index_, PF_GPU_Framework_METAL), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(ae_.gpuData(), nullptr);
  EXPECT_EQ(ae_.host().runtime().LiveHandles(), handles) << "the refused device's kernel list is freed";
  EXPECT_EQ(ae_.host().out_data().out_flags2, 0) << "the device is not accepted";
  EXPECT_EQ(LinesContaining(ae_.Log(), ":InitializeGPU] :: Metal is not available").size(), 1u);
  EXPECT_EQ(ae_.TakeDownDevice(), PF_Err_NONE);

  EXPECT_EQ(ae_.SetUpDevice(index_, PF_GPU_Framework_NONE), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(LinesContaining(ae_.Log(), ":InitializeGPU] :: Unsupported GPU type").size(), 1u);
  EXPECT_EQ(ae_.TakeDownDevice(), PF_Err_NONE);
  EXPECT_EQ(LinesContaining(ae_.Log(), "PF_Cmd_GPU_DEVICE_SETUP. Code: PF_Err_INTERNAL_STRUCT_DAMAGED (512)").size(),
            2u);
}

TEST_F(GPUDeviceRefusal, AMissingSuiteIsShownAndFailsWithMissingSuite) {
  ae_.host().runtime().suites().Withhold(kPFGPUDeviceSuite);
  EXPECT_EQ(ae_.SetUpDevice(index_), A_Err_MISSING_SUITE);
  EXPECT_STREQ(ae_.host().out_data().return_msg, "Not able to acquire AEFX Suite.");
  EXPECT_NE(ae_.host().out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
  EXPECT_EQ(ae_.gpuData(), nullptr);
  EXPECT_EQ(ae_.host().runtime().suites().Outstanding(), 0) << "the handle suite is released on the way out";
  EXPECT_EQ(LinesContaining(ae_.Log(), "Try Catch Exception code at event PF_Cmd_GPU_DEVICE_SETUP is "
                                       "PF_Err?UNKNOWN (13)")
                .size(),
            1u);

  ae_.host().runtime().suites().RestoreAll();
  ASSERT_EQ(ae_.SetUpDevice(index_), PF_Err_NONE);
  ae_.host().runtime().suites().Withhold(kPFHandleSuite);
  void* gpuData = ae_.gpuData();
  EXPECT_EQ(ae_.TakeDownDevice(), A_Err_MISSING_SUITE);
  ae_.host().runtime().suites().RestoreAll();
  // The device is still the effect's: take it down properly.
  PF_GPUDeviceSetdownInput input{gpuData, PF_GPU_Framework_OPENCL, index_};
  PF_GPUDeviceSetdownExtra extra{&input};
  EXPECT_EQ(ae_.host().Call(PF_Cmd_GPU_DEVICE_SETDOWN, nullptr, nullptr, &extra), PF_Err_NONE);
}

TEST_F(GPUDeviceRefusal, AFailedDeviceQueryEndsTheSetup) {
  const size_t handles = ae_.host().runtime().LiveHandles();
  ae_.host().runtime().faults().FailCall("PF GPU Device Suite.GetDeviceInfo", 1, PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(ae_.SetUpDevice(index_), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(ae_.gpuData(), nullptr);
  EXPECT_EQ(ae_.host().runtime().LiveHandles(), handles) << "no kernel list is made for a device it cannot see";
}

}  // namespace
}  // namespace e2e
