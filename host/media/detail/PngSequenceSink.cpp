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

// 16-bit RGBA PNGs through FFmpeg's encoder; 8-bit PNGs through stb without FFmpeg.
class PngSequenceSink final : public OutputSink {
 public:
  PngSequenceSink(SequencePattern pattern, const WriterOptions& options, int width, int height,
                  std::vector<std::string>& warnings)
      : pattern_(std::move(pattern)), options_(options), width_(width), height_(height) {
    // Frames a killed render was writing; the ones of renders still running stay.
    sweepTemporaries(pattern_.folder(), [this](const std::string& name) { return pattern_.numberOf(name).has_value(); });
    // A file made and removed again: an unwritable folder shows now, before any frame is rendered.
    TemporaryFile(pattern_.fileFor(options_.sequenceStartNumber)).remove();
    if (options_.overwrite) {
      for (std::int64_t n : pattern_.existingNumbers()) removeQuietly(pattern_.fileFor(n));
    }
#if DRIFTSMEAR_HAVE_FFMPEG
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
    if (!codec) throw MediaError(MediaErrc::Unsupported, "this FFmpeg has no PNG encoder");
    codec_.reset(avcodec_alloc_context3(codec));
    if (!codec_) throw std::bad_alloc();
    codec_->width = width;
    codec_->height = height;
    codec_->pix_fmt = options_.alpha ? AV_PIX_FMT_RGBA64BE : AV_PIX_FMT_RGB48BE;
    codec_->time_base = AVRational{static_cast<int>(options_.frameRate.den), static_cast<int>(options_.frameRate.num)};
    // zlib level 1: on 16-bit frames it is three times faster than the default
    // and the files come out about as small, since the low bytes hardly compress.
    codec_->compression_level = 1;
    const int rc = avcodec_open2(codec_.get(), codec, nullptr);
    if (rc < 0) throw MediaError(MediaErrc::WriteFailed, "cannot start the PNG encoder: " + avErrorText(rc));
    frame_ = allocFrame();
    frame_->format = codec_->pix_fmt;
    frame_->width = width;
    frame_->height = height;
    if (av_frame_get_buffer(frame_.get(), 0) < 0) throw std::bad_alloc();
    packet_ = allocPacket();
#else
    warnings.push_back("this build has no FFmpeg: PNG frames are written with 8 bits per channel");
#endif
    (void)warnings;
  }

  void write(const ImageF& image, std::int64_t index) override {
    const fs::path file = pattern_.fileFor(options_.sequenceStartNumber + index);
    TemporaryFile part(file);
#if DRIFTSMEAR_HAVE_FFMPEG
    encodeTo(image, part, file);
#else
    writeWithStb(image, part);
#endif
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
#if DRIFTSMEAR_HAVE_FFMPEG
  void encodeTo(const ImageF& image, TemporaryFile& part, const fs::path& file) {
    if (av_frame_make_writable(frame_.get()) < 0) throw std::bad_alloc();
    const bool alpha = options_.alpha;
    for (int y = 0; y < height_; ++y) {
      const float* src = image.pixel(0, y);
      std::uint8_t* row = frame_->data[0] + static_cast<std::ptrdiff_t>(y) * frame_->linesize[0];
      for (int x = 0; x < width_; ++x, src += 4) {
        const std::uint16_t values[4] = {toUnorm16(src[2]), toUnorm16(src[1]),
                                         toUnorm16(src[0]), toUnorm16(src[3])};
        for (int c = 0; c < (alpha ? 4 : 3); ++c) {  // PNG stores big-endian samples
          *row++ = static_cast<std::uint8_t>(values[c] >> 8);
          *row++ = static_cast<std::uint8_t>(values[c] & 0xff);
        }
      }
    }
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
  SequencePattern pattern_;
  WriterOptions options_;
  int width_, height_;
  std::vector<fs::path> written_;
};

}  // namespace

std::unique_ptr<OutputSink> makePngSequenceSink(SequencePattern pattern, const WriterOptions& options, int width,
                                                int height, std::vector<std::string>& warnings) {
  return std::make_unique<PngSequenceSink>(std::move(pattern), options, width, height, warnings);
}

}  // namespace dshost::detail
