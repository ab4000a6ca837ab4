// "MediaCore GPU Device Suite": the devices Premiere Pro renders on and the
// GPU frames (GPU PPix) it allocates on them.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include <cstddef>

#include "PrSDKPixelFormat.h"
#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define kPrSDKGPUDeviceSuite "MediaCore GPU Device Suite"
#define kPrSDKGPUDeviceSuiteVersion 2

typedef csSDK_int32 PrGPUDeviceFramework;
enum { PrGPUDeviceFramework_CUDA = 0, PrGPUDeviceFramework_OpenCL = 1, PrGPUDeviceFramework_Metal = 2 };

#pragma pack(push, 1)

typedef struct {
  PrGPUDeviceFramework outDeviceFramework;
  prBool outMeetsMinimumRequirementsForAcceleration;
  void* outPlatformHandle;      // cl_platform_id
  void* outDeviceHandle;        // CUdevice or cl_device_id
  void* outContextHandle;       // CUcontext or cl_context
  void* outCommandQueueHandle;  // CUstream or cl_command_queue
  void* outOffscreenOpenGLContextHandle;
  void* outOffscreenOpenGLDeviceHandle;
} PrGPUDeviceInfo;

typedef struct {
  prSuiteError (*GetDeviceCount)(csSDK_uint32* outDeviceCount);
  prSuiteError (*GetDeviceInfo)(csSDK_uint32 inSuiteVersion, csSDK_uint32 inDeviceIndex, PrGPUDeviceInfo* outDeviceInfo);
  prSuiteError (*AcquireExclusiveDeviceAccess)(csSDK_uint32 inDeviceIndex);
  prSuiteError (*ReleaseExclusiveDeviceAccess)(csSDK_uint32 inDeviceIndex);
  prSuiteError (*AllocateDeviceMemory)(csSDK_uint32 inDeviceIndex, size_t inSizeInBytes, void** outMemory);
  prSuiteError (*FreeDeviceMemory)(csSDK_uint32 inDeviceIndex, void* inMemory);
  prSuiteError (*PurgeDeviceMemory)(csSDK_uint32 inDeviceIndex, size_t inRequestedBytesToPurge, size_t* outBytesPurged);
  prSuiteError (*AllocateHostMemory)(csSDK_uint32 inDeviceIndex, size_t inSizeInBytes, void** outMemory);
  prSuiteError (*FreeHostMemory)(csSDK_uint32 inDeviceIndex, void* inMemory);
  prSuiteError (*PurgeHostMemory)(csSDK_uint32 inDeviceIndex, size_t inRequestedBytesToPurge, size_t* outBytesPurged);
  // A GPU frame of the device; disposed of through the PPix suite.
  prSuiteError (*CreateGPUPPix)(csSDK_uint32 inDeviceIndex, PrPixelFormat inPixelFormat, int inWidth, int inHeight,
                                int inPARNumerator, int inPARDenominator, prFieldType inFieldType,
                                PPixHand* outPPixHand);
  // The frame's device memory: a CUdeviceptr or a cl_mem.
  prSuiteError (*GetGPUPPixData)(PPixHand inPPixHand, void** outData);
  prSuiteError (*GetGPUPPixDeviceIndex)(PPixHand inPPixHand, csSDK_uint32* outDeviceIndex);
  prSuiteError (*GetGPUPPixSize)(PPixHand inPPixHand, size_t* outSize);
} PrSDKGPUDeviceSuite;

#pragma pack(pop)
