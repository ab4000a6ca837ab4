#include "tools/driftsmear/Effect.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "host/EffectDiskIds.h"
#include "host/EffectModuleCheck.h"
#include "host/HostError.h"
#include "host/HostUI.h"
#include "host/PluginModule.h"
#include "host/gpu/GpuDevice.h"
#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/Console.h"
#include "tools/driftsmear/Text.h"

namespace driftsmear {

namespace fs = std::filesystem;
using dshost::ParameterInfo;
using dshost::ParameterKind;
using dshost::PopupItemInfo;

namespace {

using dshost::kPresetDiskId;
using dshost::kDebugDisplayDiskId;
// An angle travels as 16.16 fixed-point degrees.
constexpr double kLargestAngle = 32767.0;

bool Exists(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

std::string KindText(ParameterKind kind) {
  switch (kind) {
    case ParameterKind::Layer:
      return "the input layer";
    case ParameterKind::CustomUI:
      return "a drawing area";
    case ParameterKind::Button:
      return "a button";
    case ParameterKind::Popup:
      return "a menu";
    case ParameterKind::GroupStart:
    case ParameterKind::GroupEnd:
      return "a group";
    case ParameterKind::Slider:
      return "a slider";
    case ParameterKind::Angle:
      return "an angle";
    case ParameterKind::Checkbox:
      return "a checkbox";
  }
  return "a parameter";
}

std::optional<double> ParseSwitch(const std::string& text) {
  const std::string lower = Lower(text);
  if (lower == "1" || lower == "on" || lower == "true" || lower == "yes") {
    return 1.0;
  }
  if (lower == "0" || lower == "off" || lower == "false" || lower == "no") {
    return 0.0;
  }
  return std::nullopt;
}

const PopupItemInfo* FindView(const std::string& name) {
  const std::string lower = Lower(name);
  for (const PopupItemInfo& view : dshost::DebugViewCatalog()) {
    if (lower == ViewKey(view) || lower == view.key || lower == Lower(view.name) || lower == Lower(view.english)) {
      return &view;
    }
  }
  return nullptr;
}

std::vector<std::string> ViewKeys() {
  std::vector<std::string> keys;
  for (const PopupItemInfo& view : dshost::DebugViewCatalog()) {
    keys.emplace_back(ViewKey(view));
  }
  return keys;
}

// A parameter by its key, its Chinese name as the effect shows it, or its
// English name.
const ParameterInfo* FindSettable(const std::string& name) {
  if (const ParameterInfo* byKey = dshost::FindParameterByKey(Lower(name))) {
    return byKey;
  }
  for (const ParameterInfo& info : dshost::ParameterCatalog()) {
    if (info.kind != ParameterKind::GroupStart && info.kind != ParameterKind::GroupEnd &&
        (name == info.name || Lower(name) == Lower(info.english))) {
      return &info;
    }
  }
  return nullptr;
}

std::string Join(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) {
    text += (text.empty() ? "" : ", ") + item;
  }
  return text;
}

}  // namespace

std::string ResolveModulePath(const std::optional<std::string>& given) {
  if (given) {
    if (!Exists(PathFromUtf8(*given))) {
      throw CliError(kExitModule, "plug-in module not found: " + *given);
    }
    return *given;
  }
  if (const char* fromEnvironment = std::getenv("DRIFTSMEAR_MODULE"); fromEnvironment && *fromEnvironment) {
    if (!Exists(PathFromUtf8(fromEnvironment))) {
      throw CliError(kExitModule, std::string("plug-in module not found: ") + fromEnvironment +
                                      " (named by DRIFTSMEAR_MODULE)");
    }
    return fromEnvironment;
  }
  const fs::path executable = ExecutablePath();
  if (!executable.empty()) {
    const fs::path beside = executable.parent_path() / DRIFTSMEAR_MODULE_FILE_NAME;
    if (Exists(beside)) {
      return PathToUtf8(beside);
    }
  }
  if (Exists(DRIFTSMEAR_BUILT_MODULE)) {
    return DRIFTSMEAR_BUILT_MODULE;
  }
  throw CliError(kExitModule, std::string("plug-in module ") + DRIFTSMEAR_MODULE_FILE_NAME +
                                  " not found beside the program or at " + DRIFTSMEAR_BUILT_MODULE +
                                  "; build it or pass --module PATH");
}

void CheckModule(const std::string& modulePath) {
  try {
    dshost::CheckDriftSmearModule(modulePath);
  } catch (const dshost::HostError& error) {
    throw CliError(kExitModule, error.what());
  }
}

dshost::HostApp HostAppOf(const std::optional<std::string>& host) {
  return host && *host == "premiere" ? dshost::HostApp::Premiere : dshost::HostApp::AfterEffects;
}

namespace {

bool IsPocl(const dshost::GpuDeviceDesc& device) {
  return device.api == dshost::GpuApi::OpenCL && device.platformName.find("Portable Computing Language") != std::string::npos;
}

}  // namespace

std::string DeviceInWords(const dshost::GpuDeviceDesc& device) {
  std::string words;
  if (device.api == dshost::GpuApi::Cuda) {
    words = "NVIDIA GPU (CUDA): " + device.name;
  } else if (IsPocl(device)) {
    words = "CPU (OpenCL on PoCL), slow: a GPU renders this tens of times faster";
  } else {
    cl_device_type type = 0;
    const bool gpu = device.clDevice != nullptr &&
                     clGetDeviceInfo(device.clDevice, CL_DEVICE_TYPE, sizeof(type), &type, nullptr) == CL_SUCCESS &&
                     (type & CL_DEVICE_TYPE_GPU) != 0;
    words = std::string(gpu ? "GPU" : "CPU") + " (OpenCL): " + device.name;
  }
  return words + " [" + device.Describe() + "]";
}

void CheckRepeatable(const dshost::GpuDeviceDesc& device) {
  if (!IsPocl(device)) {
    throw CliError(kExitDevice,
                   "--repeatable cannot be guaranteed on " + device.Describe() +
                       ": the effect composites each pass in place, and a GPU runs its work-groups side by side, so "
                       "two renders may differ in a few pixels; only PoCL (OpenCL on the CPU) can be held to one "
                       "thread");
  }
}

void SetEnvironment(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value);
#else
  setenv(name, value, 1);
#endif
}

