// Opens a video file, an image sequence or a single image and decodes its frames
// to float BGRA by index.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/media/Image.h"
#include "host/media/MediaInfo.h"

namespace dshost {

struct ReaderOptions {
  // Frame rate given to image sequences and single images, which carry none.
  Rational imageFrameRate{25, 1};
  // Treat frames the decoder had to patch up (concealed errors) as damaged and
  // throw FrameDecodeError for them, instead of passing the patched picture on.
  bool strict = true;
  // An image sequence with missing files runs on to its last file, each
  // missing frame holding the one before it, instead of ending at the gap.
  bool allowGaps = false;
};

// Which input is which:
//  - a path whose file name holds %d or %0Nd is an image sequence; it starts at
//    the lowest existing number and ends at the first gap (a warning names the
//    missing file and the frames left out), or with allowGaps at its last file;
//  - a path with a still-image extension (.png, .jpg, .tif, .exr, ...) is one frame;
//  - anything else is a video file read with FFmpeg.
// Image files are read with stb_image first and FFmpeg second, so images work in
// builds without FFmpeg; video files need FFmpeg.
//
// One MediaReader is used from one thread at a time (FrameCache serialises it).
class MediaReader {
 public:
  // Throws MediaError: NotFound, Unreadable, Unsupported, InvalidArgument (bad pattern).
  explicit MediaReader(const std::filesystem::path& input, ReaderOptions options = {});
  ~MediaReader();
  MediaReader(MediaReader&&) noexcept;
  MediaReader& operator=(MediaReader&&) noexcept;

  const MediaInfo& info() const;
  const std::filesystem::path& path() const;
  // What the caller should tell the user: a gap in an image sequence.
  const std::vector<std::string>& warnings() const;

  // Decodes frame `index` (0-based). Reading in increasing order decodes each
  // frame once; going backwards or far ahead seeks. Throws FrameDecodeError for
  // a frame that cannot be decoded and MediaError(InvalidArgument) for an index
  // outside 0..frameCount-1.
  void readFrame(std::int64_t index, ImageF& out);
  ImageF readFrame(std::int64_t index);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// True when this build reads and writes video files (FFmpeg was found).
bool mediaHasFfmpeg();

}  // namespace dshost
