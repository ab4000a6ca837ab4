// What the parameter callbacks and the AEGP and parameter-utility suites
// share: every call is counted (and may be failed on request), reaches the
// parameter store of the calling thread's host, and never lets an exception
// travel back into the plug-in.
#pragma once
#include <cstdint>

#include "AE_Effect.h"
#include "host/HostRuntime.h"
#include "host/ParameterStore.h"

namespace dshost::detail {

template <typename Body>
A_Err ParamCall(const char* call, Body&& body) {
  HostRuntime* runtime = HostRuntime::Current();
  ParameterStore* store = ParameterStore::Current();
  if (runtime == nullptr || store == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const int32_t code = runtime->faults().Hit(call)) {
    return code;
  }
  try {
    return body(*store);
  } catch (...) {
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
}

// Same, for calls that name the effect: it must be the one this host gave.
template <typename Body>
A_Err EffectParamCall(const char* call, PF_ProgPtr effectRef, Body&& body) {
  return ParamCall(call, [&](ParameterStore& store) -> A_Err {
    if (effectRef == nullptr || effectRef != store.effect_ref()) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    return body(store);
  });
}

}  // namespace dshost::detail
