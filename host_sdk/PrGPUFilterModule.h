// The C++ side of Premiere Pro's GPU filter interface, written by us with the
// vendor's names and behaviour: PrGPUFilterBase, the class a filter derives
// from, PrGPUFilterModule, the static adapters between the host's C function
// table and that class, and the macro that defines the exported
// xGPUFilterEntry.
//
// Like the vendor's template it is thin on purpose: Initialize takes what the
// host gives without checking it and never fails, nothing releases the suites
// it acquired, and no module function catches an exception. A filter that
// wants more (checked acquisitions, releases, an exception guard) does it in
// its own code. The including file brings AEConfig.h, PrSDKTypes.h,
// AE_EffectCBSuites.h and PrSDKAESupport.h first, as with the vendor's.
#pragma once
#ifndef kPFTransitionSuite
#error "PrGPUFilterModule.h needs PrSDKAESupport.h first"
#endif
#include <sstream>
#include <string>

#include "PrSDKGPUDeviceSuite.h"
#include "PrSDKGPUFilter.h"
#include "PrSDKGPUImageProcessingSuite.h"
#include "PrSDKMemoryManagerSuite.h"
#include "PrSDKPPix2Suite.h"
#include "PrSDKPPixSuite.h"
#include "PrSDKPlugSuites.h"
#include "PrSDKVideoSegmentSuite.h"

class PrGPUFilterBase {
 public:
  virtual ~PrGPUFilterBase() {}

  // Keeps the instance's suites record, device index, timeline and node,
  // acquires the GPU device, GPU image processing, memory manager, PPix,
  // PPix 2, transition and video segment suites and reads the device's
  // information. Always succeeds; a suite the host does not give stays null.
  virtual prSuiteError Initialize(PrGPUFilterInstance* ioInstanceData) {
    mSuites = ioInstanceData->piSuites;
    mDeviceIndex = ioInstanceData->inDeviceIndex;
    mTimelineID = ioInstanceData->inTimelineID;
    mNodeID = ioInstanceData->inNodeID;
    SPBasicSuite* basic = mSuites->utilFuncs->getSPBasicSuite();
    basic->AcquireSuite(kPrSDKGPUDeviceSuite, kPrSDKGPUDeviceSuiteVersion,
                        (const void**)&mGPUDeviceSuite);
    basic->AcquireSuite(kPrSDKGPUImageProcessingSuite, kPrSDKGPUImageProcessingSuiteVersion,
                        (const void**)&mGPUImageProcessingSuite);
    basic->AcquireSuite(kPrSDKMemoryManagerSuite, kPrSDKMemoryManagerSuiteVersion,
                        (const void**)&mMemoryManagerSuite);
    basic->AcquireSuite(kPrSDKPPixSuite, kPrSDKPPixSuiteVersion, (const void**)&mPPixSuite);
    basic->AcquireSuite(kPrSDKPPix2Suite, kPrSDKPPix2SuiteVersion, (const void**)&mPPix2Suite);
    basic->AcquireSuite(kPFTransitionSuite, kPFTransitionSuiteVersion,
                        (const void**)&mTransitionSuite);
    basic->AcquireSuite(kPrSDKVideoSegmentSuite, kPrSDKVideoSegmentSuiteVersion,
                        (const void**)&mVideoSegmentSuite);
    if (mGPUDeviceSuite != nullptr) {
      mGPUDeviceSuite->GetDeviceInfo(kPrSDKGPUDeviceSuiteVersion, mDeviceIndex, &mDeviceInfo);
    }
    return suiteError_NoError;
  }

  // The earlier frames the filter needs, one per query: fill the dependency
  // and increment *ioQueryIndex when another follows. By default the filter
  // needs none.
  virtual prSuiteError GetFrameDependencies(const PrGPUFilterRenderParams* /*inRenderParams*/,
                                            csSDK_int32* /*ioQueryIndex*/,
                                            PrGPUFilterFrameDependency* /*outFrameDependencies*/) {
    return suiteError_NotImplemented;
  }

  virtual prSuiteError Precompute(const PrGPUFilterRenderParams* /*inRenderParams*/, csSDK_int32 /*inIndex*/,
                                  PPixHand /*inFrame*/) {
    return suiteError_NotImplemented;
  }

  // inFrames[0] is the frame at the render time; the frames asked for by
  // GetFrameDependencies follow in the order they were asked for.
  virtual prSuiteError Render(const PrGPUFilterRenderParams* inRenderParams, const PPixHand* inFrames,
                              csSDK_size_t inFrameCount, PPixHand* outFrame) = 0;

  static prSuiteError Startup(piSuitesPtr /*piSuites*/, csSDK_int32 /*inIndex*/) { return suiteError_NoError; }
  static prSuiteError Shutdown(piSuitesPtr /*piSuites*/, csSDK_int32 /*inIndex*/) { return suiteError_NoError; }
  static csSDK_int32 PluginCount() { return 1; }
  // All zero: the host takes the match name of the module's registration.
  static PrSDKString MatchName(piSuitesPtr /*piSuites*/, csSDK_int32 /*inIndex*/) { return PrSDKString{}; }

 protected:
  // A node property, parsed from the host's text.
  template <typename T>
  bool GetProperty(const char* inKey, T& outValue) {
    PrMemoryPtr text = nullptr;
    mVideoSegmentSuite->GetNodeProperty(mNodeID, inKey, &text);
    if (text == nullptr) {
      return false;
    }
    std::istringstream stream{std::string(text)};
    mMemoryManagerSuite->PrDisposePtr(text);
    stream >> outValue;
    return !stream.fail();
  }

