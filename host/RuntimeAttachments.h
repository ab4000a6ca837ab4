// Host parts (the GPU side, the Premiere side) that suite functions find
// through the runtime the calling thread works for, since suite functions
// carry no context of their own. One registry per part type.
#pragma once
#include <map>
#include <mutex>

#include "host/HostRuntime.h"

namespace dshost {

template <typename Part>
class RuntimeAttachments {
 public:
  static void Attach(HostRuntime& runtime, Part* part) {
    std::lock_guard<std::mutex> lock(Mutex());
    Parts()[&runtime] = part;
  }

  // Detaches the part only if it is still the one attached to the runtime.
  static void Detach(HostRuntime& runtime, const Part* part) {
    std::lock_guard<std::mutex> lock(Mutex());
    const auto found = Parts().find(&runtime);
    if (found != Parts().end() && found->second == part) {
      Parts().erase(found);
    }
  }

  // The part attached to the calling thread's current runtime, or nullptr.
  static Part* Current() {
    HostRuntime* runtime = HostRuntime::Current();
    if (runtime == nullptr) {
      return nullptr;
    }
    std::lock_guard<std::mutex> lock(Mutex());
    const auto found = Parts().find(runtime);
    return found == Parts().end() ? nullptr : found->second;
  }

 private:
  static std::mutex& Mutex() {
    static std::mutex mutex;
    return mutex;
  }
  static std::map<HostRuntime*, Part*>& Parts() {
    static std::map<HostRuntime*, Part*> parts;
    return parts;
  }
};

}  // namespace dshost
