#include "host/FrameSource.h"

#include <algorithm>
#include <atomic>

#include "host/HostError.h"

namespace dshost {

FrameSource::FrameSource() {
  static std::atomic<uint64_t> next{1};
  sourceId_ = next.fetch_add(1);
}

InMemoryClip::InMemoryClip(int width, int height, A_long frameDuration, A_u_long timeScale)
    : width_(width), height_(height), frameDuration_(frameDuration), timeScale_(timeScale) {
  if (width <= 0 || height <= 0 || frameDuration <= 0 || timeScale == 0) {
    throw HostError("a clip needs a positive size, frame duration and time scale");
  }
}

int InMemoryClip::AddFrame(ImageF image, A_long originX, A_long originY) {
  if (image.empty() || image.bgra.size() != image.pixelCount() * 4) {
    throw HostError("a clip frame needs pixels");
  }
  auto frame = std::make_shared<LayerFrame>();
  frame->image = std::move(image);
  frame->originX = originX;
  frame->originY = originY;
  frames_.push_back(Entry{std::move(frame), false, PF_Err_NONE});
  return static_cast<int>(frames_.size()) - 1;
}

void InMemoryClip::SetNoWorld(int index, bool noWorld) { frames_.at(static_cast<size_t>(index)).noWorld = noWorld; }

void InMemoryClip::SetFailure(int index, PF_Err error) { frames_.at(static_cast<size_t>(index)).failure = error; }

int64_t InMemoryClip::FrameIndexAt(A_long time, A_u_long scale) const {
  if (scale == 0) {
    return 0;
  }
  // The time in the clip's own units, rounded down; then the frame it falls in.
  const int64_t numerator = static_cast<int64_t>(time) * static_cast<int64_t>(timeScale_);
  const auto denominator = static_cast<int64_t>(scale) * frameDuration_;
  int64_t index = numerator / denominator;
  if (numerator % denominator != 0 && numerator < 0) {
    --index;
  }
  return index;
}

std::optional<FrameIdentity> InMemoryClip::Identify(A_long time, A_u_long scale) const {
  if (frames_.empty()) {
    return std::nullopt;
  }
  int64_t index = FrameIndexAt(time, scale);
  if ((index < 0 || index >= frameCount()) && outside_ == Outside::NoWorld) {
    return std::nullopt;
  }
  index = std::clamp<int64_t>(index, 0, frameCount() - 1);
  const Entry& entry = frames_[static_cast<size_t>(index)];
  // SetNoWorld and SetFailure may change these entries between renders.
  if (entry.noWorld || entry.failure != PF_Err_NONE) {
    return std::nullopt;
  }
  const LayerFrame& frame = *entry.frame;
  return FrameIdentity{index, frame.originX, frame.originY, frame.image.width, frame.image.height};
}

FrameLookup InMemoryClip::Lookup(A_long time, A_u_long scale) const {
  FrameLookup lookup;
  if (frames_.empty()) {
    lookup.kind = FrameLookup::Kind::NoWorld;
    return lookup;
  }
  int64_t index = FrameIndexAt(time, scale);
  if (index < 0 || index >= frameCount()) {
    if (outside_ == Outside::NoWorld) {
      lookup.kind = FrameLookup::Kind::NoWorld;
      return lookup;
    }
    index = std::clamp<int64_t>(index, 0, frameCount() - 1);
  }
  const Entry& entry = frames_[static_cast<size_t>(index)];
  lookup.frame = entry.frame;
  if (entry.failure != PF_Err_NONE) {
    lookup.kind = FrameLookup::Kind::Failure;
    lookup.error = entry.failure;
  } else if (entry.noWorld) {
    lookup.kind = FrameLookup::Kind::NoWorld;
  }
  return lookup;
}

}  // namespace dshost
