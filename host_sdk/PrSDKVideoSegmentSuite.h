// "MediaCore Video Segment Suite": the nodes of a sequence's render graph,
// their properties and their effect parameters at a time.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include <cstdint>

#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define kPrSDKVideoSegmentSuite "MediaCore Video Segment Suite"
#define kPrSDKVideoSegmentSuiteVersion 6

typedef int8_t csSDK_int8;

typedef csSDK_int32 PrParamType;
enum {
  kPrParamType_Int8 = 1,
  kPrParamType_Int16,
  kPrParamType_Int32,
  kPrParamType_Int64,
  kPrParamType_Float32,
  kPrParamType_Float64,
  kPrParamType_Bool,
  kPrParamType_Point,
  kPrParamType_Guid,
  kPrParamType_PrMemoryPtr
};

// A stream of a sequence named by its label text.
typedef const char* PrSDKStreamLabel;

#pragma pack(push, 1)

// One parameter value: a type tag followed by the value. Byte packing puts
// the value at byte 4, so every member of the union starts there and a
// smaller member reads the first bytes of a larger one.
typedef struct {
  PrParamType mType;
  union {
    csSDK_int8 mInt8;
    csSDK_int16 mInt16;
    csSDK_int32 mInt32;
    csSDK_int64 mInt64;
    float mFloat32;
    double mFloat64;
    csSDK_uint8 mBool;
    prFPoint64 mPoint;
    prPluginID mGuid;
    PrMemoryPtr mMemoryPtr;
  };
} PrParam;

typedef prSuiteError (*SegmentNodePropertyCallback)(csSDK_int32 inPluginObject, const char* inKey, const char* inValue);

typedef struct {
  prSuiteError (*AcquireVideoSegmentsID)(PrTimelineID inTimelineData, csSDK_int32* outVideoSegmentsID);
  prSuiteError (*AcquireVideoSegmentsWithPreviewsID)(PrTimelineID inTimelineData, csSDK_int32* outVideoSegmentsID);
  prSuiteError (*AcquireVideoSegmentsWithOpaquePreviewsID)(PrTimelineID inTimelineData,
                                                           csSDK_int32* outVideoSegmentsID);
  prSuiteError (*ReleaseVideoSegmentsID)(csSDK_int32 inVideoSegmentsID);
  prSuiteError (*GetHash)(csSDK_int32 inVideoSegmentsID, prPluginID* outHash);
  prSuiteError (*GetSegmentCount)(csSDK_int32 inVideoSegmentsID, csSDK_int32* outNumSegments);
  prSuiteError (*GetSegmentInfo)(csSDK_int32 inVideoSegmentsID, csSDK_int32 inIndex, PrTime* outStartTime,
                                 PrTime* outEndTime, PrTime* outSegmentOffset, prPluginID* outHash);
  prSuiteError (*AcquireNodeID)(csSDK_int32 inVideoSegmentsID, prPluginID* inHash, csSDK_int32* outVideoNodeID);
  prSuiteError (*ReleaseVideoNodeID)(csSDK_int32 inVideoNodeID);
  prSuiteError (*GetNodeInfo)(csSDK_int32 inVideoNodeID, char* outNodeType, prPluginID* outHash,
                              csSDK_int32* outFlags);
  prSuiteError (*GetNodeInputCount)(csSDK_int32 inVideoNodeID, csSDK_int32* outNumInputs);
  prSuiteError (*AcquireInputNodeID)(csSDK_int32 inVideoNodeID, csSDK_int32 inIndex, PrTime* outOffset,
                                     csSDK_int32* outInputVideoNodeID);
  prSuiteError (*GetNodeOperatorCount)(csSDK_int32 inVideoNodeID, csSDK_int32* outNumOperators);
  prSuiteError (*AcquireOperatorNodeID)(csSDK_int32 inVideoNodeID, csSDK_int32 inIndex,
                                        csSDK_int32* outOperatorVideoNodeID);
  prSuiteError (*IterateNodeProperties)(csSDK_int32 inVideoNodeID, SegmentNodePropertyCallback inCallback,
                                        csSDK_int32 inPluginObject);
  // A node property as text, allocated by the host; freed with the memory
  // manager's PrDisposePtr.
  prSuiteError (*GetNodeProperty)(csSDK_int32 inVideoNodeID, const char* inKey, PrMemoryPtr* outValue);
  prSuiteError (*GetParamCount)(csSDK_int32 inVideoNodeID, csSDK_int32* outParamCount);
  // A parameter of an effect node at a time. GPU filters number their
  // parameters without the input layer.
  prSuiteError (*GetParam)(csSDK_int32 inVideoNodeID, csSDK_int32 inIndex, PrTime inTime, PrParam* outParam);
  prSuiteError (*GetNextKeyframeTime)(csSDK_int32 inVideoNodeID, csSDK_int32 inIndex, PrTime inTime,
                                      PrTime* outKeyframeTime, csSDK_int32* outKeyframeInterpolationMode);
  prSuiteError (*TransformNodeTime)(csSDK_int32 inVideoNodeID, PrTime inTime, PrTime* outTime);
  prSuiteError (*GetVideoSegmentsProperties)(PrTimelineID inTimelineData, prRect* outBounds,
                                             csSDK_int32* outPixelAspectRatioNumerator,
                                             csSDK_int32* outPixelAspectRatioDenominator, PrTime* outFrameRate,
                                             prFieldType* outFieldType);
  prSuiteError (*AcquireNodeForTime)(csSDK_int32 inVideoSegmentsID, PrTime inTime, csSDK_int32* outVideoNodeID,
                                     PrTime* outSegmentOffset);
  // Later additions: stream labels and time ranges.
  prSuiteError (*AcquireVideoSegmentsIDWithStreamLabel)(PrTimelineID inTimelineData, PrSDKStreamLabel inStreamLabel,
                                                        csSDK_int32* outVideoSegmentsID);
  prSuiteError (*AcquireVideoSegmentsWithPreviewsIDWithStreamLabel)(PrTimelineID inTimelineData,
                                                                    PrSDKStreamLabel inStreamLabel,
                                                                    csSDK_int32* outVideoSegmentsID);
  prSuiteError (*AcquireVideoSegmentsWithOpaquePreviewsIDWithStreamLabel)(PrTimelineID inTimelineData,
                                                                          PrSDKStreamLabel inStreamLabel,
                                                                          csSDK_int32* outVideoSegmentsID);
  prSuiteError (*AcquireFirstNodeInTimeRange)(csSDK_int32 inVideoSegmentsID, PrTime inStartTime, PrTime inEndTime,
                                              csSDK_int32* outVideoNodeID, PrTime* outSegmentOffset);
  // The node that owns an operator node.
  prSuiteError (*AcquireOperatorOwnerNodeID)(csSDK_int32 inVideoNodeID, csSDK_int32* outOwnerNodeID);
} PrSDKVideoSegmentSuite;

#pragma pack(pop)
