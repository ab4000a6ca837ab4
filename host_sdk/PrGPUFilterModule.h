// The C++ side of Premiere Pro's GPU filter interface, written by us with the
// vendor's names: PrGPUFilterBase, the class a filter derives from, and
// PrGPUFilterModule, the static adapters between the host's C function table
// and that class, plus the macro that defines the exported xGPUFilterEntry.
//
// Differences from the vendor's template, on purpose:
// - Initialize reports a suite the host cannot give (as suiteError_Fail, with
//   its name in MissingSuite()) instead of carrying on with a null pointer.
// - The destructor releases every suite Initialize acquired.
// - No exception leaves a module function: each one catches everything,
//   hands the text to Filter::ReportFailure and returns suiteError_Fail.
#pragma once
#include <cstdint>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "PrSDKAESupport.h"
#include "PrSDKGPUDeviceSuite.h"
#include "PrSDKGPUFilter.h"
#include "PrSDKGPUImageProcessingSuite.h"
#include "PrSDKMemoryManagerSuite.h"
#include "PrSDKPPix2Suite.h"
#include "PrSDKPPixSuite.h"
#include "PrSDKPlugSuites.h"
#include "PrSDKVideoSegmentSuite.h"

#ifdef _WIN32
#define PrGPUFilterExport __declspec(dllexport)
#else
#define PrGPUFilterExport __attribute__((visibility("default")))
#endif

class PrGPUFilterBase {
 public:
  PrGPUFilterBase() = default;
  virtual ~PrGPUFilterBase() { ReleaseSuites(); }
  PrGPUFilterBase(const PrGPUFilterBase&) = delete;
  PrGPUFilterBase& operator=(const PrGPUFilterBase&) = delete;

