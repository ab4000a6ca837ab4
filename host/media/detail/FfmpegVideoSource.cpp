#include "host/media/detail/FfmpegVideoSource.h"

#if DRIFTSMEAR_HAVE_FFMPEG

#include <algorithm>

#include "host/media/MediaError.h"
#include "host/media/detail/PixelPack.h"

namespace dshost::detail {

namespace {

// Reading further ahead than this many frames seeks instead of decoding every
// frame in between. x264's default key-frame interval is 250 frames, so a
// shorter jump would often land on a key frame behind the current position.
constexpr std::int64_t kSeekAheadFrames = 300;

bool isFullRangeFormat(AVPixelFormat f) {
  return f == AV_PIX_FMT_YUVJ420P || f == AV_PIX_FMT_YUVJ422P || f == AV_PIX_FMT_YUVJ444P ||
         f == AV_PIX_FMT_YUVJ440P || f == AV_PIX_FMT_YUVJ411P;
}

int swsColorspaceOf(AVColorSpace space, int width, int height) {
  switch (space) {
    case AVCOL_SPC_BT709: return SWS_CS_ITU709;
    case AVCOL_SPC_FCC: return SWS_CS_FCC;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M: return SWS_CS_ITU601;
    case AVCOL_SPC_SMPTE240M: return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL: return SWS_CS_BT2020;
    default: return defaultColorspaceFor(width, height);
  }
}

// The luma weights (Kr, Kb) of a swscale colour space.
void lumaWeights(int colorspace, double& kr, double& kb) {
  switch (colorspace) {
    case SWS_CS_ITU709: kr = 0.2126; kb = 0.0722; return;
    case SWS_CS_FCC: kr = 0.30; kb = 0.11; return;
    case SWS_CS_SMPTE240M: kr = 0.212; kb = 0.087; return;
    case SWS_CS_BT2020: kr = 0.2627; kb = 0.0593; return;
    default: kr = 0.299; kb = 0.114; return;  // BT.601
  }
}

// 8-bit YUV 4:4:4 (with alpha plane) to float BGRA, in double precision.
void yuvToBgra(const AVFrame& yuv, int colorspace, bool fullRange, ImageF& out) {
  double kr = 0, kb = 0;
  lumaWeights(colorspace, kr, kb);
  const double kg = 1.0 - kr - kb;
  const double lumaOffset = fullRange ? 0.0 : 16.0;
  const double lumaScale = fullRange ? 255.0 : 219.0;
  const double chromaScale = fullRange ? 255.0 : 224.0;
  for (int y = 0; y < out.height; ++y) {
    const std::uint8_t* py = yuv.data[0] + static_cast<std::ptrdiff_t>(y) * yuv.linesize[0];
    const std::uint8_t* pu = yuv.data[1] + static_cast<std::ptrdiff_t>(y) * yuv.linesize[1];
    const std::uint8_t* pv = yuv.data[2] + static_cast<std::ptrdiff_t>(y) * yuv.linesize[2];
    const std::uint8_t* pa = yuv.data[3] + static_cast<std::ptrdiff_t>(y) * yuv.linesize[3];
    float* dst = out.pixel(0, y);
    for (int x = 0; x < out.width; ++x, dst += 4) {
      const double luma = (py[x] - lumaOffset) / lumaScale;
      const double cb = (pu[x] - 128.0) / chromaScale;
      const double cr = (pv[x] - 128.0) / chromaScale;
      const double r = luma + 2.0 * (1.0 - kr) * cr;
      const double b = luma + 2.0 * (1.0 - kb) * cb;
      const double g = (luma - kr * r - kb * b) / kg;
      dst[0] = static_cast<float>(std::clamp(b, 0.0, 1.0));
      dst[1] = static_cast<float>(std::clamp(g, 0.0, 1.0));
      dst[2] = static_cast<float>(std::clamp(r, 0.0, 1.0));
      dst[3] = static_cast<float>(pa[x]) / 255.0f;
    }
  }
}

}  // namespace

FfmpegVideoSource::FfmpegVideoSource(const std::string& path, bool strict) : path_(path), strict_(strict) {
  input_ = openInput(path_);
  streamIndex_ = av_find_best_stream(input_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (streamIndex_ < 0) {
    throw MediaError(MediaErrc::Unsupported, path_ + " has no video stream");
  }
  const int audioIndex = av_find_best_stream(input_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  AVStream* stream = input_->streams[streamIndex_];
  const AVCodecParameters* par = stream->codecpar;
  if (par->width <= 0 || par->height <= 0) {
    throw MediaError(MediaErrc::Unreadable, path_ + ": the video stream has no picture size");
  }

  info_.kind = SourceKind::Video;
  info_.width = par->width;
  info_.height = par->height;
  const AVRational rate = av_guess_frame_rate(input_.get(), stream, nullptr);
  info_.frameRate = (rate.num > 0 && rate.den > 0) ? Rational{rate.num, rate.den}.reduced() : Rational{25, 1};
  info_.timeBase = Rational{stream->time_base.num, stream->time_base.den};
  const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(par->format));
  info_.hasAlpha = desc && (desc->flags & AV_PIX_FMT_FLAG_ALPHA);
  info_.pixelFormat = desc ? desc->name : "unknown";
  info_.codecName = avcodec_get_name(par->codec_id);
  if (audioIndex >= 0) {
    info_.hasAudio = true;
    info_.audioCodecName = avcodec_get_name(input_->streams[audioIndex]->codecpar->codec_id);
  }
  startPts_ = stream->start_time != AV_NOPTS_VALUE ? stream->start_time : 0;

  for (unsigned i = 0; i < input_->nb_streams; ++i) {
    if (static_cast<int>(i) != streamIndex_) input_->streams[i]->discard = AVDISCARD_ALL;
  }
  openDecoder();
  packet_ = allocPacket();
  frame_ = allocFrame();

  info_.frameCount = stream->nb_frames > 0 ? stream->nb_frames : countPackets();
  if (info_.frameCount <= 0) {
    throw MediaError(MediaErrc::Unreadable, path_ + " holds no video frames");
  }
  if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0) {
    info_.durationSeconds = static_cast<double>(stream->duration) * av_q2d(stream->time_base);
  } else {
    info_.durationSeconds = static_cast<double>(info_.frameCount) / info_.frameRate.toDouble();
  }
}

void FfmpegVideoSource::openDecoder() {
  const AVStream* stream = input_->streams[streamIndex_];
  const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
  if (!decoder) {
    throw MediaError(MediaErrc::Unsupported, path_ + ": this FFmpeg has no decoder for " +
                                                 avcodec_get_name(stream->codecpar->codec_id));
  }
  codec_.reset(avcodec_alloc_context3(decoder));
  if (!codec_) throw std::bad_alloc();
  int rc = avcodec_parameters_to_context(codec_.get(), stream->codecpar);
  if (rc >= 0) {
    codec_->pkt_timebase = stream->time_base;
    codec_->thread_count = 0;  // one per core
    codec_->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
    codec_->err_recognition |= AV_EF_CRCCHECK;
    rc = avcodec_open2(codec_.get(), decoder, nullptr);
  }
  if (rc < 0) {
    throw MediaError(MediaErrc::Unreadable, path_ + ": cannot start the " + decoder->name + " decoder: " + avErrorText(rc));
  }
  flushSent_ = false;
  pending_ = false;
  haveCurrent_ = false;
  nextIndex_ = 0;
}

std::int64_t FfmpegVideoSource::countPackets() const {
  InputContextPtr counter = openInput(path_);
  for (unsigned i = 0; i < counter->nb_streams; ++i) {
    if (static_cast<int>(i) != streamIndex_) counter->streams[i]->discard = AVDISCARD_ALL;
  }
  PacketPtr packet = allocPacket();
  std::int64_t count = 0;
  while (av_read_frame(counter.get(), packet.get()) >= 0) {
    if (packet->stream_index == streamIndex_) ++count;
    av_packet_unref(packet.get());
  }
  return count;
}

void FfmpegVideoSource::fail(std::int64_t index, const std::string& what) {
  needSeek_ = true;
  haveCurrent_ = false;
  pending_ = false;
  throw FrameDecodeError(index, path_ + ": frame " + std::to_string(index) + " cannot be decoded: " + what);
}

std::int64_t FfmpegVideoSource::indexFromTimestamp(std::int64_t pts) const {
  const AVRational tb = input_->streams[streamIndex_]->time_base;
  const AVRational frameDuration{static_cast<int>(info_.frameRate.den), static_cast<int>(info_.frameRate.num)};
  return av_rescale_q(pts - startPts_, tb, frameDuration);
}

bool FfmpegVideoSource::decodeNext(AVFrame* frame) {
  for (;;) {
    int rc = avcodec_receive_frame(codec_.get(), frame);
    if (rc == 0) {
      ++decodedFrames_;
      if (strict_ && (frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT))) {
        av_frame_unref(frame);
        fail(nextIndex_, "the decoder found damaged data");
      }
      return true;
    }
    if (rc == AVERROR_EOF) return false;
    if (rc != AVERROR(EAGAIN)) fail(nextIndex_, avErrorText(rc));
    if (flushSent_) return false;

    rc = av_read_frame(input_.get(), packet_.get());
    if (rc == AVERROR_EOF || (rc < 0 && input_->pb && avio_feof(input_->pb))) {
      avcodec_send_packet(codec_.get(), nullptr);  // drain the frames the decoder still holds
      flushSent_ = true;
      continue;
    }
    if (rc < 0) fail(nextIndex_, "reading the file failed: " + avErrorText(rc));
    if (packet_->stream_index != streamIndex_) {
      av_packet_unref(packet_.get());
      continue;
    }
    // A failure here belongs to the next frame due out: with frame threading the
    // decoder reports a frame's error when that frame would be handed out, not
    // when its packet goes in; with reordering the frames between cannot be
    // trusted either. Either way the frames before nextIndex_ were good.
    rc = avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (rc < 0 && rc != AVERROR(EAGAIN)) fail(nextIndex_, avErrorText(rc));
  }
}

