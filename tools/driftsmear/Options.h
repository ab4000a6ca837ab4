// The command line of driftsmear: commands, options and the help text.
#pragma once
#include <optional>
#include <string>
#include <vector>

namespace driftsmear {

enum class Command { Usage, Help, Version, Render, Demo, Info, Panel };

struct Options {
  Command command = Command::Help;
  std::string input;                  // render: the input file, sequence pattern or image
  std::optional<std::string> output;  // -o
  std::optional<std::string> preset;  // --preset NAME
  std::vector<std::string> sets;      // --set KEY=VALUE, in order
  std::optional<std::string> view;    // --view
  std::optional<std::string> host;    // --host ae|premiere
  std::optional<int> device;          // --device N
  int threads = 1;                    // --threads N: frames rendered at once
  std::optional<std::string> start;   // --start TIME
  std::optional<std::string> duration;  // --duration TIME
  std::optional<std::string> module;  // --module PATH
  bool half = false;                  // --half
  bool overwrite = false;             // -y
  bool quiet = false;                 // --quiet
  bool stats = false;                 // --stats: a machine-readable summary line
  std::optional<Command> helpTopic;   // COMMAND --help: that command's help
  bool internals = false;             // info --internals
  bool repeatable = false;            // --repeatable: the same pictures on every run
  bool allowGaps = false;             // --allow-gaps: hold the last frame over gaps in a sequence
  std::optional<std::string> format;  // --format: the output format by name (needed for -o -)
  std::optional<std::string> codec;   // --codec: any FFmpeg video encoder
  std::optional<std::string> pixFmt;  // --pix-fmt: the encoder's pixel format
  std::optional<int> crf;             // --crf: constant quality
  std::optional<std::string> fps;     // --fps: the frame rate of an image sequence or image
  // demo only, not in the help: a smaller generated clip (tests).
  std::optional<int> width;
  std::optional<int> height;
  std::optional<int> frames;
};

// Parses the arguments after the program name. Throws CliError(kExitUsage)
// with the mistake and, for a misspelt command or option, the closest one.
Options ParseCommandLine(const std::vector<std::string>& args);

// Everything, or one command's part.
std::string HelpText(std::optional<Command> topic = std::nullopt);
// The few lines bare 'driftsmear' prints.
std::string ShortUsage();

}  // namespace driftsmear
