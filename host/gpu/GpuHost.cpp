#include "host/gpu/GpuHost.h"

#include <cmath>
#include <thread>
#include <cstring>
#include <limits>

#include "host/HostError.h"
#include "host/HostRuntime.h"
#include "host/RuntimeAttachments.h"

namespace dshost {

namespace {

// IEEE half from float, rounded to nearest even (the host's own conversion;
// the effect narrows with rounding toward zero in its kernels).
uint16_t FloatToHalf(float value) {
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  const uint32_t sign = (bits >> 16) & 0x8000u;
  const uint32_t exponent = (bits >> 23) & 0xFFu;
  uint32_t mantissa = bits & 0x7FFFFFu;
  if (exponent == 0xFFu) {
    return static_cast<uint16_t>(sign | 0x7C00u | (mantissa != 0 ? 0x200u : 0u));
  }
  const int unbiased = static_cast<int>(exponent) - 127;
  if (unbiased > 15) {
    return static_cast<uint16_t>(sign | 0x7C00u);
  }
  if (unbiased >= -14) {
    uint32_t half = (static_cast<uint32_t>(unbiased + 15) << 10) | (mantissa >> 13);
    const uint32_t rest = mantissa & 0x1FFFu;
    if (rest > 0x1000u || (rest == 0x1000u && (half & 1u) != 0)) {
      ++half;  // may carry into the exponent, which is still correct
    }
    return static_cast<uint16_t>(sign | half);
  }
  if (unbiased < -25) {
    return static_cast<uint16_t>(sign);
  }
  // A subnormal half: the value is m * 2^-24 with m = full mantissa * 2^(unbiased + 1).
  mantissa |= 0x800000u;
  const int shift = -unbiased - 1;
  uint32_t half = mantissa >> shift;
  const uint32_t rest = mantissa & ((1u << shift) - 1u);
  const uint32_t halfway = 1u << (shift - 1);
  if (rest > halfway || (rest == halfway && (half & 1u) != 0)) {
    ++half;
  }
  return static_cast<uint16_t>(sign | half);
}

float HalfToFloat(uint16_t half) {
  const uint32_t sign = (static_cast<uint32_t>(half) & 0x8000u) << 16;
  const uint32_t exponent = (half >> 10) & 0x1Fu;
  const uint32_t mantissa = half & 0x3FFu;
  float value = 0.0f;
  if (exponent == 0) {
    value = std::ldexp(static_cast<float>(mantissa), -24);
  } else if (exponent == 31) {
    value = mantissa != 0 ? std::numeric_limits<float>::quiet_NaN() : std::numeric_limits<float>::infinity();
  } else {
    value = std::ldexp(static_cast<float>(mantissa | 0x400u), static_cast<int>(exponent) - 25);
  }
  uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  bits |= sign;
  std::memcpy(&value, &bits, sizeof(bits));
  return value;
}

// 16-bit After Effects channels run 0..32768.
constexpr float kDeepChannelMax = 32768.0f;

float ClampUnit(float value) { return value < 0.0f ? 0.0f : (value > 1.0f ? 1.0f : value); }

void CheckSize(const HostWorld& record, const ImageF& image) {
  if (image.width != record.world.width || image.height != record.world.height ||
      image.bgra.size() != image.pixelCount() * 4) {
    throw HostError("image of " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                    " does not fit a world of " + std::to_string(record.world.width) + "x" +
                    std::to_string(record.world.height));
  }
}

// Writes one BGRA pixel into the world's memory at `target`.
void StorePixel(PF_PixelFormat format, const float* bgra, uint8_t* target) {
  switch (format) {
    case kGpuFloatFormat:
      std::memcpy(target, bgra, 16);
      break;
    case kGpuHalfFormat: {
      const uint16_t halves[4] = {FloatToHalf(bgra[0]), FloatToHalf(bgra[1]), FloatToHalf(bgra[2]),
                                  FloatToHalf(bgra[3])};
      std::memcpy(target, halves, 8);
      break;
    }
    case PF_PixelFormat_ARGB128: {
      const float argb[4] = {bgra[3], bgra[2], bgra[1], bgra[0]};
      std::memcpy(target, argb, 16);
      break;
    }
    case PF_PixelFormat_ARGB64: {
      const uint16_t argb[4] = {static_cast<uint16_t>(std::lround(ClampUnit(bgra[3]) * kDeepChannelMax)),
                                static_cast<uint16_t>(std::lround(ClampUnit(bgra[2]) * kDeepChannelMax)),
                                static_cast<uint16_t>(std::lround(ClampUnit(bgra[1]) * kDeepChannelMax)),
                                static_cast<uint16_t>(std::lround(ClampUnit(bgra[0]) * kDeepChannelMax))};
      std::memcpy(target, argb, 8);
      break;
    }
    default: {  // ARGB32
      const uint8_t argb[4] = {static_cast<uint8_t>(std::lround(ClampUnit(bgra[3]) * 255.0f)),
                               static_cast<uint8_t>(std::lround(ClampUnit(bgra[2]) * 255.0f)),
                               static_cast<uint8_t>(std::lround(ClampUnit(bgra[1]) * 255.0f)),
                               static_cast<uint8_t>(std::lround(ClampUnit(bgra[0]) * 255.0f))};
      std::memcpy(target, argb, 4);
      break;
    }
  }
}

void LoadPixel(PF_PixelFormat format, const uint8_t* source, float* bgra) {
  switch (format) {
    case kGpuFloatFormat:
      std::memcpy(bgra, source, 16);
      break;
    case kGpuHalfFormat: {
      uint16_t halves[4];
      std::memcpy(halves, source, 8);
      for (int c = 0; c < 4; ++c) {
        bgra[c] = HalfToFloat(halves[c]);
      }
      break;
    }
    case PF_PixelFormat_ARGB128: {
      float argb[4];
      std::memcpy(argb, source, 16);
      bgra[0] = argb[3], bgra[1] = argb[2], bgra[2] = argb[1], bgra[3] = argb[0];
      break;
    }
    case PF_PixelFormat_ARGB64: {
      uint16_t argb[4];
      std::memcpy(argb, source, 8);
      for (int c = 0; c < 4; ++c) {
        bgra[3 - c] = static_cast<float>(argb[c]) / kDeepChannelMax;
      }
      break;
    }
    default:
      for (int c = 0; c < 4; ++c) {
        bgra[3 - c] = static_cast<float>(source[c]) / 255.0f;
      }
      break;
  }
}

void FillWorldRecord(HostWorld& record, int width, int height, PF_PixelFormat format, PF_RationalScale pixelAspect) {
  const std::size_t bytesPerPixel = BytesPerPixel(format);
  record.format = format;
  record.world.width = width;
  record.world.height = height;
  record.world.rowbytes = static_cast<A_long>((static_cast<std::size_t>(width) + kWorldRowPaddingPixels) * bytesPerPixel);
  record.world.extent_hint = PF_LRect{0, 0, width, height};
  record.world.pix_aspect_ratio = pixelAspect;
  record.world.world_flags = PF_WorldFlag_WRITEABLE | (bytesPerPixel > 4 ? PF_WorldFlag_DEEP : 0);
}

void CheckWorldSize(int width, int height) {
  if (width <= 0 || height <= 0 || width > 65536 || height > 65536) {
    throw HostError("a world of " + std::to_string(width) + "x" + std::to_string(height) + " cannot be made");
  }
}

}  // namespace

std::size_t BytesPerPixel(PF_PixelFormat format) {
  switch (format) {
    case kGpuFloatFormat:
    case PF_PixelFormat_ARGB128:
      return 16;
    case kGpuHalfFormat:
    case PF_PixelFormat_ARGB64:
      return 8;
    case PF_PixelFormat_ARGB32:
      return 4;
    default:
      return 0;
  }
}

bool IsGpuFormat(PF_PixelFormat format) { return format == kGpuFloatFormat || format == kGpuHalfFormat; }

GpuHost::GpuHost(HostRuntime& runtime) : runtime_(runtime) { RuntimeAttachments<GpuHost>::Attach(runtime_, this); }

GpuHost::~GpuHost() {
  RuntimeAttachments<GpuHost>::Detach(runtime_, this);
  // Work the effect queued may still use the worlds: wait before freeing them.
  for (auto& [index, device] : devices_) {
    try {
      device->Finish();
    } catch (...) {
    }
  }
  deviceAllocations_.clear();
  worlds_.clear();
  frameCache_.Clear();
}

GpuHost* GpuHost::Current() { return RuntimeAttachments<GpuHost>::Current(); }

GpuDevice& GpuHost::OpenDevice(uint32_t index) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = devices_.find(index);
  if (found != devices_.end()) {
    return *found->second;
  }
  const auto& all = EnumerateGpuDevices();
  if (index >= all.size()) {
    throw HostError("there is no GPU device " + std::to_string(index) + " (this machine has " +
                    std::to_string(all.size()) + ")");
  }
  auto device = GpuDevice::Open(all[index]);
  GpuDevice& opened = *device;
  devices_.emplace(index, std::move(device));
  return opened;
}

