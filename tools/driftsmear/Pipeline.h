// The render loop: decoding, GPU rendering and encoding on three threads
// joined by bounded hand-offs, so that the slowest of them (normally the GPU)
// sets the pace.
//
//   decode thread   decodes input frames in order, a frame or two ahead of
//                   what the renderer needs, and (After Effects host) uploads
//                   each one into the device frame cache while the device
//                   renders;
//   render thread   renders output frame t (or the next few frames at once, on
//                   render threads of their own) through the session; the effect's
//                   checkouts of t and its earlier frames are served from the
//                   device frame cache (or, for the Premiere host, from the
//                   decoded frame cache), so every input frame is decoded and
//                   uploaded once, and only the output is read back;
//   calling thread  encodes the rendered frames in order and shows progress.
//
// Ctrl-C stops the renderer before its next frame; the frames already rendered
// are still written.
#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "host/RenderSession.h"
#include "host/media/FrameCache.h"
#include "host/media/MediaInfo.h"
#include "host/media/MediaWriter.h"
#include "tools/driftsmear/CliError.h"

namespace driftsmear {

// What the frames come from: a file or the generated demo clip.
struct ClipSource {
  std::string name;  // for messages
  dshost::MediaInfo info;
  dshost::FrameCache::DecodeFunction decode;
};

struct PipelineOptions {
  int64_t firstFrame = 0;
  int64_t endFrame = 0;  // one past the last output frame
  dshost::GpuFrameFormat format = dshost::GpuFrameFormat::Float32;
  bool quiet = false;
  bool terminal = false;
  // Output frames rendered at once, each on a render thread of its own
  // sharing the one device, as After Effects' multi-frame rendering does.
  int renderThreads = 1;
  // Memory the input frames the host keeps may take: decoded frames in host
  // memory and input frames kept on the device. Beyond it, frames far back
  // are decoded (and uploaded) again.
  uint64_t memoryBudgetBytes = 4ull << 30;
};

struct PipelineResult {
  int64_t rendered = 0;
  int64_t written = 0;
  uint64_t decodes = 0;          // input frames decoded, repeats included
  int64_t inputFramesUsed = 0;   // distinct input frames the render reached
  size_t cacheFrames = 0;        // the decoded frame cache's capacity
  size_t deviceFrames = 0;       // the device frame cache's capacity (0: off)
  // Pixel bytes the host moved to and from the device, and one input
  // frame's share of them (a world of the frame size).
  uint64_t uploadBytes = 0;
  uint64_t uploads = 0;  // input frames uploaded
  uint64_t downloadBytes = 0;
  uint64_t frameBytes = 0;
  double seconds = 0;
  // Time each stage spent working (not waiting): with the stages overlapped,
  // the slowest one's time is close to `seconds`.
  double decodeSeconds = 0;
  double renderSeconds = 0;
  double encodeSeconds = 0;
  bool interrupted = false;
  // What ended the render early: the message and exit code. The frames
  // rendered before it are written.
  std::optional<CliError> failure;
};

// The input frames output frame t reads, given the effect's frame count and
// frame offset: from t - back to t + ahead.
struct FrameWindow {
  int64_t back = 0;
  int64_t ahead = 0;
  int64_t frames = 1;  // checkouts per output frame
};
FrameWindow WindowOf(double frames, double frameOffset);

PipelineResult RunPipeline(dshost::RenderSession& session, const ClipSource& source, dshost::MediaWriter& writer,
                           const PipelineOptions& options);

}  // namespace driftsmear
