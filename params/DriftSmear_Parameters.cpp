#include "params/DriftSmear_Parameters.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>

#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "effect/DriftSmear.h"
#include "effect/GlobalData.h"
#include "effect/Licensing.h"
#include "params/StorePage.h"
#include "support/LogsController.h"
#include "support/SuiteAccess.h"
#include "support/SuiteHandler.h"

namespace {

// The table is authored by hand; a row that lacks a field its kind needs, or
// holds the wrong alternative, is a programming error reported by the check's
// own text.
void CheckTable(bool ok, const char* check) {
  if (!ok) {
    throw std::logic_error(check);
  }
}
#define DRIFTSMEAR_TABLE_CHECK(condition) CheckTable((condition), #condition)

const std::vector<ParamDescriptor> kParameterTable = {
    {.id = kDiskInputLayer, .type = kParamInputLayer, .name = "undefined"},
    {.id = kDiskAbout, .type = kParamCustomUI, .name = "About", .uiFlags = kAboutAreaUIFlags, .flags = 0},
    {.id = kDiskStoreButton,
     .type = kParamButton,
     .name = "Remove the X",
     .value = std::string("Purchase License"),
     .uiFlags = 0,
     .flags = 0},
    // "预设": the four name bytes are followed by two zero bytes; only the part
    // before the first zero reaches the host.
    {.id = kDiskPreset,
     .type = kParamPopup,
     .name = std::string("\xD4\xA4\xC9\xE8\0\0", 6),
     // "选择预设...|(-|默认|精细|强烈|断续|慢动作"
     .value = std::string("\xD1\xA1\xD4\xF1\xD4\xA4\xC9\xE8...|(-|\xC4\xAC\xC8\xCF|\xBE\xAB\xCF\xB8|\xC7\xBF\xC1\xD2|"
                          "\xB6\xCF\xD0\xF8|\xC2\xFD\xB6\xAF\xD7\xF7"),
     .defaultValue = 1,
     .flags = PF_ParamFlag_SUPERVISE | PF_ParamFlag_CANNOT_TIME_VARY},
    {.id = kDiskDebugGroup, .type = kParamGroupStart, .name = "Debug", .uiFlags = PF_PUI_INVISIBLE, .flags = 0},
    {.id = kDiskDebugDisplay,
     .type = kParamPopup,
     .name = "Debug Display",
     .value = std::string("Result|Motion|Displace|FlowMag|Shift"),
     .defaultValue = 1,
     .uiFlags = PF_PUI_INVISIBLE,
     .flags = 0},
    {.id = kDiskDebugGroupEnd, .type = kParamGroupEnd, .name = "undefined", .uiFlags = 0, .flags = 0},
    // "运动"
    {.id = kDiskMotionGroup, .type = kParamGroupStart, .name = "\xD4\xCB\xB6\xAF", .uiFlags = 0, .flags = 0},
    // "帧"
    {.id = kDiskFrames,
     .type = kParamFloatSlider,
     .name = "\xD6\xA1",
     .defaultValue = 10.0f,
     .min = 3.0f,
     .max = 50.0f,
     .precision = 0,
     .uiFlags = 0,
     .flags = 0},
    // "帧偏移"
    {.id = kDiskFrameOffset,
     .type = kParamFloatSlider,
     .name = "\xD6\xA1\xC6\xAB\xD2\xC6",
     .defaultValue = 1.0f,
     .min = -100.0f,
     .max = 100.0f,
     .precision = 0,
     .uiFlags = 0,
     .flags = 0},
    // "最小速度"
    {.id = kDiskMinVelocity,
     .type = kParamFloatSlider,
     .name = "\xD7\xEE\xD0\xA1\xCB\xD9\xB6\xC8",
     .defaultValue = 1.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 1,
     .uiFlags = 0,
     .flags = 0},
    // "最大速度"
    {.id = kDiskMaxVelocity,
     .type = kParamFloatSlider,
     .name = "\xD7\xEE\xB4\xF3\xCB\xD9\xB6\xC8",
     .defaultValue = 50.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 1,
     .uiFlags = 0,
     .flags = 0},
    // "速度阈值". 0x200 lands in the display flags, so the slider stays visible.
    {.id = kDiskVelocityThreshold,
     .type = kParamFloatSlider,
     .name = "\xCB\xD9\xB6\xC8\xE3\xD0\xD6\xB5",
     .defaultValue = 15.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 1,
     .uiFlags = 0x200,
     .flags = 0},
    // "位移阈值", with the same 0x200 display flags.
    {.id = kDiskDisplaceThreshold,
     .type = kParamFloatSlider,
     .name = "\xCE\xBB\xD2\xC6\xE3\xD0\xD6\xB5",
     .defaultValue = 50.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 1,
     .uiFlags = 0x200,
     .flags = 0},
    // "运动角度"
    {.id = kDiskMotionAngle,
     .type = kParamAngle,
     .name = "\xD4\xCB\xB6\xAF\xBD\xC7\xB6\xC8",
     .defaultValue = 45.0f,
     .uiFlags = 0,
     .flags = 0},
    // "运动大小"
    {.id = kDiskMotionSize,
     .type = kParamFloatSlider,
     .name = "\xD4\xCB\xB6\xAF\xB4\xF3\xD0\xA1",
     .defaultValue = 10.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 1,
     .uiFlags = 0,
     .flags = 0},
    {.id = kDiskMotionGroupEnd, .type = kParamGroupEnd, .name = "undefined", .uiFlags = 0, .flags = 0},
    // "外观"
    {.id = kDiskAppearanceGroup, .type = kParamGroupStart, .name = "\xCD\xE2\xB9\xDB", .uiFlags = 0, .flags = 0},
    // "数量"
    {.id = kDiskAmount,
     .type = kParamFloatSlider,
     .name = "\xCA\xFD\xC1\xBF",
     .defaultValue = 80.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 2,
     .uiFlags = PF_ValueDisplayFlag_PERCENT,
     .flags = 0},
    // "拖尾"
    {.id = kDiskTrail,
     .type = kParamFloatSlider,
     .name = "\xCD\xCF\xCE\xB2",
     .defaultValue = 20.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 2,
     .uiFlags = PF_ValueDisplayFlag_PERCENT,
     .flags = 0},
    // "位移"
    {.id = kDiskDisplace,
     .type = kParamFloatSlider,
     .name = "\xCE\xBB\xD2\xC6",
     .defaultValue = 10.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 2,
     .uiFlags = PF_ValueDisplayFlag_PERCENT,
     .flags = 0},
    // "色差"
    {.id = kDiskChromatic,
     .type = kParamFloatSlider,
     .name = "\xC9\xAB\xB2\xEE",
     .defaultValue = 50.0f,
     .min = 0.0f,
     .max = 100.0f,
     .precision = 2,
     .uiFlags = PF_ValueDisplayFlag_PERCENT,
     .flags = 0},
    // "色差偏移"
    {.id = kDiskChromaticOffset,
     .type = kParamAngle,
     .name = "\xC9\xAB\xB2\xEE\xC6\xAB\xD2\xC6",
     .defaultValue = 0.0f,
     .uiFlags = 0,
     .flags = 0},
    // "预乘"
    {.id = kDiskPremultiplied,
     .type = kParamCheckbox,
     .name = "\xD4\xA4\xB3\xCB",
     .defaultValue = true,
     .uiFlags = 0,
     .flags = 0},
    {.id = kDiskAppearanceGroupEnd, .type = kParamGroupEnd, .name = "undefined", .uiFlags = 0, .flags = 0},
};

// Copies at most 31 bytes of the name, up to its first zero byte.
void CopyParamName(A_char (&target)[PF_MAX_EFFECT_PARAM_NAME_LEN + 1], const std::string& name) {
  std::strncpy(target, name.c_str(), PF_MAX_EFFECT_PARAM_NAME_LEN);
  target[PF_MAX_EFFECT_PARAM_NAME_LEN] = '\0';
}

// Locks the global data for a handler's length. Without global data (or when
// the lock yields nothing) the handler works with its defaults.
class GlobalDataLock {
 public:
  GlobalDataLock(PF_InData* in_data, PF_OutData* out_data) : handle_(in_data->global_data) {
    if (handle_ != nullptr) {
      suite_.emplace(in_data, kPFHandleSuite, kPFHandleSuiteVersion1, out_data);
      data_ = static_cast<GlobalData*>((*suite_)->host_lock_handle(handle_));
    }
  }
  ~GlobalDataLock() {
    if (data_ != nullptr) {
      (*suite_)->host_unlock_handle(handle_);
    }
  }
  GlobalDataLock(const GlobalDataLock&) = delete;
  GlobalDataLock& operator=(const GlobalDataLock&) = delete;