void FfmpegVideoSource::rewind() {
  input_ = openInput(path_);
  for (unsigned i = 0; i < input_->nb_streams; ++i) {
    if (static_cast<int>(i) != streamIndex_) input_->streams[i]->discard = AVDISCARD_ALL;
  }
  openDecoder();
}

void FfmpegVideoSource::seekTo(std::int64_t index) {
  needSeek_ = false;
  if (index == 0) {
    rewind();
    return;
  }
  AVStream* stream = input_->streams[streamIndex_];
  const AVRational frameDuration{static_cast<int>(info_.frameRate.den), static_cast<int>(info_.frameRate.num)};
  const std::int64_t target = startPts_ + av_rescale_q(index, frameDuration, stream->time_base);
  if (avformat_seek_file(input_.get(), streamIndex_, INT64_MIN, target, target, 0) < 0) {
    rewind();
    return;
  }
  avcodec_flush_buffers(codec_.get());
  flushSent_ = false;
  pending_ = false;
  haveCurrent_ = false;
  // The first frame after the key frame tells where the seek landed.
  if (!decodeNext(frame_.get()) || frame_->best_effort_timestamp == AV_NOPTS_VALUE) {
    rewind();
    return;
  }
  const std::int64_t landed = indexFromTimestamp(frame_->best_effort_timestamp);
  if (landed > index) {
    rewind();
    return;
  }
  nextIndex_ = landed;
  pending_ = true;
}

