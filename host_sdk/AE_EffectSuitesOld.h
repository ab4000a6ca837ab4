// Earlier versions of effect suites that are still published by the host.
// Our own declarations, name-compatible with the vendor's header of this name.
// Like the vendor's, it is part of AE_EffectSuites.h and not included on its
// own.
#pragma once
#ifndef kPFParamUtilsSuite
#error "include AE_EffectSuites.h instead of AE_EffectSuitesOld.h"
#endif

#pragma pack(push, 8)

#define kPFEffectCustomUISuite "PF Effect Custom UI Suite"
#define kPFEffectCustomUISuiteVersion1 1

typedef struct PF_EffectCustomUISuite1 {
  PF_Err (*PF_GetDrawingReference)(const PF_ContextH effect_contextH, DRAWBOT_DrawRef* referenceP0);
} PF_EffectCustomUISuite1;

#pragma pack(pop)
