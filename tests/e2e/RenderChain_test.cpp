// Whole frames through our host's render session (EffectMain, smart render,
// the GPU path) compared with the same chain of passes computed directly with
// the C++ build of the kernels: checkout times, pass order, percent per pass
// and frame origins are all checked against an independent path. Runs on
// every OpenCL device and every CUDA device (skipped, with the reason, where
// there is none).
#include <gtest/gtest.h>

#include "common/ContextReferences.h"
#include "e2e/E2ETestSupport.h"
#include "host/RenderSession.h"
#include "host/gpu/GpuHost.h"
#include "params/DriftSmear_Parameters.h"

namespace e2e {
namespace {

using dshost::RenderSession;

// Both back ends compute in single precision; OpenCL builds with relaxed
// math and CUDA evaluates the chromatic shift's cosine in double precision.
constexpr float kTolerance = 1e-5f;

class RenderChain : public ::testing::TestWithParam<DeviceParam> {
 protected:
  std::unique_ptr<RenderSession> Open(uint32_t index, const Settings& settings) {
    auto session = std::make_unique<RenderSession>(DRIFTSMEAR_MODULE_PATH, dshost::RenderSessionOptions{
                                                                                .deviceIndex = index});
    Apply(session->host(), settings);
    return session;
  }

  ChainOptions Options() const { return ChainOptions{{}, GetParam().api == GpuApi::OpenCL}; }

