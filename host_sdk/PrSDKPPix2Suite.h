// "Premiere PPix 2 Suite": a frame's size in bytes, planar buffers, origin
// and field order.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "PrSDKPPixSuite.h"

#define kPrSDKPPix2Suite "Premiere PPix 2 Suite"
#define kPrSDKPPix2SuiteVersion 3

#pragma pack(push, 1)

typedef struct {
  prSuiteError (*GetSize)(PPixHand inPPixHand, csSDK_size_t* outSize);
  prSuiteError (*GetYUV420PlanarBuffers)(PPixHand inPPixHand, PrPPixBufferAccess inRequestedAccess,
                                         char** outYAddress, csSDK_uint32* outYRowBytes, char** outUAddress,
                                         csSDK_uint32* outURowBytes, char** outVAddress, csSDK_uint32* outVRowBytes);
  prSuiteError (*GetOrigin)(PPixHand inPPixHand, csSDK_int32* outOriginX, csSDK_int32* outOriginY);
  prSuiteError (*GetFieldOrder)(PPixHand inPPixHand, prFieldType* outFieldType);
} PrSDKPPix2Suite;

#pragma pack(pop)
