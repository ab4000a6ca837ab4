#include "host/gpu/DeviceFrameCache.h"

#include <algorithm>
#include <tuple>

namespace dshost {

void DeviceFrameCache::DropBeyondCapacity(std::list<Entry>& dropped) {
  while (entries_.size() > capacity_) {
    const auto victim = std::min_element(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) {
      return std::tie(a.render, a.serial) < std::tie(b.render, b.serial);
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

uint64_t DeviceFrameCache::BeginRender() {
  std::lock_guard<std::mutex> lock(mutex_);
  return ++render_;
}

uint64_t DeviceFrameCache::CurrentRender() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return render_;
}

DeviceFrameCache::FramePtr DeviceFrameCache::Find(const DeviceFrameKey& key, uint64_t render) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (Entry& entry : entries_) {
    if (entry.key == key) {
      entry.render = std::max(entry.render, render);
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

DeviceFrameCache::FramePtr DeviceFrameCache::Insert(const DeviceFrameKey& key, FramePtr frame, uint64_t render) {
  std::list<Entry> dropped;
  std::lock_guard<std::mutex> lock(mutex_);
  if (capacity_ == 0) {
    return frame;
  }
  for (Entry& entry : entries_) {
    if (entry.key == key) {
      entry.render = std::max(entry.render, render);
      return entry.frame;
    }
  }
  entries_.push_back(Entry{key, frame, render, ++serial_});
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