  testsupport::ScopedTempDir temp_;
};

TEST_P(RenderChain, ThreeFramesMatchTheCppBuildPassForPass) {
  E2E_REQUIRE_DEVICE(GetParam(), index);
  const InMemoryClip clip = DotClip(64, std::vector<DotFrame>(12, DotFrame{64, 0, 0}), 11);
  // No displacement: each pass then blends the dot as the passes before it
  // left it, so the result depends on every pass.
  Settings settings;
  settings.displace = 0;
  auto session = Open(index, settings);

  const ImageF output = session->RenderFrame(clip, clip.TimeOfFrame(10));
  const KernelData data = ExpectedKernelData(settings);
  const ImageF expected = ReferenceChain({&clip.frame(10), &clip.frame(9), &clip.frame(8)}, 64, 64, data, Options());
  EXPECT_TRUE(ImagesMatch(expected, output, kTolerance));

  // The passes did more than copy the current frame: the smear shows.
  ImageF current = clip.frame(10).image;
  EXPECT_GT(MaxDifference(current, output), 0.05f);

  // The percent of each pass matters: 0, 0.5 and 1 from the oldest frame to
  // the current one, and no other order.
  ChainOptions swapped = Options();
  for (const std::vector<float>& percents : {std::vector<float>{1.0f, 1.0f, 0.0f}, std::vector<float>{1.0f, 0.0f, 0.0f},
                                             std::vector<float>{0.5f, 0.5f, 0.0f}}) {
    swapped.percents = percents;
    EXPECT_GT(MaxDifference(ReferenceChain({&clip.frame(10), &clip.frame(9), &clip.frame(8)}, 64, 64, data, swapped),
                            output),
              10 * kTolerance)
        << "percents " << percents[0] << ", " << percents[1] << ", " << percents[2];
  }
  // Nor does the order of the frames go unnoticed.
  EXPECT_GT(MaxDifference(ReferenceChain({&clip.frame(10), &clip.frame(8), &clip.frame(9)}, 64, 64, data, Options()),
                          output),
            10 * kTolerance);
}

TEST_P(RenderChain, FiveFramesTwoFramesApartMatchTheCppBuild) {
  E2E_REQUIRE_DEVICE(GetParam(), index);
  const InMemoryClip clip = DotClip(64, std::vector<DotFrame>(12, DotFrame{64, 0, 0}), 23);
  Settings settings;
  settings.frames = 5;
  settings.frameOffset = 2;
  settings.amount = 40;
  settings.chromaticOffset = 120;
  auto session = Open(index, settings);

  const ImageF output = session->RenderFrame(clip, clip.TimeOfFrame(10));
  const ImageF expected =
      ReferenceChain({&clip.frame(10), &clip.frame(8), &clip.frame(6), &clip.frame(4), &clip.frame(2)}, 64, 64,
                     ExpectedKernelData(settings), Options());
  EXPECT_TRUE(ImagesMatch(expected, output, kTolerance));
  EXPECT_EQ(session->lastRender().layerCheckouts.back().time, 20);
}

TEST_P(RenderChain, FrameOriginsPlaceFramesThroughTheResizePass) {
  E2E_REQUIRE_DEVICE(GetParam(), index);
  // Frames smaller than the output sit at their layer origins, which
  // switches the resize pass on for them; the current frame's origin comes
  // from its own checkout.
  const std::vector<DotFrame> frames{{48, 8, 16}, {40, 16, 8}, {64, 0, 0}, {56, 8, 0}, {56, 8, 8}};
  const InMemoryClip clip = DotClip(64, frames, 5);
  Settings settings;
  settings.frames = 4;
  auto session = Open(index, settings);

  const ImageF output = session->RenderFrame(clip, clip.TimeOfFrame(4));
  const KernelData data = ExpectedKernelData(settings);
  const std::vector<const LayerFrame*> slots{&clip.frame(4), &clip.frame(3), &clip.frame(2), &clip.frame(1)};
  EXPECT_TRUE(ImagesMatch(ReferenceChain(slots, 64, 64, data, Options()), output, kTolerance));
  for (size_t id = 0; id < slots.size(); ++id) {
    EXPECT_EQ(session->lastRender().layerCheckouts[id].result.result_rect.left, slots[id]->originX);
  }

  // Placed elsewhere, the same frames give another picture.
  LayerFrame moved = clip.frame(3);
  moved.originX += 8;
  EXPECT_GT(MaxDifference(ReferenceChain({slots[0], &moved, slots[2], slots[3]}, 64, 64, data, Options()), output),
            10 * kTolerance);
}

// With input frames kept on the device each one is uploaded once, whatever
// the number of output frames reading it, and the pictures stay those of the
// C++ build, resize pass included. A cache smaller than one render's frames
// drops frames the effect still has checked out; they must stay valid.
TEST_P(RenderChain, FramesKeptOnTheDeviceAreUploadedOnceAndRenderTheSame) {
  E2E_REQUIRE_DEVICE(GetParam(), index);
  const std::vector<DotFrame> frames{{48, 8, 16}, {64, 0, 0}, {40, 16, 8}, {64, 0, 0}, {56, 8, 0}, {64, 0, 0}, {64, 0, 0}};
  const InMemoryClip clip = DotClip(64, frames, 7);
  Settings settings;
  settings.frames = 4;
  auto session = Open(index, settings);
  dshost::GpuHost& gpu = session->host().gpu();
  const KernelData data = ExpectedKernelData(settings);
  const auto renderMatches = [&](int t) {
    const ImageF output = session->RenderFrame(clip, clip.TimeOfFrame(t));
    const std::vector<const LayerFrame*> slots{&clip.frame(t), &clip.frame(t - 1), &clip.frame(t - 2),
                                               &clip.frame(t - 3)};
    EXPECT_TRUE(ImagesMatch(ReferenceChain(slots, 64, 64, data, Options()), output, kTolerance)) << "frame " << t;
  };

  gpu.frameCache().SetCapacity(5);
  const uint64_t uploadsBefore = gpu.Transfers().uploads;
  for (int t = 3; t < 7; ++t) renderMatches(t);
  EXPECT_EQ(gpu.Transfers().uploads - uploadsBefore, 7u) << "frames 0 to 6, once each";
  EXPECT_EQ(gpu.frameCache().size(), 5u);
  EXPECT_EQ(gpu.LiveWorlds(), 0u) << "the lent worlds went back; the frames stay cached";

  gpu.frameCache().SetCapacity(2);
  renderMatches(5);
  EXPECT_EQ(gpu.frameCache().size(), 2u);
}

TEST_P(RenderChain, NothingIsLeftOnTheDeviceOrInTheHostAfterTakedown) {
  E2E_REQUIRE_DEVICE(GetParam(), index);
  const InMemoryClip clip = DotClip(32, std::vector<DotFrame>(6, DotFrame{32, 0, 0}), 2);
  // A context holding only the host's own objects, for comparison.
  const auto fresh = dshost::GpuDevice::Open(dshost::EnumerateGpuDevices()[index]);
  const std::optional<uint32_t> baseline = fresh->ContextReferenceCount();

  Settings settings;
  auto session = Open(index, settings);
  for (int frame = 2; frame < 6; ++frame) {
    session->RenderFrame(clip, clip.TimeOfFrame(frame));
  }
  dshost::EffectHost& host = session->host();
  session->Close();
  session->device().Finish();
  EXPECT_EQ(host.runtime().LiveHandles(), 0u) << "kernel list, frame lists and global data all go back";
  EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
  EXPECT_EQ(host.parameters().OutstandingCheckouts(), 0);
  EXPECT_EQ(host.gpu().LiveWorlds(), 0u);
  EXPECT_EQ(session->device().LiveBuffers(), 0);
  EXPECT_EQ(testsupport::SettledContextReferences(session->device(), baseline), baseline)
      << "an OpenCL object of the effect (kernel, program or parameter buffer) is left in the context";
}

INSTANTIATE_TEST_SUITE_P(Devices, RenderChain, ::testing::ValuesIn(DeviceParams()),
                         [](const ::testing::TestParamInfo<DeviceParam>& info) { return info.param.Name(); });

// The render entry's own contract, on the first OpenCL device.
TEST(RenderSession, ReportsTheEffectsFailureWithItsCommandAndCode) {
  E2E_REQUIRE_DEVICE(kFirstOpenCL, index);
  testsupport::ScopedTempDir temp;
  RenderSession session(DRIFTSMEAR_MODULE_PATH, {.deviceIndex = index});
  session.SetParameter(kDiskFrames, 3);
  EXPECT_EQ(session.Parameter(kDiskFrames), 3);
  const InMemoryClip clip = DotClip(32, std::vector<DotFrame>(4, DotFrame{32, 0, 0}), 9);
  try {
    session.RenderFrame(clip, clip.TimeOfFrame(3), dshost::GpuFrameFormat::Half16);
    ADD_FAILURE() << "a 16-bit render must fail";
  } catch (const dshost::RenderError& error) {
    EXPECT_EQ(error.command(), PF_Cmd_SMART_RENDER_GPU);
    EXPECT_EQ(error.code(), PF_Err_UNRECOGNIZED_PARAM_TYPE);
  }
  // The session renders on after a failed frame.
  EXPECT_EQ(session.RenderFrame(clip, clip.TimeOfFrame(3)).width, 32);
  EXPECT_THROW(RenderSession(DRIFTSMEAR_MODULE_PATH, {.deviceIndex = 1000}), dshost::HostError);
}

}  // namespace
}  // namespace e2e
