#include "render/DriftSmear_AePrGPU_Functions.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <regex>
#include <sstream>
#include <type_traits>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#include <d3d9.h>
#else
#include <sys/utsname.h>
#endif

#if DRIFTSMEAR_HAS_CUDA
#include <cuda_runtime_api.h>

#include "kernels/DriftSmear_Kernel_CUDA.h"
#endif

#include "kernels/DriftSmear_KernelSource.h"
#include "support/LogsController.h"

namespace {

constexpr PF_Err kFailure = PF_Err_INTERNAL_STRUCT_DAMAGED;

// An error line located at the caller's line, for the checking helpers below.
void LogErrorAt(int line, const char* function, const std::string& message) {
  std::ostringstream stream;
  stream << "ERROR [" << LogFileBaseName(__FILE__) << ":" << line << ":" << function << "] :: " << message;
  LogMessage(stream);
}

// The one check every OpenCL call goes through: a failure writes the
// "OpenCL Assert" line and reports true.
bool OpenCLFailed(cl_int err, const char* function, int line) {
  if (err == CL_SUCCESS) {
    return false;
  }
  LogErrorAt(line, function, "OpenCL Assert: " + OpenCLErrorText(err));
  return true;
}
#define DRIFTSMEAR_OPENCL_FAILED(FUNCTION, CALL) OpenCLFailed((CALL), FUNCTION, __LINE__)

#if DRIFTSMEAR_HAS_CUDA
// The same for CUDA: the runtime's own text for the error.
bool CUDAFailed(cudaError_t err, const char* function, int line) {
  if (err == cudaSuccess) {
    return false;
  }
  const char* text = cudaGetErrorString(err);
  LogErrorAt(line, function, std::string("CUDA Assert: ") + (text != nullptr ? text : "unknown CUDA error"));
  return true;
}
#define DRIFTSMEAR_CUDA_FAILED(FUNCTION, CALL) CUDAFailed((CALL), FUNCTION, __LINE__)
#endif

template <typename Handle, cl_int (*Release)(Handle)>
struct OpenCLRelease {
  void operator()(Handle handle) const { Release(handle); }
};
using ProgramHolder =
    std::unique_ptr<std::remove_pointer_t<cl_program>, OpenCLRelease<cl_program, clReleaseProgram>>;
using BufferHolder = std::unique_ptr<std::remove_pointer_t<cl_mem>, OpenCLRelease<cl_mem, clReleaseMemObject>>;

std::string EntryName(const KernelEntry& entry) { return std::string(entry.name, strnlen(entry.name, sizeof(entry.name))); }

void SetEntryName(KernelEntry& entry, const char* name) {
  std::memset(entry.name, 0, sizeof(entry.name));
  std::strncpy(entry.name, name, sizeof(entry.name) - 1);
}

// Writes the program's build log as one error line when it holds more than
// its terminator; compiler warnings of a successful build are logged too.
void LogBuildLog(cl_program program, cl_device_id device) {
  std::size_t size = 0;
  if (DRIFTSMEAR_OPENCL_FAILED("InitializeOpenCL",
                               clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, 0, nullptr, &size)) ||
      size <= 1) {
    return;
  }
  std::unique_ptr<char, decltype(&std::free)> log(static_cast<char*>(std::malloc(size)), &std::free);
  if (!log) {
    DRIFTSMEAR_LOG_ERROR("InitializeOpenCL", "Failed to allocate memory for log");
    return;
  }
  if (DRIFTSMEAR_OPENCL_FAILED("InitializeOpenCL",
                               clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, size, log.get(), nullptr))) {
    return;
  }
  log.get()[size - 1] = '\0';
  DRIFTSMEAR_LOG_ERROR("InitializeOpenCL", log.get());
}

// The global work size of one dimension: the extent rounded up to a whole
// number of work groups (an extent of 0 stays 0).
std::size_t GlobalSize(int32_t extent, int32_t blockSize) {
  if (extent <= 0) {
    return 0;
  }
  if (blockSize <= 0) {
    return static_cast<std::size_t>(extent);
  }
  const auto block = static_cast<std::size_t>(blockSize);
  return (static_cast<std::size_t>(extent) + block - 1) / block * block;
}

