// Scalar types of the Premiere Pro plug-in interfaces.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include <cstddef>
#include <cstdint>

typedef int32_t csSDK_int32;
typedef uint32_t csSDK_uint32;
typedef int64_t csSDK_int64;
typedef uint64_t csSDK_size_t;
typedef int16_t csSDK_int16;
typedef uint8_t csSDK_uint8;
typedef int64_t prInt64;
typedef csSDK_int32 prBool;
typedef csSDK_int32 prSuiteError;
typedef csSDK_int32 prMALError;
typedef prInt64 PrTime;
typedef char* PrMemoryPtr;
typedef csSDK_int32 PrTimelineID;
typedef csSDK_int32 prFieldType;
typedef csSDK_int32 PrRenderQuality;
typedef csSDK_int32 pmFieldDisplay;

#define kPrTrue 1
#define kPrFalse 0

#pragma pack(push, 1)
typedef struct {
  csSDK_int32 left, top, right, bottom;
} prRect;

typedef struct {
  csSDK_int64 opaque[2];
} PrSDKString;

typedef struct {
  double x, y;
} prFPoint64;

typedef struct {
  char mGUID[37];
} prPluginID;

typedef struct PPix {
  prRect bounds;
  csSDK_int32 rowbytes;
  csSDK_int32 bitsperpixel;
  void* pix;
  void* reserved[32];
} PPix;
typedef PPix** PPixHand;
#pragma pack(pop)

enum {
  prFieldsNone = 0,
  prFieldsUpperFirst = 1,
  prFieldsLowerFirst = 2,
  prFieldsUnknown = 3,
  prFieldsAny = 4,
  prFieldsInvalid = -1
};

enum {
  kPrRenderQuality_Draft = 0,
  kPrRenderQuality_Low = 1,
  kPrRenderQuality_Medium = 2,
  kPrRenderQuality_High = 3,
  kPrRenderQuality_Max = 4
};

enum { pmFieldDisplay_ShowFirstField = 0, pmFieldDisplay_ShowSecondField = 1, pmFieldDisplay_ShowBothFields = 2 };

#define malNoError 0
#define malUnknownError 99
