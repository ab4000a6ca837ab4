// Earlier versions of general plug-in (AEGP) suites still published by the host.
// Our own declarations, name-compatible with the vendor's header of this name.
// Like the vendor's, it is part of AE_GeneralPlug.h and not included on its
// own.
#pragma once
#ifndef kAEGPEffectSuite
#error "include AE_GeneralPlug.h instead of AE_GeneralPlugOld.h"
#endif

#pragma pack(push, 8)

typedef void* AEGP_SuiteSlot;

#define kAEGPUtilitySuite "AEGP Utility Suite"
#define kAEGPUtilitySuiteVersion3 7

typedef struct AEGP_UtilitySuite3 {
  A_Err (*AEGP_ReportInfo)(AEGP_PluginID aegp_plugin_id, const A_char* info_stringZ);
  AEGP_SuiteSlot AEGP_GetDriverPluginInitFuncVersion;
  AEGP_SuiteSlot AEGP_GetDriverImplementationVersion;
  A_Err (*AEGP_StartQuietErrors)(void* err_stateP);
  A_Err (*AEGP_EndQuietErrors)(A_Boolean report_quieted_errorsB, void* err_stateP);
  A_Err (*AEGP_StartUndoGroup)(const A_char* undo_nameZ);
  A_Err (*AEGP_EndUndoGroup)(void);
  A_Err (*AEGP_RegisterWithAEGP)(AEGP_GlobalRefcon global_refcon, const A_char* plugin_nameZ,
                                 AEGP_PluginID* plugin_id);
  AEGP_SuiteSlot reserved_after[24];
} AEGP_UtilitySuite3;

#define kAEGPStreamSuiteVersion5 10

typedef struct AEGP_StreamSuite5 {
  AEGP_SuiteSlot AEGP_IsStreamLegal;
  AEGP_SuiteSlot AEGP_CanVaryOverTime;
  AEGP_SuiteSlot AEGP_GetValidInterpolations;
  AEGP_SuiteSlot AEGP_GetNewLayerStream;
  A_Err (*AEGP_GetEffectNumParamStreams)(AEGP_EffectRefH effect_refH, A_long* num_paramsPL);
  A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID aegp_plugin_id, AEGP_EffectRefH effect_refH,
                                          PF_ParamIndex param_index, AEGP_StreamRefH* streamPH);
  AEGP_SuiteSlot AEGP_GetNewMaskStream;
  A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH streamH);
  AEGP_SuiteSlot reserved_after[24];
} AEGP_StreamSuite5;

#define kAEGPEffectSuiteVersion2 2

typedef struct AEGP_EffectSuite2 {
  AEGP_SuiteSlot AEGP_GetLayerNumEffects;
  AEGP_SuiteSlot AEGP_GetLayerEffectByIndex;
  AEGP_SuiteSlot AEGP_GetInstalledKeyFromLayerEffect;
  AEGP_SuiteSlot AEGP_GetEffectParamUnionByIndex;
  AEGP_SuiteSlot AEGP_GetEffectFlags;
  AEGP_SuiteSlot AEGP_SetEffectFlags;
  AEGP_SuiteSlot AEGP_ReorderEffect;
  AEGP_SuiteSlot AEGP_EffectCallGeneric;
  A_Err (*AEGP_DisposeEffect)(AEGP_EffectRefH effect_refH);
  AEGP_SuiteSlot reserved_after[8];
} AEGP_EffectSuite2;

#pragma pack(pop)
