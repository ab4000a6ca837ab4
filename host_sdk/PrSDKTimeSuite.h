// "Premiere Time Suite": the tick rate of Premiere Pro's time values.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define kPrSDKTimeSuite "Premiere Time Suite"
#define kPrSDKTimeSuiteVersion 1

typedef csSDK_int32 PrVideoFrameRates;
enum {
  kVideoFrameRate_24 = 1,
  kVideoFrameRate_25,
  kVideoFrameRate_2997,
  kVideoFrameRate_2997DropFrame,
  kVideoFrameRate_30,
  kVideoFrameRate_50,
  kVideoFrameRate_5994,
  kVideoFrameRate_5994DropFrame,
  kVideoFrameRate_60,
  kVideoFrameRate_23976
};

#pragma pack(push, 1)

typedef struct {
  // Ticks in one second; the same value for the whole process.
  prSuiteError (*GetTicksPerSecond)(PrTime* outTicksPerSec);
  prSuiteError (*GetTicksPerVideoFrame)(PrVideoFrameRates inVideoFrameRate, PrTime* outTicksPerFrame);
  prSuiteError (*GetTicksPerAudioSample)(float inSampleRate, PrTime* outTicksPerSample);
} PrSDKTimeSuite;

#pragma pack(pop)
