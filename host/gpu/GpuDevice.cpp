#include "host/gpu/GpuDevice.h"

#include <algorithm>
#include <mutex>
#include <type_traits>
#include <utility>

#include "host/HostError.h"

#if DRIFTSMEAR_HAS_CUDA
#include <cuda_runtime_api.h>
#endif

namespace dshost {

namespace {

void ThrowIfFailed(cl_int status, const char* call) {
  if (status != CL_SUCCESS) {
    throw HostError(std::string(call) + " failed with OpenCL status " + std::to_string(status));
  }
}

std::string PlatformText(cl_platform_id platform, cl_platform_info what) {
  std::size_t size = 0;
  if (clGetPlatformInfo(platform, what, 0, nullptr, &size) != CL_SUCCESS || size == 0) {
    return {};
  }
  std::string text(size, '\0');
  clGetPlatformInfo(platform, what, size, text.data(), nullptr);
  text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
  return text;
}

std::string DeviceText(cl_device_id device, cl_device_info what) {
  std::size_t size = 0;
  if (clGetDeviceInfo(device, what, 0, nullptr, &size) != CL_SUCCESS || size == 0) {
    return {};
  }
  std::string text(size, '\0');
  clGetDeviceInfo(device, what, size, text.data(), nullptr);
  text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
  return text;
}

void AppendOpenCLDevices(std::vector<GpuDeviceDesc>& devices) {
  cl_uint platformCount = 0;
  if (clGetPlatformIDs(0, nullptr, &platformCount) != CL_SUCCESS || platformCount == 0) {
    return;
  }
  std::vector<cl_platform_id> platforms(platformCount);
  if (clGetPlatformIDs(platformCount, platforms.data(), nullptr) != CL_SUCCESS) {
    return;
  }
  for (cl_platform_id platform : platforms) {
    cl_uint count = 0;
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &count) != CL_SUCCESS || count == 0) {
      continue;
    }
    std::vector<cl_device_id> ids(count);
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, count, ids.data(), nullptr) != CL_SUCCESS) {
      continue;
    }
    std::vector<std::pair<bool, GpuDeviceDesc>> found;
    for (cl_device_id id : ids) {
      cl_device_type type = 0;
      clGetDeviceInfo(id, CL_DEVICE_TYPE, sizeof(type), &type, nullptr);
      GpuDeviceDesc desc;
      desc.api = GpuApi::OpenCL;
      desc.platform = platform;
      desc.clDevice = id;
      desc.name = DeviceText(id, CL_DEVICE_NAME);
      desc.vendor = DeviceText(id, CL_DEVICE_VENDOR);
      desc.driverVersion = DeviceText(id, CL_DRIVER_VERSION);
      desc.platformName = PlatformText(platform, CL_PLATFORM_NAME);
      found.emplace_back((type & CL_DEVICE_TYPE_CPU) != 0, std::move(desc));
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& entry : found) {
      devices.push_back(std::move(entry.second));
    }
  }
}

#if DRIFTSMEAR_HAS_CUDA
std::string& CudaUnavailableReason() {
  static std::string reason;
  return reason;
}

void AppendCudaDevices(std::vector<GpuDeviceDesc>& devices) {
  int count = 0;
  const cudaError_t status = cudaGetDeviceCount(&count);
  if (status != cudaSuccess) {
    CudaUnavailableReason() = std::string("the CUDA runtime reports: ") + cudaGetErrorString(status);
    cudaGetLastError();
    return;
  }
  if (count == 0) {
    CudaUnavailableReason() = "no CUDA device is installed";
  }
  int driver = 0;
  cudaDriverGetVersion(&driver);
  for (int ordinal = 0; ordinal < count; ++ordinal) {
    cudaDeviceProp properties{};
    if (cudaGetDeviceProperties(&properties, ordinal) != cudaSuccess) {
      continue;
    }
    GpuDeviceDesc desc;
    desc.api = GpuApi::Cuda;
    desc.cudaOrdinal = ordinal;
    desc.name = properties.name;
    desc.vendor = "NVIDIA Corporation";
    desc.driverVersion = std::to_string(driver / 1000) + "." + std::to_string(driver % 1000 / 10);
    desc.platformName = "CUDA";
    devices.push_back(std::move(desc));
  }
}
#endif

