// The Premiere Pro GPU filter: the effect as Premiere drives it through the
// module's xGPUFilterEntry export. One GPUDriftSmear exists per effect
// instance and GPU device; it asks the host for the earlier frames the trail
// needs and draws the trail with the same device layer as the After Effects
// path, one pass per frame, oldest first.
#pragma once
#include <functional>

#include <cstdint>
#include <utility>
#include <vector>

// The host headers in the order the vendor's Premiere headers need them.
#include "AEConfig.h"
#include "entry.h"
#include "PrSDKTypes.h"
#include "AE_EffectCBSuites.h"
#include "PrSDKAESupport.h"
#include "PrGPUFilterModule.h"
#include "PrSDKTimeSuite.h"
#include "kernels/Kernel_Data.h"
#include "render/DriftSmear_AePrGPU_Functions.h"

// Square work groups of this side on both compute interfaces.
inline constexpr int32_t kPrGPUBlockSize = 16;

// The host's framework code as the device layer numbers it: CUDA 0, OpenCL 1,
// Metal 2, anything else -1.
GPUFramework TranslatePrFramework(PrGPUDeviceFramework framework);

// A parameter value by Disk ID, as the host's video segment suite gives it.
using PrParamByDiskId = std::function<PrParam(int diskId)>;

// Fills the parameter fields of `data` from Premiere's parameter values:
// float sliders are read as their 64-bit float, the motion angle as the
// 32-bit float at the start of its value (in degrees), the chromatic offset
// as its 64-bit float narrowed without conversion (so the kernels receive
// degrees here, radians under After Effects), popups as their low byte and
// the checkbox as its low byte being non-zero. Fields not fed by a parameter
// (time, licence, frame slots, percent) are left as they are.
void FillPremiereKernelData(const PrParamByDiskId& param, KernelData& data);

class GPUDriftSmear : public PrGPUFilterBase {
 public:
  GPUDriftSmear() = default;
  ~GPUDriftSmear() override;

  // Acquires the GPU device, GPU image processing, memory manager, PPix,
  // PPix 2, transition, video segment and time suites itself (the base's
  // Initialize neither checks nor releases them), reads the device
  // information and prepares the device's kernels as InitializeGPU does. A
  // suite the host does not give fails the instance with a log line.
  prSuiteError Initialize(PrGPUFilterInstance* ioInstanceData) override;

  // Query q (0 <= q <= N - 2, N the frames parameter) asks for the input
  // frame (q + 1) x S frames before the render's sequence time, S the frame
  // offset parameter; the index is incremented while more follow. Nothing
  // (suiteError_NotImplemented) for N < 2 or q outside that range.
  prSuiteError GetFrameDependencies(const PrGPUFilterRenderParams* inRenderParams, csSDK_int32* ioQueryIndex,
                                    PrGPUFilterFrameDependency* outFrameDependencies) override;

  prSuiteError Render(const PrGPUFilterRenderParams* inRenderParams, const PPixHand* inFrames,
                      csSDK_size_t inFrameCount, PPixHand* outFrame) override;


 private:
  // Acquires one suite through the host's basic suite; every suite acquired
  // is released by the destructor. False (with a log line) when the host
  // does not give it.
  template <typename Suite>
  bool AcquireHostSuite(const char* name, int32_t version, Suite*& suite);
  void ReleaseHostSuites();

  // The value of the parameter with this Disk ID at `time`, asked of the
  // video segment suite with the table position less the input layer;
  // throws when the Disk ID is not in the table or the host cannot give the
  // value.
  PrParam ReadParam(int diskId, PrTime time);

  SPBasicSuite* mBasicSuite = nullptr;
  std::vector<std::pair<const char*, int32_t>> mAcquiredSuites;
  const PF_TransitionSuite* mTransition = nullptr;
  const PrSDKTimeSuite* mTimeSuite = nullptr;
  GPUFramework mFramework = GPUFramework_None;
  KernelList mKernels{};
  bool mKernelsInitialized = false;
};
