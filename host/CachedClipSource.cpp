#include "host/CachedClipSource.h"

#include <algorithm>

namespace dshost {

CachedClipSource::CachedClipSource(FrameCache& cache, int width, int height, Rational frameRate, int64_t frameCount,
                                   size_t heldFrames)
    : cache_(cache),
      width_(width),
      height_(height),
      mapping_(frameRate),
      frameCount_(frameCount),
      heldCapacity_(std::max<size_t>(heldFrames, 1)) {}

int64_t CachedClipSource::FrameIndexAt(A_long time, A_u_long scale) const {
  if (frameCount_ <= 0 || scale == 0) {
    return 0;
  }
  return std::clamp<int64_t>(mapping_.frameAtTime(time, scale), 0, frameCount_ - 1);
}

FrameLookup CachedClipSource::Lookup(A_long time, A_u_long scale) const {
  FrameLookup lookup;
  if (frameCount_ <= 0) {
    lookup.kind = FrameLookup::Kind::NoWorld;
    return lookup;
  }
  const int64_t index = FrameIndexAt(time, scale);
  std::lock_guard<std::mutex> lock(mutex_);
  for (auto it = held_.begin(); it != held_.end(); ++it) {
    if (it->first == index) {
      held_.splice(held_.begin(), held_, it);
      lookup.frame = held_.front().second;
      return lookup;
    }
  }
  try {
    // The lookup runs inside a host callback the effect made: a decode error
    // must not unwind through the effect, so it becomes a failed checkout.
    const FrameCache::FramePtr image = cache_.get(index);
    auto frame = std::make_shared<LayerFrame>();
    frame->image = *image;
    held_.emplace_front(index, std::move(frame));
    if (held_.size() > heldCapacity_) {
      held_.pop_back();
    }
    lookup.frame = held_.front().second;
  } catch (...) {
    if (!failure_) {
      failure_ = std::current_exception();
    }
    lookup.kind = FrameLookup::Kind::Failure;
    lookup.error = PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  return lookup;
}

std::exception_ptr CachedClipSource::TakeFailure() {
  std::lock_guard<std::mutex> lock(mutex_);
  std::exception_ptr failure = failure_;
  failure_ = nullptr;
  return failure;
}

}  // namespace dshost
