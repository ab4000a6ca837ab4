// Loads the plug-in module and resolves its exported entry points by name, as
// After Effects and Premiere Pro do.
#pragma once
#include <string>

#include "AE_Effect.h"
#include "AE_PluginData.h"

namespace dshost {

class PluginModule {
 public:
  // Throws HostError with the system's reason when the module cannot be loaded.
  explicit PluginModule(const std::string& path);
  ~PluginModule();
  PluginModule(const PluginModule&) = delete;
  PluginModule& operator=(const PluginModule&) = delete;

  // The exported symbol, or nullptr when the module does not export it.
  void* Symbol(const char* name) const;

  // The effect entry point; throws HostError when it is not exported.
  PF_FilterProc EffectMain() const;
  PluginDataEntryFunctionPtr PluginDataEntry() const;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
  void* handle_ = nullptr;
};

}  // namespace dshost
