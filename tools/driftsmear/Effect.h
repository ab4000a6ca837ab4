// The effect as the command line reaches it: the module file, the GPU
// device, a render session in our host, and the settings asked for on the
// command line (preset, parameter values, debug view) turned into parameter
// values through the host.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/EffectHost.h"
#include "host/ParameterCatalog.h"
#include "host/RenderSession.h"
#include "host/gpu/GpuDevice.h"
#include "host/media/TimeMapping.h"

namespace driftsmear {

// The module to load: --module, else $DRIFTSMEAR_MODULE, else the module
// beside the executable, else the one built with it.
std::string ResolveModulePath(const std::optional<std::string>& given);

// Loads the module once to check that it is a Drift Smear module with the
// entry points the hosts call. Throws CliError(kExitModule).
void CheckModule(const std::string& modulePath);

dshost::HostApp HostAppOf(const std::optional<std::string>& host);

// The device to render on: the one asked for, else the first CUDA device,
// else the first OpenCL GPU, else device 0. Throws CliError(kExitDevice) when
// there is none or the index is not a device.
uint32_t ChooseDevice(const std::optional<int>& requested);

// The device as a designer reads it: "CPU (OpenCL on PoCL), slow: ..." or
// "NVIDIA GPU (CUDA): name", then the full description.
std::string DeviceInWords(const dshost::GpuDeviceDesc& device);

// --repeatable: a device that runs the effect's work-groups one at a time
// (PoCL, asked for one thread). Throws CliError(kExitDevice) for any other.
void CheckRepeatable(const dshost::GpuDeviceDesc& device);

// Sets an environment variable of this process.
void SetEnvironment(const char* name, const char* value);

// "no GPU device found ..." with what to install.
std::string NoDeviceMessage();

// Sets the effect up on the device as the host application would. Throws
// CliError: kExitModule when the effect fails its setup, kExitDevice when it
// rejects the device.
std::unique_ptr<dshost::RenderSession> OpenSession(const std::string& modulePath, dshost::HostApp app,
                                                   uint32_t device);

// The effect after global and parameter setup, without a device, as a host
// sets it up before it shows the Effect Controls panel; set down again when
// destroyed. Throws CliError(kExitModule) when the effect fails either setup.
class SetUpEffect {
 public:
  explicit SetUpEffect(const std::string& modulePath, dshost::HostApp app = dshost::HostApp::AfterEffects);
  ~SetUpEffect();
  SetUpEffect(const SetUpEffect&) = delete;
  SetUpEffect& operator=(const SetUpEffect&) = delete;

  dshost::EffectHost& host() { return host_; }
  // What the effect answered to global setup (version, flags).
  const PF_OutData& globalOut() const { return globalOut_; }

 private:
  dshost::EffectHost host_;
  PF_OutData globalOut_{};
  bool setUp_ = false;
};

// One --set: the parameter and the text of its value.
struct Assignment {
  const dshost::ParameterInfo* parameter = nullptr;
  std::string text;
};

// What the command line asks of the effect, checked against the parameter
// catalog (no module needed). Throws CliError(kExitUsage) for an unknown key,
// preset or view, naming the closest one.
struct EffectSettings {
  const dshost::PopupItemInfo* preset = nullptr;
  std::vector<Assignment> assignments;
  const dshost::PopupItemInfo* view = nullptr;
};
EffectSettings ResolveSettings(const std::optional<std::string>& preset, const std::vector<std::string>& sets,
                               const std::optional<std::string>& view);

// A preset by key, English or Chinese menu text; null when none matches.
const dshost::PopupItemInfo* FindPreset(const std::string& name);

// Applies the settings to an effect set up in `host`: the preset through the
// effect's own reaction to the menu (PF_Cmd_USER_CHANGED_PARAM), then every
// assignment, then the view. An assignment "V@T,V@T" sets keyframes at times
// on the input's timeline at `frameRate`, which the host interpolates. A
// value outside a slider's range (widened to a value the preset itself set),
// or that is not a number, throws CliError(kExitUsage) with the range; a
// preset the effect fails to apply throws CliError(kExitRender).
void ApplySettings(dshost::EffectHost& host, const EffectSettings& settings,
                   dshost::Rational frameRate = dshost::Rational{25, 1});

// What to tell the user before rendering with these settings: values beyond
// the sliders (a preset's), and the chromatic offset Premiere ignores.
std::vector<std::string> SettingsWarnings(dshost::EffectHost& host, const EffectSettings& settings,
                                          dshost::HostApp app);

// "frames=12 frame-offset=1 ... premultiplied=on debug-display=result": every
// value the command line can set, as the effect holds them now.
std::string SettingsLine(dshost::EffectHost& host);

// The value range a slider was registered with.
struct SliderRange {
  double min = 0;
  double max = 0;
  int precision = 0;
};
std::optional<SliderRange> RangeOf(dshost::EffectHost& host, const dshost::ParameterInfo& parameter);

// The registered default in natural units (angles in degrees).
std::optional<double> DefaultOf(dshost::EffectHost& host, const dshost::ParameterInfo& parameter);

// "12", "45°", "on": a parameter value for people.
std::string FormatValue(const dshost::ParameterInfo& parameter, double value, int precision = 2);

// The keys, preset names and views people may type.
std::vector<std::string> SettableKeys();
std::vector<std::string> PresetKeys();

// The debug view keys of the command line (flowmag for the flow magnitude).
const char* ViewKey(const dshost::PopupItemInfo& view);

}  // namespace driftsmear
