// Earlier versions of effect suites that are still published by the host.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "AE_EffectUI.h"

#pragma pack(push, 8)

#define kPFEffectCustomUISuite "PF Effect Custom UI Suite"
#define kPFEffectCustomUISuiteVersion1 1

typedef struct PF_EffectCustomUISuite1 {
  PF_Err (*PF_GetDrawingReference)(const PF_ContextH effect_contextH, DRAWBOT_DrawRef* referenceP0);
} PF_EffectCustomUISuite1;

#pragma pack(pop)
