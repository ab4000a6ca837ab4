// Shared test helpers: a temporary folder that stands in for TMPDIR, and the
// plug-in's log read back from it.
#pragma once
#include <filesystem>
#include <string>
#include <vector>

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

void SetEnv(const char* name, const std::string& value);
void UnsetEnv(const char* name);

}  // namespace testsupport