// Sets a kernel's arguments by position, each checked as it is set. Before
// every argument the parameter buffer's creation status is looked at again: a
// failed creation returns its OpenCL code without a log line.
template <typename... Args>
PF_Err SetKernelArgs(cl_kernel kernel, cl_int bufferStatus, const Args&... args) {
  PF_Err status = PF_Err_NONE;
  cl_uint index = 0;
  auto setOne = [&](const auto& value) {
    if (status != PF_Err_NONE) {
      return;
    }
    if (bufferStatus != CL_SUCCESS) {
      status = bufferStatus;
      return;
    }
    if (DRIFTSMEAR_OPENCL_FAILED("GPURender", clSetKernelArg(kernel, index, sizeof(value), &value))) {
      status = kFailure;
    }
    ++index;
  };
  (setOne(args), ...);
  return status;
}

PF_Err EnqueueKernel(cl_command_queue queue, cl_kernel kernel, const std::size_t global[2], const std::size_t local[2]) {
  if (DRIFTSMEAR_OPENCL_FAILED("GPURender",
                               clEnqueueNDRangeKernel(queue, kernel, 2, nullptr, global, local, 0, nullptr, nullptr))) {
    return kFailure;
  }
  return PF_Err_NONE;
}

// The hosts render several frames at once on one device, and every render
// thread uses the device's two kernel objects. OpenCL lets only one thread at
// a time set a kernel's arguments and enqueue it, so setting the arguments and
// enqueueing one pass happen under a lock of the device's kernel list. The
// lock is never held while waiting for the device: an enqueue returns as soon
// as the pass is queued, and the arguments are captured at that moment. A
// small fixed set of locks, chosen by the list's address, serves every device
// and needs no setup or teardown.
std::mutex& KernelListLock(const KernelList* list) {
  static std::mutex locks[16];
  return locks[std::hash<const void*>{}(list) % std::size(locks)];
}

template <typename... Args>
PF_Err SetArgsAndEnqueue(const KernelList* list, cl_command_queue queue, cl_kernel kernel, const std::size_t global[2],
                         const std::size_t local[2], cl_int bufferStatus, const Args&... args) {
  std::lock_guard<std::mutex> lock(KernelListLock(list));
  PF_Err status = SetKernelArgs(kernel, bufferStatus, args...);
  if (status == PF_Err_NONE) {
    status = EnqueueKernel(queue, kernel, global, local);
  }
  return status;
}

// The OpenCL resize pass sees a square source of side inWidth (see
// RenderOpenCL), so a source wider than it is tall has rows read past its
// last one. The number of source rows the pass reads: output rows run from
// 0 to outHeight - 1 and source row y - offsetY is read while it is below
// inWidth.
int64_t ResizeRowsRead(const ResizeKernelSizes& resize) {
  const int64_t rows = std::min<int64_t>(resize.inWidth, static_cast<int64_t>(resize.outHeight) - resize.offsetY);
  return std::max<int64_t>(rows, 0);
}

