#include "host/media/SequencePattern.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <string>

#include "host/media/MediaError.h"

namespace dshost {

namespace {

struct Conversion {
  std::size_t start = 0;  // index of '%'
  std::size_t end = 0;    // one past 'd'
  int width = 0;
};

// Finds the %d conversions of a file name; "%%" is skipped. Throws for a '%'
// followed by anything but digits and 'd'.
std::vector<Conversion> findConversions(const std::string& name, bool strict) {
  std::vector<Conversion> found;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] != '%') continue;
    if (i + 1 < name.size() && name[i + 1] == '%') {
      ++i;
      continue;
    }
    std::size_t j = i + 1;
    int width = 0;
    while (j < name.size() && std::isdigit(static_cast<unsigned char>(name[j]))) {
      width = std::min(width * 10 + (name[j] - '0'), 64);
      ++j;
    }
    if (j < name.size() && name[j] == 'd') {
      found.push_back(Conversion{i, j + 1, width});
      i = j;
    } else if (strict) {
      throw MediaError(MediaErrc::InvalidArgument,
                       "bad file-name pattern '" + name + "': only %d or %0Nd may follow '%' (write %% for a percent sign)");
    }
  }
  return found;
}

std::string unescapePercent(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    out += text[i];
    if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
  }
  return out;
}

}  // namespace

bool SequencePattern::looksLikePattern(const std::filesystem::path& path) {
  return !findConversions(path.filename().string(), false).empty();
}

SequencePattern SequencePattern::parse(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  const std::vector<Conversion> conversions = findConversions(name, true);
  if (conversions.size() != 1) {
    throw MediaError(MediaErrc::InvalidArgument,
                     "bad file-name pattern '" + path.string() + "': it needs exactly one %d or %0Nd");
  }
  SequencePattern pattern;
  pattern.folder_ = path.parent_path();
  pattern.prefix_ = unescapePercent(name.substr(0, conversions[0].start));
  pattern.suffix_ = unescapePercent(name.substr(conversions[0].end));
  pattern.width_ = conversions[0].width;
  pattern.text_ = path.string();
  return pattern;
}

std::filesystem::path SequencePattern::fileFor(std::int64_t number) const {
  // The name is appended piece by piece: sign, zero padding, digits. (The
  // magnitude is taken unsigned, so the most negative number has one too.)
  const std::uint64_t magnitude =
      number < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
  const std::string digits = std::to_string(magnitude);
  const std::size_t padding =
      static_cast<int>(digits.size()) < width_ ? static_cast<std::size_t>(width_) - digits.size() : 0;
  std::string name;
  name.reserve(prefix_.size() + 1 + padding + digits.size() + suffix_.size());
  name.append(prefix_);
  if (number < 0) name.push_back('-');
  name.append(padding, '0');
  name.append(digits);
  name.append(suffix_);
  return folder_ / name;
}

std::optional<std::int64_t> SequencePattern::numberOf(const std::string& fileName) const {
  if (fileName.size() <= prefix_.size() + suffix_.size()) return std::nullopt;
  if (fileName.compare(0, prefix_.size(), prefix_) != 0) return std::nullopt;
  if (fileName.compare(fileName.size() - suffix_.size(), suffix_.size(), suffix_) != 0) return std::nullopt;
  const std::string digits = fileName.substr(prefix_.size(), fileName.size() - prefix_.size() - suffix_.size());
  if (digits.empty() || digits.size() > 18) return std::nullopt;
  if (!std::all_of(digits.begin(), digits.end(), [](char c) { return std::isdigit(static_cast<unsigned char>(c)); })) {
    return std::nullopt;
  }
  const std::int64_t number = std::stoll(digits);
  // Only the exact spelling counts: with %04d, "12.png" and "00012.png" are other files.
  if (fileFor(number).filename().string() != fileName) return std::nullopt;
  return number;
}

std::vector<std::int64_t> SequencePattern::existingNumbers() const {
  std::vector<std::int64_t> numbers;
  std::error_code ec;
  const std::filesystem::path dir = folder_.empty() ? std::filesystem::path(".") : folder_;
  std::filesystem::directory_iterator it(dir, ec);
  if (ec) return numbers;
  for (const auto& entry : it) {
    if (!entry.is_regular_file(ec)) continue;
    if (auto n = numberOf(entry.path().filename().string())) numbers.push_back(*n);
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

SequencePattern::Run SequencePattern::findRun() const {
  const std::vector<std::int64_t> numbers = existingNumbers();
  Run run;
  if (numbers.empty()) return run;
  run.first = numbers.front();
  run.count = 1;
  for (std::size_t i = 1; i < numbers.size() && numbers[i] == run.first + run.count; ++i) ++run.count;
  run.afterGap = static_cast<std::int64_t>(numbers.size()) - run.count;
  run.last = numbers.back();
  return run;
}

}  // namespace dshost