  // Keeps the instance's suites record, device index, timeline and node, and
  // acquires the GPU device, GPU image processing, memory manager, PPix,
  // PPix 2, transition and video segment suites (in that order), then asks
  // for the device's information.
  virtual prSuiteError Initialize(PrGPUFilterInstance* ioInstanceData) {
    if (ioInstanceData == nullptr || ioInstanceData->piSuites == nullptr ||
        ioInstanceData->piSuites->utilFuncs == nullptr ||
        ioInstanceData->piSuites->utilFuncs->getSPBasicSuite == nullptr) {
      return suiteError_InvalidParms;
    }
    mSuites = ioInstanceData->piSuites;
    mDeviceIndex = ioInstanceData->inDeviceIndex;
    mTimelineID = ioInstanceData->inTimelineID;
    mNodeID = ioInstanceData->inNodeID;
    mBasicSuite = mSuites->utilFuncs->getSPBasicSuite();
    if (mBasicSuite == nullptr) {
      return suiteError_InvalidParms;
    }
    if (!AcquireSuite(kPrSDKGPUDeviceSuite, kPrSDKGPUDeviceSuiteVersion, mGPUDeviceSuite) ||
        !AcquireSuite(kPrSDKGPUImageProcessingSuite, kPrSDKGPUImageProcessingSuiteVersion,
                      mGPUImageProcessingSuite) ||
        !AcquireSuite(kPrSDKMemoryManagerSuite, kPrSDKMemoryManagerSuiteVersion, mMemoryManagerSuite) ||
        !AcquireSuite(kPrSDKPPixSuite, kPrSDKPPixSuiteVersion, mPPixSuite) ||
        !AcquireSuite(kPrSDKPPix2Suite, kPrSDKPPix2SuiteVersion, mPPix2Suite) ||
        !AcquireSuite(kPFTransitionSuite, kPFTransitionSuiteVersion, mTransitionSuite) ||
        !AcquireSuite(kPrSDKVideoSegmentSuite, kPrSDKVideoSegmentSuiteVersion, mVideoSegmentSuite)) {
      return suiteError_Fail;
    }
    return mGPUDeviceSuite->GetDeviceInfo(kPrSDKGPUDeviceSuiteVersion, mDeviceIndex, &mDeviceInfo);
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
  // Told about an exception a module function caught; `where` names the
  // function. Filters hide this with their own to log it.
  static void ReportFailure(const char* /*where*/, const char* /*what*/) {}

  // The first suite Initialize could not acquire, or null.
  const char* MissingSuite() const { return mMissingSuite; }

 protected:
  // A node property, parsed from the host's text; false when the host has
  // none or the text does not parse.
  template <typename T>
  bool GetProperty(const char* inKey, T& outValue) {
    PrMemoryPtr text = nullptr;
    if (mVideoSegmentSuite == nullptr ||
        PrSuiteErrorFailed(mVideoSegmentSuite->GetNodeProperty(mNodeID, inKey, &text)) || text == nullptr) {
      return false;
    }
    std::istringstream stream{std::string(text)};
    if (mMemoryManagerSuite != nullptr) {
      mMemoryManagerSuite->PrDisposePtr(text);
    }
    stream >> outValue;
    return !stream.fail();
  }

  // Parameter `inIndex` counted as After Effects counts it (the input layer
  // is 0): GPU filters do not count the input layer, so the host is asked for
  // inIndex - 1. A failing host call leaves a zeroed value.
  PrParam GetParam(csSDK_int32 inIndex, PrTime inTime) {
    PrParam param{};
    GetParam(inIndex, inTime, &param);
    return param;
  }
  // The same with the host's result.
  prSuiteError GetParam(csSDK_int32 inIndex, PrTime inTime, PrParam* outParam) {
    if (mVideoSegmentSuite == nullptr || outParam == nullptr) {
      return suiteError_InvalidCall;
    }
    return mVideoSegmentSuite->GetParam(mNodeID, inIndex - 1, inTime, outParam);
  }

  static int RoundUp(int inValue, int inMultiple) { return (inValue + inMultiple - 1) / inMultiple * inMultiple; }

  // Bytes of one GPU pixel: four 32-bit floats, or four halves.
  static int GetGPUBytesPerPixel(PrPixelFormat inPixelFormat) {
    return inPixelFormat == PrPixelFormat_GPU_BGRA_4444_32f ? 16 : 8;
  }

  // Acquires one more suite through the basic suite; it is released with the
  // others when the filter is destroyed.
  template <typename Suite>
  bool AcquireSuite(const char* inName, int32_t inVersion, const Suite*& outSuite) {
    outSuite = nullptr;
    const void* suite = nullptr;
    if (mBasicSuite == nullptr || mBasicSuite->AcquireSuite(inName, inVersion, &suite) != kSPNoError ||
        suite == nullptr) {
      if (mMissingSuite == nullptr) {
        mMissingSuite = inName;
      }
      return false;
    }
    mAcquired.emplace_back(inName, inVersion);
    outSuite = static_cast<const Suite*>(suite);
    return true;
  }

  piSuitesPtr mSuites = nullptr;
  csSDK_uint32 mDeviceIndex = 0;
  PrTimelineID mTimelineID = 0;
  csSDK_int32 mNodeID = 0;
  PrGPUDeviceInfo mDeviceInfo{};
  const PrSDKGPUDeviceSuite* mGPUDeviceSuite = nullptr;
  const PrSDKGPUImageProcessingSuite* mGPUImageProcessingSuite = nullptr;
  const PrSDKMemoryManagerSuite* mMemoryManagerSuite = nullptr;
  const PrSDKPPixSuite* mPPixSuite = nullptr;
  const PrSDKPPix2Suite* mPPix2Suite = nullptr;
  const PF_TransitionSuite* mTransitionSuite = nullptr;
  const PrSDKVideoSegmentSuite* mVideoSegmentSuite = nullptr;

 private:
  void ReleaseSuites() {
    if (mBasicSuite != nullptr) {
      for (auto it = mAcquired.rbegin(); it != mAcquired.rend(); ++it) {
        mBasicSuite->ReleaseSuite(it->first, it->second);
      }
    }
    mAcquired.clear();
  }

  SPBasicSuite* mBasicSuite = nullptr;
  const char* mMissingSuite = nullptr;
  std::vector<std::pair<const char*, int32_t>> mAcquired;
};

// Runs one module function; an escaping exception is reported to the filter
// class and becomes suiteError_Fail.
template <typename Filter, typename Body>
prSuiteError PrGPUFilterGuarded(const char* inWhere, Body&& inBody) noexcept {
  try {
    return inBody();
  } catch (const std::exception& e) {
    try {
      Filter::ReportFailure(inWhere, e.what());
    } catch (...) {
    }
  } catch (...) {
    try {
      Filter::ReportFailure(inWhere, "unknown exception");
    } catch (...) {
    }
  }
  return suiteError_Fail;
}

// The host's C function table over the filter class: one Filter object per
// instance, kept in the instance's private data.
template <typename Filter>
struct PrGPUFilterModule {
  static prSuiteError Startup(piSuitesPtr piSuites, csSDK_int32* ioIndex, PrGPUFilterInfo* outFilterInfo) {
    return PrGPUFilterGuarded<Filter>("Startup", [&]() -> prSuiteError {
      if (ioIndex == nullptr || outFilterInfo == nullptr) {
        return suiteError_InvalidParms;
      }
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
    });
  }

  static prSuiteError Shutdown(piSuitesPtr piSuites, csSDK_int32* ioIndex) {
    return PrGPUFilterGuarded<Filter>("Shutdown", [&]() -> prSuiteError {
      return Filter::Shutdown(piSuites, ioIndex != nullptr ? *ioIndex : 0);
    });
  }

