// The OpenCL context's reference count once the device has let go of what
// finished commands held. PoCL releases the buffers a command used on its own
// driver thread, a moment after the command is reported complete, so a count
// read straight after a wait can still include them. This waits (briefly, and
// only while the count differs from the expected one) for that release.
#pragma once
#include <chrono>
#include <cstdint>
#include <optional>
#include <thread>

#include "host/gpu/GpuDevice.h"

namespace testsupport {

inline std::optional<uint32_t> SettledContextReferences(dshost::GpuDevice& device, std::optional<uint32_t> expected) {
  device.Finish();
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  std::optional<uint32_t> count = device.ContextReferenceCount();
  while (count != expected && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    count = device.ContextReferenceCount();
  }
  return count;
}

}  // namespace testsupport
