#include "effect/DriftSmear.h"

#include <exception>
#include <memory>
#include <sstream>
#include <string>

#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "AE_GeneralPlugOld.h"
#include "PrSDKAESupport.h"
#include "effect/Analytics.h"
#include "effect/GlobalData.h"
#include "params/DriftSmear_Parameters.h"
#include "render/DriftSmear_AeGPU.h"
#include "render/DriftSmear_CPU.h"
#include "render/GPUStatusInfo.h"
#include "support/HostHandle.h"
#include "support/LogsController.h"
#include "support/NameTables.h"
#include "support/SuiteAccess.h"
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

namespace {

// Output flags: no parameter-independent caching, a dialog, pixel-independent
// processing, the custom UI, deep colour and UI updates on parameter changes.
constexpr PF_OutFlags kGlobalOutFlags = PF_OutFlag_NON_PARAM_VARY | PF_OutFlag_I_DO_DIALOG |
                                        PF_OutFlag_PIX_INDEPENDENT | PF_OutFlag_CUSTOM_UI |
                                        PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_SEND_UPDATE_PARAMS_UI;
// Collapsed groups, smart render, float colour, the asynchronous custom UI,
// 32-bit float GPU render and threaded rendering.
constexpr PF_OutFlags2 kGlobalOutFlags2 = PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG |
                                          PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
                                          PF_OutFlag2_CUSTOM_UI_ASYNC_MANAGER |
                                          PF_OutFlag2_SUPPORTS_GPU_RENDER_F32 |
                                          PF_OutFlag2_SUPPORTS_THREADED_RENDERING;
static_assert(kGlobalOutFlags == 0x06008424 && kGlobalOutFlags2 == 0x0B001408,
              "the flags must match the registration resource");

constexpr const char* kMakerName = "Quarnbrook Graphics";

bool IsPremiere(const PF_InData* in_data) { return in_data->appl_id == kPremiereApplicationId; }

// Premiere hands the effect 32-bit float ARGB frames ('A', 'R', 'g', 'b' in
// memory order) and nothing else.
void DeclarePremierePixelFormats(PF_InData* in_data, PF_OutData* out_data) {
  ScopedSuite<PF_PixelFormatSuite1> pixelFormats(in_data, kPFPixelFormatSuite, kPFPixelFormatSuiteVersion1,
                                                 out_data);
  PF_Err err = pixelFormats->ClearSupportedPixelFormats(in_data->effect_ref);
  if (err == PF_Err_NONE) {
    err = pixelFormats->AddSupportedPixelFormat(in_data->effect_ref, PrPixelFormat_ARGB_4444_32f);
  }
  if (err != PF_Err_NONE) {
    throw err;
  }
}

// After Effects: the options button's first label (when the host offers the
// suite) and the plug-in manager registration, whose id goes into the
// global data.
void RegisterWithAfterEffects(PF_InData* in_data, PF_OutData* out_data, GlobalData* global) {
  void* suite = nullptr;
  if (AcquireSuite(in_data, nullptr, kPFEffectUISuite, kPFEffectUISuiteVersion1, nullptr, &suite) == PF_Err_NONE) {
    const auto* effectUI = static_cast<const PF_EffectUISuite1*>(suite);
    const PF_Err err = effectUI->PF_SetOptionsButtonName(in_data->effect_ref, OptionsButtonLabel(CurrentLicenceState()));
    ReleaseSuite(in_data, nullptr, kPFEffectUISuite, kPFEffectUISuiteVersion1, nullptr);
    if (err != PF_Err_NONE) {
      throw err;
    }
  }

  ScopedSuite<AEGP_UtilitySuite3> utility(in_data, kAEGPUtilitySuite, kAEGPUtilitySuiteVersion3, out_data);
  AEGP_PluginID pluginId = 0;
  if (const A_Err err = utility->AEGP_RegisterWithAEGP(nullptr, kEffectName, &pluginId)) {
    throw PF_Err(err);
  }
  global->pluginId = pluginId;
  out_data->out_flags2 |= PF_OutFlag2_SUPPORTS_GPU_RENDER_F32;
}

}  // namespace

PF_Err GlobalSetup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* /*params*/[], PF_LayerDef* /*output*/) {
  out_data->my_version = PF_VERSION(kMajorVersion, kMinorVersion, kBugVersion, kStageVersion, kBuildVersion);
  out_data->out_flags |= kGlobalOutFlags;
  out_data->out_flags2 = kGlobalOutFlags2;

  const std::string logFailure = LoggerInit(kBundleIdentifier, kMakerName);
  if (!logFailure.empty()) {
    PF_SPRINTF(out_data->return_msg, "%s", logFailure.c_str());
  } else {
    DRIFTSMEAR_LOG_INFO("Welcome!");
    DRIFTSMEAR_LOG_INFO(kEffectName << ", v" << kMajorVersion << "." << kMinorVersion << "." << kBugVersion << " in "
                                    << (IsPremiere(in_data) ? "Premiere " : "AE ") << in_data->version.major << "."
                                    << in_data->version.minor);
  }

  ScopedSuite<PF_HandleSuite1> handles(in_data, kPFHandleSuite, kPFHandleSuiteVersion1, out_data);
  OwnedHostHandle globalHandle(handles.get(), handles->host_new_handle(sizeof(GlobalData)));
  if (!globalHandle) {
    DRIFTSMEAR_LOG_ERROR("GlobalSetup", "Global Data Handle memory allocation failed");
    return PF_Err_OUT_OF_MEMORY;
  }
  HostHandleLock globalLock(handles.get(), globalHandle.get());
  auto* global = globalLock.as<GlobalData>();
  if (global == nullptr) {
    // The handle goes back to the host here: with a failed setup the host
    // never sends the setdown that would free it.
    DRIFTSMEAR_LOG_ERROR("GlobalSetup", "Global Data memory allocation failed");
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  out_data->global_data = globalHandle.Release();
  global->aboutImage = nullptr;
  global->pluginId = 0;
  global->reserved = 0;

  auto aboutImage = std::make_unique<AboutImage>();
  if (LoadAboutImage(in_data, aboutImage.get()) == PF_Err_NONE) {
    global->aboutImage = aboutImage.release();
  } else {
    DRIFTSMEAR_LOG_ERROR("GlobalSetup", "Error loading about image");
    PF_STRCPY(out_data->return_msg, "Cannot Load Image");
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
  }

  if (IsPremiere(in_data)) {
    DeclarePremierePixelFormats(in_data, out_data);
  } else {
    RegisterWithAfterEffects(in_data, out_data, global);
  }

  AnalyticsStart();
  return PF_Err_NONE;
}

PF_Err GlobalSetdown(PF_InData* in_data, PF_OutData* /*out_data*/, PF_ParamDef* /*params*/[],
                     PF_LayerDef* /*output*/) {
  DRIFTSMEAR_LOG_INFO("Clean data");
  if (in_data->global_data == nullptr) {
    return PF_Err_NONE;
  }
  ScopedSuite<PF_HandleSuite1> handles(in_data, kPFHandleSuite, kPFHandleSuiteVersion1);
  std::unique_ptr<AboutImage> aboutImage;
  {
    HostHandleLock globalLock(handles.get(), in_data->global_data);
    if (auto* global = globalLock.as<GlobalData>()) {
      aboutImage.reset(global->aboutImage);
      global->aboutImage = nullptr;
    }
    if (aboutImage != nullptr && aboutImage->pixels != nullptr) {
      handles->host_dispose_handle(aboutImage->pixels);
      aboutImage->pixels = nullptr;
    }
  }
  handles->host_dispose_handle(in_data->global_data);
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
