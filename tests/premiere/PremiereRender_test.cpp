// The filter's Render end to end on the first OpenCL device (PoCL in CI):
// frames of the render size, smaller and larger frames, half-float frames,
// and the failures the filter reports.
#include <gtest/gtest.h>

#include "premiere/PremiereTestSupport.h"

namespace {

using dshost::GpuFilterError;
using dshost::HostApp;
using dshost::ImageF;
using dshost::InMemoryClip;
using dshost::PremiereHost;
using dshost::RenderSession;
using premieretest::AllInUnitRange;
using premieretest::MaxDifference;
using premieretest::MovingClip;
using premieretest::SceneFrame;
using premieretest::Session;

constexpr const char* kCreatePPix = "MediaCore GPU Device Suite.CreateGPUPPix";
constexpr const char* kRenderTag = "GPUDriftSmear::Render";

class PremiereRender : public ::testing::Test {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_OPENCL();
    session_ = std::make_unique<Session>(HostApp::Premiere);
    (*session_)->SetParameter(kDiskFrames, 5);
  }

  RenderSession& session() { return **session_; }
  PremiereHost& host() { return session_->premiere(); }

  std::unique_ptr<Session> session_;
};

// The frame as the filter places it: centred in the render, the parts
// outside cut off and the rest transparent.
ImageF Centred(const ImageF& frame, int width, int height) {
  ImageF placed = dshost::makeImage(width, height, 0.0f, 0.0f, 0.0f, 0.0f);
  const int offsetX = (width - frame.width) / 2;
  const int offsetY = (height - frame.height) / 2;
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      if (x + offsetX >= 0 && x + offsetX < width && y + offsetY >= 0 && y + offsetY < height) {
        std::copy_n(frame.pixel(x, y), 4, placed.pixel(x + offsetX, y + offsetY));
      }
    }
  }
  return placed;
}

// Frames of 48 x 48, 80 x 80 and 63 x 63 in turn for a render of 64 x 64,
// and the same frames placed into 64 x 64 beforehand. The 63 x 63 frames
// centre at offset zero: read with the render's pitch they would be read past
// their end.
TEST_F(PremiereRender, SmallerAndLargerFramesAreCentred) {
  InMemoryClip mixed(64, 64, 1, 25);
  InMemoryClip placed(64, 64, 1, 25);
  for (int i = 0; i < 12; ++i) {
    const int side = i % 3 == 0 ? 48 : i % 3 == 1 ? 80 : 63;
    ImageF frame = SceneFrame(i, 64, 64, side, side);
    placed.AddFrame(Centred(frame, 64, 64));
    mixed.AddFrame(std::move(frame));
  }
  for (const int time : {7, 8}) {  // the current frame 80 x 80, then 63 x 63
    const ImageF fromMixed = session().RenderFrame(mixed, mixed.TimeOfFrame(time));
    const ImageF fromPlaced = session().RenderFrame(placed, placed.TimeOfFrame(time));
    EXPECT_TRUE(AllInUnitRange(fromMixed)) << "frame " << time;
    EXPECT_LE(MaxDifference(fromMixed, fromPlaced), 1e-6f) << "frame " << time;
  }
  EXPECT_EQ(session().lastPremiereRender().leftoverPPix, 0u);
}

TEST_F(PremiereRender, HalfFramesUseTheEightBytePitch) {
  // Rows of half-float frames are 8 bytes a pixel: a pitch taken as 16 would
  // read every row from the wrong place.
  const InMemoryClip clip = MovingClip(96, 64, 12);
  const ImageF full = session().RenderFrame(clip, clip.TimeOfFrame(8), dshost::GpuFrameFormat::Float32);
  const ImageF half = session().RenderFrame(clip, clip.TimeOfFrame(8), dshost::GpuFrameFormat::Half16);

  EXPECT_TRUE(AllInUnitRange(half));
  // Half precision moves a few pixels across the effect's thresholds; rows
  // read from the wrong place would change nearly all of them.
  const int differing = premieretest::DifferingPixels(full, half, 0.01f);
  EXPECT_LE(differing, 96 * 64 / 20);
}

