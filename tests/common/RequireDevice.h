// Skips a test that cannot run for lack of a device (no OpenCL device, no
// CUDA build, no NVIDIA GPU or driver), with the reason streamed after it:
//   if (device == nullptr) DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << reason;
// On a machine that must have every device (scripts/test-gpu.sh sets
// DRIFTSMEAR_REQUIRE_DEVICES=1) the same statement fails the test instead,
// so a GPU run cannot pass by skipping its GPU cases.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace testsupport {

inline bool DevicesRequired() {
  const char* value = std::getenv("DRIFTSMEAR_REQUIRE_DEVICES");
  return value != nullptr && *value != '\0' && std::strcmp(value, "0") != 0;
}

}  // namespace testsupport

#define DRIFTSMEAR_SKIP_WITHOUT_DEVICE()                                                                            \
  return GTEST_MESSAGE_("a device this test needs is missing",                                                      \
                        ::testsupport::DevicesRequired() ? ::testing::TestPartResult::kFatalFailure                 \
                                                         : ::testing::TestPartResult::kSkip)
