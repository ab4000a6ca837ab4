#include "host/CachedClipSource.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace dshost {

namespace {

// The image is the first member of a LayerFrame, so a pointer to it is a
// pointer to its frame.
static_assert(std::is_standard_layout_v<LayerFrame> && offsetof(LayerFrame, image) == 0);

std::shared_ptr<const LayerFrame> FrameOf(const FrameCache::FramePtr& image) {
  return std::shared_ptr<const LayerFrame>(image, reinterpret_cast<const LayerFrame*>(image.get()));
}

}  // namespace

CachedClipSource::CachedClipSource(FrameCache& cache, int width, int height, Rational frameRate, int64_t frameCount)
    : cache_(cache), width_(width), height_(height), mapping_(frameRate), frameCount_(frameCount) {
  cache_.setFrameMaker([] {
    auto frame = std::make_shared<LayerFrame>();
    return std::shared_ptr<ImageF>(frame, &frame->image);
  });
}

std::optional<FrameIdentity> CachedClipSource::Identify(A_long time, A_u_long scale) const {
  if (frameCount_ <= 0) {
    return std::nullopt;
  }
  return FrameIdentity{FrameIndexAt(time, scale), 0, 0, width_, height_};
}

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
  try {
    // The lookup runs inside a host callback the effect made: a decode error
    // must not unwind through the effect, so it becomes a failed checkout.
    lookup.frame = FrameOf(cache_.get(index));
  } catch (...) {
    std::lock_guard<std::mutex> lock(mutex_);
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
