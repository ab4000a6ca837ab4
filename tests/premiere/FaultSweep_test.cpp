// Every host call a full session makes (setup, one render, takedown) fails in
// turn, in both hosts, at its first and at its last use. Whatever the effect
// makes of the failure, it must not crash, and once the session is taken
// down nothing it got from the host may be left: handles, worlds, frames,
// checkouts, suites or device memory.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "premiere/PremiereTestSupport.h"

namespace {

using dshost::EffectHost;
using dshost::HostApp;
using dshost::InMemoryClip;
using premieretest::SceneFrame;

struct Leftovers {
  size_t handles = 0;
  size_t worlds = 0;
  size_t deviceAllocations = 0;
  int64_t suites = 0;
};

// One session: setup, a render of frame 4, takedown; returns the calls the
// host counted and fills what was left once everything was taken down.
std::map<std::string, int64_t> RunSession(HostApp app, const std::string& failing, int64_t nth, Leftovers* left,
                                          size_t* leftoverPPix) {
  InMemoryClip clip(32, 24, 1, 25);
  // Frames smaller than the render, or placed off the origin, so that the
  // resize pass runs too.
  for (int i = 0; i < 6; ++i) clip.AddFrame(SceneFrame(i, 32, 24, 24, 16), 4, 4);
  std::map<std::string, int64_t> counts;
  dshost::RenderSessionOptions options;
  options.app = app;
  options.deviceIndex = premieretest::OpenCLDevice(nullptr)->index;
  options.onHostReady = [&](EffectHost& host) {
    if (!failing.empty()) host.runtime().faults().FailCall(failing, nth, PF_Err_INTERNAL_STRUCT_DAMAGED);
  };
  options.onTakenDown = [&](EffectHost& host) {
    counts = host.runtime().faults().Counts();
    *left = Leftovers{host.runtime().LiveHandles(), host.gpu().LiveWorlds(), host.gpu().LiveDeviceAllocations(),
                      host.runtime().suites().Outstanding()};
  };
  try {
    dshost::RenderSession session(DRIFTSMEAR_MODULE_PATH, options);
    session.SetParameter(kDiskFrames, 3);
    try {
      session.RenderFrame(clip, clip.TimeOfFrame(4));
    } catch (const dshost::HostError&) {
      // A failed render is an expected outcome here.
    }
    if (app == HostApp::Premiere) *leftoverPPix = session.lastPremiereRender().leftoverPPix;
    session.Close();
  } catch (const dshost::HostError&) {
    // So is a failed setup or takedown.
  }
  return counts;
}

void Sweep(HostApp app) {
  testsupport::ScopedTempDir temp;
  Leftovers left;
  size_t leftoverPPix = 0;
  const std::map<std::string, int64_t> calls = RunSession(app, {}, 0, &left, &leftoverPPix);
  ASSERT_GT(calls.size(), 10u);
  for (const auto& [call, count] : calls) {
    if (call == "EffectMain") continue;  // a count of the commands, not a call the effect makes
    for (const int64_t nth : {int64_t{1}, count}) {
      SCOPED_TRACE(call + " failing at call " + std::to_string(nth) + " of " + std::to_string(count));
      left = Leftovers{};
      leftoverPPix = 0;
      RunSession(app, call, nth, &left, &leftoverPPix);
      // A dispose the host drops leaves that one object with the host.
      const auto dropped = [&](const char* dispose) { return call.find(dispose) != std::string::npos ? 1u : 0u; };
      EXPECT_EQ(left.handles, dropped("host_dispose_handle"));
      EXPECT_EQ(left.worlds, dropped("DisposeGPUWorld"));
      EXPECT_EQ(left.deviceAllocations, 0u);
      EXPECT_EQ(left.suites, 0);
      EXPECT_EQ(leftoverPPix, dropped("PPix Suite.Dispose"));
      if (count == 1) break;
    }
  }
}

TEST(FaultSweep, EveryAfterEffectsHostCallFailsWithoutLeaks) {
  SKIP_WITHOUT_OPENCL();
  Sweep(HostApp::AfterEffects);
}

TEST(FaultSweep, EveryPremiereHostCallFailsWithoutLeaks) {
  SKIP_WITHOUT_OPENCL();
  Sweep(HostApp::Premiere);
}

}  // namespace
