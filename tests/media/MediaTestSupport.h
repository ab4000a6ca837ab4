// Shared pieces of the media tests: a scratch folder per test, small generated
// clips, and helpers to write and inspect media files.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "common/TestSupport.h"
#include "host/media/MediaError.h"
#include "host/media/MediaReader.h"
#include "host/media/MediaWriter.h"
#include "host/media/SyntheticClip.h"

#define DS_REQUIRE_FFMPEG()                                                      \
  do {                                                                           \
    if (!::dshost::mediaHasFfmpeg()) GTEST_SKIP() << "this build has no FFmpeg"; \
  } while (0)

namespace dshost::testing {

// A fresh folder, removed with everything in it when the test ends.
class ScratchDir : public testsupport::ScopedTempDir {
 public:
  std::filesystem::path operator/(const std::string& name) const { return path() / name; }
};

inline SyntheticClipOptions smallClip(std::int64_t frames = 8, bool alpha = false, int width = 64, int height = 48) {
  return SyntheticClipOptions{width, height, frames, Rational{30, 1}, alpha};
}

// Writes every frame of a generated clip, finishes the file and returns the writer's warnings.
inline std::vector<std::string> writeClip(const SyntheticClip& clip, const std::filesystem::path& output,
                                          WriterOptions options = {}) {
  options.frameRate = clip.info().frameRate;
  MediaWriter writer(output, options);
  for (std::int64_t i = 0; i < clip.info().frameCount; ++i) writer.write(clip.frame(i));
  writer.finish();
  return writer.warnings();
}

// Runs the action, expects a MediaError with the given code and returns its message.
inline std::string mediaErrorOf(MediaErrc expected, const std::function<void()>& action) {
  try {
    action();
  } catch (const MediaError& e) {
    EXPECT_EQ(mediaErrcName(e.code()), std::string(mediaErrcName(expected))) << e.what();
    return e.what();
  }
  ADD_FAILURE() << "no MediaError";
  return {};
}

// Runs the action, expects a FrameDecodeError and returns its frame index and message.
inline std::pair<std::int64_t, std::string> frameErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const FrameDecodeError& e) {
    return {e.frameIndex(), e.what()};
  }
  ADD_FAILURE() << "no FrameDecodeError";
  return {-1, {}};
}

using testsupport::ReadFileBytes;

inline void writeFileBytes(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<std::string> filesIn(const std::filesystem::path& dir) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

// The ffmpeg command-line tool, used only to make inputs our writer cannot
// (clips with sound, MP4s with the index first).
inline bool haveFfmpegTool() {
#if defined(_WIN32)
  return false;
#else
  static const bool found = std::system("ffmpeg -hide_banner -version >/dev/null 2>&1") == 0;
  return found;
#endif
}

inline bool runFfmpegTool(const std::string& arguments) {
  return std::system(("ffmpeg -hide_banner -loglevel error -nostdin -y " + arguments + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace dshost::testing
