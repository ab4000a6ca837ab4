// driftsmear's failures: each gives one line naming the problem and its
// documented exit code, and leaves nothing half-written behind. A render cut
// short (a damaged frame, Ctrl-C) keeps a playable file with the frames done.
#include <gtest/gtest.h>

#include <fstream>

#include "cli/CliTestSupport.h"

#ifndef _WIN32
#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace clitest;

namespace {

struct ErrorCase {
  const char* name;
  std::vector<std::string> args;
  int exitCode;
  std::string message;  // part of the error line
  bool needsDevice = false;
};

// The single error line on standard error.
std::string ErrorLine(const RunResult& result) {
  const size_t at = result.err.find("driftsmear: error: ");
  if (at == std::string::npos) return {};
  return result.err.substr(at, result.err.find('\n', at) - at);
}

}  // namespace

TEST(CliErrors, EachMistakeHasItsMessageAndExitCodeAndWritesNothing) {
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path(), 3);
  std::ofstream(dir / "junk.png", std::ios::binary) << "not a picture";
  std::ofstream(dir / "bad.json") << "{\n  \"trail\": [0, 100]\n}";
  const std::string output = LosslessOutput(dir.path(), "out").string();
  const std::vector<std::string> before = dir.Listing();
  const ErrorCase cases[] = {
      {"missing input", {"render", (dir / "none.png").string(), "-o", output}, 2, "image not found"},
      {"unreadable input", {"render", (dir / "junk.png").string(), "-o", output}, 2, "cannot read image"},
      {"unsupported output", {"render", input.string(), "-o", (dir / "out.avi").string()}, 3,
       "unsupported output format"},
      {"unknown key", {"render", input.string(), "-o", output, "--set", "framse=4"}, 1,
       "unknown parameter 'framse' (did you mean 'frames'?)"},
      {"out of range", {"render", input.string(), "-o", output, "--set", "frames=70"}, 1,
       "frames=70 is out of range: frames goes from 3 to 50"},
      {"below range", {"render", input.string(), "-o", output, "--set", "frame-offset=-101"}, 1,
       "frame-offset goes from -100 to 100"},
      {"not a number", {"render", input.string(), "-o", output, "--set", "amount=lots"}, 1, "amount takes a number"},
      {"not a value", {"render", input.string(), "-o", output, "--set", "about=1"}, 1, "has no value to set"},
      {"bad keyframe", {"render", input.string(), "-o", output, "--set", "trail=0@0s,5"}, 1,
       "keyframes are VALUE@TIME separated by commas, as in trail=0@0s,100@2s; '5' is not one"},
      {"bad keyframe time", {"render", input.string(), "-o", output, "--set", "trail=5@soon"}, 1,
       "trail=5@soon: 'soon' is not a time"},
      {"bad settings file", {"render", input.string(), "-o", output, "--set-file", (dir / "bad.json").string()}, 1,
       "bad.json: line 2: the value of \"trail\" must be a number"},
      {"ffmpeg's -i", {"render", "-i", input.string(), "-o", output}, 1,
       "unknown option '-i': driftsmear takes the input without -i"},
      {"ffmpeg's -ss", {"render", input.string(), "-ss", "2", "-o", output}, 1, "'-ss': use --start TIME"},
      {"ffmpeg's -n", {"render", input.string(), "-n", "-o", output}, 1, "never overwrites without -y"},
      {"ffmpeg's --hide_banner", {"render", input.string(), "--hide_banner", "-o", output}, 1, "prints no banner"},
      {"standard output without a format", {"render", input.string(), "-o", "-"}, 1, "add --format"},
      {"fps of a video", {"render", input.string(), "-o", output, "--fps", "abc"}, 1, "--fps takes frames per second"},
      {"unknown preset", {"render", input.string(), "-o", output, "--preset", "strnog"}, 1,
       "unknown preset 'strnog' (did you mean 'strong'?)"},
      {"unknown view", {"render", input.string(), "-o", output, "--view", "flowmg"}, 1, "did you mean 'flowmag'?"},
      {"unknown option", {"render", input.string(), "-o", output, "--presett", "fine"}, 1,
       "did you mean '--preset'?"},
      {"unknown command", {"rendr", input.string()}, 1, "unknown command 'rendr' (did you mean 'render'?)"},
      {"no output", {"render", input.string()}, 1, "render needs an output"},
      {"bad time", {"render", input.string(), "-o", output, "--start", "soon"}, 1, "is not a time"},
      {"start past end", {"render", input.string(), "-o", output, "--start", "3f"}, 1, "is past the end"},
      {"half on After Effects", {"render", input.string(), "-o", output, "--half"}, 1, "add --host premiere"},
      {"module missing", {"render", input.string(), "-o", output, "--module", (dir / "none.so").string()}, 5,
       "plug-in module not found"},
      {"module not loadable", {"render", input.string(), "-o", output, "--module", (dir / "junk.png").string()}, 5,
       "cannot load the plug-in module"},
      {"device out of range", {"render", input.string(), "-o", output, "--device", "200"}, 4, "there is no device 200",
       true},
  };
  std::string noDevice;
  const bool haveDevice = HaveDevice(&noDevice);
  for (const ErrorCase& c : cases) {
    if (c.needsDevice && !haveDevice) continue;
    const RunResult result = RunCli(c.args);
    EXPECT_EQ(result.exitCode, c.exitCode) << c.name << "\n" << result.Describe();
    const std::string line = ErrorLine(result);
    EXPECT_NE(line.find(c.message), std::string::npos) << c.name << ": " << result.err;
    EXPECT_EQ(result.err.find("driftsmear: error: ", result.err.find("driftsmear: error: ") + 1), std::string::npos)
        << c.name << ": one error line\n"
        << result.err;
    EXPECT_EQ(dir.Listing(), before) << c.name << ": nothing written";
  }

  // The module named by the environment is the one loaded.
  const RunResult fromEnvironment =
      RunCli({"render", input.string(), "-o", output}, {{"DRIFTSMEAR_MODULE", (dir / "gone.so").string()}});
  EXPECT_EQ(fromEnvironment.exitCode, 5) << fromEnvironment.Describe();
  EXPECT_NE(ErrorLine(fromEnvironment).find("(named by DRIFTSMEAR_MODULE)"), std::string::npos)
      << fromEnvironment.err;
  EXPECT_EQ(dir.Listing(), before);
}

