// Shared pieces of the kernel tests: images in the kernels' memory form, the
// kernel runners of every back end, a typical parameter record and an image
// comparison that names the worst pixel.
#ifndef DRIFTSMEAR_TESTS_KERNELS_KERNEL_TEST_SUPPORT_H
#define DRIFTSMEAR_TESTS_KERNELS_KERNEL_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/RequireDevice.h"
#include "host/gpu/OpenCLProgram.h"
#include "kernels/KernelCpu.h"

namespace driftsmear::testing {

using kernel::float2;
using kernel::float4;
using kernel::make_float2;
using kernel::make_float4;

// BGRA pixels as the kernels address them: four floats or four halves per
// pixel, rows `pitch` pixels apart (pitch may exceed the width).
class PixelBuffer {
 public:
  PixelBuffer(unsigned int width, unsigned int height, bool half, int pitch = 0);

  unsigned int width() const { return width_; }
  unsigned int height() const { return height_; }
  int pitch() const { return pitch_; }
  bool half() const { return half_; }
  std::size_t bytes() const { return static_cast<std::size_t>(pitch_) * height_ * (half_ ? 8 : 16); }
  float4* data() { return storage_.data(); }
  const float4* data() const { return storage_.data(); }

  // Pixel values as stored (B, G, R, A), widened from half where needed.
  float4 Get(unsigned int x, unsigned int y) const;
  void Set(unsigned int x, unsigned int y, float4 bgra);
  void Fill(float4 bgra);

 private:
  unsigned int width_;
  unsigned int height_;
  int pitch_;
  bool half_;
  std::vector<float4> storage_;
};

// Runs the two kernels on one back end over PixelBuffers. All MainKernel
// buffers share the destination's size; passing the destination as `pre`
// runs the kernel in place, as the host's pass chain does.
class KernelBackend {
 public:
  virtual ~KernelBackend() = default;
  virtual std::string Name() const = 0;
  virtual void RunMain(const PixelBuffer& pre, const PixelBuffer& cur, PixelBuffer& dst, const KernelData& params) = 0;
  virtual void RunResize(const PixelBuffer& src, PixelBuffer& dst, int offsetX, int offsetY) = 0;
};

enum class Backend { Cpu, OpenCL, Cuda };
std::string BackendName(Backend backend);

// The back end's runner, or null with `reason` saying why it cannot run here
// (no OpenCL device, CUDA not built, no NVIDIA GPU or driver).
KernelBackend* GetBackend(Backend backend, std::string& reason);

// Skips the current test, with the reason, when the back end cannot run.
#define DRIFTSMEAR_REQUIRE_BACKEND(var, backend)                                     \
  std::string var##Reason;                                                           \
  ::driftsmear::testing::KernelBackend* var =                                        \
      ::driftsmear::testing::GetBackend(backend, var##Reason);                       \
  if (var == nullptr) {                                                              \
    DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << ::driftsmear::testing::BackendName(backend) << " skipped: " << var##Reason; \
  }

// The kernel program as the device layer builds it (the 16-bit switch as its
// own source string in front of the text, the same build options), with
// `extra` kernel text after it; the switch may be left out. Null, with the
// build log in `log`, when the build fails.
dshost::ClProgram BuildKernelProgram(dshost::GpuDevice& device, bool with16FSwitch = true,
                                     const std::string& extra = "", std::string* log = nullptr);

// A test on one back end, skipped with the reason where it cannot run.
template <typename Param>
class BackendTest : public ::testing::TestWithParam<Param> {
 protected:
  explicit BackendTest(Backend backend) : backendKind_(backend) {}
  void SetUp() override {
    std::string reason;
    backend_ = GetBackend(backendKind_, reason);
    if (backend_ == nullptr) {
      DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << BackendName(backendKind_) << " skipped: " << reason;
    }
  }
  Backend backendKind_;
  KernelBackend* backend_ = nullptr;
};

// The parameters at the effect's default settings, activated, full-strength
// pass (percent 1), result view.
KernelData DefaultParams();

// Compares stored values channel by channel. NaN matches NaN and an infinity
// matches the same infinity; any other pair must differ by at most
// `tolerance` (times the expected value's magnitude where that exceeds 1),
// except in at most `allowedOutliers` pixels. The message names the worst
// pixel and both values.
// Pixels flagged in `ignored` (row-major, width x height) are not compared.
::testing::AssertionResult ImagesAgree(const PixelBuffer& expected, const PixelBuffer& actual, float tolerance,
                                       std::size_t allowedOutliers = 0, const std::vector<bool>* ignored = nullptr);

}  // namespace driftsmear::testing

#endif  // DRIFTSMEAR_TESTS_KERNELS_KERNEL_TEST_SUPPORT_H
