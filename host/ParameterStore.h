// The parameters of one effect instance as the host keeps them: the
// definitions the plug-in added (in order, with their Disk IDs), the values
// over time with linearly interpolated keyframes, the custom UI it
// registered, and what it asked the host to show, hide or redraw. Tests read
// all of it back.
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "AE_GeneralPlug.h"

namespace dshost {

class HostRuntime;

// params[] for one command: the host's current values at one time. The
// plug-in may change values and mark them with PF_ChangeFlag_CHANGED_VALUE;
// ParameterStore::ReadBack takes those changes over.
class ParamArray {
 public:
  ParamArray() = default;
  ParamArray(ParamArray&&) = default;
  ParamArray& operator=(ParamArray&&) = default;
  ParamArray(const ParamArray&) = delete;
  ParamArray& operator=(const ParamArray&) = delete;

  PF_ParamDef** data() { return pointers_.data(); }
  PF_ParamDef* operator[](size_t index) { return pointers_[index]; }
  size_t size() const { return pointers_.size(); }

 private:
  friend class ParameterStore;
  std::vector<std::unique_ptr<PF_ParamDef>> defs_;
  std::vector<PF_ParamDef*> pointers_;
};

class ParameterStore {
 public:
  // One PF_UpdateParamUI call as the host received it.
  struct UIUpdate {
    PF_ParamIndex index;
    PF_ParamDef def;
  };
  // One AEGP_SetDynamicStreamFlag call.
  struct StreamFlagChange {
    PF_ParamIndex index;
    AEGP_DynStreamFlags flag;
    bool undoable;
    bool set;
  };
  struct Registration {
    std::string name;
    AEGP_PluginID id;
  };

  // The store serves the callbacks of the host whose runtime and effect
  // reference are given.
  ParameterStore(HostRuntime& runtime, PF_ProgPtr effectRef);
  ~ParameterStore();
  ParameterStore(const ParameterStore&) = delete;
  ParameterStore& operator=(const ParameterStore&) = delete;

  // The store of the calling thread's current host (see HostScope), or null.
  static ParameterStore* Current();
  PF_ProgPtr effect_ref() const { return effectRef_; }

  // Forgets every definition and value; index 0 stays the input layer.
  void Reset();

  // ---- Definitions -----------------------------------------------------------
  // add_param: index -1 (or the next index) appends.
  PF_Err Add(PF_ParamIndex index, const PF_ParamDef& def);
  // Parameters including the input layer at index 0.
  size_t Count() const;
  // Definitions added through add_param (the input layer not counted).
  size_t AddedCount() const;
  // The definition as registered (with later UI updates applied to its UI
  // flags, size and name). Pointers inside it refer to the store's copies.
  PF_ParamDef Definition(PF_ParamIndex index) const;
  // Popup items or button label as registered.
  std::string ItemText(PF_ParamIndex index) const;
  // The index of the first parameter with this Disk ID, or -1.
  PF_ParamIndex IndexOfDiskId(A_long diskId) const;
  // Same, but throws std::out_of_range when absent.
  PF_ParamIndex IndexOf(A_long diskId) const;

  // ---- Values ----------------------------------------------------------------
  // Values are in the parameter's natural unit: slider values, angles in
  // degrees, popup item numbers (1-based), checkboxes 0/1.
  void SetValue(PF_ParamIndex index, double value);  // constant: clears keyframes
  void SetKeyframe(PF_ParamIndex index, A_long time, A_u_long timeScale, double value);
  void ClearKeyframes(PF_ParamIndex index);
  size_t KeyframeCount(PF_ParamIndex index) const;
  // The value at a time: linear between keyframes for sliders and angles,
  // held from the previous keyframe for popups and checkboxes, the first or
  // last keyframe's value outside them.
  double Value(PF_ParamIndex index, A_long time = 0, A_u_long timeScale = 1) const;
  // The full definition with the value at that time filled in, as
  // checkout_param gives it.
  PF_ParamDef ValueAt(PF_ParamIndex index, A_long time, A_u_long timeScale) const;

  // By Disk ID.
  void SetValueById(A_long diskId, double value) { SetValue(IndexOf(diskId), value); }
  double ValueById(A_long diskId, A_long time = 0, A_u_long timeScale = 1) const {
    return Value(IndexOf(diskId), time, timeScale);
  }

