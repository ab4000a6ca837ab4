// Input frames kept on the device between renders. An effect that reads the
// current frame and several earlier ones checks each input frame out for
// several output frames in a row; the host uploads it the first time and
// hands the same device memory out again while the frame is cached, so every
// input frame crosses the bus once per render job.
//
// A frame is named by its source's id and the source's key for it (see
// FrameSource::Identify), plus the device and pixel format it was made for.
// The cache holds at most `capacity` frames; when a new one needs room the
// frame with the lowest key goes (of the oldest source first). Renders move
// forward through a clip, so that is the frame furthest behind them.
// Recency would be the wrong rule: an effect checks its current frame out
// first and its oldest frame last, and render threads working on several
// output frames at once touch them in any order, so the least recently used
// frame is often one the next render needs. A frame that is out with an effect when it
// is dropped stays valid until it is checked in (its memory is shared).
// Capacity 0 turns the cache off. Any number of render threads may use one
// cache.
#pragma once
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>

#include "AE_Effect.h"
#include "host/gpu/GpuDevice.h"

namespace dshost {

struct DeviceFrameKey {
  uint64_t source = 0;
  int64_t frame = 0;
  uint32_t device = 0;
  PF_PixelFormat format = PF_PixelFormat_INVALID;

  bool operator==(const DeviceFrameKey&) const = default;
};

// A frame's pixels on the device, laid out as a world of this size.
struct DeviceFrame {
  DeviceBuffer buffer;
  int width = 0;
  int height = 0;
  A_long rowBytes = 0;
};

class DeviceFrameCache {
 public:
  using FramePtr = std::shared_ptr<const DeviceFrame>;

  void SetCapacity(std::size_t frames);
  std::size_t capacity() const;
  std::size_t size() const;

  // The cached frame, or null.
  FramePtr Find(const DeviceFrameKey& key);
  // Whether the frame is cached; neither counted nor made recently used.
  bool Contains(const DeviceFrameKey& key) const;
  // Keeps a frame, dropping the least recently used ones beyond the capacity;
  // with capacity 0 nothing is kept. A frame already kept under the key (two
  // threads uploaded it together) stays and is returned instead.
  FramePtr Insert(const DeviceFrameKey& key, FramePtr frame);
  // Drops every frame (before the devices close).
  void Clear();

  struct Counts {
    uint64_t hits = 0;
    uint64_t misses = 0;
  };
  Counts counts() const;

 private:
  struct Entry {
    DeviceFrameKey key;
    FramePtr frame;
  };
  // Moves entries beyond the capacity into `dropped`.
  void DropBeyondCapacity(std::list<Entry>& dropped);

  mutable std::mutex mutex_;
  std::size_t capacity_ = 0;
  std::list<Entry> entries_;
  Counts counts_;
};

}  // namespace dshost
