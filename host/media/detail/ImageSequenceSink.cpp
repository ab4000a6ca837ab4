#include <algorithm>
#include <cctype>

#include <stb_image_write.h>

#include "host/media/ImageFile.h"
#include "host/media/MediaError.h"
#include "host/media/detail/OutputSink.h"
#include "host/media/detail/PixelPack.h"
#if DRIFTSMEAR_HAVE_FFMPEG
#include "host/media/detail/Ffmpeg.h"
#endif

namespace dshost::detail {

namespace fs = std::filesystem;

namespace {

std::string lowerExtension(const fs::path& file) {
  std::string ext = file.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}

// Image files, one per frame: 16-bit RGBA PNGs, and with FFmpeg any image type
// it has an encoder for (JPEG, OpenEXR in float, TIFF, WebP, ...); 8-bit PNGs
// through stb without FFmpeg. Each file is written under a temporary name and
// renamed when whole.
class ImageSequenceSink final : public OutputSink {
 public:
  ImageSequenceSink(std::optional<SequencePattern> pattern, fs::path single, const WriterOptions& options, int width,
                    int height, std::vector<std::string>& warnings)
      : pattern_(std::move(pattern)), single_(std::move(single)), options_(options), width_(width), height_(height) {
    const fs::path first = fileFor(0);
    if (pattern_) {
      // Frames a killed render was writing; the ones of renders still running stay.
      sweepTemporaries(pattern_->folder(),
                       [this](const std::string& name) { return pattern_->numberOf(name).has_value(); });
    }
    // A file made and removed again: an unwritable folder shows now, before any frame is rendered.
    TemporaryFile(first).remove();
    if (pattern_ && options_.overwrite) {
      for (std::int64_t n : pattern_->existingNumbers()) removeQuietly(pattern_->fileFor(n));
    }
#if DRIFTSMEAR_HAVE_FFMPEG
    openEncoder(lowerExtension(first));
#else
    if (lowerExtension(first) != ".png") {
      throw MediaError(MediaErrc::Unsupported, "this build has no FFmpeg and writes images only as PNG, not " +
                                                   first.filename().string());
    }
    warnings.push_back("this build has no FFmpeg: PNG frames are written with 8 bits per channel");
#endif
    (void)warnings;
  }

  void write(const ImageF& image, std::int64_t index) override {
    if (!pattern_ && index > 0) {
      throw MediaError(MediaErrc::InvalidArgument, single_.string() + " is one image and holds one frame");
    }
    const fs::path file = fileFor(index);
    TemporaryFile part(file);
#if DRIFTSMEAR_HAVE_FFMPEG
    encodeTo(image, part, file);
#else
    writeWithStb(image, part);
#endif
    part.closeHandle();
    if (!publishFile(part.path(), file, options_.overwrite)) {
      throw MediaError(MediaErrc::OutputExists,
                       file.string() + " appeared while rendering (another render?); stopped before replacing it");
    }
    written_.push_back(file);
  }

  void finish(std::int64_t) override {}

  void abandon() noexcept override {
    for (const fs::path& file : written_) removeQuietly(file);
    written_.clear();
  }