std::string NoDeviceMessage() { return dshost::NoGpuDeviceMessage(); }

uint32_t ChooseDevice(const std::optional<int>& requested) {
  const std::vector<dshost::GpuDeviceDesc>& devices = dshost::EnumerateGpuDevices();
  if (devices.empty()) {
    throw CliError(kExitDevice, NoDeviceMessage());
  }
  if (requested) {
    if (*requested < 0 || static_cast<size_t>(*requested) >= devices.size()) {
      throw CliError(kExitDevice, "there is no device " + std::to_string(*requested) + ": devices 0 to " +
                                      std::to_string(devices.size() - 1) + " (see 'driftsmear info')");
    }
    return static_cast<uint32_t>(*requested);
  }
  return dshost::PreferredGpuDevice().value_or(devices.front().index);
}

std::unique_ptr<dshost::RenderSession> OpenSession(const std::string& modulePath, dshost::HostApp app,
                                                   uint32_t device) {
  const std::string deviceName = dshost::EnumerateGpuDevices().at(device).Describe();
  try {
    dshost::RenderSessionOptions options;
    options.app = app;
    options.deviceIndex = device;
    return std::make_unique<dshost::RenderSession>(modulePath, options);
  } catch (const dshost::RenderError& error) {
    if (error.command() == PF_Cmd_GLOBAL_SETUP || error.command() == PF_Cmd_PARAMS_SETUP) {
      throw CliError(kExitModule, std::string("the plug-in failed to start: ") + error.what());
    }
    throw CliError(kExitDevice, "cannot render on " + deviceName + ": " + error.what());
  } catch (const dshost::HostError& error) {
    throw CliError(kExitDevice, "cannot render on " + deviceName + ": " + error.what());
  } catch (const std::exception& error) {
    throw CliError(kExitModule, std::string("the plug-in failed to start: ") + error.what());
  }
}

