#include "effect/DriftSmear.h"

#include <exception>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "PrSDKTypes.h"
#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "AE_GeneralPlug.h"
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

// Frees the global data handle, the about-image record it points to and the
// record's pixel handle. A handle the host cannot lock still has its memory
// behind the master pointer; the record is taken from there so that it is
// not lost with the handle.
void FreeGlobalData(const PF_HandleSuite1* handles, PF_Handle globalData) {
  if (globalData == nullptr) {
    return;
  }
  std::unique_ptr<AboutImage> aboutImage;
  {
    HostHandleLock globalLock(handles, globalData);
    auto* global = globalLock.get() != nullptr ? globalLock.as<GlobalData>() : static_cast<GlobalData*>(*globalData);
    if (global != nullptr) {
      aboutImage.reset(global->aboutImage);
      global->aboutImage = nullptr;
    }
    if (aboutImage != nullptr && aboutImage->pixels != nullptr) {
      handles->host_dispose_handle(aboutImage->pixels);
      aboutImage->pixels = nullptr;
    }
  }
  handles->host_dispose_handle(globalData);
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

  // A host does not send the setdown after a failed setup, so a step that
  // fails from here on releases the global data, the about image and its
  // pixels before the error goes back.
  try {
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
  } catch (...) {
    globalLock.Unlock();
    FreeGlobalData(handles.get(), out_data->global_data);
    out_data->global_data = nullptr;
    throw;
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
  std::optional<ScopedSuite<PF_HandleSuite1>> handles;
  try {
    handles.emplace(in_data, kPFHandleSuite, kPFHandleSuiteVersion1);
  } catch (...) {
    // Without the handle suite the global data still goes, through the
    // handle calls every host passes with the command; the missing suite is
    // reported all the same.
    if (in_data->utils != nullptr) {
      const PF_UtilCallbacks& utils = *in_data->utils;
      const PF_HandleSuite1 fallback{nullptr, utils.host_lock_handle, utils.host_unlock_handle,
                                     utils.host_dispose_handle, nullptr, nullptr};
      FreeGlobalData(&fallback, in_data->global_data);
    }
    throw;
  }
  FreeGlobalData(handles->get(), in_data->global_data);
  return PF_Err_NONE;
}

// ---- Smart render -------------------------------------------------------------

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "AE_EffectCBSuites.h"
#include "params/DriftSmear_KernelData.h"
#include "support/SuiteAccess.h"

namespace {

// Frame slots a KernelData record has origins for.
constexpr int kMaxFrameSlots = 50;
// The current frame's checkout id; earlier frame i uses id i.
constexpr A_long kCurrentFrameCheckoutId = 0;

// The pre-render record is freed by the host through this function.
void FreeKernelData(void* data) { std::free(data); }

bool IsEmpty(const PF_LRect& rect) { return rect.left >= rect.right || rect.top >= rect.bottom; }

// Unites `source` into `target`; an empty target takes the source as it is.
void UnionRect(const PF_LRect& source, PF_LRect& target) {
  if (IsEmpty(source)) {
    return;
  }
  if (IsEmpty(target)) {
    target = source;
    return;
  }
  target.left = std::min(target.left, source.left);
  target.top = std::min(target.top, source.top);
  target.right = std::max(target.right, source.right);
  target.bottom = std::max(target.bottom, source.bottom);
}

// One side of the full frame at the request's downsampling.
A_long DownsampledExtent(A_long extent, const PF_RationalScale& scale) {
  if (scale.den == 0) {
    return extent;
  }
  return static_cast<A_long>(std::ceil(static_cast<double>(extent) * scale.num / static_cast<double>(scale.den)));
}

// The frame list of one smart render: numFrames world pointers in a locked
// host handle, given back to the host when the render ends.
class FrameList {
 public:
  FrameList(const PF_HandleSuite1* handles, int count) : handles_(handles) {
    const auto slots = static_cast<std::size_t>(std::max(count, 1));
    handle_ = handles_->host_new_handle(slots * sizeof(PF_EffectWorld*));
    if (handle_ != nullptr) {
      frames_ = static_cast<PF_EffectWorld**>(handles_->host_lock_handle(handle_));
    }
    if (frames_ != nullptr) {
      std::fill(frames_, frames_ + slots, nullptr);
    }
  }
  ~FrameList() {
    if (frames_ != nullptr) {
      handles_->host_unlock_handle(handle_);
    }
    if (handle_ != nullptr) {
      handles_->host_dispose_handle(handle_);
    }
  }
  FrameList(const FrameList&) = delete;
  FrameList& operator=(const FrameList&) = delete;

  PF_EffectWorld** frames() const { return frames_; }

 private:
  const PF_HandleSuite1* handles_;
  PF_Handle handle_ = nullptr;
  PF_EffectWorld** frames_ = nullptr;
};

// The check-in sequence of a GPU smart render: checkout ids 0 to numFrames - 1,
// then id 0 once more. Run() performs it and reports the first error; if it
// has not run when the render is left (an exception), the destructor runs it,
// so every frame goes back to the host on every path.
class FrameCheckins {
 public:
  FrameCheckins(PF_SmartRenderExtra* extra, PF_ProgPtr effectRef, int count)
      : extra_(extra), effectRef_(effectRef), count_(count) {}
  ~FrameCheckins() {
    if (!done_) {
      Run();
    }
  }
  FrameCheckins(const FrameCheckins&) = delete;
  FrameCheckins& operator=(const FrameCheckins&) = delete;

  PF_Err Run() {
    done_ = true;
    PF_Err first = PF_Err_NONE;
    for (A_long id = 0; id < count_; ++id) {
      const PF_Err err = extra_->cb->checkin_layer_pixels(effectRef_, id);
      if (first == PF_Err_NONE) {
        first = err;
      }
    }
    const PF_Err err = extra_->cb->checkin_layer_pixels(effectRef_, kCurrentFrameCheckoutId);
    return first != PF_Err_NONE ? first : err;
  }

 private:
  PF_SmartRenderExtra* extra_;
  PF_ProgPtr effectRef_;
  A_long count_;
  bool done_ = false;
};

// The input layer's pixels for a CPU smart render, checked in again when the
// render is left.
class LayerPixels {
 public:
  LayerPixels(PF_SmartRenderExtra* extra, PF_ProgPtr effectRef, A_long checkoutId)
      : extra_(extra), effectRef_(effectRef), checkoutId_(checkoutId) {
    error_ = extra_->cb->checkout_layer_pixels(effectRef_, checkoutId_, &world_);
  }
  ~LayerPixels() {
    if (!checkedIn_) {
      Checkin();
    }
  }
  LayerPixels(const LayerPixels&) = delete;
  LayerPixels& operator=(const LayerPixels&) = delete;

  PF_Err error() const { return error_; }
  PF_EffectWorld* world() const { return world_; }
  PF_Err Checkin() {
    checkedIn_ = true;
    return extra_->cb->checkin_layer_pixels(effectRef_, checkoutId_);
  }

 private:
  PF_SmartRenderExtra* extra_;
  PF_ProgPtr effectRef_;
  A_long checkoutId_;
  PF_EffectWorld* world_ = nullptr;
  PF_Err error_ = PF_Err_NONE;
  bool checkedIn_ = false;
};

PF_Err SmartRenderCPU(PF_InData* in_data, PF_OutData* out_data, PF_SmartRenderExtra* extra) {
  LayerPixels input(extra, in_data->effect_ref, FindParamIndexByDiskID(0));
  PF_Err err = input.error();
  PF_EffectWorld* output = nullptr;
  if (err == PF_Err_NONE) {
    err = extra->cb->checkout_output(in_data->effect_ref, &output);
  }
  const PF_Err refusal = RenderCPU(in_data, out_data, input.world(), output);
  if (err == PF_Err_NONE) {
    err = refusal;
  }
  const PF_Err checkin = input.Checkin();
  return err != PF_Err_NONE ? err : checkin;
}

}  // namespace

PF_Err PreRender(PF_InData* in_data, PF_OutData* /*out_data*/, PF_PreRenderExtra* extra, bool isActivated) {
  // Every frame is requested whole, whatever part of the output is asked for.
  PF_RenderRequest request{};
  request.rect = PF_LRect{-10000, -10000, 10000, 10000};
  request.field = extra->input->output_request.field;
  request.channel_mask = extra->input->output_request.channel_mask;
  request.preserve_rgb_of_zero_alpha = true;
  extra->output->flags |= PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS | PF_RenderOutputFlag_GPU_RENDER_POSSIBLE;

  auto* kernelData = static_cast<KernelData*>(std::malloc(sizeof(KernelData)));
  if (kernelData == nullptr) {
    DRIFTSMEAR_LOG_ERROR("PreRender", "Something wrong with allocation of Kernel Data");
    return PF_Err_OUT_OF_MEMORY;
  }
  // Zeroed so that slots and fields the fill does not reach hold no garbage.
  std::memset(kernelData, 0, sizeof(KernelData));
  float frameOffset = 0.0f;
  PF_Err err = FillKernelData(in_data, isActivated, kernelData, &frameOffset);
  // The slider keeps the count within 3 to 50; a keyframed or damaged value
  // outside the record's slots must not reach the arrays.
  kernelData->numFrames = std::clamp(kernelData->numFrames, 0, kMaxFrameSlots);
  extra->output->pre_render_data = kernelData;
  extra->output->delete_pre_render_data_func = FreeKernelData;

  const PF_ParamIndex layer = FindParamIndexByDiskID(0);
  PF_CheckoutResult result{};
  if (err == PF_Err_NONE) {
    err = extra->cb->checkout_layer(in_data->effect_ref, layer, kCurrentFrameCheckoutId, &request,
                                    in_data->current_time, in_data->time_step, in_data->time_scale, &result);
    kernelData->originH[0] = result.result_rect.left;
    kernelData->originV[0] = result.result_rect.top;

    // The test on the maximum rectangle sends every ordinary layer to the
    // full downsampled frame.
    const PF_LRect& maxRect = result.max_result_rect;
    if (maxRect.right > maxRect.left || maxRect.top > maxRect.bottom) {
      const PF_LRect full{0, 0, DownsampledExtent(in_data->width, in_data->downsample_x),
                          DownsampledExtent(in_data->height, in_data->downsample_y)};
      UnionRect(full, extra->output->result_rect);
      UnionRect(full, extra->output->max_result_rect);
    } else {
      UnionRect(result.result_rect, extra->output->result_rect);
      UnionRect(result.max_result_rect, extra->output->max_result_rect);
    }
  }

  // Earlier frame i lies i time steps, spaced by the frame offset, before the
  // current time. After a failed checkout the remaining slots repeat the last
  // result's origin.
  for (int i = 1; i < kernelData->numFrames; ++i) {
    if (err == PF_Err_NONE) {
      const float time = static_cast<float>(in_data->current_time) -
                         static_cast<float>(i * in_data->time_step) * frameOffset;
      if (!std::isfinite(time) || std::fabs(time) >= 2147483520.0f) {
        DRIFTSMEAR_LOG_ERROR("PreRender", "Frame offset " << frameOffset << " gives no valid time for frame " << i);
        err = PF_Err_BAD_CALLBACK_PARAM;
      } else {
        err = extra->cb->checkout_layer(in_data->effect_ref, layer, i, &request, static_cast<A_long>(time),
                                        in_data->time_step, in_data->time_scale, &result);
      }
    }
    kernelData->originH[i] = result.result_rect.left;
    kernelData->originV[i] = result.result_rect.top;
  }
  return err;
}

PF_Err SmartRender(PF_InData* in_data, PF_OutData* out_data, PF_SmartRenderExtra* extra, bool isGPU) {
  if (!isGPU) {
    return SmartRenderCPU(in_data, out_data, extra);
  }
  auto* kernelData = static_cast<KernelData*>(extra->input->pre_render_data);
  if (kernelData == nullptr) {
    DRIFTSMEAR_LOG_ERROR("SmartRender", "Kernel data is unavailable");
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  const PF_ProgPtr ref = in_data->effect_ref;
  const int frameCount = kernelData->numFrames;

  ScopedSuite<PF_HandleSuite1> handles(in_data, kPFHandleSuite, kPFHandleSuiteVersion1, out_data);
  FrameList list(handles.get(), frameCount);
  PF_EffectWorld** frames = list.frames();
  if (frames == nullptr) {
    DRIFTSMEAR_LOG_ERROR("SmartRender", "Cannot initialize layer frames");
    return PF_Err_OUT_OF_MEMORY;
  }

  FrameCheckins checkins(extra, ref, frameCount);
  PF_EffectWorld* output = nullptr;
  PF_Err err = extra->cb->checkout_layer_pixels(ref, kCurrentFrameCheckoutId, &frames[0]);
  if (err == PF_Err_NONE) {
    err = extra->cb->checkout_output(ref, &output);
  }

  ScopedSuite<PF_WorldSuite2> worlds(in_data, kPFWorldSuite, kPFWorldSuiteVersion2, out_data);
  PF_PixelFormat pixelFormat = PF_PixelFormat_INVALID;
  if (frames[0] != nullptr) {
    worlds->PF_GetPixelFormat(frames[0], &pixelFormat);
  }

  // A frame the host has no world for repeats the next newer one.
  for (int i = 1; i < frameCount && err == PF_Err_NONE; ++i) {
    err = extra->cb->checkout_layer_pixels(ref, i, &frames[i]);
    if (err == PF_Err_NONE && frames[i] == nullptr) {
      frames[i] = frames[i - 1];
      if (i == frameCount - 1) {
        DRIFTSMEAR_LOG_ERROR("SmartRender", "Reached a last NULL frame");
      }
    }
  }

  if (err == PF_Err_NONE) {
    err = SmartRenderGPU(in_data, out_data, pixelFormat, frames, output, extra, kernelData);
  }
  const PF_Err checkinErr = checkins.Run();
  return err != PF_Err_NONE ? err : checkinErr;
}
