#include "render/DriftSmear_AeGPU.h"

PF_Err GPUDeviceSetup(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_GPUDeviceSetupExtra* /*extra*/) {
  return PF_Err_NONE;
}

PF_Err GPUDeviceSetdown(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_GPUDeviceSetdownExtra* /*extra*/) {
  return PF_Err_NONE;
}