  // params[] at a time, with change flags cleared.
  ParamArray MakeParamArray(A_long time, A_u_long timeScale) const;
  // Takes over every value marked PF_ChangeFlag_CHANGED_VALUE: as a keyframe at
  // that time when the parameter has keyframes, as its constant value
  // otherwise. Returns the indices taken over.
  std::vector<PF_ParamIndex> ReadBack(ParamArray& params, A_long time, A_u_long timeScale);

  // ---- checkout_param / checkin_param ----------------------------------------
  PF_Err Checkout(PF_ParamIndex index, A_long time, A_long timeStep, A_u_long timeScale, PF_ParamDef* param);
  PF_Err Checkin(PF_ParamDef* param);
  int64_t CheckoutCount() const;
  // Checkouts not yet checked in.
  int64_t OutstandingCheckouts() const;
  // Indices in the order they were checked out.
  std::vector<PF_ParamIndex> CheckoutLog() const;
  void ClearCheckoutLog();

  // ---- Custom UI -------------------------------------------------------------
  PF_Err RegisterUI(const PF_CustomUIInfo& info);
  std::optional<PF_CustomUIInfo> CustomUI() const;
  int RegisterUICount() const;

  // ---- Parameter UI and AEGP streams ------------------------------------------
  PF_Err UpdateParamUI(PF_ParamIndex index, const PF_ParamDef& def);
  std::vector<UIUpdate> UIUpdates() const;

  AEGP_PluginID RegisterPlugin(const std::string& name);
  std::vector<Registration> Registrations() const;

  // AEGP effect and stream references handed out and not yet disposed.
  AEGP_EffectRefH NewEffectRef(AEGP_PluginID pluginId);
  PF_Err DisposeEffectRef(AEGP_EffectRefH effect);
  bool IsEffectRef(AEGP_EffectRefH effect) const;
  std::vector<AEGP_PluginID> EffectRefPluginIds() const;  // plug-in id of every reference made
  AEGP_StreamRefH NewStreamRef(AEGP_EffectRefH effect, PF_ParamIndex index);
  PF_Err DisposeStreamRef(AEGP_StreamRefH stream);
  // The parameter of a live stream, or -1.
  PF_ParamIndex StreamIndex(AEGP_StreamRefH stream) const;
  size_t LiveEffectRefs() const;
  size_t LiveStreamRefs() const;

  PF_Err SetStreamFlag(AEGP_StreamRefH stream, AEGP_DynStreamFlags flag, bool undoable, bool set);
  AEGP_DynStreamFlags StreamFlags(PF_ParamIndex index) const;
  bool StreamHidden(PF_ParamIndex index) const { return (StreamFlags(index) & AEGP_DynStreamFlag_HIDDEN) != 0; }
  std::vector<StreamFlagChange> StreamFlagChanges() const;

 private:
  struct Entry {
    PF_ParamDef def{};
    std::string itemText;  // popup items, button label or checkbox label
    double value = 0.0;
    std::map<double, double> keys;  // seconds -> value
    AEGP_DynStreamFlags streamFlags = 0;
  };
  struct EffectRecord {
    AEGP_PluginID pluginId;
  };
  struct StreamRecord {
    PF_ParamIndex index;
  };

  void ResetLocked();
  const Entry& EntryAt(PF_ParamIndex index) const;
  Entry& EntryAt(PF_ParamIndex index);
  static void PointAtOwnText(Entry& entry);
  static double InitialValue(const PF_ParamDef& def);
  static void WriteValue(PF_ParamDef& def, double value);
  static double ReadValue(const PF_ParamDef& def);
  double ValueLocked(const Entry& entry, double seconds) const;

  HostRuntime& runtime_;
  PF_ProgPtr effectRef_;
  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<Entry>> entries_;
  std::map<PF_ParamDef*, int64_t> checkedOut_;
  int64_t checkoutCount_ = 0;
  std::vector<PF_ParamIndex> checkoutLog_;
  std::optional<PF_CustomUIInfo> customUI_;
  int registerUICount_ = 0;
  std::vector<UIUpdate> uiUpdates_;
  std::vector<Registration> registrations_;
  std::map<AEGP_EffectRefH, std::unique_ptr<EffectRecord>> effects_;
  std::vector<AEGP_PluginID> effectPluginIds_;
  std::map<AEGP_StreamRefH, std::unique_ptr<StreamRecord>> streams_;
  std::vector<StreamFlagChange> streamFlagChanges_;
};

}  // namespace dshost
