#include "render/DriftSmear_PrGPU.h"

#include <cmath>
#include <cstring>
#include <exception>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <string>

#include "effect/Licensing.h"
#include "params/DriftSmear_Parameters.h"
#include "support/LogsController.h"

namespace {

constexpr const char* kInitializeTag = "GPUDriftSmear::Initialize";
constexpr const char* kDependenciesTag = "GPUDriftSmear::GetFrameDependencies";
constexpr const char* kRenderTag = "GPUDriftSmear::Render";

std::string SuiteErrorText(prSuiteError err) {
  std::ostringstream text;
  text << "0x" << std::hex << std::uppercase << static_cast<uint32_t>(err);
  return text.str();
}

// Disposes of a GPU frame the filter allocated, on every way out of Render.
class ScopedPPix {
 public:
  ScopedPPix(const PrSDKPPixSuite* suite, PPixHand ppix) : suite_(suite), ppix_(ppix) {}
  ~ScopedPPix() {
    if (ppix_ != nullptr) {
      suite_->Dispose(ppix_);
    }
  }
  ScopedPPix(const ScopedPPix&) = delete;
  ScopedPPix& operator=(const ScopedPPix&) = delete;

 private:
  const PrSDKPPixSuite* suite_;
  PPixHand ppix_;
};

}  // namespace

GPUFramework TranslatePrFramework(PrGPUDeviceFramework framework) {
  switch (framework) {
    case PrGPUDeviceFramework_CUDA:
      return GPUFramework_CUDA;
    case PrGPUDeviceFramework_OpenCL:
      return GPUFramework_OpenCL;
    case PrGPUDeviceFramework_Metal:
      return GPUFramework_Metal;
    default:
      return GPUFramework_None;
  }
}

void FillPremiereKernelData(const PrParamByDiskId& param, KernelData& data) {
  // Each slider value is taken in double precision and rounded to float once.
  const auto slider = [&](int diskId) { return param(diskId).mFloat64; };
  data.trailIntensity = static_cast<float>(slider(kDiskTrail) * 0.5);
  data.displaceIntensity = static_cast<float>(slider(kDiskDisplace) * 0.5);
  data.threshold = static_cast<float>(slider(kDiskVelocityThreshold) / 50.0);
  data.lambda = static_cast<float>(slider(kDiskDisplaceThreshold) / 100.0);
  data.minVel = static_cast<float>(slider(kDiskMinVelocity) / 100.0);
  data.maxVel = static_cast<float>(slider(kDiskMaxVelocity) / 100.0);

  // The gradient sampling distance: its length from the motion size, its
  // direction from the motion angle, which Premiere carries as a 32-bit float
  // of degrees. The products are taken in single precision.
  const float motionSize = static_cast<float>(slider(kDiskMotionSize) / 100.0);
  const float motionAngle =
      static_cast<float>(static_cast<double>(param(kDiskMotionAngle).mFloat32) * std::numbers::pi / 180.0);
  data.offsetX = std::cos(motionAngle) * motionSize;
  data.offsetY = std::sin(motionAngle) * motionSize;

  data.chromatic = static_cast<float>(slider(kDiskChromatic) / 100.0);
  // Passed on in degrees: this path does not convert the chromatic offset.
  data.chromaticOffset = static_cast<float>(slider(kDiskChromaticOffset));
  data.percentEase = static_cast<float>(slider(kDiskAmount) / 20.0);
  data.showDebugData = static_cast<int>(param(kDiskDebugDisplay).mInt8);
  data.preset = static_cast<int>(param(kDiskPreset).mInt8);
  data.isPremult = param(kDiskPremultiplied).mBool != 0;
}

GPUDriftSmear::~GPUDriftSmear() {
  if (mKernelsInitialized) {
    GPUDispose(mFramework, &mKernels);
  }
  ReleaseHostSuites();
}

template <typename Suite>
bool GPUDriftSmear::AcquireHostSuite(const char* name, int32_t version, Suite*& suite) {
  suite = nullptr;
  const void* acquired = nullptr;
  if (mBasicSuite->AcquireSuite(name, version, &acquired) != kSPNoError || acquired == nullptr) {
    DRIFTSMEAR_LOG_ERROR(kInitializeTag, "Cannot acquire the host suite \"" << name << "\"");
    return false;
  }
  mAcquiredSuites.emplace_back(name, version);
  suite = static_cast<Suite*>(const_cast<void*>(acquired));
  return true;
}

void GPUDriftSmear::ReleaseHostSuites() {
  for (auto it = mAcquiredSuites.rbegin(); it != mAcquiredSuites.rend(); ++it) {
    mBasicSuite->ReleaseSuite(it->first, it->second);
  }
  mAcquiredSuites.clear();
}

