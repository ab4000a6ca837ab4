// Minimal OpenCL harness for the kernel tests and benchmarks: finds a device,
// owns context, queue, program, kernels and buffers through RAII holders, and
// builds the kernel program the way the device layer does (the 16-bit switch
// as its own source string in front of the text, the same build options).
// Header-only so the benchmark can use it too.
#ifndef DRIFTSMEAR_TESTS_KERNELS_OPENCL_HARNESS_H
#define DRIFTSMEAR_TESTS_KERNELS_OPENCL_HARNESS_H

#include <CL/cl.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "kernels/DriftSmear_KernelSource.h"

namespace driftsmear::testing {

inline constexpr const char* kOpenCL16FPrefix = "#define GF_OPENCL_SUPPORTS_16F 1\n";
inline constexpr const char* kOpenCLBuildOptions = "-cl-single-precision-constant -cl-fast-relaxed-math";

template <typename Handle, cl_int (*Release)(Handle)>
struct ClDeleter {
  void operator()(Handle handle) const { Release(handle); }
};
using ContextHandle =
    std::unique_ptr<std::remove_pointer_t<cl_context>, ClDeleter<cl_context, clReleaseContext>>;
using QueueHandle =
    std::unique_ptr<std::remove_pointer_t<cl_command_queue>, ClDeleter<cl_command_queue, clReleaseCommandQueue>>;
using ProgramHandle =
    std::unique_ptr<std::remove_pointer_t<cl_program>, ClDeleter<cl_program, clReleaseProgram>>;
using KernelHandle = std::unique_ptr<std::remove_pointer_t<cl_kernel>, ClDeleter<cl_kernel, clReleaseKernel>>;
using BufferHandle = std::unique_ptr<std::remove_pointer_t<cl_mem>, ClDeleter<cl_mem, clReleaseMemObject>>;

inline void ClCheck(cl_int err, const char* what) {
  if (err != CL_SUCCESS) {
    throw std::runtime_error(std::string(what) + " failed with OpenCL error " + std::to_string(err));
  }
}

class OpenCLDevice {
 public:
  // The first GPU of any platform, else the first device of any kind; null
  // with `reason` filled when there is none.
  static std::unique_ptr<OpenCLDevice> Open(std::string& reason) {
    cl_uint platformCount = 0;
    if (clGetPlatformIDs(0, nullptr, &platformCount) != CL_SUCCESS || platformCount == 0) {
      reason = "no OpenCL platform is installed";
      return nullptr;
    }
    std::vector<cl_platform_id> platforms(platformCount);
    clGetPlatformIDs(platformCount, platforms.data(), nullptr);
    for (cl_device_type type : {cl_device_type{CL_DEVICE_TYPE_GPU}, cl_device_type{CL_DEVICE_TYPE_ALL}}) {
      for (cl_platform_id platform : platforms) {
        cl_device_id device = nullptr;
        if (clGetDeviceIDs(platform, type, 1, &device, nullptr) == CL_SUCCESS && device != nullptr) {
          return std::unique_ptr<OpenCLDevice>(new OpenCLDevice(platform, device));
        }
      }
    }
    reason = "no OpenCL device is available";
    return nullptr;
  }

  cl_context context() const { return context_.get(); }
  cl_command_queue queue() const { return queue_.get(); }
  cl_device_id device() const { return device_; }

  std::string Description() const {
    return Info(clGetPlatformInfo, platform_, CL_PLATFORM_NAME) + " / " +
           Info(clGetDeviceInfo, device_, CL_DEVICE_NAME);
  }

  // Builds a program from the given source strings; null with `log` holding
  // the build log when the build fails. The log is filled on success too.
  ProgramHandle Build(const std::vector<std::string>& sources, const char* options, std::string& log) const {
    std::vector<const char*> texts;
    std::vector<std::size_t> lengths;
    for (const std::string& source : sources) {
      texts.push_back(source.data());
      lengths.push_back(source.size());
    }
    cl_int err = CL_SUCCESS;
    ProgramHandle program(clCreateProgramWithSource(context(), static_cast<cl_uint>(texts.size()), texts.data(),
                                                    lengths.data(), &err));
    ClCheck(err, "clCreateProgramWithSource");
    const cl_int buildErr = clBuildProgram(program.get(), 1, &device_, options, nullptr, nullptr);
    std::size_t logSize = 0;
    clGetProgramBuildInfo(program.get(), device_, CL_PROGRAM_BUILD_LOG, 0, nullptr, &logSize);
    log.assign(logSize, '\0');
    if (logSize > 0) {
      clGetProgramBuildInfo(program.get(), device_, CL_PROGRAM_BUILD_LOG, logSize, log.data(), nullptr);
      log.resize(logSize - 1);
    }
    if (buildErr != CL_SUCCESS) {
      return nullptr;
    }
    return program;
  }