SetUpEffect::SetUpEffect(const std::string& modulePath, dshost::HostApp app) : host_(modulePath, app) {
  if (host_.Call(PF_Cmd_GLOBAL_SETUP) != PF_Err_NONE) {
    throw CliError(kExitModule, "the plug-in failed its global setup: " + std::string(host_.out_data().return_msg));
  }
  globalOut_ = host_.out_data();
  setUp_ = true;
  if (host_.Call(PF_Cmd_PARAMS_SETUP) != PF_Err_NONE) {
    host_.Call(PF_Cmd_GLOBAL_SETDOWN);
    setUp_ = false;
    throw CliError(kExitModule, "the plug-in failed its parameter setup");
  }
}

SetUpEffect::~SetUpEffect() {
  if (setUp_) {
    host_.Call(PF_Cmd_GLOBAL_SETDOWN);
  }
}

const PopupItemInfo* FindPreset(const std::string& name) {
  const std::string lower = Lower(name);
  for (const PopupItemInfo& preset : dshost::PresetCatalog()) {
    if (preset.item < 3) {
      continue;  // the prompt and the separator apply nothing
    }
    if (lower == preset.key || lower == Lower(preset.english) || name == preset.name) {
      return &preset;
    }
  }
  return nullptr;
}

std::vector<std::string> PresetKeys() {
  std::vector<std::string> keys;
  for (const PopupItemInfo& preset : dshost::PresetCatalog()) {
    if (preset.item >= 3) {
      keys.emplace_back(preset.key);
    }
  }
  return keys;
}

std::vector<std::string> SettableKeys() {
  std::vector<std::string> keys;
  for (const ParameterInfo& info : dshost::ParameterCatalog()) {
    if (info.kind == ParameterKind::Slider || info.kind == ParameterKind::Angle ||
        info.kind == ParameterKind::Checkbox || info.diskId == kDebugDisplayDiskId) {
      keys.emplace_back(info.key);
    }
  }
  return keys;
}

const char* ViewKey(const PopupItemInfo& view) { return view.item == 4 ? "flowmag" : view.key; }

EffectSettings ResolveSettings(const std::optional<std::string>& preset, const std::vector<std::string>& sets,
                               const std::optional<std::string>& view) {
  EffectSettings settings;
  if (preset) {
    settings.preset = FindPreset(*preset);
    if (settings.preset == nullptr) {
      throw CliError(kExitUsage, "unknown preset '" + *preset + "'" + DidYouMean(*preset, PresetKeys()) +
                                     "; presets: " + Join(PresetKeys()));
    }
  }
  for (const std::string& set : sets) {
    const size_t equals = set.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw CliError(kExitUsage, "--set takes KEY=VALUE, not '" + set + "'");
    }
    const std::string key = set.substr(0, equals);
    const ParameterInfo* info = FindSettable(key);
    if (info == nullptr) {
      throw CliError(kExitUsage, "unknown parameter '" + key + "'" + DidYouMean(key, SettableKeys()) +
                                     "; 'driftsmear info' lists the keys");
    }
    if (info->diskId == kPresetDiskId) {
      throw CliError(kExitUsage, "choose a preset with --preset NAME, not --set preset=...");
    }
    const bool settable = info->kind == ParameterKind::Slider || info->kind == ParameterKind::Angle ||
                          info->kind == ParameterKind::Checkbox || info->diskId == kDebugDisplayDiskId;
    if (!settable) {
      throw CliError(kExitUsage, "parameter '" + key + "' is " + KindText(info->kind) + " and has no value to set");
    }
    settings.assignments.push_back(Assignment{info, set.substr(equals + 1)});
  }
  if (view) {
    settings.view = FindView(*view);
    if (settings.view == nullptr) {
      throw CliError(kExitUsage, "unknown view '" + *view + "'" + DidYouMean(*view, ViewKeys()) +
                                     "; views: " + Join(ViewKeys()));
    }
  }
  return settings;
}

std::optional<SliderRange> RangeOf(dshost::EffectHost& host, const ParameterInfo& parameter) {
  if (parameter.kind != ParameterKind::Slider) {
    return std::nullopt;
  }
  const PF_ParamIndex index = host.parameters().IndexOfDiskId(parameter.diskId);
  if (index < 0) {
    return std::nullopt;
  }
  const PF_ParamDef def = host.parameters().Definition(index);
  if (def.param_type != PF_Param_FLOAT_SLIDER) {
    return std::nullopt;
  }
  return SliderRange{def.u.fs_d.valid_min, def.u.fs_d.valid_max, def.u.fs_d.precision};
}