  static prSuiteError CreateInstance(PrGPUFilterInstance* ioInstanceData) {
    return PrGPUFilterGuarded<Filter>("CreateInstance", [&]() -> prSuiteError {
      if (ioInstanceData == nullptr) {
        return suiteError_InvalidParms;
      }
      Filter* filter = new (std::nothrow) Filter();
      if (filter == nullptr) {
        return suiteError_OutOfMemory;
      }
      prSuiteError result = suiteError_Fail;
      try {
        result = filter->Initialize(ioInstanceData);
      } catch (...) {
        delete filter;
        throw;
      }
      if (PrSuiteErrorFailed(result)) {
        delete filter;
        return result;
      }
      ioInstanceData->ioPrivatePluginData = filter;
      return result;
    });
  }

  static prSuiteError DisposeInstance(PrGPUFilterInstance* ioInstanceData) {
    return PrGPUFilterGuarded<Filter>("DisposeInstance", [&]() -> prSuiteError {
      if (ioInstanceData == nullptr) {
        return suiteError_InvalidParms;
      }
      delete static_cast<Filter*>(ioInstanceData->ioPrivatePluginData);
      ioInstanceData->ioPrivatePluginData = nullptr;
      return suiteError_NoError;
    });
  }

  static prSuiteError GetFrameDependencies(PrGPUFilterInstance* inInstanceData,
                                           const PrGPUFilterRenderParams* inRenderParams, csSDK_int32* ioQueryIndex,
                                           PrGPUFilterFrameDependency* outFrameDependencies) {
    return PrGPUFilterGuarded<Filter>("GetFrameDependencies", [&]() -> prSuiteError {
      Filter* filter = FilterOf(inInstanceData);
      if (filter == nullptr) {
        return suiteError_InvalidParms;
      }
      return filter->GetFrameDependencies(inRenderParams, ioQueryIndex, outFrameDependencies);
    });
  }

  static prSuiteError Precompute(PrGPUFilterInstance* inInstanceData, const PrGPUFilterRenderParams* inRenderParams,
                                 csSDK_int32 inIndex, PPixHand inFrame) {
    return PrGPUFilterGuarded<Filter>("Precompute", [&]() -> prSuiteError {
      Filter* filter = FilterOf(inInstanceData);
      if (filter == nullptr) {
        return suiteError_InvalidParms;
      }
      return filter->Precompute(inRenderParams, inIndex, inFrame);
    });
  }

  static prSuiteError Render(PrGPUFilterInstance* inInstanceData, const PrGPUFilterRenderParams* inRenderParams,
                             const PPixHand* inFrames, csSDK_size_t inFrameCount, PPixHand* outFrame) {
    return PrGPUFilterGuarded<Filter>("Render", [&]() -> prSuiteError {
      Filter* filter = FilterOf(inInstanceData);
      if (filter == nullptr) {
        return suiteError_InvalidParms;
      }
      return filter->Render(inRenderParams, inFrames, inFrameCount, outFrame);
    });
  }

 private:
  static Filter* FilterOf(PrGPUFilterInstance* inInstanceData) {
    return inInstanceData != nullptr ? static_cast<Filter*>(inInstanceData->ioPrivatePluginData) : nullptr;
  }
};

// The body of xGPUFilterEntry: on startup the module's functions go into
// outFilter and its Startup runs; on shutdown its Shutdown runs.
template <typename Module>
prSuiteError PrGPUFilterEntryBody(csSDK_uint32 /*inHostInterfaceVersion*/, csSDK_int32* ioIndex, prBool inStartup,
                                  piSuitesPtr piSuites, PrGPUFilter* outFilter, PrGPUFilterInfo* outFilterInfo) noexcept {
  try {
    if (inStartup == kPrFalse) {
      return Module::Shutdown(piSuites, ioIndex);
    }
    if (outFilter == nullptr) {
      return suiteError_InvalidParms;
    }
    outFilter->CreateInstance = Module::CreateInstance;
    outFilter->DisposeInstance = Module::DisposeInstance;
    outFilter->GetFrameDependencies = Module::GetFrameDependencies;
    outFilter->Precompute = Module::Precompute;
    outFilter->Render = Module::Render;
    return Module::Startup(piSuites, ioIndex, outFilterInfo);
  } catch (...) {
    return suiteError_Fail;
  }
}

// Defines the module's exported entry point over a PrGPUFilterModule<Filter>.
#define DECLARE_GPUFILTER_ENTRY(ModuleName)                                                                         \
  extern "C" PrGPUFilterExport prSuiteError xGPUFilterEntry(csSDK_uint32 inHostInterfaceVersion,                   \
                                                            csSDK_int32* ioIndex, prBool inStartup,                 \
                                                            piSuitesPtr piSuites, PrGPUFilter* outFilter,           \
                                                            PrGPUFilterInfo* outFilterInfo) {                       \
    return PrGPUFilterEntryBody<ModuleName>(inHostInterfaceVersion, ioIndex, inStartup, piSuites, outFilter,        \
                                            outFilterInfo);                                                         \
  }
