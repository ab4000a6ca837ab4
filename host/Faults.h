// Counts every host call the plug-in makes and fails chosen calls on request,
// so tests can drive each failure path of the plug-in through the real host.
#pragma once
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace dshost {

class Faults {
 public:
  // Fail the nth call (1-based) of the named call point with this code; with
  // nth = 0 every call fails. Call points are named "<suite or group>.<call>",
  // for example "PF Handle Suite.host_new_handle" or "inter.checkout_param".
  void FailCall(const std::string& call, int64_t nth = 1, int32_t code = -1);
  void Clear();

  // Records one call; returns 0 to proceed or the error code to report.
  int32_t Hit(const std::string& call);

  int64_t Count(const std::string& call) const;
  std::map<std::string, int64_t> Counts() const;

 private:
  struct Plan {
    int64_t nth;
    int32_t code;
  };
  mutable std::mutex mutex_;
  std::map<std::string, int64_t> counts_;
  std::map<std::string, Plan> plans_;
};

}  // namespace dshost