// A copy of a source that the resize pass would read past, padded with
// transparent black rows up to every row it reads; null when the source
// itself holds every byte the pass reads. The copy is released when the
// holder goes, which OpenCL defers until the queued passes using it are done.
PF_Err PaddedResizeSource(cl_context context, cl_command_queue queue, cl_mem source, const ResizeKernelSizes& resize,
                          BufferHolder& padded) {
  const int64_t rows = ResizeRowsRead(resize);
  if (rows <= resize.inHeight || resize.inWidth <= 0 || resize.srcPitch <= 0) {
    return PF_Err_NONE;
  }
  const int64_t pixelBytes = resize.is16f != 0 ? 8 : 16;
  const auto needed = static_cast<std::size_t>(rows * resize.srcPitch * pixelBytes);
  std::size_t sourceBytes = 0;
  if (DRIFTSMEAR_OPENCL_FAILED("GPURender",
                               clGetMemObjectInfo(source, CL_MEM_SIZE, sizeof(sourceBytes), &sourceBytes, nullptr))) {
    return kFailure;
  }
  const std::size_t frameBytes =
      std::min(sourceBytes, static_cast<std::size_t>(std::max<int64_t>(resize.inHeight, 0) * resize.srcPitch * pixelBytes));
  cl_int err = CL_SUCCESS;
  padded.reset(clCreateBuffer(context, CL_MEM_READ_WRITE, needed, nullptr, &err));
  if (DRIFTSMEAR_OPENCL_FAILED("GPURender", err)) {
    return kFailure;
  }
  const cl_uchar zero = 0;
  if (frameBytes > 0 &&
      DRIFTSMEAR_OPENCL_FAILED("GPURender", clEnqueueCopyBuffer(queue, source, padded.get(), 0, 0, frameBytes, 0,
                                                                nullptr, nullptr))) {
    return kFailure;
  }
  if (DRIFTSMEAR_OPENCL_FAILED("GPURender", clEnqueueFillBuffer(queue, padded.get(), &zero, sizeof(zero), frameBytes,
                                                                needed - frameBytes, 0, nullptr, nullptr))) {
    return kFailure;
  }
  return PF_Err_NONE;
}

PF_Err RenderOpenCL(const KernelList* list, cl_context context, cl_command_queue queue, cl_mem prevFrame,
                    cl_mem curFrame, cl_mem intermediate, cl_mem dst, const KernelData* kernelData,
                    const MainKernelSizes& main, const ResizeKernelSizes& resize, int32_t blockSize, bool resizePass) {
  if (list == nullptr) {
    DRIFTSMEAR_LOG_ERROR("GPURender", "KernelList pointer is null");
    return kFailure;
  }
  // A fresh read-only copy of the record per pass. It is released when this
  // function returns, right after the main kernel is enqueued: OpenCL keeps a
  // memory object alive until the commands that use it have completed, so the
  // queue still sees it while nothing of it outlives the render.
  cl_int bufferStatus = CL_SUCCESS;
  BufferHolder params(clCreateBuffer(context, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, sizeof(KernelData),
                                     const_cast<KernelData*>(kernelData), &bufferStatus));

  // Both kernels run over the main kernel's destination size, rounded up to
  // whole work groups.
  const std::size_t local[2] = {static_cast<std::size_t>(blockSize > 0 ? blockSize : 0),
                                static_cast<std::size_t>(blockSize > 0 ? blockSize : 0)};
  const std::size_t global[2] = {GlobalSize(main.width, blockSize), GlobalSize(main.height, blockSize)};

  const KernelEntry& mainEntry = list->entries[kMainKernelEntry];
  if (mainEntry.kernel == nullptr) {
    DRIFTSMEAR_LOG_ERROR("GPURender", "Unknown OpenCL Kernel Function: " << EntryName(mainEntry));
    return kFailure;
  }

  cl_mem currentInput = curFrame;
  if (resizePass) {
    const KernelEntry& resizeEntry = list->entries[kResizeKernelEntry];
    if (resizeEntry.kernel == nullptr) {
      DRIFTSMEAR_LOG_ERROR("GPURender", "Unknown OpenCL Kernel Function" << EntryName(resizeEntry));
      return kFailure;
    }
    // The resize pass sees a square source of side inWidth and a square
    // destination of side outHeight: arguments 5 to 8 repeat those two values
    // instead of carrying inHeight and outWidth. The CUDA path passes all four.
    // Where that square reaches below the source's last row, the pass reads a
    // copy padded with transparent black instead of memory past the source:
    // the pixels inside the source are the same, and nothing outside any
    // buffer is read. Its writes stay inside the intermediate buffer, since
    // the pass runs over the destination's own width and height.
    BufferHolder padded;
    PF_Err status = PaddedResizeSource(context, queue, curFrame, resize, padded);
    if (status != PF_Err_NONE) {
      return status;
    }
    cl_mem source = padded ? padded.get() : curFrame;
    status = SetArgsAndEnqueue(list, queue, resizeEntry.kernel, global, local, bufferStatus, source, intermediate,
                               resize.srcPitch, resize.dstPitch, resize.is16f, resize.inWidth, resize.inWidth,
                               resize.outHeight, resize.outHeight, resize.offsetX, resize.offsetY);
    if (status != PF_Err_NONE) {
      return status;
    }
    currentInput = intermediate;
  }

  cl_mem paramsBuffer = params.get();
  return SetArgsAndEnqueue(list, queue, mainEntry.kernel, global, local, bufferStatus, prevFrame, currentInput, dst,
                           paramsBuffer, main.prePitch, main.curPitch, main.dstPitch, main.is16f, main.width,
                           main.height);
}

