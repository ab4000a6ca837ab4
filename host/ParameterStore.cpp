#include "host/ParameterStore.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "host/HostRuntime.h"

namespace dshost {

namespace {

std::mutex& StoresMutex() {
  static std::mutex mutex;
  return mutex;
}

// The store of each live host, found through the runtime the calling thread
// works for: AEGP calls carry no effect reference of their own.
std::map<HostRuntime*, ParameterStore*>& Stores() {
  static std::map<HostRuntime*, ParameterStore*> stores;
  return stores;
}

double Seconds(A_long time, A_u_long timeScale) {
  return timeScale == 0 ? static_cast<double>(time) : static_cast<double>(time) / static_cast<double>(timeScale);
}

bool Interpolates(PF_ParamType type) {
  return type == PF_Param_FLOAT_SLIDER || type == PF_Param_ANGLE || type == PF_Param_SLIDER ||
         type == PF_Param_FIX_SLIDER;
}

// First plug-in id handed out; ids are never 0, which means "not registered".
constexpr AEGP_PluginID kFirstPluginId = 101;

}  // namespace

ParameterStore::ParameterStore(HostRuntime& runtime, PF_ProgPtr effectRef) : runtime_(runtime), effectRef_(effectRef) {
  ResetLocked();
  std::lock_guard<std::mutex> lock(StoresMutex());
  Stores()[&runtime_] = this;
}

ParameterStore::~ParameterStore() {
  std::lock_guard<std::mutex> lock(StoresMutex());
  const auto found = Stores().find(&runtime_);
  if (found != Stores().end() && found->second == this) {
    Stores().erase(found);
  }
}

ParameterStore* ParameterStore::Current() {
  HostRuntime* runtime = HostRuntime::Current();
  if (runtime == nullptr) {
    return nullptr;
  }
  std::lock_guard<std::mutex> lock(StoresMutex());
  const auto found = Stores().find(runtime);
  return found == Stores().end() ? nullptr : found->second;
}

void ParameterStore::Reset() {
  std::lock_guard<std::mutex> lock(mutex_);
  ResetLocked();
}

void ParameterStore::ResetLocked() {
  entries_.clear();
  auto input = std::make_unique<Entry>();
  input->def.param_type = PF_Param_LAYER;
  input->def.uu.id = 0;
  entries_.push_back(std::move(input));
  customUI_.reset();
  registerUICount_ = 0;
  uiUpdates_.clear();
  streamFlagChanges_.clear();
}

// ---- Definitions ---------------------------------------------------------------------

void ParameterStore::PointAtOwnText(Entry& entry) {
  switch (entry.def.param_type) {
    case PF_Param_POPUP:
      entry.def.u.pd.u.namesptr = entry.itemText.c_str();
      break;
    case PF_Param_BUTTON:
      entry.def.u.button_d.u.namesptr = entry.itemText.c_str();
      break;
    case PF_Param_CHECKBOX:
      entry.def.u.bd.u.nameptr = entry.itemText.c_str();
      break;
    default:
      break;
  }
}

PF_Err ParameterStore::Add(PF_ParamIndex index, const PF_ParamDef& def) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (index != -1 && index != static_cast<PF_ParamIndex>(entries_.size())) {
    return PF_Err_INVALID_INDEX;
  }
  auto entry = std::make_unique<Entry>();
  entry->def = def;
  entry->def.name[PF_MAX_EFFECT_PARAM_NAME_LEN] = '\0';
  const char* text = nullptr;
  switch (def.param_type) {
    case PF_Param_POPUP:
      text = def.u.pd.u.namesptr;
      break;
    case PF_Param_BUTTON:
      text = def.u.button_d.u.namesptr;
      break;
    case PF_Param_CHECKBOX:
      text = def.u.bd.u.nameptr;
      break;
    default:
      break;
  }
  entry->itemText = text != nullptr ? text : "";
  PointAtOwnText(*entry);
  entry->value = InitialValue(entry->def);
  entries_.push_back(std::move(entry));
  return PF_Err_NONE;
}

size_t ParameterStore::Count() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return entries_.size();
}

size_t ParameterStore::AddedCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return entries_.size() - 1;
}

