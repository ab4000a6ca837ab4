// printf-style names of numbered image files, as FFmpeg's image2 reads them:
// "frames/%04d.png" names frames/0000.png, frames/0001.png, ...; "%d" means no
// padding and "%%" a literal percent sign. The number may appear once, in the
// file name (not in the folder part).
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace dshost {

class SequencePattern {
 public:
  // True when the path's file name holds a %d / %0Nd conversion.
  static bool looksLikePattern(const std::filesystem::path& path);

  // Parses a pattern. Throws MediaError(InvalidArgument) for a malformed one
  // (two numbers, an unknown conversion such as %s).
  static SequencePattern parse(const std::filesystem::path& path);

  std::filesystem::path fileFor(std::int64_t number) const;

  // The number a file name stands for, or nothing when it does not fit the pattern.
  std::optional<std::int64_t> numberOf(const std::string& fileName) const;

  // Numbers of the files that exist in the pattern's folder, ascending.
  std::vector<std::int64_t> existingNumbers() const;

  // The first existing file and the length of the unbroken run from it (an
  // image sequence ends at its first gap, as in FFmpeg). Count 0 when none exist.
  struct Run {
    std::int64_t first = 0;
    std::int64_t count = 0;
    // Files beyond the first gap: how many, and the number of the last one.
    std::int64_t afterGap = 0;
    std::int64_t last = 0;
  };
  Run findRun() const;

  const std::filesystem::path& folder() const { return folder_; }
  const std::string& text() const { return text_; }

 private:
  std::filesystem::path folder_;
  std::string prefix_;
  std::string suffix_;
  int width_ = 0;  // minimum digits, zero-padded
  std::string text_;
};

}  // namespace dshost