prSuiteError GPUDriftSmear::Initialize(PrGPUFilterInstance* ioInstanceData) {
  try {
    if (ioInstanceData == nullptr || ioInstanceData->piSuites == nullptr ||
        ioInstanceData->piSuites->utilFuncs == nullptr ||
        ioInstanceData->piSuites->utilFuncs->getSPBasicSuite == nullptr ||
        (mBasicSuite = ioInstanceData->piSuites->utilFuncs->getSPBasicSuite()) == nullptr) {
      DRIFTSMEAR_LOG_ERROR(kInitializeTag, "The host gave the instance no suites");
      return suiteError_InvalidParms;
    }
    mSuites = ioInstanceData->piSuites;
    mDeviceIndex = ioInstanceData->inDeviceIndex;
    mTimelineID = ioInstanceData->inTimelineID;
    mNodeID = ioInstanceData->inNodeID;
    if (!AcquireHostSuite(kPrSDKGPUDeviceSuite, kPrSDKGPUDeviceSuiteVersion, mGPUDeviceSuite) ||
        !AcquireHostSuite(kPrSDKGPUImageProcessingSuite, kPrSDKGPUImageProcessingSuiteVersion,
                          mGPUImageProcessingSuite) ||
        !AcquireHostSuite(kPrSDKMemoryManagerSuite, kPrSDKMemoryManagerSuiteVersion, mMemoryManagerSuite) ||
        !AcquireHostSuite(kPrSDKPPixSuite, kPrSDKPPixSuiteVersion, mPPixSuite) ||
        !AcquireHostSuite(kPrSDKPPix2Suite, kPrSDKPPix2SuiteVersion, mPPix2Suite) ||
        !AcquireHostSuite(kPFTransitionSuite, kPFTransitionSuiteVersion, mTransition) ||
        !AcquireHostSuite(kPrSDKVideoSegmentSuite, kPrSDKVideoSegmentSuiteVersion, mVideoSegmentSuite) ||
        !AcquireHostSuite(kPrSDKTimeSuite, kPrSDKTimeSuiteVersion, mTimeSuite)) {
      return suiteError_Fail;
    }
    const prSuiteError err = mGPUDeviceSuite->GetDeviceInfo(kPrSDKGPUDeviceSuiteVersion, mDeviceIndex, &mDeviceInfo);
    if (PrSuiteErrorFailed(err)) {
      DRIFTSMEAR_LOG_ERROR(kInitializeTag, "Cannot read the GPU device information. Code: " << SuiteErrorText(err));
      return err;
    }

    // The device's kernels, exactly as the After Effects device setup builds
    // them; whatever a failing build left behind is released by the
    // destructor.
    mFramework = TranslatePrFramework(mDeviceInfo.outDeviceFramework);
    std::memset(&mKernels, 0, sizeof(mKernels));
    mKernelsInitialized = true;
    const PF_Err gpuErr = InitializeGPU(mFramework, &mKernels, mDeviceInfo.outDeviceHandle, mDeviceInfo.outContextHandle);
    return gpuErr == PF_Err_NONE ? suiteError_NoError : suiteError_Fail;
  } catch (const std::exception& e) {
    DRIFTSMEAR_LOG_ERROR(kInitializeTag, e.what());
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR(kInitializeTag, "Unknown exception");
  }
  return suiteError_Fail;
}

PrParam GPUDriftSmear::ReadParam(int diskId, PrTime time) {
  // The table position counts the input layer; a GPU filter's parameter
  // list does not, so the host is asked for position - 1.
  const int position = FindParamIndexByDiskID(diskId);
  PrParam value{};
  const prSuiteError err = mVideoSegmentSuite->GetParam(mNodeID, position - 1, time, &value);
  if (PrSuiteErrorFailed(err)) {
    std::ostringstream text;
    text << "Cannot read the parameter with Disk ID " << diskId << " (index " << position - 1
         << "). Code: " << SuiteErrorText(err);
    throw std::runtime_error(text.str());
  }
  return value;
}