const ParameterStore::Entry& ParameterStore::EntryAt(PF_ParamIndex index) const {
  if (index < 0 || static_cast<size_t>(index) >= entries_.size()) {
    throw std::out_of_range("no parameter at index " + std::to_string(index));
  }
  return *entries_[static_cast<size_t>(index)];
}

ParameterStore::Entry& ParameterStore::EntryAt(PF_ParamIndex index) {
  return const_cast<Entry&>(static_cast<const ParameterStore*>(this)->EntryAt(index));
}

PF_ParamDef ParameterStore::Definition(PF_ParamIndex index) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return EntryAt(index).def;
}

std::string ParameterStore::ItemText(PF_ParamIndex index) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return EntryAt(index).itemText;
}

PF_ParamIndex ParameterStore::IndexOfDiskId(A_long diskId) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i]->def.uu.id == diskId) {
      return static_cast<PF_ParamIndex>(i);
    }
  }
  return -1;
}

PF_ParamIndex ParameterStore::IndexOf(A_long diskId) const {
  const PF_ParamIndex index = IndexOfDiskId(diskId);
  if (index < 0) {
    throw std::out_of_range("no parameter with Disk ID " + std::to_string(diskId));
  }
  return index;
}

// ---- Values --------------------------------------------------------------------------

double ParameterStore::InitialValue(const PF_ParamDef& def) { return ReadValue(def); }

double ParameterStore::ReadValue(const PF_ParamDef& def) {
  switch (def.param_type) {
    case PF_Param_FLOAT_SLIDER:
      return def.u.fs_d.value;
    case PF_Param_ANGLE:
      return def.u.ad.value / 65536.0;
    case PF_Param_POPUP:
      return def.u.pd.value;
    case PF_Param_CHECKBOX:
      return def.u.bd.value;
    case PF_Param_SLIDER:
      return def.u.sd.value;
    case PF_Param_FIX_SLIDER:
      return def.u.fd.value / 65536.0;
    case PF_Param_BUTTON:
      return def.u.button_d.value;
    default:
      return 0.0;
  }
}

void ParameterStore::WriteValue(PF_ParamDef& def, double value) {
  switch (def.param_type) {
    case PF_Param_FLOAT_SLIDER:
      def.u.fs_d.value = value;
      break;
    case PF_Param_ANGLE:
      def.u.ad.value = static_cast<PF_Fixed>(std::llround(value * 65536.0));
      break;
    case PF_Param_POPUP:
      def.u.pd.value = static_cast<PF_ParamValue>(std::floor(value));
      break;
    case PF_Param_CHECKBOX:
      def.u.bd.value = value != 0.0 ? 1 : 0;
      break;
    case PF_Param_SLIDER:
      def.u.sd.value = static_cast<PF_ParamValue>(std::lround(value));
      break;
    case PF_Param_FIX_SLIDER:
      def.u.fd.value = static_cast<PF_Fixed>(std::llround(value * 65536.0));
      break;
    case PF_Param_BUTTON:
      def.u.button_d.value = static_cast<PF_ParamValue>(std::lround(value));
      break;
    default:
      break;
  }
}

void ParameterStore::SetValue(PF_ParamIndex index, double value) {
  std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = EntryAt(index);
  entry.keys.clear();
  entry.value = value;
}

void ParameterStore::SetKeyframe(PF_ParamIndex index, A_long time, A_u_long timeScale, double value) {
  std::lock_guard<std::mutex> lock(mutex_);
  EntryAt(index).keys[Seconds(time, timeScale)] = value;
}

void ParameterStore::ClearKeyframes(PF_ParamIndex index) {
  std::lock_guard<std::mutex> lock(mutex_);
  Entry& entry = EntryAt(index);
  entry.keys.clear();
}

size_t ParameterStore::KeyframeCount(PF_ParamIndex index) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return EntryAt(index).keys.size();
}

double ParameterStore::ValueLocked(const Entry& entry, double seconds) const {
  if (entry.keys.empty()) {
    return entry.value;
  }
  const auto after = entry.keys.lower_bound(seconds);
  if (after == entry.keys.begin()) {
    return after->second;
  }
  if (after == entry.keys.end()) {
    return std::prev(after)->second;
  }
  if (after->first == seconds) {
    return after->second;
  }
  const auto before = std::prev(after);
  if (!Interpolates(entry.def.param_type)) {
    return before->second;
  }
  const double t = (seconds - before->first) / (after->first - before->first);
  return before->second + (after->second - before->second) * t;
}

