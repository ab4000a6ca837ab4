// The host's suites by published name and version, offered through the basic
// suite. Any suite can be withheld, and acquisitions are balanced-checked.
#pragma once
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "SPBasic.h"

namespace dshost {

class Faults;

class SuiteRegistry {
 public:
  explicit SuiteRegistry(Faults& faults);

  void Publish(const std::string& name, int32_t version, const void* suite);
  // A withheld suite is reported as missing; version -1 withholds every version.
  void Withhold(const std::string& name, int32_t version = -1);
  void RestoreAll();

  SPErr Acquire(const char* name, int32_t version, const void** suite);
  SPErr Release(const char* name, int32_t version);

  // Acquisitions not yet released, over all suites.
  int64_t Outstanding() const;
  int64_t AcquireCount(const std::string& name) const;

  // The basic suite whose calls reach the registry of the calling thread's
  // current host (see HostScope).
  static const SPBasicSuite* BasicSuite();

 private:
  using Key = std::pair<std::string, int32_t>;
  Faults& faults_;
  mutable std::mutex mutex_;
  std::map<Key, const void*> suites_;
  std::set<Key> withheld_;
  std::map<Key, int64_t> outstanding_;
  std::map<std::string, int64_t> acquired_;
};

}  // namespace dshost