GpuDevice* GpuHost::Device(uint32_t index) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = devices_.find(index);
  return found == devices_.end() ? nullptr : found->second.get();
}

GpuDevice* GpuHost::DeviceOrOpen(uint32_t index, std::string* reason) {
  try {
    return &OpenDevice(index);
  } catch (const std::exception& e) {
    if (reason != nullptr) {
      *reason = e.what();
    }
    return nullptr;
  }
}

PF_EffectWorld* GpuHost::CreateGpuWorld(uint32_t deviceIndex, int width, int height, PF_PixelFormat format, bool clear,
                                        PF_RationalScale pixelAspect, bool createdByEffect) {
  CheckWorldSize(width, height);
  if (!IsGpuFormat(format)) {
    throw HostError("pixel format " + std::to_string(format) + " is not a GPU format");
  }
  GpuDevice* device = Device(deviceIndex);
  if (device == nullptr) {
    throw HostError("GPU device " + std::to_string(deviceIndex) + " is not open");
  }
  auto record = std::make_unique<HostWorld>();
  FillWorldRecord(*record, width, height, format, pixelAspect);
  record->gpu = true;
  record->deviceIndex = deviceIndex;
  record->createdByEffect = createdByEffect;
  record->buffer = device->Allocate(static_cast<std::size_t>(record->world.rowbytes) * static_cast<std::size_t>(height));
  device->Fill(record->buffer, clear ? 0 : kUnwrittenByte);
  PF_EffectWorld* world = &record->world;
  std::lock_guard<std::mutex> lock(mutex_);
  worlds_[world] = std::move(record);
  return world;
}

