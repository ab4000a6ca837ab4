#include "common/TestSupport.h"

#include <atomic>
#include <cstdlib>
#include <fstream>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace testsupport {

void SetEnv(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

void UnsetEnv(const char* name) {
#ifdef _WIN32
  _putenv_s(name, "");
#else
  unsetenv(name);
#endif
}

ScopedTempDir::ScopedTempDir() {
  static std::atomic<int> counter{0};
  const auto base = std::filesystem::temp_directory_path();
  path_ = base / ("driftsmear-test-" + std::to_string(
#ifdef _WIN32
                                           ::_getpid()
#else
                                           ::getpid()
#endif
                                           ) +
                  "-" + std::to_string(counter++));
  std::filesystem::remove_all(path_);
  std::filesystem::create_directories(path_);
  if (const char* previous = std::getenv("TMPDIR")) {
    previous_ = previous;
    hadPrevious_ = true;
  }
  SetEnv("TMPDIR", path_.string());
#ifdef _WIN32
  if (const char* tmp = std::getenv("TMP")) {
    previousTmp_ = tmp;
  }
  if (const char* temp = std::getenv("TEMP")) {
    previousTemp_ = temp;
  }
  SetEnv("TMP", path_.string());
  SetEnv("TEMP", path_.string());
#endif
}

ScopedTempDir::~ScopedTempDir() {
  if (hadPrevious_) {
    SetEnv("TMPDIR", previous_);
  } else {
    UnsetEnv("TMPDIR");
  }
#ifdef _WIN32
  SetEnv("TMP", previousTmp_);
  SetEnv("TEMP", previousTemp_);
#endif
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path LogFilePath(const std::filesystem::path& tempDir) {
  return tempDir / "Quarnbrook Graphics" / "com.qrn.driftsmear.log";
}

std::vector<std::string> ReadLines(const std::filesystem::path& file) {
  std::vector<std::string> lines;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> LinesContaining(const std::vector<std::string>& lines, const std::string& text) {
  std::vector<std::string> found;
  for (const auto& line : lines) {
    if (line.find(text) != std::string::npos) {
      found.push_back(line);
    }
  }
  return found;
}

}  // namespace testsupport
