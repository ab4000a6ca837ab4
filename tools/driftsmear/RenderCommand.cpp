// render and demo: a clip through the effect into a file.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <process.h>
#else
#include <unistd.h>
#endif

#include "host/media/MediaError.h"
#include "host/media/MediaReader.h"
#include "host/media/MediaWriter.h"
#include "host/gpu/GpuDevice.h"
#include "host/media/SequencePattern.h"
#include "host/media/SyntheticClip.h"
#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/Commands.h"
#include "tools/driftsmear/Console.h"
#include "tools/driftsmear/Effect.h"
#include "tools/driftsmear/Pipeline.h"
#include "tools/driftsmear/Text.h"

namespace driftsmear {

namespace fs = std::filesystem;

namespace {

struct Job {
  ClipSource source;
  int64_t firstFrame = 0;
  int64_t endFrame = 0;
  fs::path output;
  std::string outputText;  // as typed
  dshost::WriterOptions writerOptions;
};

uint64_t MemoryBudget() {
  if (const char* text = std::getenv("DRIFTSMEAR_CACHE_MB")) {
    if (const auto megabytes = ParseNumber(text); megabytes && *megabytes >= 1) {
      return static_cast<uint64_t>(*megabytes) << 20;
    }
  }
  return 4ull << 30;
}

std::unique_ptr<dshost::MediaWriter> OpenWriter(const Job& job) {
  try {
    return std::make_unique<dshost::MediaWriter>(job.output, job.writerOptions);
  } catch (const dshost::MediaError& error) {
    if (error.code() == dshost::MediaErrc::OutputExists) {
      throw CliError(kExitOutput, std::string(error.what()) + " (pass -y to overwrite)");
    }
    throw CliError(kExitOutput, error.what());
  }
}

std::string Describe(const dshost::MediaInfo& info) {
  return std::to_string(info.width) + "x" + std::to_string(info.height) + ", " +
         FormatNumber(info.frameRate.toDouble(), 3) + " fps";
}

// Renders the job through the effect with the command line's settings. The
// writer is opened first, so an existing output is refused before the GPU
// work starts.
int RenderJob(const Options& options, const EffectSettings& settings, const Job& job, bool printResult) {
  InstallInterruptHandler();
  std::unique_ptr<dshost::MediaWriter> writer = OpenWriter(job);
  // The output's temporary file exists before any GPU work, so an unwritable
  // place fails now; what the writer warns about (an odd size for H.264)
  // shows before the render too.
  try {
    writer->open(job.source.info.width, job.source.info.height);
  } catch (const dshost::MediaError& error) {
    throw CliError(kExitOutput, error.what());
  }
  size_t warningsShown = 0;
  const auto showWarnings = [&] {
    for (; warningsShown < writer->warnings().size(); ++warningsShown) {
      if (!options.quiet) {
        std::fprintf(stderr, "driftsmear: warning: %s\n", writer->warnings()[warningsShown].c_str());
      }
    }
  };
  showWarnings();

  if (options.repeatable) {
    // Read by PoCL when the OpenCL platform first loads, which is below.
    SetEnvironment("POCL_MAX_PTHREAD_COUNT", "1");
  }
  const std::string modulePath = ResolveModulePath(options.module);
  CheckModule(modulePath);
  const uint32_t device = ChooseDevice(options.device);
  if (options.repeatable) {
    CheckRepeatable(dshost::EnumerateGpuDevices().at(device));
  }
  std::unique_ptr<dshost::RenderSession> session = OpenSession(modulePath, HostAppOf(options.host), device);
  ApplySettings(session->host(), settings, job.source.info.frameRate);

  const int64_t frames = job.endFrame - job.firstFrame;
  if (!options.quiet) {
    std::fprintf(stderr, "driftsmear: %s (%s, %lld frames) -> %s\n", job.source.name.c_str(),
                 Describe(job.source.info).c_str(), static_cast<long long>(frames), job.outputText.c_str());
    std::fprintf(stderr, "driftsmear: rendering on %s\n", DeviceInWords(session->device().desc()).c_str());
    std::fprintf(stderr, "driftsmear: settings: %s\n", SettingsLine(session->host()).c_str());
    for (const std::string& warning : SettingsWarnings(session->host(), settings, HostAppOf(options.host))) {
      std::fprintf(stderr, "driftsmear: warning: %s\n", warning.c_str());
    }
  }

  PipelineOptions pipeline;
  pipeline.firstFrame = job.firstFrame;
  pipeline.endFrame = job.endFrame;
  pipeline.format = options.half ? dshost::GpuFrameFormat::Half16 : dshost::GpuFrameFormat::Float32;
  pipeline.renderThreads = options.threads;
  pipeline.quiet = options.quiet;
  pipeline.terminal = IsTerminal(stderr);
  pipeline.memoryBudgetBytes = MemoryBudget();
  const PipelineResult result = RunPipeline(*session, job.source, *writer, pipeline);

  // Whatever stopped the render, the frames written make a complete file.
  std::optional<CliError> failure = result.failure;
  bool failedToFinish = false;
  try {
    writer->finish();
  } catch (const std::exception& error) {
    if (!failure) {
      failure.emplace(kExitOutput, error.what());
      failedToFinish = true;
    }
  }
  showWarnings();
  if (options.stats) {
    // With the video on standard output the summary goes to standard error.
    std::FILE* statsOut = job.outputText == "-" ? stderr : stdout;
    // Host-to-device traffic per output frame, in bytes and in input frames.
    const double perOutput = result.rendered > 0 ? 1.0 / static_cast<double>(result.rendered) : 0.0;
    std::fprintf(statsOut, "stats: frames=%lld rendered=%lld written=%lld decoded=%llu input_frames=%lld cache=%zu "
                "device_cache=%zu seconds=%.3f fps=%.3f decode_seconds=%.3f render_seconds=%.3f "
                "encode_seconds=%.3f uploaded=%llu h2d_bytes=%llu d2h_bytes=%llu h2d_bytes_per_frame=%.0f "
                "h2d_frames_per_frame=%.3f\n",
                static_cast<long long>(frames), static_cast<long long>(result.rendered),
                static_cast<long long>(result.written), static_cast<unsigned long long>(result.decodes),
                static_cast<long long>(result.inputFramesUsed), result.cacheFrames, result.deviceFrames,
                result.seconds, result.seconds > 0 ? static_cast<double>(result.written) / result.seconds : 0.0,
                result.decodeSeconds, result.renderSeconds, result.encodeSeconds,
                static_cast<unsigned long long>(result.uploads), static_cast<unsigned long long>(result.uploadBytes),
                static_cast<unsigned long long>(result.downloadBytes),
                static_cast<double>(result.uploadBytes) * perOutput, static_cast<double>(result.uploads) * perOutput);
    std::fflush(statsOut);
  }
  const std::string kept =
      result.written > 0
          ? "; " + job.outputText + " holds the " + std::to_string(result.written) + " frame" +
                (result.written == 1 ? "" : "s") + " done"
          : "; nothing was written";
  if (failure) {
    // A video file that could not be written whole is removed; PNG frames
    // already written stay.
    const bool keptFrames =
        failure->code() != kExitOutput || writer->format() == dshost::OutputFormat::PngSequence;
    throw CliError(failure->code(), failure->what() + (failedToFinish ? std::string()
                                                       : keptFrames   ? kept
                                                                      : std::string("; nothing was kept")));
  }
  if (result.interrupted) {
    std::fprintf(stderr, "driftsmear: %s after %lld of %lld frames%s\n",
                 InterruptExitCode() == kExitTerminated ? "stopped (SIGTERM)" : "interrupted",
                 static_cast<long long>(result.written), static_cast<long long>(frames), kept.c_str());
    return InterruptExitCode();
  }
  if (!options.quiet) {
    std::fprintf(stderr, "driftsmear: wrote %lld frames in %s (%s fps)\n", static_cast<long long>(result.written),
                 FormatClock(result.seconds).c_str(),
                 FormatNumber(result.seconds > 0 ? static_cast<double>(result.written) / result.seconds : 0, 2)
                     .c_str());
  }
  if (printResult && !options.quiet && job.outputText != "-") {
    std::error_code error;
    const fs::path absolute = fs::absolute(job.output, error);
    std::printf("Result: %s\n", PathToUtf8(error ? job.output : absolute).c_str());
  }
  return kExitOk;
}

// The output choices of the command line: --format, --codec, --pix-fmt,
// --crf. Standard output ("-") needs --format.
void ApplyOutputOptions(const Options& options, Job& job) {
  if (options.format) {
    const auto format = dshost::parseOutputFormat(*options.format);
    if (!format || *format == dshost::OutputFormat::Auto) {
      throw CliError(kExitUsage, "--format takes mp4, mov, mkv, webm, nut or png, not '" + *options.format + "'");
    }
    job.writerOptions.format = *format;
  } else if (job.outputText == "-") {
    throw CliError(kExitUsage, "-o - writes to standard output: add --format mp4|mov|mkv|webm|nut");
  }
  job.writerOptions.codec = options.codec.value_or("");
  job.writerOptions.pixelFormat = options.pixFmt.value_or("");
  if (options.crf) {
    job.writerOptions.crf = *options.crf;
    job.writerOptions.h264Crf = *options.crf;
  }
}

// True when the output names one image file: it holds one frame.
bool IsSingleImage(const Job& job) {
  try {
    const dshost::OutputFormat format = job.writerOptions.format != dshost::OutputFormat::Auto
                                            ? job.writerOptions.format
                                            : dshost::outputFormatForPath(job.output);
    return format == dshost::OutputFormat::Image && !dshost::SequencePattern::looksLikePattern(job.output);
  } catch (const dshost::MediaError&) {
    return false;  // the writer says what is wrong with the name
  }
}

// Standard input copied to a temporary file, which the reader can measure and
// seek in as in any file; removed when done.
class SpooledInput {
 public:
  SpooledInput() {
    static const std::string name = "driftsmear-stdin-" + std::to_string(
#ifdef _WIN32
                                                             _getpid()
#else
                                                             getpid()
#endif
                                                         );
    path_ = fs::temp_directory_path() / name;
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    std::FILE* out = std::fopen(PathToUtf8(path_).c_str(), "wb");
    if (out == nullptr) {
      throw CliError(kExitInput, "cannot keep standard input in " + PathToUtf8(path_));
    }
    std::vector<char> buffer(1 << 20);
    bool ok = true;
    size_t got = 0;
    while ((got = std::fread(buffer.data(), 1, buffer.size(), stdin)) > 0) {
      ok = ok && std::fwrite(buffer.data(), 1, got, out) == got;
    }
    ok = ok && !std::ferror(stdin);
    ok = std::fclose(out) == 0 && ok;
    if (!ok) {
      Remove();
      throw CliError(kExitInput, "cannot read standard input into " + PathToUtf8(path_));
    }
  }
  ~SpooledInput() { Remove(); }
  SpooledInput(const SpooledInput&) = delete;
  SpooledInput& operator=(const SpooledInput&) = delete;
  const fs::path& path() const { return path_; }

