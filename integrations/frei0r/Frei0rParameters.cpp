#include "integrations/frei0r/Frei0rParameters.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>

#include "host/EffectDiskIds.h"
#include "host/EffectHost.h"

namespace dsfrei0r {

using dshost::ParameterInfo;
using dshost::ParameterKind;
using dshost::PopupItemInfo;

namespace {

using dshost::kPresetDiskId;
using dshost::kDebugDisplayDiskId;
// A frei0r angle's 0–1 is one turn.
constexpr double kFullTurn = 360.0;

// What each parameter does, for the host's parameter list.
const std::map<std::string, const char*>& Descriptions() {
  static const std::map<std::string, const char*> descriptions = {
      {"preset",
       "Applied before the other parameters, which override it when given: default, fine, strong, "
       "stutter or slow-motion (English or Chinese names also work); empty for none"},
      {"debug-display", "What the effect shows: result, motion, displace, flowmag (flow magnitude) or shift"},
      {"frames", "Number of frames blended: the current one and the earlier ones before it"},
      {"frame-offset",
       "Spacing of the earlier frames, in frames; below 0 it reaches later frames, which a frei0r filter never "
       "has, so they are served by the newest frame"},
      {"min-velocity", "Lower edge of the speed band at which the smear fades in"},
      {"max-velocity", "Upper edge of that speed band"},
      {"velocity-threshold", "Centre of the flow-magnitude band that gates the effect"},
      {"displace-threshold", "Regulariser of the optical-flow estimate: higher is smoother and weaker"},
      {"motion-angle", "Direction in which the flow gradients are sampled"},
      {"motion-size", "Distance at which the flow gradients are sampled"},
      {"amount", "Strength of the blend of each smeared frame (easing exponent)"},
      {"trail", "Length of the trail along the flow"},
      {"displace", "Displacement of the picture along the flow"},
      {"chromatic", "Strength of the red/blue split"},
      {"chromatic-offset", "Phase of the red/blue split"},
      {"premultiplied", "Treat the input as premultiplied by alpha"},
  };
  return descriptions;
}

std::string Number(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f", decimals, value);
  return text;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool Settable(const ParameterInfo& info) {
  return info.kind == ParameterKind::Slider || info.kind == ParameterKind::Angle ||
         info.kind == ParameterKind::Checkbox;
}

// The effect after global and parameter setup, set down again on scope exit.
struct SetUpOnce {
  explicit SetUpOnce(const std::string& path) : host(path) {
    if (host.Call(PF_Cmd_GLOBAL_SETUP) != PF_Err_NONE) {
      throw std::runtime_error("the effect failed its global setup");
    }
    setUp = true;
    if (host.Call(PF_Cmd_PARAMS_SETUP) != PF_Err_NONE) {
      throw std::runtime_error("the effect failed its parameter setup");
    }
  }
  ~SetUpOnce() {
    if (setUp) {
      host.Call(PF_Cmd_GLOBAL_SETDOWN);
    }
  }
  SetUpOnce(const SetUpOnce&) = delete;
  SetUpOnce& operator=(const SetUpOnce&) = delete;
  dshost::EffectHost host;
  bool setUp = false;
};

// The default's x is rounded up, so that typing it gives at least the
// default: the frame count drops its fraction.
void Describe(Frei0rParameter& parameter, bool known) {
  const ParameterInfo& info = *parameter.info;
  std::string text = std::string(info.english) + ": " + Descriptions().at(info.key);
  switch (parameter.type) {
    case Frei0rType::String:
      text += ". Default: " + (parameter.defaultText.empty() ? std::string("none") : parameter.defaultText);
      break;
    case Frei0rType::Bool:
      text += known ? std::string(". Default: ") + (parameter.defaultValue != 0 ? "on" : "off") : std::string();
      break;
    case Frei0rType::Double:
      if (!known) {
        text += ". 0..1 maps linearly onto the effect's range (unknown: the effect did not load)";
        break;
      }
      const int decimals = info.kind == ParameterKind::Angle ? 0 : 2;
      text += ". 0..1 maps linearly onto " + Number(parameter.min, decimals) + ".." +
              Number(parameter.max, decimals) + (info.kind == ParameterKind::Angle ? " degrees" : "") +
              ": value = " + Number(parameter.min, decimals) + " + x * " +
              Number(parameter.max - parameter.min, decimals) + "; default " +
              Number(parameter.defaultValue, decimals) + " (x = " + Number(std::max(0.0, std::ceil(parameter.ToUnit(parameter.defaultValue) * 1e4 - 1e-6) / 1e4), 4) +
              ")";
      break;
  }
  parameter.explanation = text;
}

}  // namespace

double Frei0rParameter::ToNatural(double unit) const {
  if (std::isnan(unit)) {
    return defaultValue;
  }
  return min + std::clamp(unit, 0.0, 1.0) * (max - min);
}

double Frei0rParameter::ToUnit(double natural) const {
  if (max <= min) {
    return 0.0;
  }
  return std::clamp((natural - min) / (max - min), 0.0, 1.0);
}

Frei0rParameterTable::Frei0rParameterTable(const std::string& modulePath) : modulePath_(modulePath) {
  // The preset comes first, so that a host which sets parameters by position
  // (ffmpeg) can choose it alone; the debug view, rarely wanted, comes last.
  const auto& catalog = dshost::ParameterCatalog();
  const auto add = [&](const ParameterInfo& info) {
    Frei0rParameter parameter;
    parameter.info = &info;
    if (info.kind == ParameterKind::Popup) {
      parameter.type = Frei0rType::String;
      parameter.defaultText = info.diskId == kDebugDisplayDiskId ? "result" : "";
    } else if (info.kind == ParameterKind::Checkbox) {
      parameter.type = Frei0rType::Bool;
    } else if (info.kind == ParameterKind::Angle) {
      parameter.max = kFullTurn;
    }
    parameters_.push_back(parameter);
  };
  add(*dshost::FindParameterByDiskId(kPresetDiskId));
  for (const ParameterInfo& info : catalog) {
    if (Settable(info)) {
      add(info);
    }
  }
  add(*dshost::FindParameterByDiskId(kDebugDisplayDiskId));

  if (modulePath_.empty()) {
    loadError_ = "the Drift Smear module (DriftSmear.so) was not found";
  } else {
    try {
      SetUpOnce effect(modulePath_);
      dshost::ParameterStore& store = effect.host.parameters();
      for (Frei0rParameter& parameter : parameters_) {
        const PF_ParamDef def = store.Definition(store.IndexOf(parameter.info->diskId));
        switch (def.param_type) {
          case PF_Param_FLOAT_SLIDER:
            parameter.min = def.u.fs_d.valid_min;
            parameter.max = def.u.fs_d.valid_max;
            parameter.defaultValue = def.u.fs_d.dephault;
            break;
          case PF_Param_ANGLE:
            parameter.defaultValue = def.u.ad.dephault / 65536.0;
            break;
          case PF_Param_CHECKBOX:
            parameter.defaultValue = def.u.bd.dephault != 0 ? 1.0 : 0.0;
            break;
          default:
            break;
        }
      }
    } catch (const std::exception& error) {
      loadError_ = "the Drift Smear module " + modulePath_ + " cannot be used: " + error.what();
    }
  }
  for (Frei0rParameter& parameter : parameters_) {
    Describe(parameter, loadError_.empty());
  }
}

const Frei0rParameter* Frei0rParameterTable::at(int index) const {
  if (index < 0 || index >= size()) {
    return nullptr;
  }
  return &parameters_[static_cast<size_t>(index)];
}

const PopupItemInfo* FindPresetItem(const std::string& text) {
  const std::string lower = Lower(text);
  for (const PopupItemInfo& preset : dshost::PresetCatalog()) {
    // The prompt and the separator apply nothing.
    if (preset.item >= 3 && (lower == preset.key || lower == Lower(preset.english) || text == preset.name)) {
      return &preset;
    }
  }
  return nullptr;
}

const PopupItemInfo* FindViewItem(const std::string& text) {
  const std::string lower = Lower(text);
  if (lower == "flowmag") {
    return dshost::FindPopupItem(dshost::DebugViewCatalog(), "flow-magnitude");
  }
  for (const PopupItemInfo& view : dshost::DebugViewCatalog()) {
    if (lower == view.key || lower == Lower(view.name) || lower == Lower(view.english)) {
      return &view;
    }
  }
  return nullptr;
}

}  // namespace dsfrei0r
