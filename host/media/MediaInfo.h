// What the media layer knows about an opened input.
#pragma once

#include <cstdint>
#include <string>

#include "host/media/TimeMapping.h"

namespace dshost {

enum class SourceKind { Video, ImageSequence, SingleImage, Synthetic };

struct MediaInfo {
  SourceKind kind = SourceKind::Video;
  int width = 0;
  int height = 0;
  // Number of frames. Taken from the container when it records it; otherwise
  // counted when the input is opened (one pass over the packets, no decoding).
  std::int64_t frameCount = 0;
  Rational frameRate{25, 1};
  // Time base of the video stream's timestamps (1/fps inverted for image sequences).
  Rational timeBase{1, 25};
  bool hasAlpha = false;
  bool hasAudio = false;
  double durationSeconds = 0.0;  // frameCount / frameRate when the container says nothing better
  std::string codecName;         // "h264", "prores", "png", ... ("stb" for images read without FFmpeg)
  std::string pixelFormat;       // the source's pixel format as FFmpeg names it, or "rgba8" / "rgba16" / "rgbaf"
  std::string audioCodecName;    // empty when there is no audio
  int firstSequenceNumber = 0;   // image sequences: number of the first file

  TimeMapping timeMapping() const { return TimeMapping(frameRate); }
};

const char* sourceKindName(SourceKind kind);

}  // namespace dshost