template <typename Handle, cl_int (*Release)(Handle)>
struct ClRelease {
  void operator()(Handle handle) const { Release(handle); }
};
using ContextHolder = std::unique_ptr<std::remove_pointer_t<cl_context>, ClRelease<cl_context, clReleaseContext>>;
using QueueHolder =
    std::unique_ptr<std::remove_pointer_t<cl_command_queue>, ClRelease<cl_command_queue, clReleaseCommandQueue>>;

class OpenCLDevice final : public GpuDevice {
 public:
  explicit OpenCLDevice(const GpuDeviceDesc& desc) : GpuDevice(desc) {
    const cl_context_properties properties[] = {CL_CONTEXT_PLATFORM,
                                                reinterpret_cast<cl_context_properties>(desc.platform), 0};
    cl_int status = CL_SUCCESS;
    context_.reset(clCreateContext(properties, 1, &desc.clDevice, nullptr, nullptr, &status));
    ThrowIfFailed(status, "clCreateContext");
    // In order: the effect relies on its resize pass finishing before the
    // main kernel that reads its result starts.
    queue_.reset(clCreateCommandQueue(context_.get(), desc.clDevice, 0, &status));
    ThrowIfFailed(status, "clCreateCommandQueue");
  }

  ~OpenCLDevice() override {
    if (queue_) {
      clFinish(queue_.get());
    }
    for (Slot& slot : slots_) {
      ReleaseSlot(slot);
    }
  }

  void FreeSlot(int index) noexcept override { ReleaseSlot(slots_[index]); }

  PF_GPUDeviceInfo Info() const override {
    PF_GPUDeviceInfo info{};
    info.device_framework = PF_GPU_Framework_OPENCL;
    info.compatibleB = 1;
    info.platformPV = desc().platform;
    info.devicePV = desc().clDevice;
    info.contextPV = context_.get();
    info.command_queuePV = queue_.get();
    return info;
  }

  void Write(const DeviceBuffer& buffer, const void* data, std::size_t bytes) override {
    ThrowIfFailed(clEnqueueWriteBuffer(queue_.get(), static_cast<cl_mem>(buffer.handle()), CL_TRUE, 0, bytes, data, 0,
                                       nullptr, nullptr),
                  "clEnqueueWriteBuffer");
  }

  void Read(const DeviceBuffer& buffer, void* data, std::size_t bytes) override {
    ThrowIfFailed(clEnqueueReadBuffer(queue_.get(), static_cast<cl_mem>(buffer.handle()), CL_TRUE, 0, bytes, data, 0,
                                      nullptr, nullptr),
                  "clEnqueueReadBuffer");
  }

  void Fill(const DeviceBuffer& buffer, uint8_t byte) override {
    ThrowIfFailed(clEnqueueFillBuffer(queue_.get(), static_cast<cl_mem>(buffer.handle()), &byte, 1, 0, buffer.size(),
                                      0, nullptr, nullptr),
                  "clEnqueueFillBuffer");
  }

  void Finish() override { ThrowIfFailed(clFinish(queue_.get()), "clFinish"); }

