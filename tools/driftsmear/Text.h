// Small text helpers of the command line: suggestions for misspelt names,
// numbers and times as people type them, and column layout of UTF-8 text.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/media/TimeMapping.h"

namespace driftsmear {

// Levenshtein distance between two byte strings.
size_t EditDistance(std::string_view a, std::string_view b);

// The candidate nearest to `word` (case-insensitive), if it is near enough to
// be a plausible misspelling: at most a third of the word's length away, and
// at least 2 edits allowed.
std::optional<std::string> Closest(std::string_view word, const std::vector<std::string>& candidates);

// " (did you mean 'x'?)" for the closest candidate, or empty.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& candidates);

std::string Lower(std::string_view text);

// A finite decimal number taking the whole text; empty otherwise.
std::optional<double> ParseNumber(std::string_view text);

// A time on the command line: seconds ("2.5", "2.5s"), a frame count ("60f"),
// or a clock time ("1:30", "0:01:02.5"). Gives the number of frames at `rate`
// (a seconds value within a millionth of a frame of a frame boundary counts as
// that boundary). Empty for anything else or a negative time.
std::optional<int64_t> ParseTimeToFrames(std::string_view text, dshost::Rational rate);

// Columns the text takes on a terminal: CJK characters count two.
size_t DisplayWidth(std::string_view utf8);
// The text padded with spaces to `width` columns.
std::string PadRight(std::string_view utf8, size_t width);

// A number with at most `decimals` decimals and no trailing zeros ("12", "1.5").
std::string FormatNumber(double value, int decimals = 2);

// "1:05" or "1:02:03" for a duration in seconds.
std::string FormatClock(double seconds);

}  // namespace driftsmear
