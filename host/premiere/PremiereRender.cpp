#include "host/premiere/PremiereRender.h"

#include <optional>
#include <sstream>

#include "host/gpu/GpuHost.h"

namespace dshost {

namespace {

std::string ResultText(prSuiteError err) {
  std::ostringstream text;
  text << "0x" << std::hex << std::uppercase << static_cast<uint32_t>(err);
  return text.str();
}

int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

// The clip time `time` in ticks: whole frames exactly, the rest of a frame
// to the nearest tick.
PrTime ClipTicks(const FrameSource& clip, A_long time, PrTime ticksPerFrame) {
  const int64_t frames = FloorDiv(time, clip.frameDuration());
  const int64_t rest = time - frames * clip.frameDuration();
  const PrTime restTicks = static_cast<PrTime>(static_cast<long double>(rest) * kPremiereTicksPerSecond /
                                                   clip.timeScale() +
                                               0.5L);
  return frames * ticksPerFrame + restTicks;
}

// The frames the host made for one render, disposed of on every way out.
class FrameSet {
 public:
  explicit FrameSet(PremiereHost& host) : host_(host) {}
  ~FrameSet() {
    for (PPixHand frame : frames_) {
      host_.DisposePPix(frame);
    }
  }
  FrameSet(const FrameSet&) = delete;
  FrameSet& operator=(const FrameSet&) = delete;

  PPixHand Add(PPixHand frame) {
    frames_.push_back(frame);
    return frame;
  }

