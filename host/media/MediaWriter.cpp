#include "host/media/MediaWriter.h"

#include <algorithm>
#include <cctype>

#include "host/media/ImageFile.h"
#include "host/media/MediaError.h"
#include "host/media/SequencePattern.h"
#include "host/media/detail/OutputSink.h"
#if DRIFTSMEAR_HAVE_FFMPEG
#include "host/media/detail/Ffmpeg.h"
#endif

namespace dshost {

namespace fs = std::filesystem;

namespace {

std::string toLower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

// True when the file would have an audio stream we would have to leave out.
bool sourceHasAudio(const fs::path& source) {
#if DRIFTSMEAR_HAVE_FFMPEG
  if (source.empty() || SequencePattern::looksLikePattern(source) || isImageFileName(source)) return false;
  try {
    detail::InputContextPtr in = detail::openInput(source.string());
    return av_find_best_stream(in.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0) >= 0;
  } catch (const MediaError&) {
    return false;
  }
#else
  (void)source;
  return false;
#endif
}

}  // namespace

const char* outputFormatName(OutputFormat format) {
  switch (format) {
    case OutputFormat::Auto: return "auto";
    case OutputFormat::H264Mp4: return "H.264 MP4";
    case OutputFormat::ProRes4444Mov: return "ProRes 4444 MOV";
    case OutputFormat::Ffv1Mkv: return "FFV1 MKV";
    case OutputFormat::PngSequence: return "PNG sequence";
    case OutputFormat::Vp9Webm: return "VP9 WebM";
    case OutputFormat::Ffv1Nut: return "FFV1 NUT";
    case OutputFormat::Image: return "image";
  }
  return "unknown";
}

std::optional<OutputFormat> parseOutputFormat(std::string_view name) {
  const std::string key = toLower(name);
  if (key == "mp4" || key == "h264" || key == "h.264") return OutputFormat::H264Mp4;
  if (key == "mov" || key == "prores" || key == "prores4444") return OutputFormat::ProRes4444Mov;
  if (key == "mkv" || key == "ffv1") return OutputFormat::Ffv1Mkv;
  if (key == "png") return OutputFormat::PngSequence;
  if (key == "webm" || key == "vp9") return OutputFormat::Vp9Webm;
  if (key == "nut") return OutputFormat::Ffv1Nut;
  if (key == "auto") return OutputFormat::Auto;
  return std::nullopt;
}

OutputFormat outputFormatForPath(const fs::path& output) {
  std::error_code ec;
  if (output == "-") {
    throw MediaError(MediaErrc::InvalidArgument, "standard output has no file name to tell the format by: name one");
  }
  const std::string ext = toLower(output.extension().string());
  if (SequencePattern::looksLikePattern(output)) {
    return ext == ".png" ? OutputFormat::PngSequence : OutputFormat::Image;
  }
  if (!output.has_filename() || fs::is_directory(output, ec)) return OutputFormat::PngSequence;
  if (ext == ".mp4" || ext == ".m4v") return OutputFormat::H264Mp4;
  if (ext == ".mov") return OutputFormat::ProRes4444Mov;
  if (ext == ".mkv") return OutputFormat::Ffv1Mkv;
  if (ext == ".webm") return OutputFormat::Vp9Webm;
  if (ext == ".nut") return OutputFormat::Ffv1Nut;
  if (isImageFileName(output)) return OutputFormat::Image;
  throw MediaError(MediaErrc::Unsupported, "unsupported output format '" + output.filename().string() +
                                               "': use .mp4 (H.264), .mov (ProRes 4444), .mkv (FFV1), .webm (VP9), "
                                               ".nut, an image (.png, .jpg, .exr, ...) or a pattern/folder of them");
}

struct MediaWriter::Impl {
  fs::path output;
  WriterOptions options;
  OutputFormat format = OutputFormat::Auto;
  std::optional<SequencePattern> pattern;
  std::vector<std::string> warnings;
  std::unique_ptr<detail::OutputSink> sink;
  int width = 0, height = 0;
  std::int64_t frames = 0;
  bool finished = false;