prSuiteError GPUDriftSmear::GetFrameDependencies(const PrGPUFilterRenderParams* inRenderParams,
                                                 csSDK_int32* ioQueryIndex,
                                                 PrGPUFilterFrameDependency* outFrameDependencies) {
  try {
    if (inRenderParams == nullptr || ioQueryIndex == nullptr || outFrameDependencies == nullptr) {
      DRIFTSMEAR_LOG_ERROR(kDependenciesTag, "Render parameters, query index or dependency record is missing");
      return suiteError_InvalidParms;
    }
    const int frames = static_cast<int>(ReadParam(kDiskFrames, inRenderParams->inClipTime).mFloat64);
    const int spacing = static_cast<int>(ReadParam(kDiskFrameOffset, inRenderParams->inClipTime).mFloat64);
    const csSDK_int32 query = *ioQueryIndex;
    if (frames < 2 || query < 0 || query > frames - 2) {
      return suiteError_NotImplemented;
    }

    // Dependencies name sequence times, so the frames are counted back from
    // the render's sequence time, not its clip time.
    const PrTime now = inRenderParams->inSequenceTime;
    const PrTime frameTicks = inRenderParams->inRenderTicksPerFrame;
    const PrTime framesBack = static_cast<PrTime>(query + 1) * spacing;
    const PrTime time = now - framesBack * frameTicks;

    // The frame number reached by stepping back must be the frame number of
    // the time asked for; a mismatch is reported and the frame asked for
    // all the same. A zero frame duration has no frame numbers to compare.
    if (frameTicks != 0) {
      const double stepped =
          std::trunc(static_cast<double>(now) / static_cast<double>(frameTicks) - static_cast<double>(framesBack));
      const double asked = std::trunc(static_cast<double>(time) / static_cast<double>(frameTicks));
      if (stepped != asked) {
        DRIFTSMEAR_LOG_ERROR(kDependenciesTag, "Frame numbers are wrong!");
      }
    }

    *outFrameDependencies = PrGPUFilterFrameDependency{};
    outFrameDependencies->outDependencyType = PrGPUDependency_InputFrame;
    outFrameDependencies->outTrackID = 0;
    outFrameDependencies->outSequenceTime = time;
    if (query < frames - 2) {
      *ioQueryIndex = query + 1;
    }
    return suiteError_NoError;
  } catch (const std::exception& e) {
    DRIFTSMEAR_LOG_ERROR(kDependenciesTag, e.what());
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR(kDependenciesTag, "Unknown exception");
  }
  return suiteError_Fail;
}

