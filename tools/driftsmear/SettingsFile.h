// --set-file: parameter values and keyframes in a JSON file, the same
// settings --set takes on the command line:
//
//   { "frames": 12,
//     "premultiplied": "off",
//     "trail": { "0s": 0, "2s": 100 },     <- keyframes: time -> value
//     "色差": 80 }
//
// Keys are the command line's keys or the effect's Chinese names; times take
// the forms of --start.
#pragma once
#include <string>
#include <vector>

namespace driftsmear {

// The file's settings as --set texts ("trail=0@0s,100@2s"), in the file's
// order. Throws CliError: kExitInput when the file cannot be read,
// kExitUsage when it is not such a JSON object (with the line).
std::vector<std::string> ReadSettingsFile(const std::string& path);

// The same for JSON text; `name` is used in messages.
std::vector<std::string> ParseSettingsJson(const std::string& text, const std::string& name);

}  // namespace driftsmear
