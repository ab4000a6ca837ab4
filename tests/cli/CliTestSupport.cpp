#include "cli/CliTestSupport.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>

#include "common/TestSupport.h"
#include "host/media/MediaReader.h"
#include "host/media/MediaWriter.h"

#ifdef _WIN32
#include <process.h>
#include <windows.h>
#define CLI_TEST_PID _getpid()
#else
#include <sys/wait.h>
#include <unistd.h>
#define CLI_TEST_PID getpid()
#endif

namespace clitest {

namespace {

// The effect composites each pass over its output in place, reading
// neighbours other work-groups may be writing, so a device that runs
// work-groups side by side gives renders that differ in a few pixels. PoCL
// with one thread runs them in a fixed order; the children inherit this, so
// renders compare exactly there (Wine's children do not see it: tests that
// compare two renders allow for a few racing pixels).
const bool kSerialPoCL = [] {
  testsupport::SetEnv("POCL_MAX_PTHREAD_COUNT", "1");
  return true;
}();

std::string Quote(const std::string& text) {
#ifdef _WIN32
  return "\"" + text + "\"";
#else
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
#endif
}

// Runs a shell command line; the exit code (128 + signal for a signal).
int System(const std::string& command) {
#ifdef _WIN32
  // cmd /c strips one pair of quotes around the whole line. The line goes
  // through the wide call so that UTF-8 arguments (Chinese preset names)
  // arrive as the user would type them.
  const std::string line = "\"" + command + "\"";
  std::wstring wide(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, line.c_str(), -1, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, line.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
  return _wsystem(wide.c_str());
#else
  const int status = std::system(command.c_str());
  if (status == -1) return -1;
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
#endif
}

fs::path RunFolder() {
  static const fs::path folder = [] {
    const fs::path f = fs::temp_directory_path() / ("driftsmear-cli-runs-" + std::to_string(CLI_TEST_PID));
    fs::create_directories(f);
    return f;
  }();
  return folder;
}

// 0..255 texture values for the still part; different per channel.
float Texture(int x, int y, int channel) {
  const int value = (x * 37 + y * 91 + ((x * y + channel * 5) % 13) * 11 + channel * 60) % 190 + 40;
  return static_cast<float>(value) / 255.0f;
}

// Writes the frames, 12 a second without alpha (and with the audio of
// `audioFrom`, if any), and returns the path.
fs::path WriteFrames(const fs::path& path, int frames, const std::function<dshost::ImageF(int)>& frame,
                     const fs::path& audioFrom = {}) {
  dshost::WriterOptions options;
  options.frameRate = dshost::Rational{12, 1};
  options.alpha = false;
  options.audioFrom = audioFrom;
  dshost::MediaWriter writer(path, options);
  for (int i = 0; i < frames; ++i) writer.write(frame(i));
  writer.finish();
  return path;
}

}  // namespace

std::string RunResult::Describe() const {
  return "exit code " + std::to_string(exitCode) + "\n--- stdout ---\n" + out + "--- stderr ---\n" + err;
}

namespace {

// Where one run's output goes, read back and removed by Collect().
struct RunFiles {
  fs::path out, err, code;
  RunFiles() {
    static std::atomic<int> counter{0};
    const std::string run = std::to_string(counter++);
    out = RunFolder() / ("out" + run + ".txt");
    err = RunFolder() / ("err" + run + ".txt");
    code = RunFolder() / ("code" + run + ".txt");
  }
  // The program's command line with its streams redirected to the files.
  std::string Command(const std::vector<std::string>& args) const {
    std::string command = Quote(DRIFTSMEAR_CLI_PATH);
    for (const std::string& arg : args) command += " " + Quote(arg);
    return command + " <" +
           Quote(
#ifdef _WIN32
               "NUL"
#else
               "/dev/null"
#endif
               ) +
           " >" + Quote(out.string()) + " 2>" + Quote(err.string());
  }
  RunResult Collect(int exitCode) const {
    RunResult result;
    result.exitCode = exitCode;
    result.out = testsupport::ReadFileBytes(out);
    result.err = testsupport::ReadFileBytes(err);
    std::error_code ignored;
    fs::remove(out, ignored);
    fs::remove(err, ignored);
    fs::remove(code, ignored);
    return result;
  }
};

}  // namespace

#ifndef _WIN32
std::vector<RunResult> RunCliTogether(const std::vector<std::vector<std::string>>& runs) {
  std::vector<RunFiles> files(runs.size());
  std::string command;
  for (size_t i = 0; i < runs.size(); ++i) {
    command += "(" + files[i].Command(runs[i]) + "; echo $? >" + Quote(files[i].code.string()) + ") & ";
  }
  System(command + "wait");
  std::vector<RunResult> results;
  for (const RunFiles& run : files) {
    results.push_back(run.Collect(std::atoi(testsupport::ReadFileBytes(run.code).c_str())));
  }
  return results;
}

RunResult RunCliPiped(const std::string& before, const std::vector<std::string>& args, const std::string& after) {
  const RunFiles files;
  std::string command = Quote(DRIFTSMEAR_CLI_PATH);
  for (const std::string& arg : args) command += " " + Quote(arg);
  System(before + " | { " + command + " 2>" + Quote(files.err.string()) + "; echo $? >" + Quote(files.code.string()) +
         "; } | " + after + " >" + Quote(files.out.string()));
  return files.Collect(std::atoi(testsupport::ReadFileBytes(files.code).c_str()));
}

RunResult RunCliWithFileLimit(const std::vector<std::string>& args, int kilobytes) {
  const RunFiles files;
  // sh counts the limit in blocks of 512 bytes.
  return files.Collect(System("ulimit -f " + std::to_string(kilobytes * 2) + " && " + files.Command(args)));
}
#endif

RunResult RunCli(const std::vector<std::string>& args, const std::map<std::string, std::string>& env) {
  const RunFiles files;
  std::vector<std::unique_ptr<testsupport::ScopedEnv>> environment;
  for (const auto& [name, value] : env) {
    environment.push_back(std::make_unique<testsupport::ScopedEnv>(name.c_str(), value));
  }
  return files.Collect(System(files.Command(args)));
}

Scratch::Scratch() {
  static std::atomic<int> counter{0};
  path_ = fs::temp_directory_path() /
          ("driftsmear-cli-" + std::to_string(CLI_TEST_PID) + "-" + std::to_string(counter++));
  fs::remove_all(path_);
  fs::create_directories(path_);
}

Scratch::~Scratch() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::vector<std::string> Scratch::Listing() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(path_)) {
    names.push_back(fs::relative(entry.path(), path_).generic_string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

dshost::ImageF ClipFrame(int index) {
  dshost::ImageF frame = dshost::makeImage(kClipWidth, kClipHeight, 0.5f, 0.5f, 0.5f, 1.0f);
  for (int y = 0; y < kClipHeight; ++y) {
    for (int x = 0; x < kStillWidth; ++x) {
      float* p = frame.pixel(x, y);
      for (int c = 0; c < 3; ++c) p[c] = Texture(x, y, c);
    }
  }
  // A 10x10 checkered square, 2 pixels further right each frame.
  const int left = 30 + 2 * index;
  for (int y = 18; y < 28; ++y) {
    for (int x = left; x < std::min(left + 10, kClipWidth); ++x) {
      float* p = frame.pixel(x, y);
      const bool light = ((x - left) / 2 + (y - 18) / 2) % 2 == 0;
      p[0] = light ? 1.0f : 0.0f;
      p[1] = light ? 200.0f / 255.0f : 20.0f / 255.0f;
      p[2] = light ? 40.0f / 255.0f : 1.0f;
    }
  }
  return frame;
}

std::optional<fs::path> MakeClipWithAudio(const fs::path& folder, std::string* reason) {
  if (!dshost::mediaHasFfmpeg()) {
    *reason = "this build reads no video files";
    return std::nullopt;
  }
  const fs::path tone = folder / "tone.m4a";
  const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=frequency=440:duration=1 -c:a aac " +
                              Quote(tone.string());
  if (System(command) != 0 || !fs::exists(tone)) {
    *reason = "the ffmpeg program, which makes the test clip's audio, is not installed";
    return std::nullopt;
  }
  const fs::path clip = WriteFrames(folder / "clip.mkv", kClipFrames, ClipFrame, tone);
  fs::remove(tone);
  return clip;
}

fs::path MakeClipSequence(const fs::path& folder, int frames) {
  return WriteFrames(folder / "in_%02d.png", frames, ClipFrame);
}

fs::path MakeNoiseClip(const fs::path& folder, int width, int height, int frames) {
  uint32_t state = 12345;
  return WriteFrames(folder / "noise.mkv", frames, [&](int) {
    dshost::ImageF frame = dshost::makeImage(width, height);
    for (size_t p = 0; p < frame.bgra.size(); p += 4) {
      for (int c = 0; c < 3; ++c) {
        state = state * 1664525u + 1013904223u;
        frame.bgra[p + c] = static_cast<float>(state >> 24) / 255.0f;
      }
    }
    return frame;
  });
}

fs::path LosslessOutput(const fs::path& folder, const std::string& stem) {
  return dshost::mediaHasFfmpeg() ? folder / (stem + ".mkv") : folder / (stem + "_%02d.png");
}

std::vector<dshost::ImageF> ReadAll(const fs::path& input) {
  dshost::MediaReader reader(input);
  std::vector<dshost::ImageF> frames;
  for (int64_t i = 0; i < reader.info().frameCount; ++i) frames.push_back(reader.readFrame(i));
  return frames;
}

dshost::MediaInfo InfoOf(const fs::path& input) { return dshost::MediaReader(input).info(); }

int64_t StatValue(const std::string& output, const std::string& key) {
  const size_t line = output.find("stats:");
  if (line == std::string::npos) return -1;
  const size_t at = output.find(" " + key + "=", line);
  if (at == std::string::npos) return -1;
  return std::atoll(output.c_str() + at + key.size() + 2);
}

bool HaveDevice(std::string* reason) {
  static const RunResult info = RunCli({"info"});
  if (info.exitCode != 0) {
    *reason = "driftsmear info failed: " + info.Describe();
    return false;
  }
  if (info.out.find("GPU devices (--device N):\n  none:") != std::string::npos) {
    *reason = "no OpenCL or CUDA device";
    return false;
  }
  return true;
}

}  // namespace clitest