double ParameterStore::Value(PF_ParamIndex index, A_long time, A_u_long timeScale) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return ValueLocked(EntryAt(index), Seconds(time, timeScale));
}

PF_ParamDef ParameterStore::ValueAt(PF_ParamIndex index, A_long time, A_u_long timeScale) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const Entry& entry = EntryAt(index);
  PF_ParamDef def = entry.def;
  WriteValue(def, ValueLocked(entry, Seconds(time, timeScale)));
  return def;
}

ParamArray ParameterStore::MakeParamArray(A_long time, A_u_long timeScale) const {
  ParamArray array;
  const size_t count = Count();
  for (size_t i = 0; i < count; ++i) {
    auto def = std::make_unique<PF_ParamDef>(ValueAt(static_cast<PF_ParamIndex>(i), time, timeScale));
    def->uu.change_flags = PF_ChangeFlag_NONE;
    array.pointers_.push_back(def.get());
    array.defs_.push_back(std::move(def));
  }
  return array;
}

std::vector<PF_ParamIndex> ParameterStore::ReadBack(ParamArray& params, A_long time, A_u_long timeScale) {
  std::vector<PF_ParamIndex> changed;
  std::lock_guard<std::mutex> lock(mutex_);
  const size_t count = std::min(params.size(), entries_.size());
  for (size_t i = 0; i < count; ++i) {
    const PF_ParamDef* def = params[i];
    if (def == nullptr || (def->uu.change_flags & PF_ChangeFlag_CHANGED_VALUE) == 0) {
      continue;
    }
    Entry& entry = *entries_[i];
    // Read the value as the registered kind, whatever the array now claims.
    PF_ParamDef probe = *def;
    probe.param_type = entry.def.param_type;
    const double value = ReadValue(probe);
    if (entry.keys.empty()) {
      entry.value = value;
    } else {
      entry.keys[Seconds(time, timeScale)] = value;
    }
    changed.push_back(static_cast<PF_ParamIndex>(i));
  }
  return changed;
}

// ---- Checkouts -------------------------------------------------------------------------

PF_Err ParameterStore::Checkout(PF_ParamIndex index, A_long time, A_long /*timeStep*/, A_u_long timeScale,
                                PF_ParamDef* param) {
  if (param == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  if (index < 0 || static_cast<size_t>(index) >= entries_.size()) {
    return PF_Err_INVALID_INDEX;
  }
  const Entry& entry = *entries_[static_cast<size_t>(index)];
  *param = entry.def;
  WriteValue(*param, ValueLocked(entry, Seconds(time, timeScale)));
  ++checkedOut_[param];
  ++checkoutCount_;
  checkoutLog_.push_back(index);
  return PF_Err_NONE;
}

PF_Err ParameterStore::Checkin(PF_ParamDef* param) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = checkedOut_.find(param);
  if (found == checkedOut_.end()) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (--found->second == 0) {
    checkedOut_.erase(found);
  }
  return PF_Err_NONE;
}

int64_t ParameterStore::CheckoutCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return checkoutCount_;
}

int64_t ParameterStore::OutstandingCheckouts() const {
  std::lock_guard<std::mutex> lock(mutex_);
  int64_t total = 0;
  for (const auto& [param, count] : checkedOut_) {
    total += count;
  }
  return total;
}

std::vector<PF_ParamIndex> ParameterStore::CheckoutLog() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return checkoutLog_;
}

void ParameterStore::ClearCheckoutLog() {
  std::lock_guard<std::mutex> lock(mutex_);
  checkoutLog_.clear();
  checkoutCount_ = 0;
}

// ---- Custom UI and parameter UI ----------------------------------------------------------

PF_Err ParameterStore::RegisterUI(const PF_CustomUIInfo& info) {
  std::lock_guard<std::mutex> lock(mutex_);
  customUI_ = info;
  ++registerUICount_;
  return PF_Err_NONE;
}

std::optional<PF_CustomUIInfo> ParameterStore::CustomUI() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return customUI_;
}

int ParameterStore::RegisterUICount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return registerUICount_;
}