#ifndef _WIN32
// The OpenCL loader reads its drivers from OCL_ICD_VENDORS; an empty folder
// hides them all, as on a machine without any.
TEST(CliErrors, NoDeviceNamesWhatToInstall) {
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path(), 3);
  fs::create_directories(dir / "no-drivers");
  const RunResult result = RunCli({"render", input.string(), "-o", (dir / "out.mkv").string()},
                                  {{"OCL_ICD_VENDORS", (dir / "no-drivers").string()}, {"CUDA_VISIBLE_DEVICES", "-1"}});
  EXPECT_EQ(result.exitCode, 4) << result.Describe();
  EXPECT_NE(ErrorLine(result).find("no OpenCL or CUDA device found"), std::string::npos) << result.err;
  EXPECT_NE(ErrorLine(result).find("pocl-opencl-icd"), std::string::npos) << result.err;
  EXPECT_FALSE(fs::exists(dir / "out.mkv"));
}
#endif

TEST(CliErrors, DamagedFramePartWayKeepsTheFramesBeforeIt) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path());
  // Frame 7 cut in half.
  fs::resize_file(dir / "in_07.png", fs::file_size(dir / "in_07.png") / 2);
  fs::create_directories(dir / "out");
  // One render thread, and three frames at once: the frames before the
  // damaged one are all rendered either way.
  for (const char* threads : {"1", "3"}) {
    SCOPED_TRACE(std::string("--threads ") + threads);
    const fs::path output = LosslessOutput(dir / "out", std::string("out") + threads);
    const RunResult result = RunCli({"render", input.string(), "-o", output.string(), "--set", "frames=3", "--quiet",
                                     "--threads", threads});
    EXPECT_EQ(result.exitCode, 2) << result.Describe();
    const std::string line = ErrorLine(result);
    EXPECT_NE(line.find("frame 7"), std::string::npos) << line;
    EXPECT_NE(line.find("in_07.png"), std::string::npos) << line;
    EXPECT_NE(line.find("holds the 7 frames done"), std::string::npos) << line;
    EXPECT_EQ(InfoOf(output).frameCount, 7) << "output frames 0-6 need only frames before the damaged one";
    for (const auto& entry : fs::directory_iterator(dir / "out")) {
      EXPECT_EQ(entry.path().extension(), output.extension()) << "no partial file left: " << entry.path();
    }
  }
}