std::optional<double> DefaultOf(dshost::EffectHost& host, const ParameterInfo& parameter) {
  const PF_ParamIndex index = host.parameters().IndexOfDiskId(parameter.diskId);
  if (index < 0) {
    return std::nullopt;
  }
  const PF_ParamDef def = host.parameters().Definition(index);
  switch (def.param_type) {
    case PF_Param_FLOAT_SLIDER:
      return def.u.fs_d.dephault;
    case PF_Param_ANGLE:
      return def.u.ad.dephault / 65536.0;
    case PF_Param_CHECKBOX:
      return def.u.bd.dephault != 0 ? 1.0 : 0.0;
    case PF_Param_POPUP:
      return def.u.pd.dephault;
    default:
      return std::nullopt;
  }
}

std::string FormatValue(const ParameterInfo& parameter, double value, int precision) {
  switch (parameter.kind) {
    case ParameterKind::Angle:
      return FormatNumber(value, precision) + "°";
    case ParameterKind::Checkbox:
      return value != 0 ? "on" : "off";
    case ParameterKind::Popup: {
      const auto& items = parameter.diskId == kPresetDiskId ? dshost::PresetCatalog() : dshost::DebugViewCatalog();
      for (const PopupItemInfo& item : items) {
        if (item.item == static_cast<A_long>(value)) {
          return parameter.diskId == kDebugDisplayDiskId ? ViewKey(item) : item.key;
        }
      }
      return FormatNumber(value, 0);
    }
    default:
      return FormatNumber(value, precision);
  }
}

std::string SettingsLine(dshost::EffectHost& host) {
  std::string line;
  for (const std::string& key : SettableKeys()) {
    const ParameterInfo& info = *dshost::FindParameterByKey(key);
    const PF_ParamIndex index = host.parameters().IndexOf(info.diskId);
    const size_t keys = host.parameters().KeyframeCount(index);
    line += (line.empty() ? "" : " ") + key + "=" +
            (keys > 0 ? std::to_string(keys) + " keyframes" : FormatValue(info, host.parameters().Value(index)));
  }
  return line;
}

