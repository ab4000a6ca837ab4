// The host's GPU devices: every OpenCL device of every installed platform
// (PoCL's CPU device included) and, in a build with CUDA, every CUDA device.
// A device owns its context and queue; device memory is handed out as
// DeviceBuffer objects that free themselves. Both are counted so tests can
// check that nothing is left behind.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#ifndef CL_TARGET_OPENCL_VERSION
#define CL_TARGET_OPENCL_VERSION 120
#endif
#include <CL/cl.h>

#include "AE_EffectGPUSuites.h"

namespace dshost {

enum class GpuApi { OpenCL, Cuda };

const char* GpuApiName(GpuApi api);

// One device as enumeration finds it. `index` is the host's device index, the
// one effects see in device setup and render inputs.
struct GpuDeviceDesc {
  uint32_t index = 0;
  GpuApi api = GpuApi::OpenCL;
  std::string name;
  std::string vendor;
  std::string driverVersion;
  std::string platformName;
  cl_platform_id platform = nullptr;  // OpenCL
  cl_device_id clDevice = nullptr;    // OpenCL
  int cudaOrdinal = -1;               // CUDA

  // "<api> <index>: <name> (<platform or vendor>, <driver>)" for messages.
  std::string Describe() const;
};

// Every OpenCL device (platforms in the loader's order, GPUs and accelerators
// before CPU devices within a platform), then every CUDA device. Enumerated
// once per process.
const std::vector<GpuDeviceDesc>& EnumerateGpuDevices();

// The first device of that API, or null with `reason` saying why there is none.
const GpuDeviceDesc* FirstGpuDevice(GpuApi api, std::string* reason = nullptr);

class GpuDevice;

// Device memory of one device: a cl_mem or a CUDA device pointer, released
// when the buffer is destroyed. Move-only.
class DeviceBuffer {
 public:
  DeviceBuffer() = default;
  ~DeviceBuffer();
  DeviceBuffer(DeviceBuffer&& other) noexcept;
  DeviceBuffer& operator=(DeviceBuffer&& other) noexcept;
  DeviceBuffer(const DeviceBuffer&) = delete;
  DeviceBuffer& operator=(const DeviceBuffer&) = delete;

  // The address an effect receives: the cl_mem or the device pointer.
  void* handle() const { return handle_; }
  std::size_t size() const { return size_; }
  explicit operator bool() const { return handle_ != nullptr; }

 private:
  friend class GpuDevice;
  DeviceBuffer(GpuDevice* device, void* handle, std::size_t size) : device_(device), handle_(handle), size_(size) {}
  void Reset() noexcept;

  GpuDevice* device_ = nullptr;
  void* handle_ = nullptr;
  std::size_t size_ = 0;
};

// An opened device. Every failure of a GPU call is thrown as HostError with
// the call and the API's status in its text.
class GpuDevice {
 public:
  // Creates the context and queue (OpenCL) or makes the device current and
  // starts its runtime (CUDA).
  static std::unique_ptr<GpuDevice> Open(const GpuDeviceDesc& desc);
  virtual ~GpuDevice();
  GpuDevice(const GpuDevice&) = delete;
  GpuDevice& operator=(const GpuDevice&) = delete;

  const GpuDeviceDesc& desc() const { return desc_; }
  GpuApi api() const { return desc_.api; }
  // The framework code an After Effects host reports for this device.
  PF_GPU_Framework framework() const;

  // The handles an effect receives from "PF GPU Device Suite": platform,
  // device, context and queue on OpenCL; the device ordinal (and no context
  // or stream: the runtime's current context and default stream) on CUDA.
  virtual PF_GPUDeviceInfo Info() const = 0;

  DeviceBuffer Allocate(std::size_t bytes);
  virtual void Write(const DeviceBuffer& buffer, const void* data, std::size_t bytes) = 0;
  virtual void Read(const DeviceBuffer& buffer, void* data, std::size_t bytes) = 0;
  // Sets every byte of the buffer.
  virtual void Fill(const DeviceBuffer& buffer, uint8_t byte) = 0;

  // Whole-buffer copies of `rows` rows of `rowBytes` through the device's
  // pinned staging memory, a chunk of rows at a time, so that the bus copies
  // one chunk while the CPU fills or drains the next. StagedWrite calls
  // `fill(staging, firstRow, rowCount)` for each chunk and returns without
  // waiting for the last copy: work queued on the device afterwards sees the
  // data. StagedRead waits for the work queued before it, then hands each
  // chunk to `drain` as it arrives. Several threads may call them at once;
  // they take turns with the staging memory.
  using RowFill = std::function<void(uint8_t* staging, int firstRow, int rowCount)>;
  using RowDrain = std::function<void(const uint8_t* staging, int firstRow, int rowCount)>;
  void StagedWrite(const DeviceBuffer& buffer, std::size_t rowBytes, int rows, const RowFill& fill);
  void StagedRead(const DeviceBuffer& buffer, std::size_t rowBytes, int rows, const RowDrain& drain);
  // Frees the staging memory (it is made again on the next staged copy).
  void ReleaseStaging();
  // Bytes of one staging chunk; there are two.
  static constexpr std::size_t kStagingChunkBytes = std::size_t{8} << 20;
  // Waits until all work queued on the device has completed.
  virtual void Finish() = 0;
  // Makes this device the calling thread's current one (CUDA); the effect
  // renders on whatever device is current.
  virtual void MakeCurrent() {}

  // Buffers of this device not yet released.
  int64_t LiveBuffers() const { return liveBuffers_.load(); }

  // The context's reference count (OpenCL). Implementations such as PoCL
  // count every program, memory object and queue made in the context, so a
  // count back at its value after Open shows that the effect released all of
  // its OpenCL objects. Empty on CUDA.
  virtual std::optional<uint32_t> ContextReferenceCount() const { return std::nullopt; }

 protected:
  explicit GpuDevice(GpuDeviceDesc desc) : desc_(std::move(desc)) {}
  virtual void* AllocateRaw(std::size_t bytes) = 0;
  virtual void FreeRaw(void* handle) noexcept = 0;

  // Staging slot 0 or 1: pinned host memory of at least `bytes` (the slot is
  // idle when this is called), an asynchronous copy between it and a buffer,
  // and the wait for the slot's last copy.
  virtual uint8_t* PinnedSlot(int slot, std::size_t bytes) = 0;
  virtual void CopyToDevice(const DeviceBuffer& buffer, std::size_t offset, const uint8_t* source, std::size_t bytes,
                            int slot) = 0;
  virtual void CopyFromDevice(const DeviceBuffer& buffer, std::size_t offset, uint8_t* target, std::size_t bytes,
                              int slot) = 0;
  virtual void WaitSlot(int slot) = 0;
  virtual void FreeSlot(int slot) noexcept = 0;

 private:
  friend class DeviceBuffer;
  void Release(void* handle) noexcept;

  GpuDeviceDesc desc_;
  std::atomic<int64_t> liveBuffers_{0};
  std::mutex stagingMutex_;
};

}  // namespace dshost
