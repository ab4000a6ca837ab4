// The frames a frei0r host has handed over, kept so that the effect can check
// out earlier frames: frei0r gives one frame per call, with its time, and
// never a frame the filter asks for.
//
// The ring holds the newest frames of one unbroken run. A frame that follows
// the newest one by about a frame step extends the run; any other jump in
// time (a seek, backwards or forwards) restarts it. The frame step is learnt
// from the times themselves, so hosts that count in seconds (MLT) and in
// milliseconds (ffmpeg) both work.
//
// As a FrameSource, one frame lasts one time unit: the effect's time of the
// newest frame is its frame number in the run. A checkout is served with the
// frame shown at that time; a time older than the oldest frame held gets the
// oldest one, a later time (a negative frame offset) the newest one: a
// filter cannot see ahead.
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

#include "host/FrameSource.h"

namespace dsfrei0r {

class FrameRing final : public dshost::FrameSource {
 public:
  FrameRing(int width, int height);

  // Takes the frame the host gives at `time` (8-bit RGBA, width × height
  // pixels, rows packed). Returns true when the run restarted with it.
  bool Push(double time, const uint32_t* rgba);

  // How many frames to keep, oldest dropped first (at least 1).
  void SetCapacity(size_t frames);
  size_t capacity() const { return capacity_; }
  size_t size() const { return frames_.size(); }
  // The effect's time of the newest frame.
  A_long currentTime() const { return current_; }
  // The learnt frame step in host time units (0 until two frames followed).
  double step() const { return step_; }

  int width() const override { return width_; }
  int height() const override { return height_; }
  A_long frameDuration() const override { return 1; }
  A_u_long timeScale() const override { return kTimeScale; }
  dshost::FrameLookup Lookup(A_long time, A_u_long scale) const override;

  // Exact conversions between 8-bit RGBA and the host's float BGRA.
  static void ToFloat(const uint32_t* rgba, dshost::ImageF& image);
  static void ToRgba(const dshost::ImageF& image, uint32_t* rgba);

 private:
  // The effect's seconds (read by no kernel) count frames at this rate.
  static constexpr A_u_long kTimeScale = 25;
  struct Held {
    int64_t number;  // frame number in the run
    std::shared_ptr<const dshost::LayerFrame> frame;
  };
  int width_;
  int height_;
  size_t capacity_ = 1;
  std::deque<Held> frames_;  // oldest first
  double lastTime_ = 0.0;
  double step_ = 0.0;
  A_long current_ = 0;
};

}  // namespace dsfrei0r