 protected:
  // A slot is a buffer in host-accessible memory (pinned by the driver on a
  // GPU), mapped once for its whole life; its pointer is the source or
  // target of ordinary non-blocking transfers, which such a driver runs as
  // direct memory access.
  uint8_t* PinnedSlot(int index, std::size_t bytes) override {
    Slot& slot = slots_[index];
    if (slot.size < bytes) {
      ReleaseSlot(slot);
      cl_int status = CL_SUCCESS;
      slot.memory = clCreateBuffer(context_.get(), CL_MEM_READ_WRITE | CL_MEM_ALLOC_HOST_PTR, bytes, nullptr, &status);
      ThrowIfFailed(status, "clCreateBuffer");
      slot.mapped = clEnqueueMapBuffer(queue_.get(), slot.memory, CL_TRUE, CL_MAP_READ | CL_MAP_WRITE, 0, bytes, 0,
                                       nullptr, nullptr, &status);
      if (status != CL_SUCCESS) {
        clReleaseMemObject(slot.memory);
        slot = Slot{};
        ThrowIfFailed(status, "clEnqueueMapBuffer");
      }
      slot.size = bytes;
    }
    return static_cast<uint8_t*>(slot.mapped);
  }

  void CopyToDevice(const DeviceBuffer& buffer, std::size_t offset, const uint8_t* source, std::size_t bytes,
                    int index) override {
    ThrowIfFailed(clEnqueueWriteBuffer(queue_.get(), static_cast<cl_mem>(buffer.handle()), CL_FALSE, offset, bytes,
                                       source, 0, nullptr, &slots_[index].done),
                  "clEnqueueWriteBuffer");
  }

  void CopyFromDevice(const DeviceBuffer& buffer, std::size_t offset, uint8_t* target, std::size_t bytes,
                      int index) override {
    ThrowIfFailed(clEnqueueReadBuffer(queue_.get(), static_cast<cl_mem>(buffer.handle()), CL_FALSE, offset, bytes,
                                      target, 0, nullptr, &slots_[index].done),
                  "clEnqueueReadBuffer");
  }

  void WaitSlot(int index) override {
    Slot& slot = slots_[index];
    if (slot.done != nullptr) {
      const cl_int status = clWaitForEvents(1, &slot.done);
      clReleaseEvent(slot.done);
      slot.done = nullptr;
      ThrowIfFailed(status, "clWaitForEvents");
    }
  }

  std::optional<uint32_t> ContextReferenceCount() const override {
    cl_uint count = 0;
    if (clGetContextInfo(context_.get(), CL_CONTEXT_REFERENCE_COUNT, sizeof(count), &count, nullptr) != CL_SUCCESS) {
      return std::nullopt;
    }
    return count;
  }

 protected:
  void* AllocateRaw(std::size_t bytes) override {
    cl_int status = CL_SUCCESS;
    cl_mem memory = clCreateBuffer(context_.get(), CL_MEM_READ_WRITE, bytes, nullptr, &status);
    ThrowIfFailed(status, "clCreateBuffer");
    return memory;
  }

  void FreeRaw(void* handle) noexcept override { clReleaseMemObject(static_cast<cl_mem>(handle)); }

 private:
  struct Slot {
    cl_mem memory = nullptr;
    void* mapped = nullptr;
    std::size_t size = 0;
    cl_event done = nullptr;
  };

  void ReleaseSlot(Slot& slot) noexcept {
    if (slot.done != nullptr) {
      clWaitForEvents(1, &slot.done);
      clReleaseEvent(slot.done);
    }
    if (slot.memory != nullptr) {
      cl_event unmapped = nullptr;
      if (clEnqueueUnmapMemObject(queue_.get(), slot.memory, slot.mapped, 0, nullptr, &unmapped) == CL_SUCCESS) {
        clWaitForEvents(1, &unmapped);
        clReleaseEvent(unmapped);
      }
      clReleaseMemObject(slot.memory);
    }
    slot = Slot{};
  }

  ContextHolder context_;
  QueueHolder queue_;
  Slot slots_[2];
};

#if DRIFTSMEAR_HAS_CUDA
void ThrowIfFailed(cudaError_t status, const char* call) {
  if (status != cudaSuccess) {
    cudaGetLastError();
    throw HostError(std::string(call) + " failed: " + cudaGetErrorString(status));
  }
}

