// Shared test helpers: a temporary folder that stands in for TMPDIR, the
// plug-in's log read back from it, files and environment variables.
#pragma once
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/media/Image.h"

namespace testsupport {

// Creates a fresh folder and points TMPDIR at it for the object's lifetime.
class ScopedTempDir {
 public:
  ScopedTempDir();
  ~ScopedTempDir();
  ScopedTempDir(const ScopedTempDir&) = delete;
  ScopedTempDir& operator=(const ScopedTempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::string previous_;
  bool hadPrevious_ = false;
#ifdef _WIN32
  // GetTempPathA reads TMP and TEMP; both are restored afterwards.
  std::string previousTmp_;
  std::string previousTemp_;
#endif
};

// Where the plug-in writes its log under the given temporary folder.
std::filesystem::path LogFilePath(const std::filesystem::path& tempDir);

// The lines of a text file; empty when it does not exist.
std::vector<std::string> ReadLines(const std::filesystem::path& file);

// The lines that contain the text.
std::vector<std::string> LinesContaining(const std::vector<std::string>& lines, const std::string& text);

// The largest difference of any channel of two images, inside the rectangle
// [x0, x1) x [y0, y1) when one is given; infinity when the sizes differ or a
// difference is not finite.
float MaxDifference(const dshost::ImageF& a, const dshost::ImageF& b);
float MaxDifference(const dshost::ImageF& a, const dshost::ImageF& b, int x0, int y0, int x1, int y1);
// Pixels of two images of one size with a channel that differs by more than
// `tolerance` (or is not finite in one of them).
int DifferingPixels(const dshost::ImageF& a, const dshost::ImageF& b, float tolerance = 1e-3f);

// The whole content of a file; empty when it cannot be read.
std::string ReadFileBytes(const std::filesystem::path& file);

void SetEnv(const char* name, const std::string& value);
void UnsetEnv(const char* name);

// Sets an environment variable for the object's lifetime.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  std::optional<std::string> previous_;
};

// The plug-in's log started afresh under a temporary folder of its own.
class LogCapture {
 public:
  LogCapture();
  std::vector<std::string> Lines() const { return ReadLines(LogFilePath(temp_.path())); }
  // The error lines written from this source file ("DriftSmear.cpp"), or all.
  std::vector<std::string> Errors(const std::string& sourceFile = "") const {
    return LinesContaining(Lines(), "ERROR [" + sourceFile);
  }
  const std::filesystem::path& folder() const { return temp_.path(); }

 private:
  ScopedTempDir temp_;
};

}  // namespace testsupport
