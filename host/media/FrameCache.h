// A small ring of decoded frames keyed by frame index. An output frame of the
// effect needs several earlier input frames; with the cache each input frame is
// decoded once for a whole render, however many output frames use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

#include "host/media/Image.h"

namespace dshost {

class MediaReader;

// Thread safety: any number of threads may call get()/peek() at once. Decoding
// is serialised (the decode function runs on one thread at a time, outside the
// lookup lock, so readers of cached frames are not held up by a decode), and a
// frame requested by two threads together is decoded once. The usual set-up is
// one decode thread calling get() ahead of the renderer and render threads
// calling get() for the frames they need.
//
// Frames are handed out as shared pointers: a frame evicted from the ring stays
// valid for whoever still holds it. Eviction drops the least recently used frame.
// Memory: capacity x width x height x 16 bytes (1080p: 33 MB a frame).
class FrameCache {
 public:
  using DecodeFunction = std::function<void(std::int64_t index, ImageF& out)>;
  using FramePtr = std::shared_ptr<const ImageF>;

  // Decodes through `reader`, which must outlive the cache and must not be used
  // elsewhere while the cache exists. capacity is raised to at least 1.
  FrameCache(MediaReader& reader, std::size_t capacity);
  FrameCache(DecodeFunction decode, std::size_t capacity);

  // Where new frames are decoded into: by default a plain image of its own.
  // A user that wraps the frames in a record of its own (with the image
  // inside) supplies an image that lives inside that record, so the frame is
  // never copied out of the cache. Set it before the first decode.
  using FrameMaker = std::function<std::shared_ptr<ImageF>()>;
  void setFrameMaker(FrameMaker maker);

  // The frame, decoded now if it is not in the ring. Decode errors propagate
  // (FrameDecodeError) and leave the ring as it was.
  FramePtr get(std::int64_t index);

  // The frame if it is in the ring, else null; never decodes.
  FramePtr peek(std::int64_t index) const;

  bool contains(std::int64_t index) const { return peek(index) != nullptr; }

  // Drops every frame (after a seek to elsewhere in the clip).
  void clear();

  std::size_t capacity() const { return capacity_; }
  std::size_t size() const;

  // How many times the decode function ran: each call decodes one frame.
  std::uint64_t decodeCount() const;

  // The capacity a render moving one frame at a time needs to decode every frame
  // once: the current frame, the `earlierFrames` before it that it reads, and the
  // `framesAhead` a decode thread may have decoded before the renderer asks.
  static std::size_t capacityForWindow(std::size_t earlierFrames, std::size_t framesAhead = 1) {
    return earlierFrames + 1 + framesAhead;
  }

 private:
  struct Entry {
    std::int64_t index;
    FramePtr frame;
  };

  FramePtr findLocked(std::int64_t index) const;

  DecodeFunction decode_;
  FrameMaker maker_;
  std::size_t capacity_;
  mutable std::mutex mutex_;           // guards entries_ and decodeCount_
  mutable std::list<Entry> entries_;   // most recently used first
  std::uint64_t decodeCount_ = 0;
  std::mutex decodeMutex_;             // one decode at a time
};

}  // namespace dshost
