// The GPU device layer, called directly on the host's OpenCL device: kernel
// build and lookup, the per-pass render with and without the resize pass, the
// failure lines, the GPU description and the text helpers.
#include "render/DriftSmear_AePrGPU_Functions.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#ifndef _WIN32
#include <sys/utsname.h>
#endif

#if DRIFTSMEAR_HAS_CUDA
#include <cuda_runtime_api.h>
#endif

#include "common/ContextReferences.h"
#include "common/RequireDevice.h"
#include "common/TestSupport.h"
#include "host/gpu/GpuDevice.h"
#include "render/DriftSmear_CPU.h"
#include "support/LogsController.h"

namespace {

using dshost::DeviceBuffer;
using dshost::GpuApi;
using dshost::GpuDevice;
using testsupport::LinesContaining;

TEST(ShortGPUName, TheLastBrandWordFollowedByANumberWins) {
  EXPECT_EQ(ShortGPUName("NVIDIA GeForce GTX 1080 Ti"), "GTX 1080");
  EXPECT_EQ(ShortGPUName("AMD Radeon RX 580"), "RX 580");
  EXPECT_EQ(ShortGPUName("NVIDIA GeForce RTX 3060Ti"), "RTX 3060Ti");
  EXPECT_EQ(ShortGPUName("AMD Radeon 780M Graphics"), "Radeon 780M");
  EXPECT_EQ(ShortGPUName("NVIDIA Quadro P4000"), "NVIDIA Quadro P4000") << "no number right after a brand word";
  EXPECT_EQ(ShortGPUName("pthread-skylake-avx512"), "pthread-skylake-avx512");
  EXPECT_EQ(ShortGPUName(""), "");
}

TEST(OpenCLErrorText, NamesTheFiftyNineCodesInHexadecimal) {
  EXPECT_EQ(OpenCLErrorText(-5), "Code: 0xFFFFFFFB (Out of resources)");
  EXPECT_EQ(OpenCLErrorText(0), "Code: 0x0 (Success)");
  EXPECT_EQ(OpenCLErrorText(-11), "Code: 0xFFFFFFF5 (Build program failure)");
  EXPECT_EQ(OpenCLErrorText(-19), "Code: 0xFFFFFFED (Kernel argument information not available)");
  EXPECT_EQ(OpenCLErrorText(-30), "Code: 0xFFFFFFE2 (Invalid value)");
  EXPECT_EQ(OpenCLErrorText(-54), "Code: 0xFFFFFFCA (Invalid work group size)");
  EXPECT_EQ(OpenCLErrorText(-68), "Code: 0xFFFFFFBC (Invalid device partition count)");
  EXPECT_EQ(OpenCLErrorText(-20), "Code: 0xFFFFFFEC (Unknown error)");
  EXPECT_EQ(OpenCLErrorText(-1001), "Code: 0xFFFFFC17 (Unknown error)");
  EXPECT_EQ(OpenCLErrorText(7), "Code: 0x7 (Unknown error)");

  int named = 0;
  for (int code = -200; code <= 200; ++code) {
    named += OpenCLErrorText(code).find("Unknown error") == std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(named, 59);
}

// The log of this process's device layer, written under a fresh temporary
// folder.
class LayerLog : public testsupport::LogCapture {
 public:
  // Error lines of one function of the layer with this message.
  size_t Errors(const std::string& function, const std::string& message) const {
    return LinesContaining(LogCapture::Errors("DriftSmear_AePrGPU_Functions.cpp:"), ":" + function + "] :: " + message)
        .size();
  }
  bool Has(const std::string& text) const { return !LinesContaining(Lines(), text).empty(); }
};

// (Metal and unknown frameworks are refused through EffectMain with the
// device setup.)
TEST(InitializeGPU, RefusesAMissingListAfterLoggingTheDevice) {
  LayerLog log;
  EXPECT_EQ(InitializeGPU(GPUFramework_OpenCL, nullptr, nullptr, nullptr), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(GetGPUStatusInfo().GetText(GPUStatusInfo::kFrameworkName), "");
  const auto lines = log.Lines();
  ASSERT_GE(lines.size(), 2u);
  // The device line comes first, whatever happens after it.
  EXPECT_NE(lines[0].find("KQR :: Initialized new device: OpenCL"), std::string::npos) << lines[0];
  EXPECT_EQ(log.Errors("InitializeGPU", "KernelList pointer is null"), 1u);
}

// An armed refusal replaces the GPU line of the panel: the headline is set
// and the GPU name and framework are cleared.
TEST(RenderCPU, AnArmedRefusalSetsTheHeadlineAndClearsTheGPUTexts) {
  LayerLog log;
  GPUStatusInfo& info = GetGPUStatusInfo();
  info.enabled = true;
  info.armed = true;
  info.SetText(GPUStatusInfo::kNoticeHeadline, {});
  info.SetText(GPUStatusInfo::kGPUShortName, "GTX 1080");
  info.SetText(GPUStatusInfo::kFrameworkName, "OpenCL");
  PF_InData in{};
  PF_OutData out{};
  PF_LayerDef world{};
  ASSERT_EQ(RenderCPU(&in, &out, &world, &world), PF_Err_NONE);
  EXPECT_EQ(info.GetText(GPUStatusInfo::kNoticeHeadline), "Drift Smear cannot render using CPU only.");
  EXPECT_EQ(info.GetText(GPUStatusInfo::kGPUShortName), "");
  EXPECT_EQ(info.GetText(GPUStatusInfo::kFrameworkName), "");
  EXPECT_NE(out.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
}

TEST(InitializeGPU, CudaCreatesNothingAndDisarmsTheCpuNotice) {
  LayerLog log;
  GPUStatusInfo& info = GetGPUStatusInfo();
  info.enabled = true;
  info.armed = true;
  KernelList list{};
#if DRIFTSMEAR_HAS_CUDA
  EXPECT_EQ(InitializeGPU(GPUFramework_CUDA, &list, nullptr, nullptr), PF_Err_NONE);
  EXPECT_EQ(info.GetText(GPUStatusInfo::kFrameworkName), "CUDA");
  EXPECT_EQ(list.entries[0].kernel, nullptr);
  EXPECT_EQ(list.entries[0].name[0], '\0');
  EXPECT_EQ(GPUDispose(GPUFramework_CUDA, &list), PF_Err_NONE);
#else
  // Without the CUDA kernels a CUDA device cannot render and is refused.
  EXPECT_EQ(InitializeGPU(GPUFramework_CUDA, &list, nullptr, nullptr), PF_Err_INTERNAL_STRUCT_DAMAGED);
#endif
  EXPECT_FALSE(info.enabled);
  EXPECT_FALSE(info.armed);
  EXPECT_EQ(GPUDispose(GPUFramework_CUDA, nullptr), PF_Err_NONE) << "a CUDA list may be null";
  EXPECT_EQ(GPUDispose(GPUFramework_OpenCL, nullptr), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(log.Errors("GPUDispose", "KernelList pointer is null"), 1u);
}

TEST(GPURender, UnknownFrameworksFailAndMetalDoesNothing) {
  LayerLog log;
  KernelData data{};
  MainKernelSizes main{};
  ResizeKernelSizes resize{};
  EXPECT_EQ(GPURender(static_cast<GPUFramework>(7), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, &data, &main, &resize, 16),
            PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(log.Errors("GPURender", "Uknown GPU framework. Value: 7"), 1u);
  EXPECT_EQ(GPURender(GPUFramework_Metal, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      &data, &main, &resize, 16),
            PF_Err_NONE);
}

TEST(GPURender, CudaWithoutADeviceReportsTheRuntimeError) {
#if DRIFTSMEAR_HAS_CUDA
  int devices = 0;
  if (cudaGetDeviceCount(&devices) == cudaSuccess && devices > 0) {
    GTEST_SKIP() << "an NVIDIA GPU is present; the CUDA render runs in the end-to-end tests";
  }
  cudaGetLastError();
  LayerLog log;
  KernelData data{};
  MainKernelSizes main{16, 16, 16, 0, 16, 16};
  ResizeKernelSizes resize{16, 16, 0, 16, 16, 16, 16, 0, 0};
  EXPECT_EQ(GPURender(GPUFramework_CUDA, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      &data, &main, &resize, 16),
            PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(LinesContaining(log.Lines(), ":GPURender] :: CUDA Assert: ").size(), 1u);
#else
  DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "CUDA skipped: this build has no CUDA support";
#endif
}

TEST(GPURender, AFailedCudaPassDoesNotFailTheNextOne) {
#if DRIFTSMEAR_HAS_CUDA
  std::string reason;
  const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(GpuApi::Cuda, &reason);
  if (desc == nullptr) {
    DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "CUDA skipped: " << reason;
  }
  auto device = GpuDevice::Open(*desc);
  LayerLog log;
  DeviceBuffer frame = device->Allocate(16 * 16 * 16);
  KernelData data{};
  MainKernelSizes main{16, 16, 16, 0, 16, 16};
  ResizeKernelSizes resize{16, 16, 0, 16, 16, 16, 16, 0, 0};
  const auto render = [&](int32_t blockSize) {
    return GPURender(GPUFramework_CUDA, nullptr, nullptr, nullptr, nullptr, frame.handle(), frame.handle(), nullptr,
                     frame.handle(), &data, &main, &resize, blockSize);
  };
  // Blocks of 64 x 64 threads exceed every CUDA device's limit: the launch
  // fails, and the error is cleared once reported.
  EXPECT_EQ(render(64), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(LinesContaining(log.Lines(), ":GPURender] :: CUDA Assert: ").size(), 1u);
  EXPECT_EQ(render(16), PF_Err_NONE);
  EXPECT_EQ(render(16), PF_Err_NONE);
  EXPECT_EQ(LinesContaining(log.Lines(), ":GPURender] :: CUDA Assert: ").size(), 1u);
#else
  DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "CUDA skipped: this build has no CUDA support";
#endif
}

// One float BGRA image on the device, `pitch` pixels per row.
struct DeviceImage {
  int width;
  int height;
  int pitch;
  DeviceBuffer buffer;
};

class DeviceLayer : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(GpuApi::OpenCL, &reason);
    if (desc == nullptr) {
      DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "OpenCL skipped: " << reason;
    }
    device_ = GpuDevice::Open(*desc);
    info_ = device_->Info();
    baseline_ = device_->ContextReferenceCount().value_or(0);
  }

  void TearDown() override {
    if (device_) {
      GPUDispose(GPUFramework_OpenCL, &list_);
      images_.clear();
      device_->Finish();
    }
  }

  PF_Err Initialize() { return InitializeGPU(GPUFramework_OpenCL, &list_, info_.devicePV, info_.contextPV); }

  DeviceImage& Image(int width, int height, float fill) {
    DeviceImage image{width, height, width + 3, {}};
    image.buffer = device_->Allocate(static_cast<size_t>(image.pitch) * height * 16);
    std::vector<float> pixels(static_cast<size_t>(image.pitch) * height * 4, fill);
    device_->Write(image.buffer, pixels.data(), pixels.size() * sizeof(float));
    images_.push_back(std::make_unique<DeviceImage>(std::move(image)));
    return *images_.back();
  }

  // A ramp whose four channels differ everywhere, so a swap of channels or
  // rows shows.
  void WriteRamp(DeviceImage& image) {
    std::vector<float> pixels(static_cast<size_t>(image.pitch) * image.height * 4, -1.0f);
    for (int y = 0; y < image.height; ++y) {
      for (int x = 0; x < image.width; ++x) {
        float* p = &pixels[(static_cast<size_t>(y) * image.pitch + x) * 4];
        p[0] = 0.01f * x;
        p[1] = 0.01f * y;
        p[2] = 0.5f + 0.001f * x;
        p[3] = 1.0f;
      }
    }
    device_->Write(image.buffer, pixels.data(), pixels.size() * sizeof(float));
  }

  std::vector<float> Read(const DeviceImage& image) {
    device_->Finish();
    std::vector<float> pixels(static_cast<size_t>(image.pitch) * image.height * 4);
    device_->Read(image.buffer, pixels.data(), pixels.size() * sizeof(float));
    return pixels;
  }

  static const float* At(const std::vector<float>& pixels, const DeviceImage& image, int x, int y) {
    return &pixels[(static_cast<size_t>(y) * image.pitch + x) * 4];
  }

  // One pass; without `resize` no resize pass (no offset, equal sizes).
  PF_Err Render(DeviceImage& prev, DeviceImage& cur, DeviceImage& intermediate, DeviceImage& dst, int width,
                int height, std::optional<ResizeKernelSizes> resize = std::nullopt) {
    const MainKernelSizes main{dst.pitch, dst.pitch, dst.pitch, 0, width, height};
    const ResizeKernelSizes sizes =
        resize.value_or(ResizeKernelSizes{cur.pitch, dst.pitch, 0, cur.width, cur.height, cur.width, cur.height, 0, 0});
    return GPURender(GPUFramework_OpenCL, &list_, info_.devicePV, info_.contextPV, info_.command_queuePV,
                     prev.buffer.handle(), cur.buffer.handle(), intermediate.buffer.handle(), dst.buffer.handle(),
                     &data_, &main, &sizes, 16);
  }

  uint32_t ContextReferences() const { return device_->ContextReferenceCount().value_or(0); }
  // The count once the device has released what finished passes held.
  uint32_t SettledReferences(uint32_t expected) const {
    return testsupport::SettledContextReferences(*device_, expected).value_or(0);
  }

  LayerLog log_;
  std::unique_ptr<GpuDevice> device_;
  PF_GPUDeviceInfo info_{};
  uint32_t baseline_ = 0;
  KernelList list_{};
  KernelData data_{};  // percent 0: the oldest pass, a copy of the current frame
  std::vector<std::unique_ptr<DeviceImage>> images_;
};

TEST_F(DeviceLayer, AFailedBuildLogsItsStatusAndTheCompilerLog) {
  const std::string broken = "__kernel void MainKernel(__global float4* a) { a[0] = undeclared; }";
  EXPECT_EQ(InitializeOpenCLWithText(&list_, static_cast<cl_device_id>(info_.devicePV),
                                     static_cast<cl_context>(info_.contextPV), broken.c_str(), broken.size()),
            PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(log_.Errors("InitializeOpenCL", "OpenCL Assert: Code: 0xFFFFFFF5 (Build program failure)"), 1u);
  // The compiler's own text follows as an error line of its own.
  EXPECT_TRUE(log_.Has("undeclared")) << "the build log names the undeclared identifier";
  EXPECT_EQ(list_.entries[0].kernel, nullptr);
  EXPECT_EQ(list_.entries[1].kernel, nullptr);
  EXPECT_EQ(SettledReferences(baseline_), baseline_) << "the failed program is released";
}

TEST_F(DeviceLayer, AMissingKernelStopsAtItsNameWithTheOpenCLStatus) {
  const std::string onlyMain = "__kernel void MainKernel(__global float4* a) { a[0] = (float4)(0.0f); }";
  EXPECT_EQ(InitializeOpenCLWithText(&list_, static_cast<cl_device_id>(info_.devicePV),
                                     static_cast<cl_context>(info_.contextPV), onlyMain.c_str(), onlyMain.size()),
            CL_INVALID_KERNEL_NAME);
  EXPECT_EQ(log_.Errors("InitializeOpenCL", "Can't initialize kernel function \"ResizeKernel\""), 1u);
  EXPECT_NE(list_.entries[0].kernel, nullptr) << "the kernel made before the failure stays";
  EXPECT_EQ(list_.entries[1].kernel, nullptr);
  EXPECT_EQ(GPUDispose(GPUFramework_OpenCL, &list_), PF_Err_NONE);
  EXPECT_EQ(SettledReferences(baseline_), baseline_);
}

// (Building the kernels, disarming the CPU notice and releasing everything
// at takedown are checked through EffectMain with the device setup.)
TEST_F(DeviceLayer, WithoutAResizeOffsetTheMainKernelReadsTheCurrentFrame) {
  ASSERT_EQ(Initialize(), PF_Err_NONE);
  EXPECT_EQ(GetGPUStatusInfo().GetText(GPUStatusInfo::kFrameworkName), "OpenCL");
  DeviceImage& cur = Image(40, 24, 0.0f);
  WriteRamp(cur);
  DeviceImage& intermediate = Image(40, 24, 7.0f);
  DeviceImage& dst = Image(40, 24, 9.0f);
  const uint32_t before = ContextReferences();
  ASSERT_EQ(Render(intermediate, cur, intermediate, dst, 40, 24), PF_Err_NONE);
  const auto out = Read(dst);
  const auto in = Read(cur);
  const auto scratch = Read(intermediate);
  for (int y = 0; y < 24; ++y) {
    for (int x = 0; x < 40; ++x) {
      // The copy exchanges the first and third channels.
      ASSERT_EQ(At(out, dst, x, y)[0], At(in, cur, x, y)[2]) << x << "," << y;
      ASSERT_EQ(At(out, dst, x, y)[2], At(in, cur, x, y)[0]) << x << "," << y;
      ASSERT_EQ(At(scratch, intermediate, x, y)[0], 7.0f) << "no resize pass ran";
    }
    EXPECT_EQ(At(out, dst, 40, y)[0], 9.0f) << "the row padding is left alone";
  }
  EXPECT_EQ(SettledReferences(before), before) << "the pass's parameter buffer is released";
}

TEST_F(DeviceLayer, TheOpenCLResizePassSeesInWidthAndOutHeightTwice) {
  ASSERT_EQ(Initialize(), PF_Err_NONE);
  // A tall source in a wide destination: OpenCL passes inWidth (16) for the
  // source height and outHeight (32) for the destination width.
  DeviceImage& src = Image(16, 32, 0.0f);
  WriteRamp(src);
  DeviceImage& intermediate = Image(64, 32, 7.0f);
  DeviceImage& dst = Image(64, 32, 9.0f);
  ASSERT_EQ(Render(intermediate, src, intermediate, dst, 64, 32,
                   ResizeKernelSizes{src.pitch, intermediate.pitch, 0, 16, 32, 64, 32, 1, 0}),
            PF_Err_NONE);
  const auto in = Read(src);
  const auto placed = Read(intermediate);
  const auto out = Read(dst);
  // Rows 0-15 of the source land one column to the right.
  EXPECT_EQ(At(placed, intermediate, 5, 3)[0], At(in, src, 4, 3)[0]);
  EXPECT_EQ(At(placed, intermediate, 16, 15)[1], At(in, src, 15, 15)[1]);
  // Rows 16-31 lie beyond the square source of side 16 and are cleared.
  EXPECT_EQ(At(placed, intermediate, 5, 20)[3], 0.0f);
  EXPECT_NE(At(in, src, 4, 20)[3], 0.0f);
  // Column 0 and columns 17-31 are cleared; columns 32-63 lie beyond the
  // square destination of side 32 and keep what was there.
  EXPECT_EQ(At(placed, intermediate, 0, 3)[3], 0.0f);
  EXPECT_EQ(At(placed, intermediate, 31, 3)[3], 0.0f);
  EXPECT_EQ(At(placed, intermediate, 32, 3)[3], 7.0f);
  // The main kernel read the placed frame, not the source.
  EXPECT_EQ(At(out, dst, 5, 3)[2], At(placed, intermediate, 5, 3)[0]);
  EXPECT_EQ(At(out, dst, 40, 3)[2], 7.0f);
}

TEST_F(DeviceLayer, AWideSourceIsReadNoFurtherThanItsLastRow) {
  ASSERT_EQ(Initialize(), PF_Err_NONE);
  // A 48 x 16 source at (8, 4) in a 64 x 40 destination: the OpenCL pass sees
  // a square source of side 48 and reads rows 16 to 35 below it. They read as
  // transparent black instead of the memory after the source.
  DeviceImage& src = Image(48, 16, 0.0f);
  WriteRamp(src);
  DeviceImage& intermediate = Image(64, 40, 7.0f);
  DeviceImage& dst = Image(64, 40, 9.0f);
  const uint32_t before = ContextReferences();
  ASSERT_EQ(Render(intermediate, src, intermediate, dst, 64, 40,
                   ResizeKernelSizes{src.pitch, intermediate.pitch, 0, 48, 16, 64, 40, 8, 4}),
            PF_Err_NONE);
  const auto in = Read(src);
  const auto placed = Read(intermediate);
  for (int y = 0; y < 40; ++y) {
    for (int x = 8; x < 40; ++x) {
      const bool inside = y >= 4 && y < 20;
      for (int c = 0; c < 4; ++c) {
        ASSERT_EQ(At(placed, intermediate, x, y)[c], inside ? At(in, src, x - 8, y - 4)[c] : 0.0f) << x << "," << y;
      }
    }
    EXPECT_EQ(At(placed, intermediate, 40, y)[3], 7.0f) << "beyond the square destination of side 40";
  }
  EXPECT_EQ(SettledReferences(before), before) << "the padded copy is released once the passes are done";
}

TEST_F(DeviceLayer, MissingKernelsAndAMissingListFailTheRender) {
  DeviceImage& image = Image(16, 16, 0.0f);
  const ResizeKernelSizes noResize{image.pitch, image.pitch, 0, 16, 16, 16, 16, 0, 0};
  const ResizeKernelSizes resize{image.pitch, image.pitch, 0, 16, 16, 16, 16, 2, 0};
  const MainKernelSizes main{image.pitch, image.pitch, image.pitch, 0, 16, 16};
  void* mem = image.buffer.handle();

  EXPECT_EQ(GPURender(GPUFramework_OpenCL, nullptr, info_.devicePV, info_.contextPV, info_.command_queuePV, mem, mem,
                      mem, mem, &data_, &main, &noResize, 16),
            PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(log_.Errors("GPURender", "KernelList pointer is null"), 1u);

  std::strcpy(list_.entries[0].name, "MainKernel");
  EXPECT_EQ(Render(image, image, image, image, 16, 16), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(log_.Errors("GPURender", "Unknown OpenCL Kernel Function: MainKernel"), 1u);

  ASSERT_EQ(Initialize(), PF_Err_NONE);
  clReleaseKernel(list_.entries[1].kernel);
  list_.entries[1].kernel = nullptr;
  DeviceImage& other = Image(16, 16, 0.0f);
  EXPECT_EQ(Render(image, other, image, image, 16, 16, noResize), PF_Err_NONE)
      << "without an offset the resize kernel is not needed";
  EXPECT_EQ(Render(image, other, image, image, 16, 16, resize), PF_Err_INTERNAL_STRUCT_DAMAGED);
  // This message has no colon and no space before the name.
  EXPECT_EQ(log_.Errors("GPURender", "Unknown OpenCL Kernel FunctionResizeKernel"), 1u);
}

TEST_F(DeviceLayer, AZeroWidthRunsNothing) {
  ASSERT_EQ(Initialize(), PF_Err_NONE);
  DeviceImage& cur = Image(16, 16, 0.5f);
  DeviceImage& dst = Image(16, 16, 9.0f);
  const PF_Err err = Render(cur, cur, cur, dst, 0, 16);
  // OpenCL 1.x rejects an empty range; from OpenCL 2.1 on it is a valid
  // launch of nothing.
  char version[128] = {};
  clGetDeviceInfo(static_cast<cl_device_id>(info_.devicePV), CL_DEVICE_VERSION, sizeof(version) - 1, version,
                  nullptr);
  int major = 0;
  int minor = 0;
  std::sscanf(version, "OpenCL %d.%d", &major, &minor);
  if (major * 10 + minor >= 21) {
    EXPECT_EQ(err, PF_Err_NONE) << version;
  } else {
    EXPECT_EQ(err, PF_Err_INTERNAL_STRUCT_DAMAGED) << version;
    EXPECT_EQ(log_.Errors("GPURender", "OpenCL Assert: Code: 0xFFFFFFC1 (Invalid global work size)"), 1u);
  }
  EXPECT_EQ(At(Read(dst), dst, 3, 3)[0], 9.0f);
}

TEST_F(DeviceLayer, TheFirstRenderDescribesTheDeviceAndTheSystem) {
#ifdef _WIN32
  GTEST_SKIP() << "On Windows the adapter is described by Direct3D 9, which the Windows tests cover";
#endif
  GPUStatusInfo& status = GetGPUStatusInfo();
  status.SetText(GPUStatusInfo::kGPUShortName, "");
  status.SetText(GPUStatusInfo::kNoticeHeadline, "headline");
  status.SetText(GPUStatusInfo::kNoticeInstruction, "instruction");
  ASSERT_EQ(Initialize(), PF_Err_NONE);
  DeviceImage& image = Image(16, 16, 0.0f);
  ASSERT_EQ(Render(image, image, image, image, 16, 16), PF_Err_NONE);

  char name[256] = {};
  clGetDeviceInfo(static_cast<cl_device_id>(info_.devicePV), CL_DEVICE_NAME, sizeof(name) - 1, name, nullptr);
  EXPECT_TRUE(log_.Has(std::string("KQR :: GPU DeviceName: ") + name));
  EXPECT_TRUE(log_.Has("KQR :: GPU Driver: " + device_->desc().vendor + " " + device_->desc().driverVersion));
  EXPECT_TRUE(log_.Has(std::string("KQR :: GPU Description: ") + name));
  EXPECT_EQ(status.GetText(GPUStatusInfo::kGPUShortName), ShortGPUName(name));
#ifndef _WIN32
  utsname system{};
  ASSERT_EQ(uname(&system), 0);
  int major = 0;
  int minor = 0;
  ASSERT_EQ(std::sscanf(system.release, "%d.%d", &major, &minor), 2);
  const std::string os = std::to_string(major) + "." + std::to_string(minor);
  EXPECT_EQ(status.GetText(GPUStatusInfo::kOSVersion), os);
  EXPECT_TRUE(log_.Has("KQR :: GPU: " + ShortGPUName(name) + ", OS: " + os));
#endif
  EXPECT_EQ(status.GetText(GPUStatusInfo::kNoticeHeadline), "");
  EXPECT_EQ(status.GetText(GPUStatusInfo::kNoticeInstruction), "");

  // Described once: a second render adds no lines.
  const size_t lines = log_.Lines().size();
  ASSERT_EQ(Render(image, image, image, image, 16, 16), PF_Err_NONE);
  EXPECT_EQ(log_.Lines().size(), lines);
}

}  // namespace