#if DRIFTSMEAR_HAS_CUDA
// The device copy of the parameter record, one per render thread and CUDA
// device, allocated on the thread's first pass on that device and reused by
// every later one: a pass synchronises before it returns, so the next pass of
// the same thread may overwrite it, and no other thread ever touches it. The
// copies are freed when the thread ends.
class ThreadRecordBuffers {
 public:
  ~ThreadRecordBuffers() {
    for (const auto& [device, memory] : buffers_) {
      int current = -1;
      if (cudaGetDevice(&current) == cudaSuccess && current != device) {
        cudaSetDevice(device);
      }
      cudaFree(memory);
    }
  }
  // The calling thread's copy on the current device; null when the
  // allocation failed (logged).
  void* ForCurrentDevice() {
    int device = 0;
    if (DRIFTSMEAR_CUDA_FAILED("GPURender", cudaGetDevice(&device))) {
      cudaGetLastError();
      return nullptr;
    }
    const auto found = buffers_.find(device);
    if (found != buffers_.end()) {
      return found->second;
    }
    void* memory = nullptr;
    if (DRIFTSMEAR_CUDA_FAILED("GPURender", cudaMalloc(&memory, sizeof(KernelData)))) {
      cudaGetLastError();
      return nullptr;
    }
    buffers_.emplace(device, memory);
    return memory;
  }

 private:
  std::map<int, void*> buffers_;
};

// Checks a launch. Reading the error also clears it, so one failed pass does
// not fail every later pass of the same thread.
bool LaunchFailed(int line) { return CUDAFailed(cudaGetLastError(), "GPURender", line); }

PF_Err RenderCUDA(void* prevFrame, void* curFrame, void* intermediate, void* dst, const KernelData* kernelData,
                  const MainKernelSizes& main, const ResizeKernelSizes& resize, int32_t blockSize, bool resizePass) {
  // A failed allocation stops here: launching with no record would fault on
  // the device.
  thread_local ThreadRecordBuffers recordBuffers;
  void* deviceData = recordBuffers.ForCurrentDevice();
  if (deviceData == nullptr) {
    return kFailure;
  }
  cudaMemcpy(deviceData, kernelData, sizeof(KernelData), cudaMemcpyHostToDevice);

  const auto block = static_cast<unsigned int>(blockSize);
  PF_Err status = PF_Err_NONE;
  void* currentInput = curFrame;
  if (resizePass) {
    ResizeKernel_CUDA(static_cast<const float*>(curFrame), static_cast<float*>(intermediate), resize.srcPitch,
                      resize.dstPitch, resize.is16f, static_cast<unsigned int>(resize.inWidth),
                      static_cast<unsigned int>(resize.inHeight), static_cast<unsigned int>(resize.outWidth),
                      static_cast<unsigned int>(resize.outHeight), resize.offsetX, resize.offsetY, block);
    if (LaunchFailed(__LINE__)) {
      status = kFailure;
    }
    currentInput = intermediate;
  }
  if (status == PF_Err_NONE) {
    MainKernel_CUDA(static_cast<const float*>(prevFrame), static_cast<const float*>(currentInput),
                    static_cast<float*>(dst), static_cast<KernelData*>(deviceData), main.prePitch, main.curPitch,
                    main.dstPitch, main.is16f, static_cast<unsigned int>(main.width),
                    static_cast<unsigned int>(main.height), block);
    if (LaunchFailed(__LINE__)) {
      status = kFailure;
    }
  }
  return status;
}
#endif

