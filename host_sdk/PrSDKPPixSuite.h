// "Premiere PPix Suite": what a frame (PPix) tells about itself, and its
// disposal.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include <cstddef>

#include "PrSDKPixelFormat.h"
#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define kPrSDKPPixSuite "Premiere PPix Suite"
#define kPrSDKPPixSuiteVersion 1

typedef csSDK_int32 PrPPixBufferAccess;
enum { PrPPixBufferAccess_ReadOnly = 0, PrPPixBufferAccess_WriteOnly = 1, PrPPixBufferAccess_ReadWrite = 2 };

#pragma pack(push, 1)

typedef struct {
  prSuiteError (*Dispose)(PPixHand inPPixHand);
  // Host memory of a CPU frame; GPU frames have none.
  prSuiteError (*GetPixels)(PPixHand inPPixHand, PrPPixBufferAccess inRequestedAccess, char** outPixelAddress);
  prSuiteError (*GetBounds)(PPixHand inPPixHand, prRect* inoutBoundingRect);
  prSuiteError (*GetRowBytes)(PPixHand inPPixHand, csSDK_int32* outRowBytes);
  prSuiteError (*GetPixelAspectRatio)(PPixHand inPPixHand, csSDK_uint32* outPixelAspectRatioNumerator,
                                      csSDK_uint32* outPixelAspectRatioDenominator);
  prSuiteError (*GetPixelFormat)(PPixHand inPPixHand, PrPixelFormat* outPixelFormat);
  prSuiteError (*GetUniqueKey)(PPixHand inPPixHand, unsigned char* inoutKeyBuffer, size_t inKeyBufferSize);
  prSuiteError (*GetUniqueKeySize)(size_t* outKeyBufferSize);
  prSuiteError (*GetRenderTime)(PPixHand inPPixHand, csSDK_int32* outRenderMilliseconds);
} PrSDKPPixSuite;

#pragma pack(pop)
