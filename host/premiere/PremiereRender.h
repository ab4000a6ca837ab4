// One frame of a clip rendered through Premiere Pro's GPU filter path: the
// render parameters built from the clip's timing, the frame-dependency query
// loop, GPU frames for the current and every earlier frame asked for, the
// output frame, Render, and the output read back.
#pragma once
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "PrSDKGPUFilter.h"
#include "host/FrameSource.h"
#include "host/HostError.h"
#include "host/media/Image.h"
#include "host/premiere/PremiereHost.h"

namespace dshost {

// A filter call that failed: which one and the filter's result.
class GpuFilterError : public HostError {
 public:
  GpuFilterError(const std::string& call, prSuiteError code, const std::string& what)
      : HostError(what), call_(call), code_(code) {}
  const std::string& call() const { return call_; }
  prSuiteError code() const { return code_; }

 private:
  std::string call_;
  prSuiteError code_;
};

struct PremiereRenderOptions {
  // The sequence frame the clip starts at. Clip times are the clip's own;
  // sequence times (those of frame dependencies) are shifted by this.
  int64_t sequenceStartFrame = 0;
};

// What one render did, for tests.
struct PremiereRenderLog {
  PrGPUFilterRenderParams params{};
  std::vector<DependencyQuery> queries;
  std::vector<PrGPUFilterFrameDependency> dependencies;
  // The clip frame index handed to the filter in each input slot (slot 0 the
  // current frame) and what the clip gave for it.
  std::vector<int64_t> frameIndices;
  std::vector<FrameLookup::Kind> lookups;
  prSuiteError result = suiteError_NoError;
  // GPU frames the filter made during the render, and those still alive once
  // the host had disposed of its own.
  int64_t filterCreatedPPix = 0;
  size_t leftoverPPix = 0;
};

// Renders the frame of `clip` at `time` (in the clip's time scale) on the
// device's filter instance, creating the instance on first use. A time the
// clip cannot give (no world, a failure) is handed over as a transparent
// black frame of the clip's size: Premiere always hands a filter a frame for
// every dependency. Throws GpuFilterError when the filter fails an instance
// creation or the render, HostError for the host's own failures.
ImageF RenderPremiereFrame(PremiereHost& host, uint32_t deviceIndex, const FrameSource& clip, A_long time,
                           PrPixelFormat format, const PremiereRenderOptions& options = {},
                           PremiereRenderLog* log = nullptr);

// The render parameters of a frame of `clip` at `time`.
PrGPUFilterRenderParams PremiereRenderParams(const FrameSource& clip, A_long time,
                                             const PremiereRenderOptions& options = {});

}  // namespace dshost