// The adapter description for the log: device name, driver and description.
struct AdapterIdentity {
  std::string deviceName;
  std::string driver;
  std::string description;
};

#ifdef _WIN32
bool QueryAdapter(GPUFramework /*framework*/, void* /*device*/, AdapterIdentity& identity) {
  IDirect3D9* d3d = Direct3DCreate9(D3D_SDK_VERSION);
  if (d3d == nullptr) {
    return false;
  }
  D3DADAPTER_IDENTIFIER9 adapter{};
  const bool found = SUCCEEDED(d3d->GetAdapterIdentifier(0, 0, &adapter));
  if (found) {
    identity.deviceName = adapter.DeviceName;
    identity.driver = adapter.Driver;
    identity.description = adapter.Description;
  }
  d3d->Release();
  return found;
}

std::string OSVersion() {
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = sizeof(version);
  if (!GetVersionExA(&version)) {
    return {};
  }
  return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion);
}
#else
std::string OpenCLDeviceText(cl_device_id device, cl_device_info what) {
  std::size_t size = 0;
  if (clGetDeviceInfo(device, what, 0, nullptr, &size) != CL_SUCCESS || size == 0) {
    return {};
  }
  std::string text(size, '\0');
  if (clGetDeviceInfo(device, what, size, text.data(), nullptr) != CL_SUCCESS) {
    return {};
  }
  text.resize(strnlen(text.c_str(), size));
  return text;
}

// Without Direct3D the adapter is the render device itself.
bool QueryAdapter(GPUFramework framework, void* device, AdapterIdentity& identity) {
  if (framework == GPUFramework_OpenCL && device != nullptr) {
    const auto clDevice = static_cast<cl_device_id>(device);
    const std::string name = OpenCLDeviceText(clDevice, CL_DEVICE_NAME);
    if (name.empty()) {
      return false;
    }
    identity.deviceName = name;
    identity.driver = OpenCLDeviceText(clDevice, CL_DEVICE_VENDOR) + " " + OpenCLDeviceText(clDevice, CL_DRIVER_VERSION);
    identity.description = name;
    return true;
  }
#if DRIFTSMEAR_HAS_CUDA
  if (framework == GPUFramework_CUDA) {
    int current = 0;
    cudaDeviceProp properties{};
    int driverVersion = 0;
    if (cudaGetDevice(&current) != cudaSuccess || cudaGetDeviceProperties(&properties, current) != cudaSuccess) {
      return false;
    }
    cudaDriverGetVersion(&driverVersion);
    identity.deviceName = properties.name;
    identity.driver = "NVIDIA CUDA " + std::to_string(driverVersion / 1000) + "." +
                      std::to_string(driverVersion % 1000 / 10);
    identity.description = properties.name;
    return true;
  }
#endif
  return false;
}

// The kernel release as major.minor ("6.1.0-18-amd64" gives 6.1).
std::string OSVersion() {
  utsname system{};
  if (uname(&system) != 0) {
    return {};
  }
  int major = 0;
  int minor = 0;
  if (std::sscanf(system.release, "%d.%d", &major, &minor) == 2) {
    return std::to_string(major) + "." + std::to_string(minor);
  }
  return system.release;
}
#endif

