// The common frame of every GPU-side suite function: the call point's fault
// check, the current host's GPU side, and no exception past the suite
// boundary.
#pragma once
#include <cstdint>
#include <new>

#include "AE_Effect.h"
#include "host/HostRuntime.h"
#include "host/gpu/GpuHost.h"

namespace dshost {

template <typename Body>
PF_Err ServeGpuCall(const char* call, Body body) {
  try {
    HostRuntime* runtime = HostRuntime::Current();
    GpuHost* gpu = GpuHost::Current();
    if (runtime == nullptr || gpu == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (const int32_t code = runtime->faults().Hit(call)) {
      return code;
    }
    return body(*gpu);
  } catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
  } catch (...) {
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
}

}  // namespace dshost
