// "PF Handle Suite" and the handle members of the utility callbacks.
#include "AE_EffectCBSuites.h"
#include "host/HostRuntime.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

HostRuntime* Runtime() { return HostRuntime::Current(); }

PF_Handle NewHandle(A_HandleSize size) {
  HostRuntime* runtime = Runtime();
  if (runtime == nullptr || runtime->faults().Hit("PF Handle Suite.host_new_handle") != 0) {
    return nullptr;
  }
  return runtime->NewHandle(size);
}

void* LockHandle(PF_Handle handle) {
  HostRuntime* runtime = Runtime();
  if (runtime == nullptr || runtime->faults().Hit("PF Handle Suite.host_lock_handle") != 0) {
    return nullptr;
  }
  return runtime->LockHandle(handle);
}

// The two calls without a result fail by doing nothing: the handle stays
// locked, or stays allocated, as with a host that dropped the request.
void UnlockHandle(PF_Handle handle) {
  if (HostRuntime* runtime = Runtime(); runtime != nullptr &&
                                        runtime->faults().Hit("PF Handle Suite.host_unlock_handle") == 0) {
    runtime->UnlockHandle(handle);
  }
}

void DisposeHandle(PF_Handle handle) {
  if (HostRuntime* runtime = Runtime(); runtime != nullptr &&
                                        runtime->faults().Hit("PF Handle Suite.host_dispose_handle") == 0) {
    runtime->DisposeHandle(handle);
  }
}

A_HandleSize HandleSize(PF_Handle handle) {
  HostRuntime* runtime = Runtime();
  return runtime != nullptr ? runtime->HandleSize(handle) : 0;
}

PF_Err ResizeHandle(A_HandleSize size, PF_Handle* handle) {
  HostRuntime* runtime = Runtime();
  if (runtime == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const int32_t code = runtime->faults().Hit("PF Handle Suite.host_resize_handle")) {
    return code;
  }
  return runtime->ResizeHandle(size, handle);
}

const PF_HandleSuite1 kHandleSuite = {NewHandle, LockHandle, UnlockHandle, DisposeHandle, HandleSize, ResizeHandle};

}  // namespace

void PublishHandleSuites(HostRuntime& runtime) {
  runtime.suites().Publish(kPFHandleSuite, kPFHandleSuiteVersion1, &kHandleSuite);
}

void FillHandleCallbacks(PF_UtilCallbacks& utils) {
  utils.host_new_handle = NewHandle;
  utils.host_lock_handle = LockHandle;
  utils.host_unlock_handle = UnlockHandle;
  utils.host_dispose_handle = DisposeHandle;
  utils.host_get_handle_size = HandleSize;
  utils.host_resize_handle = ResizeHandle;
}

}  // namespace dshost
