#include "host/SuiteRegistry.h"

#include <cstdlib>
#include <cstring>

#include "host/Faults.h"
#include "host/HostRuntime.h"

namespace dshost {

SuiteRegistry::SuiteRegistry(Faults& faults) : faults_(faults) {}

void SuiteRegistry::Publish(const std::string& name, int32_t version, const void* suite) {
  std::lock_guard<std::mutex> lock(mutex_);
  suites_[{name, version}] = suite;
}

void SuiteRegistry::Withhold(const std::string& name, int32_t version) {
  std::lock_guard<std::mutex> lock(mutex_);
  withheld_.insert({name, version});
}

void SuiteRegistry::RestoreAll() {
  std::lock_guard<std::mutex> lock(mutex_);
  withheld_.clear();
}

SPErr SuiteRegistry::Acquire(const char* name, int32_t version, const void** suite) {
  if (name == nullptr || suite == nullptr) {
    return kSPSuiteNotFoundError;
  }
  *suite = nullptr;
  if (faults_.Hit(std::string("AcquireSuite.") + name) != 0) {
    return kSPSuiteNotFoundError;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  const Key key{name, version};
  if (withheld_.count(key) != 0 || withheld_.count({name, -1}) != 0) {
    return kSPSuiteNotFoundError;
  }
  const auto found = suites_.find(key);
  if (found == suites_.end()) {
    return kSPSuiteNotFoundError;
  }
  *suite = found->second;
  ++outstanding_[key];
  ++acquired_[name];
  return kSPNoError;
}

SPErr SuiteRegistry::Release(const char* name, int32_t version) {
  if (name == nullptr) {
    return kSPSuiteNotFoundError;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = outstanding_.find({name, version});
  if (found == outstanding_.end() || found->second == 0) {
    return kSPSuiteNotFoundError;
  }
  --found->second;
  return kSPNoError;
}

int64_t SuiteRegistry::Outstanding() const {
  std::lock_guard<std::mutex> lock(mutex_);
  int64_t total = 0;
  for (const auto& [key, count] : outstanding_) {
    total += count;
  }
  return total;
}

int64_t SuiteRegistry::AcquireCount(const std::string& name) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = acquired_.find(name);
  return found == acquired_.end() ? 0 : found->second;
}

namespace {

SuiteRegistry* CurrentRegistry() {
  HostRuntime* runtime = HostRuntime::Current();
  return runtime != nullptr ? &runtime->suites() : nullptr;
}

SPErr BasicAcquire(const char* name, int32_t version, const void** suite) {
  SuiteRegistry* registry = CurrentRegistry();
  return registry != nullptr ? registry->Acquire(name, version, suite) : kSPSuiteNotFoundError;
}

SPErr BasicRelease(const char* name, int32_t version) {
  SuiteRegistry* registry = CurrentRegistry();
  return registry != nullptr ? registry->Release(name, version) : kSPSuiteNotFoundError;
}

SPBoolean BasicIsEqual(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

SPErr BasicAllocate(size_t size, void** block) {
  *block = std::malloc(size);
  return *block != nullptr ? kSPNoError : kSPUnimplementedError;
}

SPErr BasicFree(void* block) {
  std::free(block);
  return kSPNoError;
}

SPErr BasicReallocate(void* block, size_t size, void** newBlock) {
  *newBlock = std::realloc(block, size);
  return *newBlock != nullptr ? kSPNoError : kSPUnimplementedError;
}

SPErr BasicUndefined() { return kSPUnimplementedError; }

const SPBasicSuite kBasicSuite = {BasicAcquire, BasicRelease,    BasicIsEqual,    BasicAllocate,
                                  BasicFree,    BasicReallocate, BasicUndefined};

}  // namespace

const SPBasicSuite* SuiteRegistry::BasicSuite() { return &kBasicSuite; }

}  // namespace dshost
