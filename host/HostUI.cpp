#include "host/HostUI.h"

#include <map>

#include "host/HostRuntime.h"
#include "host/PluginModule.h"
#include "host/SuiteRegistry.h"

namespace dshost {

namespace {

std::mutex& StatesMutex() {
  static std::mutex mutex;
  return mutex;
}

std::map<const HostRuntime*, HostUIState*>& States() {
  static std::map<const HostRuntime*, HostUIState*> states;
  return states;
}

std::string Text(const A_u_char* text) {
  return text == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(text));
}

// The registration callback: the host's record pointer is the list that
// collects the effects.
A_Err RecordEffect(PF_PluginDataPtr inPtr, const A_u_char* inNamePtr, const A_u_char* inMatchNamePtr,
                   const A_u_char* inCategoryPtr, const A_u_char* inEntryPointNamePtr, A_long inkind,
                   A_long inApiVersionMajor, A_long inApiVersionMinor, A_long inReservedInfo) {
  if (inPtr == nullptr) {
    return A_Err_PARAMETER;
  }
  auto* effects = reinterpret_cast<std::vector<EffectRegistration>*>(inPtr);
  effects->push_back(EffectRegistration{Text(inNamePtr), Text(inMatchNamePtr), Text(inCategoryPtr),
                                        Text(inEntryPointNamePtr), inkind, inApiVersionMajor, inApiVersionMinor,
                                        inReservedInfo});
  return A_Err_NONE;
}

}  // namespace

RegistrationResult RegisterEffects(const PluginModule& module, bool premiere) {
  const PluginDataEntryFunctionPtr entry = module.PluginDataEntry();
  RegistrationResult result;
  result.err = entry(reinterpret_cast<PF_PluginDataPtr>(&result.effects), RecordEffect,
                     const_cast<SPBasicSuite*>(SuiteRegistry::BasicSuite()), premiere ? "Premiere Pro" : "AfterEffects",
                     "13.28");
  return result;
}

HostUIState::HostUIState(HostRuntime& runtime) : runtime_(runtime) {
  std::lock_guard<std::mutex> lock(StatesMutex());
  States()[&runtime_] = this;
}

HostUIState::~HostUIState() {
  std::lock_guard<std::mutex> lock(StatesMutex());
  const auto found = States().find(&runtime_);
  if (found != States().end() && found->second == this) {
    States().erase(found);
  }
}

HostUIState* HostUIState::Current() {
  const HostRuntime* runtime = HostRuntime::Current();
  if (runtime == nullptr) {
    return nullptr;
  }
  std::lock_guard<std::mutex> lock(StatesMutex());
  const auto found = States().find(runtime);
  return found == States().end() ? nullptr : found->second;
}

void HostUIState::SetOptionsButtonName(const std::string& name) {
  std::lock_guard<std::mutex> lock(mutex_);
  optionsButtonName_ = name;
  ++optionsButtonNameCalls_;
}

std::string HostUIState::OptionsButtonName() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return optionsButtonName_;
}

int HostUIState::OptionsButtonNameCalls() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return optionsButtonNameCalls_;
}

void HostUIState::ClearPixelFormats() {
  std::lock_guard<std::mutex> lock(mutex_);
  pixelFormats_.clear();
  ++clearPixelFormatsCalls_;
}

void HostUIState::AddPixelFormat(PrPixelFormat format) {
  std::lock_guard<std::mutex> lock(mutex_);
  pixelFormats_.push_back(format);
}

std::vector<PrPixelFormat> HostUIState::PixelFormats() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return pixelFormats_;
}

int HostUIState::ClearPixelFormatsCalls() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return clearPixelFormatsCalls_;
}

void HostUIState::SetWorldPixelFormatResolver(WorldPixelFormatResolver resolver) {
  std::lock_guard<std::mutex> lock(mutex_);
  resolver_ = std::move(resolver);
}

PF_Err HostUIState::WorldPixelFormat(const PF_EffectWorld& world, PrPixelFormat* format) const {
  WorldPixelFormatResolver resolver;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    resolver = resolver_;
  }
  // The resolver runs unlocked: it may call back into this state.
  if (resolver && resolver(world, format)) {
    return PF_Err_NONE;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  if (pixelFormats_.empty()) {
    *format = PrPixelFormat_Invalid;
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *format = pixelFormats_.front();
  return PF_Err_NONE;
}

}  // namespace dshost
