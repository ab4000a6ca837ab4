// The After Effects GPU render path: device setup and takedown, and the GPU
// half of the smart render.
#pragma once
#include "AE_Effect.h"
#include "AE_EffectCB.h"

PF_Err GPUDeviceSetup(PF_InData* in_data, PF_OutData* out_data, PF_GPUDeviceSetupExtra* extra);
PF_Err GPUDeviceSetdown(PF_InData* in_data, PF_OutData* out_data, PF_GPUDeviceSetdownExtra* extra);
