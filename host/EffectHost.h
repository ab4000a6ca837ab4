// One effect loaded into our host as After Effects or Premiere Pro loads it:
// the module, the suites offered to it, the global data it keeps between
// calls, and the commands sent through its entry point.
#pragma once
#include <memory>
#include <optional>
#include <string>

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "host/HostRuntime.h"
#include "host/HostUI.h"
#include "host/ParameterStore.h"
#include "host/PluginModule.h"
#include "host/gpu/GpuHost.h"

namespace dshost {

class DrawbotCanvas;

enum class HostApp { AfterEffects, Premiere };

inline constexpr A_long kAfterEffectsApplId = 'FXTC';
inline constexpr A_long kPremiereApplId = 'PrMr';

class EffectHost {
 public:
  EffectHost(const std::string& modulePath, HostApp app = HostApp::AfterEffects);
  ~EffectHost();
  EffectHost(const EffectHost&) = delete;
  EffectHost& operator=(const EffectHost&) = delete;

  // Sends one command through EffectMain with a fresh PF_OutData; returns the
  // plug-in's result. The global data the plug-in set up is passed back to it
  // on every later call.
  PF_Err Call(PF_Cmd cmd, PF_ParamDef* params[] = nullptr, PF_LayerDef* output = nullptr, void* extra = nullptr);
  // Sends a render command with the caller's own input and output records,
  // as a render thread of a host that renders several frames at once does;
  // safe to call from several threads while no other command is sent. The
  // global data is passed as with Call; `out` starts fresh.
  PF_Err CallOn(PF_Cmd cmd, PF_InData& in, PF_OutData& out, PF_ParamDef* params[] = nullptr,
                PF_LayerDef* output = nullptr, void* extra = nullptr);

  // The input record sent with the next call; tests may change its fields.
  PF_InData& in_data() { return inData_; }
  // The output record of the last call.
  const PF_OutData& out_data() const { return outData_; }

  HostApp app() const { return app_; }
  HostRuntime& runtime() { return runtime_; }
  PluginModule& module() { return module_; }
  PF_Handle global_data() const { return globalData_; }

  // The parameters of this instance: definitions, values, keyframes and what
  // the plug-in asked the host to show or hide.
  ParameterStore& parameters() { return parameters_; }
  // params[] with the values at `time` (in_data's current time by default).
  ParamArray ParamsArray(std::optional<A_long> time = std::nullopt);
  // Sends a command that takes params[]: fills them with the values at
  // in_data's current time and afterwards takes over every value the plug-in
  // marked PF_ChangeFlag_CHANGED_VALUE, as After Effects does.
  PF_Err CallWithParams(PF_Cmd cmd, void* extra = nullptr, PF_LayerDef* output = nullptr);
  // PF_Cmd_USER_CHANGED_PARAM for the parameter at `index`.
  PF_Err UserChangedParam(PF_ParamIndex index);

  // ---- Registration and custom UI (EffectHostUI.cpp) ----------------------------
  // Registers the module's effects through its PluginDataEntryFunction.
  RegistrationResult Register();
  // What the effect declared through the effect UI and pixel format suites.
  HostUIState& ui() { return ui_; }
  // A PF_Event_DRAW for the Effect Controls panel: the area (the control area
  // by default) of the parameter at `index` (by default the one that
  // registered a custom control area), with the control frame given in the
  // canvas' coordinates. The effect draws into the canvas.
  PF_Err DrawEffectControls(DrawbotCanvas& canvas, const PF_Rect& controlFrame, PF_EffectArea area = PF_EA_CONTROL,
                            std::optional<PF_ParamIndex> index = std::nullopt);
  // A PF_Event_DRAW for the Composition (or Layer) window, the canvas being
  // the whole window.
  PF_Err DrawCompositionWindow(DrawbotCanvas& canvas, PF_WindowType window = PF_Window_COMP);
  // The event out flags the effect returned from the last draw event.
  PF_EventOutFlags last_event_out_flags() const { return lastEventOutFlags_; }

  // The GPU devices, worlds and smart render request this instance is served
  // with (host/gpu, host/SmartRender.h).
  GpuHost& gpu() { return gpu_; }

  // The effect reference handed to the plug-in; callbacks turn it back into
  // this host.
  PF_ProgPtr effect_ref() { return reinterpret_cast<PF_ProgPtr>(this); }
  static EffectHost* FromEffectRef(PF_ProgPtr ref) { return reinterpret_cast<EffectHost*>(ref); }

 private:
  HostApp app_;
  PluginModule module_;
  PF_FilterProc entry_;
  HostRuntime runtime_;
  PF_InData inData_{};
  PF_OutData outData_{};
  PF_Handle globalData_ = nullptr;
  ParameterStore parameters_{runtime_, effect_ref()};
  HostUIState ui_{runtime_};
  GpuHost gpu_{runtime_};
  PF_EventOutFlags lastEventOutFlags_ = PF_EO_NONE;

  PF_Err SendDrawEvent(PF_EventExtra& extra);
};

}  // namespace dshost
