#include "KernelTestSupport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <sstream>

#include "OpenCLHarness.h"

#if DRIFTSMEAR_HAS_CUDA
#include <cuda_runtime_api.h>

#include "kernels/DriftSmear_Kernel_CUDA.h"
#endif

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

class OpenCLBackend final : public KernelBackend {
 public:
  explicit OpenCLBackend(std::unique_ptr<OpenCLDevice> device)
      : device_(std::move(device)),
        program_(device_->BuildKernelProgram()),
        main_(device_->CreateKernel(program_.get(), "MainKernel")),
        resize_(device_->CreateKernel(program_.get(), "ResizeKernel")) {}

  std::string Name() const override { return "OpenCL (" + device_->Description() + ")"; }

  void RunMain(const PixelBuffer& pre, const PixelBuffer& cur, PixelBuffer& dst, const KernelData& params) override {
    BufferHandle dstBuffer = device_->CreateBuffer(dst.bytes(), dst.data());
    BufferHandle preBuffer = &pre == &dst ? nullptr : device_->CreateBuffer(pre.bytes(), pre.data());
    BufferHandle curBuffer = device_->CreateBuffer(cur.bytes(), cur.data());
    BufferHandle paramBuffer = device_->CreateBuffer(sizeof(KernelData), &params);
    const cl_mem preMem = preBuffer ? preBuffer.get() : dstBuffer.get();
    OpenCLDevice::SetArgs(main_.get(), preMem, curBuffer.get(), dstBuffer.get(), paramBuffer.get(), pre.pitch(),
                          cur.pitch(), dst.pitch(), dst.half() ? 1 : 0, dst.width(), dst.height());
    device_->Run(main_.get(), dst.width(), dst.height());
    device_->Read(dstBuffer.get(), dst.data(), dst.bytes());
  }

  void RunResize(const PixelBuffer& src, PixelBuffer& dst, int offsetX, int offsetY) override {
    BufferHandle srcBuffer = device_->CreateBuffer(src.bytes(), src.data());
    BufferHandle dstBuffer = device_->CreateBuffer(dst.bytes(), dst.data());
    OpenCLDevice::SetArgs(resize_.get(), srcBuffer.get(), dstBuffer.get(), src.pitch(), dst.pitch(),
                          dst.half() ? 1 : 0, src.width(), src.height(), dst.width(), dst.height(), offsetX,
                          offsetY);
    device_->Run(resize_.get(), dst.width(), dst.height());
    device_->Read(dstBuffer.get(), dst.data(), dst.bytes());
  }

 private:
  std::unique_ptr<OpenCLDevice> device_;
  ProgramHandle program_;
  KernelHandle main_;
  KernelHandle resize_;
};

#if DRIFTSMEAR_HAS_CUDA
void CudaCheck(cudaError_t err, const char* what) {
  if (err != cudaSuccess) {
    throw std::runtime_error(std::string(what) + ": " + cudaGetErrorString(err));
  }
}

// Device memory holding a copy of a host block, freed on scope exit.
class DeviceCopy {
 public:
  DeviceCopy(const void* data, std::size_t bytes) {
    CudaCheck(cudaMalloc(&pointer_, bytes), "cudaMalloc");
    CudaCheck(cudaMemcpy(pointer_, data, bytes, cudaMemcpyHostToDevice), "cudaMemcpy");
  }
  ~DeviceCopy() { cudaFree(pointer_); }
  DeviceCopy(const DeviceCopy&) = delete;
  DeviceCopy& operator=(const DeviceCopy&) = delete;
  float* get() const { return static_cast<float*>(pointer_); }
  void CopyTo(void* out, std::size_t bytes) const {
    CudaCheck(cudaMemcpy(out, pointer_, bytes, cudaMemcpyDeviceToHost), "cudaMemcpy");
  }

 private:
  void* pointer_ = nullptr;
};

class CudaBackend final : public KernelBackend {
 public:
  std::string Name() const override { return "CUDA"; }

