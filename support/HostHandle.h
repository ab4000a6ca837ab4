// Ownership of host memory handles: a handle disposed at scope end unless it
// is handed on, and a lock that is undone at scope end. Both work through the
// host's "PF Handle Suite" so every handle the effect makes goes back to the
// host on every path, errors and exceptions included.
#pragma once
#include <cstddef>
#include <utility>

#include "AEConfig.h"
#include "AE_Effect.h"
#include "AE_EffectCBSuites.h"

// A handle this scope owns; disposed by the destructor unless Release()d.
class OwnedHostHandle {
 public:
  OwnedHostHandle(const PF_HandleSuite1* suite, PF_Handle handle) : suite_(suite), handle_(handle) {}
  ~OwnedHostHandle() {
    if (handle_ != nullptr && suite_ != nullptr) {
      suite_->host_dispose_handle(handle_);
    }
  }
  OwnedHostHandle(const OwnedHostHandle&) = delete;
  OwnedHostHandle& operator=(const OwnedHostHandle&) = delete;

  PF_Handle get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }
  // Hands the handle on; this object no longer disposes it.
  PF_Handle Release() { return std::exchange(handle_, nullptr); }

 private:
  const PF_HandleSuite1* suite_;
  PF_Handle handle_;
};

// Locks a handle for the scope's length. get() is null when the handle is
// null or the host could not lock it; then nothing is unlocked later.
class HostHandleLock {
 public:
  HostHandleLock(const PF_HandleSuite1* suite, PF_Handle handle) : suite_(suite), handle_(handle) {
    if (suite_ != nullptr && handle_ != nullptr) {
      data_ = suite_->host_lock_handle(handle_);
    }
  }
  ~HostHandleLock() { Unlock(); }
  HostHandleLock(const HostHandleLock&) = delete;
  HostHandleLock& operator=(const HostHandleLock&) = delete;

  void* get() const { return data_; }
  template <typename T>
  T* as() const {
    return static_cast<T*>(data_);
  }
  // Unlocks early (before the handle is disposed, for instance).
  void Unlock() {
    if (data_ != nullptr) {
      suite_->host_unlock_handle(handle_);
      data_ = nullptr;
    }
  }

 private:
  const PF_HandleSuite1* suite_;
  PF_Handle handle_;
  void* data_ = nullptr;
};
