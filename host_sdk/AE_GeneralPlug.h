// General plug-in (AEGP) suites the effect uses to reach its own effect
// instance and parameter streams.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "AE_Effect.h"

#pragma pack(push, 8)

typedef A_long AEGP_PluginID;
typedef struct _AEGP_Effect** AEGP_EffectRefH;
typedef struct _AEGPp_Stream** AEGP_StreamRefH;
typedef struct _AEGP_GlobalRefcon* AEGP_GlobalRefcon;
typedef A_u_long AEGP_DynStreamFlags;

enum {
  AEGP_DynStreamFlag_ACTIVE_EYEBALL = 1L << 0,
  AEGP_DynStreamFlag_HIDDEN = 1L << 1,
  AEGP_DynStreamFlag_DISABLED = 1L << 4,
  AEGP_DynStreamFlag_ELIDED = 1L << 5,
  AEGP_DynStreamFlag_SHOWN_WHEN_EMPTY = 1L << 10,
  AEGP_DynStreamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 1L << 16
};

typedef void* AEGP_GPSlot;

#define kAEGPPFInterfaceSuite "AEGP PF Interface Suite"
#define kAEGPPFInterfaceSuiteVersion1 1

typedef struct AEGP_PFInterfaceSuite1 {
  AEGP_GPSlot AEGP_GetEffectLayer;
  A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID aegp_plugin_id, PF_ProgPtr effect_pp_ref,
                                      AEGP_EffectRefH* effect_refPH);
  AEGP_GPSlot AEGP_ConvertEffectToCompTime;
  AEGP_GPSlot AEGP_GetEffectCamera;
  AEGP_GPSlot AEGP_GetEffectCameraMatrix;
} AEGP_PFInterfaceSuite1;

#define kAEGPStreamSuite "AEGP Stream Suite"

#define kAEGPDynamicStreamSuite "AEGP Dynamic Stream Suite"
#define kAEGPDynamicStreamSuiteVersion4 5

typedef struct AEGP_DynamicStreamSuite4 {
  AEGP_GPSlot AEGP_GetNewStreamRefForLayer;
  AEGP_GPSlot AEGP_GetNewStreamRefForMask;
  AEGP_GPSlot AEGP_GetStreamDepth;
  AEGP_GPSlot AEGP_GetStreamGroupingType;
  AEGP_GPSlot AEGP_GetNumStreamsInGroup;
  A_Err (*AEGP_GetDynamicStreamFlags)(AEGP_StreamRefH streamH, AEGP_DynStreamFlags* flagsP);
  A_Err (*AEGP_SetDynamicStreamFlag)(AEGP_StreamRefH streamH, AEGP_DynStreamFlags one_flag, A_Boolean undoableB,
                                     A_Boolean setB);
  AEGP_GPSlot reserved_after[16];
} AEGP_DynamicStreamSuite4;

#define kAEGPEffectSuite "AEGP Effect Suite"
#define kAEGPEffectSuiteVersion4 4

typedef struct AEGP_EffectSuite4 {
  AEGP_GPSlot AEGP_GetLayerNumEffects;
  AEGP_GPSlot AEGP_GetLayerEffectByIndex;
  AEGP_GPSlot AEGP_GetInstalledKeyFromLayerEffect;
  AEGP_GPSlot AEGP_GetEffectParamUnionByIndex;
  AEGP_GPSlot AEGP_GetEffectFlags;
  AEGP_GPSlot AEGP_SetEffectFlags;
  AEGP_GPSlot AEGP_ReorderEffect;
  AEGP_GPSlot AEGP_EffectCallGeneric;
  A_Err (*AEGP_DisposeEffect)(AEGP_EffectRefH effect_refH);
  AEGP_GPSlot reserved_after[12];
} AEGP_EffectSuite4;

#pragma pack(pop)

#include "AE_GeneralPlugOld.h"