  void RunMain(const PixelBuffer& pre, const PixelBuffer& cur, PixelBuffer& dst, const KernelData& params) override {
    DeviceCopy dstCopy(dst.data(), dst.bytes());
    std::unique_ptr<DeviceCopy> preCopy;
    if (&pre != &dst) {
      preCopy = std::make_unique<DeviceCopy>(pre.data(), pre.bytes());
    }
    DeviceCopy curCopy(cur.data(), cur.bytes());
    DeviceCopy paramCopy(&params, sizeof params);
    MainKernel_CUDA(preCopy ? preCopy->get() : dstCopy.get(), curCopy.get(), dstCopy.get(),
                    reinterpret_cast<KernelData*>(paramCopy.get()), pre.pitch(), cur.pitch(), dst.pitch(),
                    dst.half() ? 1 : 0, dst.width(), dst.height(), 16);
    CudaCheck(cudaPeekAtLastError(), "MainKernel_CUDA");
    dstCopy.CopyTo(dst.data(), dst.bytes());
  }

  void RunResize(const PixelBuffer& src, PixelBuffer& dst, int offsetX, int offsetY) override {
    DeviceCopy srcCopy(src.data(), src.bytes());
    DeviceCopy dstCopy(dst.data(), dst.bytes());
    ResizeKernel_CUDA(srcCopy.get(), dstCopy.get(), src.pitch(), dst.pitch(), dst.half() ? 1 : 0, src.width(),
                      src.height(), dst.width(), dst.height(), offsetX, offsetY, 16);
    CudaCheck(cudaPeekAtLastError(), "ResizeKernel_CUDA");
    dstCopy.CopyTo(dst.data(), dst.bytes());
  }
};
#endif

struct BackendSlot {
  std::unique_ptr<KernelBackend> runner;
  std::string reason;
};

BackendSlot MakeBackend(Backend backend) {
  BackendSlot slot;
  switch (backend) {
    case Backend::Cpu:
      slot.runner = std::make_unique<CpuBackend>();
      break;
    case Backend::OpenCL: {
      std::unique_ptr<OpenCLDevice> device = OpenCLDevice::Open(slot.reason);
      if (device) {
        slot.runner = std::make_unique<OpenCLBackend>(std::move(device));
      }
      break;
    }
    case Backend::Cuda: {
#if DRIFTSMEAR_HAS_CUDA
      int count = 0;
      const cudaError_t err = cudaGetDeviceCount(&count);
      if (err != cudaSuccess) {
        slot.reason = std::string("no usable NVIDIA GPU or driver (cudaGetDeviceCount: ") + cudaGetErrorString(err) +
                      ")";
      } else if (count == 0) {
        slot.reason = "no NVIDIA GPU";
      } else {
        slot.runner = std::make_unique<CudaBackend>();
      }
#else
      slot.reason = "the CUDA kernels are not part of this build";
#endif
      break;
    }
  }
  return slot;
}

}  // namespace

std::string BackendName(Backend backend) {
  switch (backend) {
    case Backend::Cpu:
      return "C++";
    case Backend::OpenCL:
      return "OpenCL";
    case Backend::Cuda:
      return "CUDA";
  }
  return "?";
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

KernelData DefaultParams() {
  KernelData params{};
  params.is_activated = true;
  params.numFrames = 10;
  params.trailIntensity = 10.0f;
  params.displaceIntensity = 5.0f;
  params.threshold = 0.3f;
  params.lambda = 0.5f;
  params.minVel = 0.01f;
  params.maxVel = 0.5f;
  params.offsetX = 0.0707107f;
  params.offsetY = 0.0707107f;
  params.chromatic = 0.5f;
  params.chromaticOffset = 0.0f;
  params.percentEase = 4.0f;
  params.percent = 1.0f;
  params.isPremult = true;
  params.preset = 1;
  params.showDebugData = 1;
  return params;
}

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