class CudaDevice final : public GpuDevice {
 public:
  explicit CudaDevice(const GpuDeviceDesc& desc) : GpuDevice(desc) {
    MakeCurrent();
    // Starts the device's primary context now rather than in the first render.
    ThrowIfFailed(cudaFree(nullptr), "cudaFree");
  }

  ~CudaDevice() override {
    cudaSetDevice(desc().cudaOrdinal);
    cudaDeviceSynchronize();
    FreeSlot(0);
    FreeSlot(1);
    if (stream_ != nullptr) {
      cudaStreamDestroy(stream_);
    }
  }

  void FreeSlot(int index) noexcept override {
    Slot& slot = slots_[index];
    if (slot.done != nullptr) {
      cudaEventSynchronize(slot.done);
      cudaEventDestroy(slot.done);
    }
    if (slot.memory != nullptr) {
      cudaFreeHost(slot.memory);
    }
    slot = Slot{};
  }

  PF_GPUDeviceInfo Info() const override {
    PF_GPUDeviceInfo info{};
    info.device_framework = PF_GPU_Framework_CUDA;
    info.compatibleB = 1;
    info.devicePV = reinterpret_cast<void*>(static_cast<intptr_t>(desc().cudaOrdinal));
    return info;
  }

  void Write(const DeviceBuffer& buffer, const void* data, std::size_t bytes) override {
    MakeCurrent();
    ThrowIfFailed(cudaMemcpy(buffer.handle(), data, bytes, cudaMemcpyHostToDevice), "cudaMemcpy");
  }

  void Read(const DeviceBuffer& buffer, void* data, std::size_t bytes) override {
    MakeCurrent();
    ThrowIfFailed(cudaMemcpy(data, buffer.handle(), bytes, cudaMemcpyDeviceToHost), "cudaMemcpy");
  }

  void Fill(const DeviceBuffer& buffer, uint8_t byte) override {
    MakeCurrent();
    ThrowIfFailed(cudaMemset(buffer.handle(), byte, buffer.size()), "cudaMemset");
  }

  void Finish() override {
    MakeCurrent();
    ThrowIfFailed(cudaDeviceSynchronize(), "cudaDeviceSynchronize");
  }

  void MakeCurrent() override { ThrowIfFailed(cudaSetDevice(desc().cudaOrdinal), "cudaSetDevice"); }

 protected:
  // Page-locked host memory and copies on a stream of the host's own. The
  // stream is a blocking one: the effect's launches on the legacy default
  // stream wait for the uploads queued before them, and later copies wait for
  // those launches.
  uint8_t* PinnedSlot(int index, std::size_t bytes) override {
    MakeCurrent();
    Slot& slot = slots_[index];
    if (stream_ == nullptr) {
      ThrowIfFailed(cudaStreamCreate(&stream_), "cudaStreamCreate");
    }
    if (slot.done == nullptr) {
      ThrowIfFailed(cudaEventCreateWithFlags(&slot.done, cudaEventDisableTiming), "cudaEventCreateWithFlags");
    }
    if (slot.size < bytes) {
      if (slot.memory != nullptr) {
        cudaFreeHost(slot.memory);
        slot.memory = nullptr;
        slot.size = 0;
      }
      ThrowIfFailed(cudaHostAlloc(&slot.memory, bytes, cudaHostAllocDefault), "cudaHostAlloc");
      slot.size = bytes;
    }
    return static_cast<uint8_t*>(slot.memory);
  }

  void CopyToDevice(const DeviceBuffer& buffer, std::size_t offset, const uint8_t* source, std::size_t bytes,
                    int index) override {
    MakeCurrent();
    ThrowIfFailed(cudaMemcpyAsync(static_cast<uint8_t*>(buffer.handle()) + offset, source, bytes,
                                  cudaMemcpyHostToDevice, stream_),
                  "cudaMemcpyAsync");
    ThrowIfFailed(cudaEventRecord(slots_[index].done, stream_), "cudaEventRecord");
  }

