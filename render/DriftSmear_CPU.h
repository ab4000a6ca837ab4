// The CPU render path: the effect renders on the GPU only, so a CPU request is
// answered with a message telling the user to switch to GPU acceleration.
#pragma once
#include "AEConfig.h"
#include "AE_Effect.h"

PF_Err RenderCPU(PF_InData* in_data, PF_OutData* out_data, PF_LayerDef* input, PF_LayerDef* output);
