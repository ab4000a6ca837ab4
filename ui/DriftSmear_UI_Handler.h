// The effect's custom UI: the about image with the GPU line in the Effect
// Controls panel, and the refusal notice in the Composition and Layer windows.
#pragma once
#include "AE_Effect.h"
#include "AE_EffectUI.h"

PF_Err HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
                   PF_EventExtra* extra);