prSuiteError GPUDriftSmear::Render(const PrGPUFilterRenderParams* inRenderParams, const PPixHand* inFrames,
                                   csSDK_size_t inFrameCount, PPixHand* outFrame) {
  try {
    if (inRenderParams == nullptr || (inFrames == nullptr && inFrameCount > 0)) {
      DRIFTSMEAR_LOG_ERROR(kRenderTag, "Render parameters or input frames are missing");
      return suiteError_InvalidParms;
    }
    const GPUFramework framework = TranslatePrFramework(mDeviceInfo.outDeviceFramework);
    const PrTime clipTime = inRenderParams->inClipTime;

    KernelData data{};
    data.is_activated = CurrentLicenceState().is_activated;
    FillPremiereKernelData([&](int diskId) { return ReadParam(diskId, clipTime); }, data);
    PrTime ticksPerSecond = 0;
    const prSuiteError timeErr = mTimeSuite->GetTicksPerSecond(&ticksPerSecond);
    if (PrSuiteErrorFailed(timeErr) || ticksPerSecond <= 0) {
      DRIFTSMEAR_LOG_ERROR(kRenderTag, "Cannot read the ticks per second. Code: " << SuiteErrorText(timeErr));
      return PrSuiteErrorFailed(timeErr) ? timeErr : suiteError_Fail;
    }
    data.time = static_cast<float>(clipTime) / static_cast<float>(ticksPerSecond);

    // Pitches are counted in pixels of the output's format: four floats or
    // four halves.
    const PPixHand destination = outFrame != nullptr ? *outFrame : nullptr;
    PrPixelFormat format = PrPixelFormat_Invalid;
    if (destination != nullptr) {
      mPPixSuite->GetPixelFormat(destination, &format);
    }
    const int32_t bytesPerPixel = GetGPUBytesPerPixel(format);
    const int32_t is16f = format != PrPixelFormat_GPU_BGRA_4444_32f ? 1 : 0;
    if (destination == nullptr) {
      DRIFTSMEAR_LOG_ERROR(kRenderTag, "Destination buffer is not available.");
      return suiteError_InvalidParms;
    }

    csSDK_int32 outRowBytes = 0;
    prSuiteError err = mPPixSuite->GetRowBytes(destination, &outRowBytes);
    if (PrSuiteErrorFailed(err)) {
      DRIFTSMEAR_LOG_ERROR(kRenderTag, "Cannot read the output's row bytes. Code: " << SuiteErrorText(err));
      return err;
    }
    const int32_t width = static_cast<int32_t>(inRenderParams->inRenderWidth);
    const int32_t height = static_cast<int32_t>(inRenderParams->inRenderHeight);

    // The oldest pass reads this frame as its previous frame; a resize pass
    // places its frame here before the main kernel reads it. It is released
    // on every way out.
    PPixHand intermediate = nullptr;
    err = mGPUDeviceSuite->CreateGPUPPix(mDeviceIndex, format, width, height,
                                         static_cast<int>(inRenderParams->inRenderPARNum),
                                         static_cast<int>(inRenderParams->inRenderPARDen),
                                         inRenderParams->inRenderFieldType, &intermediate);
    if (PrSuiteErrorFailed(err) || intermediate == nullptr) {
      DRIFTSMEAR_LOG_ERROR(kRenderTag, "Cannot allocate Intermediate buffer");
      return PrSuiteErrorFailed(err) ? err : suiteError_OutOfMemory;
    }
    ScopedPPix intermediateGuard(mPPixSuite, intermediate);

    const auto deviceData = [&](PPixHand frame, const char* what, void** data) {
      const prSuiteError dataErr = mGPUDeviceSuite->GetGPUPPixData(frame, data);
      if (PrSuiteErrorFailed(dataErr)) {
        DRIFTSMEAR_LOG_ERROR(kRenderTag, "Cannot get the device memory of the " << what << ". Code: "
                                                                                 << SuiteErrorText(dataErr));
      }
      return dataErr;
    };
    void* firstFrameData = nullptr;
    void* outputData = nullptr;
    void* intermediateData = nullptr;
    if (inFrameCount > 0 && PrSuiteErrorFailed(err = deviceData(inFrames[0], "current frame", &firstFrameData))) {
      return err;
    }
    if (PrSuiteErrorFailed(err = deviceData(destination, "output", &outputData)) ||
        PrSuiteErrorFailed(err = deviceData(intermediate, "intermediate frame", &intermediateData))) {
      return err;
    }

    const int32_t outputPitch = outRowBytes / bytesPerPixel;
    const MainKernelSizes mainSizes{outputPitch, outputPitch, outputPitch, is16f, width, height};
    const int n = static_cast<int>(inFrameCount) - 1;
    data.numFrames = static_cast<int>(inFrameCount);

    // Oldest frame first, each younger frame composited over the output in
    // place, percent rising from 0 to 1 for the current frame. A frame of
    // another size than the render is centred.
    for (int i = n; i >= 0; --i) {
      data.percent = 1.0f - static_cast<float>(i) / static_cast<float>(n);
      void* frameData = nullptr;
      prRect bounds{};
      csSDK_int32 frameRowBytes = 0;
      if (PrSuiteErrorFailed(err = deviceData(inFrames[i], "input frame", &frameData))) {
        return err;
      }
      err = mPPixSuite->GetBounds(inFrames[i], &bounds);
      if (PrSuiteErrorFailed(err)) {
        DRIFTSMEAR_LOG_ERROR(kRenderTag, "Cannot read the bounds of input frame " << i << ". Code: "
                                                                                   << SuiteErrorText(err));
        return err;
      }
      err = mPPixSuite->GetRowBytes(inFrames[i], &frameRowBytes);
      if (PrSuiteErrorFailed(err)) {
        DRIFTSMEAR_LOG_ERROR(kRenderTag, "Cannot read the row bytes of input frame " << i << ". Code: "
                                                                                      << SuiteErrorText(err));
        return err;
      }
      const int32_t frameWidth = bounds.right - bounds.left;
      const int32_t frameHeight = bounds.bottom - bounds.top;
      const ResizeKernelSizes resizeSizes{frameRowBytes / bytesPerPixel,
                                          outputPitch,
                                          is16f,
                                          frameWidth,
                                          frameHeight,
                                          width,
                                          height,
                                          (width - frameWidth) / 2,
                                          (height - frameHeight) / 2};
      if (i < 50) {
        data.originH[i] = resizeSizes.offsetX;
        data.originV[i] = resizeSizes.offsetY;
      }
      const PF_Err gpuErr = GPURender(framework, &mKernels, mDeviceInfo.outDeviceHandle, mDeviceInfo.outContextHandle,
                                      mDeviceInfo.outCommandQueueHandle, i == n ? intermediateData : outputData,
                                      frameData, intermediateData, outputData, &data, &mainSizes, &resizeSizes,
                                      kPrGPUBlockSize);
      if (gpuErr != PF_Err_NONE) {
        return suiteError_Fail;
      }
    }
    return suiteError_NoError;
  } catch (const std::exception& e) {
    DRIFTSMEAR_LOG_ERROR(kRenderTag, e.what());
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR(kRenderTag, "Unknown exception");
  }
  return suiteError_Fail;
}

using DriftSmearGPUFilterModule = PrGPUFilterModule<GPUDriftSmear>;
DECLARE_GPUFILTER_ENTRY(DriftSmearGPUFilterModule)
