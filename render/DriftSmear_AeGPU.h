// The After Effects GPU render path: device setup and takedown, and the GPU
// half of the smart render.
#pragma once
#include "AEConfig.h"
#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_EffectCBSuites.h"
#include "kernels/Kernel_Data.h"

// PF_Cmd_GPU_DEVICE_SETUP: builds the device's KernelList in a host handle and
// accepts the device for 32-bit float GPU renders when that succeeds.
PF_Err GPUDeviceSetup(PF_InData* in_data, PF_OutData* out_data, PF_GPUDeviceSetupExtra* extra);

// PF_Cmd_GPU_DEVICE_SETDOWN: releases what the setup built.
PF_Err GPUDeviceSetdown(PF_InData* in_data, PF_OutData* out_data, PF_GPUDeviceSetdownExtra* extra);

// Draws the trail into `output`: one pass per frame of `inputs` (kernelData's
// numFrames of them, inputs[0] the current frame), oldest first, each pass
// compositing its frame over what the passes before it accumulated. Sets
// kernelData's percent for every pass. Any pixel format other than 32-bit
// float BGRA renders nothing and returns PF_Err_UNRECOGNIZED_PARAM_TYPE.
PF_Err SmartRenderGPU(PF_InData* in_data, PF_OutData* out_data, PF_PixelFormat pixelFormat, PF_EffectWorld** inputs,
                      PF_EffectWorld* output, PF_SmartRenderExtra* extra, KernelData* kernelData);