PF_EffectWorld* GpuHost::CreateCpuWorld(int width, int height, PF_PixelFormat format, bool createdByEffect) {
  CheckWorldSize(width, height);
  if (IsGpuFormat(format) || BytesPerPixel(format) == 0) {
    throw HostError("pixel format " + std::to_string(format) + " is not a CPU format");
  }
  auto record = std::make_unique<HostWorld>();
  FillWorldRecord(*record, width, height, format, PF_RationalScale{1, 1});
  record->createdByEffect = createdByEffect;
  record->memory.assign(static_cast<std::size_t>(record->world.rowbytes) * static_cast<std::size_t>(height),
                        kUnwrittenByte);
  record->world.data = reinterpret_cast<PF_PixelPtr>(record->memory.data());
  PF_EffectWorld* world = &record->world;
  std::lock_guard<std::mutex> lock(mutex_);
  worlds_[world] = std::move(record);
  return world;
}

void GpuHost::AdoptCpuWorld(PF_EffectWorld* target, int width, int height, PF_PixelFormat format, bool clear) {
  CheckWorldSize(width, height);
  if (IsGpuFormat(format) || BytesPerPixel(format) == 0) {
    throw HostError("pixel format " + std::to_string(format) + " is not a CPU format");
  }
  auto record = std::make_unique<HostWorld>();
  FillWorldRecord(*record, width, height, format, PF_RationalScale{1, 1});
  record->createdByEffect = true;
  record->memory.assign(static_cast<std::size_t>(record->world.rowbytes) * static_cast<std::size_t>(height),
                        clear ? 0 : kUnwrittenByte);
  record->world.data = reinterpret_cast<PF_PixelPtr>(record->memory.data());
  *target = record->world;
  std::lock_guard<std::mutex> lock(mutex_);
  worlds_[target] = std::move(record);
}

bool GpuHost::DisposeWorld(const PF_EffectWorld* world) {
  std::unique_ptr<HostWorld> record;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = worlds_.find(world);
    if (found == worlds_.end()) {
      return false;
    }
    record = std::move(found->second);
    worlds_.erase(found);
  }
  // Freed without waiting for the device: OpenCL keeps a memory object alive
  // until the commands queued on it have completed, and cudaFree waits for
  // the device itself. An effect that disposes of a world right after
  // enqueueing passes on it therefore costs no wait here.
  return true;
}