const std::map<int32_t, std::string>& OpenCLErrorNames() {
  // The OpenCL 1.2 status codes: 0 and -1 to -19, then -30 to -68.
  static const char* const kLowNames[] = {
      "Success",
      "Device not found",
      "Device not available",
      "Compiler not available",
      "Memory object allocation failure",
      "Out of resources",
      "Out of host memory",
      "Profiling information not available",
      "Memory copy overlap",
      "Image format mismatch",
      "Image format not supported",
      "Build program failure",
      "Map failure",
      "Misaligned sub-buffer offset",
      "Execution status error for events in wait list",
      "Compile program failure",
      "Linker not available",
      "Link program failure",
      "Device partition failed",
      "Kernel argument information not available",
  };
  static const char* const kInvalidNames[] = {
      "Invalid value",
      "Invalid device type",
      "Invalid platform",
      "Invalid device",
      "Invalid context",
      "Invalid queue properties",
      "Invalid command queue",
      "Invalid host pointer",
      "Invalid memory object",
      "Invalid image format descriptor",
      "Invalid image size",
      "Invalid sampler",
      "Invalid binary",
      "Invalid build options",
      "Invalid program",
      "Invalid program executable",
      "Invalid kernel name",
      "Invalid kernel definition",
      "Invalid kernel",
      "Invalid argument index",
      "Invalid argument value",
      "Invalid argument size",
      "Invalid kernel arguments",
      "Invalid work dimension",
      "Invalid work group size",
      "Invalid work item size",
      "Invalid global offset",
      "Invalid event wait list",
      "Invalid event",
      "Invalid operation",
      "Invalid OpenGL object",
      "Invalid buffer size",
      "Invalid mipmap level",
      "Invalid global work size",
      "Invalid property",
      "Invalid image descriptor",
      "Invalid compiler options",
      "Invalid linker options",
      "Invalid device partition count",
  };
  static_assert(std::size(kLowNames) == 20 && std::size(kInvalidNames) == 39, "59 OpenCL 1.2 codes");
  static const std::map<int32_t, std::string> names = [] {
    std::map<int32_t, std::string> table;
    for (int32_t i = 0; i < 20; ++i) {
      table.emplace(-i, kLowNames[i]);
    }
    for (int32_t i = 0; i < 39; ++i) {
      table.emplace(-30 - i, kInvalidNames[i]);
    }
    return table;
  }();
  return names;
}

// Built when the module loads, as the table is.
[[maybe_unused]] const std::map<int32_t, std::string>& kOpenCLErrorNamesAtLoad = OpenCLErrorNames();

}  // namespace

const char* GPUFrameworkName(GPUFramework framework) {
  static const char* const kNames[] = {"CUDA", "OpenCL", "Metal"};
  return framework >= 0 && framework < 3 ? kNames[framework] : "";
}

PF_Err InitializeGPU(GPUFramework framework, KernelList* list, void* device, void* context) {
  try {
    DRIFTSMEAR_LOG_INFO("Initialized new device: " << GPUFrameworkName(framework));
    if (list == nullptr) {
      DRIFTSMEAR_LOG_ERROR("InitializeGPU", "KernelList pointer is null");
      return kFailure;
    }
    GPUStatusInfo& info = GetGPUStatusInfo();
    info.SetText(GPUStatusInfo::kFrameworkName, GPUFrameworkName(framework));
    // A working device never shows the CPU-refusal notice.
    info.enabled = false;
    info.armed = false;

    switch (framework) {
      case GPUFramework_CUDA:
#if DRIFTSMEAR_HAS_CUDA
        return PF_Err_NONE;
#else
        // A build without the CUDA kernels cannot render on a CUDA device.
        DRIFTSMEAR_LOG_ERROR("InitializeGPU", "Unsupported GPU type");
        return kFailure;
#endif
      case GPUFramework_OpenCL:
        return InitializeOpenCL(list, static_cast<cl_device_id>(device), static_cast<cl_context>(context));
      case GPUFramework_Metal:
        DRIFTSMEAR_LOG_ERROR("InitializeGPU", "Metal is not available");
        return kFailure;
      default:
        DRIFTSMEAR_LOG_ERROR("InitializeGPU", "Unsupported GPU type");
        return kFailure;
    }
  } catch (const std::exception& e) {
    DRIFTSMEAR_LOG_ERROR("InitializeGPU", e.what());
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR("InitializeGPU", "Unknown exception");
  }
  return kFailure;
}

PF_Err InitializeOpenCL(KernelList* list, cl_device_id device, cl_context context) {
  return InitializeOpenCLWithText(list, device, context, kDriftSmearKernelSource, kDriftSmearKernelSourceLength);
}

