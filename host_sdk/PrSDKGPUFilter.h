// Premiere Pro's GPU filter interface: the exported entry point, the
// instance and render records, frame dependencies and the filter's function
// table. Our own declarations, name-compatible with the vendor's header of
// this name. Premiere records are byte-packed.
#pragma once
#include "PrSDKPixelFormat.h"
#include "PrSDKPlugSuites.h"
#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define PrGPUFilterEntryPointName "xGPUFilterEntry"

#define PrSDKGPUFilterInterfaceVersion1 1
#define PrSDKGPUFilterInterfaceVersion2 2
#define PrSDKGPUFilterInterfaceVersion PrSDKGPUFilterInterfaceVersion2

// What a filter asks the host for besides the frame at the render time.
typedef csSDK_int32 PrGPUFilterFrameDependencyType;
enum {
  PrGPUDependency_InputFrame = 0x1,
  PrGPUDependency_Precompute = 0x2,
  PrGPUDependency_FieldSeparation = 0x4,
  PrGPUDependency_TransitionInputFrame = 0x8
};

#pragma pack(push, 1)

typedef struct {
  csSDK_uint32 outInterfaceVersion;
  PrSDKString outMatchName;  // all zero: the module's own match name
} PrGPUFilterInfo;

// One filter instance: an effect instance on one GPU device.
typedef struct {
  piSuitesPtr piSuites;
  csSDK_uint32 inDeviceIndex;
  PrTimelineID inTimelineID;
  csSDK_int32 inNodeID;
  void* ioPrivatePluginData;
  prBool outIsRealtime;
} PrGPUFilterInstance;

typedef struct {
  PrTime inClipTime;
  PrTime inSequenceTime;
  PrRenderQuality inQuality;
  float inDownsampleFactorX;
  float inDownsampleFactorY;
  csSDK_uint32 inRenderWidth;
  csSDK_uint32 inRenderHeight;
  csSDK_uint32 inRenderPARNum;
  csSDK_uint32 inRenderPARDen;
  prFieldType inRenderFieldType;
  PrTime inRenderTicksPerFrame;
  pmFieldDisplay inRenderField;
} PrGPUFilterRenderParams;

typedef struct {
  PrGPUFilterFrameDependencyType outDependencyType;
  csSDK_int32 outTrackID;  // 0: the filter's own track
  PrTime outSequenceTime;
  PrPixelFormat outPrecomputePixelFormat;
  csSDK_uint32 outPrecomputeFrameWidth;
  csSDK_uint32 outPrecomputeFrameHeight;
  csSDK_uint32 outPrecomputeFramePARNumerator;
  csSDK_uint32 outPrecomputeFramePARDenominator;
  prFieldType outPrecomputeFrameFieldType;
  csSDK_size_t outPrecomputeCustomDataSize;
  prBool outNeedsFieldSeparation;
  prBool outReadIncomingTransition;
} PrGPUFilterFrameDependency;

typedef struct {
  prSuiteError (*CreateInstance)(PrGPUFilterInstance* ioInstanceData);
  prSuiteError (*DisposeInstance)(PrGPUFilterInstance* ioInstanceData);
  prSuiteError (*GetFrameDependencies)(PrGPUFilterInstance* inInstanceData, const PrGPUFilterRenderParams* inRenderParams,
                                       csSDK_int32* ioQueryIndex, PrGPUFilterFrameDependency* outFrameDependencies);
  prSuiteError (*Precompute)(PrGPUFilterInstance* inInstanceData, const PrGPUFilterRenderParams* inRenderParams,
                             csSDK_int32 inIndex, PPixHand inFrame);
  prSuiteError (*Render)(PrGPUFilterInstance* inInstanceData, const PrGPUFilterRenderParams* inRenderParams,
                         const PPixHand* inFrames, csSDK_size_t inFrameCount, PPixHand* outFrame);
} PrGPUFilter;

#pragma pack(pop)

// The module's one export. On startup (inStartup 1) it fills outFilter and
// outFilterInfo and increments *ioIndex when more filters follow; on shutdown
// (inStartup 0) it releases what startup took.
typedef prSuiteError (*PrGPUFilterEntry)(csSDK_uint32 inHostInterfaceVersion, csSDK_int32* ioIndex, prBool inStartup,
                                         piSuitesPtr piSuites, PrGPUFilter* outFilter, PrGPUFilterInfo* outFilterInfo);