#ifndef _WIN32
// Ctrl-C or SIGTERM in the middle of a render: the program stops after the
// frame in hand and finishes the output, which then plays with the frames
// done; the exit code tells which signal it was.
TEST(CliErrors, InterruptLeavesAPlayableFileWithTheFramesDone) {
  CLI_REQUIRE_DEVICE();
  CLI_REQUIRE_FFMPEG();
  Scratch dir;
  // Larger frames and the default ten passes a frame, so the render lasts
  // long after its first progress line.
  constexpr int kFrames = 48;
  {
    dshost::WriterOptions options;
    options.frameRate = dshost::Rational{24, 1};
    options.alpha = false;
    dshost::MediaWriter writer(dir / "in.mkv", options);
    for (int i = 0; i < kFrames; ++i) {
      dshost::ImageF frame = dshost::makeImage(320, 240, 0.3f, 0.4f, 0.5f, 1.0f);
      for (int y = 100; y < 140; ++y) {
        for (int x = 4 * i; x < 4 * i + 40; ++x) frame.pixel(x, y)[1] = 1.0f;
      }
      writer.write(frame);
    }
    writer.finish();
  }
  const fs::path output = dir / "out.mp4";
  struct Stop {
    int signal;
    int exitCode;
    const char* said;
  };
  for (const Stop stop : {Stop{SIGINT, 130, "interrupted after"}, Stop{SIGTERM, 143, "stopped (SIGTERM) after"}}) {
    int errPipe[2];
    ASSERT_EQ(pipe(errPipe), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      dup2(errPipe[1], 2);
      close(errPipe[0]);
      close(errPipe[1]);
      execl(DRIFTSMEAR_CLI_PATH, DRIFTSMEAR_CLI_PATH, "render", (dir / "in.mkv").c_str(), "-o", output.c_str(), "-y",
            static_cast<char*>(nullptr));
      _exit(127);
    }
    close(errPipe[1]);
    FILE* err = fdopen(errPipe[0], "r");
    std::string stderrText;
    char line[512];
    bool signalled = false;
    while (std::fgets(line, sizeof(line), err) != nullptr) {
      stderrText += line;
      if (!signalled && std::string(line).rfind("frame ", 0) == 0) {
        kill(child, stop.signal);  // after the first tenth of the frames
        signalled = true;
      }
    }
    std::fclose(err);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(signalled) << stderrText;
    ASSERT_TRUE(WIFEXITED(status)) << stderrText;
    EXPECT_EQ(WEXITSTATUS(status), stop.exitCode) << stderrText;
    EXPECT_NE(stderrText.find(stop.said), std::string::npos) << stderrText;

    const int64_t written = InfoOf(output).frameCount;
    EXPECT_GE(written, kFrames / 10);
    EXPECT_LT(written, kFrames);
    EXPECT_NE(stderrText.find("holds the " + std::to_string(written) + " frames done"), std::string::npos)
        << stderrText;
    EXPECT_EQ(ReadAll(output).size(), static_cast<size_t>(written)) << "every frame decodes";
    EXPECT_EQ(dir.Listing(), (std::vector<std::string>{"in.mkv", "out.mp4"})) << "no partial file left";
  }
}
#endif

TEST(CliErrors, SequenceGapEndsWithAWarningOrHoldsTheLastFrame) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  Scratch out;
  const fs::path input = MakeClipSequence(dir.path());
  fs::remove(dir / "in_05.png");
  const RunResult ended = RunCli({"render", input.string(), "-o", (out / "a_%02d.png").string(), "--set", "frames=3"});
  ASSERT_EQ(ended.exitCode, 0) << ended.Describe();
  EXPECT_NE(ended.err.find("warning: in_05.png is missing: the image sequence ends at in_04.png and the 6 frames "
                           "after the gap (up to in_11.png) are skipped (--allow-gaps holds"),
            std::string::npos)
      << ended.err;
  EXPECT_EQ(InfoOf(out / "a_%02d.png").frameCount, 5);

  const RunResult held = RunCli(
      {"render", input.string(), "-o", (out / "b_%02d.png").string(), "--set", "frames=3", "--allow-gaps", "--stats"});
  ASSERT_EQ(held.exitCode, 0) << held.Describe();
  EXPECT_NE(held.err.find("1 frame is missing from the image sequence (the first: in_05.png); each holds the frame "
                          "before it"),
            std::string::npos)
      << held.err;
  const std::vector<dshost::ImageF> frames = ReadAll(out / "b_%02d.png");
  ASSERT_EQ(frames.size(), static_cast<size_t>(kClipFrames));
  // Frame 5 repeats frame 4's input, so nothing moved between them: the
  // output differs from the frame before only where the trail fades.
  EXPECT_LT(DifferingPixels(frames[5], frames[4], 0.1f), DifferingPixels(frames[4], frames[3], 0.1f));
}