  // Parameter `inIndex` counted as After Effects counts it (the input layer
  // is 0): GPU filters do not count the input layer, so the host is asked for
  // inIndex - 1. The host's result is not reported.
  PrParam GetParam(csSDK_int32 inIndex, PrTime inTime) {
    PrParam param{};
    mVideoSegmentSuite->GetParam(mNodeID, inIndex - 1, inTime, &param);
    return param;
  }

  static int RoundUp(int inValue, int inMultiple) { return (inValue + inMultiple - 1) / inMultiple * inMultiple; }

  // Bytes of one GPU pixel: four 32-bit floats, or four halves.
  static int GetGPUBytesPerPixel(PrPixelFormat inPixelFormat) {
    return inPixelFormat == PrPixelFormat_GPU_BGRA_4444_32f ? 16 : 8;
  }

  piSuitesPtr mSuites = nullptr;
  csSDK_uint32 mDeviceIndex = 0;
  PrTimelineID mTimelineID = 0;
  csSDK_int32 mNodeID = 0;
  PrGPUDeviceInfo mDeviceInfo{};
  PrSDKGPUDeviceSuite* mGPUDeviceSuite = nullptr;
  PrSDKGPUImageProcessingSuite* mGPUImageProcessingSuite = nullptr;
  PrSDKMemoryManagerSuite* mMemoryManagerSuite = nullptr;
  PrSDKPPixSuite* mPPixSuite = nullptr;
  PrSDKPPix2Suite* mPPix2Suite = nullptr;
  PF_TransitionSuite* mTransitionSuite = nullptr;
  PrSDKVideoSegmentSuite* mVideoSegmentSuite = nullptr;
};

// The host's C function table over the filter class: one Filter object per
// instance, kept in the instance's private data.
template <typename Filter>
struct PrGPUFilterModule {
  static prSuiteError Startup(piSuitesPtr piSuites, csSDK_int32* ioIndex, PrGPUFilterInfo* outFilterInfo) {
    const csSDK_int32 index = *ioIndex;
    if (index < 0 || index + 1 > Filter::PluginCount()) {
      return suiteError_InvalidParms;
    }
    if (index + 1 < Filter::PluginCount()) {
      *ioIndex = index + 1;
    }
    outFilterInfo->outMatchName = Filter::MatchName(piSuites, index);
    outFilterInfo->outInterfaceVersion = PrSDKGPUFilterInterfaceVersion;
    return Filter::Startup(piSuites, index);
  }

  static prSuiteError Shutdown(piSuitesPtr piSuites, csSDK_int32* ioIndex) {
    return Filter::Shutdown(piSuites, *ioIndex);
  }

  static prSuiteError CreateInstance(PrGPUFilterInstance* ioInstanceData) {
    Filter* filter = new Filter();
    const prSuiteError result = filter->Initialize(ioInstanceData);
    if (PrSuiteErrorSucceeded(result)) {
      ioInstanceData->ioPrivatePluginData = filter;
    } else {
      delete filter;
    }
    return result;
  }

  static prSuiteError DisposeInstance(PrGPUFilterInstance* ioInstanceData) {
    delete static_cast<Filter*>(ioInstanceData->ioPrivatePluginData);
    ioInstanceData->ioPrivatePluginData = nullptr;
    return suiteError_NoError;
  }

  static prSuiteError GetFrameDependencies(PrGPUFilterInstance* inInstanceData,
                                           const PrGPUFilterRenderParams* inRenderParams, csSDK_int32* ioQueryIndex,
                                           PrGPUFilterFrameDependency* outFrameDependencies) {
    return static_cast<Filter*>(inInstanceData->ioPrivatePluginData)
        ->GetFrameDependencies(inRenderParams, ioQueryIndex, outFrameDependencies);
  }

  static prSuiteError Precompute(PrGPUFilterInstance* inInstanceData, const PrGPUFilterRenderParams* inRenderParams,
                                 csSDK_int32 inIndex, PPixHand inFrame) {
    return static_cast<Filter*>(inInstanceData->ioPrivatePluginData)->Precompute(inRenderParams, inIndex, inFrame);
  }

  static prSuiteError Render(PrGPUFilterInstance* inInstanceData, const PrGPUFilterRenderParams* inRenderParams,
                             const PPixHand* inFrames, csSDK_size_t inFrameCount, PPixHand* outFrame) {
    return static_cast<Filter*>(inInstanceData->ioPrivatePluginData)
        ->Render(inRenderParams, inFrames, inFrameCount, outFrame);
  }
};

// Defines the module's exported entry point over a PrGPUFilterModule<Filter>:
// on startup the module's functions go into outFilter and its Startup runs;
// on shutdown its Shutdown runs. DllExport comes from entry.h.
#define DECLARE_GPUFILTER_ENTRY(ModuleName)                                                                  \
  extern "C" DllExport prSuiteError xGPUFilterEntry(csSDK_uint32 inHostInterfaceVersion,                    \
                                                    csSDK_int32* ioIndex, prBool inStartup,                  \
                                                    piSuitesPtr piSuites, PrGPUFilter* outFilter,            \
                                                    PrGPUFilterInfo* outFilterInfo) {                        \
    (void)inHostInterfaceVersion;                                                                            \
    if (inStartup == kPrFalse) {                                                                             \
      return ModuleName::Shutdown(piSuites, ioIndex);                                                        \
    }                                                                                                        \
    outFilter->CreateInstance = ModuleName::CreateInstance;                                                  \
    outFilter->DisposeInstance = ModuleName::DisposeInstance;                                                \
    outFilter->GetFrameDependencies = ModuleName::GetFrameDependencies;                                      \
    outFilter->Precompute = ModuleName::Precompute;                                                          \
    outFilter->Render = ModuleName::Render;                                                                  \
    return ModuleName::Startup(piSuites, ioIndex, outFilterInfo);                                            \
  }
