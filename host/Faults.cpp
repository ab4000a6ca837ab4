#include "host/Faults.h"

namespace dshost {

void Faults::FailCall(const std::string& call, int64_t nth, int32_t code) {
  std::lock_guard<std::mutex> lock(mutex_);
  plans_[call] = Plan{nth, code};
}

void Faults::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  plans_.clear();
}

int32_t Faults::Hit(const std::string& call) {
  std::lock_guard<std::mutex> lock(mutex_);
  const int64_t count = ++counts_[call];
  const auto plan = plans_.find(call);
  if (plan != plans_.end() && (plan->second.nth == 0 || plan->second.nth == count)) {
    return plan->second.code;
  }
  return 0;
}

int64_t Faults::Count(const std::string& call) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = counts_.find(call);
  return found == counts_.end() ? 0 : found->second;
}

std::map<std::string, int64_t> Faults::Counts() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return counts_;
}

}  // namespace dshost
