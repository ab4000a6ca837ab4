#include "host/HostRuntime.h"

#include <cstdlib>
#include <cstring>

namespace dshost {

namespace {
thread_local HostRuntime* tCurrent = nullptr;
}

HostRuntime::HostRuntime() : suites_(faults_) {}

HostRuntime::~HostRuntime() {
  for (auto& [handle, record] : handles_) {
    std::free(record->data);
    delete record;
  }
}

HostRuntime* HostRuntime::Current() { return tCurrent; }

HostScope::HostScope(HostRuntime& runtime) : previous_(tCurrent) { tCurrent = &runtime; }

HostScope::~HostScope() { tCurrent = previous_; }

PF_Handle HostRuntime::NewHandle(uint64_t size) {
  void* data = std::calloc(1, size == 0 ? 1 : size);
  if (data == nullptr) {
    return nullptr;
  }
  auto* record = new HandleRecord{data, size, 0};
  auto handle = reinterpret_cast<PF_Handle>(&record->data);
  std::lock_guard<std::mutex> lock(handleMutex_);
  handles_[handle] = record;
  return handle;
}

void* HostRuntime::LockHandle(PF_Handle handle) {
  std::lock_guard<std::mutex> lock(handleMutex_);
  const auto found = handles_.find(handle);
  if (found == handles_.end()) {
    return nullptr;
  }
  ++found->second->locks;
  return found->second->data;
}

void HostRuntime::UnlockHandle(PF_Handle handle) {
  std::lock_guard<std::mutex> lock(handleMutex_);
  const auto found = handles_.find(handle);
  if (found != handles_.end() && found->second->locks > 0) {
    --found->second->locks;
  }
}

void HostRuntime::DisposeHandle(PF_Handle handle) {
  std::lock_guard<std::mutex> lock(handleMutex_);
  const auto found = handles_.find(handle);
  if (found == handles_.end()) {
    return;
  }
  std::free(found->second->data);
  delete found->second;
  handles_.erase(found);
}

uint64_t HostRuntime::HandleSize(PF_Handle handle) const {
  std::lock_guard<std::mutex> lock(handleMutex_);
  const auto found = handles_.find(handle);
  return found == handles_.end() ? 0 : found->second->size;
}

PF_Err HostRuntime::ResizeHandle(uint64_t size, PF_Handle* handle) {
  std::lock_guard<std::mutex> lock(handleMutex_);
  const auto found = handle != nullptr ? handles_.find(*handle) : handles_.end();
  if (found == handles_.end()) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  void* data = std::realloc(found->second->data, size == 0 ? 1 : size);
  if (data == nullptr) {
    return PF_Err_OUT_OF_MEMORY;
  }
  if (size > found->second->size) {
    std::memset(static_cast<char*>(data) + found->second->size, 0, size - found->second->size);
  }
  found->second->data = data;
  found->second->size = size;
  return PF_Err_NONE;
}

size_t HostRuntime::LiveHandles() const {
  std::lock_guard<std::mutex> lock(handleMutex_);
  return handles_.size();
}

}  // namespace dshost
