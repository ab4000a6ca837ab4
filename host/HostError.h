// The error our host raises for its own failures (a module that does not load,
// a missing entry point, a bad request from a caller).
#pragma once
#include <stdexcept>
#include <string>

namespace dshost {

class HostError : public std::runtime_error {
 public:
  explicit HostError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace dshost