  // The kernel program as the device layer builds it (prefix, text, options),
  // or with the 16-bit switch left out.
  ProgramHandle BuildKernelProgram(bool with16FSwitch = true) const {
    std::vector<std::string> sources;
    if (with16FSwitch) {
      sources.emplace_back(kOpenCL16FPrefix);
    }
    sources.emplace_back(kDriftSmearKernelSource, kDriftSmearKernelSourceLength);
    std::string log;
    ProgramHandle program = Build(sources, kOpenCLBuildOptions, log);
    if (!program) {
      throw std::runtime_error("building the kernel program failed:\n" + log);
    }
    return program;
  }

  KernelHandle CreateKernel(cl_program program, const char* name) const {
    cl_int err = CL_SUCCESS;
    KernelHandle kernel(clCreateKernel(program, name, &err));
    ClCheck(err, "clCreateKernel");
    return kernel;
  }

  BufferHandle CreateBuffer(std::size_t bytes, const void* initial) const {
    cl_int err = CL_SUCCESS;
    BufferHandle buffer(clCreateBuffer(context(), CL_MEM_READ_WRITE | (initial ? CL_MEM_COPY_HOST_PTR : 0), bytes,
                                       const_cast<void*>(initial), &err));
    ClCheck(err, "clCreateBuffer");
    return buffer;
  }

  void Read(cl_mem buffer, void* out, std::size_t bytes) const {
    ClCheck(clEnqueueReadBuffer(queue(), buffer, CL_TRUE, 0, bytes, out, 0, nullptr, nullptr), "clEnqueueReadBuffer");
  }

  // Sets the arguments in order (memory objects and 32-bit scalars).
  template <typename... Args>
  static void SetArgs(cl_kernel kernel, const Args&... args) {
    cl_uint index = 0;
    (ClCheck(clSetKernelArg(kernel, index++, sizeof(Args), &args), "clSetKernelArg"), ...);
  }

  // Enqueues a 2-D range of width x height rounded up to the work-group edge
  // and waits for it.
  void Run(cl_kernel kernel, unsigned int width, unsigned int height, std::size_t blockSize = 16) const {
    const std::size_t local[2] = {blockSize, blockSize};
    const std::size_t global[2] = {(width + blockSize - 1) / blockSize * blockSize,
                                   (height + blockSize - 1) / blockSize * blockSize};
    ClCheck(clEnqueueNDRangeKernel(queue(), kernel, 2, nullptr, global, local, 0, nullptr, nullptr),
            "clEnqueueNDRangeKernel");
    ClCheck(clFinish(queue()), "clFinish");
  }

 private:
  OpenCLDevice(cl_platform_id platform, cl_device_id device) : platform_(platform), device_(device) {
    cl_int err = CL_SUCCESS;
    context_.reset(clCreateContext(nullptr, 1, &device_, nullptr, nullptr, &err));
    ClCheck(err, "clCreateContext");
    queue_.reset(clCreateCommandQueue(context(), device_, 0, &err));
    ClCheck(err, "clCreateCommandQueue");
  }

  template <typename Getter, typename Object>
  static std::string Info(Getter getter, Object object, cl_uint param) {
    std::size_t size = 0;
    getter(object, param, 0, nullptr, &size);
    std::string text(size, '\0');
    getter(object, param, size, text.data(), nullptr);
    while (!text.empty() && text.back() == '\0') {
      text.pop_back();
    }
    return text;
  }

  cl_platform_id platform_;
  cl_device_id device_;
  ContextHandle context_;
  QueueHandle queue_;
};

}  // namespace driftsmear::testing

#endif  // DRIFTSMEAR_TESTS_KERNELS_OPENCL_HARNESS_H
