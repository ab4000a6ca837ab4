// The filter's frame dependencies through the host's query loop: the times
// asked for at every query index, the index left for the next query, nothing
// for fewer than two frames, and the frame-number check.
#include <gtest/gtest.h>

#include "premiere/PremiereTestSupport.h"

namespace {

using dshost::DependencyQuery;
using dshost::HostApp;
using dshost::InMemoryClip;
using dshost::PremiereRenderParams;
using premieretest::Session;

// Clip frame 20 of a clip that starts at sequence frame 100: the clip time
// and the sequence time differ, and dependencies must count back from the
// sequence time.
constexpr int64_t kStartFrame = 100;
constexpr int kFrame = 20;

class FrameDependencies : public ::testing::Test {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_OPENCL();
    session_ = std::make_unique<Session>(HostApp::Premiere, kStartFrame);
    params_ = PremiereRenderParams(clip_, clip_.TimeOfFrame(kFrame), {kStartFrame});
  }

  std::vector<PrGPUFilterFrameDependency> Query(std::vector<DependencyQuery>* log = nullptr) {
    return session_->premiere().FrameDependencies(session_->device(), params_, log);
  }

  InMemoryClip clip_{64, 64, 1, 25};
  std::unique_ptr<Session> session_;
  PrGPUFilterRenderParams params_{};
};

// Ten frames one apart ask for the nine frames before; a negative offset
// looks into later frames.
TEST_F(FrameDependencies, TenFramesAskForTheNineFramesTheOffsetApart) {
  const PrTime frame = params_.inRenderTicksPerFrame;
  ASSERT_EQ(frame, dshost::kPremiereTicksPerSecond / 25);
  ASSERT_EQ(params_.inSequenceTime, (kStartFrame + kFrame) * frame);
  (*session_)->SetParameter(kDiskFrames, 10);
  for (const int offset : {1, -12}) {
    SCOPED_TRACE("offset " + std::to_string(offset));
    (*session_)->SetParameter(kDiskFrameOffset, offset);
    std::vector<DependencyQuery> log;
    const auto dependencies = Query(&log);
    ASSERT_EQ(dependencies.size(), 9u);
    ASSERT_EQ(log.size(), 9u) << "the loop stops once the filter leaves the index as it was";
    for (int q = 0; q < 9; ++q) {
      SCOPED_TRACE("query " + std::to_string(q));
      EXPECT_EQ(log[q].indexIn, q);
      EXPECT_EQ(log[q].result, suiteError_NoError);
      EXPECT_EQ(log[q].indexOut, q < 8 ? q + 1 : q) << "incremented while more follow";
      EXPECT_EQ(dependencies[q].outDependencyType, PrGPUDependency_InputFrame);
      EXPECT_EQ(dependencies[q].outTrackID, 0);
      EXPECT_EQ(dependencies[q].outSequenceTime, params_.inSequenceTime - offset * (q + 1) * frame);
    }
  }
  EXPECT_EQ(session_->FilterErrors("GPUDriftSmear::GetFrameDependencies", "Frame numbers are wrong!"), 0u);
}

TEST_F(FrameDependencies, EveryQueryIndexOnItsOwn) {
  (*session_)->SetParameter(kDiskFrames, 10.9);  // a keyframed value may be fractional: 10 frames
  (*session_)->SetParameter(kDiskFrameOffset, 3);
  for (csSDK_int32 q = -1; q <= 10; ++q) {
    SCOPED_TRACE("query " + std::to_string(q));
    csSDK_int32 index = q;
    PrGPUFilterFrameDependency dependency{};
    dependency.outSequenceTime = -1;
    const prSuiteError result = session_->premiere().QueryDependency(session_->device(), params_, &index, &dependency);
    if (q < 0 || q > 8) {
      EXPECT_TRUE(PrSuiteErrorFailed(result)) << "no dependency outside 0 ... N - 2";
      EXPECT_EQ(index, q);
      EXPECT_EQ(dependency.outSequenceTime, -1);
      continue;
    }
    EXPECT_EQ(result, suiteError_NoError);
    EXPECT_EQ(dependency.outSequenceTime, params_.inSequenceTime - 3 * (q + 1) * params_.inRenderTicksPerFrame);
    EXPECT_EQ(index, q < 8 ? q + 1 : q);
  }
}

TEST_F(FrameDependencies, FewerThanTwoFramesNeedNothing) {
  for (double frames : {1.0, 1.9, 0.0, -4.0}) {
    (*session_)->SetParameter(kDiskFrames, frames);
    std::vector<DependencyQuery> log;
    EXPECT_TRUE(Query(&log).empty()) << frames << " frames";
    ASSERT_EQ(log.size(), 1u);
    EXPECT_TRUE(PrSuiteErrorFailed(log[0].result));
  }
  (*session_)->SetParameter(kDiskFrames, 2);
  const auto two = Query();
  ASSERT_EQ(two.size(), 1u);
  EXPECT_EQ(two[0].outSequenceTime, params_.inSequenceTime - params_.inRenderTicksPerFrame);
}

TEST_F(FrameDependencies, ParametersAreReadAtTheClipTime) {
  // 5 frames around the clip time (0.8 s), 30 frames around the sequence
  // time (4.8 s).
  dshost::ParameterStore& store = (*session_)->host().parameters();
  const PF_ParamIndex frames = store.IndexOf(kDiskFrames);
  store.SetKeyframe(frames, 0, 1, 5.0);
  store.SetKeyframe(frames, 1, 1, 5.0);
  store.SetKeyframe(frames, 4, 1, 30.0);
  EXPECT_EQ(Query().size(), 4u);
}

TEST_F(FrameDependencies, AMismatchedFrameNumberIsLoggedAndTheFrameStillAskedFor) {
  (*session_)->SetParameter(kDiskFrames, 3);
  (*session_)->SetParameter(kDiskFrameOffset, 1);
  // One tick before frame 886480 of a 25 frames-per-second sequence (nearly
  // ten hours in): that time lies just above 2^53 and becomes the whole
  // frame in double precision, while the time one frame earlier is exact and
  // stays a hair below its frame, so the two frame numbers differ by one.
  const PrTime frame = params_.inRenderTicksPerFrame;
  params_.inSequenceTime = 886480 * frame - 1;

  csSDK_int32 index = 0;
  PrGPUFilterFrameDependency dependency{};
  ASSERT_EQ(session_->premiere().QueryDependency(session_->device(), params_, &index, &dependency), suiteError_NoError);
  EXPECT_EQ(dependency.outSequenceTime, params_.inSequenceTime - frame);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(session_->FilterErrors("GPUDriftSmear::GetFrameDependencies", "Frame numbers are wrong!"), 1u);
}

}  // namespace
