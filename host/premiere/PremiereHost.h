// The Premiere Pro half of our host: it drives an effect module through its
// exported xGPUFilterEntry as Premiere Pro does when a project renders on the
// GPU. It starts the filter module, creates one filter instance per effect
// instance and GPU device, serves the suites the filter acquires, hands out
// GPU frames (GPU PPix) in the two GPU formats, runs the frame-dependency
// query loop and calls Render.
//
// The effect's EffectMain side (global setup, parameter setup) stays with the
// EffectHost this host is built on: its parameter store answers the video
// segment suite, its GPU host owns the devices and the frames' memory, and
// its runtime holds the suites. Every call into the filter is made with that
// runtime as the calling thread's current one, so the suites (which carry no
// context of their own) find this host.
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "AE_EffectPixelFormat.h"
#include "PrSDKGPUDeviceSuite.h"
#include "PrSDKGPUFilter.h"
#include "PrSDKPlugSuites.h"
#include "PrSDKVideoSegmentSuite.h"
#include "host/media/Image.h"

namespace dshost {

class EffectHost;
class GpuHost;
class HostRuntime;
class ParameterStore;

// Premiere Pro's time base: ticks per second, the same in every process.
inline constexpr PrTime kPremiereTicksPerSecond = 254016000000;

// One GPU frame the host made. The handle handed to the filter points at
// `target`, which points at `ppix`; the pixels live in a GPU world of the
// EffectHost's GPU host.
struct PremierePPix {
  PPix* target = nullptr;
  PPix ppix{};
  PF_EffectWorld* world = nullptr;
  PrPixelFormat format = PrPixelFormat_Invalid;
  uint32_t deviceIndex = 0;
  int parNumerator = 1;
  int parDenominator = 1;
  prFieldType fieldType = prFieldsNone;
  bool createdByFilter = false;  // through the device suite's CreateGPUPPix

  PPixHand handle() { return &target; }
  int width() const { return ppix.bounds.right - ppix.bounds.left; }
  int height() const { return ppix.bounds.bottom - ppix.bounds.top; }
};

// One GetFrameDependencies call of the query loop.
struct DependencyQuery {
  csSDK_int32 indexIn = 0;   // the query index handed to the filter
  csSDK_int32 indexOut = 0;  // the index after the call
  prSuiteError result = suiteError_NoError;
  PrGPUFilterFrameDependency dependency{};  // as the filter left it
};

// Whether a pixel format is one of the two GPU formats the host makes frames
// in, and the GPU host's world format for it.
bool IsPremiereGpuFormat(PrPixelFormat format);
PF_PixelFormat WorldFormatOf(PrPixelFormat format);

// The ticks of one frame of a clip whose frames last `frameDuration` /
// `timeScale` seconds; throws HostError when that is not a whole number of
// ticks.
PrTime TicksPerFrame(A_long frameDuration, A_u_long timeScale);

class PremiereHost {
 public:
  // Publishes the Premiere suites into the effect host's runtime, resolves
  // xGPUFilterEntry and starts the filter module. Throws HostError when the
  // module has no such export or its startup fails.
  explicit PremiereHost(EffectHost& effect);
  // Disposes of every instance and frame, then shuts the module down.
  ~PremiereHost();
  PremiereHost(const PremiereHost&) = delete;
  PremiereHost& operator=(const PremiereHost&) = delete;

  // The Premiere host of the calling thread's current runtime, or null.
  static PremiereHost* Current();

  EffectHost& effect() { return effect_; }
  HostRuntime& runtime();
  GpuHost& gpu();
  ParameterStore& parameters();
  const PrGPUFilterInfo& filterInfo() const { return info_; }
  const piSuites* suites() const { return &suites_; }

  // ---- Instances ---------------------------------------------------------------
  // Creates the instance for this device (opening the device) unless it
  // exists; returns the filter's result. A failure leaves no instance: the
  // real host would render that node in software.
  prSuiteError CreateInstance(uint32_t deviceIndex);
  // Disposes of the device's instance; suiteError_NoError when there was none.
  prSuiteError DisposeInstance(uint32_t deviceIndex);
  bool HasInstance(uint32_t deviceIndex) const;
  // The instance record of a device; throws HostError when there is none.
  PrGPUFilterInstance& Instance(uint32_t deviceIndex);
  // Whether a node ID is one of the live instances' (the video segment
  // suite's check).
  bool IsLiveNode(csSDK_int32 nodeId) const;
  size_t InstanceCount() const;

