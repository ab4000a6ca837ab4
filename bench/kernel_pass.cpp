// Runs MainKernel passes on one back end and nothing else, for instruction
// counts under callgrind (bench/kernel_instructions.sh):
//
//   kernel_pass cpp|opencl WIDTH HEIGHT PASSES
//
// The frames are seeded noise over gradients with the current frame moved
// 3 pixels, the settings the defaults on a half-strength pass (the same as
// kernel_bench). Only the kernel's own instructions are counted (callgrind
// collects inside MainKernel's code), so the program build is not.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "host/gpu/OpenCLProgram.h"
#include "kernels/DriftSmear_KernelSource.h"
#include "kernels/KernelCpu.h"
#include "render/DriftSmear_AePrGPU_Functions.h"

namespace {

using driftsmear::kernel::float4;

int Usage() {
  std::fprintf(stderr, "usage: kernel_pass cpp|opencl WIDTH HEIGHT PASSES\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    return Usage();
  }
  const std::string backend = argv[1];
  const auto width = static_cast<unsigned int>(std::strtoul(argv[2], nullptr, 10));
  const auto height = static_cast<unsigned int>(std::strtoul(argv[3], nullptr, 10));
  const int passes = std::atoi(argv[4]);
  if ((backend != "cpp" && backend != "opencl") || width == 0 || height == 0 || passes <= 0) {
    return Usage();
  }

  const std::size_t pixels = static_cast<std::size_t>(width) * height;
  std::vector<float4> previous(pixels);
  std::vector<float4> current(pixels);
  std::vector<float4> destination(pixels);
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> noise(0.0f, 0.5f);
  for (unsigned int y = 0; y < height; ++y) {
    for (unsigned int x = 0; x < width; ++x) {
      const float n = noise(rng);
      const float4 pixel{n + 0.25f * x / width, n, 0.5f * y / height + n, 1.0f};
      current[static_cast<std::size_t>(y) * width + x] = pixel;
      previous[static_cast<std::size_t>(y) * width + (x + 3) % width] = pixel;
    }
  }
  KernelData params = driftsmear::kernel::DefaultKernelData();
  params.percent = 0.5f;
  const int pitch = static_cast<int>(width);

  if (backend == "cpp") {
    for (int i = 0; i < passes; ++i) {
      driftsmear::kernel::RunMainKernelCpu(previous.data(), current.data(), destination.data(), &params, pitch, pitch,
                                           pitch, 0, width, height);
    }
  } else {
    std::string reason;
    const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(dshost::GpuApi::OpenCL, &reason);
    if (desc == nullptr) {
      std::fprintf(stderr, "no OpenCL device: %s\n", reason.c_str());
      return 1;
    }
    const std::unique_ptr<dshost::GpuDevice> device = dshost::GpuDevice::Open(*desc);
    const std::size_t bytes = pixels * sizeof(float4);
    const auto upload = [&](const void* data, std::size_t size) {
      dshost::DeviceBuffer buffer = device->Allocate(size);
      device->Write(buffer, data, size);
      return buffer;
    };
    const dshost::DeviceBuffer pre = upload(previous.data(), bytes);
    const dshost::DeviceBuffer cur = upload(current.data(), bytes);
    const dshost::DeviceBuffer dst = upload(destination.data(), bytes);
    const dshost::DeviceBuffer record = upload(&params, sizeof params);
    const dshost::ClProgram program = dshost::BuildOpenCLProgram(
        *device, {kOpenCL16FPrefix, std::string(kDriftSmearKernelSource, kDriftSmearKernelSourceLength)},
        kOpenCLBuildOptions);
    const dshost::ClKernel kernel = dshost::CreateOpenCLKernel(program.get(), "MainKernel");
    dshost::SetOpenCLKernelArgs(kernel.get(), pre, cur, dst, record, pitch, pitch, pitch, 0, width, height);
    for (int i = 0; i < passes; ++i) {
      dshost::RunOpenCLKernel(*device, kernel.get(), width, height);
    }
    device->Finish();
  }
  std::printf("%d passes of %ux%u on %s\n", passes, width, height, backend.c_str());
  return 0;
}
