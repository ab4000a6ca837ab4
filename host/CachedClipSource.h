// A clip whose frames are decoded on demand through a FrameCache: the source
// the command-line renderer hands to a RenderSession for a real file. A
// checkout at any time is mapped to the clip's frame index and clamped to the
// first or last frame (a layer holds its first and last frame outside its
// range, and both host paths then see the same pictures).
//
// The cache decodes straight into LayerFrames (see FrameCache::setFrameMaker),
// so a checkout hands out the cached frame itself: no frame is copied, and
// the source holds no frames of its own. The frame index names a frame for a
// host that keeps frames on its device (Identify).
#pragma once
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>

#include "host/FrameSource.h"
#include "host/media/FrameCache.h"
#include "host/media/TimeMapping.h"

namespace dshost {

class CachedClipSource final : public FrameSource {
 public:
  // `cache` decodes frames 0..frameCount-1 of a clip of that size and rate; it
  // must outlive the source, and it must not have decoded anything yet (the
  // source sets its frame maker).
  CachedClipSource(FrameCache& cache, int width, int height, Rational frameRate, int64_t frameCount);

  int width() const override { return width_; }
  int height() const override { return height_; }
  // Times count in units of 1 / frameRate.num seconds, frameRate.den a frame.
  A_long frameDuration() const override { return static_cast<A_long>(mapping_.step()); }
  A_u_long timeScale() const override { return static_cast<A_u_long>(mapping_.scale()); }

  // The frame at the time, clamped to the clip. A frame that cannot be decoded
  // gives Kind::Failure; the decode error is kept for TakeFailure().
  FrameLookup Lookup(A_long time, A_u_long scale) const override;
  // The clamped frame index; every frame fills the layer from its origin.
  std::optional<FrameIdentity> Identify(A_long time, A_u_long scale) const override;

  int64_t frameCount() const { return frameCount_; }
  // The clip frame a checkout at this time gets (clamped).
  int64_t FrameIndexAt(A_long time, A_u_long scale) const;

  // The first decode error a lookup met since the last call, or null.
  std::exception_ptr TakeFailure();

 private:
  FrameCache& cache_;
  int width_;
  int height_;
  TimeMapping mapping_;
  int64_t frameCount_;
  mutable std::mutex mutex_;
  mutable std::exception_ptr failure_;
};

}  // namespace dshost