// With input frames kept on the device, as Premiere keeps frames in its GPU
// cache, each one is uploaded once for every render that reads it, frames of
// other sizes included, and the pictures are those of frames uploaded per
// render. (Work-groups running side by side make the in-place passes differ
// in a few pixels between any two renders; wrong frames would change most.)
TEST_F(PremiereRender, FramesKeptOnTheDeviceAreUploadedOnceAndRenderTheSame) {
  InMemoryClip clip(64, 64, 1, 25);
  for (int i = 0; i < 10; ++i) {
    const int side = i % 3 == 0 ? 48 : i % 3 == 1 ? 80 : 64;
    clip.AddFrame(SceneFrame(i, 64, 64, side, side));
  }
  dshost::GpuHost& gpu = session().host().gpu();
  std::vector<ImageF> uploadedPerRender;
  for (int t = 4; t < 10; ++t) {
    uploadedPerRender.push_back(session().RenderFrame(clip, clip.TimeOfFrame(t)));
  }

  gpu.frameCache().SetCapacity(6);
  const uint64_t uploadsBefore = gpu.Transfers().uploads;
  for (int t = 4; t < 10; ++t) {
    const ImageF kept = session().RenderFrame(clip, clip.TimeOfFrame(t));
    EXPECT_LE(premieretest::DifferingPixels(kept, uploadedPerRender[t - 4], 1e-6f), 64 * 64 / 50) << "frame " << t;
    EXPECT_EQ(session().lastPremiereRender().leftoverPPix, 0u);
  }
  EXPECT_EQ(gpu.Transfers().uploads - uploadsBefore, 10u) << "frames 0 to 9, once each";
  EXPECT_EQ(gpu.frameCache().size(), 6u);
  EXPECT_EQ(host().LivePPix(), 0u);
  EXPECT_EQ(gpu.LiveWorlds(), 0u) << "the frames' worlds went back; the frames stay cached";
}

// Uploads frames 0 ... count - 1 of the clip as GPU frames of the host.
std::vector<PPixHand> Upload(PremiereHost& host, uint32_t device, const InMemoryClip& clip, int count) {
  std::vector<PPixHand> frames;
  for (int i = count - 1; i >= 0; --i) {
    frames.push_back(host.CreateGpuPPix(device, PrPixelFormat_GPU_BGRA_4444_32f, clip.width(), clip.height()));
    host.Upload(frames.back(), clip.frame(i).image);
  }
  return frames;
}

TEST_F(PremiereRender, AMissingOutputFrameIsReported) {
  const InMemoryClip clip = MovingClip(64, 64, 5);
  const std::vector<PPixHand> frames = Upload(host(), session_->device(), clip, 5);
  const PrGPUFilterRenderParams params = dshost::PremiereRenderParams(clip, clip.TimeOfFrame(4));

  PPixHand none = nullptr;
  EXPECT_TRUE(PrSuiteErrorFailed(host().Render(session_->device(), params, frames, &none)));
  EXPECT_EQ(none, nullptr);
  EXPECT_TRUE(PrSuiteErrorFailed(host().Render(session_->device(), params, frames, nullptr)));
  EXPECT_EQ(session_->FilterErrors(kRenderTag, "Destination buffer is not available."), 2u);
  EXPECT_EQ(session().host().runtime().faults().Count(kCreatePPix), 0) << "nothing allocated without an output";
  EXPECT_EQ(host().LivePPix(), frames.size());
}

TEST_F(PremiereRender, AFailedIntermediateAllocationIsReported) {
  const InMemoryClip clip = MovingClip(64, 64, 8);
  session().host().runtime().faults().FailCall(kCreatePPix, 1, suiteError_OutOfMemory);
  try {
    session().RenderFrame(clip, clip.TimeOfFrame(6));
    FAIL() << "the render succeeded without an intermediate frame";
  } catch (const GpuFilterError& e) {
    EXPECT_EQ(e.call(), "Render");
    EXPECT_EQ(e.code(), suiteError_OutOfMemory);
  }
  EXPECT_EQ(session_->FilterErrors(kRenderTag, "Cannot allocate Intermediate buffer"), 1u);
  EXPECT_EQ(host().LivePPix(), 0u);

  // The next render gets its frame again.
  EXPECT_NO_THROW(session().RenderFrame(clip, clip.TimeOfFrame(6)));
}

TEST_F(PremiereRender, TheIntermediateFrameIsReleasedWhenAPassCannotStart) {
  // The device addresses are asked for the current frame, the output, the
  // intermediate frame, then the oldest frame of the first pass.
  const InMemoryClip clip = MovingClip(64, 64, 8);
  session().host().runtime().faults().FailCall("MediaCore GPU Device Suite.GetGPUPPixData", 4, suiteError_Fail);
  EXPECT_THROW(session().RenderFrame(clip, clip.TimeOfFrame(6)), GpuFilterError);
  EXPECT_EQ(session().lastPremiereRender().filterCreatedPPix, 1);
  EXPECT_EQ(session().lastPremiereRender().leftoverPPix, 0u);
  EXPECT_EQ(session_->FilterErrors(kRenderTag, "Cannot get the device memory of the input frame. Code: 0x80000000"),
            1u);
}

