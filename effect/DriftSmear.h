// Drift Smear: the exported entry points, global setup and About, and the
// smart-render handlers.
#pragma once
#include <functional>

// The host headers in the order the vendor's samples include them.
#include "AEConfig.h"
#include "entry.h"
#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_PluginData.h"
#include "effect/Licensing.h"

#ifndef DRIFTSMEAR_DEBUG_MODE
#define DRIFTSMEAR_DEBUG_MODE 0
#endif

// Build-time debug switch: false in shipped builds. It is copied into the GPU
// diagnostics on every entry call and hides the debug parameters when false.
inline constexpr bool kDebugMode = DRIFTSMEAR_DEBUG_MODE != 0;

inline constexpr const char* kEffectName = "Drift Smear";
inline constexpr const char* kEffectMatchName = "KQVLDRSM";
inline constexpr const char* kEffectCategory = "Quarnbrook Graphics";
inline constexpr const char* kEffectVersionText = "1.3.0";
inline constexpr const char* kBundleIdentifier = "com.qrn.driftsmear";
inline constexpr A_long kMajorVersion = 1;
inline constexpr A_long kMinorVersion = 3;
inline constexpr A_long kBugVersion = 0;
inline constexpr A_long kStageVersion = PF_Stage_DEVELOP;
inline constexpr A_long kBuildVersion = 1;
inline constexpr A_long kPremiereApplicationId = 'PrMr';
inline constexpr A_long kAfterEffectsApplicationId = 'FXTC';

extern "C" {
DllExport PF_Err EffectMain(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                            PF_LayerDef* output, void* extra);

DllExport A_Err PluginDataEntryFunction(PF_PluginDataPtr inPtr, PF_PluginDataCB inPluginDataCallBackPtr,
                                        SPBasicSuite* inSPBasicSuitePtr, const char* inHostName,
                                        const char* inHostVersion);
}

// The entry point's exception guard around one command: a thrown PF_Err is
// returned as it is, any other exception as PF_Err_INTERNAL_STRUCT_DAMAGED, a
// non-zero result unchanged; each failure writes exactly one log line.
PF_Err GuardedCommand(PF_Cmd cmd, const std::function<PF_Err()>& body);

PF_Err About(PF_InData* in_data, PF_OutData* out_data, const LicenceState& licence);
PF_Err GlobalSetup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output);
PF_Err GlobalSetdown(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output);
PF_Err PreRender(PF_InData* in_data, PF_OutData* out_data, PF_PreRenderExtra* extra, bool isActivated);
PF_Err SmartRender(PF_InData* in_data, PF_OutData* out_data, PF_SmartRenderExtra* extra, bool isGPU);