void FfmpegVideoSource::read(std::int64_t index, ImageF& out) {
  if (index < 0 || index >= info_.frameCount) {
    throw MediaError(MediaErrc::InvalidArgument, path_ + ": frame " + std::to_string(index) + " is outside 0.." +
                                                     std::to_string(info_.frameCount - 1));
  }
  if (!needSeek_ && haveCurrent_ && !pending_ && index == nextIndex_ - 1) {
    convert(frame_.get(), out);
    return;
  }
  if (needSeek_ || index < nextIndex_ || index > nextIndex_ + kSeekAheadFrames) seekTo(index);
  for (;;) {
    if (!pending_) {
      haveCurrent_ = false;
      if (!decodeNext(frame_.get())) {
        fail(index, "the stream ends after " + std::to_string(nextIndex_) + " of " +
                        std::to_string(info_.frameCount) + " frames (damaged or truncated file)");
      }
    }
    pending_ = false;
    haveCurrent_ = true;
    if (nextIndex_++ == index) {
      convert(frame_.get(), out);
      return;
    }
  }
}

void FfmpegVideoSource::convert(const AVFrame* frame, ImageF& out) {
  const AVPixelFormat format = static_cast<AVPixelFormat>(frame->format);
  const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
  if (!desc) fail(nextIndex_ - 1, "the decoder returned no pixel format");
  // Exact conversions: 8-bit YUV goes through swscale only to bring the
  // chroma to full size (4:4:4, codes unchanged), and the matrix is applied
  // here in double precision; everything else converts to 16 bits a channel
  // with swscale's exact rounding. swscale's fast 8-bit path is off by up to
  // 1.5 steps in 255 on many pixels, which moves the effect's output where its
  // velocity gate is a hard step (the strong and stutter presets).
  const bool rgb = (desc->flags & AV_PIX_FMT_FLAG_RGB) || desc->nb_components <= 2;
  const bool deep = desc->comp[0].depth > 8 || (desc->flags & AV_PIX_FMT_FLAG_FLOAT);
  const bool yuv8 = !rgb && !deep;
  // 8-bit RGB is only reordered into 8-bit RGBA (swscale's 16-bit RGB output
  // would pass it through YUV).
  const bool rgb8 = rgb && !deep;
  const int colorspace = rgb ? -1 : swsColorspaceOf(frame->colorspace, frame->width, frame->height);
  const int range = rgb ? -1 : ((isFullRangeFormat(format) || frame->color_range == AVCOL_RANGE_JPEG) ? 1 : 0);

  if (!sws_ || format != swsFormat_ || frame->width != swsWidth_ || frame->height != swsHeight_ ||
      colorspace != swsColorspace_ || range != swsRange_) {
    const AVPixelFormat target = yuv8 ? AV_PIX_FMT_YUVA444P : rgb8 ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGBA64;
    const int flags = SWS_BICUBIC | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_ACCURATE_RND | SWS_BITEXACT;
    sws_.reset(sws_getContext(frame->width, frame->height, format, info_.width, info_.height, target, flags, nullptr,
                              nullptr, nullptr));
    if (!sws_) fail(nextIndex_ - 1, std::string("cannot convert from pixel format ") + desc->name);
    if (!rgb) {
      // YUV to YUV keeps the codes and their range; YUV to RGB applies the matrix.
      sws_setColorspaceDetails(sws_.get(), sws_getCoefficients(colorspace), range,
                               sws_getCoefficients(yuv8 ? colorspace : SWS_CS_DEFAULT), yuv8 ? range : 1, 0,
                               1 << 16, 1 << 16);
    }
    if (yuv8) {
      yuv_ = allocFrame();
      yuv_->format = target;
      yuv_->width = info_.width;
      yuv_->height = info_.height;
      if (av_frame_get_buffer(yuv_.get(), 0) < 0) throw std::bad_alloc();
    }
    swsFormat_ = format;
    swsWidth_ = frame->width;
    swsHeight_ = frame->height;
    swsColorspace_ = colorspace;
    swsRange_ = range;
    swsWide_ = !yuv8 && !rgb8;
    swsYuv_ = yuv8;
  }

  out.width = info_.width;
  out.height = info_.height;
  out.bgra.resize(out.pixelCount() * 4);
  if (swsYuv_) {
    sws_scale(sws_.get(), frame->data, frame->linesize, 0, frame->height, yuv_->data, yuv_->linesize);
    yuvToBgra(*yuv_, swsColorspace_, swsRange_ == 1, out);
  } else {
    const int stride = FFALIGN(info_.width * (swsWide_ ? 8 : 4), 64);
    const std::size_t needed = static_cast<std::size_t>(stride) * static_cast<std::size_t>(info_.height);
    if (!rgba_ || rgbaSize_ < needed) {
      rgba_.reset(static_cast<std::uint8_t*>(av_malloc(needed)));
      if (!rgba_) throw std::bad_alloc();
      rgbaSize_ = needed;
    }
    std::uint8_t* dstData[4] = {rgba_.get(), nullptr, nullptr, nullptr};
    int dstStride[4] = {stride, 0, 0, 0};
    sws_scale(sws_.get(), frame->data, frame->linesize, 0, frame->height, dstData, dstStride);
    if (swsWide_) {
      unpack16(reinterpret_cast<const std::uint16_t*>(rgba_.get()), stride, 4, out);
    } else {
      unpack8(rgba_.get(), stride, 4, out);
    }
  }
  if (!info_.hasAlpha) {
    for (std::size_t i = 3; i < out.bgra.size(); i += 4) out.bgra[i] = 1.0f;
  }
}

}  // namespace dshost::detail

#endif