 private:
  fs::path fileFor(std::int64_t index) const {
    return pattern_ ? pattern_->fileFor(options_.sequenceStartNumber + index) : single_;
  }

#if DRIFTSMEAR_HAVE_FFMPEG
  void openEncoder(const std::string& ext) {
    const bool alpha = options_.alpha;
    const AVCodec* codec = nullptr;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    if (ext == ".png") {
      codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
      format = alpha ? AV_PIX_FMT_RGBA64BE : AV_PIX_FMT_RGB48BE;
    } else if (ext == ".jpg" || ext == ".jpeg") {
      codec = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
      format = AV_PIX_FMT_YUVJ444P;
    } else if (ext == ".exr") {
      codec = avcodec_find_encoder(AV_CODEC_ID_EXR);
      format = alpha ? AV_PIX_FMT_GBRAPF32LE : AV_PIX_FMT_GBRPF32LE;
    } else if (ext == ".tif" || ext == ".tiff") {
      codec = avcodec_find_encoder(AV_CODEC_ID_TIFF);
      format = alpha ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_RGB48LE;
    } else if (ext == ".webp") {
      codec = avcodec_find_encoder_by_name("libwebp");
      format = alpha ? AV_PIX_FMT_YUVA420P : AV_PIX_FMT_YUV420P;
    } else if (ext == ".bmp") {
      codec = avcodec_find_encoder(AV_CODEC_ID_BMP);
      format = alpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR24;
    } else {
      throw MediaError(MediaErrc::Unsupported, "cannot write " + ext + " images: use .png, .jpg, .exr, .tif, .webp or .bmp");
    }
    if (!codec) throw MediaError(MediaErrc::Unsupported, "this FFmpeg has no encoder for " + ext + " images");
    if (!options_.pixelFormat.empty()) {
      format = av_get_pix_fmt(options_.pixelFormat.c_str());
      if (format == AV_PIX_FMT_NONE) {
        throw MediaError(MediaErrc::Unsupported, "unknown pixel format '" + options_.pixelFormat + "'");
      }
    }
    codec_.reset(avcodec_alloc_context3(codec));
    if (!codec_) throw std::bad_alloc();
    codec_->width = width_;
    codec_->height = height_;
    codec_->pix_fmt = format;
    codec_->time_base = AVRational{static_cast<int>(options_.frameRate.den), static_cast<int>(options_.frameRate.num)};
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
    const bool yuv = desc && !(desc->flags & AV_PIX_FMT_FLAG_RGB) && desc->nb_components >= 3;
    const bool fullRange = format == AV_PIX_FMT_YUVJ444P;
    if (yuv) {
      codec_->colorspace = AVCOL_SPC_BT709;
      codec_->color_range = fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    }
    if (codec->id == AV_CODEC_ID_MJPEG) {
      codec_->flags |= AV_CODEC_FLAG_QSCALE;
      codec_->global_quality = FF_QP2LAMBDA * 2;  // high quality, as ffmpeg's -q:v 2
    }
    // zlib level 1: on 16-bit frames it is three times faster than the default
    // and the files come out about as small, since the low bytes hardly compress.
    if (codec->id == AV_CODEC_ID_PNG) codec_->compression_level = 1;
    const int rc = avcodec_open2(codec_.get(), codec, nullptr);
    if (rc < 0) {
      throw MediaError(MediaErrc::WriteFailed, std::string("cannot start the ") + codec->name + " encoder: " + avErrorText(rc));
    }
    frame_ = allocFrame();
    frame_->format = format;
    frame_->width = width_;
    frame_->height = height_;
    frame_->color_range = codec_->color_range;
    frame_->colorspace = codec_->colorspace;
    if (av_frame_get_buffer(frame_.get(), 0) < 0) throw std::bad_alloc();
    packet_ = allocPacket();
    direct_ = format == AV_PIX_FMT_RGBA64BE || format == AV_PIX_FMT_RGB48BE || format == AV_PIX_FMT_GBRAPF32LE ||
              format == AV_PIX_FMT_GBRPF32LE;
    if (!direct_) {
      sws_.reset(sws_getContext(width_, height_, AV_PIX_FMT_RGBA64, width_, height_, format,
                                SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr, nullptr));
      if (!sws_) throw MediaError(MediaErrc::Unsupported, std::string("cannot convert frames to ") + desc->name);
      if (yuv) {
        const int* bt709 = sws_getCoefficients(SWS_CS_ITU709);
        sws_setColorspaceDetails(sws_.get(), bt709, 1, bt709, fullRange ? 1 : 0, 0, 1 << 16, 1 << 16);
      }
      staging_.resize(static_cast<std::size_t>(width_) * height_ * 4);
    }
  }

