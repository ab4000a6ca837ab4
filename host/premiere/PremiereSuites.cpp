#include "host/premiere/PremiereSuites.h"

#include <cstdlib>
#include <cstring>
#include <exception>

#include "PrSDKTypes.h"
#include "AE_EffectCBSuites.h"
#include "PrSDKAESupport.h"
#include "PrSDKGPUDeviceSuite.h"
#include "PrSDKGPUImageProcessingSuite.h"
#include "PrSDKMemoryManagerSuite.h"
#include "PrSDKPPix2Suite.h"
#include "PrSDKPPixSuite.h"
#include "PrSDKTimeSuite.h"
#include "PrSDKVideoSegmentSuite.h"
#include "host/HostRuntime.h"
#include "host/ParameterStore.h"
#include "host/gpu/GpuHost.h"
#include "host/premiere/PremiereHost.h"

namespace dshost {

namespace {

// The host of the calling thread and the fault planned for this call.
struct Call {
  PremiereHost* host = nullptr;
  prSuiteError fault = suiteError_NoError;
};

Call Enter(const char* point) {
  Call call;
  call.host = PremiereHost::Current();
  if (call.host == nullptr) {
    call.fault = suiteError_InvalidCall;
    return call;
  }
  const int32_t code = call.host->runtime().faults().Hit(point);
  if (code != 0) {
    call.fault = code < 0 ? static_cast<prSuiteError>(code) : suiteError_Fail;
  }
  return call;
}

// Runs a suite function's body; a host failure inside it (a HostError from
// the GPU host, an allocation failure) becomes an error code instead of
// unwinding through the plug-in.
template <typename Body>
prSuiteError Serve(const char* point, Body&& body) noexcept {
  try {
    const Call call = Enter(point);
    if (call.fault != suiteError_NoError) {
      return call.fault;
    }
    return body(*call.host);
  } catch (const std::bad_alloc&) {
    return suiteError_OutOfMemory;
  } catch (...) {
    return suiteError_Fail;
  }
}

// ---- "MediaCore GPU Device Suite" ------------------------------------------------------

#define GPU_DEVICE_POINT(name) "MediaCore GPU Device Suite." name

prSuiteError GetDeviceCount(csSDK_uint32* outDeviceCount) {
  return Serve(GPU_DEVICE_POINT("GetDeviceCount"), [&](PremiereHost&) {
    if (outDeviceCount == nullptr) {
      return suiteError_InvalidParms;
    }
    *outDeviceCount = static_cast<csSDK_uint32>(EnumerateGpuDevices().size());
    return suiteError_NoError;
  });
}

prSuiteError GetDeviceInfo(csSDK_uint32 inSuiteVersion, csSDK_uint32 inDeviceIndex, PrGPUDeviceInfo* outDeviceInfo) {
  return Serve(GPU_DEVICE_POINT("GetDeviceInfo"), [&](PremiereHost& host) {
    if (outDeviceInfo == nullptr || inSuiteVersion != kPrSDKGPUDeviceSuiteVersion) {
      return suiteError_InvalidParms;
    }
    GpuDevice* device = host.gpu().DeviceOrOpen(inDeviceIndex);
    if (device == nullptr) {
      return suiteError_IDNotValid;
    }
    const PF_GPUDeviceInfo info = device->Info();
    *outDeviceInfo = PrGPUDeviceInfo{};
    outDeviceInfo->outDeviceFramework =
        device->api() == GpuApi::Cuda ? PrGPUDeviceFramework_CUDA : PrGPUDeviceFramework_OpenCL;
    outDeviceInfo->outMeetsMinimumRequirementsForAcceleration = kPrTrue;
    outDeviceInfo->outPlatformHandle = info.platformPV;
    outDeviceInfo->outDeviceHandle = info.devicePV;
    outDeviceInfo->outContextHandle = info.contextPV;
    outDeviceInfo->outCommandQueueHandle = info.command_queuePV;
    return suiteError_NoError;
  });
}

prSuiteError AcquireExclusiveDeviceAccess(csSDK_uint32 inDeviceIndex) {
  return Serve(GPU_DEVICE_POINT("AcquireExclusiveDeviceAccess"), [&](PremiereHost& host) {
    return host.gpu().Device(inDeviceIndex) != nullptr ? suiteError_NoError : suiteError_IDNotValid;
  });
}

prSuiteError ReleaseExclusiveDeviceAccess(csSDK_uint32 inDeviceIndex) {
  return Serve(GPU_DEVICE_POINT("ReleaseExclusiveDeviceAccess"), [&](PremiereHost& host) {
    return host.gpu().Device(inDeviceIndex) != nullptr ? suiteError_NoError : suiteError_IDNotValid;
  });
}

prSuiteError AllocateDeviceMemory(csSDK_uint32 inDeviceIndex, size_t inSizeInBytes, void** outMemory) {
  return Serve(GPU_DEVICE_POINT("AllocateDeviceMemory"), [&](PremiereHost& host) {
    if (outMemory == nullptr) {
      return suiteError_InvalidParms;
    }
    *outMemory = host.gpu().AllocateDeviceMemory(inDeviceIndex, inSizeInBytes);
    return *outMemory != nullptr ? suiteError_NoError : suiteError_OutOfMemory;
  });
}

prSuiteError FreeDeviceMemory(csSDK_uint32 /*inDeviceIndex*/, void* inMemory) {
  return Serve(GPU_DEVICE_POINT("FreeDeviceMemory"), [&](PremiereHost& host) {
    return host.gpu().FreeDeviceMemory(inMemory) ? suiteError_NoError : suiteError_InvalidParms;
  });
}

prSuiteError PurgeDeviceMemory(csSDK_uint32 /*inDeviceIndex*/, size_t /*inRequestedBytesToPurge*/,
                               size_t* outBytesPurged) {
  return Serve(GPU_DEVICE_POINT("PurgeDeviceMemory"), [&](PremiereHost&) {
    if (outBytesPurged != nullptr) {
      *outBytesPurged = 0;  // the host keeps no pool to purge
    }
    return suiteError_NoError;
  });
}

prSuiteError AllocateHostMemory(csSDK_uint32 /*inDeviceIndex*/, size_t inSizeInBytes, void** outMemory) {
  return Serve(GPU_DEVICE_POINT("AllocateHostMemory"), [&](PremiereHost&) {
    if (outMemory == nullptr) {
      return suiteError_InvalidParms;
    }
    *outMemory = std::malloc(inSizeInBytes == 0 ? 1 : inSizeInBytes);
    return *outMemory != nullptr ? suiteError_NoError : suiteError_OutOfMemory;
  });
}

prSuiteError FreeHostMemory(csSDK_uint32 /*inDeviceIndex*/, void* inMemory) {
  return Serve(GPU_DEVICE_POINT("FreeHostMemory"), [&](PremiereHost&) {
    std::free(inMemory);
    return suiteError_NoError;
  });
}

prSuiteError PurgeHostMemory(csSDK_uint32 /*inDeviceIndex*/, size_t /*inRequestedBytesToPurge*/,
                             size_t* outBytesPurged) {
  return Serve(GPU_DEVICE_POINT("PurgeHostMemory"), [&](PremiereHost&) {
    if (outBytesPurged != nullptr) {
      *outBytesPurged = 0;
    }
    return suiteError_NoError;
  });
}

prSuiteError CreateGPUPPix(csSDK_uint32 inDeviceIndex, PrPixelFormat inPixelFormat, int inWidth, int inHeight,
                           int inPARNumerator, int inPARDenominator, prFieldType inFieldType, PPixHand* outPPixHand) {
  return Serve(GPU_DEVICE_POINT("CreateGPUPPix"), [&](PremiereHost& host) {
    if (outPPixHand == nullptr) {
      return suiteError_InvalidParms;
    }
    *outPPixHand = nullptr;
    if (!IsPremiereGpuFormat(inPixelFormat) || inWidth <= 0 || inHeight <= 0 || inPARNumerator <= 0 ||
        inPARDenominator <= 0) {
      return suiteError_InvalidParms;
    }
    if (host.gpu().Device(inDeviceIndex) == nullptr) {
      return suiteError_IDNotValid;
    }
    *outPPixHand = host.CreateGpuPPix(inDeviceIndex, inPixelFormat, inWidth, inHeight, inPARNumerator,
                                      inPARDenominator, inFieldType, true);
    return suiteError_NoError;
  });
}

prSuiteError GetGPUPPixData(PPixHand inPPixHand, void** outData) {
  return Serve(GPU_DEVICE_POINT("GetGPUPPixData"), [&](PremiereHost& host) {
    const PremierePPix* ppix = host.FindPPix(inPPixHand);
    if (ppix == nullptr || outData == nullptr) {
      return suiteError_InvalidParms;
    }
    *outData = ppix->ppix.pix;
    return suiteError_NoError;
  });
}

prSuiteError GetGPUPPixDeviceIndex(PPixHand inPPixHand, csSDK_uint32* outDeviceIndex) {
  return Serve(GPU_DEVICE_POINT("GetGPUPPixDeviceIndex"), [&](PremiereHost& host) {
    const PremierePPix* ppix = host.FindPPix(inPPixHand);
    if (ppix == nullptr || outDeviceIndex == nullptr) {
      return suiteError_InvalidParms;
    }
    *outDeviceIndex = ppix->deviceIndex;
    return suiteError_NoError;
  });
}

prSuiteError GetGPUPPixSize(PPixHand inPPixHand, size_t* outSize) {
  return Serve(GPU_DEVICE_POINT("GetGPUPPixSize"), [&](PremiereHost& host) {
    const PremierePPix* ppix = host.FindPPix(inPPixHand);
    if (ppix == nullptr || outSize == nullptr) {
      return suiteError_InvalidParms;
    }
    *outSize = static_cast<size_t>(ppix->ppix.rowbytes) * static_cast<size_t>(ppix->height());
    return suiteError_NoError;
  });
}

const PrSDKGPUDeviceSuite kGPUDeviceSuite = {
    GetDeviceCount,     GetDeviceInfo,      AcquireExclusiveDeviceAccess, ReleaseExclusiveDeviceAccess,
    AllocateDeviceMemory, FreeDeviceMemory, PurgeDeviceMemory,            AllocateHostMemory,
    FreeHostMemory,     PurgeHostMemory,    CreateGPUPPix,                GetGPUPPixData,
    GetGPUPPixDeviceIndex, GetGPUPPixSize};

// ---- "MediaCore GPU Image Processing Suite" ----------------------------------------------
// Offered because filters acquire it; this host does no image processing of
// its own for them.

prSuiteError PixelFormatConvert(csSDK_uint32, const void*, csSDK_int32, PrPixelFormat, void*, csSDK_int32,
                                PrPixelFormat, csSDK_uint32, csSDK_uint32, PrRenderQuality) {
  return Serve("MediaCore GPU Image Processing Suite.PixelFormatConvert",
               [](PremiereHost&) { return suiteError_NotImplemented; });
}

prSuiteError Scale(csSDK_uint32, const void*, csSDK_int32, csSDK_uint32, csSDK_uint32, void*, csSDK_int32,
                   csSDK_uint32, csSDK_uint32, PrPixelFormat, float, float, PrRenderQuality) {
  return Serve("MediaCore GPU Image Processing Suite.Scale", [](PremiereHost&) { return suiteError_NotImplemented; });
}

prSuiteError GaussianBlur(csSDK_uint32, const void*, csSDK_int32, PrPixelFormat, csSDK_uint32, csSDK_uint32, void*,
                          csSDK_int32, PrPixelFormat, csSDK_uint32, csSDK_uint32, float, float, prBool, prBool,
                          prBool) {
  return Serve("MediaCore GPU Image Processing Suite.GaussianBlur",
               [](PremiereHost&) { return suiteError_NotImplemented; });
}

const PrSDKGPUImageProcessingSuite kGPUImageProcessingSuite = {PixelFormatConvert, Scale, GaussianBlur};

// ---- "Premiere Memory Manager Suite" ---------------------------------------------------------
// Pointers carry their size in a header in front of the memory handed out.

constexpr size_t kPtrHeader = 16;

PrMemoryPtr AllocatePtr(csSDK_uint32 size, bool clear) {
  auto* block = static_cast<char*>(clear ? std::calloc(1, kPtrHeader + size) : std::malloc(kPtrHeader + size));
  if (block == nullptr) {
    return nullptr;
  }
  std::memcpy(block, &size, sizeof(size));
  return block + kPtrHeader;
}

char* BlockOf(PrMemoryPtr ptr) { return ptr - kPtrHeader; }

csSDK_uint32 SizeOf(PrMemoryPtr ptr) {
  csSDK_uint32 size = 0;
  std::memcpy(&size, BlockOf(ptr), sizeof(size));
  return size;
}

bool Record(const char* point) {
  PremiereHost* host = PremiereHost::Current();
  return host != nullptr && host->runtime().faults().Hit(point) == 0;
}

prSuiteError ReserveMemory(csSDK_uint32 /*inPluginID*/, csSDK_uint32 /*inSize*/) {
  return Serve("Premiere Memory Manager Suite.ReserveMemory", [](PremiereHost&) { return suiteError_NoError; });
}

// The host keeps no budget of its own: the pool is unbounded, outside blocks
// are not counted and a reserve can always be adjusted.
prSuiteError GetMemoryManagerSize(csSDK_int64* outMaxSize) {
  return Serve("Premiere Memory Manager Suite.GetMemoryManagerSize", [&](PremiereHost&) {
    if (outMaxSize == nullptr) {
      return suiteError_InvalidParms;
    }
    *outMaxSize = 0;
    return suiteError_NoError;
  });
}

void AddBlock(csSDK_size_t /*inSize*/) { Record("Premiere Memory Manager Suite.AddBlock"); }
void TouchBlock(csSDK_size_t /*inSize*/) { Record("Premiere Memory Manager Suite.TouchBlock"); }
void RemoveBlock(csSDK_size_t /*inSize*/) { Record("Premiere Memory Manager Suite.RemoveBlock"); }

prSuiteError AdjustReservedMemorySize(csSDK_uint32 /*inPluginID*/, csSDK_int64 /*inSize*/) {
  return Serve("Premiere Memory Manager Suite.AdjustReservedMemorySize",
               [](PremiereHost&) { return suiteError_NoError; });
}

PrMemoryPtr NewPtr(csSDK_uint32 inByteCount) {
  return Record("Premiere Memory Manager Suite.NewPtr") ? AllocatePtr(inByteCount, false) : nullptr;
}

PrMemoryPtr NewPtrClear(csSDK_uint32 inByteCount) {
  return Record("Premiere Memory Manager Suite.NewPtrClear") ? AllocatePtr(inByteCount, true) : nullptr;
}

void SetPtrSize(PrMemoryPtr* ioPtr, csSDK_uint32 inNewSize) {
  if (!Record("Premiere Memory Manager Suite.SetPtrSize") || ioPtr == nullptr || *ioPtr == nullptr) {
    return;
  }
  auto* block = static_cast<char*>(std::realloc(BlockOf(*ioPtr), kPtrHeader + inNewSize));
  if (block != nullptr) {
    std::memcpy(block, &inNewSize, sizeof(inNewSize));
    *ioPtr = block + kPtrHeader;
  }
}

csSDK_uint32 GetPtrSize(PrMemoryPtr inPtr) {
  Record("Premiere Memory Manager Suite.GetPtrSize");
  return inPtr != nullptr ? SizeOf(inPtr) : 0;
}

void DisposePtr(PrMemoryPtr inPtr) {
  Record("Premiere Memory Manager Suite.PrDisposePtr");
  if (inPtr != nullptr) {
    std::free(BlockOf(inPtr));
  }
}

// Handles: a pointer-sized block holding a pointer from AllocatePtr.
PrMemoryHandle AllocateHandle(csSDK_uint32 size, bool clear) {
  auto* handle = static_cast<PrMemoryHandle>(std::malloc(sizeof(char*)));
  if (handle == nullptr) {
    return nullptr;
  }
  *handle = AllocatePtr(size, clear);
  if (*handle == nullptr) {
    std::free(handle);
    return nullptr;
  }
  return handle;
}

PrMemoryHandle NewHandle(csSDK_uint32 inByteCount) {
  return Record("Premiere Memory Manager Suite.NewHandle") ? AllocateHandle(inByteCount, false) : nullptr;
}

PrMemoryHandle NewHandleClear(csSDK_uint32 inByteCount) {
  return Record("Premiere Memory Manager Suite.NewHandleClear") ? AllocateHandle(inByteCount, true) : nullptr;
}

csSDK_int16 SetHandleSize(PrMemoryHandle ioHandle, csSDK_uint32 inNewSize) {
  if (!Record("Premiere Memory Manager Suite.SetHandleSize") || ioHandle == nullptr || *ioHandle == nullptr) {
    return -1;
  }
  PrMemoryPtr resized = *ioHandle;
  SetPtrSize(&resized, inNewSize);
  if (SizeOf(resized) != inNewSize) {
    return -1;
  }
  *ioHandle = resized;
  return 0;
}

csSDK_uint32 GetHandleSize(PrMemoryHandle inHandle) {
  Record("Premiere Memory Manager Suite.GetHandleSize");
  return inHandle != nullptr && *inHandle != nullptr ? SizeOf(*inHandle) : 0;
}

void DisposeHandle(PrMemoryHandle inHandle) {
  Record("Premiere Memory Manager Suite.DisposeHandle");
  if (inHandle != nullptr) {
    if (*inHandle != nullptr) {
      std::free(BlockOf(*inHandle));
    }
    std::free(inHandle);
  }
}

const PrSDKMemoryManagerSuite kMemoryManagerSuite = {
    ReserveMemory, GetMemoryManagerSize, AddBlock,    TouchBlock,    RemoveBlock,   NewPtrClear,
    NewPtr,        GetPtrSize,           SetPtrSize,  NewHandle,     NewHandleClear, DisposePtr,
    DisposeHandle, SetHandleSize,        GetHandleSize, AdjustReservedMemorySize};

// ---- "Premiere PPix Suite" and "Premiere PPix 2 Suite" ------------------------------------

template <typename Body>
prSuiteError ServeFrame(const char* point, PPixHand handle, Body&& body) noexcept {
  return Serve(point, [&](PremiereHost& host) {
    PremierePPix* ppix = host.FindPPix(handle);
    return ppix != nullptr ? body(host, *ppix) : suiteError_InvalidParms;
  });
}

prSuiteError Dispose(PPixHand inPPixHand) {
  return Serve("Premiere PPix Suite.Dispose", [&](PremiereHost& host) {
    return host.DisposePPix(inPPixHand) ? suiteError_NoError : suiteError_InvalidParms;
  });
}

prSuiteError GetPixels(PPixHand inPPixHand, PrPPixBufferAccess /*inRequestedAccess*/, char** outPixelAddress) {
  return ServeFrame("Premiere PPix Suite.GetPixels", inPPixHand, [&](PremiereHost&, PremierePPix&) {
    if (outPixelAddress != nullptr) {
      *outPixelAddress = nullptr;
    }
    return suiteError_InvalidCall;  // a GPU frame has no host memory
  });
}

prSuiteError GetBounds(PPixHand inPPixHand, prRect* inoutBoundingRect) {
  return ServeFrame("Premiere PPix Suite.GetBounds", inPPixHand, [&](PremiereHost&, PremierePPix& ppix) {
    if (inoutBoundingRect == nullptr) {
      return suiteError_InvalidParms;
    }
    *inoutBoundingRect = ppix.ppix.bounds;
    return suiteError_NoError;
  });
}

prSuiteError GetRowBytes(PPixHand inPPixHand, csSDK_int32* outRowBytes) {
  return ServeFrame("Premiere PPix Suite.GetRowBytes", inPPixHand, [&](PremiereHost&, PremierePPix& ppix) {
    if (outRowBytes == nullptr) {
      return suiteError_InvalidParms;
    }
    *outRowBytes = ppix.ppix.rowbytes;
    return suiteError_NoError;
  });
}

prSuiteError GetPixelAspectRatio(PPixHand inPPixHand, csSDK_uint32* outNumerator, csSDK_uint32* outDenominator) {
  return ServeFrame("Premiere PPix Suite.GetPixelAspectRatio", inPPixHand, [&](PremiereHost&, PremierePPix& ppix) {
    if (outNumerator == nullptr || outDenominator == nullptr) {
      return suiteError_InvalidParms;
    }
    *outNumerator = static_cast<csSDK_uint32>(ppix.parNumerator);
    *outDenominator = static_cast<csSDK_uint32>(ppix.parDenominator);
    return suiteError_NoError;
  });
}

prSuiteError GetPixelFormat(PPixHand inPPixHand, PrPixelFormat* outPixelFormat) {
  return ServeFrame("Premiere PPix Suite.GetPixelFormat", inPPixHand, [&](PremiereHost&, PremierePPix& ppix) {
    if (outPixelFormat == nullptr) {
      return suiteError_InvalidParms;
    }
    *outPixelFormat = ppix.format;
    return suiteError_NoError;
  });
}

prSuiteError GetUniqueKey(PPixHand inPPixHand, unsigned char* /*inoutKeyBuffer*/, size_t /*inKeyBufferSize*/) {
  return ServeFrame("Premiere PPix Suite.GetUniqueKey", inPPixHand,
                    [](PremiereHost&, PremierePPix&) { return suiteError_NotImplemented; });
}

prSuiteError GetUniqueKeySize(size_t* outKeyBufferSize) {
  return Serve("Premiere PPix Suite.GetUniqueKeySize", [&](PremiereHost&) {
    if (outKeyBufferSize != nullptr) {
      *outKeyBufferSize = 0;  // frames of this host carry no cache key
    }
    return suiteError_NoError;
  });
}

prSuiteError GetRenderTime(PPixHand inPPixHand, csSDK_int32* outRenderMilliseconds) {
  return ServeFrame("Premiere PPix Suite.GetRenderTime", inPPixHand, [&](PremiereHost&, PremierePPix&) {
    if (outRenderMilliseconds == nullptr) {
      return suiteError_InvalidParms;
    }
    *outRenderMilliseconds = 0;
    return suiteError_NoError;
  });
}

const PrSDKPPixSuite kPPixSuite = {Dispose,        GetPixels,        GetBounds,
                                   GetRowBytes,    GetPixelAspectRatio, GetPixelFormat,
                                   GetUniqueKey,   GetUniqueKeySize, GetRenderTime};

prSuiteError GetSize(PPixHand inPPixHand, csSDK_size_t* outSize) {
  return ServeFrame("Premiere PPix 2 Suite.GetSize", inPPixHand, [&](PremiereHost&, PremierePPix& ppix) {
    if (outSize == nullptr) {
      return suiteError_InvalidParms;
    }
    *outSize = static_cast<csSDK_size_t>(ppix.ppix.rowbytes) * static_cast<csSDK_size_t>(ppix.height());
    return suiteError_NoError;
  });
}

prSuiteError GetYUV420PlanarBuffers(PPixHand inPPixHand, PrPPixBufferAccess, char**, csSDK_uint32*, char**,
                                    csSDK_uint32*, char**, csSDK_uint32*) {
  return ServeFrame("Premiere PPix 2 Suite.GetYUV420PlanarBuffers", inPPixHand,
                    [](PremiereHost&, PremierePPix&) { return suiteError_InvalidCall; });
}

prSuiteError GetOrigin(PPixHand inPPixHand, csSDK_int32* outOriginX, csSDK_int32* outOriginY) {
  return ServeFrame("Premiere PPix 2 Suite.GetOrigin", inPPixHand, [&](PremiereHost&, PremierePPix& ppix) {
    if (outOriginX == nullptr || outOriginY == nullptr) {
      return suiteError_InvalidParms;
    }
    *outOriginX = ppix.ppix.bounds.left;
    *outOriginY = ppix.ppix.bounds.top;
    return suiteError_NoError;
  });
}

prSuiteError GetFieldOrder(PPixHand inPPixHand, prFieldType* outFieldType) {
  return ServeFrame("Premiere PPix 2 Suite.GetFieldOrder", inPPixHand, [&](PremiereHost&, PremierePPix& ppix) {
    if (outFieldType == nullptr) {
      return suiteError_InvalidParms;
    }
    *outFieldType = ppix.fieldType;
    return suiteError_NoError;
  });
}

const PrSDKPPix2Suite kPPix2Suite = {GetSize, GetYUV420PlanarBuffers, GetOrigin, GetFieldOrder};

// ---- "PF Transition Suite" ------------------------------------------------------------------
// Effects are not transitions; the registrations are recorded and refused.

PF_Err TransitionCall(const char* point) {
  PremiereHost* host = PremiereHost::Current();
  if (host != nullptr) {
    if (const int32_t code = host->runtime().faults().Hit(point)) {
      return code;
    }
  }
  return PF_Err_UNRECOGNIZED_PARAM_TYPE;
}

PF_Err RegisterTransitionInputParam(PF_ProgPtr, PF_ParamIndex) {
  return TransitionCall("PF Transition Suite.RegisterTransitionInputParam");
}
PF_Err RegisterTransitionStartParam(PF_ProgPtr, PF_ParamIndex) {
  return TransitionCall("PF Transition Suite.RegisterTransitionStartParam");
}
PF_Err RegisterTransitionEndParam(PF_ProgPtr, PF_ParamIndex) {
  return TransitionCall("PF Transition Suite.RegisterTransitionEndParam");
}

const PF_TransitionSuite kTransitionSuite = {RegisterTransitionInputParam, RegisterTransitionStartParam,
                                             RegisterTransitionEndParam};

// ---- "MediaCore Video Segment Suite" ----------------------------------------------------------
// Only the effect node's own parameters are served; the host keeps no
// segment graph for filters to walk.

#define SEGMENT_POINT(name) "MediaCore Video Segment Suite." name
#define SEGMENT_NOT_SERVED(name, ...)                                                               \
  prSuiteError name(__VA_ARGS__) {                                                                  \
    return Serve(SEGMENT_POINT(#name), [](PremiereHost&) { return suiteError_NotImplemented; }); \
  }

SEGMENT_NOT_SERVED(AcquireVideoSegmentsID, PrTimelineID, csSDK_int32*)
SEGMENT_NOT_SERVED(AcquireVideoSegmentsWithPreviewsID, PrTimelineID, csSDK_int32*)
SEGMENT_NOT_SERVED(AcquireVideoSegmentsWithOpaquePreviewsID, PrTimelineID, csSDK_int32*)
SEGMENT_NOT_SERVED(ReleaseVideoSegmentsID, csSDK_int32)
SEGMENT_NOT_SERVED(GetHash, csSDK_int32, prPluginID*)
SEGMENT_NOT_SERVED(GetSegmentCount, csSDK_int32, csSDK_int32*)
SEGMENT_NOT_SERVED(GetSegmentInfo, csSDK_int32, csSDK_int32, PrTime*, PrTime*, PrTime*, prPluginID*)
SEGMENT_NOT_SERVED(AcquireNodeID, csSDK_int32, prPluginID*, csSDK_int32*)
SEGMENT_NOT_SERVED(ReleaseVideoNodeID, csSDK_int32)
SEGMENT_NOT_SERVED(GetNodeInfo, csSDK_int32, char*, prPluginID*, csSDK_int32*)
SEGMENT_NOT_SERVED(GetNodeInputCount, csSDK_int32, csSDK_int32*)
SEGMENT_NOT_SERVED(AcquireInputNodeID, csSDK_int32, csSDK_int32, PrTime*, csSDK_int32*)
SEGMENT_NOT_SERVED(GetNodeOperatorCount, csSDK_int32, csSDK_int32*)
SEGMENT_NOT_SERVED(AcquireOperatorNodeID, csSDK_int32, csSDK_int32, csSDK_int32*)
SEGMENT_NOT_SERVED(IterateNodeProperties, csSDK_int32, SegmentNodePropertyCallback, csSDK_int32)
SEGMENT_NOT_SERVED(GetNextKeyframeTime, csSDK_int32, csSDK_int32, PrTime, PrTime*, csSDK_int32*)
SEGMENT_NOT_SERVED(TransformNodeTime, csSDK_int32, PrTime, PrTime*)
SEGMENT_NOT_SERVED(GetVideoSegmentsProperties, PrTimelineID, prRect*, csSDK_int32*, csSDK_int32*, PrTime*,
                   prFieldType*)
SEGMENT_NOT_SERVED(AcquireNodeForTime, csSDK_int32, PrTime, csSDK_int32*, PrTime*)
SEGMENT_NOT_SERVED(AcquireVideoSegmentsIDWithStreamLabel, PrTimelineID, PrSDKStreamLabel, csSDK_int32*)
SEGMENT_NOT_SERVED(AcquireVideoSegmentsWithPreviewsIDWithStreamLabel, PrTimelineID, PrSDKStreamLabel, csSDK_int32*)
SEGMENT_NOT_SERVED(AcquireVideoSegmentsWithOpaquePreviewsIDWithStreamLabel, PrTimelineID, PrSDKStreamLabel,
                   csSDK_int32*)
SEGMENT_NOT_SERVED(AcquireFirstNodeInTimeRange, csSDK_int32, PrTime, PrTime, csSDK_int32*, PrTime*)
SEGMENT_NOT_SERVED(AcquireOperatorOwnerNodeID, csSDK_int32, csSDK_int32*)

prSuiteError GetNodeProperty(csSDK_int32 inVideoNodeID, const char* /*inKey*/, PrMemoryPtr* outValue) {
  return Serve(SEGMENT_POINT("GetNodeProperty"), [&](PremiereHost& host) {
    if (outValue == nullptr) {
      return suiteError_InvalidParms;
    }
    *outValue = nullptr;
    // No node of this host has properties.
    return host.IsLiveNode(inVideoNodeID) ? suiteError_InvalidParms : suiteError_IDNotValid;
  });
}

prSuiteError GetParamCount(csSDK_int32 inVideoNodeID, csSDK_int32* outParamCount) {
  return Serve(SEGMENT_POINT("GetParamCount"), [&](PremiereHost& host) {
    if (outParamCount == nullptr) {
      return suiteError_InvalidParms;
    }
    if (!host.IsLiveNode(inVideoNodeID)) {
      return suiteError_IDNotValid;
    }
    const size_t count = host.parameters().Count();
    *outParamCount = count > 0 ? static_cast<csSDK_int32>(count - 1) : 0;
    return suiteError_NoError;
  });
}

prSuiteError GetParam(csSDK_int32 inVideoNodeID, csSDK_int32 inIndex, PrTime inTime, PrParam* outParam) {
  return Serve(SEGMENT_POINT("GetParam"), [&](PremiereHost& host) {
    if (!host.IsLiveNode(inVideoNodeID)) {
      return suiteError_IDNotValid;
    }
    return host.ParamValue(inIndex, inTime, outParam);
  });
}

const PrSDKVideoSegmentSuite kVideoSegmentSuite = {AcquireVideoSegmentsID,
                                                    AcquireVideoSegmentsWithPreviewsID,
                                                    AcquireVideoSegmentsWithOpaquePreviewsID,
                                                    ReleaseVideoSegmentsID,
                                                    GetHash,
                                                    GetSegmentCount,
                                                    GetSegmentInfo,
                                                    AcquireNodeID,
                                                    ReleaseVideoNodeID,
                                                    GetNodeInfo,
                                                    GetNodeInputCount,
                                                    AcquireInputNodeID,
                                                    GetNodeOperatorCount,
                                                    AcquireOperatorNodeID,
                                                    IterateNodeProperties,
                                                    GetNodeProperty,
                                                    GetParamCount,
                                                    GetParam,
                                                    GetNextKeyframeTime,
                                                    TransformNodeTime,
                                                    GetVideoSegmentsProperties,
                                                    AcquireNodeForTime,
                                                    AcquireVideoSegmentsIDWithStreamLabel,
                                                    AcquireVideoSegmentsWithPreviewsIDWithStreamLabel,
                                                    AcquireVideoSegmentsWithOpaquePreviewsIDWithStreamLabel,
                                                    AcquireFirstNodeInTimeRange,
                                                    AcquireOperatorOwnerNodeID};

// ---- "Premiere Time Suite" ------------------------------------------------------------------

prSuiteError GetTicksPerSecond(PrTime* outTicksPerSec) {
  return Serve("Premiere Time Suite.GetTicksPerSecond", [&](PremiereHost&) {
    if (outTicksPerSec == nullptr) {
      return suiteError_InvalidParms;
    }
    *outTicksPerSec = kPremiereTicksPerSecond;
    return suiteError_NoError;
  });
}

prSuiteError GetTicksPerVideoFrame(PrVideoFrameRates inVideoFrameRate, PrTime* outTicksPerFrame) {
  return Serve("Premiere Time Suite.GetTicksPerVideoFrame", [&](PremiereHost&) {
    if (outTicksPerFrame == nullptr) {
      return suiteError_InvalidParms;
    }
    // Frames per second as a fraction; drop-frame rates run at the rate they
    // name.
    PrTime numerator = 0;
    PrTime denominator = 1;
    switch (inVideoFrameRate) {
      case kVideoFrameRate_24: numerator = 24; break;
      case kVideoFrameRate_25: numerator = 25; break;
      case kVideoFrameRate_2997:
      case kVideoFrameRate_2997DropFrame: numerator = 30000, denominator = 1001; break;
      case kVideoFrameRate_30: numerator = 30; break;
      case kVideoFrameRate_50: numerator = 50; break;
      case kVideoFrameRate_5994:
      case kVideoFrameRate_5994DropFrame: numerator = 60000, denominator = 1001; break;
      case kVideoFrameRate_60: numerator = 60; break;
      case kVideoFrameRate_23976: numerator = 24000, denominator = 1001; break;
      default: return suiteError_InvalidParms;
    }
    *outTicksPerFrame = kPremiereTicksPerSecond / numerator * denominator;
    return suiteError_NoError;
  });
}

prSuiteError GetTicksPerAudioSample(float inSampleRate, PrTime* outTicksPerSample) {
  return Serve("Premiere Time Suite.GetTicksPerAudioSample", [&](PremiereHost&) {
    if (outTicksPerSample == nullptr || !(inSampleRate > 0.0f)) {
      return suiteError_InvalidParms;
    }
    *outTicksPerSample =
        static_cast<PrTime>(static_cast<double>(kPremiereTicksPerSecond) / static_cast<double>(inSampleRate) + 0.5);
    return suiteError_NoError;
  });
}

const PrSDKTimeSuite kTimeSuite = {GetTicksPerSecond, GetTicksPerVideoFrame, GetTicksPerAudioSample};

}  // namespace

void PublishPremiereSuites(HostRuntime& runtime) {
  SuiteRegistry& suites = runtime.suites();
  suites.Publish(kPrSDKGPUDeviceSuite, kPrSDKGPUDeviceSuiteVersion, &kGPUDeviceSuite);
  suites.Publish(kPrSDKGPUImageProcessingSuite, kPrSDKGPUImageProcessingSuiteVersion, &kGPUImageProcessingSuite);
  suites.Publish(kPrSDKMemoryManagerSuite, kPrSDKMemoryManagerSuiteVersion, &kMemoryManagerSuite);
  suites.Publish(kPrSDKPPixSuite, kPrSDKPPixSuiteVersion, &kPPixSuite);
  suites.Publish(kPrSDKPPix2Suite, kPrSDKPPix2SuiteVersion, &kPPix2Suite);
  suites.Publish(kPFTransitionSuite, kPFTransitionSuiteVersion, &kTransitionSuite);
  suites.Publish(kPrSDKVideoSegmentSuite, kPrSDKVideoSegmentSuiteVersion, &kVideoSegmentSuite);
  suites.Publish(kPrSDKTimeSuite, kPrSDKTimeSuiteVersion, &kTimeSuite);
}

}  // namespace dshost
