#include "params/DriftSmear_Parameters.h"

#include <stdexcept>

int FindParamIndexByDiskID(int diskId) {
  if (diskId == 0) {
    return 0;
  }
  throw std::runtime_error("Parameter with given Disk ID not found");
}

PF_Err ParamsSetup(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_ParamDef* /*params*/[],
                   PF_LayerDef* /*output*/) {
  return PF_Err_NONE;
}

PF_Err UserChangedParam(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_ParamDef* /*params*/[],
                        const PF_UserChangedParamExtra* /*extra*/) {
  return PF_Err_NONE;
}

PF_Err UpdateParamsUI(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_ParamDef* /*params*/[]) {
  return PF_Err_NONE;
}
