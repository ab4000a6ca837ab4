// Errors of the media layer. Every message is one line that names the file and
// says what went wrong, so the command-line renderer can print it as it is.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace dshost {

enum class MediaErrc {
  NotFound,       // the input does not exist
  Unreadable,     // exists but cannot be opened or read (permissions, not a media file, damaged header)
  Unsupported,    // a format or codec this build cannot read or write
  CorruptFrame,   // a frame part-way through the stream failed to decode (see FrameDecodeError)
  OutputExists,   // the output exists and overwriting was not allowed
  WriteFailed,    // creating, encoding or writing the output failed
  InvalidArgument // a bad request: frame index out of range, mismatched frame size, ...
};

const char* mediaErrcName(MediaErrc code);

class MediaError : public std::runtime_error {
 public:
  MediaError(MediaErrc code, const std::string& message) : std::runtime_error(message), code_(code) {}
  MediaErrc code() const noexcept { return code_; }

 private:
  MediaErrc code_;
};

// A frame that could not be decoded: a damaged or truncated stream. The frames
// before it were fine, so whatever was rendered from them can be kept.
class FrameDecodeError : public MediaError {
 public:
  FrameDecodeError(std::int64_t frameIndex, const std::string& message)
      : MediaError(MediaErrc::CorruptFrame, message), frameIndex_(frameIndex) {}
  std::int64_t frameIndex() const noexcept { return frameIndex_; }

 private:
  std::int64_t frameIndex_;
};

}  // namespace dshost
