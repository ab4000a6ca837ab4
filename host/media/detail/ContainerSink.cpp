#if DRIFTSMEAR_HAVE_FFMPEG

#include <algorithm>
#include <cmath>

#include "host/media/ImageFile.h"
#include "host/media/MediaError.h"
#include "host/media/detail/Ffmpeg.h"
#include "host/media/detail/OutputSink.h"
#include "host/media/detail/PixelPack.h"

namespace dshost::detail {

namespace fs = std::filesystem;

namespace {

struct OutputContextCloser {
  void operator()(AVFormatContext* c) const {
    if (c->pb && !(c->oformat->flags & AVFMT_NOFILE)) avio_closep(&c->pb);
    avformat_free_context(c);
  }
};
using OutputContextPtr = std::unique_ptr<AVFormatContext, OutputContextCloser>;

AVRational toAv(Rational r) { return AVRational{static_cast<int>(r.num), static_cast<int>(r.den)}; }

class ContainerSink final : public OutputSink {
 public:
  ContainerSink(const fs::path& final, OutputFormat format, const WriterOptions& options, int width, int height,
                std::vector<std::string>& warnings)
      : final_(final), options_(options), warnings_(warnings) {
    // Standard output ("-") is written as it goes; a file under a temporary name.
    if (!isStandardOutput(final_)) {
      temporary_ = std::make_unique<TemporaryFile>(final_);
      part_ = temporary_->path();
    }
    try {
      open(format, width, height);
    } catch (...) {
      output_.reset();
      if (temporary_) temporary_->remove();
      throw;
    }
  }

  ~ContainerSink() override {
    output_.reset();
    if (temporary_) temporary_->remove();
  }

  void write(const ImageF& image, std::int64_t index) override {
    if (av_frame_make_writable(frame_.get()) < 0) throw std::bad_alloc();
    fillFrame(image);
    frame_->pts = index;
    encode(frame_.get(), index);
    copyAudioUntil(static_cast<double>(index + 1) / options_.frameRate.toDouble());
    // Hand what the muxer buffered to the system now, so that a full disk or
    // a file size limit stops the render at this frame, not at the end.
    avio_flush(output_->pb);
    if (output_->pb->error < 0) fail("cannot write " + final_.string() + " at frame " + std::to_string(index), output_->pb->error);
  }

  void finish(std::int64_t frames) override {
    encode(nullptr, frames);
    copyAudioUntil(static_cast<double>(frames) / options_.frameRate.toDouble());
    int rc = av_write_trailer(output_.get());
    if (rc >= 0) {
      avio_flush(output_->pb);
      rc = output_->pb->error;
    }
    if (rc < 0) fail("cannot finish " + final_.string(), rc);
    output_.reset();  // closes the file
    if (temporary_) temporary_->publish(options_.overwrite);
  }

  void abandon() noexcept override {
    output_.reset();
    if (temporary_) temporary_->remove();
  }

 private:
  [[noreturn]] void fail(const std::string& what, int rc) {
    throw MediaError(MediaErrc::WriteFailed, what + ": " + avErrorText(rc));
  }

