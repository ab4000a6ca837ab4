// The frei0r entry points of driftsmear.so. The module keeps one parameter
// table while any host holds it initialised (hosts may call f0r_init once per
// filter they create), and serialises all work on instances: a host may
// update instances from several threads, and the effect's host state is not
// meant to be shared between them.
#include <dlfcn.h>

extern "C" {
#include <frei0r.h>
}

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "integrations/frei0r/Frei0rInstance.h"

#define DRIFTSMEAR_FREI0R_EXPORT extern "C" __attribute__((visibility("default")))

namespace dsfrei0r {

namespace {

namespace fs = std::filesystem;

struct ModuleState {
  std::mutex mutex;
  int initialised = 0;
  std::shared_ptr<const Frei0rParameterTable> table;
};

ModuleState& State() {
  static ModuleState state;
  return state;
}

bool IsFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

// The Drift Smear module: $DRIFTSMEAR_MODULE, else the installed one in
// "driftsmear/" beside this file, else one right beside it, else the one
// built with it. Empty when there is none.
std::string FindEffectModule() {
  if (const char* given = std::getenv("DRIFTSMEAR_MODULE"); given != nullptr && *given != '\0') {
    return IsFile(given) ? std::string(given) : std::string();
  }
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&FindEffectModule), &info) != 0 && info.dli_fname != nullptr) {
    const fs::path folder = fs::path(info.dli_fname).parent_path();
    for (const fs::path& candidate : {folder / "driftsmear" / DRIFTSMEAR_MODULE_FILE_NAME,
                                      folder / DRIFTSMEAR_MODULE_FILE_NAME}) {
      if (IsFile(candidate)) {
        return candidate.string();
      }
    }
  }
  return IsFile(DRIFTSMEAR_BUILT_MODULE) ? std::string(DRIFTSMEAR_BUILT_MODULE) : std::string();
}

// The table, built on first use; the caller holds the state's mutex.
const std::shared_ptr<const Frei0rParameterTable>& Table() {
  ModuleState& state = State();
  if (!state.table) {
    state.table = std::make_shared<const Frei0rParameterTable>(FindEffectModule());
  }
  return state.table;
}

}  // namespace

}  // namespace dsfrei0r

using dsfrei0r::Frei0rInstance;
using dsfrei0r::State;

DRIFTSMEAR_FREI0R_EXPORT int f0r_init(void) {
  try {
    std::lock_guard<std::mutex> lock(State().mutex);
    ++State().initialised;
    dsfrei0r::Table();
    return 1;
  } catch (...) {
    return 0;
  }
}

DRIFTSMEAR_FREI0R_EXPORT void f0r_deinit(void) {
  std::lock_guard<std::mutex> lock(State().mutex);
  if (State().initialised > 0 && --State().initialised == 0) {
    State().table.reset();  // instances still alive keep their own reference
  }
}

DRIFTSMEAR_FREI0R_EXPORT void f0r_get_plugin_info(f0r_plugin_info_t* info) {
  if (info == nullptr) {
    return;
  }
  int count = 0;
  try {
    std::lock_guard<std::mutex> lock(State().mutex);
    count = dsfrei0r::Table()->size();
  } catch (...) {
  }
  info->name = "Drift Smear";
  info->author = "Quarnbrook Graphics";
  info->plugin_type = F0R_PLUGIN_TYPE_FILTER;
  info->color_model = F0R_COLOR_MODEL_RGBA8888;
  info->frei0r_version = FREI0R_MAJOR_VERSION;
  info->major_version = DRIFTSMEAR_VERSION_MAJOR;
  info->minor_version = DRIFTSMEAR_VERSION_MINOR;
  info->num_params = count;
  info->explanation =
      "Datamosh: smears earlier frames along the estimated motion with a red/blue split and blends them over "
      "the current frame. Renders on the GPU (OpenCL or CUDA).";
}

DRIFTSMEAR_FREI0R_EXPORT void f0r_get_param_info(f0r_param_info_t* info, int param_index) {
  if (info == nullptr) {
    return;
  }
  try {
    std::lock_guard<std::mutex> lock(State().mutex);
    if (const dsfrei0r::Frei0rParameter* parameter = dsfrei0r::Table()->at(param_index)) {
      // The table lives as long as the module stays initialised.
      info->name = parameter->name();
      info->type = static_cast<int>(parameter->type);
      info->explanation = parameter->explanation.c_str();
    }
  } catch (...) {
  }
}

DRIFTSMEAR_FREI0R_EXPORT f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
  try {
    std::lock_guard<std::mutex> lock(State().mutex);
    return new Frei0rInstance(dsfrei0r::Table(), width, height);
  } catch (...) {
    return nullptr;
  }
}

DRIFTSMEAR_FREI0R_EXPORT void f0r_destruct(f0r_instance_t instance) {
  std::lock_guard<std::mutex> lock(State().mutex);
  delete static_cast<Frei0rInstance*>(instance);
}

DRIFTSMEAR_FREI0R_EXPORT void f0r_set_param_value(f0r_instance_t instance, f0r_param_t param, int param_index) {
  if (instance == nullptr) {
    return;
  }
  try {
    std::lock_guard<std::mutex> lock(State().mutex);
    static_cast<Frei0rInstance*>(instance)->SetParameter(param_index, param);
  } catch (...) {
  }
}

DRIFTSMEAR_FREI0R_EXPORT void f0r_get_param_value(f0r_instance_t instance, f0r_param_t param, int param_index) {
  if (instance == nullptr) {
    return;
  }
  std::lock_guard<std::mutex> lock(State().mutex);
  static_cast<Frei0rInstance*>(instance)->GetParameter(param_index, param);
}

DRIFTSMEAR_FREI0R_EXPORT void f0r_update(f0r_instance_t instance, double time, const uint32_t* inframe,
                                         uint32_t* outframe) {
  if (instance == nullptr) {
    return;
  }
  try {
    std::lock_guard<std::mutex> lock(State().mutex);
    static_cast<Frei0rInstance*>(instance)->Update(time, inframe, outframe);
  } catch (...) {
    // Update passes the input through on its own failures; this only guards
    // the lock.
  }
}