PF_Err InitializeOpenCLWithText(KernelList* list, cl_device_id device, cl_context context, const char* text,
                                std::size_t textLength) {
  try {
    if (list == nullptr) {
      DRIFTSMEAR_LOG_ERROR("InitializeOpenCL", "KernelList pointer is null");
      return kFailure;
    }
    PF_Err status = PF_Err_NONE;
    const char* sources[2] = {kOpenCL16FPrefix, text};
    const std::size_t lengths[2] = {kOpenCL16FPrefixLength, textLength};
    cl_int err = CL_SUCCESS;
    // The program is released when this function returns; the kernels created
    // from it keep it alive until they are released themselves.
    ProgramHolder program(clCreateProgramWithSource(context, 2, sources, lengths, &err));
    if (DRIFTSMEAR_OPENCL_FAILED("InitializeOpenCL", err)) {
      status = kFailure;
    } else if (DRIFTSMEAR_OPENCL_FAILED("InitializeOpenCL", clBuildProgram(program.get(), 1, &device,
                                                                            kOpenCLBuildOptions, nullptr, nullptr))) {
      status = kFailure;
    }
    if (program) {
      LogBuildLog(program.get(), device);
    }
    if (status != PF_Err_NONE) {
      return status;
    }

    const char* const names[2] = {kMainKernelName, kResizeKernelName};
    for (int i = 0; i < 2; ++i) {
      KernelEntry& entry = list->entries[i];
      SetEntryName(entry, names[i]);
      cl_int kernelStatus = CL_SUCCESS;
      cl_kernel kernel = clCreateKernel(program.get(), entry.name, &kernelStatus);
      if (kernelStatus != CL_SUCCESS || kernel == nullptr) {
        DRIFTSMEAR_LOG_ERROR("InitializeOpenCL", "Can't initialize kernel function \"" << EntryName(entry) << "\"");
        return kernelStatus != CL_SUCCESS ? kernelStatus : kFailure;
      }
      entry.kernel = kernel;
    }
    return PF_Err_NONE;
  } catch (const std::exception& e) {
    DRIFTSMEAR_LOG_ERROR("InitializeOpenCL", e.what());
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR("InitializeOpenCL", "Unknown exception");
  }
  return kFailure;
}

PF_Err GPURender(GPUFramework framework, const KernelList* list, void* device, void* context, void* queue,
                 void* prevFrame, void* curFrame, void* intermediate, void* dst, const KernelData* kernelData,
                 const MainKernelSizes* mainSizes, const ResizeKernelSizes* resizeSizes, int32_t blockSize) {
  try {
    GPUStatusInfo& info = GetGPUStatusInfo();
    if (info.GetText(GPUStatusInfo::kGPUShortName).empty()) {
      LogGPUInfo(info, framework, device);
      info.SetText(GPUStatusInfo::kNoticeHeadline, {});
      info.SetText(GPUStatusInfo::kNoticeInstruction, {});
    }
    if (kernelData == nullptr || mainSizes == nullptr || resizeSizes == nullptr) {
      DRIFTSMEAR_LOG_ERROR("GPURender", "Kernel data or sizes are missing");
      return kFailure;
    }
    // A non-zero offset places the frame with a resize pass. A frame at offset
    // zero that is not exactly the render's size and pitch is placed too: the
    // main kernel reads its current frame over the render's width and height
    // with the render's pitch, so such a frame (one pixel narrower or shorter,
    // say) would be read past its end. Placed, each of its pixels shows where
    // it would have been read, and the rest of the render is transparent black.
    const bool resizePass = resizeSizes->offsetX != 0 || resizeSizes->offsetY != 0 ||
                            resizeSizes->inWidth != mainSizes->width || resizeSizes->inHeight != mainSizes->height ||
                            resizeSizes->srcPitch != mainSizes->curPitch;

    switch (framework) {
      case GPUFramework_CUDA:
#if DRIFTSMEAR_HAS_CUDA
        return RenderCUDA(prevFrame, curFrame, intermediate, dst, kernelData, *mainSizes, *resizeSizes, blockSize,
                          resizePass);
#else
        DRIFTSMEAR_LOG_ERROR("GPURender", "Unsupported GPU type");
        return kFailure;
#endif
      case GPUFramework_OpenCL:
        return RenderOpenCL(list, static_cast<cl_context>(context), static_cast<cl_command_queue>(queue),
                            static_cast<cl_mem>(prevFrame), static_cast<cl_mem>(curFrame),
                            static_cast<cl_mem>(intermediate), static_cast<cl_mem>(dst), kernelData, *mainSizes,
                            *resizeSizes, blockSize, resizePass);
      case GPUFramework_Metal:
        return PF_Err_NONE;
      default:
        DRIFTSMEAR_LOG_ERROR("GPURender", "Uknown GPU framework. Value: " << static_cast<int32_t>(framework));
        return kFailure;
    }
  } catch (const std::exception& e) {
    DRIFTSMEAR_LOG_ERROR("GPURender", e.what());
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR("GPURender", "Unknown exception");
  }
  return kFailure;
}

