// CPU render requests through EffectMain: the effect renders on the GPU only
// and answers with a message, armed by the first refused render of a process
// and shown from the next one on.
#include <gtest/gtest.h>

#include "e2e/E2ETestSupport.h"
#include "host/gpu/GpuHost.h"

namespace e2e {
namespace {

using testsupport::LinesContaining;

constexpr const char* kMessageStart =
    "Wrong Settings for GPU Acceleration\n\nSorry, the current version of the plugin only supports GPU "
    "acceleration. ";

InMemoryClip SmallClip() { return DotClip(32, std::vector<DotFrame>(4, DotFrame{32, 0, 0}), 3); }

// The notice lives in the module for the life of the process, so these tests
// need a process in which the module was not used yet (ctest runs each test
// in its own).
#define REQUIRE_FRESH_MODULE()                                                                  \
  if (ModuleUsedEarlierInThisProcess()) {                                                       \
    GTEST_SKIP() << "needs a process of its own (the module keeps the notice's state); ctest " \
                    "runs each test separately";                                                \
  }

TEST(RenderCPU, AfterEffectsArmsTheNoticeThenShowsIt) {
  REQUIRE_FRESH_MODULE();
  AeInstance ae;
  const InMemoryClip clip = SmallClip();

  const auto first = ae.RenderCpu(clip, 20);
  EXPECT_EQ(first.render, PF_Err_NONE);
  EXPECT_EQ(first.message, "") << "the first refusal only arms the notice";
  EXPECT_EQ(first.outFlags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
  // The CPU path checks the current frame out and in once and leaves the
  // output as it is.
  ASSERT_EQ(first.log.pixelCheckins.size(), 1u);
  EXPECT_EQ(first.log.pixelCheckins[0].checkoutId, 0);
  EXPECT_EQ(first.log.outstandingPixels, 0u);
  ASSERT_TRUE(first.output);
  EXPECT_EQ(first.output->pixel(5, 5)[0], kUnwrittenFloat);

  const auto second = ae.RenderCpu(clip, 20);
  EXPECT_EQ(second.render, PF_Err_NONE);
  EXPECT_EQ(second.message, std::string(kMessageStart) +
                                "Go in File > Project Settings and select 'Mercury GPU Acceleration'");
  EXPECT_NE(second.outFlags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);

  // Filled once: later refusals keep the notice and say nothing more.
  EXPECT_EQ(ae.RenderCpu(clip, 20).message, "");
  EXPECT_TRUE(LinesContaining(ae.Log(), "Wrong bitdepth").empty()) << "a 32-bit float world is a supported depth";
}

TEST(RenderCPU, PremiereNamesTheGeneralProjectSettings) {
  REQUIRE_FRESH_MODULE();
  AeInstance ae(dshost::HostApp::Premiere);
  const InMemoryClip clip = SmallClip();
  EXPECT_EQ(ae.RenderCpu(clip, 20).message, "");
  EXPECT_EQ(ae.RenderCpu(clip, 20).message,
            std::string(kMessageStart) + "Go in File > Project Settings > General and select 'Mercury GPU Acceleration'");
}

TEST(RenderCPU, AGPUDeviceKeepsTheNoticeAway) {
  REQUIRE_FRESH_MODULE();
  E2E_REQUIRE_DEVICE(kFirstOpenCL, index);
  AeInstance ae;
  ASSERT_EQ(ae.SetUpDevice(index), PF_Err_NONE);
  const InMemoryClip clip = SmallClip();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(ae.RenderCpu(clip, 20).message, "");
  }
}

// PF_Cmd_RENDER hands the input layer in params[] and the output directly.
class RenderCommand : public ::testing::Test {
 protected:
  PF_Err Render(PF_EffectWorld* input, PF_EffectWorld* output) {
    dshost::ParamArray params = ae_.host().ParamsArray();
    if (input != nullptr) {
      params[0]->u.ld = *input;
    }
    return ae_.host().Call(PF_Cmd_RENDER, params.data(), output);
  }
  AeInstance ae_;
};

TEST_F(RenderCommand, AMissingOutputIsLoggedAndNotAnError) {
  PF_EffectWorld* input = ae_.host().gpu().CreateCpuWorld(16, 16, PF_PixelFormat_ARGB128, false);
  EXPECT_EQ(Render(input, nullptr), PF_Err_NONE);
  EXPECT_EQ(LinesContaining(ae_.Log(), ":RenderCPU] :: Input or Output data is unavailable").size(), 1u);
  ae_.host().gpu().DisposeWorld(input);
}

TEST_F(RenderCommand, AnOutputOfAnotherDepthIsLogged) {
  E2E_REQUIRE_DEVICE(kFirstOpenCL, index);
  dshost::GpuHost& gpu = ae_.host().gpu();
  gpu.OpenDevice(index);
  PF_EffectWorld* input = gpu.CreateCpuWorld(16, 16, PF_PixelFormat_ARGB32, false);
  PF_EffectWorld* output =
      gpu.CreateGpuWorld(index, 16, 16, dshost::kGpuFloatFormat, true, PF_RationalScale{1, 1}, false);
  EXPECT_EQ(Render(input, output), PF_Err_NONE);
  EXPECT_EQ(LinesContaining(ae_.Log(), ":RenderCPU] :: Wrong bitdepth: 1094992704").size(), 1u);
  gpu.DisposeWorld(input);
  gpu.DisposeWorld(output);
}

}  // namespace
}  // namespace e2e
