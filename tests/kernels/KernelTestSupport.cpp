#include "KernelTestSupport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <sstream>

#include "render/DriftSmear_AePrGPU_Functions.h"

#if DRIFTSMEAR_HAS_CUDA
#include <cuda_runtime_api.h>

#include "kernels/DriftSmear_Kernel_CUDA.h"
#endif
#include "kernels/DriftSmear_KernelSource.h"

namespace driftsmear::testing {

PixelBuffer::PixelBuffer(unsigned int width, unsigned int height, bool half, int pitch)
    : width_(width), height_(height), pitch_(pitch > 0 ? pitch : static_cast<int>(width)), half_(half) {
  storage_.resize((bytes() + sizeof(float4) - 1) / sizeof(float4), make_float4(0.0f, 0.0f, 0.0f, 0.0f));
}

float4 PixelBuffer::Get(unsigned int x, unsigned int y) const {
  return kernel::ReadFloat4(data(), static_cast<int>(y) * pitch_ + static_cast<int>(x), half_);
}

void PixelBuffer::Set(unsigned int x, unsigned int y, float4 bgra) {
  kernel::WriteFloat4(bgra, data(), static_cast<int>(y) * pitch_ + static_cast<int>(x), half_);
}

void PixelBuffer::Fill(float4 bgra) {
  for (unsigned int y = 0; y < height_; ++y) {
    for (unsigned int x = 0; x < width_; ++x) {
      Set(x, y, bgra);
    }
  }
}

namespace {

class CpuBackend final : public KernelBackend {
 public:
  std::string Name() const override { return "C++"; }

  void RunMain(const PixelBuffer& pre, const PixelBuffer& cur, PixelBuffer& dst, const KernelData& params) override {
    kernel::RunMainKernelCpu(&pre == &dst ? dst.data() : pre.data(), cur.data(), dst.data(), &params, pre.pitch(),
                             cur.pitch(), dst.pitch(), dst.half() ? 1 : 0, dst.width(), dst.height());
  }

  void RunResize(const PixelBuffer& src, PixelBuffer& dst, int offsetX, int offsetY) override {
    kernel::RunResizeKernelCpu(src.data(), dst.data(), src.pitch(), dst.pitch(), dst.half() ? 1 : 0, src.width(),
                               src.height(), dst.width(), dst.height(), offsetX, offsetY);
  }
};

// OpenCL or CUDA through the host's device layer: every run copies the
// frames to fresh device buffers and reads the destination back.
class GpuBackend final : public KernelBackend {
 public:
  explicit GpuBackend(const dshost::GpuDeviceDesc& desc) : device_(dshost::GpuDevice::Open(desc)) {
    if (desc.api == dshost::GpuApi::OpenCL) {
      std::string log;
      program_ = BuildKernelProgram(*device_, true, "", &log);
      if (!program_) {
        throw std::runtime_error("building the kernel program failed:\n" + log);
      }
      main_ = dshost::CreateOpenCLKernel(program_.get(), "MainKernel");
      resize_ = dshost::CreateOpenCLKernel(program_.get(), "ResizeKernel");
    }
  }

  std::string Name() const override { return device_->desc().Describe(); }

  void RunMain(const PixelBuffer& pre, const PixelBuffer& cur, PixelBuffer& dst, const KernelData& params) override {
    const DeviceBuffer dstMem = Copy(dst.data(), dst.bytes());
    const DeviceBuffer preMem = &pre == &dst ? DeviceBuffer() : Copy(pre.data(), pre.bytes());
    const DeviceBuffer curMem = Copy(cur.data(), cur.bytes());
    const DeviceBuffer paramMem = Copy(&params, sizeof params);
    const DeviceBuffer& previous = preMem ? preMem : dstMem;
    const int half = dst.half() ? 1 : 0;
    if (main_) {
      dshost::SetOpenCLKernelArgs(main_.get(), previous, curMem, dstMem, paramMem, pre.pitch(), cur.pitch(),
                                  dst.pitch(), half, dst.width(), dst.height());
      dshost::RunOpenCLKernel(*device_, main_.get(), dst.width(), dst.height());
    } else {
#if DRIFTSMEAR_HAS_CUDA
      MainKernel_CUDA(Floats(previous), Floats(curMem), Floats(dstMem), static_cast<KernelData*>(paramMem.handle()),
                      pre.pitch(), cur.pitch(), dst.pitch(), half, dst.width(), dst.height(), 16);
      CheckCuda("MainKernel_CUDA");
#endif
    }
    device_->Read(dstMem, dst.data(), dst.bytes());
  }

  void RunResize(const PixelBuffer& src, PixelBuffer& dst, int offsetX, int offsetY) override {
    const DeviceBuffer srcMem = Copy(src.data(), src.bytes());
    const DeviceBuffer dstMem = Copy(dst.data(), dst.bytes());
    const int half = dst.half() ? 1 : 0;
    if (resize_) {
      dshost::SetOpenCLKernelArgs(resize_.get(), srcMem, dstMem, src.pitch(), dst.pitch(), half, src.width(),
                                  src.height(), dst.width(), dst.height(), offsetX, offsetY);
      dshost::RunOpenCLKernel(*device_, resize_.get(), dst.width(), dst.height());
    } else {
#if DRIFTSMEAR_HAS_CUDA
      ResizeKernel_CUDA(Floats(srcMem), Floats(dstMem), src.pitch(), dst.pitch(), half, src.width(), src.height(),
                        dst.width(), dst.height(), offsetX, offsetY, 16);
      CheckCuda("ResizeKernel_CUDA");
#endif
    }
    device_->Read(dstMem, dst.data(), dst.bytes());
  }