  // ---- Frame dependencies and render ---------------------------------------------
  // The query loop: the filter is asked with index 0; every dependency it
  // returns with a success code is kept, and it is asked again only while it
  // incremented the index. Each call is appended to `log` when given.
  std::vector<PrGPUFilterFrameDependency> FrameDependencies(uint32_t deviceIndex,
                                                            const PrGPUFilterRenderParams& params,
                                                            std::vector<DependencyQuery>* log = nullptr);
  // One GetFrameDependencies call with the given query index, outside the
  // loop; *index is what the filter left there.
  prSuiteError QueryDependency(uint32_t deviceIndex, const PrGPUFilterRenderParams& params, csSDK_int32* index,
                               PrGPUFilterFrameDependency* dependency);
  // Calls the filter's Render with these frames (frames[0] the current one)
  // and the output handle, as given (it may hold null). The device is made
  // current first.
  prSuiteError Render(uint32_t deviceIndex, const PrGPUFilterRenderParams& params, const std::vector<PPixHand>& frames,
                      PPixHand* outFrame);

  // ---- GPU frames ----------------------------------------------------------------
  // A frame in one of the two GPU formats on an open device. Its bytes are
  // not cleared: every byte holds the GPU host's "unwritten" value, as a
  // frame fresh from Premiere's pool holds whatever was there before.
  // Throws HostError for another format, a bad size or a closed device.
  PPixHand CreateGpuPPix(uint32_t deviceIndex, PrPixelFormat format, int width, int height, int parNumerator = 1,
                         int parDenominator = 1, prFieldType fieldType = prFieldsNone, bool createdByFilter = false);
  // A frame over a GPU world the GPU host made or lent (one of its cached
  // input frames, say), on the world's device and in the matching format.
  // The frame owns the world from then on, on failure too: disposing of the
  // frame disposes of the world.
  PPixHand AdoptGpuWorld(PF_EffectWorld* world, PrPixelFormat format);
  bool DisposePPix(PPixHand ppix);
  // The host's record of a frame it made, or null.
  PremierePPix* FindPPix(PPixHand ppix) const;
  // Copies an image of the frame's size into it, and reads one back (after
  // the device's queued work has finished).
  void Upload(PPixHand ppix, const ImageF& image);
  ImageF Download(PPixHand ppix);
  size_t LivePPix() const;
  // Frames the filter made through CreateGPUPPix, over the host's lifetime.
  int64_t FilterCreatedPPix() const;

  // ---- Parameters ------------------------------------------------------------------
  // How the video segment suite reports angles: kPrParamType_Float32 (the
  // default) or kPrParamType_Float64, in degrees either way. Which one
  // Premiere Pro uses is not known; a filter that reads an angle's mFloat32
  // needs the first, one that reads its mFloat64 the second. Throws
  // HostError for any other type.
  void SetAngleParamType(PrParamType type);
  PrParamType angleParamType() const;
  // The value the video segment suite reports for parameter `index` of the
  // GPU filter's list (the effect's parameter index - 1) at a time in ticks.
  prSuiteError ParamValue(csSDK_int32 index, PrTime time, PrParam* value) const;

 private:
  PPixHand Adopt(PF_EffectWorld* world, uint32_t deviceIndex, PrPixelFormat format, int parNumerator,
                 int parDenominator, prFieldType fieldType, bool createdByFilter);

  struct InstanceRecord {
    PrGPUFilterInstance instance{};
  };

  EffectHost& effect_;
  PrGPUFilterEntry entry_ = nullptr;
  PlugUtilFuncs utilFuncs_{};
  piSuites suites_{};
  PrGPUFilter filter_{};
  PrGPUFilterInfo info_{};
  bool started_ = false;

  mutable std::mutex mutex_;
  std::map<uint32_t, std::unique_ptr<InstanceRecord>> instances_;
  csSDK_int32 nextNodeId_ = 1;
  std::map<PPixHand, std::unique_ptr<PremierePPix>> ppix_;
  PrParamType angleType_ = kPrParamType_Float32;
  int64_t filterCreatedPPix_ = 0;
};

}  // namespace dshost