PF_Err ParameterStore::UpdateParamUI(PF_ParamIndex index, const PF_ParamDef& def) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (index < 0 || static_cast<size_t>(index) >= entries_.size()) {
    return PF_Err_INVALID_INDEX;
  }
  Entry& entry = *entries_[static_cast<size_t>(index)];
  if (def.param_type != entry.def.param_type) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  uiUpdates_.push_back(UIUpdate{index, def});
  // Only the cosmetic parts of a definition change through this call.
  entry.def.ui_flags = def.ui_flags;
  entry.def.ui_width = def.ui_width;
  entry.def.ui_height = def.ui_height;
  std::memcpy(entry.def.name, def.name, sizeof(entry.def.name));
  entry.def.name[PF_MAX_EFFECT_PARAM_NAME_LEN] = '\0';
  return PF_Err_NONE;
}

std::vector<ParameterStore::UIUpdate> ParameterStore::UIUpdates() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return uiUpdates_;
}

// ---- AEGP ----------------------------------------------------------------------------------

AEGP_PluginID ParameterStore::RegisterPlugin(const std::string& name) {
  std::lock_guard<std::mutex> lock(mutex_);
  const AEGP_PluginID id = kFirstPluginId + static_cast<AEGP_PluginID>(registrations_.size());
  registrations_.push_back(Registration{name, id});
  return id;
}

std::vector<ParameterStore::Registration> ParameterStore::Registrations() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return registrations_;
}

AEGP_EffectRefH ParameterStore::NewEffectRef(AEGP_PluginID pluginId) {
  std::lock_guard<std::mutex> lock(mutex_);
  auto record = std::make_unique<EffectRecord>(EffectRecord{pluginId});
  auto ref = reinterpret_cast<AEGP_EffectRefH>(record.get());
  effects_[ref] = std::move(record);
  effectPluginIds_.push_back(pluginId);
  return ref;
}

PF_Err ParameterStore::DisposeEffectRef(AEGP_EffectRefH effect) {
  std::lock_guard<std::mutex> lock(mutex_);
  return effects_.erase(effect) == 1 ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

bool ParameterStore::IsEffectRef(AEGP_EffectRefH effect) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return effects_.count(effect) == 1;
}

std::vector<AEGP_PluginID> ParameterStore::EffectRefPluginIds() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return effectPluginIds_;
}

AEGP_StreamRefH ParameterStore::NewStreamRef(AEGP_EffectRefH effect, PF_ParamIndex index) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (effects_.count(effect) == 0 || index < 0 || static_cast<size_t>(index) >= entries_.size()) {
    return nullptr;
  }
  auto record = std::make_unique<StreamRecord>(StreamRecord{index});
  auto ref = reinterpret_cast<AEGP_StreamRefH>(record.get());
  streams_[ref] = std::move(record);
  return ref;
}

PF_Err ParameterStore::DisposeStreamRef(AEGP_StreamRefH stream) {
  std::lock_guard<std::mutex> lock(mutex_);
  return streams_.erase(stream) == 1 ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

PF_ParamIndex ParameterStore::StreamIndex(AEGP_StreamRefH stream) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = streams_.find(stream);
  return found == streams_.end() ? -1 : found->second->index;
}

size_t ParameterStore::LiveEffectRefs() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return effects_.size();
}

size_t ParameterStore::LiveStreamRefs() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return streams_.size();
}

PF_Err ParameterStore::SetStreamFlag(AEGP_StreamRefH stream, AEGP_DynStreamFlags flag, bool undoable, bool set) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = streams_.find(stream);
  if (found == streams_.end()) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  const PF_ParamIndex index = found->second->index;
  if (static_cast<size_t>(index) >= entries_.size()) {
    return PF_Err_INVALID_INDEX;
  }
  Entry& entry = *entries_[static_cast<size_t>(index)];
  if (set) {
    entry.streamFlags |= flag;
  } else {
    entry.streamFlags &= ~flag;
  }
  streamFlagChanges_.push_back(StreamFlagChange{index, flag, undoable, set});
  return PF_Err_NONE;
}

AEGP_DynStreamFlags ParameterStore::StreamFlags(PF_ParamIndex index) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return EntryAt(index).streamFlags;
}

std::vector<ParameterStore::StreamFlagChange> ParameterStore::StreamFlagChanges() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return streamFlagChanges_;
}

}  // namespace dshost
