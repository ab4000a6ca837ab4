// Effect suites: Effect Controls UI, parameter utilities and custom UI.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "AE_Effect.h"
#include "AE_EffectUI.h"

#pragma pack(push, 8)

#define kPFEffectUISuite "PF Effect UI Suite"
#define kPFEffectUISuiteVersion1 1

typedef struct PF_EffectUISuite1 {
  PF_Err (*PF_SetOptionsButtonName)(PF_ProgPtr effect_ref, const A_char* nameZ);
} PF_EffectUISuite1;

#define kPFParamUtilsSuite "PF Param Utils Suite"
#define kPFParamUtilsSuiteVersion3 3

typedef A_long PF_State[4];
typedef A_long PF_KeyIndex;

typedef struct PF_ParamUtilsSuite3 {
  PF_Err (*PF_UpdateParamUI)(PF_ProgPtr effect_ref, PF_ParamIndex param_index, const PF_ParamDef* defP);
  PF_Err (*PF_GetCurrentState)(PF_ProgPtr effect_ref, PF_ParamIndex param_index, const A_Time* startPT0,
                               const A_Time* durationPT0, PF_State* stateP);
  PF_Err (*PF_AreStatesIdentical)(PF_ProgPtr effect_ref, const PF_State* state1P, const PF_State* state2P,
                                  A_Boolean* samePB);
  PF_Err (*PF_IsIdenticalCheckout)(PF_ProgPtr effect_ref, PF_ParamIndex param_index, A_long what_time1,
                                   A_long time_step1, A_u_long time_scale1, A_long what_time2, A_long time_step2,
                                   A_u_long time_scale2, PF_Boolean* identicalPB);
  PF_Err (*PF_FindKeyframeTime)(PF_ProgPtr effect_ref, PF_ParamIndex param_index, A_long what_time,
                                A_u_long time_scale, A_long time_dir, PF_Boolean* foundPB0,
                                PF_KeyIndex* key_indexP0, A_long* key_timeP0, A_u_long* key_timescaleP0);
  PF_Err (*PF_GetKeyframeCount)(PF_ProgPtr effect_ref, PF_ParamIndex param_index, PF_KeyIndex* key_countP);
  PF_Err (*PF_CheckoutKeyframe)(PF_ProgPtr effect_ref, PF_ParamIndex param_index, PF_KeyIndex key_index,
                                A_long* key_timeP0, A_u_long* key_timescaleP0, PF_ParamDef* paramP0);
  PF_Err (*PF_CheckinKeyframe)(PF_ProgPtr effect_ref, PF_ParamDef* paramP);
  PF_Err (*PF_KeyIndexToTime)(PF_ProgPtr effect_ref, PF_ParamIndex param_index, PF_KeyIndex key_indexP,
                              A_long* key_timeP, A_u_long* key_timescaleP);
} PF_ParamUtilsSuite3;

#pragma pack(pop)

#include "AE_EffectSuitesOld.h"
