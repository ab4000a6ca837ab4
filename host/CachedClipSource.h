// A clip whose frames are decoded on demand through a FrameCache: the source
// the command-line renderer hands to a RenderSession for a real file. A
// checkout at any time is mapped to the clip's frame index and clamped to the
// first or last frame (a layer holds its first and last frame outside its
// range, and both host paths then see the same pictures).
//
// The effect checks a frame out twice per render (pre-render and pixels), so
// the frames of the last renders are kept as LayerFrames: each one is copied
// out of the cache once, however many output frames use it.
#pragma once
#include <cstddef>
#include <cstdint>
#include <exception>
#include <list>
#include <memory>
#include <mutex>

#include "host/FrameSource.h"
#include "host/media/FrameCache.h"
#include "host/media/TimeMapping.h"

namespace dshost {

class CachedClipSource final : public FrameSource {
 public:
  // `cache` decodes frames 0..frameCount-1 of a clip of that size and rate; it
  // must outlive the source. `heldFrames` LayerFrames are kept (at least 1).
  CachedClipSource(FrameCache& cache, int width, int height, Rational frameRate, int64_t frameCount,
                   size_t heldFrames);

  int width() const override { return width_; }
  int height() const override { return height_; }
  // Times count in units of 1 / frameRate.num seconds, frameRate.den a frame.
  A_long frameDuration() const override { return static_cast<A_long>(mapping_.step()); }
  A_u_long timeScale() const override { return static_cast<A_u_long>(mapping_.scale()); }

  // The frame at the time, clamped to the clip. A frame that cannot be decoded
  // gives Kind::Failure; the decode error is kept for TakeFailure().
  FrameLookup Lookup(A_long time, A_u_long scale) const override;

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
  size_t heldCapacity_;
  mutable std::mutex mutex_;
  mutable std::list<std::pair<int64_t, std::shared_ptr<const LayerFrame>>> held_;  // most recent first
  mutable std::exception_ptr failure_;
};

}  // namespace dshost