  const GlobalData* get() const { return data_; }
  AEGP_PluginID pluginId() const { return data_ != nullptr ? data_->pluginId : 0; }

 private:
  PF_Handle handle_;
  std::optional<ScopedSuite<PF_HandleSuite1>> suite_;
  GlobalData* data_ = nullptr;
};

// This instance as an AEGP effect, disposed at the latest when the scope ends.
class ScopedAegpEffect {
 public:
  template <typename EffectSuite>
  explicit ScopedAegpEffect(const EffectSuite* effects)
      : dispose_([effects](AEGP_EffectRefH effect) { return effects->AEGP_DisposeEffect(effect); }) {}
  ~ScopedAegpEffect() { Dispose(); }
  ScopedAegpEffect(const ScopedAegpEffect&) = delete;
  ScopedAegpEffect& operator=(const ScopedAegpEffect&) = delete;

  AEGP_EffectRefH* out() { return &effect_; }
  AEGP_EffectRefH get() const { return effect_; }
  PF_Err Dispose() {
    if (effect_ == nullptr) {
      return PF_Err_NONE;
    }
    const PF_Err err = dispose_(effect_);
    effect_ = nullptr;
    return err;
  }

 private:
  std::function<A_Err(AEGP_EffectRefH)> dispose_;
  AEGP_EffectRefH effect_ = nullptr;
};

PF_Err ApplyRow(PF_ParamDef* params[], const std::array<float, 13>& row) {
  // Disk IDs of the row's columns, in the order they are written.
  static constexpr std::array<int, 13> kColumns = {
      kDiskFrames,        kDiskFrameOffset,      kDiskMinVelocity, kDiskMaxVelocity, kDiskVelocityThreshold,
      kDiskDisplaceThreshold, kDiskMotionAngle,  kDiskMotionSize,  kDiskChromatic,   kDiskChromaticOffset,
      kDiskAmount,        kDiskTrail,            kDiskDisplace};
  PF_Err err = PF_Err_NONE;
  for (size_t column = 0; column < kColumns.size() && err == PF_Err_NONE; ++column) {
    err = SetPresetParam(params, kColumns[column], row[column]);
  }
  return err;
}

}  // namespace