void ApplySettings(dshost::EffectHost& host, const EffectSettings& settings, dshost::Rational frameRate) {
  dshost::ParameterStore& store = host.parameters();
  // A preset may set sliders beyond their ranges (slow-motion's 500s); a value
  // up to the preset's own is then allowed too.
  std::map<A_long, double> presetValues;
  if (settings.preset != nullptr) {
    // As in After Effects: the menu takes the item, then the effect hears of
    // the change and writes the preset's values itself.
    const PF_ParamIndex index = store.IndexOf(kPresetDiskId);
    store.SetValue(index, settings.preset->item);
    const PF_Err err = host.UserChangedParam(index);
    if (err != PF_Err_NONE) {
      throw CliError(kExitRender, std::string("the effect failed to apply the preset '") + settings.preset->key +
                                      "' (error " + std::to_string(err) + ")");
    }
    for (const ParameterInfo& info : dshost::ParameterCatalog()) {
      if (info.kind == ParameterKind::Slider) {
        presetValues[info.diskId] = store.ValueById(info.diskId);
      }
    }
  }
  for (const Assignment& assignment : settings.assignments) {
    const ParameterInfo& info = *assignment.parameter;
    const std::string shown = std::string(info.key) + "=" + assignment.text;
    const auto parseValue = [&](const std::string& text) -> double {
      if (info.kind == ParameterKind::Checkbox) {
        const auto parsed = ParseSwitch(text);
        if (!parsed) {
          throw CliError(kExitUsage, shown + ": " + info.key + " is on or off (also 1/0, true/false, yes/no)");
        }
        return *parsed;
      }
      if (info.diskId == kDebugDisplayDiskId) {
        const PopupItemInfo* view = FindView(text);
        if (view == nullptr) {
          throw CliError(kExitUsage, shown + ": unknown view" + DidYouMean(text, ViewKeys()) +
                                         "; views: " + Join(ViewKeys()));
        }
        return view->item;
      }
      const auto parsed = ParseNumber(text);
      if (!parsed) {
        throw CliError(kExitUsage, shown + ": " + info.key + " takes a number");
      }
      const double value = *parsed;
      if (info.kind == ParameterKind::Angle && std::fabs(value) > kLargestAngle) {
        throw CliError(kExitUsage, shown + " is out of range: angles go from -32767 to 32767 degrees");
      }
      if (auto range = RangeOf(host, info)) {
        std::string because;
        if (const auto preset = presetValues.find(info.diskId);
            preset != presetValues.end() && (preset->second < range->min || preset->second > range->max)) {
          range->min = std::min(range->min, preset->second);
          range->max = std::max(range->max, preset->second);
          because = " with the preset " + std::string(settings.preset->key);
        }
        if (value < range->min || value > range->max) {
          throw CliError(kExitUsage, shown + " is out of range: " + info.key + " goes from " +
                                         FormatNumber(range->min, range->precision) + " to " +
                                         FormatNumber(range->max, range->precision) + because);
        }
      }
      return value;
    };
    const PF_ParamIndex index = store.IndexOf(info.diskId);
    if (assignment.text.find('@') == std::string::npos) {
      store.SetValue(index, parseValue(assignment.text));
      continue;
    }
    // Keyframes: VALUE@TIME, comma-separated.
    std::vector<std::pair<int64_t, double>> keys;
    size_t start = 0;
    while (start <= assignment.text.size()) {
      const size_t comma = std::min(assignment.text.find(',', start), assignment.text.size());
      const std::string key = assignment.text.substr(start, comma - start);
      const size_t at = key.find('@');
      if (at == std::string::npos || at == 0 || at + 1 == key.size()) {
        throw CliError(kExitUsage, shown + ": keyframes are VALUE@TIME separated by commas, as in " + info.key +
                                       "=0@0s,100@2s; '" + key + "' is not one");
      }
      const std::string time = key.substr(at + 1);
      const auto frame = ParseTimeToFrames(time, frameRate);
      if (!frame) {
        throw CliError(kExitUsage, shown + ": '" + time +
                                       "' is not a time: use seconds (2.5), frames (60f) or a clock time (1:30)");
      }
      keys.emplace_back(*frame, parseValue(key.substr(0, at)));
      start = comma + 1;
    }
    store.ClearKeyframes(index);
    for (const auto& [frame, value] : keys) {
      // Keyframes sit on the input's frames: frame f is at f x den / num seconds.
      store.SetKeyframe(index, static_cast<A_long>(frame * frameRate.den), static_cast<A_u_long>(frameRate.num),
                        value);
    }
  }
  if (settings.view != nullptr) {
    store.SetValueById(kDebugDisplayDiskId, settings.view->item);
  }
}

std::vector<std::string> SettingsWarnings(dshost::EffectHost& host, const EffectSettings& settings,
                                          dshost::HostApp app) {
  std::vector<std::string> warnings;
  const dshost::ParameterStore& store = host.parameters();
  std::string beyond;
  for (const ParameterInfo& info : dshost::ParameterCatalog()) {
    const auto range = RangeOf(host, info);
    if (!range) {
      continue;
    }
    const double value = store.ValueById(info.diskId);
    if (value < range->min || value > range->max) {
      beyond += (beyond.empty() ? "" : ", ") + std::string(info.key) + "=" + FormatValue(info, value) + " (slider " +
                FormatNumber(range->min, range->precision) + " to " + FormatNumber(range->max, range->precision) +
                ")";
    }
  }
  if (!beyond.empty()) {
    warnings.push_back(
        "beyond the sliders' ranges" +
        (settings.preset != nullptr ? std::string(", as the preset ") + settings.preset->key + " sets them" : "") +
        ": " + beyond + "; the effect renders these values as they stand");
  }
  if (app == dshost::HostApp::Premiere) {
    const A_long offsetId = dshost::FindParameterByKey("chromatic-offset")->diskId;
    const PF_ParamIndex index = store.IndexOf(offsetId);
    if (store.KeyframeCount(index) > 0 || store.Value(index) != 0.0) {
      warnings.push_back("under --host premiere the chromatic offset has no effect: Premiere's filter reads that "
                         "angle as a 64-bit value while the host hands angles as 32-bit floats");
    }
  }
  return warnings;
}

}  // namespace driftsmear
