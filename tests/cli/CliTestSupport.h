// Shared pieces of the command-line tests: the built driftsmear program run
// as a child process, a scratch folder, the generated test clip, and readers
// for what the program wrote.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/RequireDevice.h"
#include "common/TestSupport.h"
#include "host/media/Image.h"
#include "host/media/MediaInfo.h"
#include "host/media/MediaReader.h"
#include "host/media/MediaWriter.h"

namespace clitest {

namespace fs = std::filesystem;

// What one run of the program gave.
struct RunResult {
  int exitCode = -1;
  std::string out;  // standard output
  std::string err;  // standard error
  std::string Describe() const;  // for failure messages
};

// Runs driftsmear with these arguments (and extra environment variables) and
// waits for it. Output goes to files, so nothing blocks on a pipe.
RunResult RunCli(const std::vector<std::string>& args, const std::map<std::string, std::string>& env = {});

#ifndef _WIN32
// Runs several driftsmear commands at the same time and waits for all.
std::vector<RunResult> RunCliTogether(const std::vector<std::vector<std::string>>& runs);
// Runs driftsmear with the files it writes limited to `kilobytes` each (a
// full disk, as the program sees it).
RunResult RunCliWithFileLimit(const std::vector<std::string>& args, int kilobytes);
// Runs "BEFORE | driftsmear ARGS | AFTER" in the shell: `out` is what AFTER
// printed, `err` what driftsmear printed, the exit code driftsmear's.
RunResult RunCliPiped(const std::string& before, const std::vector<std::string>& args, const std::string& after);
#endif

// A fresh folder, removed with everything in it when the test ends.
class Scratch {
 public:
  Scratch();
  ~Scratch();
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  fs::path operator/(const std::string& name) const { return path_ / name; }
  const fs::path& path() const { return path_; }
  // The names of everything in the folder, sorted.
  std::vector<std::string> Listing() const;

 private:
  fs::path path_;
};

// The test clip: 12 frames of 64x48 at 12 fps. The left part (x < kStillWidth)
// is a still texture; on the right a textured square moves 3 pixels a frame
// across a flat background.
inline constexpr int kClipWidth = 64;
inline constexpr int kClipHeight = 48;
inline constexpr int kClipFrames = 12;
inline constexpr int kStillWidth = 24;
dshost::ImageF ClipFrame(int index);

// The clip as FFV1 in Matroska with an AAC track of one second (made with the
// ffmpeg program), or empty with the reason it cannot be made here.
std::optional<fs::path> MakeClipWithAudio(const fs::path& folder, std::string* reason);
// The clip as an 8-bit PNG sequence "<folder>/in_%02d.png".
fs::path MakeClipSequence(const fs::path& folder, int frames = kClipFrames);
// A clip of random pixels that compresses badly (FFV1 in Matroska), for
// outputs that must grow large.
fs::path MakeNoiseClip(const fs::path& folder, int width, int height, int frames);

// A lossless output in the folder: "<stem>.mkv" (FFV1), or "<stem>_%02d.png"
// in a build without FFmpeg.
fs::path LosslessOutput(const fs::path& folder, const std::string& stem);

// Every frame of a file or sequence, read with the media layer.
std::vector<dshost::ImageF> ReadAll(const fs::path& input);
dshost::MediaInfo InfoOf(const fs::path& input);

using testsupport::DifferingPixels;
using testsupport::MaxDifference;

// The value of "key=" in a --stats line, or -1.
int64_t StatValue(const std::string& output, const std::string& key);

// True when the program finds a GPU device; tests that render skip otherwise.
bool HaveDevice(std::string* reason);

}  // namespace clitest

#define CLI_REQUIRE_DEVICE()                                \
  do {                                                      \
    std::string cliDeviceReason;                            \
    if (!::clitest::HaveDevice(&cliDeviceReason)) {         \
      DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << cliDeviceReason; \
    }                                                       \
  } while (0)

#define CLI_REQUIRE_FFMPEG()                                                          \
  do {                                                                                \
    if (!::dshost::mediaHasFfmpeg()) GTEST_SKIP() << "this build reads no video files"; \
  } while (0)