const std::vector<ParamDescriptor>& ParameterTable() { return kParameterTable; }

int FindParamIndexByDiskID(const std::vector<ParamDescriptor>& table, int diskId) {
  const auto found =
      std::find_if(table.begin(), table.end(), [diskId](const ParamDescriptor& param) { return param.id == diskId; });
  if (found == table.end()) {
    throw std::runtime_error("Parameter with given Disk ID not found");
  }
  return static_cast<int>(found - table.begin());
}

int FindParamIndexByDiskID(int diskId) { return FindParamIndexByDiskID(kParameterTable, diskId); }

// ---- Setup ----------------------------------------------------------------------

PF_Err ParamsSetup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* /*params*/[], PF_LayerDef* /*output*/) {
  if (in_data == nullptr || out_data == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  A_long aboutWidth = kDefaultAboutAreaWidth;
  A_long aboutHeight = kDefaultAboutAreaHeight;
  {
    GlobalDataLock global(in_data, out_data);
    if (global.get() != nullptr) {
      AboutAreaSize(*global.get(), &aboutWidth, &aboutHeight);
    }
  }
  return RegisterParameters(in_data, out_data, kParameterTable, aboutWidth, aboutHeight);
}

PF_Err RegisterParameters(PF_InData* in_data, PF_OutData* out_data, const std::vector<ParamDescriptor>& table,
                          A_long aboutWidth, A_long aboutHeight) {
  if (in_data == nullptr || out_data == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (in_data->inter.register_ui == nullptr || in_data->inter.add_param == nullptr) {
    return PF_Err_INVALID_CALLBACK;
  }

  PF_CustomUIInfo ui{};
  ui.events = kCustomUIEvents;
  PF_Err err = PF_REGISTER_UI(in_data, &ui);
  if (err != PF_Err_NONE) {
    return err;
  }

  for (const ParamDescriptor& param : table) {
    PF_ParamDef def{};
    if (param.uiFlags.has_value()) {
      def.ui_flags = *param.uiFlags;
    }
    if (param.flags.has_value()) {
      def.flags = *param.flags;
    }

    switch (param.type) {
      case kParamGroupStart:
        def.param_type = PF_Param_GROUP_START;
        break;
      case kParamGroupEnd:
        def.param_type = PF_Param_GROUP_END;
        break;
      case kParamInputLayer:
        // The host's own input layer (index 0) is not added.
        continue;
      case kParamPopup: {
        DRIFTSMEAR_TABLE_CHECK(param.value.has_value());
        DRIFTSMEAR_TABLE_CHECK(std::holds_alternative<std::string>(param.value.value()));
        DRIFTSMEAR_TABLE_CHECK(std::holds_alternative<int>(param.defaultValue));
        const std::string& items = std::get<std::string>(param.value.value());
        const int item = std::get<int>(param.defaultValue);
        def.param_type = PF_Param_POPUP;
        def.u.pd.num_choices = static_cast<A_short>(std::count(items.begin(), items.end(), '|') + 1);
        def.u.pd.dephault = static_cast<A_short>(item);
        def.u.pd.value = def.u.pd.dephault;
        def.u.pd.u.namesptr = items.c_str();
        break;
      }
      case kParamCustomUI:
        def.param_type = PF_Param_NO_DATA;
        def.ui_flags = kAboutAreaUIFlags;
        def.ui_width = static_cast<A_short>(aboutWidth);
        def.ui_height = static_cast<A_short>(aboutHeight + kAboutAreaExtraHeight);
        break;
      case kParamCheckbox: {
        DRIFTSMEAR_TABLE_CHECK(std::holds_alternative<bool>(param.defaultValue));
        DRIFTSMEAR_TABLE_CHECK(param.flags.has_value());
        const bool checked = std::get<bool>(param.defaultValue);
        def.param_type = PF_Param_CHECKBOX;
        def.u.bd.value = checked ? 1 : 0;
        def.u.bd.dephault = static_cast<PF_Boolean>(checked);
        def.u.bd.u.nameptr = "";
        def.flags |= param.flags.value();
        break;
      }
      case kParamFloatSlider: {
        DRIFTSMEAR_TABLE_CHECK(param.flags.has_value());
        DRIFTSMEAR_TABLE_CHECK(param.min.has_value());
        DRIFTSMEAR_TABLE_CHECK(param.max.has_value());
        DRIFTSMEAR_TABLE_CHECK(param.precision.has_value());
        DRIFTSMEAR_TABLE_CHECK(param.uiFlags.has_value());
        DRIFTSMEAR_TABLE_CHECK(std::holds_alternative<float>(param.defaultValue));
        const float value = std::get<float>(param.defaultValue);
        def.param_type = PF_Param_FLOAT_SLIDER;
        // The shared flags field holds display flags for this kind, not UI flags.
        def.ui_flags = 0;
        def.u.fs_d.valid_min = param.min.value();
        def.u.fs_d.slider_min = param.min.value();
        def.u.fs_d.valid_max = param.max.value();
        def.u.fs_d.slider_max = param.max.value();
        def.u.fs_d.value = value;
        def.u.fs_d.dephault = value;
        def.u.fs_d.precision = param.precision.value();
        def.u.fs_d.display_flags = static_cast<PF_ValueDisplayFlags>(param.uiFlags.value());
        def.u.fs_d.curve_tolerance = kSliderCurveTolerance;
        break;
      }
      case kParamAngle: {
        DRIFTSMEAR_TABLE_CHECK(std::holds_alternative<float>(param.defaultValue));
        const auto fixed = static_cast<PF_Fixed>(std::get<float>(param.defaultValue) * 65536.0f);
        def.param_type = PF_Param_ANGLE;
        def.u.ad.value = fixed;
        def.u.ad.dephault = fixed;
        break;
      }
      case kParamLayer:
        DRIFTSMEAR_TABLE_CHECK(std::holds_alternative<int>(param.defaultValue));
        def.param_type = PF_Param_LAYER;
        def.u.ld.dephault = std::get<int>(param.defaultValue);
        break;
      case kParamButton: {
        DRIFTSMEAR_TABLE_CHECK(param.value.has_value());
        DRIFTSMEAR_TABLE_CHECK(std::holds_alternative<std::string>(param.value.value()));
        def.param_type = PF_Param_BUTTON;
        def.u.button_d.u.namesptr = std::get<std::string>(param.value.value()).c_str();
        break;
      }
      default:
        // The name is left out of this line on purpose: the line reads
        // ", name: , id: <id>".
        DRIFTSMEAR_LOG_ERROR("ParamsSetup",
                             "Unimplemented parameter: " << param.type << ", name: " << ", id: " << param.id);
        continue;
    }

    CopyParamName(def.name, param.name);
    def.uu.id = param.id;
    err = PF_ADD_PARAM(in_data, -1, &def);
    if (err != PF_Err_NONE) {
      return err;
    }
  }

  out_data->num_params = static_cast<A_long>(table.size());
  return PF_Err_NONE;
}

// ---- Parameter changes --------------------------------------------------------------

PF_Err SetPresetParam(PF_ParamDef* params[], int diskId, float value) {
  if (params == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  PF_ParamDef* param = params[FindParamIndexByDiskID(diskId)];
  if (param == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  switch (param->param_type) {
    case PF_Param_ANGLE: {
      const double fixed = static_cast<double>(value) * 65536.0;
      param->u.ad.value = static_cast<PF_Fixed>(fixed + (fixed >= 0.0 ? 0.5 : -0.5));
      break;
    }
    case PF_Param_POPUP:
      param->u.pd.value = static_cast<PF_ParamValue>(value);
      break;
    case PF_Param_FLOAT_SLIDER:
      param->u.fs_d.value = static_cast<double>(value);
      break;
    default:
      // The setter is the preset application's own step; the log names it so.
      DRIFTSMEAR_LOG_ERROR("ApplyPreset::<lambda_1>::operator ()",
                           "Please implement this param type:" << param->param_type);
      return PF_Err_UNRECOGNIZED_PARAM_TYPE;
  }
  param->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
  return PF_Err_NONE;
}

PF_Err ApplyPreset(PF_InData* /*in_data*/, AEGP_EffectRefH /*effect*/, PF_ParamDef* params[], A_long item) {
  // Popup item -> values for frames, frame offset, minimum and maximum
  // velocity, velocity and displacement thresholds, motion angle and size,
  // chromatic aberration and offset, amount, trail and displace. The rows
  // differ from the slider defaults on purpose, and the slow-motion row's 500s
  // exceed the sliders' range as intended.
  const std::map<A_long, std::array<float, 13>> presets = {
      {3, {10, 1, 1, 50, 15, 100, 45, 10, 50, 0, 80, 20, 10}},
      {4, {12, 1, 1, 0, 15, 100, 45, 6, 50, 0, 80, 1.5f, 10}},
      {5, {12, 1, 0, 0, 0, 100, 45, 15, 100, 0, 100, 6, 30}},
      {6, {3, 1, 0, 0, 0, 100, 45, 7, 0, 0, 80, 100, 100}},
      {7, {12, -12, 1, 35, 15, 100, 45, 10, 50, 0, 500, 500, 50}},
  };
  const auto row = presets.find(item);
  if (row == presets.end()) {
    return PF_Err_NONE;
  }
  PF_Err err = ApplyRow(params, row->second);
  if (err == PF_Err_NONE) {
    // Back to the prompt item, so the same preset can be chosen again.
    err = SetPresetParam(params, kDiskPreset, 1.0f);
  }
  return err;
}

PF_Err UserChangedParam(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                        const PF_UserChangedParamExtra* extra) {
  if (in_data == nullptr || out_data == nullptr || params == nullptr || extra == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  GlobalDataLock global(in_data, out_data);
  ScopedSuite<AEGP_PFInterfaceSuite1> pfInterface(in_data, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1,
                                                  out_data);
  ScopedSuite<AEGP_EffectSuite2> effects(in_data, kAEGPEffectSuite, kAEGPEffectSuiteVersion2, out_data);
  ScopedAegpEffect effect(effects.get());

  PF_Err err = pfInterface->AEGP_GetNewEffectForEffect(global.pluginId(), in_data->effect_ref, effect.out());
  if (err == PF_Err_NONE && extra->param_index == FindParamIndexByDiskID(kDiskPreset)) {
    const PF_ParamDef* popup = params[extra->param_index];
    err = popup != nullptr ? ApplyPreset(in_data, effect.get(), params, popup->u.pd.value) : PF_Err_BAD_CALLBACK_PARAM;
  }
  if (err == PF_Err_NONE && extra->param_index == FindParamIndexByDiskID(kDiskStoreButton)) {
    if (!OpenStorePage()) {
      DRIFTSMEAR_LOG_ERROR("UserChangedParam", "Could not open the store page " << kStoreURL);
    }
  }
  const PF_Err disposeErr = effect.Dispose();
  return err != PF_Err_NONE ? err : disposeErr;
}

// ---- Parameter UI -------------------------------------------------------------------

PF_Err SetParamVisibility(AEGP_PluginID pluginId, PF_InData* in_data, PF_ParamDef* params[], PF_ParamIndex index,
                          bool visible) {
  if (in_data == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (in_data->appl_id == kAfterEffectsApplicationId) {
    // Every suite is acquired before any reference is made, so a missing
    // suite cannot leave a reference behind.
    ScopedSuite<AEGP_PFInterfaceSuite1> pfInterface(in_data, kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1);
    ScopedSuite<AEGP_EffectSuite4> effects(in_data, kAEGPEffectSuite, kAEGPEffectSuiteVersion4);
    SuiteHandler suites(in_data->pica_basicP);
    const AEGP_StreamSuite5* streams = suites.StreamSuite5();
    const AEGP_DynamicStreamSuite4* dynamicStreams = suites.DynamicStreamSuite4();
    ScopedAegpEffect effect(effects.get());

    AEGP_StreamRefH stream = nullptr;
    PF_Err err = pfInterface->AEGP_GetNewEffectForEffect(pluginId, in_data->effect_ref, effect.out());
    if (err == PF_Err_NONE) {
      err = streams->AEGP_GetNewEffectStreamByIndex(pluginId, effect.get(), index, &stream);
    }
    if (err == PF_Err_NONE) {
      err = dynamicStreams->AEGP_SetDynamicStreamFlag(stream, AEGP_DynStreamFlag_HIDDEN, false, !visible);
    }
    if (stream != nullptr) {
      const PF_Err disposeErr = streams->AEGP_DisposeStream(stream);
      err = err != PF_Err_NONE ? err : disposeErr;
    }
    const PF_Err disposeErr = effect.Dispose();
    return err != PF_Err_NONE ? err : disposeErr;
  }

  if (params == nullptr || index < 0 || params[index] == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  SuiteHandler suites(in_data->pica_basicP);
  const PF_ParamUtilsSuite3* paramUtils = suites.ParamUtilsSuite3();
  PF_ParamDef* param = params[index];
  if (visible) {
    param->ui_flags &= ~PF_PUI_INVISIBLE;
  } else {
    param->ui_flags |= PF_PUI_INVISIBLE;
  }
  return paramUtils->PF_UpdateParamUI(in_data->effect_ref, index, param);
}

PF_Err UpdateParamsUI(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[]) {
  if (in_data == nullptr || out_data == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  GlobalDataLock global(in_data, out_data);
  // The store button is offered only while the effect is not activated.
  const bool visible = !CurrentLicenceState().is_activated;
  return SetParamVisibility(global.pluginId(), in_data, params, FindParamIndexByDiskID(kDiskStoreButton), visible);
}
