// Decoding one video stream with FFmpeg into float BGRA frames, by frame index.
// Internal to host/media.
#pragma once

#if DRIFTSMEAR_HAVE_FFMPEG

#include <cstdint>
#include <string>
#include <memory>

#include "host/media/Image.h"
#include "host/media/MediaInfo.h"
#include "host/media/detail/Ffmpeg.h"

namespace dshost::detail {

class FfmpegVideoSource {
 public:
  // Opens the file and its best video stream. With strict set, frames the
  // decoder marks as damaged (concealed errors) are reported as FrameDecodeError.
  FfmpegVideoSource(const std::string& path, bool strict);

  const MediaInfo& info() const { return info_; }

  // Decodes frame `index` (0-based, in presentation order). Reading forward is
  // sequential; reading backwards or far ahead seeks to a key frame first.
  void read(std::int64_t index, ImageF& out);

  // Frames the decoder produced so far, including those skipped after a seek.
  std::int64_t decodedFrames() const { return decodedFrames_; }

 private:
  void openDecoder();
  std::int64_t countPackets() const;
  bool decodeNext(AVFrame* frame);
  void seekTo(std::int64_t index);
  void rewind();
  std::int64_t indexFromTimestamp(std::int64_t pts) const;
  void convert(const AVFrame* frame, ImageF& out);
  [[noreturn]] void fail(std::int64_t index, const std::string& what);

  std::string path_;
  bool strict_;
  MediaInfo info_;
  InputContextPtr input_;
  CodecContextPtr codec_;
  int streamIndex_ = -1;
  std::int64_t startPts_ = 0;
  PacketPtr packet_;
  FramePtr frame_;
  bool pending_ = false;       // frame_ holds frame nextIndex_, decoded but not yet used
  bool haveCurrent_ = false;   // frame_ holds frame nextIndex_ - 1, already handed out
  bool needSeek_ = false;      // after an error the frame count is unreliable: locate by timestamp
  bool flushSent_ = false;     // the decoder got its end-of-stream signal
  std::int64_t nextIndex_ = 0; // index of the next frame the decoder hands out
  std::int64_t decodedFrames_ = 0;

  SwsPtr sws_;
  int swsFormat_ = -1, swsWidth_ = 0, swsHeight_ = 0, swsColorspace_ = -1, swsRange_ = -1;
  bool swsWide_ = false;  // 16-bit RGBA from swscale (else 8-bit RGBA)
  bool swsYuv_ = false;   // 8-bit YUV 4:4:4 in yuv_, converted here
  FramePtr yuv_;
  struct AvFree {
    void operator()(std::uint8_t* p) const { av_free(p); }
  };
  std::unique_ptr<std::uint8_t, AvFree> rgba_;  // aligned for swscale's vector code
  std::size_t rgbaSize_ = 0;
};

}  // namespace dshost::detail

#endif
