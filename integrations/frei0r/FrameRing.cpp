#include "integrations/frei0r/FrameRing.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/media/detail/PixelPack.h"

namespace dsfrei0r {

namespace {
// Times within this fraction of a frame step are the same frame.
constexpr double kSameFrame = 0.01;
// A step between half and one and a half frame steps is the next frame.
constexpr double kShortestNext = 0.5;
constexpr double kLongestNext = 1.5;
}  // namespace

FrameRing::FrameRing(int width, int height) : width_(width), height_(height) {}

void FrameRing::ToFloat(const uint32_t* rgba, dshost::ImageF& image) {
  image.bgra.resize(image.pixelCount() * 4);
  dshost::detail::unpack8(reinterpret_cast<const uint8_t*>(rgba), static_cast<std::ptrdiff_t>(image.width) * 4, 4,
                          image);
}

void FrameRing::ToRgba(const dshost::ImageF& image, uint32_t* rgba) {
  dshost::detail::packRgba8(image, reinterpret_cast<uint8_t*>(rgba), static_cast<std::ptrdiff_t>(image.width) * 4);
}

bool FrameRing::Push(double time, const uint32_t* rgba) {
  auto frame = std::make_shared<dshost::LayerFrame>();
  frame->image.width = width_;
  frame->image.height = height_;
  ToFloat(rgba, frame->image);

  bool restart = frames_.empty() || !std::isfinite(time);
  bool same = false;
  if (!restart) {
    const double delta = time - lastTime_;
    if (step_ > 0.0 ? std::fabs(delta) < kSameFrame * step_ : delta == 0.0) {
      same = true;  // the same frame again (a re-render): it replaces the newest
    } else if (delta < 0.0) {
      restart = true;  // back in time
    } else if (step_ <= 0.0 || delta < kShortestNext * step_) {
      step_ = delta;  // the first step, or a finer one than thought
    } else if (delta > kLongestNext * step_) {
      restart = true;  // a jump ahead
    }
  }
  lastTime_ = time;
  if (restart) {
    frames_.clear();
    current_ = 0;
  } else if (same) {
    frames_.pop_back();
  } else {
    ++current_;
  }
  frames_.push_back(Held{current_, std::move(frame)});
  while (frames_.size() > capacity_) {
    frames_.pop_front();
  }
  return restart;
}

void FrameRing::SetCapacity(size_t frames) {
  capacity_ = std::max<size_t>(frames, 1);
  while (frames_.size() > capacity_) {
    frames_.pop_front();
  }
}

dshost::FrameLookup FrameRing::Lookup(A_long time, A_u_long scale) const {
  dshost::FrameLookup lookup;
  if (frames_.empty() || scale == 0) {
    lookup.kind = dshost::FrameLookup::Kind::NoWorld;
    return lookup;
  }
  // The frame number the time falls in, rounded down.
  const int64_t numerator = static_cast<int64_t>(time) * kTimeScale;
  const auto denominator = static_cast<int64_t>(scale);
  int64_t number = numerator / denominator;
  if (numerator % denominator != 0 && numerator < 0) {
    --number;
  }
  const int64_t oldest = frames_.front().number;
  const int64_t position = std::clamp<int64_t>(number - oldest, 0, static_cast<int64_t>(frames_.size()) - 1);
  lookup.frame = frames_[static_cast<size_t>(position)].frame;
  return lookup;
}

}  // namespace dsfrei0r
