#include "host/media/TimeMapping.h"

#include <cmath>
#include <numeric>

#include "host/media/MediaError.h"

namespace dshost {

namespace {

#if defined(__SIZEOF_INT128__)
using Wide = __int128;
#else
using Wide = long double;  // MSVC has no 128-bit integer; long double keeps 53+ bits
#endif

// floor(a / b) for b > 0.
std::int64_t floorDiv(Wide a, Wide b) {
#if defined(__SIZEOF_INT128__)
  Wide q = a / b;
  if ((a % b != 0) && (a < 0)) --q;
  return static_cast<std::int64_t>(q);
#else
  return static_cast<std::int64_t>(std::floor(a / b));
#endif
}

}  // namespace

Rational Rational::reduced() const {
  if (den == 0) return *this;
  std::int64_t g = std::gcd(num, den);
  if (g == 0) g = 1;
  Rational r{num / g, den / g};
  if (r.den < 0) {
    r.num = -r.num;
    r.den = -r.den;
  }
  return r;
}

std::string Rational::toString() const {
  if (den == 1) return std::to_string(num);
  return std::to_string(num) + "/" + std::to_string(den);
}

TimeMapping::TimeMapping(Rational frameRate) : rate_(frameRate.reduced()) {
  if (!rate_.valid()) {
    throw MediaError(MediaErrc::InvalidArgument, "invalid frame rate " + frameRate.toString());
  }
}

HostTime TimeMapping::timeOfFrame(std::int64_t frame) const {
  return HostTime{frame * rate_.den, rate_.den, rate_.num};
}

std::int64_t TimeMapping::frameAtTime(std::int64_t value, std::int64_t scale) const {
  if (scale <= 0) throw MediaError(MediaErrc::InvalidArgument, "invalid time scale " + std::to_string(scale));
  // frames = seconds * fps = (value / scale) * (num / den)
  return floorDiv(static_cast<Wide>(value) * rate_.num, static_cast<Wide>(scale) * rate_.den);
}

std::int64_t TimeMapping::frameAtSeconds(double seconds) const {
  const double frames = seconds * rate_.toDouble();
  return static_cast<std::int64_t>(std::floor(frames + 1e-6));
}

}  // namespace dshost
