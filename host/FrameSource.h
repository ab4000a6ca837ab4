// Where the host takes the frames of an effect's input layer from. A source
// has a size (the layer's, which is also the output's), a frame rate given as
// a frame duration in units of a time scale, and answers "what does a checkout
// at this time give": a frame (an image and its origin within the layer), no
// world at all, or a failure. The media layer feeds sources from files; an
// InMemoryClip holds its frames in memory.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "AE_Effect.h"
#include "host/media/Image.h"

namespace dshost {

// One frame as the host hands it out. The origin is the frame's top-left
// corner in the layer: it becomes the left and top of the checkout's result
// rectangle, and an effect places the frame there.
struct LayerFrame {
  ImageF image;
  A_long originX = 0;
  A_long originY = 0;
};

// What a source can say about the frame a checkout gives without producing its
// pixels: a key that stays the same for the same pixels for the source's
// whole life, and the frame's rectangle in the layer.
struct FrameIdentity {
  int64_t key = 0;
  A_long originX = 0;
  A_long originY = 0;
  int width = 0;
  int height = 0;
};

struct FrameLookup {
  enum class Kind {
    Frame,    // `frame` is the frame at that time
    NoWorld,  // the checkout succeeds but gives no world
    Failure,  // the checkout fails with `error`
  };
  Kind kind = Kind::Frame;
  // The frame; for NoWorld it may still describe the frame's rectangle.
  std::shared_ptr<const LayerFrame> frame;
  PF_Err error = PF_Err_NONE;
};

class FrameSource {
 public:
  FrameSource();
  virtual ~FrameSource() = default;
  // Unique among all sources of the process, never reused (a copy shares its
  // original's frames and so its id): with a frame's identity key it names a
  // frame's pixels across renders.
  uint64_t sourceId() const { return sourceId_; }

  virtual int width() const = 0;
  virtual int height() const = 0;
  // One frame lasts frameDuration() / timeScale() seconds.
  virtual A_long frameDuration() const = 0;
  virtual A_u_long timeScale() const = 0;

  // What a checkout at `time` (in units of 1 / scale seconds) gives.
  virtual FrameLookup Lookup(A_long time, A_u_long scale) const = 0;

  // The identity of the frame a checkout at `time` gives, when the checkout
  // gives a frame and the source can name it without producing it; a host
  // that keeps frames on a device asks this first and looks up only the
  // frames it does not hold. Sources without stable frames give nothing.
  virtual std::optional<FrameIdentity> Identify(A_long /*time*/, A_u_long /*scale*/) const { return std::nullopt; }

  // The start time of frame `index`, in the source's own time scale.
  A_long TimeOfFrame(int index) const { return static_cast<A_long>(index) * frameDuration(); }

 private:
  uint64_t sourceId_;
};

// Frames held in memory, frame k covering the times [k, k + 1) × duration.
class InMemoryClip final : public FrameSource {
 public:
  // What a time before the first or after the last frame gives.
  enum class Outside { Clamp, NoWorld };

  InMemoryClip(int width, int height, A_long frameDuration = 1, A_u_long timeScale = 25);

  // Appends a frame; returns its index.
  int AddFrame(ImageF image, A_long originX = 0, A_long originY = 0);
  // The checkout of this frame gives no world (its rectangle is still reported
  // in pre-render).
  void SetNoWorld(int index, bool noWorld = true);
  // The pixel checkout of this frame fails with `error` (0 removes the failure).
  void SetFailure(int index, PF_Err error);
  void SetOutside(Outside outside) { outside_ = outside; }

  int frameCount() const { return static_cast<int>(frames_.size()); }
  const LayerFrame& frame(int index) const { return *frames_.at(static_cast<size_t>(index)).frame; }
  // The frame index a time falls in (may lie outside the clip).
  int64_t FrameIndexAt(A_long time, A_u_long scale) const;

  int width() const override { return width_; }
  int height() const override { return height_; }
  A_long frameDuration() const override { return frameDuration_; }
  A_u_long timeScale() const override { return timeScale_; }
  FrameLookup Lookup(A_long time, A_u_long scale) const override;
  // Frames added are never changed, so a frame that gives a world is named by
  // its index; frames marked to give no world or to fail are not named.
  std::optional<FrameIdentity> Identify(A_long time, A_u_long scale) const override;

 private:
  struct Entry {
    std::shared_ptr<const LayerFrame> frame;
    bool noWorld = false;
    PF_Err failure = PF_Err_NONE;
  };
  int width_;
  int height_;
  A_long frameDuration_;
  A_u_long timeScale_;
  Outside outside_ = Outside::Clamp;
  std::vector<Entry> frames_;
};

}  // namespace dshost
