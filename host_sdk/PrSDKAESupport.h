// Premiere Pro's additions to the After Effects effect interface: the pixel
// format suite (version 1) and the transition suite.
// Our own declarations, name-compatible with the vendor's header of this name.
// Like the vendor's, it relies on the including file for the Premiere scalar
// types and the After Effects callback suites: include AEConfig.h,
// PrSDKTypes.h and AE_EffectCBSuites.h before it.
#pragma once
#if !defined(kPrTrue) || !defined(kPFHandleSuite)
#error "PrSDKAESupport.h needs PrSDKTypes.h and AE_EffectCBSuites.h first"
#endif
#include "PrSDKPixelFormat.h"

#pragma pack(push, 1)

#define kPFPixelFormatSuite "PF Pixel Format Suite"
#define kPFPixelFormatSuiteVersion1 1

typedef struct {
  PF_Err (*AddSupportedPixelFormat)(PF_ProgPtr effect_ref, PrPixelFormat pixelFormat);
  PF_Err (*ClearSupportedPixelFormats)(PF_ProgPtr effect_ref);
  PF_Err (*NewWorldOfPixelFormat)(PF_ProgPtr effect_ref, A_u_long width, A_u_long height, PF_WorldFlags flags,
                                  PrPixelFormat pixelFormat, PF_EffectWorld* world);
  PF_Err (*DisposeWorld)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
  PF_Err (*GetPixelFormat)(PF_EffectWorld* inWorld, PrPixelFormat* pixelFormat);
  PF_Err (*GetBlackForPixelFormat)(const PrPixelFormat pixelFormat, void* pixelData);
  PF_Err (*GetWhiteForPixelFormat)(const PrPixelFormat pixelFormat, void* pixelData);
  PF_Err (*ConvertColorToPixelFormattedData)(const PrPixelFormat pixelFormat, const float alpha, const float red,
                                             const float green, const float blue, void* pixelData);
} PF_PixelFormatSuite;
typedef PF_PixelFormatSuite PF_PixelFormatSuite1;

#define kPFTransitionSuite "PF Transition Suite"
#define kPFTransitionSuiteVersion 2

typedef struct {
  PF_Err (*RegisterTransitionInputParam)(PF_ProgPtr inEffectRef, PF_ParamIndex inIndex);
  PF_Err (*RegisterTransitionStartParam)(PF_ProgPtr inEffectRef, PF_ParamIndex inIndex);
  PF_Err (*RegisterTransitionEndParam)(PF_ProgPtr inEffectRef, PF_ParamIndex inIndex);
} PF_TransitionSuite;

#pragma pack(pop)
