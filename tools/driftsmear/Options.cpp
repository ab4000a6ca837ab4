#include "tools/driftsmear/Options.h"

#include <cmath>

#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/SettingsFile.h"
#include "tools/driftsmear/Text.h"

namespace driftsmear {

namespace {

enum CommandBit : unsigned { kRender = 1, kDemo = 2, kInfo = 4, kPanel = 8 };

struct OptionRule {
  const char* name;  // as typed, with its dashes
  bool takesValue;
  unsigned commands;  // where it is allowed
};

// Every option; short forms are separate rows.
const OptionRule kOptions[] = {
    {"-o", true, kRender | kDemo | kPanel},
    {"--output", true, kRender | kDemo | kPanel},
    {"--preset", true, kRender | kDemo},
    {"--set", true, kRender | kDemo},
    {"--set-file", true, kRender | kDemo},
    {"--view", true, kRender | kDemo},
    {"--host", true, kRender | kDemo | kPanel},
    {"--device", true, kRender | kDemo | kPanel},
    {"--half", false, kRender | kDemo},
    {"--threads", true, kRender | kDemo},
    {"--start", true, kRender},
    {"--duration", true, kRender},
    {"-y", false, kRender | kDemo | kPanel},
    {"--yes", false, kRender | kDemo | kPanel},
    {"--quiet", false, kRender | kDemo | kInfo | kPanel},
    {"-q", false, kRender | kDemo | kInfo | kPanel},
    {"--stats", false, kRender | kDemo},
    {"--internals", false, kInfo},
    {"--repeatable", false, kRender | kDemo},
    {"--allow-gaps", false, kRender},
    {"--format", true, kRender | kDemo},
    {"--codec", true, kRender | kDemo},
    {"--pix-fmt", true, kRender | kDemo},
    {"--crf", true, kRender | kDemo},
    {"--fps", true, kRender},
    {"--module", true, kRender | kDemo | kInfo | kPanel},
    {"--width", true, kDemo},
    {"--height", true, kDemo},
    {"--frames", true, kDemo},
};

struct CommandEntry {
  const char* name;
  Command command;
  unsigned bit;
};

const CommandEntry kCommands[] = {
    {"render", Command::Render, kRender},
    {"demo", Command::Demo, kDemo},
    {"info", Command::Info, kInfo},
    {"panel", Command::Panel, kPanel},
};

// What driftsmear takes instead of an option people type from ffmpeg habit.
const char* FfmpegEquivalent(const std::string& option) {
  struct Habit {
    const char* ffmpeg;
    const char* instead;
  };
  static const Habit kHabits[] = {
      {"-i", "driftsmear takes the input without -i: driftsmear render INPUT -o OUTPUT"},
      {"-ss", "use --start TIME"},
      {"-t", "use --duration TIME"},
      {"-to", "use --duration TIME (a length, not an end time)"},
      {"-n", "driftsmear never overwrites without -y; leave -n out"},
      {"-hide_banner", "driftsmear prints no banner; -q prints nothing but errors"},
      {"--hide_banner", "driftsmear prints no banner; -q prints nothing but errors"},
      {"-loglevel", "use -q for errors only"},
      {"-v", "use -q for errors only"},
      {"-r", "use --fps (image sequences)"},
      {"-f", "use --format NAME"},
      {"-c:v", "use --codec NAME"},
      {"-vcodec", "use --codec NAME"},
      {"-crf", "use --crf N"},
      {"-pix_fmt", "use --pix-fmt NAME"},
      {"--pix_fmt", "use --pix-fmt NAME"},
      {"-vf", "driftsmear applies the effect only; --set KEY=VALUE sets its parameters"},
  };
  for (const Habit& habit : kHabits) {
    if (option == habit.ffmpeg) {
      return habit.instead;
    }
  }
  return nullptr;
}

[[noreturn]] void Usage(const std::string& message) {
  throw CliError(kExitUsage, message + "; see 'driftsmear --help'");
}

int ParseCount(const std::string& option, const std::string& text, int minimum, int maximum) {
  const auto value = ParseNumber(text);
  if (!value || *value != std::floor(*value) || *value < minimum || *value > maximum) {
    Usage(option + " takes a whole number from " + std::to_string(minimum) + " to " + std::to_string(maximum) +
          ", not '" + text + "'");
  }
  return static_cast<int>(*value);
}

}  // namespace

Options ParseCommandLine(const std::vector<std::string>& args) {
  Options options;
  if (args.empty()) {
    options.command = Command::Usage;
    return options;
  }
  const std::string& first = args[0];
  if (first == "--help" || first == "-h" || first == "help") {
    options.command = Command::Help;
    return options;
  }
  if (first == "--version") {
    options.command = Command::Version;
    return options;
  }
  unsigned bit = 0;
  std::vector<std::string> commandNames;
  for (const CommandEntry& entry : kCommands) {
    commandNames.emplace_back(entry.name);
    if (first == entry.name) {
      options.command = entry.command;
      bit = entry.bit;
    }
  }
  if (bit == 0) {
    Usage("unknown command '" + first + "'" + DidYouMean(first, commandNames));
  }

  std::vector<std::string> positional;
  bool optionsEnded = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
      positional.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (arg == "--help" || arg == "-h") {
      options.helpTopic = options.command;
      options.command = Command::Help;
      return options;
    }
    std::string name = arg;
    std::optional<std::string> inlineValue;
    if (const size_t equals = arg.find('='); arg.rfind("--", 0) == 0 && equals != std::string::npos) {
      name = arg.substr(0, equals);
      inlineValue = arg.substr(equals + 1);
    }
    const OptionRule* rule = nullptr;
    std::vector<std::string> allowed;
    for (const OptionRule& candidate : kOptions) {
      if ((candidate.commands & bit) != 0) {
        allowed.emplace_back(candidate.name);
        if (name == candidate.name) {
          rule = &candidate;
        }
      }
    }
    if (rule == nullptr) {
      if (const char* instead = FfmpegEquivalent(name)) {
        Usage("unknown option '" + name + "': " + instead);
      }
      for (const OptionRule& candidate : kOptions) {
        if (name == candidate.name) {
          Usage("option " + name + " does not apply to '" + first + "'");
        }
      }
      Usage("unknown option '" + name + "'" + DidYouMean(name, allowed));
    }
    std::string value;
    if (rule->takesValue) {
      if (inlineValue) {
        value = *inlineValue;
      } else if (i + 1 < args.size()) {
        value = args[++i];
      } else {
        Usage("option " + name + " needs a value");
      }
    } else if (inlineValue) {
      Usage("option " + name + " takes no value");
    }

    if (name == "-o" || name == "--output") {
      if (value.empty()) {
        Usage("option " + name + " needs a file name");
      }
      options.output = value;
    } else if (name == "--preset") {
      options.preset = value;
    } else if (name == "--set") {
      options.sets.push_back(value);
    } else if (name == "--set-file") {
      for (std::string& set : ReadSettingsFile(value)) options.sets.push_back(std::move(set));
    } else if (name == "--view") {
      options.view = value;
    } else if (name == "--host") {
      const std::string host = Lower(value);
      if (host != "ae" && host != "premiere") {
        Usage("--host takes 'ae' (After Effects) or 'premiere' (Premiere Pro), not '" + value + "'");
      }
      options.host = host;
    } else if (name == "--device") {
      options.device = ParseCount(name, value, 0, 255);
    } else if (name == "--half") {
      options.half = true;
    } else if (name == "--threads") {
      options.threads = ParseCount(name, value, 1, 64);
    } else if (name == "--start") {
      options.start = value;
    } else if (name == "--duration") {
      options.duration = value;
    } else if (name == "-y" || name == "--yes") {
      options.overwrite = true;
    } else if (name == "--quiet" || name == "-q") {
      options.quiet = true;
    } else if (name == "--stats") {
      options.stats = true;
    } else if (name == "--internals") {
      options.internals = true;
    } else if (name == "--repeatable") {
      options.repeatable = true;
    } else if (name == "--allow-gaps") {
      options.allowGaps = true;
    } else if (name == "--format") {
      options.format = Lower(value);
    } else if (name == "--codec") {
      options.codec = value;
    } else if (name == "--pix-fmt") {
      options.pixFmt = value;
    } else if (name == "--crf") {
      options.crf = ParseCount(name, value, 0, 63);
    } else if (name == "--fps") {
      options.fps = value;
    } else if (name == "--module") {
      options.module = value;
    } else if (name == "--width") {
      options.width = ParseCount(name, value, 16, 8192);
    } else if (name == "--height") {
      options.height = ParseCount(name, value, 16, 8192);
    } else if (name == "--frames") {
      options.frames = ParseCount(name, value, 1, 100000);
    }
  }