const HostWorld* GpuHost::Find(const PF_EffectWorld* world) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = worlds_.find(world);
  return found == worlds_.end() ? nullptr : found->second.get();
}

bool GpuHost::PremierePixelFormat(const PF_EffectWorld& world, PrPixelFormat* format) const {
  const HostWorld* record = Find(&world);
  if (record == nullptr || format == nullptr) {
    return false;
  }
  switch (record->format) {
    case kGpuFloatFormat:
      *format = PrPixelFormat_GPU_BGRA_4444_32f;
      return true;
    case kGpuHalfFormat:
      *format = PrPixelFormat_GPU_BGRA_4444_16f;
      return true;
    case PF_PixelFormat_ARGB128:
      // The same memory layout: alpha, red, green, blue as 32-bit floats.
      *format = PrPixelFormat_ARGB_4444_32f;
      return true;
    default:
      return false;
  }
}

size_t GpuHost::LiveWorlds() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return worlds_.size();
}

namespace {

// Converts rows of an image into rows of a world's format; the padding at the
// end of each row gets kUnwrittenByte.
void StoreRows(PF_PixelFormat format, std::size_t rowBytes, const ImageF& image, uint8_t* rows, int first, int count) {
  const std::size_t bytesPerPixel = BytesPerPixel(format);
  for (int y = first; y < first + count; ++y) {
    uint8_t* row = rows + rowBytes * static_cast<std::size_t>(y - first);
    if (format == kGpuFloatFormat) {
      const std::size_t pixelBytes = static_cast<std::size_t>(image.width) * 16;
      std::memcpy(row, image.pixel(0, y), pixelBytes);
      std::memset(row + pixelBytes, kUnwrittenByte, rowBytes - pixelBytes);
      continue;
    }
    std::memset(row, kUnwrittenByte, rowBytes);
    for (int x = 0; x < image.width; ++x) {
      StorePixel(format, image.pixel(x, y), row + bytesPerPixel * static_cast<std::size_t>(x));
    }
  }
}

void LoadRows(PF_PixelFormat format, std::size_t rowBytes, const uint8_t* rows, int first, int count, ImageF& image) {
  const std::size_t bytesPerPixel = BytesPerPixel(format);
  for (int y = first; y < first + count; ++y) {
    const uint8_t* row = rows + rowBytes * static_cast<std::size_t>(y - first);
    if (format == kGpuFloatFormat) {
      std::memcpy(image.pixel(0, y), row, static_cast<std::size_t>(image.width) * 16);
      continue;
    }
    for (int x = 0; x < image.width; ++x) {
      LoadPixel(format, row + bytesPerPixel * static_cast<std::size_t>(x), image.pixel(x, y));
    }
  }
}

}  // namespace

void GpuHost::Upload(const PF_EffectWorld* world, const ImageF& image) {
  const HostWorld* record = Find(world);
  if (record == nullptr) {
    throw HostError("upload into a world the host did not make");
  }
  CheckSize(*record, image);
  const std::size_t rowBytes = static_cast<std::size_t>(record->world.rowbytes);
  if (record->gpu) {
    GpuDevice* device = Device(record->deviceIndex);
    if (device == nullptr) {
      throw HostError("the world's GPU device is not open");
    }
    device->StagedWrite(record->deviceBuffer(), rowBytes, image.height, [&](uint8_t* rows, int first, int count) {
      StoreRows(record->format, rowBytes, image, rows, first, count);
    });
    uploadBytes_ += rowBytes * static_cast<std::size_t>(image.height);
    ++uploads_;
  } else {
    StoreRows(record->format, rowBytes, image, const_cast<uint8_t*>(record->memory.data()), 0, image.height);
  }
}

ImageF GpuHost::Download(const PF_EffectWorld* world) {
  const HostWorld* record = Find(world);
  if (record == nullptr) {
    throw HostError("download from a world the host did not make");
  }
  const std::size_t rowBytes = static_cast<std::size_t>(record->world.rowbytes);
  ImageF image = makeImage(record->world.width, record->world.height);
  if (record->gpu) {
    GpuDevice* device = Device(record->deviceIndex);
    if (device == nullptr) {
      throw HostError("the world's GPU device is not open");
    }
    device->StagedRead(record->deviceBuffer(), rowBytes, image.height, [&](const uint8_t* rows, int first, int count) {
      LoadRows(record->format, rowBytes, rows, first, count, image);
    });
    downloadBytes_ += rowBytes * static_cast<std::size_t>(image.height);
    ++downloads_;
  } else {
    LoadRows(record->format, rowBytes, record->memory.data(), 0, image.height, image);
  }
  return image;
}

