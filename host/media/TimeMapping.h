// Frame rates as exact fractions, and the mapping between frame indices and the
// host's times. The host expresses a time as (value, step, scale): the time in
// seconds is value / scale, and one frame lasts step / scale seconds. For a clip
// at num/den frames per second the natural choice is scale = num, step = den, so
// frame n starts at value n * den (30000/1001 fps: scale 30000, step 1001).
#pragma once

#include <cstdint>
#include <string>

namespace dshost {

struct Rational {
  std::int64_t num = 0;
  std::int64_t den = 1;

  bool valid() const { return num > 0 && den > 0; }
  double toDouble() const { return den != 0 ? static_cast<double>(num) / static_cast<double>(den) : 0.0; }
  Rational reduced() const;
  Rational inverse() const { return Rational{den, num}; }
  std::string toString() const;  // "30000/1001" or "25"

  // Equal as fractions: 60/2 == 30/1.
  friend bool operator==(const Rational& a, const Rational& b) {
    const Rational x = a.reduced(), y = b.reduced();
    return x.num == y.num && x.den == y.den;
  }
};

// One host time: value / scale seconds, with frames step / scale seconds long.
struct HostTime {
  std::int64_t value = 0;
  std::int64_t step = 1;
  std::int64_t scale = 1;

  double seconds() const { return static_cast<double>(value) / static_cast<double>(scale); }
  friend bool operator==(const HostTime&, const HostTime&) = default;
};

class TimeMapping {
 public:
  // frameRate must be positive; it is reduced (60/2 becomes 30/1).
  explicit TimeMapping(Rational frameRate);

  Rational frameRate() const { return rate_; }
  std::int64_t scale() const { return rate_.num; }
  std::int64_t step() const { return rate_.den; }

  // The start time of frame n.
  HostTime timeOfFrame(std::int64_t frame) const;

  // The frame shown at a time given in any scale: the frame whose interval
  // [n, n+1) frame durations contains it. Times before zero map to negative frames.
  std::int64_t frameAtTime(std::int64_t value, std::int64_t scale) const;
  std::int64_t frameAtTime(const HostTime& time) const { return frameAtTime(time.value, time.scale); }

  // The frame shown at a time in seconds; a time within a millionth of a frame
  // before a frame's start counts as that frame, so 1/3 s at 3 fps is frame 1.
  std::int64_t frameAtSeconds(double seconds) const;

 private:
  Rational rate_;
};

}  // namespace dshost
