// The GPU side of one effect host: the devices it has opened, the worlds
// (images) it has handed to the effect, GPU and CPU alike, and the smart
// render request whose callbacks are being served. Suites without an effect
// reference find it through the calling thread's current host.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "AE_Effect.h"
#include "AE_EffectPixelFormat.h"
#include "PrSDKPixelFormat.h"
#include "host/gpu/DeviceFrameCache.h"
#include "host/gpu/GpuDevice.h"
#include "host/media/Image.h"

namespace dshost {

class HostRuntime;
class SmartRenderRequest;

// GPU pixel formats: four 32-bit floats, or four 16-bit halves, B G R A.
inline constexpr PF_PixelFormat kGpuFloatFormat = PF_PixelFormat_GPU_BGRA128;
inline constexpr PF_PixelFormat kGpuHalfFormat = PF_PixelFormat_RESERVED;

// Every world's rows are this many pixels longer than its width, so an effect
// that mixes up width and pitch reads or writes visibly wrong pixels. The odd
// count keeps rows from lining up with any work-group size.
inline constexpr int kWorldRowPaddingPixels = 19;
// Every byte of a world that the host did not fill and did not clear holds
// this value: 785.07 as a float, 4.27 as a half.
inline constexpr uint8_t kUnwrittenByte = 0x44;

// Bytes per pixel of a world format; 0 for a format the host cannot make.
std::size_t BytesPerPixel(PF_PixelFormat format);
bool IsGpuFormat(PF_PixelFormat format);

// A world the host made, with what it is made of.
struct HostWorld {
  PF_EffectWorld world{};
  PF_PixelFormat format = PF_PixelFormat_INVALID;
  bool gpu = false;
  uint32_t deviceIndex = 0;
  DeviceBuffer buffer;           // GPU worlds
  std::vector<uint8_t> memory;   // CPU worlds
  bool createdByEffect = false;  // through CreateGPUWorld / PF_NewWorld
  // A GPU world lent from the device frame cache uses the cached frame's
  // memory instead of `buffer`.
  DeviceFrameCache::FramePtr cached;

  const DeviceBuffer& deviceBuffer() const { return cached ? cached->buffer : buffer; }
};

// Pixel bytes the host moved between host memory and its devices.
struct TransferCounts {
  uint64_t uploadBytes = 0;
  uint64_t uploads = 0;
  uint64_t downloadBytes = 0;
  uint64_t downloads = 0;
};

class GpuHost {
 public:
  explicit GpuHost(HostRuntime& runtime);
  ~GpuHost();
  GpuHost(const GpuHost&) = delete;
  GpuHost& operator=(const GpuHost&) = delete;

  // The GPU host of the calling thread's current host, or null.
  static GpuHost* Current();
  HostRuntime& runtime() const { return runtime_; }

  // ---- Devices -----------------------------------------------------------------
  // Opens the device with this host index (see EnumerateGpuDevices) if it is
  // not open yet. Throws HostError when there is no such device or it fails.
  GpuDevice& OpenDevice(uint32_t index);
  // The open device, or null.
  GpuDevice* Device(uint32_t index) const;
  // Opens on first use; null (with the reason) when that fails.
  GpuDevice* DeviceOrOpen(uint32_t index, std::string* reason = nullptr);

  // ---- Worlds ------------------------------------------------------------------
  // A GPU world of a GPU format on an open device: cleared to zero, or with
  // every byte kUnwrittenByte.
  PF_EffectWorld* CreateGpuWorld(uint32_t deviceIndex, int width, int height, PF_PixelFormat format, bool clear,
                                 PF_RationalScale pixelAspect, bool createdByEffect);
  // A CPU world (ARGB32, ARGB64 or ARGB128), unwritten.
  PF_EffectWorld* CreateCpuWorld(int width, int height, PF_PixelFormat format, bool createdByEffect);
  // Registers a world the effect passed in by address (PF_NewWorld fills the
  // caller's record); the host keeps its pixels.
  void AdoptCpuWorld(PF_EffectWorld* target, int width, int height, PF_PixelFormat format, bool clear);
  // Frees a world the host made; false when the world is not one of them.
  bool DisposeWorld(const PF_EffectWorld* world);
  // The record of a world the host made, or null.
  const HostWorld* Find(const PF_EffectWorld* world) const;
  // A world's format in Premiere's numbering; false for a world the host did
  // not make or a format Premiere has no code for.
  bool PremierePixelFormat(const PF_EffectWorld& world, PrPixelFormat* format) const;
  size_t LiveWorlds() const;

  // Copies an image into a world of the same size (converting to the world's
  // format; straight alpha stays straight) and reads one back. GPU worlds
  // move through the device's pinned staging memory.
  void Upload(const PF_EffectWorld* world, const ImageF& image);
  ImageF Download(const PF_EffectWorld* world);
  TransferCounts Transfers() const;

  // ---- Input frames kept on the device -----------------------------------------
  // Frames kept between renders (capacity 0, the default, keeps none).
  DeviceFrameCache& frameCache() { return frameCache_; }
  // A new world showing the cached frame under `key`, or null when it is not
  // cached. The world is disposed of as any other; the frame stays cached.
  PF_EffectWorld* LendCachedFrame(const DeviceFrameKey& key);
  // Uploads `image` as the frame under `key` (for the key's device and
  // format), keeps it in the cache and returns a world showing it.
  PF_EffectWorld* CacheFrame(const DeviceFrameKey& key, const ImageF& image);
  // Uploads `image` into the cache under `key` unless it is there already,
  // ahead of the render that checks it out (a decode thread does this while
  // the device renders).
  void PreloadFrame(const DeviceFrameKey& key, const ImageF& image);

  // ---- Smart render ------------------------------------------------------------
  // The request whose callbacks the calling thread is served with: several
  // render threads each have their own, as in After Effects' multi-frame
  // rendering.
  void SetActiveRequest(SmartRenderRequest* request);
  SmartRenderRequest* ActiveRequest() const;

  // Device memory the effect allocated through the device suite.
  void* AllocateDeviceMemory(uint32_t deviceIndex, std::size_t bytes);
  bool FreeDeviceMemory(void* memory);
  size_t LiveDeviceAllocations() const;

 private:
  DeviceFrameCache::FramePtr UploadFrame(const DeviceFrameKey& key, const ImageF& image);
  // A world record that lends the cached frame to the effect until released.
  PF_EffectWorld* LendFrame(const DeviceFrameKey& key, DeviceFrameCache::FramePtr frame);

  HostRuntime& runtime_;
  mutable std::mutex mutex_;
  std::map<uint32_t, std::unique_ptr<GpuDevice>> devices_;
  std::map<const PF_EffectWorld*, std::unique_ptr<HostWorld>> worlds_;
  std::map<void*, DeviceBuffer> deviceAllocations_;
  std::map<std::thread::id, SmartRenderRequest*> activeRequests_;
  // After the devices: its frames go before the devices close.
  DeviceFrameCache frameCache_;
  std::atomic<uint64_t> uploadBytes_{0};
  std::atomic<uint64_t> uploads_{0};
  std::atomic<uint64_t> downloadBytes_{0};
  std::atomic<uint64_t> downloads_{0};
};

}  // namespace dshost
