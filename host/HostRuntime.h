// The state one host shares with every callback it hands the plug-in: the
// suite registry, the fault plan and call counters, and the memory handles
// the plug-in holds. Suite functions carry no context of their own, so a host
// makes itself the calling thread's current runtime (HostScope) around every
// call into the plug-in.
#pragma once
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include "AE_Effect.h"
#include "host/Faults.h"
#include "host/SuiteRegistry.h"

namespace dshost {

class HostRuntime {
 public:
  HostRuntime();
  ~HostRuntime();
  HostRuntime(const HostRuntime&) = delete;
  HostRuntime& operator=(const HostRuntime&) = delete;

  Faults& faults() { return faults_; }
  SuiteRegistry& suites() { return suites_; }

  // Memory handles ("PF Handle Suite" and the utility callbacks).
  PF_Handle NewHandle(uint64_t size);
  void* LockHandle(PF_Handle handle);
  void UnlockHandle(PF_Handle handle);
  void DisposeHandle(PF_Handle handle);
  uint64_t HandleSize(PF_Handle handle) const;
  PF_Err ResizeHandle(uint64_t size, PF_Handle* handle);
  size_t LiveHandles() const;

  // The runtime of the calling thread's current host, or nullptr.
  static HostRuntime* Current();

 private:
  friend class HostScope;
  struct HandleRecord {
    void* data;  // the handle points at this member
    uint64_t size;
    int locks;
  };
  Faults faults_;
  SuiteRegistry suites_;
  mutable std::mutex handleMutex_;
  std::map<PF_Handle, HandleRecord*> handles_;
};

// Makes a runtime the calling thread's current one for the scope's length;
// scopes nest.
class HostScope {
 public:
  explicit HostScope(HostRuntime& runtime);
  ~HostScope();
  HostScope(const HostScope&) = delete;
  HostScope& operator=(const HostScope&) = delete;

 private:
  HostRuntime* previous_;
};

}  // namespace dshost