  if (options.command == Command::Render) {
    if (positional.empty()) {
      Usage("render needs an input file");
    }
    if (positional.size() > 1) {
      Usage("render takes one input, got '" + positional[0] + "' and '" + positional[1] + "'");
    }
    options.input = positional[0];
    if (!options.output) {
      Usage("render needs an output: -o FILE");
    }
  } else if (!positional.empty()) {
    Usage("unexpected argument '" + positional[0] + "'");
  }
  if (options.half && options.host.value_or("ae") != "premiere") {
    Usage("--half renders 16-bit half-float frames, which only Premiere Pro hands this effect; add --host premiere");
  }
  if (options.command == Command::Panel && !options.output) {
    Usage("panel needs an output: -o FILE.png");
  }
  return options;
}

namespace {

const char* const kUsage = R"(driftsmear - apply the Drift Smear effect to video files

Usage:
  driftsmear render INPUT -o OUTPUT [options]
  driftsmear demo [-o FILE] [-y] [--preset NAME] [--set KEY=VALUE] [--view VIEW]
  driftsmear info [--internals]
  driftsmear panel -o FILE.png
  driftsmear --help | --version

)";
const char* const kCommandsText = R"(Commands:
  render   Render INPUT (a video file, an image sequence such as frames/%04d.png,
           or one image) through the effect into OUTPUT.
  demo     Render a generated clip (moving, textured shapes, 3 s at 720p) with
           the default settings (or those given); default output
           driftsmear-demo.mp4. Prints where the result is.
  info     List the parameters (key, Chinese name, range, default), the
           presets, the debug views and the GPU devices; --internals adds the
           Disk IDs and the module's registration values.
  panel    Save the Effect Controls area as the effect draws it, as a PNG.

)";
const char* const kInputOutput = R"(Input and output:
  INPUT - reads standard input (a video), -o - writes standard output (with
  --format). Output formats, chosen by OUTPUT's name or --format:
  .mp4 H.264 | .mov ProRes 4444 (alpha) | .mkv FFV1 lossless (alpha)
  .webm VP9 | .nut FFV1 (for pipes)
  a %d pattern (out/%04d.png) or a folder ending in / : 16-bit PNG sequence
  a %d pattern of .jpg, .exr (float), .tif, .webp: an image sequence
  one image (still.png, still.jpg, still.exr): the frame at --start
  Audio of the input is copied through.

)";
const char* const kRenderOptions = R"(Render options:
  -o, --output FILE     where to write (required)
  --preset NAME         start from a preset: default, fine, strong, stutter,
                        slow-motion (or the menu text in English or Chinese)
  --set KEY=VALUE       set a parameter after the preset; repeatable. Keys
                        (or the Chinese names) and ranges: 'driftsmear info'.
                        Angles in degrees, premultiplied=on|off
  --set KEY=V@T,V@T,... animate it: keyframes at times T (as --start takes
                        them, on the input's timeline), linear in between,
                        e.g. --set trail=0@0s,100@2s
  --set-file FILE       the same from a JSON file: {"frames": 12,
                        "trail": {"0s": 0, "2s": 100}}
  --view VIEW           result (default), motion, displace, flowmag, shift
  --host ae|premiere    drive the effect as After Effects (default) or
                        through Premiere Pro's GPU filter
  --device N            GPU device index from 'driftsmear info' (default:
                        the first CUDA device, else the first OpenCL GPU,
                        else device 0)
  --half                render with 16-bit half floats on the GPU (with
                        --host premiere: After Effects renders 32-bit only)
  --threads N           render N frames at once, each on a render thread of
                        its own sharing the device (default 1)
  --start TIME          first frame to render (default: the start)
  --duration TIME       how much to render (default: to the end)
                        TIME: seconds (2.5 or 2.5s), frames (60f) or a
                        clock time (1:30, 0:01:02.5)
  --format NAME         mp4, mov, mkv, webm, nut or png, whatever the name
  --codec NAME          any FFmpeg video encoder ('ffmpeg -encoders')
  --pix-fmt NAME        the encoder's pixel format ('ffmpeg -pix_fmts')
  --crf N               constant quality for encoders that take it (H.264
                        default 18; lower is better)
  --fps RATE            frame rate of an image sequence or image (default
                        25): 24, 29.97 or 30000/1001
  --allow-gaps          an image sequence with missing files runs to its
                        last file, each missing frame holding the one before
                        (default: it ends at the first gap, with a warning)
  -y, --yes             overwrite an existing output
  -q, --quiet           print nothing but errors
  --stats               print a summary line (frames, decodes, uploads, bytes
                        moved to and from the device, fps) at the end
  --repeatable          the same pictures on every run: one device thread on
                        PoCL (the effect composites in place, so parallel
                        work-groups may race); refused where not guaranteed
  --module PATH         the plug-in module (default: $DRIFTSMEAR_MODULE, then
                        the module beside this program, then the one built
                        with it)

)";
const char* const kDebugViews = R"(Debug views (--view): each shows the last of the effect's passes, which
compares the current frame with the picture the earlier passes left.
  result    the smeared picture
  motion    the optical flow as colour: olive where nothing moves, green
            rightwards, red leftwards, yellow downwards, blue upwards
  displace  where each pixel is sampled from: red and green are the x and y
            of the displaced point, its offset magnified 1000 times (a smooth
            red-green ramp where nothing moves)
  flowmag   the flow's magnitude as grey, black where nothing moves
  shift     the red/blue split, magnified 1000 times: red is its horizontal,
            green its vertical part (black: no split)

)";
const char* const kOtherCommands = R"(demo takes -o, -y, --quiet, --stats, --host, --device, --threads, --module and the
settings options (--preset, --set, --view); panel takes -o, -y, --host,
--device and --module.

)";
const char* const kEnvironment = R"(Environment: DRIFTSMEAR_MODULE names the module. DRIFTSMEAR_CACHE_MB (default
4096) caps the memory of the input frames the renderer keeps: frames kept on
the device between output frames (After Effects host) plus decoded frames
waiting in memory. A render needs frames x 16 bytes per pixel (4K, frames=10:
about 1.5 GB) to upload each input frame once; below that, frames far back
are decoded and uploaded again. The output frame, the effect's working frame
and the encoder's buffers come on top of the cap.

)";
const char* const kBehaviour = R"(Progress goes to standard error: one updating line on a terminal, a line
every tenth of the work otherwise. Ctrl-C (or SIGTERM) stops after the frame
in hand and finishes the output with the frames done; a second one quits at
once. Files are written under a temporary name of their own beside the output
and take the output's name only when complete; an output that appears while
rendering is never replaced without -y. A write that fails (disk full) stops
the render at that frame.

)";
const char* const kExitCodes = R"(Exit codes:
  0    success
  1    usage: unknown command, option, key or preset; value out of range
  2    input: missing, unreadable, unsupported, or a frame that cannot be
       decoded (the output keeps the frames rendered before it)
  3    output: exists (use -y), unsupported name, or writing failed
  4    device: no OpenCL or CUDA device, or the device cannot be used
  5    module: the plug-in module cannot be loaded or set up
  6    render: the effect failed a frame (the output keeps the frames before it)
  130  interrupted by Ctrl-C (the output holds the frames done)
  143  stopped by SIGTERM (the output holds the frames done)
)";

}  // namespace

