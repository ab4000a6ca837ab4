#include "host/gpu/OpenCLProgram.h"

#include "host/HostError.h"

namespace dshost {

void ThrowIfOpenCLFailed(cl_int status, const char* call) {
  if (status != CL_SUCCESS) {
    throw HostError(std::string(call) + " failed with OpenCL status " + std::to_string(status));
  }
}

ClProgram BuildOpenCLProgram(GpuDevice& device, const std::vector<std::string>& sources, const char* options,
                             std::string* log) {
  std::vector<const char*> texts;
  std::vector<std::size_t> lengths;
  for (const std::string& source : sources) {
    texts.push_back(source.data());
    lengths.push_back(source.size());
  }
  const PF_GPUDeviceInfo info = device.Info();
  cl_device_id id = static_cast<cl_device_id>(info.devicePV);
  cl_int status = CL_SUCCESS;
  ClProgram program(clCreateProgramWithSource(static_cast<cl_context>(info.contextPV),
                                              static_cast<cl_uint>(texts.size()), texts.data(), lengths.data(),
                                              &status));
  ThrowIfOpenCLFailed(status, "clCreateProgramWithSource");
  const cl_int built = clBuildProgram(program.get(), 1, &id, options, nullptr, nullptr);
  if (log != nullptr) {
    std::size_t size = 0;
    clGetProgramBuildInfo(program.get(), id, CL_PROGRAM_BUILD_LOG, 0, nullptr, &size);
    log->assign(size, '\0');
    if (size > 0) {
      clGetProgramBuildInfo(program.get(), id, CL_PROGRAM_BUILD_LOG, size, log->data(), nullptr);
      log->resize(size - 1);
    }
  }
  return built == CL_SUCCESS ? std::move(program) : nullptr;
}

ClKernel CreateOpenCLKernel(cl_program program, const char* name) {
  cl_int status = CL_SUCCESS;
  ClKernel kernel(clCreateKernel(program, name, &status));
  ThrowIfOpenCLFailed(status, "clCreateKernel");
  return kernel;
}

void RunOpenCLKernel(GpuDevice& device, cl_kernel kernel, std::size_t width, std::size_t height,
                     std::size_t blockSize) {
  const std::size_t local[2] = {blockSize, blockSize};
  const std::size_t global[2] = {(width + blockSize - 1) / blockSize * blockSize,
                                 (height + blockSize - 1) / blockSize * blockSize};
  ThrowIfOpenCLFailed(clEnqueueNDRangeKernel(static_cast<cl_command_queue>(device.Info().command_queuePV), kernel, 2,
                                             nullptr, global, local, 0, nullptr, nullptr),
                      "clEnqueueNDRangeKernel");
  device.Finish();
}

}  // namespace dshost