#ifndef _WIN32
// Two renders to one output each write a temporary file of their own. Without
// -y a name once taken is never replaced (the later render is refused, or
// kept beside it); with -y the last to finish wins. The output is always one
// render's whole file and no temporary file stays.
TEST(CliErrors, TwoRendersRacingForOneOutputLoseNothing) {
  CLI_REQUIRE_DEVICE();
  CLI_REQUIRE_FFMPEG();
  Scratch dir;
  Scratch out;
  const fs::path input = MakeClipSequence(dir.path());
  const std::string output = (out / "out.mkv").string();
  for (const bool overwrite : {false, true}) {
    std::vector<std::string> args{"render", input.string(), "-o", output, "-q", "--set", "frames=3"};
    if (overwrite) args.push_back("-y");
    int succeeded = 0;
    for (const RunResult& run : RunCliTogether({args, args})) {
      succeeded += run.exitCode == 0 ? 1 : 0;
      if (run.exitCode != 0) {
        EXPECT_EQ(run.exitCode, 3) << run.Describe();
        EXPECT_TRUE(run.err.find("another render (process ") != std::string::npos ||
                    run.err.find("appeared while rendering (another render?)") != std::string::npos)
            << run.err;
      }
    }
    EXPECT_EQ(succeeded, overwrite ? 2 : 1) << "with -y: " << overwrite;
    for (const std::string& name : out.Listing()) {
      EXPECT_EQ(name.find(".part"), std::string::npos) << name;
      EXPECT_EQ(InfoOf(out / name).frameCount, kClipFrames) << name << " is one render's whole file";
    }
  }
}

// A killed render's temporary file (its process gone, no lock held) is
// removed by the next render to that name; a live render's never is.
TEST(CliErrors, TemporaryFilesOfKilledRendersGoThoseOfLiveOnesStay) {
  CLI_REQUIRE_DEVICE();
  CLI_REQUIRE_FFMPEG();
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path(), 3);
  const fs::path stale = dir / "out.mkv.999999999-0badf00d.part";
  const fs::path live = dir / ("out.mkv." + std::to_string(getpid()) + "-00c0ffee.part");
  std::ofstream(stale) << "left by a killed render";
  std::ofstream(live) << "being written by this process";
  const std::vector<std::string> args{"render", input.string(), "-o", (dir / "out.mkv").string(), "--set", "frames=3"};
  const RunResult refused = RunCli(args);
  EXPECT_EQ(refused.exitCode, 3) << refused.Describe();
  EXPECT_NE(refused.err.find("another render (process " + std::to_string(getpid()) + ") is writing"),
            std::string::npos)
      << refused.err;
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::exists(live));

  std::vector<std::string> overwrite = args;
  overwrite.push_back("-y");
  const RunResult rendered = RunCli(overwrite);
  ASSERT_EQ(rendered.exitCode, 0) << rendered.Describe();
  EXPECT_NE(rendered.err.find("the render that finishes last replaces it"), std::string::npos) << rendered.err;
  EXPECT_TRUE(fs::exists(live));
  EXPECT_EQ(InfoOf(dir / "out.mkv").frameCount, 3);
}

// A full disk (here a file size limit) stops the render at the frame that
// cannot be written, not after rendering everything; the output it would
// have replaced stays, and no temporary file is left.
TEST(CliErrors, FullDiskStopsAtTheFrameThatCannotBeWritten) {
  CLI_REQUIRE_DEVICE();
  CLI_REQUIRE_FFMPEG();
  Scratch dir;
  const fs::path input = MakeNoiseClip(dir.path(), 480, 360, 24);
  std::ofstream(dir / "out.mov") << "an earlier render";
  const RunResult result = RunCliWithFileLimit(
      {"render", input.string(), "-o", (dir / "out.mov").string(), "-y", "--set", "frames=3", "--stats"}, 2048);
  EXPECT_EQ(result.exitCode, 3) << result.Describe();
  EXPECT_NE(result.err.find("cannot write " + (dir / "out.mov").string() + " at frame "), std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("File too large"), std::string::npos) << result.err;
  EXPECT_LT(StatValue(result.out, "rendered"), 20) << "the render stopped early\n" << result.out;
  EXPECT_EQ(dir.Listing(), (std::vector<std::string>{"noise.mkv", "out.mov"}));
  std::ifstream kept(dir / "out.mov");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "an earlier render");
}
#endif