std::string ShortUsage() {
  return std::string(kUsage) +
         "'driftsmear --help' explains everything; 'driftsmear COMMAND --help' one command.\n";
}

std::string HelpText(std::optional<Command> topic) {
  const std::string usage(kUsage);
  if (!topic) {
    return usage + kCommandsText + kInputOutput + kRenderOptions + kDebugViews + kOtherCommands + kEnvironment +
           kBehaviour + kExitCodes;
  }
  switch (*topic) {
    case Command::Render:
      return "driftsmear render INPUT -o OUTPUT [options]\n\nRender INPUT (a video file, an image sequence such as "
             "frames/%04d.png, or one\nimage) through the effect into OUTPUT.\n\n" +
             std::string(kInputOutput) + kRenderOptions + kDebugViews + kEnvironment + kBehaviour + kExitCodes;
    case Command::Demo:
      return "driftsmear demo [-o FILE] [options]\n\nRender a generated clip (moving, textured shapes, 3 s at "
             "720p) with the default\nsettings (or those given); default output driftsmear-demo.mp4. Prints where "
             "the\nresult is. Takes -o, -y, -q, --stats, --host, --device, --threads, --module,\n--format, --codec, "
             "--pix-fmt, --crf and the settings options (--preset,\n--set, --set-file, --view), as render does.\n\n" +
             std::string(kDebugViews) + kExitCodes;
    case Command::Info:
      return "driftsmear info [--internals]\n\nLists the parameters (key, Chinese name, range, default), the "
             "presets with the\nvalues they set, the debug views and the GPU devices. --internals adds what\nthe "
             "host sees: Disk IDs and the module's registration values.\n";
    case Command::Panel:
      return "driftsmear panel -o FILE.png [-y] [--host ae|premiere] [--device N] [--module PATH]\n\nSaves the "
             "Effect Controls area as the effect draws it, as a PNG (after one\nsmall render on the device, so it "
             "shows the GPU line).\n";
    default:
      return HelpText(std::nullopt);
  }
}

}  // namespace driftsmear
