#include "ui/DriftSmear_UI_Handler.h"

PF_Err HandleEvent(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_ParamDef* /*params*/[],
                   PF_LayerDef* /*output*/, PF_EventExtra* /*extra*/) {
  return PF_Err_NONE;
}