  bool toStandardOutput() const { return output == "-"; }

  void checkTarget() {
    std::error_code ec;
    if (toStandardOutput()) {
      if (format == OutputFormat::PngSequence || format == OutputFormat::Image) {
        throw MediaError(MediaErrc::Unsupported, "image files cannot go to standard output: name a video format");
      }
#if !DRIFTSMEAR_HAVE_FFMPEG
      throw MediaError(MediaErrc::Unsupported, "this build has no FFmpeg and cannot write video to standard output");
#endif
      return;
    }
    if (format == OutputFormat::Image && SequencePattern::looksLikePattern(output)) {
      pattern = SequencePattern::parse(output);
      if (!options.overwrite && !pattern->existingNumbers().empty()) {
        throw MediaError(MediaErrc::OutputExists, "frames of " + pattern->text() + " already exist; refusing to overwrite them");
      }
      return;
    }
    if (format == OutputFormat::PngSequence) {
      fs::path patternPath = output;
      if (!SequencePattern::looksLikePattern(output)) {
        if (output.has_filename() && fs::exists(output, ec) && !fs::is_directory(output, ec)) {
          throw MediaError(MediaErrc::Unsupported, "a PNG sequence needs a pattern such as frames/%04d.png or a folder, not the file " + output.string());
        }
        patternPath = output / "%06d.png";
      }
      pattern = SequencePattern::parse(patternPath);
      if (toLower(fs::path(pattern->fileFor(0)).extension().string()) != ".png") {
        throw MediaError(MediaErrc::Unsupported, "image sequences are written as PNG: end the pattern with .png (" + output.string() + ")");
      }
      if (!options.overwrite && !pattern->existingNumbers().empty()) {
        throw MediaError(MediaErrc::OutputExists, "frames of " + pattern->text() + " already exist; refusing to overwrite them");
      }
      return;
    }
#if !DRIFTSMEAR_HAVE_FFMPEG
    if (format != OutputFormat::Image) {
      throw MediaError(MediaErrc::Unsupported, std::string("this build has no FFmpeg and cannot write ") +
                                                   outputFormatName(format) + "; write a PNG sequence instead");
    }
#endif
    if (fs::is_directory(output, ec)) throw MediaError(MediaErrc::WriteFailed, output.string() + " is a folder");
    if (fs::exists(output, ec) && !options.overwrite) {
      throw MediaError(MediaErrc::OutputExists, output.string() + " already exists; refusing to overwrite it");
    }
    const fs::path parent = output.parent_path();
    if (!parent.empty() && !fs::is_directory(parent, ec)) {
      throw MediaError(MediaErrc::WriteFailed, "the folder " + parent.string() + " does not exist");
    }
    // Temporary files of renders to the same name: a killed render's go; a
    // live one means two renders race for the name.
    const std::string name = output.filename().string();
    const std::vector<long> live =
        detail::sweepTemporaries(parent, [&name](const std::string& finalName) { return finalName == name; });
    if (!live.empty()) {
      const std::string who = "another render (process " + std::to_string(live.front()) + ") is writing " + output.string();
      if (!options.overwrite) throw MediaError(MediaErrc::OutputExists, who);
      warnings.push_back(who + "; the render that finishes last replaces it");
    }
  }

