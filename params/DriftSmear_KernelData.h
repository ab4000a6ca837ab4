// Filling the kernels' settings record from the effect's parameters, the step
// of pre-render that turns parameter values into KernelData.
#pragma once
#include "AEConfig.h"
#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "kernels/Kernel_Data.h"

// Fetches every parameter by Disk ID at the request's current time, converts
// it and stores it in kernelData; frameOffset receives the frame-offset
// parameter (Disk ID 7), which spaces the earlier frames' checkouts. The first
// failing checkout or check-in ends the fetches and is returned; offsetX and
// offsetY are written in every case.
PF_Err FillKernelData(PF_InData* in_data, bool isActivated, KernelData* kernelData, float* frameOffset);