  void CopyFromDevice(const DeviceBuffer& buffer, std::size_t offset, uint8_t* target, std::size_t bytes,
                      int index) override {
    MakeCurrent();
    ThrowIfFailed(cudaMemcpyAsync(target, static_cast<const uint8_t*>(buffer.handle()) + offset, bytes,
                                  cudaMemcpyDeviceToHost, stream_),
                  "cudaMemcpyAsync");
    ThrowIfFailed(cudaEventRecord(slots_[index].done, stream_), "cudaEventRecord");
  }

  void WaitSlot(int index) override {
    if (slots_[index].done != nullptr) {
      ThrowIfFailed(cudaEventSynchronize(slots_[index].done), "cudaEventSynchronize");
    }
  }

  void* AllocateRaw(std::size_t bytes) override {
    MakeCurrent();
    void* memory = nullptr;
    ThrowIfFailed(cudaMalloc(&memory, bytes), "cudaMalloc");
    return memory;
  }

  void FreeRaw(void* handle) noexcept override { cudaFree(handle); }

 private:
  struct Slot {
    void* memory = nullptr;
    std::size_t size = 0;
    cudaEvent_t done = nullptr;
  };
  cudaStream_t stream_ = nullptr;
  Slot slots_[2];
};
#endif

}  // namespace

const char* GpuApiName(GpuApi api) { return api == GpuApi::Cuda ? "CUDA" : "OpenCL"; }

std::string GpuDeviceDesc::Describe() const {
  return std::string(GpuApiName(api)) + " " + std::to_string(index) + ": " + name + " (" + platformName + ", " +
         driverVersion + ")";
}

const std::vector<GpuDeviceDesc>& EnumerateGpuDevices() {
  static const std::vector<GpuDeviceDesc> devices = [] {
    std::vector<GpuDeviceDesc> found;
    AppendOpenCLDevices(found);
#if DRIFTSMEAR_HAS_CUDA
    AppendCudaDevices(found);
#endif
    for (std::size_t i = 0; i < found.size(); ++i) {
      found[i].index = static_cast<uint32_t>(i);
    }
    return found;
  }();
  return devices;
}

const GpuDeviceDesc* FirstGpuDevice(GpuApi api, std::string* reason) {
  for (const GpuDeviceDesc& desc : EnumerateGpuDevices()) {
    if (desc.api == api) {
      return &desc;
    }
  }
  if (reason != nullptr) {
    if (api == GpuApi::OpenCL) {
      *reason = "no OpenCL device is installed (no ICD or no device on any platform)";
    } else {
#if DRIFTSMEAR_HAS_CUDA
      *reason = CudaUnavailableReason().empty() ? "no CUDA device is installed" : CudaUnavailableReason();
#else
      *reason = "this build has no CUDA support";
#endif
    }
  }
  return nullptr;
}

DeviceBuffer::~DeviceBuffer() { Reset(); }

DeviceBuffer::DeviceBuffer(DeviceBuffer&& other) noexcept
    : device_(std::exchange(other.device_, nullptr)),
      handle_(std::exchange(other.handle_, nullptr)),
      size_(std::exchange(other.size_, 0)) {}

DeviceBuffer& DeviceBuffer::operator=(DeviceBuffer&& other) noexcept {
  if (this != &other) {
    Reset();
    device_ = std::exchange(other.device_, nullptr);
    handle_ = std::exchange(other.handle_, nullptr);
    size_ = std::exchange(other.size_, 0);
  }
  return *this;
}

void DeviceBuffer::Reset() noexcept {
  if (device_ != nullptr && handle_ != nullptr) {
    device_->Release(handle_);
  }
  device_ = nullptr;
  handle_ = nullptr;
  size_ = 0;
}

