// OpenCL programs and kernels on an opened OpenCL device, for code that runs
// kernels itself (the kernel tests and benchmarks): build from source strings,
// look kernels up, set their arguments and run a 2-D range. Every failure
// other than a failed build is thrown as HostError.
#pragma once
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "host/gpu/GpuDevice.h"

namespace dshost {

struct ClProgramRelease {
  void operator()(cl_program program) const { clReleaseProgram(program); }
};
struct ClKernelRelease {
  void operator()(cl_kernel kernel) const { clReleaseKernel(kernel); }
};
using ClProgram = std::unique_ptr<std::remove_pointer_t<cl_program>, ClProgramRelease>;
using ClKernel = std::unique_ptr<std::remove_pointer_t<cl_kernel>, ClKernelRelease>;

void ThrowIfOpenCLFailed(cl_int status, const char* call);

// Builds the source strings, in order, as one program for the device with
// these options. `log` (if given) receives the build log, also on success.
// Null when the build fails.
ClProgram BuildOpenCLProgram(GpuDevice& device, const std::vector<std::string>& sources, const char* options,
                             std::string* log = nullptr);
ClKernel CreateOpenCLKernel(cl_program program, const char* name);

// Sets the arguments in order: device buffers as their cl_mem, anything else
// (32-bit scalars, cl_mem) by value.
template <typename... Args>
void SetOpenCLKernelArgs(cl_kernel kernel, const Args&... args) {
  cl_uint index = 0;
  const auto set = [&](const auto& arg) {
    if constexpr (std::is_same_v<std::decay_t<decltype(arg)>, DeviceBuffer>) {
      const cl_mem memory = static_cast<cl_mem>(arg.handle());
      ThrowIfOpenCLFailed(clSetKernelArg(kernel, index++, sizeof memory, &memory), "clSetKernelArg");
    } else {
      ThrowIfOpenCLFailed(clSetKernelArg(kernel, index++, sizeof arg, &arg), "clSetKernelArg");
    }
  };
  (set(args), ...);
}

// Enqueues width x height work-items, rounded up to whole blockSize x
// blockSize groups, and waits for them.
void RunOpenCLKernel(GpuDevice& device, cl_kernel kernel, std::size_t width, std::size_t height,
                     std::size_t blockSize = 16);

}  // namespace dshost