  void fill(const ImageF& image) {
    const auto format = static_cast<AVPixelFormat>(frame_->format);
    if (format == AV_PIX_FMT_GBRAPF32LE || format == AV_PIX_FMT_GBRPF32LE) {
      // Float planes G, B, R (A): values beyond 0..1 are kept.
      const bool alpha = format == AV_PIX_FMT_GBRAPF32LE;
      for (int y = 0; y < height_; ++y) {
        const float* src = image.pixel(0, y);
        auto row = [&](int plane) {
          return reinterpret_cast<float*>(frame_->data[plane] + static_cast<std::ptrdiff_t>(y) * frame_->linesize[plane]);
        };
        float* g = row(0);
        float* b = row(1);
        float* r = row(2);
        float* a = alpha ? row(3) : nullptr;
        for (int x = 0; x < width_; ++x, src += 4) {
          b[x] = src[0];
          g[x] = src[1];
          r[x] = src[2];
          if (a) a[x] = src[3];
        }
      }
      return;
    }
    if (direct_) {
      const bool alpha = format == AV_PIX_FMT_RGBA64BE;
      for (int y = 0; y < height_; ++y) {
        const float* src = image.pixel(0, y);
        std::uint8_t* row = frame_->data[0] + static_cast<std::ptrdiff_t>(y) * frame_->linesize[0];
        for (int x = 0; x < width_; ++x, src += 4) {
          const std::uint16_t values[4] = {toUnorm16(src[2]), toUnorm16(src[1]), toUnorm16(src[0]),
                                           toUnorm16(src[3])};
          for (int c = 0; c < (alpha ? 4 : 3); ++c) {  // PNG stores big-endian samples
            *row++ = static_cast<std::uint8_t>(values[c] >> 8);
            *row++ = static_cast<std::uint8_t>(values[c] & 0xff);
          }
        }
      }
      return;
    }
    packRgba16(image, staging_.data(), static_cast<std::ptrdiff_t>(width_) * 8);
    const std::uint8_t* src[4] = {reinterpret_cast<const std::uint8_t*>(staging_.data()), nullptr, nullptr, nullptr};
    const int srcStride[4] = {width_ * 8, 0, 0, 0};
    sws_scale(sws_.get(), src, srcStride, 0, height_, frame_->data, frame_->linesize);
  }

  void encodeTo(const ImageF& image, TemporaryFile& part, const fs::path& file) {
    if (av_frame_make_writable(frame_.get()) < 0) throw std::bad_alloc();
    fill(image);
    int rc = avcodec_send_frame(codec_.get(), frame_.get());
    if (rc >= 0) rc = avcodec_receive_packet(codec_.get(), packet_.get());
    if (rc < 0) throw MediaError(MediaErrc::WriteFailed, "cannot encode " + file.string() + ": " + avErrorText(rc));
    try {
      part.write(packet_->data, static_cast<std::size_t>(packet_->size));
    } catch (...) {
      av_packet_unref(packet_.get());
      throw;
    }
    av_packet_unref(packet_.get());
  }

  CodecContextPtr codec_;
  FramePtr frame_;
  PacketPtr packet_;
  SwsPtr sws_;
  bool direct_ = false;
  std::vector<std::uint16_t> staging_;
#else
  static void writeWithStb(const ImageF& image, TemporaryFile& part) {
    std::vector<std::uint8_t> rgba(image.pixelCount() * 4);
    packRgba8(image, rgba.data(), static_cast<std::ptrdiff_t>(image.width) * 4);
    struct Target {
      TemporaryFile* file;
      std::string error;
    } target{&part, {}};
    const auto put = [](void* context, void* data, int size) {
      auto* t = static_cast<Target*>(context);
      if (!t->error.empty()) return;
      try {
        t->file->write(data, static_cast<std::size_t>(size));
      } catch (const MediaError& e) {
        t->error = e.what();
      }
    };
    if (!stbi_write_png_to_func(put, &target, image.width, image.height, 4, rgba.data(), image.width * 4) ||
        !target.error.empty()) {
      throw MediaError(MediaErrc::WriteFailed, target.error.empty() ? "cannot encode a PNG frame" : target.error);
    }
  }
#endif
  std::optional<SequencePattern> pattern_;
  fs::path single_;
  WriterOptions options_;
  int width_, height_;
  std::vector<fs::path> written_;
};

}  // namespace

std::unique_ptr<OutputSink> makeImageSink(std::optional<SequencePattern> pattern, const fs::path& single,
                                          const WriterOptions& options, int width, int height,
                                          std::vector<std::string>& warnings) {
  return std::make_unique<ImageSequenceSink>(std::move(pattern), single, options, width, height, warnings);
}

}  // namespace dshost::detail