  void start(const ImageF& first) {
    width = first.width;
    height = first.height;
    if (format == OutputFormat::PngSequence || format == OutputFormat::Image) {
      std::error_code ec;
      if (pattern && !pattern->folder().empty()) fs::create_directories(pattern->folder(), ec);
      if (ec) throw MediaError(MediaErrc::WriteFailed, "cannot create the folder " + pattern->folder().string() + ": " + ec.message());
      if (sourceHasAudio(options.audioFrom)) {
        warnings.push_back(std::string("audio not copied: ") +
                           (format == OutputFormat::PngSequence ? "a PNG sequence"
                            : pattern                          ? "an image sequence"
                                                               : "an image") +
                           " holds no audio");
      }
      sink = detail::makeImageSink(pattern, output, options, width, height, warnings);
      return;
    }
#if DRIFTSMEAR_HAVE_FFMPEG
    sink = detail::makeContainerSink(output, format, options, width, height, warnings);
#endif
  }
};

MediaWriter::MediaWriter(const fs::path& output, WriterOptions options) : impl_(std::make_unique<Impl>()) {
#if DRIFTSMEAR_HAVE_FFMPEG
  detail::installFfmpegLogPolicy();
#endif
  impl_->output = output;
  impl_->options = options;
  impl_->options.frameRate = options.frameRate.reduced();
  if (!impl_->options.frameRate.valid() || impl_->options.frameRate.num > INT32_MAX || impl_->options.frameRate.den > INT32_MAX) {
    throw MediaError(MediaErrc::InvalidArgument, "invalid output frame rate " + options.frameRate.toString());
  }
  if (options.ffv1Bits != 8 && options.ffv1Bits != 16) {
    throw MediaError(MediaErrc::InvalidArgument, "FFV1 is written with 8 or 16 bits a channel, not " + std::to_string(options.ffv1Bits));
  }
  impl_->format = options.format == OutputFormat::Auto ? outputFormatForPath(output) : options.format;
  impl_->checkTarget();
}

MediaWriter::~MediaWriter() {
  if (!impl_->finished) {
    try {
      finish();
    } catch (...) {
      // finish() removed the partial file; a destructor cannot report more.
    }
  }
}

void MediaWriter::write(const ImageF& frame) {
  if (impl_->finished) throw MediaError(MediaErrc::InvalidArgument, "cannot write to " + impl_->output.string() + " after finishing it");
  if (frame.empty() || frame.bgra.size() != frame.pixelCount() * 4) {
    throw MediaError(MediaErrc::InvalidArgument, "cannot write an empty or malformed frame to " + impl_->output.string());
  }
  if (!impl_->sink) {
    impl_->start(frame);
  }
  if (frame.width != impl_->width || frame.height != impl_->height) {
    throw MediaError(MediaErrc::InvalidArgument, "frame " + std::to_string(impl_->frames) + " is " +
                                                     std::to_string(frame.width) + "x" + std::to_string(frame.height) +
                                                     ", the output is " + std::to_string(impl_->width) + "x" +
                                                     std::to_string(impl_->height));
  }
  impl_->sink->write(frame, impl_->frames);
  ++impl_->frames;
}

void MediaWriter::open(int width, int height) {
  if (impl_->finished) throw MediaError(MediaErrc::InvalidArgument, "cannot open " + impl_->output.string() + " after finishing it");
  if (impl_->sink) return;
  ImageF shape;
  shape.width = width;
  shape.height = height;
  impl_->start(shape);
}

void MediaWriter::finish() {
  if (impl_->finished) return;
  impl_->finished = true;
  if (!impl_->sink || impl_->frames == 0) {
    if (impl_->sink) {
      impl_->sink->abandon();
      impl_->sink.reset();
    }
    impl_->warnings.push_back("no frames were written; " + impl_->output.string() + " was not created");
    return;
  }
  // On failure the sink removes a partial file it could not complete.
  std::unique_ptr<detail::OutputSink> sink = std::move(impl_->sink);
  sink->finish(impl_->frames);
}

void MediaWriter::abandon() {
  impl_->finished = true;
  if (impl_->sink) {
    impl_->sink->abandon();
    impl_->sink.reset();
  }
}

OutputFormat MediaWriter::format() const { return impl_->format; }
const fs::path& MediaWriter::outputPath() const { return impl_->output; }
std::string MediaWriter::sequencePattern() const { return impl_->pattern ? impl_->pattern->text() : std::string(); }
std::int64_t MediaWriter::framesWritten() const { return impl_->frames; }
bool MediaWriter::finished() const { return impl_->finished; }
const std::vector<std::string>& MediaWriter::warnings() const { return impl_->warnings; }

}  // namespace dshost
