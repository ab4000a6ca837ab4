// FFmpeg headers and owning holders for its objects. Internal to host/media;
// include only where DRIFTSMEAR_HAVE_FFMPEG is set.
#pragma once

#if DRIFTSMEAR_HAVE_FFMPEG

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace dshost::detail {

struct InputContextCloser {
  void operator()(AVFormatContext* c) const { avformat_close_input(&c); }
};
struct CodecContextFreer {
  void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFreer {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFreer {
  void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct SwsFreer {
  void operator()(SwsContext* s) const { sws_freeContext(s); }
};

using InputContextPtr = std::unique_ptr<AVFormatContext, InputContextCloser>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextFreer>;
using FramePtr = std::unique_ptr<AVFrame, FrameFreer>;
using PacketPtr = std::unique_ptr<AVPacket, PacketFreer>;
using SwsPtr = std::unique_ptr<SwsContext, SwsFreer>;

// FFmpeg's text for an AVERROR code.
std::string avErrorText(int errnum);

// Routes FFmpeg's own log through one place: silent by default (our errors say
// what failed in one line); DRIFTSMEAR_FFMPEG_LOG=warning|info|debug shows it.
void installFfmpegLogPolicy();

// Opens a file for reading with avformat and reads its stream information.
// Throws MediaError (NotFound / Unreadable) naming the file.
InputContextPtr openInput(const std::string& path);

FramePtr allocFrame();
PacketPtr allocPacket();

// Colour matrix for a YUV stream whose tag says nothing: BT.709 for HD sizes, BT.601 below.
int defaultColorspaceFor(int width, int height);

}  // namespace dshost::detail

#endif
