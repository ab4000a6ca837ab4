#include "effect/DriftSmear.h"

#include <exception>
#include <sstream>

#include "params/DriftSmear_Parameters.h"
#include "render/DriftSmear_AeGPU.h"
#include "render/DriftSmear_CPU.h"
#include "render/GPUStatusInfo.h"
#include "support/LogsController.h"
#include "support/NameTables.h"
#include "ui/DriftSmear_UI_Handler.h"

PF_Err GuardedCommand(PF_Cmd cmd, const std::function<PF_Err()>& body) {
  PF_Err err = PF_Err_NONE;
  try {
    err = body();
  } catch (PF_Err thrown) {
    DRIFTSMEAR_LOG_ERROR("EffectMain", "Try Catch Exception code at event " << CommandName(cmd) << " is "
                                                                              << ErrorDescription(thrown));
    return thrown;
  } catch (const std::exception& e) {
    DRIFTSMEAR_LOG_ERROR("EffectMain",
                         "Try Catch Exception at event " << CommandName(cmd) << ". Error is " << e.what());
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR("EffectMain", "Try Catch Uknown Exception at event " << CommandName(cmd));
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  if (err != PF_Err_NONE) {
    DRIFTSMEAR_LOG_ERROR("EffectMain", CommandName(cmd) << ". Code: " << ErrorDescription(err));
  }
  return err;
}

namespace {

PF_Err Dispatch(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra) {
  PF_Err err = LicensingCommandHook(LicensingCommand{"DriftSmear", cmd}, in_data, out_data);
  GetGPUStatusInfo().debug = kDebugMode;

  switch (cmd) {
    case PF_Cmd_GLOBAL_SETUP:
      err = GlobalSetup(in_data, out_data, params, output);
      break;
    case PF_Cmd_GLOBAL_SETDOWN:
      err = GlobalSetdown(in_data, out_data, params, output);
      break;
    case PF_Cmd_PARAMS_SETUP:
      err = ParamsSetup(in_data, out_data, params, output);
      break;
    case PF_Cmd_RENDER:
      err = RenderCPU(in_data, out_data, &params[FindParamIndexByDiskID(0)]->u.ld, output);
      break;
    case PF_Cmd_USER_CHANGED_PARAM:
      err = UserChangedParam(in_data, out_data, params, static_cast<const PF_UserChangedParamExtra*>(extra));
      break;
    case PF_Cmd_UPDATE_PARAMS_UI:
      err = UpdateParamsUI(in_data, out_data, params);
      break;
    case PF_Cmd_EVENT:
      err = HandleEvent(in_data, out_data, params, output, static_cast<PF_EventExtra*>(extra));
      break;
    case PF_Cmd_SMART_PRE_RENDER:
      err = PreRender(in_data, out_data, static_cast<PF_PreRenderExtra*>(extra),
                      CurrentLicenceState().is_activated);
      break;
    case PF_Cmd_SMART_RENDER:
      err = SmartRender(in_data, out_data, static_cast<PF_SmartRenderExtra*>(extra), false);
      break;
    case PF_Cmd_SMART_RENDER_GPU:
      err = SmartRender(in_data, out_data, static_cast<PF_SmartRenderExtra*>(extra), true);
      break;
    case PF_Cmd_GPU_DEVICE_SETUP:
      err = GPUDeviceSetup(in_data, out_data, static_cast<PF_GPUDeviceSetupExtra*>(extra));
      break;
    case PF_Cmd_GPU_DEVICE_SETDOWN:
      err = GPUDeviceSetdown(in_data, out_data, static_cast<PF_GPUDeviceSetdownExtra*>(extra));
      break;
    default:
      // No handler of its own: the licensing hook's result stands.
      break;
  }
  return err;
}

}  // namespace

extern "C" DllExport PF_Err EffectMain(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                                       PF_LayerDef* output, void* extra) {
  return GuardedCommand(cmd, [&] { return Dispatch(cmd, in_data, out_data, params, output, extra); });
}

// ---- Registration, global setup and About -----------------------------------

extern "C" DllExport A_Err PluginDataEntryFunction(PF_PluginDataPtr inPtr, PF_PluginDataCB inPluginDataCallBackPtr,
                                                   SPBasicSuite* /*inSPBasicSuitePtr*/, const char* /*inHostName*/,
                                                   const char* /*inHostVersion*/) {
  A_Err result = A_Err_NONE;
  PF_REGISTER_EFFECT(inPtr, inPluginDataCallBackPtr, kEffectName, kEffectMatchName, kEffectCategory,
                     AE_RESERVED_INFO);
  return result;
}

PF_Err About(PF_InData* in_data, PF_OutData* out_data, const LicenceState& licence) {
  if (in_data->appl_id == kPremiereApplicationId) {
    return PF_Err_NONE;
  }
  PF_SPRINTF(out_data->return_msg, "%s, v%s\r%s\r\n%s", kEffectName, kEffectVersionText, kEffectName,
             LicenceLine(licence));
  return PF_Err_NONE;
}

PF_Err GlobalSetup(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_ParamDef* /*params*/[],
                   PF_LayerDef* /*output*/) {
  return PF_Err_NONE;
}

PF_Err GlobalSetdown(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_ParamDef* /*params*/[],
                     PF_LayerDef* /*output*/) {
  return PF_Err_NONE;
}

// ---- Smart render -------------------------------------------------------------

PF_Err PreRender(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_PreRenderExtra* /*extra*/,
                 bool /*isActivated*/) {
  return PF_Err_NONE;
}

PF_Err SmartRender(PF_InData* /*in_data*/, PF_OutData* /*out_data*/, PF_SmartRenderExtra* /*extra*/,
                   bool /*isGPU*/) {
  return PF_Err_NONE;
}
