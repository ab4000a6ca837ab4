#include "tools/driftsmear/Text.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace driftsmear {

size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) {
    row[j] = j;
  }
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return lower;
}

std::optional<std::string> Closest(std::string_view word, const std::vector<std::string>& candidates) {
  const std::string lowerWord = Lower(word);
  std::optional<std::string> best;
  size_t bestDistance = std::numeric_limits<size_t>::max();
  for (const std::string& candidate : candidates) {
    const size_t distance = EditDistance(lowerWord, Lower(candidate));
    if (distance < bestDistance) {
      bestDistance = distance;
      best = candidate;
    }
  }
  const size_t allowed = std::max<size_t>(2, word.size() / 3);
  if (!best || bestDistance > allowed) {
    return std::nullopt;
  }
  return best;
}

std::string DidYouMean(std::string_view word, const std::vector<std::string>& candidates) {
  const auto closest = Closest(word, candidates);
  return closest ? " (did you mean '" + *closest + "'?)" : std::string();
}

std::optional<double> ParseNumber(std::string_view text) {
  if (text.empty() || text.size() > 64 || std::isspace(static_cast<unsigned char>(text.front()))) {
    return std::nullopt;
  }
  const std::string copy(text);
  char* end = nullptr;
  const double value = std::strtod(copy.c_str(), &end);
  if (end != copy.c_str() + copy.size() || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

std::optional<int64_t> ParseTimeToFrames(std::string_view text, dshost::Rational rate) {
  if (text.empty() || !rate.valid()) {
    return std::nullopt;
  }
  const dshost::TimeMapping mapping(rate);
  if (text.back() == 'f' || text.back() == 'F') {
    const auto frames = ParseNumber(text.substr(0, text.size() - 1));
    if (!frames || *frames < 0 || *frames != std::floor(*frames) || *frames > 1e12) {
      return std::nullopt;
    }
    return static_cast<int64_t>(*frames);
  }
  double seconds = 0.0;
  if (text.find(':') != std::string_view::npos) {
    // [[h:]m:]s, the seconds possibly with decimals.
    size_t fields = 0;
    size_t start = 0;
    while (true) {
      const size_t colon = text.find(':', start);
      const std::string_view field = text.substr(start, colon == std::string_view::npos ? colon : colon - start);
      const auto value = ParseNumber(field);
      if (!value || *value < 0 || field.find_first_of("eE+-") != std::string_view::npos) {
        return std::nullopt;
      }
      if (colon != std::string_view::npos && *value != std::floor(*value)) {
        return std::nullopt;  // only the last field may have decimals
      }
      seconds = seconds * 60.0 + *value;
      ++fields;
      if (colon == std::string_view::npos) {
        break;
      }
      start = colon + 1;
    }
    if (fields > 3) {
      return std::nullopt;
    }
  } else {
    const std::string_view number = text.back() == 's' || text.back() == 'S' ? text.substr(0, text.size() - 1) : text;
    const auto value = ParseNumber(number);
    if (!value) {
      return std::nullopt;
    }
    seconds = *value;
  }
  if (seconds < 0 || seconds > 1e9) {
    return std::nullopt;
  }
  return mapping.frameAtSeconds(seconds);
}

size_t DisplayWidth(std::string_view utf8) {
  size_t width = 0;
  for (size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    size_t length = 1;
    if (lead >= 0xF0) {
      length = 4;
    } else if (lead >= 0xE0) {
      length = 3;
    } else if (lead >= 0xC0) {
      length = 2;
    }
    // Three-byte sequences from U+2E80 on (E2 BA 80) are the wide CJK range;
    // the ones before it (punctuation, arrows, U+FFFD aside) are narrow.
    bool wide = false;
    if (length == 3 && i + 2 < utf8.size()) {
      const auto second = static_cast<unsigned char>(utf8[i + 1]);
      wide = (lead >= 0xE3 && lead <= 0xE9) || (lead == 0xE2 && second >= 0xBA) || (lead == 0xEA) ||
             (lead == 0xEF && second >= 0xBC && second <= 0xBD);
    }
    width += wide ? 2 : 1;
    i += length;
  }
  return width;
}

std::string PadRight(std::string_view utf8, size_t width) {
  std::string padded(utf8);
  const size_t have = DisplayWidth(utf8);
  if (have < width) {
    padded.append(width - have, ' ');
  }
  return padded;
}

std::string FormatNumber(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f", std::clamp(decimals, 0, 6), value);
  std::string result(text);
  if (result.find('.') != std::string::npos) {
    while (result.back() == '0') {
      result.pop_back();
    }
    if (result.back() == '.') {
      result.pop_back();
    }
  }
  if (result == "-0") {
    result = "0";
  }
  return result;
}

std::string FormatClock(double seconds) {
  if (!std::isfinite(seconds) || seconds < 0) {
    seconds = 0;
  }
  const auto total = static_cast<long long>(std::llround(seconds));
  char text[32];
  if (total >= 3600) {
    std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", total / 3600, total / 60 % 60, total % 60);
  } else {
    std::snprintf(text, sizeof(text), "%lld:%02lld", total / 60, total % 60);
  }
  return text;
}

}  // namespace driftsmear