 private:
  void Remove() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }
  fs::path path_;
};

// "24", "29.97" or "30000/1001".
dshost::Rational ParseFrameRate(const std::string& text) {
  const size_t slash = text.find('/');
  if (slash != std::string::npos) {
    const auto num = ParseNumber(text.substr(0, slash));
    const auto den = ParseNumber(text.substr(slash + 1));
    if (num && den && *num >= 1 && *den >= 1 && *num == std::floor(*num) && *den == std::floor(*den) &&
        *num <= 1e6 && *den <= 1e6) {
      return dshost::Rational{static_cast<int64_t>(*num), static_cast<int64_t>(*den)}.reduced();
    }
  } else if (const auto value = ParseNumber(text); value && *value > 0 && *value <= 1000) {
    // Three decimals are kept: 29.97 is 29970/1000.
    return dshost::Rational{std::llround(*value * 1000), 1000}.reduced();
  }
  throw CliError(kExitUsage, "--fps takes frames per second: 24, 29.97 or 30000/1001, not '" + text + "'");
}

int64_t ParseTimeOption(const char* option, const std::string& text, const dshost::MediaInfo& info) {
  const auto frames = ParseTimeToFrames(text, info.frameRate);
  if (!frames) {
    throw CliError(kExitUsage, std::string(option) + " '" + text +
                                   "' is not a time: use seconds (2.5), frames (60f) or a clock time (1:30)");
  }
  return *frames;
}

}  // namespace

