#include "host/PluginModule.h"

#include "host/HostError.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace dshost {

namespace {

std::string LastLoadError() {
#ifdef _WIN32
  return "Windows error " + std::to_string(GetLastError());
#else
  const char* reason = dlerror();
  return reason != nullptr ? reason : "unknown reason";
#endif
}

}  // namespace

PluginModule::PluginModule(const std::string& path) : path_(path) {
#ifdef _WIN32
  handle_ = reinterpret_cast<void*>(LoadLibraryA(path.c_str()));
#else
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
#endif
  if (handle_ == nullptr) {
    throw HostError("cannot load the plug-in module " + path + ": " + LastLoadError());
  }
}

PluginModule::~PluginModule() {
#ifdef _WIN32
  FreeLibrary(reinterpret_cast<HMODULE>(handle_));
#else
  dlclose(handle_);
#endif
}

void* PluginModule::Symbol(const char* name) const {
#ifdef _WIN32
  return reinterpret_cast<void*>(GetProcAddress(reinterpret_cast<HMODULE>(handle_), name));
#else
  return dlsym(handle_, name);
#endif
}

PF_FilterProc PluginModule::EffectMain() const {
  void* entry = Symbol("EffectMain");
  if (entry == nullptr) {
    throw HostError("the plug-in module " + path_ + " does not export EffectMain");
  }
  return reinterpret_cast<PF_FilterProc>(entry);
}

PluginDataEntryFunctionPtr PluginModule::PluginDataEntry() const {
  void* entry = Symbol("PluginDataEntryFunction");
  if (entry == nullptr) {
    throw HostError("the plug-in module " + path_ + " does not export PluginDataEntryFunction");
  }
  return reinterpret_cast<PluginDataEntryFunctionPtr>(entry);
}

}  // namespace dshost
