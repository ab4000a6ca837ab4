// "MediaCore GPU Image Processing Suite": format conversion, scaling and blur
// of GPU frames by the host.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "PrSDKPixelFormat.h"
#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define kPrSDKGPUImageProcessingSuite "MediaCore GPU Image Processing Suite"
#define kPrSDKGPUImageProcessingSuiteVersion 1

#pragma pack(push, 1)

typedef struct {
  prSuiteError (*PixelFormatConvert)(csSDK_uint32 inDeviceIndex, const void* inSrc, csSDK_int32 inSrcPitch,
                                     PrPixelFormat inSrcPixelFormat, void* inDest, csSDK_int32 inDestPitch,
                                     PrPixelFormat inDestPixelFormat, csSDK_uint32 inWidth, csSDK_uint32 inHeight,
                                     PrRenderQuality inQuality);
  prSuiteError (*Scale)(csSDK_uint32 inDeviceIndex, const void* inSrc, csSDK_int32 inSrcPitch, csSDK_uint32 inSrcWidth,
                        csSDK_uint32 inSrcHeight, void* inDest, csSDK_int32 inDestPitch, csSDK_uint32 inDestWidth,
                        csSDK_uint32 inDestHeight, PrPixelFormat inPixelFormat, float inScaleX, float inScaleY,
                        PrRenderQuality inQuality);
  prSuiteError (*GaussianBlur)(csSDK_uint32 inDeviceIndex, const void* inSrc, csSDK_int32 inSrcPitch,
                               PrPixelFormat inSrcPixelFormat, csSDK_uint32 inSrcWidth, csSDK_uint32 inSrcHeight,
                               void* inDest, csSDK_int32 inDestPitch, PrPixelFormat inDestPixelFormat,
                               csSDK_uint32 inDestWidth, csSDK_uint32 inDestHeight, float inSigmaX, float inSigmaY,
                               prBool inRepeatEdgePixels, prBool inBlurHorizontally, prBool inBlurVertically);
} PrSDKGPUImageProcessingSuite;

#pragma pack(pop)