int RunRender(const Options& options) {
  const EffectSettings settings = ResolveSettings(options.preset, options.sets, options.view);

  Job job;
  std::unique_ptr<SpooledInput> spooled;
  if (options.input == "-") {
    if (!dshost::mediaHasFfmpeg()) {
      throw CliError(kExitInput, "this build reads video only with FFmpeg and cannot read standard input");
    }
    spooled = std::make_unique<SpooledInput>();
  }
  const fs::path input = spooled ? spooled->path() : PathFromUtf8(options.input);
  std::unique_ptr<dshost::MediaReader> reader;
  try {
    dshost::ReaderOptions readerOptions;
    readerOptions.allowGaps = options.allowGaps;
    if (options.fps) {
      readerOptions.imageFrameRate = ParseFrameRate(*options.fps);
    }
    reader = std::make_unique<dshost::MediaReader>(input, readerOptions);
  } catch (const dshost::MediaError& error) {
    throw CliError(kExitInput, error.what());
  }
  if (options.fps && reader->info().kind == dshost::SourceKind::Video) {
    throw CliError(kExitUsage, "--fps sets the rate of an image sequence or image; " + options.input + " runs at " +
                                   FormatNumber(reader->info().frameRate.toDouble(), 3) + " fps");
  }
  if (!options.quiet) {
    for (const std::string& warning : reader->warnings()) {
      std::fprintf(stderr, "driftsmear: warning: %s%s\n", warning.c_str(),
                   options.allowGaps ? "" : " (--allow-gaps holds the last frame over gaps instead)");
    }
  }
  const dshost::MediaInfo& info = reader->info();
  if (info.frameCount <= 0 || info.width <= 0 || info.height <= 0) {
    throw CliError(kExitInput, options.input + ": no video frames");
  }

  job.firstFrame = options.start ? ParseTimeOption("--start", *options.start, info) : 0;
  if (job.firstFrame >= info.frameCount) {
    throw CliError(kExitUsage, "--start " + *options.start + " is past the end of " + options.input + " (" +
                                   std::to_string(info.frameCount) + " frames, " +
                                   FormatNumber(info.durationSeconds, 2) + " s)");
  }
  job.endFrame = info.frameCount;
  if (options.duration) {
    const int64_t frames = ParseTimeOption("--duration", *options.duration, info);
    if (frames <= 0) {
      throw CliError(kExitUsage, "--duration " + *options.duration + " is shorter than one frame");
    }
    job.endFrame = std::min(info.frameCount, job.firstFrame + frames);
  }

  job.output = PathFromUtf8(*options.output);
  job.outputText = *options.output;
  std::error_code error;
  if (fs::exists(job.output, error) && fs::equivalent(input, job.output, error)) {
    throw CliError(kExitOutput, *options.output + " is the input; choose another output name");
  }
  ApplyOutputOptions(options, job);
  if (IsSingleImage(job)) {
    // One image file holds one frame: the one at --start.
    job.endFrame = job.firstFrame + 1;
  }
  job.writerOptions.frameRate = info.frameRate;
  job.writerOptions.timeBase = info.timeBase;
  job.writerOptions.alpha = info.hasAlpha;
  job.writerOptions.overwrite = options.overwrite;
  if (info.hasAudio) {
    job.writerOptions.audioFrom = input;
    job.writerOptions.audioStartSeconds =
        static_cast<double>(job.firstFrame) * static_cast<double>(info.frameRate.den) /
        static_cast<double>(info.frameRate.num);
  }

  dshost::MediaReader* decoder = reader.get();
  job.source.name = options.input;
  job.source.info = info;
  job.source.decode = [decoder](int64_t index, dshost::ImageF& out) { decoder->readFrame(index, out); };
  return RenderJob(options, settings, job, false);
}

