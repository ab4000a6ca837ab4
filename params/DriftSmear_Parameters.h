// The effect's parameter table, its setup with the host, presets and the
// reaction to parameter changes.
#pragma once
#include "AE_Effect.h"
#include "AE_EffectCB.h"

// The table position (host parameter index) of the parameter with this Disk
// ID; throws std::runtime_error("Parameter with given Disk ID not found").
int FindParamIndexByDiskID(int diskId);

PF_Err ParamsSetup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output);
PF_Err UserChangedParam(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                        const PF_UserChangedParamExtra* extra);
PF_Err UpdateParamsUI(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[]);