PF_Err GPUDispose(GPUFramework framework, KernelList* list) {
  try {
    if (list == nullptr) {
      if (framework == GPUFramework_CUDA) {
        return PF_Err_NONE;
      }
      DRIFTSMEAR_LOG_ERROR("GPUDispose", "KernelList pointer is null");
      return kFailure;
    }
    PF_Err status = PF_Err_NONE;
    for (KernelEntry& entry : list->entries) {
      if (entry.kernel == nullptr) {
        continue;
      }
      if (framework == GPUFramework_OpenCL && DRIFTSMEAR_OPENCL_FAILED("GPUDispose", clReleaseKernel(entry.kernel)) &&
          status == PF_Err_NONE) {
        status = kFailure;
      }
      entry.kernel = nullptr;
    }
    return status;
  } catch (...) {
    DRIFTSMEAR_LOG_ERROR("GPUDispose", "Unknown exception");
  }
  return kFailure;
}

void LogGPUInfo(GPUStatusInfo& info) { LogGPUInfo(info, GPUFramework_None, nullptr); }

void LogGPUInfo(GPUStatusInfo& info, GPUFramework framework, void* device) {
  try {
    AdapterIdentity adapter;
    if (QueryAdapter(framework, device, adapter)) {
      DRIFTSMEAR_LOG_INFO("GPU DeviceName: " << adapter.deviceName);
      DRIFTSMEAR_LOG_INFO("GPU Driver: " << adapter.driver);
      DRIFTSMEAR_LOG_INFO("GPU Description: " << adapter.description);
      info.SetText(GPUStatusInfo::kGPUShortName, ShortGPUName(adapter.description));
    }
    info.SetText(GPUStatusInfo::kOSVersion, OSVersion());
    DRIFTSMEAR_LOG_INFO("GPU: " << info.GetText(GPUStatusInfo::kGPUShortName)
                                << ", OS: " << info.GetText(GPUStatusInfo::kOSVersion));
  } catch (...) {
    // Diagnostics only: a failure here must not stop the render.
  }
}

std::string ShortGPUName(const std::string& description) {
  try {
    // The leading ".*" is greedy: the last brand word followed by a number wins.
    static const std::regex model(R"(.*(GeForce|Quadro|Radeon|RX|GTX|RTX|Navi)\s*([0-9]+)([A-Za-z]*)\s*.*)",
                                  std::regex::ECMAScript);
    std::smatch match;
    if (std::regex_search(description, match, model)) {
      return match[1].str() + " " + match[2].str() + match[3].str();
    }
  } catch (...) {
    // A regex failure leaves the description as it is.
  }
  return description;
}

std::string OpenCLErrorText(int32_t code) {
  try {
    const auto& names = OpenCLErrorNames();
    const auto found = names.find(code);
    char hex[16];
    std::snprintf(hex, sizeof(hex), "%X", static_cast<uint32_t>(code));
    return std::string("Code: 0x") + hex + " (" + (found != names.end() ? found->second : "Unknown error") + ")";
  } catch (...) {
    return "Code: ?";
  }
}
