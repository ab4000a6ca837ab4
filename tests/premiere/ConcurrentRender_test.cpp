// Both hosts render several frames at once, as After Effects' multi-frame
// rendering and Premiere's render threads do: every render gives exactly the
// frame a render on its own gives. PoCL runs with one thread here, so every
// render on its own is repeatable to the bit.
#include <gtest/gtest.h>

#include <thread>

#include "premiere/PremiereTestSupport.h"

namespace {

using dshost::HostApp;
using dshost::ImageF;
using dshost::InMemoryClip;
using premieretest::MaxDifference;
using premieretest::MovingClip;
using premieretest::SceneFrame;
using premieretest::Session;

constexpr int kFrames = 12;

// Frames 2 to 11, three rounds of them.
std::vector<A_long> Times(const InMemoryClip& clip, int rounds) {
  std::vector<A_long> times;
  for (int round = 0; round < rounds; ++round) {
    for (int frame = 2; frame < kFrames; ++frame) times.push_back(clip.TimeOfFrame(frame));
  }
  return times;
}

void ExpectSameFrames(const std::vector<ImageF>& alone, const std::vector<ImageF>& together) {
  ASSERT_EQ(together.size() % alone.size(), 0u);
  for (size_t i = 0; i < together.size(); ++i) {
    EXPECT_EQ(MaxDifference(together[i], alone[i % alone.size()]), 0.0f) << "render " << i;
  }
}

void Configure(dshost::RenderSession& session) {
  session.SetParameter(kDiskFrames, 4);
  session.SetParameter(kDiskTrail, 60);
  session.SetParameter(kDiskVelocityThreshold, 0);
}

TEST(ConcurrentRender, EightAfterEffectsRenderThreadsShareOneDevicesKernels) {
  SKIP_WITHOUT_OPENCL();
  Session session(HostApp::AfterEffects);
  Configure(*session);
  // Frames whose origin is not 0,0 run the resize pass too: both kernels are
  // shared by the threads.
  InMemoryClip clip(56, 40, 1, 25);
  for (int i = 0; i < kFrames; ++i) clip.AddFrame(SceneFrame(i, 56, 40, 56, 40), i % 2 == 0 ? 3 : 0, 2);
  const std::vector<ImageF> alone = session->RenderFrames(clip, Times(clip, 1), 1);
  const std::vector<ImageF> together = session->RenderFrames(clip, Times(clip, 20), 8);
  ExpectSameFrames(alone, together);
  EXPECT_EQ(session->host().gpu().LiveWorlds(), 0u);
  EXPECT_EQ(session->host().gpu().LiveDeviceAllocations(), 0u);
}

TEST(ConcurrentRender, FourPremiereInstancesRenderAtOnce) {
  SKIP_WITHOUT_OPENCL();
  const InMemoryClip clip = MovingClip(56, 40, kFrames);
  std::vector<std::unique_ptr<Session>> instances;
  for (int i = 0; i < 4; ++i) {
    instances.push_back(std::make_unique<Session>(HostApp::Premiere));
    Configure(**instances.back());
  }
  const std::vector<ImageF> alone = (**instances[0]).RenderFrames(clip, Times(clip, 1), 1);

  std::vector<std::vector<ImageF>> results(instances.size());
  std::vector<std::thread> threads;
  for (size_t i = 0; i < instances.size(); ++i) {
    // Each instance renders from two threads of its own as well.
    threads.emplace_back([&, i] { results[i] = (**instances[i]).RenderFrames(clip, Times(clip, 2), 2); });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < instances.size(); ++i) {
    SCOPED_TRACE("instance " + std::to_string(i));
    ExpectSameFrames(alone, results[i]);
    EXPECT_EQ(instances[i]->premiere().LivePPix(), 0u);
  }
  // Each session put the log folder of the one before it back: last first.
  while (!instances.empty()) instances.pop_back();
}

}  // namespace
