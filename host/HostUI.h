// What an effect tells the host about itself outside of rendering: its
// registration entry, the label of its options button and the pixel formats
// it accepts. The effect UI and pixel format suites record into the state of
// the calling thread's current host; tests read it back.
#pragma once
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "AE_EffectUI.h"
#include "AE_PluginData.h"
#include "PrSDKPixelFormat.h"

namespace dshost {

class HostRuntime;
class PluginModule;

// One effect reported through the module's PluginDataEntryFunction.
struct EffectRegistration {
  std::string name;
  std::string matchName;
  std::string category;
  std::string entryPoint;
  A_long kind = 0;
  A_long apiVersionMajor = 0;
  A_long apiVersionMinor = 0;
  A_long reservedInfo = 0;
};

// The result of asking a module to register its effects.
struct RegistrationResult {
  A_Err err = A_Err_NONE;
  std::vector<EffectRegistration> effects;
};

// Calls the module's PluginDataEntryFunction with a callback that records
// every effect it reports, as the hosts do before loading an effect. The
// host name and version are passed as After Effects or Premiere Pro pass them.
// Throws HostError when the module does not export the function.
RegistrationResult RegisterEffects(const PluginModule& module, bool premiere = false);

class DrawbotCanvas;

// One PF_Event_DRAW as the host sends it with PF_Cmd_EVENT, with the context
// that carries the canvas' drawing reference ("PF Effect Custom UI Suite"
// hands it back from there). The record points into itself, so it stays
// where it was made.
class DrawEventRecord {
 public:
  // The Composition or Layer window: the update rectangle is the canvas.
  DrawEventRecord(const DrawbotCanvas& canvas, PF_WindowType window);
  // The Effect Controls panel: one area of the parameter at `index`, the
  // control frame given in the canvas' coordinates.
  DrawEventRecord(const DrawbotCanvas& canvas, const PF_Rect& controlFrame, PF_EffectArea area, PF_ParamIndex index);
  DrawEventRecord(const DrawEventRecord&) = delete;
  DrawEventRecord& operator=(const DrawEventRecord&) = delete;

  PF_EventExtra* get() { return &extra_; }
  PF_Context& context() { return context_; }

 private:
  PF_Context context_{};
  PF_ContextPtr contextPtr_ = nullptr;
  PF_EventExtra extra_{};
};

class HostUIState {
 public:
  // Reports the pixel format of a world the host made itself (GPU worlds);
  // false when the resolver does not know the world.
  using WorldPixelFormatResolver = std::function<bool(const PF_EffectWorld& world, PrPixelFormat* format)>;

  // The state serves the suite calls made while this runtime is current.
  explicit HostUIState(HostRuntime& runtime);
  ~HostUIState();
  HostUIState(const HostUIState&) = delete;
  HostUIState& operator=(const HostUIState&) = delete;

  // The state of the calling thread's current host (see HostScope), or null.
  static HostUIState* Current();

  // ---- "PF Effect UI Suite" ------------------------------------------------------
  void SetOptionsButtonName(const std::string& name);
  std::string OptionsButtonName() const;
  int OptionsButtonNameCalls() const;

  // ---- "PF Pixel Format Suite" ---------------------------------------------------
  void ClearPixelFormats();
  void AddPixelFormat(PrPixelFormat format);
  // The formats the effect declared, in order (duplicates kept).
  std::vector<PrPixelFormat> PixelFormats() const;
  int ClearPixelFormatsCalls() const;

  void SetWorldPixelFormatResolver(WorldPixelFormatResolver resolver);
  // A world the resolver knows reports its own format (a GPU world, for
  // instance); any other world the first declared format. Without either:
  // PrPixelFormat_Invalid and PF_Err_BAD_CALLBACK_PARAM.
  PF_Err WorldPixelFormat(const PF_EffectWorld& world, PrPixelFormat* format) const;

 private:
  HostRuntime& runtime_;
  mutable std::mutex mutex_;
  std::string optionsButtonName_;
  int optionsButtonNameCalls_ = 0;
  std::vector<PrPixelFormat> pixelFormats_;
  int clearPixelFormatsCalls_ = 0;
  WorldPixelFormatResolver resolver_;
};

}  // namespace dshost