 private:
  PremiereHost& host_;
  std::vector<PPixHand> frames_;
};

ImageF TransparentFrame(int width, int height) {
  ImageF image;
  image.width = width;
  image.height = height;
  image.bgra.assign(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 0.0f);
  return image;
}

}  // namespace

PrGPUFilterRenderParams PremiereRenderParams(const FrameSource& clip, A_long time,
                                             const PremiereRenderOptions& options) {
  const PrTime ticksPerFrame = TicksPerFrame(clip.frameDuration(), clip.timeScale());
  PrGPUFilterRenderParams params{};
  params.inClipTime = ClipTicks(clip, time, ticksPerFrame);
  params.inSequenceTime = params.inClipTime + options.sequenceStartFrame * ticksPerFrame;
  params.inQuality = kPrRenderQuality_High;
  params.inDownsampleFactorX = 1.0f;
  params.inDownsampleFactorY = 1.0f;
  params.inRenderWidth = static_cast<csSDK_uint32>(clip.width());
  params.inRenderHeight = static_cast<csSDK_uint32>(clip.height());
  params.inRenderPARNum = 1;
  params.inRenderPARDen = 1;
  params.inRenderFieldType = prFieldsNone;
  params.inRenderTicksPerFrame = ticksPerFrame;
  params.inRenderField = pmFieldDisplay_ShowBothFields;
  return params;
}

ImageF RenderPremiereFrame(PremiereHost& host, uint32_t deviceIndex, const FrameSource& clip, A_long time,
                           PrPixelFormat format, const PremiereRenderOptions& options, PremiereRenderLog* log) {
  PremiereRenderLog local;
  PremiereRenderLog& record = log != nullptr ? *log : local;
  record = PremiereRenderLog{};

  if (!IsPremiereGpuFormat(format)) {
    throw HostError("pixel format " + std::to_string(static_cast<uint32_t>(format)) + " is not a GPU format");
  }
  const prSuiteError created = host.CreateInstance(deviceIndex);
  if (PrSuiteErrorFailed(created)) {
    throw GpuFilterError("CreateInstance", created,
                         "the GPU filter refused device " + std::to_string(deviceIndex) + " (" +
                             ResultText(created) + ")");
  }

  record.params = PremiereRenderParams(clip, time, options);
  const PrGPUFilterRenderParams& params = record.params;
  record.dependencies = host.FrameDependencies(deviceIndex, params, &record.queries);
  // The query loop ends when the filter has no further frame to ask for
  // (suiteError_NotImplemented); any other failure is the filter's error, and
  // a render on the frames asked for so far would show a shorter trail.
  if (!record.queries.empty() && PrSuiteErrorFailed(record.queries.back().result) &&
      record.queries.back().result != suiteError_NotImplemented) {
    const prSuiteError failed = record.queries.back().result;
    throw GpuFilterError("GetFrameDependencies", failed,
                         "the GPU filter could not name the frames it needs (" + ResultText(failed) + ")");
  }

  // Slot 0 is the frame at the render time; the dependencies follow in the
  // order the filter asked for them.
  std::vector<int64_t> indices{FloorDiv(params.inClipTime, params.inRenderTicksPerFrame)};
  const PrTime clipStart = options.sequenceStartFrame * params.inRenderTicksPerFrame;
  for (const PrGPUFilterFrameDependency& dependency : record.dependencies) {
    if (dependency.outDependencyType != PrGPUDependency_InputFrame) {
      throw HostError("the GPU filter asked for a dependency of type " +
                      std::to_string(dependency.outDependencyType) + ", which this host does not provide");
    }
    indices.push_back(FloorDiv(dependency.outSequenceTime - clipStart, params.inRenderTicksPerFrame));
  }

  const int64_t filterMadeBefore = host.FilterCreatedPPix();
  const size_t liveBefore = host.LivePPix();
  std::vector<PPixHand> frames;
  prSuiteError result = suiteError_NoError;
  {
    FrameSet made(host);
    GpuHost& gpu = host.gpu();
    for (int64_t index : indices) {
      const A_long frameTime = static_cast<A_long>(index * clip.frameDuration());
      record.frameIndices.push_back(index);
      // With frames kept on the device (as Premiere keeps frames in its GPU
      // cache), a frame the source can name is uploaded once and handed out
      // again for every later render that reads it.
      const std::optional<FrameIdentity> identity =
          gpu.frameCache().capacity() > 0 ? clip.Identify(frameTime, clip.timeScale()) : std::nullopt;
      const DeviceFrameKey key{clip.sourceId(), identity ? identity->key : 0, deviceIndex, WorldFormatOf(format)};
      if (PF_EffectWorld* cached = identity ? gpu.LendCachedFrame(key) : nullptr) {
        record.lookups.push_back(FrameLookup::Kind::Frame);
        frames.push_back(made.Add(host.AdoptGpuWorld(cached, format)));
        continue;
      }
      const FrameLookup lookup = clip.Lookup(frameTime, clip.timeScale());
      record.lookups.push_back(lookup.kind);
      const bool isFrame = lookup.kind == FrameLookup::Kind::Frame && lookup.frame;
      if (identity && isFrame) {
        frames.push_back(made.Add(host.AdoptGpuWorld(gpu.CacheFrame(key, lookup.frame->image), format)));
        continue;
      }
      const ImageF image = isFrame ? lookup.frame->image : TransparentFrame(clip.width(), clip.height());
      PPixHand frame = made.Add(host.CreateGpuPPix(deviceIndex, format, image.width, image.height));
      host.Upload(frame, image);
      frames.push_back(frame);
    }
    PPixHand output = made.Add(host.CreateGpuPPix(deviceIndex, format, clip.width(), clip.height()));

    result = host.Render(deviceIndex, params, frames, &output);
    record.result = result;
    record.filterCreatedPPix = host.FilterCreatedPPix() - filterMadeBefore;
    if (PrSuiteErrorSucceeded(result)) {
      ImageF image = host.Download(output);
      record.leftoverPPix = host.LivePPix() - liveBefore - frames.size() - 1;
      return image;
    }
  }
  record.leftoverPPix = host.LivePPix() - liveBefore;
  throw GpuFilterError("Render", result, "the GPU filter failed its render (" + ResultText(result) + ")");
}

}  // namespace dshost