TransferCounts GpuHost::Transfers() const {
  return TransferCounts{uploadBytes_.load(), uploads_.load(), downloadBytes_.load(), downloads_.load()};
}

PF_EffectWorld* GpuHost::LendCachedFrame(const DeviceFrameKey& key) {
  DeviceFrameCache::FramePtr frame = frameCache_.Find(key);
  return frame == nullptr ? nullptr : LendFrame(key, std::move(frame));
}

PF_EffectWorld* GpuHost::LendFrame(const DeviceFrameKey& key, DeviceFrameCache::FramePtr frame) {
  auto record = std::make_unique<HostWorld>();
  FillWorldRecord(*record, frame->width, frame->height, key.format, PF_RationalScale{1, 1});
  record->gpu = true;
  record->deviceIndex = key.device;
  record->cached = std::move(frame);
  PF_EffectWorld* world = &record->world;
  std::lock_guard<std::mutex> lock(mutex_);
  worlds_[world] = std::move(record);
  return world;
}

DeviceFrameCache::FramePtr GpuHost::UploadFrame(const DeviceFrameKey& key, const ImageF& image) {
  CheckWorldSize(image.width, image.height);
  if (!IsGpuFormat(key.format)) {
    throw HostError("pixel format " + std::to_string(key.format) + " is not a GPU format");
  }
  GpuDevice* device = Device(key.device);
  if (device == nullptr) {
    throw HostError("GPU device " + std::to_string(key.device) + " is not open");
  }
  HostWorld layout;
  FillWorldRecord(layout, image.width, image.height, key.format, PF_RationalScale{1, 1});
  CheckSize(layout, image);
  auto frame = std::make_shared<DeviceFrame>();
  frame->width = image.width;
  frame->height = image.height;
  frame->rowBytes = layout.world.rowbytes;
  const std::size_t rowBytes = static_cast<std::size_t>(frame->rowBytes);
  frame->buffer = device->Allocate(rowBytes * static_cast<std::size_t>(image.height));
  device->StagedWrite(frame->buffer, rowBytes, image.height, [&](uint8_t* rows, int first, int count) {
    StoreRows(key.format, rowBytes, image, rows, first, count);
  });
  uploadBytes_ += rowBytes * static_cast<std::size_t>(image.height);
  ++uploads_;
  return frameCache_.Insert(key, std::move(frame));
}

PF_EffectWorld* GpuHost::CacheFrame(const DeviceFrameKey& key, const ImageF& image) {
  return LendFrame(key, UploadFrame(key, image));
}

void GpuHost::PreloadFrame(const DeviceFrameKey& key, const ImageF& image) {
  if (frameCache_.capacity() > 0 && !frameCache_.Contains(key)) {
    UploadFrame(key, image);
  }
}

void GpuHost::SetActiveRequest(SmartRenderRequest* request) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (request != nullptr) {
    activeRequests_[std::this_thread::get_id()] = request;
  } else {
    activeRequests_.erase(std::this_thread::get_id());
  }
}

SmartRenderRequest* GpuHost::ActiveRequest() const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = activeRequests_.find(std::this_thread::get_id());
  return found != activeRequests_.end() ? found->second : nullptr;
}

void* GpuHost::AllocateDeviceMemory(uint32_t deviceIndex, std::size_t bytes) {
  GpuDevice* device = Device(deviceIndex);
  if (device == nullptr) {
    throw HostError("GPU device " + std::to_string(deviceIndex) + " is not open");
  }
  DeviceBuffer buffer = device->Allocate(bytes);
  void* handle = buffer.handle();
  std::lock_guard<std::mutex> lock(mutex_);
  deviceAllocations_.emplace(handle, std::move(buffer));
  return handle;
}

bool GpuHost::FreeDeviceMemory(void* memory) {
  std::lock_guard<std::mutex> lock(mutex_);
  return deviceAllocations_.erase(memory) != 0;
}

size_t GpuHost::LiveDeviceAllocations() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return deviceAllocations_.size();
}

}  // namespace dshost