int RunDemo(const Options& options) {
  // Checked before the clip is made, like render's settings.
  ResolveSettings(options.preset, options.sets, options.view);
  dshost::SyntheticClipOptions clipOptions;
  clipOptions.width = options.width.value_or(1280);
  clipOptions.height = options.height.value_or(720);
  clipOptions.frameCount = options.frames.value_or(72);
  clipOptions.frameRate = dshost::Rational{24, 1};
  auto clip = std::make_shared<dshost::SyntheticClip>(clipOptions);

  Job job;
  job.source.name = "demo clip";
  job.source.info = clip->info();
  job.source.decode = [clip](int64_t index, dshost::ImageF& out) { clip->render(index, out); };
  job.firstFrame = 0;
  job.endFrame = clip->info().frameCount;
  // Without FFmpeg (the Windows build) the demo is a PNG sequence.
  job.outputText = options.output.value_or(dshost::mediaHasFfmpeg() ? "driftsmear-demo.mp4" : "driftsmear-demo/");
  job.output = PathFromUtf8(job.outputText);
  job.writerOptions.frameRate = clip->info().frameRate;
  job.writerOptions.alpha = false;
  job.writerOptions.overwrite = options.overwrite;
  ApplyOutputOptions(options, job);
  if (IsSingleImage(job)) {
    job.firstFrame = job.endFrame - 1;  // the last frame, where the smear has built up
  }
  return RenderJob(options, ResolveSettings(options.preset, options.sets, options.view), job, true);
}

}  // namespace driftsmear
