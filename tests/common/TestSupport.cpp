#include "common/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "support/LogsController.h"

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

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : name_(name) {
  if (const char* old = std::getenv(name)) previous_ = old;
  SetEnv(name, value);
}

ScopedEnv::~ScopedEnv() { previous_ ? SetEnv(name_, *previous_) : UnsetEnv(name_); }

LogCapture::LogCapture() { EXPECT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), ""); }

float MaxDifference(const dshost::ImageF& a, const dshost::ImageF& b) {
  return MaxDifference(a, b, 0, 0, a.width, a.height);
}

float MaxDifference(const dshost::ImageF& a, const dshost::ImageF& b, int x0, int y0, int x1, int y1) {
  if (a.width != b.width || a.height != b.height || a.bgra.size() != b.bgra.size()) return INFINITY;
  float worst = 0.0f;
  for (int y = y0; y < y1; ++y) {
    for (int x = x0; x < x1; ++x) {
      for (int c = 0; c < 4; ++c) {
        const float d = std::fabs(a.pixel(x, y)[c] - b.pixel(x, y)[c]);
        if (!std::isfinite(d)) return INFINITY;
        worst = std::max(worst, d);
      }
    }
  }
  return worst;
}

int DifferingPixels(const dshost::ImageF& a, const dshost::ImageF& b, float tolerance) {
  int count = 0;
  for (size_t i = 0; i + 3 < a.bgra.size() && a.bgra.size() == b.bgra.size(); i += 4) {
    bool differs = false;
    for (size_t c = 0; c < 4; ++c) differs = differs || !(std::fabs(a.bgra[i + c] - b.bgra[i + c]) <= tolerance);
    count += differs ? 1 : 0;
  }
  return count;
}

std::string ReadFileBytes(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
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