  void open(OutputFormat format, int width, int height) {
    const char* muxer = format == OutputFormat::H264Mp4         ? "mp4"
                        : format == OutputFormat::ProRes4444Mov ? "mov"
                        : format == OutputFormat::Vp9Webm       ? "webm"
                        : format == OutputFormat::Ffv1Nut       ? "nut"
                                                                : "matroska";
    AVFormatContext* raw = nullptr;
    int rc = avformat_alloc_output_context2(&raw, nullptr, muxer, isStandardOutput(final_) ? nullptr : final_.string().c_str());
    if (rc < 0 || !raw) fail(std::string("cannot create a ") + muxer + " file", rc);
    output_.reset(raw);

    const AVCodec* codec = nullptr;
    AVDictionary* codecOptions = nullptr;
    const bool alpha = options_.alpha;
    switch (format) {
      case OutputFormat::H264Mp4:
        codec = avcodec_find_encoder_by_name("libx264");
        if (!codec && options_.codec.empty()) {
          codec = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
          warnings_.push_back("this FFmpeg has no libx264: writing MPEG-4 Part 2 video instead of H.264");
          av_dict_set(&codecOptions, "qscale", "3", 0);
        } else {
          av_dict_set(&codecOptions, "crf", std::to_string(options_.h264Crf).c_str(), 0);
          av_dict_set(&codecOptions, "preset", options_.h264Preset.c_str(), 0);
        }
        pixelFormat_ = AV_PIX_FMT_YUV420P;
        break;
      case OutputFormat::ProRes4444Mov:
        codec = avcodec_find_encoder_by_name("prores_ks");
        pixelFormat_ = alpha ? AV_PIX_FMT_YUVA444P10LE : AV_PIX_FMT_YUV444P10LE;
        av_dict_set(&codecOptions, "profile", "4444", 0);
        av_dict_set(&codecOptions, "vendor", "apl0", 0);
        break;
      case OutputFormat::Vp9Webm:
        codec = avcodec_find_encoder_by_name("libvpx-vp9");
        pixelFormat_ = alpha ? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P;
        // Constant quality; "good" quality at a speed that suits previews.
        av_dict_set(&codecOptions, "crf", "31", 0);
        av_dict_set(&codecOptions, "b", "0", 0);
        av_dict_set(&codecOptions, "deadline", "good", 0);
        av_dict_set(&codecOptions, "cpu-used", "4", 0);
        av_dict_set(&codecOptions, "row-mt", "1", 0);
        break;
      default:
        codec = avcodec_find_encoder(AV_CODEC_ID_FFV1);
        if (options_.ffv1Bits == 16) {
          pixelFormat_ = alpha ? AV_PIX_FMT_GBRAP16LE : AV_PIX_FMT_GBRP16LE;
        } else {
          pixelFormat_ = alpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0;
        }
        av_dict_set(&codecOptions, "level", "3", 0);
        av_dict_set(&codecOptions, "slicecrc", "1", 0);
        break;
    }
    if (!options_.codec.empty()) {
      // Any encoder FFmpeg has; the format's pixel format when it takes it,
      // else the encoder's own first choice.
      codec = avcodec_find_encoder_by_name(options_.codec.c_str());
      if (!codec) {
        av_dict_free(&codecOptions);
        throw MediaError(MediaErrc::Unsupported, "this FFmpeg has no encoder '" + options_.codec +
                                                     "' ('ffmpeg -encoders' lists the ones it has)");
      }
      if (codec->type != AVMEDIA_TYPE_VIDEO) {
        av_dict_free(&codecOptions);
        throw MediaError(MediaErrc::Unsupported, "'" + options_.codec + "' is not a video encoder");
      }
      av_dict_free(&codecOptions);
      if (codec->pix_fmts) {
        bool takes = false;
        for (const AVPixelFormat* f = codec->pix_fmts; *f != AV_PIX_FMT_NONE; ++f) takes = takes || *f == pixelFormat_;
        if (!takes) pixelFormat_ = codec->pix_fmts[0];
      }
    }
    if (!codec) {
      av_dict_free(&codecOptions);
      throw MediaError(MediaErrc::Unsupported, std::string("this FFmpeg has no encoder for ") + outputFormatName(format));
    }
    if (!options_.pixelFormat.empty()) {
      pixelFormat_ = av_get_pix_fmt(options_.pixelFormat.c_str());
      if (pixelFormat_ == AV_PIX_FMT_NONE) {
        av_dict_free(&codecOptions);
        throw MediaError(MediaErrc::Unsupported, "unknown pixel format '" + options_.pixelFormat +
                                                     "' ('ffmpeg -pix_fmts' lists them)");
      }
    }
    if (options_.crf >= 0) {
      av_dict_set(&codecOptions, "crf", std::to_string(options_.crf).c_str(), 0);
      if (codec->id == AV_CODEC_ID_VP9 || codec->id == AV_CODEC_ID_VP8 || codec->id == AV_CODEC_ID_AV1) {
        av_dict_set(&codecOptions, "b", "0", 0);  // constant quality
      }
    }
    // Chroma subsampled horizontally or vertically needs even sizes: the last
    // column/row is repeated.
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(pixelFormat_);
    encodedWidth_ = desc && desc->log2_chroma_w > 0 ? (width + 1) & ~1 : width;
    encodedHeight_ = desc && desc->log2_chroma_h > 0 ? (height + 1) & ~1 : height;
    if (encodedWidth_ != width || encodedHeight_ != height) {
      const std::string who = codec->id == AV_CODEC_ID_H264 ? std::string("H.264")
                                                             : std::string(codec->name) + " with " + desc->name;
      warnings_.push_back(who + " needs even sizes: " +
                          std::to_string(width) + "x" + std::to_string(height) + " is written as " +
                          std::to_string(encodedWidth_) + "x" + std::to_string(encodedHeight_) +
                          " with the edge repeated");
    }
    rgbTarget_ = desc && (desc->flags & AV_PIX_FMT_FLAG_RGB);

    encoder_.reset(avcodec_alloc_context3(codec));
    if (!encoder_) throw std::bad_alloc();
    encoder_->width = encodedWidth_;
    encoder_->height = encodedHeight_;
    encoder_->pix_fmt = pixelFormat_;
    encoder_->time_base = toAv(options_.frameRate.inverse());
    encoder_->framerate = toAv(options_.frameRate);
    encoder_->sample_aspect_ratio = AVRational{1, 1};
    encoder_->thread_count = 0;
    if (rgbTarget_) {
      encoder_->colorspace = AVCOL_SPC_RGB;
    } else {
      encoder_->colorspace = AVCOL_SPC_BT709;
      encoder_->color_primaries = AVCOL_PRI_BT709;
      encoder_->color_trc = AVCOL_TRC_BT709;
      encoder_->color_range = AVCOL_RANGE_MPEG;
    }
    if (output_->oformat->flags & AVFMT_GLOBALHEADER) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    rc = avcodec_open2(encoder_.get(), codec, &codecOptions);
    av_dict_free(&codecOptions);
    if (rc < 0) fail(std::string("cannot start the ") + codec->name + " encoder", rc);

    video_ = avformat_new_stream(output_.get(), nullptr);
    if (!video_) throw std::bad_alloc();
    rc = avcodec_parameters_from_context(video_->codecpar, encoder_.get());
    if (rc < 0) fail("cannot set up the video stream", rc);
    video_->time_base = encoder_->time_base;
    if (options_.timeBase.valid()) {
      // The input's time base is kept when a frame lasts a whole number of its
      // ticks (1/15360 at 30 fps); otherwise frame times would be rounded
      // unevenly (1/12800 at 30000/1001 fps), so 1/fps is used.
      const Rational tb = options_.timeBase.reduced();
      const Rational fps = options_.frameRate;
      if ((tb.den * fps.den) % (tb.num * fps.num) == 0 && tb.den <= INT32_MAX) video_->time_base = toAv(tb);
    }
    video_->avg_frame_rate = encoder_->framerate;
    video_->r_frame_rate = encoder_->framerate;

    openAudio();

    AVDictionary* muxerOptions = nullptr;
    if (isStandardOutput(final_)) {
      rc = avio_open(&output_->pb, "pipe:1", AVIO_FLAG_WRITE);
      if (rc < 0) fail("cannot write to standard output", rc);
      // A pipe cannot be rewound to write the index at the front: MP4 and MOV
      // go out as fragments.
      if (format == OutputFormat::H264Mp4 || format == OutputFormat::ProRes4444Mov) {
        av_dict_set(&muxerOptions, "movflags", "frag_keyframe+empty_moov+default_base_moof", 0);
      }
    } else if (!(output_->oformat->flags & AVFMT_NOFILE)) {
      rc = avio_open(&output_->pb, part_.string().c_str(), AVIO_FLAG_WRITE);
      if (rc < 0) fail("cannot create " + part_.string(), rc);
    }
    rc = avformat_write_header(output_.get(), &muxerOptions);
    av_dict_free(&muxerOptions);
    if (rc < 0) fail("cannot write the header of " + final_.string(), rc);

    frame_ = allocFrame();
    frame_->format = pixelFormat_;
    frame_->width = encodedWidth_;
    frame_->height = encodedHeight_;
    // Some encoders (prores_ks) take the colour tags from each frame, not from the context.
    frame_->colorspace = encoder_->colorspace;
    frame_->color_primaries = encoder_->color_primaries;
    frame_->color_trc = encoder_->color_trc;
    frame_->color_range = encoder_->color_range;
    if (av_frame_get_buffer(frame_.get(), 0) < 0) throw std::bad_alloc();
    packet_ = allocPacket();

    if (!isDirectFormat(pixelFormat_)) {
      wideStaging_ = desc->comp[0].depth > 8 || (desc->flags & AV_PIX_FMT_FLAG_FLOAT);
      const AVPixelFormat staging = wideStaging_ ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA;
      sws_.reset(sws_getContext(encodedWidth_, encodedHeight_, staging, encodedWidth_, encodedHeight_, pixelFormat_,
                                SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
      if (!sws_) throw MediaError(MediaErrc::Unsupported, std::string("cannot convert frames to ") + desc->name);
      if (!rgbTarget_) {
        const int* bt709 = sws_getCoefficients(SWS_CS_ITU709);
        sws_setColorspaceDetails(sws_.get(), bt709, 1, bt709, 0, 0, 1 << 16, 1 << 16);
      }
      stagingStride_ = FFALIGN(encodedWidth_ * (wideStaging_ ? 8 : 4), 64);
      staging_.reset(static_cast<std::uint8_t*>(av_malloc(static_cast<std::size_t>(stagingStride_) * encodedHeight_)));
      if (!staging_) throw std::bad_alloc();
    }
  }

  static bool isStandardOutput(const fs::path& path) { return path == "-"; }

  // The formats fillFrame() writes itself; the others go through swscale.
  static bool isDirectFormat(AVPixelFormat f) {
    return f == AV_PIX_FMT_GBRAP16LE || f == AV_PIX_FMT_GBRP16LE || f == AV_PIX_FMT_BGRA || f == AV_PIX_FMT_BGR0;
  }

  void fillFrame(const ImageF& image) {
    const int w = image.width, h = image.height;
    if (pixelFormat_ == AV_PIX_FMT_BGRA || pixelFormat_ == AV_PIX_FMT_BGR0) {
      // Packed 8-bit BGRA is the float layout's own order.
      const bool alpha = pixelFormat_ == AV_PIX_FMT_BGRA;
      for (int y = 0; y < h; ++y) {
        const float* src = image.pixel(0, y);
        std::uint8_t* row = frame_->data[0] + static_cast<std::ptrdiff_t>(y) * frame_->linesize[0];
        for (int x = 0; x < w * 4; x += 4) {
          row[x + 0] = toUnorm8(src[x + 0]);
          row[x + 1] = toUnorm8(src[x + 1]);
          row[x + 2] = toUnorm8(src[x + 2]);
          row[x + 3] = alpha ? toUnorm8(src[x + 3]) : 255;
        }
      }
      return;
    }
    if (!sws_) {
      // Planar 16-bit RGB: plane 0 is G, 1 is B, 2 is R, 3 is A.
      const bool alpha = pixelFormat_ == AV_PIX_FMT_GBRAP16LE;
      for (int y = 0; y < h; ++y) {
        const float* src = image.pixel(0, y);
        auto row = [&](int plane) {
          return reinterpret_cast<std::uint16_t*>(frame_->data[plane] + static_cast<std::ptrdiff_t>(y) * frame_->linesize[plane]);
        };
        std::uint16_t* g = row(0);
        std::uint16_t* b = row(1);
        std::uint16_t* r = row(2);
        std::uint16_t* a = alpha ? row(3) : nullptr;
        for (int x = 0; x < w; ++x, src += 4) {
          b[x] = toUnorm16(src[0]);
          g[x] = toUnorm16(src[1]);
          r[x] = toUnorm16(src[2]);
          if (a) a[x] = toUnorm16(src[3]);
        }
      }
      return;
    }
    const int bytesPerPixel = wideStaging_ ? 8 : 4;
    if (wideStaging_) {
      packRgba16(image, reinterpret_cast<std::uint16_t*>(staging_.get()), stagingStride_);
    } else {
      packRgba8(image, staging_.get(), stagingStride_);
    }
    // Repeat the last column and row into the padding an even size added.
    for (int y = 0; y < h; ++y) {
      std::uint8_t* row = staging_.get() + static_cast<std::ptrdiff_t>(y) * stagingStride_;
      for (int x = w; x < encodedWidth_; ++x) {
        std::copy_n(row + (w - 1) * bytesPerPixel, bytesPerPixel, row + x * bytesPerPixel);
      }
    }
    for (int y = h; y < encodedHeight_; ++y) {
      std::copy_n(staging_.get() + static_cast<std::ptrdiff_t>(h - 1) * stagingStride_, stagingStride_,
                  staging_.get() + static_cast<std::ptrdiff_t>(y) * stagingStride_);
    }
    const std::uint8_t* src[4] = {staging_.get(), nullptr, nullptr, nullptr};
    const int srcStride[4] = {stagingStride_, 0, 0, 0};
    sws_scale(sws_.get(), src, srcStride, 0, encodedHeight_, frame_->data, frame_->linesize);
  }

  // Sends one frame (or, with null, the end of the stream) and writes the packets that come out.
  void encode(AVFrame* frame, std::int64_t index) {
    int rc = avcodec_send_frame(encoder_.get(), frame);
    if (rc < 0) fail("cannot encode frame " + std::to_string(index), rc);
    for (;;) {
      rc = avcodec_receive_packet(encoder_.get(), packet_.get());
      if (rc == AVERROR(EAGAIN) || rc == AVERROR_EOF) return;
      if (rc < 0) fail("cannot encode frame " + std::to_string(index), rc);
      if (packet_->duration <= 0) packet_->duration = 1;  // one frame in the encoder's time base
      av_packet_rescale_ts(packet_.get(), encoder_->time_base, video_->time_base);
      packet_->stream_index = video_->index;
      rc = av_interleaved_write_frame(output_.get(), packet_.get());
      if (rc < 0) fail("cannot write " + final_.string(), rc);
    }
  }

  // Audio: every audio stream of the source that the container accepts is
  // copied packet by packet, with its timestamps moved so that the source's
  // first video frame (plus audioStartSeconds) lands at zero.
  void openAudio() {
    if (options_.audioFrom.empty() || SequencePattern::looksLikePattern(options_.audioFrom) ||
        isImageFileName(options_.audioFrom)) {
      return;
    }
    try {
      audioInput_ = openInput(options_.audioFrom.string());
    } catch (const MediaError& e) {
      warnings_.push_back(std::string("audio not copied: ") + e.what());
      return;
    }
    AVFormatContext* in = audioInput_.get();
    double originSeconds = 0.0;
    const int videoIndex = av_find_best_stream(in, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (videoIndex >= 0 && in->streams[videoIndex]->start_time != AV_NOPTS_VALUE) {
      originSeconds = static_cast<double>(in->streams[videoIndex]->start_time) * av_q2d(in->streams[videoIndex]->time_base);
    }
    audioMap_.assign(in->nb_streams, -1);
    audioOffset_.assign(in->nb_streams, 0);
    for (unsigned i = 0; i < in->nb_streams; ++i) {
      AVStream* source = in->streams[i];
      if (source->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
        source->discard = AVDISCARD_ALL;
        continue;
      }
      const AVCodecID id = source->codecpar->codec_id;
      if (avformat_query_codec(output_->oformat, id, FF_COMPLIANCE_NORMAL) != 1) {
        warnings_.push_back(std::string("audio not copied: ") + avcodec_get_name(id) + " audio cannot go into a " +
                            output_->oformat->name + " file");
        source->discard = AVDISCARD_ALL;
        continue;
      }
      AVStream* target = avformat_new_stream(output_.get(), nullptr);
      if (!target) throw std::bad_alloc();
      const int rc = avcodec_parameters_copy(target->codecpar, source->codecpar);
      if (rc < 0) fail("cannot copy the audio stream", rc);
      target->codecpar->codec_tag = 0;
      target->time_base = source->time_base;
      target->disposition = source->disposition;
      av_dict_copy(&target->metadata, source->metadata, 0);
      audioMap_[i] = target->index;
      audioOffset_[i] = std::llround((originSeconds + options_.audioStartSeconds) / av_q2d(source->time_base));
    }
    if (std::none_of(audioMap_.begin(), audioMap_.end(), [](int m) { return m >= 0; })) {
      audioInput_.reset();
      return;
    }
    audioPacket_ = allocPacket();
  }

  void copyAudioUntil(double endSeconds) {
    if (!audioInput_) return;
    AVFormatContext* in = audioInput_.get();
    for (;;) {
      if (!audioHeld_) {
        if (av_read_frame(in, audioPacket_.get()) < 0) {
          audioInput_.reset();  // end of the audio (or unreadable from here on): nothing more to copy
          return;
        }
        if (audioMap_[audioPacket_->stream_index] < 0) {
          av_packet_unref(audioPacket_.get());
          continue;
        }
        audioHeld_ = true;
      }
      AVPacket* packet = audioPacket_.get();
      const int sourceIndex = packet->stream_index;
      const AVRational tb = in->streams[sourceIndex]->time_base;
      const std::int64_t stamp = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
      if (stamp == AV_NOPTS_VALUE) {  // cannot be placed in time
        av_packet_unref(packet);
        audioHeld_ = false;
        continue;
      }
      const std::int64_t shifted = stamp - audioOffset_[sourceIndex];
      const double start = static_cast<double>(shifted) * av_q2d(tb);
      if (start >= endSeconds) return;  // keep it for the next frame
      audioHeld_ = false;
      // A packet ending exactly at zero is kept: at the start of a file that is
      // the encoder's priming packet, and elsewhere it primes the decoder.
      const double end = start + packetSeconds(*packet, *in->streams[sourceIndex]);
      if (end < 0.0) {  // wholly before the first frame written
        av_packet_unref(packet);
        continue;
      }
      if (packet->pts != AV_NOPTS_VALUE) packet->pts -= audioOffset_[sourceIndex];
      if (packet->dts != AV_NOPTS_VALUE) packet->dts -= audioOffset_[sourceIndex];
      AVStream* target = output_->streams[audioMap_[sourceIndex]];
      av_packet_rescale_ts(packet, tb, target->time_base);
      packet->stream_index = target->index;
      packet->pos = -1;
      const int rc = av_interleaved_write_frame(output_.get(), packet);
      if (rc < 0) fail("cannot write audio to " + final_.string(), rc);
    }
  }

  // A packet's length; Matroska often leaves it out, then one codec frame is assumed.
  static double packetSeconds(const AVPacket& packet, const AVStream& stream) {
    if (packet.duration > 0) return static_cast<double>(packet.duration) * av_q2d(stream.time_base);
    const AVCodecParameters* par = stream.codecpar;
    if (par->frame_size > 0 && par->sample_rate > 0) return static_cast<double>(par->frame_size) / par->sample_rate;
    return 0.0;
  }

  fs::path final_;
  std::unique_ptr<TemporaryFile> temporary_;
  fs::path part_;
  bool rgbTarget_ = false;
  WriterOptions options_;
  std::vector<std::string>& warnings_;
  OutputContextPtr output_;
  CodecContextPtr encoder_;
  AVStream* video_ = nullptr;
  AVPixelFormat pixelFormat_ = AV_PIX_FMT_NONE;
  int encodedWidth_ = 0, encodedHeight_ = 0;
  FramePtr frame_;
  PacketPtr packet_;
  SwsPtr sws_;
  struct AvFree {
    void operator()(std::uint8_t* p) const { av_free(p); }
  };
  std::unique_ptr<std::uint8_t, AvFree> staging_;
  int stagingStride_ = 0;
  bool wideStaging_ = false;
  InputContextPtr audioInput_;
  PacketPtr audioPacket_;
  bool audioHeld_ = false;  // audioPacket_ holds a packet read but not yet due
  std::vector<int> audioMap_;                 // source stream -> output stream, -1 when not copied
  std::vector<std::int64_t> audioOffset_;     // subtracted from the source's timestamps
};

}  // namespace

std::unique_ptr<OutputSink> makeContainerSink(const fs::path& output, OutputFormat format, const WriterOptions& options,
                                              int width, int height, std::vector<std::string>& warnings) {
  return std::make_unique<ContainerSink>(output, format, options, width, height, warnings);
}

}  // namespace dshost::detail

#endif