TEST_F(PremiereRender, AParameterTheHostCannotGiveFailsTheRender) {
  const InMemoryClip clip = MovingClip(64, 64, 5);
  const std::vector<PPixHand> frames = Upload(host(), session_->device(), clip, 5);
  const PrGPUFilterRenderParams params = dshost::PremiereRenderParams(clip, clip.TimeOfFrame(4));
  PPixHand output = host().CreateGpuPPix(session_->device(), PrPixelFormat_GPU_BGRA_4444_32f, 64, 64);

  // The render reads trail (Disk ID 19), displace (20), then the velocity
  // threshold (Disk ID 10: index 12 of the effect, 11 of the filter).
  dshost::Faults& faults = session().host().runtime().faults();
  const char* getParam = "MediaCore Video Segment Suite.GetParam";
  faults.FailCall(getParam, faults.Count(getParam) + 3, suiteError_IDNotValid);
  EXPECT_EQ(host().Render(session_->device(), params, frames, &output), suiteError_Fail);
  EXPECT_EQ(session_->FilterErrors(kRenderTag,
                                   "Cannot read the parameter with Disk ID 10 (index 11). Code: 0x80000005"),
            1u);
  EXPECT_EQ(host().FilterCreatedPPix(), 0) << "nothing allocated before the parameters are read";
}

TEST_F(PremiereRender, AParameterTheHostCannotGiveDuringTheFrameQueryFailsTheRender) {
  // The first query reads the frame count (Disk ID 6) before anything else:
  // the render fails with the filter's error instead of running on fewer
  // frames.
  const InMemoryClip clip = MovingClip(64, 64, 8);
  dshost::Faults& faults = session().host().runtime().faults();
  const char* getParam = "MediaCore Video Segment Suite.GetParam";
  faults.FailCall(getParam, faults.Count(getParam) + 1, suiteError_IDNotValid);
  try {
    session().RenderFrame(clip, clip.TimeOfFrame(6));
    FAIL() << "the render succeeded without its frame dependencies";
  } catch (const GpuFilterError& e) {
    EXPECT_EQ(e.call(), "GetFrameDependencies");
    EXPECT_EQ(e.code(), suiteError_Fail);
  }
  const std::string message = "Cannot read the parameter with Disk ID 6 (index " +
                              std::to_string(FindParamIndexByDiskID(kDiskFrames) - 1) + "). Code: 0x80000005";
  EXPECT_EQ(session_->FilterErrors("GPUDriftSmear::GetFrameDependencies", message), 1u);
  EXPECT_EQ(host().FilterCreatedPPix(), 0) << "no render after the failed query";
  EXPECT_NO_THROW(session().RenderFrame(clip, clip.TimeOfFrame(6)));
}

TEST_F(PremiereRender, TheInstanceHoldsItsSuitesAndReleasesThem) {
  dshost::SuiteRegistry& suites = session().host().runtime().suites();
  for (const char* name : {"MediaCore GPU Device Suite", "MediaCore GPU Image Processing Suite",
                           "Premiere Memory Manager Suite", "Premiere PPix Suite", "Premiere PPix 2 Suite",
                           "PF Transition Suite", "MediaCore Video Segment Suite", "Premiere Time Suite"}) {
    EXPECT_EQ(suites.AcquireCount(name), 1) << name;
  }
  const int64_t held = suites.Outstanding();
  EXPECT_GE(held, 8);
  EXPECT_EQ(host().DisposeInstance(session_->device()), suiteError_NoError);
  EXPECT_EQ(suites.Outstanding(), held - 8);

  // A suite the host withholds fails the instance, with nothing kept.
  suites.Withhold("Premiere Time Suite");
  EXPECT_TRUE(PrSuiteErrorFailed(host().CreateInstance(session_->device())));
  EXPECT_FALSE(host().HasInstance(session_->device()));
  EXPECT_EQ(suites.Outstanding(), held - 8);
  EXPECT_EQ(session_->FilterErrors("GPUDriftSmear::Initialize",
                                   "Cannot acquire the host suite \"Premiere Time Suite\""),
            1u);

  suites.RestoreAll();
  EXPECT_EQ(host().CreateInstance(session_->device()), suiteError_NoError);
  const InMemoryClip clip = MovingClip(64, 64, 8);
  EXPECT_NO_THROW(session().RenderFrame(clip, clip.TimeOfFrame(6)));
}

}  // namespace