 private:
  using DeviceBuffer = dshost::DeviceBuffer;

  DeviceBuffer Copy(const void* data, std::size_t bytes) {
    DeviceBuffer buffer = device_->Allocate(bytes);
    device_->Write(buffer, data, bytes);
    return buffer;
  }
  static float* Floats(const DeviceBuffer& buffer) { return static_cast<float*>(buffer.handle()); }
#if DRIFTSMEAR_HAS_CUDA
  static void CheckCuda(const char* what) {
    const cudaError_t err = cudaPeekAtLastError();
    if (err != cudaSuccess) {
      throw std::runtime_error(std::string(what) + ": " + cudaGetErrorString(err));
    }
  }
#endif

  std::unique_ptr<dshost::GpuDevice> device_;
  dshost::ClProgram program_;
  dshost::ClKernel main_;
  dshost::ClKernel resize_;
};

struct BackendSlot {
  std::unique_ptr<KernelBackend> runner;
  std::string reason;
};

BackendSlot MakeBackend(Backend backend) {
  BackendSlot slot;
  if (backend == Backend::Cpu) {
    slot.runner = std::make_unique<CpuBackend>();
  } else if (const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(
                 backend == Backend::Cuda ? dshost::GpuApi::Cuda : dshost::GpuApi::OpenCL, &slot.reason)) {
    slot.runner = std::make_unique<GpuBackend>(*desc);
  }
  return slot;
}

}  // namespace

std::string BackendName(Backend backend) {
  return backend == Backend::Cpu ? "C++" : backend == Backend::OpenCL ? "OpenCL" : "CUDA";
}

dshost::ClProgram BuildKernelProgram(dshost::GpuDevice& device, bool with16FSwitch, const std::string& extra,
                                     std::string* log) {
  std::vector<std::string> sources{std::string(kDriftSmearKernelSource, kDriftSmearKernelSourceLength), extra};
  if (with16FSwitch) {
    sources.insert(sources.begin(), kOpenCL16FPrefix);
  }
  return dshost::BuildOpenCLProgram(device, sources, kOpenCLBuildOptions, log);
}

KernelBackend* GetBackend(Backend backend, std::string& reason) {
  static std::map<Backend, BackendSlot> slots;
  auto found = slots.find(backend);
  if (found == slots.end()) {
    found = slots.emplace(backend, MakeBackend(backend)).first;
  }
  reason = found->second.reason;
  return found->second.runner.get();
}

KernelData DefaultParams() { return driftsmear::kernel::DefaultKernelData(); }

::testing::AssertionResult ImagesAgree(const PixelBuffer& expected, const PixelBuffer& actual, float tolerance,
                                       std::size_t allowedOutliers, const std::vector<bool>* ignored) {
  if (expected.width() != actual.width() || expected.height() != actual.height()) {
    return ::testing::AssertionFailure() << "image sizes differ";
  }
  double worst = -1.0;
  unsigned int worstX = 0;
  unsigned int worstY = 0;
  int worstChannel = 0;
  float worstExpected = 0.0f;
  float worstActual = 0.0f;
  std::size_t outliers = 0;
  for (unsigned int y = 0; y < expected.height(); ++y) {
    for (unsigned int x = 0; x < expected.width(); ++x) {
      if (ignored != nullptr && (*ignored)[static_cast<std::size_t>(y) * expected.width() + x]) {
        continue;
      }
      const float4 e = expected.Get(x, y);
      const float4 a = actual.Get(x, y);
      const float ev[4] = {e.x, e.y, e.z, e.w};
      const float av[4] = {a.x, a.y, a.z, a.w};
      bool outlier = false;
      for (int c = 0; c < 4; ++c) {
        double diff;
        if (std::isnan(ev[c]) || std::isnan(av[c])) {
          diff = std::isnan(ev[c]) && std::isnan(av[c]) ? 0.0 : std::numeric_limits<double>::infinity();
        } else if (std::isinf(ev[c]) || std::isinf(av[c])) {
          diff = ev[c] == av[c] ? 0.0 : std::numeric_limits<double>::infinity();
        } else {
          // Relative to the value's magnitude above 1 (debug views reach the hundreds).
          diff = std::fabs(static_cast<double>(ev[c]) - static_cast<double>(av[c])) /
                 std::max(1.0, std::fabs(static_cast<double>(ev[c])));
        }
        outlier = outlier || diff > tolerance;
        if (diff > worst) {
          worst = diff;
          worstX = x;
          worstY = y;
          worstChannel = c;
          worstExpected = ev[c];
          worstActual = av[c];
        }
      }
      outliers += outlier ? 1 : 0;
    }
  }
  std::ostringstream report;
  report.precision(9);
  report << outliers << " of " << expected.width() * expected.height() << " pixels differ by more than "
         << tolerance << " (allowed " << allowedOutliers << "); worst at (" << worstX << ", " << worstY
         << ") channel " << "BGRA"[worstChannel] << ": expected " << worstExpected << ", actual " << worstActual;
  if (outliers > allowedOutliers) {
    return ::testing::AssertionFailure() << report.str();
  }
  return ::testing::AssertionSuccess() << report.str();
}

}  // namespace driftsmear::testing