std::unique_ptr<GpuDevice> GpuDevice::Open(const GpuDeviceDesc& desc) {
  switch (desc.api) {
    case GpuApi::OpenCL:
      return std::make_unique<OpenCLDevice>(desc);
    case GpuApi::Cuda:
#if DRIFTSMEAR_HAS_CUDA
      return std::make_unique<CudaDevice>(desc);
#else
      break;
#endif
  }
  throw HostError("this host is built without support for " + desc.Describe());
}

GpuDevice::~GpuDevice() = default;

PF_GPU_Framework GpuDevice::framework() const {
  return desc_.api == GpuApi::Cuda ? PF_GPU_Framework_CUDA : PF_GPU_Framework_OPENCL;
}

DeviceBuffer GpuDevice::Allocate(std::size_t bytes) {
  void* handle = AllocateRaw(bytes == 0 ? 1 : bytes);
  ++liveBuffers_;
  return DeviceBuffer(this, handle, bytes == 0 ? 1 : bytes);
}

void GpuDevice::StagedWrite(const DeviceBuffer& buffer, std::size_t rowBytes, int rows, const RowFill& fill) {
  if (rows <= 0 || rowBytes == 0) {
    return;
  }
  if (rowBytes * static_cast<std::size_t>(rows) > buffer.size()) {
    throw HostError("a staged write of " + std::to_string(rows) + " rows does not fit its buffer");
  }
  const int chunkRows = static_cast<int>(std::max<std::size_t>(1, kStagingChunkBytes / rowBytes));
  std::lock_guard<std::mutex> lock(stagingMutex_);
  int slot = 0;
  for (int first = 0; first < rows; first += chunkRows, slot ^= 1) {
    const int count = std::min(chunkRows, rows - first);
    WaitSlot(slot);
    uint8_t* staging = PinnedSlot(slot, rowBytes * static_cast<std::size_t>(chunkRows));
    fill(staging, first, count);
    CopyToDevice(buffer, rowBytes * static_cast<std::size_t>(first), staging, rowBytes * static_cast<std::size_t>(count),
                 slot);
  }
}

void GpuDevice::StagedRead(const DeviceBuffer& buffer, std::size_t rowBytes, int rows, const RowDrain& drain) {
  if (rows <= 0 || rowBytes == 0) {
    return;
  }
  if (rowBytes * static_cast<std::size_t>(rows) > buffer.size()) {
    throw HostError("a staged read of " + std::to_string(rows) + " rows does not fit its buffer");
  }
  const int chunkRows = static_cast<int>(std::max<std::size_t>(1, kStagingChunkBytes / rowBytes));
  std::lock_guard<std::mutex> lock(stagingMutex_);
  const auto request = [&](int first, int slot) {
    WaitSlot(slot);
    uint8_t* staging = PinnedSlot(slot, rowBytes * static_cast<std::size_t>(chunkRows));
    const int count = std::min(chunkRows, rows - first);
    CopyFromDevice(buffer, rowBytes * static_cast<std::size_t>(first), staging,
                   rowBytes * static_cast<std::size_t>(count), slot);
    return staging;
  };
  // The next chunk is on its way while the current one is drained.
  uint8_t* current = request(0, 0);
  int slot = 0;
  for (int first = 0; first < rows; first += chunkRows, slot ^= 1) {
    uint8_t* next = first + chunkRows < rows ? request(first + chunkRows, slot ^ 1) : nullptr;
    WaitSlot(slot);
    drain(current, first, std::min(chunkRows, rows - first));
    current = next;
  }
}

void GpuDevice::ReleaseStaging() {
  std::lock_guard<std::mutex> lock(stagingMutex_);
  FreeSlot(0);
  FreeSlot(1);
}

void GpuDevice::Release(void* handle) noexcept {
  FreeRaw(handle);
  --liveBuffers_;
}

}  // namespace dshost
