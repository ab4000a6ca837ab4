#include "render/DriftSmear_CPU.h"

PF_Err RenderCPU(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_LayerDef* /*input*/,
                 PF_LayerDef* /*output*/) {
  return PF_Err_NONE;
}
