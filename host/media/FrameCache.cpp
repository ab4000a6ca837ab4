#include "host/media/FrameCache.h"

#include <algorithm>

#include "host/media/MediaReader.h"

namespace dshost {

FrameCache::FrameCache(MediaReader& reader, std::size_t capacity)
    : FrameCache([&reader](std::int64_t index, ImageF& out) { reader.readFrame(index, out); }, capacity) {}

FrameCache::FrameCache(DecodeFunction decode, std::size_t capacity)
    : decode_(std::move(decode)), capacity_(std::max<std::size_t>(capacity, 1)) {}

FrameCache::FramePtr FrameCache::findLocked(std::int64_t index) const {
  for (auto it = entries_.begin(); it != entries_.end(); ++it) {
    if (it->index == index) {
      entries_.splice(entries_.begin(), entries_, it);  // now the most recently used
      return entries_.front().frame;
    }
  }
  return nullptr;
}

FrameCache::FramePtr FrameCache::peek(std::int64_t index) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return findLocked(index);
}

FrameCache::FramePtr FrameCache::get(std::int64_t index) {
  if (FramePtr hit = peek(index)) return hit;

  std::lock_guard<std::mutex> decoding(decodeMutex_);
  // Another thread may have decoded it while this one waited for its turn.
  if (FramePtr hit = peek(index)) return hit;

  std::shared_ptr<ImageF> frame = maker_ ? maker_() : std::make_shared<ImageF>();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ++decodeCount_;
  }
  decode_(index, *frame);

  std::lock_guard<std::mutex> lock(mutex_);
  entries_.push_front(Entry{index, frame});
  while (entries_.size() > capacity_) entries_.pop_back();
  return frame;
}

void FrameCache::setFrameMaker(FrameMaker maker) {
  std::lock_guard<std::mutex> decoding(decodeMutex_);
  maker_ = std::move(maker);
}

void FrameCache::clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  entries_.clear();
}

std::size_t FrameCache::size() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return entries_.size();
}

std::uint64_t FrameCache::decodeCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return decodeCount_;
}

}  // namespace dshost
