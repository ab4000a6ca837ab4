#include "host/media/MediaReader.h"

#include <algorithm>
#include <optional>

#include "host/media/ImageFile.h"
#include "host/media/MediaError.h"
#include "host/media/SequencePattern.h"
#if DRIFTSMEAR_HAVE_FFMPEG
#include "host/media/detail/FfmpegVideoSource.h"
#endif

namespace dshost {

const char* sourceKindName(SourceKind kind) {
  switch (kind) {
    case SourceKind::Video: return "video";
    case SourceKind::ImageSequence: return "image sequence";
    case SourceKind::SingleImage: return "image";
    case SourceKind::Synthetic: return "generated clip";
  }
  return "unknown";
}

bool mediaHasFfmpeg() {
#if DRIFTSMEAR_HAVE_FFMPEG
  return true;
#else
  return false;
#endif
}

struct MediaReader::Impl {
  std::filesystem::path path;
  ReaderOptions options;
  MediaInfo info;
#if DRIFTSMEAR_HAVE_FFMPEG
  std::unique_ptr<detail::FfmpegVideoSource> video;
#endif
  std::optional<SequencePattern> pattern;
  std::optional<LoadedImage> still;  // the single image, or the first file of a sequence
  std::vector<std::int64_t> present;  // with gaps allowed: the numbers of the files there
  std::vector<std::string> warnings;

  void openSequence() {
    pattern = SequencePattern::parse(path);
    const SequencePattern::Run run = pattern->findRun();
    if (run.count == 0) {
      throw MediaError(MediaErrc::NotFound, "no files match the image sequence " + path.string());
    }
    still = loadImageFile(pattern->fileFor(run.first));
    info.kind = SourceKind::ImageSequence;
    info.frameCount = run.count;
    info.firstSequenceNumber = static_cast<int>(run.first);
    if (run.afterGap > 0) {
      const std::string missing = pattern->fileFor(run.first + run.count).filename().string();
      if (options.allowGaps) {
        present = pattern->existingNumbers();
        info.frameCount = run.last - run.first + 1;
        const std::int64_t holes = info.frameCount - static_cast<std::int64_t>(present.size());
        warnings.push_back(std::to_string(holes) + " frame" + (holes == 1 ? " is" : "s are") +
                           " missing from the image sequence (the first: " + missing +
                           "); each holds the frame before it");
      } else {
        warnings.push_back(missing + " is missing: the image sequence ends at " +
                           pattern->fileFor(run.first + run.count - 1).filename().string() + " and the " +
                           std::to_string(run.afterGap) + " frame" + (run.afterGap == 1 ? "" : "s") +
                           " after the gap (up to " + pattern->fileFor(run.last).filename().string() +
                           ") are skipped");
      }
    }
    describeImage();
  }

  void openImage() {
    still = loadImageFile(path);
    info.kind = SourceKind::SingleImage;
    info.frameCount = 1;
    describeImage();
  }

  void describeImage() {
    info.width = still->image.width;
    info.height = still->image.height;
    info.hasAlpha = still->hasAlpha;
    info.codecName = still->codecName;
    info.pixelFormat = still->pixelFormat;
    info.frameRate = options.imageFrameRate.reduced();
    if (!info.frameRate.valid()) {
      throw MediaError(MediaErrc::InvalidArgument, "invalid image frame rate " + options.imageFrameRate.toString());
    }
    info.timeBase = info.frameRate.inverse();
    info.durationSeconds = static_cast<double>(info.frameCount) / info.frameRate.toDouble();
  }

  void openVideo() {
#if DRIFTSMEAR_HAVE_FFMPEG
    video = std::make_unique<detail::FfmpegVideoSource>(path.string(), options.strict);
    info = video->info();
#else
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) throw MediaError(MediaErrc::NotFound, "input not found: " + path.string());
    throw MediaError(MediaErrc::Unsupported, "cannot read " + path.string() +
                                                 ": this build reads video files only with FFmpeg; use an image sequence");
#endif
  }

  void readSequenceFrame(std::int64_t index, ImageF& out) {
    std::int64_t number = info.firstSequenceNumber + index;
    if (!present.empty()) {
      // A missing frame holds the last file before it.
      number = *(std::upper_bound(present.begin(), present.end(), number) - 1);
      index = number - info.firstSequenceNumber;
    }
    const std::filesystem::path file = pattern->fileFor(number);
    if (index == 0 && still) {
      out = still->image;
      return;
    }
    LoadedImage loaded;
    try {
      loaded = loadImageFile(file);
    } catch (const MediaError& e) {
      throw FrameDecodeError(index, "frame " + std::to_string(index) + " of the sequence: " + e.what());
    }
    if (loaded.image.width != info.width || loaded.image.height != info.height) {
      throw FrameDecodeError(index, "frame " + std::to_string(index) + " (" + file.string() + ") is " +
                                        std::to_string(loaded.image.width) + "x" + std::to_string(loaded.image.height) +
                                        ", the sequence is " + std::to_string(info.width) + "x" +
                                        std::to_string(info.height));
    }
    out = std::move(loaded.image);
    if (!info.hasAlpha) {
      for (std::size_t i = 3; i < out.bgra.size(); i += 4) out.bgra[i] = 1.0f;
    }
  }
};

MediaReader::MediaReader(const std::filesystem::path& input, ReaderOptions options) : impl_(std::make_unique<Impl>()) {
  impl_->path = input;
  impl_->options = options;
  if (SequencePattern::looksLikePattern(input)) {
    impl_->openSequence();
  } else if (isImageFileName(input)) {
    impl_->openImage();
  } else {
    impl_->openVideo();
  }
}

MediaReader::~MediaReader() = default;
MediaReader::MediaReader(MediaReader&&) noexcept = default;
MediaReader& MediaReader::operator=(MediaReader&&) noexcept = default;

const MediaInfo& MediaReader::info() const { return impl_->info; }
const std::filesystem::path& MediaReader::path() const { return impl_->path; }
const std::vector<std::string>& MediaReader::warnings() const { return impl_->warnings; }

void MediaReader::readFrame(std::int64_t index, ImageF& out) {
  const MediaInfo& info = impl_->info;
  if (index < 0 || index >= info.frameCount) {
    throw MediaError(MediaErrc::InvalidArgument, impl_->path.string() + ": frame " + std::to_string(index) +
                                                     " is outside 0.." + std::to_string(info.frameCount - 1));
  }
  switch (info.kind) {
    case SourceKind::ImageSequence:
      impl_->readSequenceFrame(index, out);
      return;
    case SourceKind::SingleImage:
      out = impl_->still->image;
      return;
    default:
#if DRIFTSMEAR_HAVE_FFMPEG
      impl_->video->read(index, out);
#endif
      return;
  }
}

ImageF MediaReader::readFrame(std::int64_t index) {
  ImageF out;
  readFrame(index, out);
  return out;
}

}  // namespace dshost
