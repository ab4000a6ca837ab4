#include "host/gpu/DeviceFrameCache.h"

#include <algorithm>
#include <tuple>

namespace dshost {

void DeviceFrameCache::DropBeyondCapacity(std::list<Entry>& dropped) {
  while (entries_.size() > capacity_) {
    const auto victim = std::min_element(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) {
      return std::tie(a.key.source, a.key.frame) < std::tie(b.key.source, b.key.frame);
    });
    dropped.splice(dropped.begin(), entries_, victim);
  }
}

void DeviceFrameCache::SetCapacity(std::size_t frames) {
  // Frames dropped here release their device memory after the lock is gone.
  std::list<Entry> dropped;
  std::lock_guard<std::mutex> lock(mutex_);
  capacity_ = frames;
  DropBeyondCapacity(dropped);
}

std::size_t DeviceFrameCache::capacity() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return capacity_;
}

std::size_t DeviceFrameCache::size() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return entries_.size();
}

DeviceFrameCache::FramePtr DeviceFrameCache::Find(const DeviceFrameKey& key) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const Entry& entry : entries_) {
    if (entry.key == key) {
      ++counts_.hits;
      return entry.frame;
    }
  }
  ++counts_.misses;
  return nullptr;
}

bool DeviceFrameCache::Contains(const DeviceFrameKey& key) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.key == key; });
}

DeviceFrameCache::FramePtr DeviceFrameCache::Insert(const DeviceFrameKey& key, FramePtr frame) {
  std::list<Entry> dropped;
  std::lock_guard<std::mutex> lock(mutex_);
  if (capacity_ == 0) {
    return frame;
  }
  for (const Entry& entry : entries_) {
    if (entry.key == key) {
      return entry.frame;
    }
  }
  entries_.push_back(Entry{key, frame});
  DropBeyondCapacity(dropped);
  return frame;
}

void DeviceFrameCache::Clear() {
  std::list<Entry> dropped;
  std::lock_guard<std::mutex> lock(mutex_);
  dropped.swap(entries_);
}

DeviceFrameCache::Counts DeviceFrameCache::counts() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return counts_;
}

}  // namespace dshost
