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
    EXPECT_EQ(result.err.find("driftsmear: error: ", result.err.find('\n')), std::string::npos)
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
  const fs::path output = LosslessOutput(dir / "out", "out");
  const RunResult result = RunCli({"render", input.string(), "-o", output.string(), "--set", "frames=3", "--quiet"});
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

#ifndef _WIN32
// Ctrl-C in the middle of a render: the program stops after the frame in
// hand and finishes the output, which then plays with the frames done.
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
  int errPipe[2];
  ASSERT_EQ(pipe(errPipe), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    dup2(errPipe[1], 2);
    close(errPipe[0]);
    close(errPipe[1]);
    execl(DRIFTSMEAR_CLI_PATH, DRIFTSMEAR_CLI_PATH, "render", (dir / "in.mkv").c_str(), "-o", output.c_str(),
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
      kill(child, SIGINT);  // after the first tenth of the frames
      signalled = true;
    }
  }
  std::fclose(err);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(signalled) << stderrText;
  ASSERT_TRUE(WIFEXITED(status)) << stderrText;
  EXPECT_EQ(WEXITSTATUS(status), 130) << stderrText;
  EXPECT_NE(stderrText.find("interrupted after"), std::string::npos) << stderrText;

  const int64_t written = InfoOf(output).frameCount;
  EXPECT_GE(written, kFrames / 10);
  EXPECT_LT(written, kFrames);
  EXPECT_NE(stderrText.find("holds the " + std::to_string(written) + " frames done"), std::string::npos)
      << stderrText;
  EXPECT_EQ(ReadAll(output).size(), static_cast<size_t>(written)) << "every frame decodes";
  EXPECT_EQ(dir.Listing(), (std::vector<std::string>{"in.mkv", "out.mp4"})) << "no partial file left";
}
#endif
