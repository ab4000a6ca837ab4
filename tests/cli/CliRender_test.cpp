// driftsmear render end to end: the real program on a generated clip, on
// whatever device the machine has (PoCL in CI), written to every kind of
// output and read back with the media layer.
#include <gtest/gtest.h>

#include <fstream>

#include "cli/CliTestSupport.h"
#include "host/media/MediaReader.h"

using namespace clitest;

namespace {

// Colour steps of 8-bit files, with room for float rounding inside the effect.
constexpr float kLossless = 0.5f / 255.0f;
// A frame where the square has moved over earlier frames: the smear shows.
constexpr float kVisibleSmear = 0.1f;
// Pixels two renders of the same frame may differ in on a device that runs
// the effect's in-place passes in parallel (none on PoCL with one thread,
// which the tests ask for).
constexpr int kRacingPixels = kClipWidth * kClipHeight / 30;

// Checks that the still part of every output frame is the input's and that the
// moving part differs from the input in some frame.
void ExpectStillKeptAndMotionSmeared(const std::vector<dshost::ImageF>& input,
                                     const std::vector<dshost::ImageF>& output) {
  ASSERT_EQ(output.size(), input.size());
  float moving = 0.0f;
  for (size_t i = 0; i < output.size(); ++i) {
    EXPECT_LE(MaxDifference(output[i], input[i], 0, 0, kStillWidth - 4, kClipHeight), kLossless)
        << "still part of frame " << i;
    moving = std::max(moving, MaxDifference(output[i], input[i], kStillWidth, 0, kClipWidth, kClipHeight));
  }
  EXPECT_GT(moving, kVisibleSmear) << "the moving square leaves no trail";
}

// The output has the clip's frame count, size and rate.
void ExpectClipShape(const dshost::MediaInfo& info) {
  EXPECT_EQ(info.frameCount, kClipFrames);
  EXPECT_EQ(info.width, kClipWidth);
  EXPECT_EQ(info.height, kClipHeight);
  EXPECT_EQ(info.frameRate, (dshost::Rational{12, 1}));
}

}  // namespace

TEST(CliRender, MatroskaKeepsFramesRateAudioAndStillPartsBothHosts) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  std::string reason;
  const auto clip = MakeClipWithAudio(dir.path(), &reason);
  if (!clip) GTEST_SKIP() << reason;
  const std::vector<dshost::ImageF> input = ReadAll(*clip);

  const RunResult ae = RunCli({"render", clip->string(), "-o", (dir / "ae.mkv").string(), "--set", "frames=3",
                               "--stats", "--quiet"});
  ASSERT_EQ(ae.exitCode, 0) << ae.Describe();
  EXPECT_EQ(ae.err, "") << "--quiet prints nothing but errors";
  const dshost::MediaInfo info = InfoOf(dir / "ae.mkv");
  ExpectClipShape(info);
  EXPECT_TRUE(info.hasAudio);
  EXPECT_EQ(info.audioCodecName, "aac");
  const std::vector<dshost::ImageF> rendered = ReadAll(dir / "ae.mkv");
  ExpectStillKeptAndMotionSmeared(input, rendered);

  // Premiere's GPU filter path renders the same pictures.
  const RunResult premiere = RunCli({"render", clip->string(), "-o", (dir / "pr.mkv").string(), "--set",
                                     "frames=3", "--host", "premiere", "--quiet"});
  ASSERT_EQ(premiere.exitCode, 0) << premiere.Describe();
  const std::vector<dshost::ImageF> fromPremiere = ReadAll(dir / "pr.mkv");
  ASSERT_EQ(fromPremiere.size(), rendered.size());
  for (size_t i = 0; i < rendered.size(); ++i) {
    EXPECT_LE(DifferingPixels(fromPremiere[i], rendered[i], 1.5f / 255.0f), kRacingPixels) << "frame " << i;
  }
}

TEST(CliRender, Mp4KeepsShapeRateAndAudioAndIsNeverOverwrittenWithoutYes) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  std::string reason;
  const auto clip = MakeClipWithAudio(dir.path(), &reason);
  if (!clip) GTEST_SKIP() << reason;
  const std::string output = (dir / "out.mp4").string();
  const RunResult first = RunCli({"render", clip->string(), "-o", output, "--preset", "stutter"});
  ASSERT_EQ(first.exitCode, 0) << first.Describe();
  EXPECT_NE(first.err.find("frame 12/12"), std::string::npos) << "a plain progress line when not on a terminal\n"
                                                              << first.err;
  EXPECT_EQ(first.err.find('\r'), std::string::npos) << "no in-place progress line when not on a terminal";
  const dshost::MediaInfo info = InfoOf(output);
  ExpectClipShape(info);
  EXPECT_EQ(info.codecName, "h264");
  EXPECT_EQ(info.audioCodecName, "aac");
  const auto size = fs::file_size(output);

  const RunResult again = RunCli({"render", clip->string(), "-o", output, "--duration", "2f"});
  EXPECT_EQ(again.exitCode, 3) << again.Describe();
  EXPECT_NE(again.err.find("pass -y to overwrite"), std::string::npos) << again.err;
  EXPECT_EQ(fs::file_size(output), size);
  EXPECT_EQ(InfoOf(output).frameCount, kClipFrames);

  const RunResult replaced = RunCli({"render", clip->string(), "-o", output, "--duration", "2f", "-y", "-q"});
  ASSERT_EQ(replaced.exitCode, 0) << replaced.Describe();
  EXPECT_EQ(InfoOf(output).frameCount, 2);
  EXPECT_EQ(dir.Listing(), (std::vector<std::string>{"clip.mkv", "out.mp4"})) << "no partial files left";
}

TEST(CliRender, PngSequenceInAndOutKeepsStillPartsAndNumbering) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  Scratch out;
  const fs::path input = MakeClipSequence(dir.path());
  const RunResult result = RunCli({"render", input.string(), "-o", (out / "f_%04d.png").string(), "--set",
                                   "frames=4", "--set", "trail=60", "-q"});
  ASSERT_EQ(result.exitCode, 0) << result.Describe();
  std::vector<std::string> expected;
  for (int i = 0; i < kClipFrames; ++i) expected.push_back("f_00" + std::to_string(i / 10) + std::to_string(i % 10) + ".png");
  EXPECT_EQ(out.Listing(), expected);
  ExpectStillKeptAndMotionSmeared(ReadAll(input), ReadAll(out / "f_%04d.png"));
}

// The effect reads several earlier (or, with a negative frame offset, later)
// frames for every output frame; the frame cache serves them, so every input
// frame the render reaches is decoded exactly once, and uploaded to the device
// once.
TEST(CliRender, EachInputFrameIsDecodedOnce) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path());
  struct Case {
    std::vector<std::string> settings;
    int64_t frames;       // output frames
    int64_t inputFrames;  // input frames the render reaches
  };
  const Case cases[] = {
      {{"--set", "frames=3"}, kClipFrames, kClipFrames},
      // 12 frames 12 apart, ahead of the current one: the whole clip from frame 0.
      {{"--preset", "slow-motion"}, kClipFrames, kClipFrames},
      // Output 4..8 reads back to 4 - 4 x 2 = frame -4, clamped to 0.
      {{"--set", "frames=5", "--set", "frame-offset=2", "--start", "4f", "--duration", "5f"}, 5, 9},
      // Keyframed frames: the reach grows to 11 frames back by the end.
      {{"--set", "frames=3@0f,12@11f"}, kClipFrames, kClipFrames},
      // A sequence runs at 25 fps: output 6..8 (0.24 s on, 0.12 s long) reads 6 - 2 = 4 to 8.
      {{"--set", "frames=3", "--start", "0:00.24", "--duration", "0.12s"}, 3, 5},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args{"render", input.string(), "-o", LosslessOutput(dir.path(), "out").string(), "-y",
                                  "-q", "--stats"};
    args.insert(args.end(), c.settings.begin(), c.settings.end());
    const RunResult result = RunCli(args);
    ASSERT_EQ(result.exitCode, 0) << result.Describe();
    EXPECT_EQ(StatValue(result.out, "written"), c.frames) << result.out;
    EXPECT_EQ(StatValue(result.out, "input_frames"), c.inputFrames) << result.out;
    EXPECT_EQ(StatValue(result.out, "decoded"), c.inputFrames) << result.out;
    EXPECT_EQ(StatValue(result.out, "uploaded"), c.inputFrames) << result.out;
  }
}

// Presets and --set are checked on the values the effect holds once its own
// preset code has run (the settings line); pictures could not tell them
// apart reliably on a device where the effect's in-place passes race.
TEST(CliRender, PresetsInEitherLanguageThenSetsReachTheEffect) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path(), 3);
  const auto settings = [&](std::vector<std::string> extra) {
    std::vector<std::string> args{"render", input.string(), "-o", (dir / "out_%d.png").string(), "-y",
                                  "--duration", "1f"};
    args.insert(args.end(), extra.begin(), extra.end());
    const RunResult result = RunCli(args);
    EXPECT_EQ(result.exitCode, 0) << result.Describe();
    const size_t at = result.err.find("driftsmear: settings: ");
    return at == std::string::npos ? std::string() : result.err.substr(at, result.err.find('\n', at) - at);
  };
  const std::string strong = settings({"--preset", "strong"});
  EXPECT_NE(strong.find("debug-display=result frames=12 frame-offset=1 min-velocity=0 max-velocity=0 "
                        "velocity-threshold=0 displace-threshold=100 motion-angle=45° motion-size=15 amount=100 "
                        "trail=6 displace=30 chromatic=100 chromatic-offset=0° premultiplied=on"),
            std::string::npos)
      << strong;
  EXPECT_EQ(settings({"--preset", "强烈"}), strong);
  EXPECT_EQ(settings({"--preset", "Strong"}), strong);
  EXPECT_NE(settings({}).find("frames=10 frame-offset=1 min-velocity=1 max-velocity=50"), std::string::npos)
      << "the parameters' defaults without a preset";
  // Each --set after the preset wins over it; the slow-motion preset's values
  // beyond the sliders' ranges are the effect's own and stay.
  const std::string overridden = settings({"--preset", "slow-motion", "--set", "trail=40", "--set",
                                           "chromatic-offset=-90", "--set", "premultiplied=off", "--view", "shift"});
  EXPECT_NE(overridden.find("debug-display=shift frames=12 frame-offset=-12 "), std::string::npos) << overridden;
  EXPECT_NE(overridden.find(" amount=500 trail=40 displace=50 chromatic=50 chromatic-offset=-90° premultiplied=off"),
            std::string::npos)
      << overridden;
  // Up to the preset's own value beyond a slider is allowed, and said.
  const RunResult beyond = RunCli({"render", input.string(), "-o", (dir / "b_%d.png").string(), "--duration", "1f",
                                   "--preset", "slow-motion", "--set", "trail=450", "--host", "premiere", "--set",
                                   "chromatic-offset=10"});
  ASSERT_EQ(beyond.exitCode, 0) << beyond.Describe();
  for (const char* warning : {"warning: beyond the sliders' ranges, as the preset slow-motion sets them: amount=500 "
                              "(slider 0 to 100), trail=450 (slider 0 to 100)",
                              "warning: under --host premiere the chromatic offset has no effect"}) {
    EXPECT_NE(beyond.err.find(warning), std::string::npos) << warning << "\n" << beyond.err;
  }
  const RunResult tooFar = RunCli({"render", input.string(), "-o", (dir / "c_%d.png").string(), "--preset",
                                   "slow-motion", "--set", "trail=501"});
  EXPECT_EQ(tooFar.exitCode, 1) << tooFar.Describe();
  EXPECT_NE(tooFar.err.find("trail=501 is out of range: trail goes from 0 to 500 with the preset slow-motion"),
            std::string::npos)
      << tooFar.err;
}

TEST(CliRender, EveryDebugViewShowsSomethingElseThanTheResult) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path(), 4);
  const auto render = [&](const std::string& view) {
    const fs::path output = dir / (view + "_%d.png");
    const RunResult result = RunCli({"render", input.string(), "-o", output.string(), "-q", "--view", view});
    EXPECT_EQ(result.exitCode, 0) << view << ": " << result.Describe();
    return ReadAll(output);
  };
  const auto result = render("result");
  ASSERT_EQ(result.size(), 4u);
  for (const char* view : {"motion", "displace", "flowmag", "shift"}) {
    const auto shown = render(view);
    ASSERT_EQ(shown.size(), 4u) << view;
    EXPECT_GT(DifferingPixels(shown[3], result[3], 0.1f), kClipWidth * kClipHeight / 4)
        << "the " << view << " view shows the frame differently from the result";
  }
}

// Keyframed settings, given on the command line or in a JSON file (where the
// effect's Chinese names work as keys too): the first frame is the render
// with the first key's value, the last frame the one with the last key's,
// and the frames between differ from both.
TEST(CliRender, KeyframedSettingsChangeTheFramesOverTimeAsTheKeysSay) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path());
  {
    std::ofstream json(dir / "keys.json");
    json << "{\n  \"frames\": 3,\n  \"\\u62d6\\u5c3e\": {\"0f\": 0, \"11f\": 100}\n}\n";
  }
  const auto render = [&](const std::string& name, std::vector<std::string> settings) {
    std::vector<std::string> args{"render", input.string(), "-o", (dir / (name + "_%02d.png")).string()};
    args.insert(args.end(), settings.begin(), settings.end());
    const RunResult result = RunCli(args);
    EXPECT_EQ(result.exitCode, 0) << name << ": " << result.Describe();
    return ReadAll(dir / (name + "_%02d.png"));
  };
  const auto low = render("low", {"--set", "frames=3", "--set", "trail=0"});
  const auto high = render("high", {"--set", "frames=3", "--set", "拖尾=100"});
  for (const auto& keyed : {render("set", {"--set", "frames=3", "--set", "trail=0@0s,100@0:00.44"}),
                            render("file", {"--set-file", (dir / "keys.json").string()})}) {
    ASSERT_EQ(keyed.size(), static_cast<size_t>(kClipFrames));
    EXPECT_EQ(DifferingPixels(keyed[0], low[0], kLossless), 0);
    EXPECT_EQ(DifferingPixels(keyed[11], high[11], kLossless), 0);
    EXPECT_GT(DifferingPixels(keyed[6], low[6], kLossless), 0);
    EXPECT_GT(DifferingPixels(keyed[6], high[6], kLossless), 0);
  }
}

#ifndef _WIN32
// ffmpeg-style I/O: standard input to standard output through a pipe into
// ffprobe, the formats chosen by name or --format, encoder choices, and a
// single image that is the frame at --start.
TEST(CliRender, PipesFormatsAndSingleImagesAsFfmpegUsersExpect) {
  CLI_REQUIRE_DEVICE();
  CLI_REQUIRE_FFMPEG();
  Scratch dir;
  std::string reason;
  const auto clip = MakeClipWithAudio(dir.path(), &reason);
  if (!clip) GTEST_SKIP() << reason;
  const RunResult piped =
      RunCliPiped("cat '" + clip->string() + "'", {"render", "-", "-o", "-", "--format", "nut", "-q", "--stats"},
                  "ffprobe -v error -count_frames -show_entries stream=codec_name,nb_read_frames -of csv=p=0 -");
  EXPECT_EQ(piped.exitCode, 0) << piped.Describe();
  EXPECT_NE(piped.out.find("ffv1," + std::to_string(kClipFrames)), std::string::npos) << piped.Describe();
  EXPECT_NE(piped.err.find("stats: frames=12"), std::string::npos) << "the summary leaves the video alone";

  struct Case {
    std::string output;
    std::vector<std::string> extra;
    const char* codec;        // empty: any (JPEG is read back without FFmpeg)
    const char* pixelFormat;  // empty: any
    int64_t frames;
  };
  const Case cases[] = {
      {"vp9.webm", {}, "vp9", "", 3},
      {"x.mp4", {"--pix-fmt", "yuv444p", "--crf", "0"}, "h264", "yuv444p", 3},
      {"x.mkv", {"--codec", "ffv1", "--pix-fmt", "gbrp16le"}, "ffv1", "gbrp16le", 3},
      {"still.jpg", {}, "", "", 1},
      {"still.exr", {}, "exr", "gbrpf32le", 1},
      {"j_%02d.jpg", {}, "", "", 3},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args{"render", clip->string(), "-o", (dir / c.output).string(), "-q", "--start", "5f",
                                  "--duration", "3f"};
    args.insert(args.end(), c.extra.begin(), c.extra.end());
    const RunResult result = RunCli(args);
    ASSERT_EQ(result.exitCode, 0) << c.output << ": " << result.Describe();
    const dshost::MediaInfo info = InfoOf(dir / c.output);
    if (*c.codec) {
      EXPECT_EQ(info.codecName, c.codec) << c.output;
    }
    if (*c.pixelFormat) {
      EXPECT_EQ(info.pixelFormat, c.pixelFormat) << c.output;
    }
    EXPECT_EQ(info.frameCount, c.frames) << c.output;
  }
  // The single image is the frame at --start of a full render.
  ASSERT_EQ(RunCli({"render", clip->string(), "-o", (dir / "all_%02d.png").string(), "-q"}).exitCode, 0);
  ASSERT_EQ(RunCli({"render", clip->string(), "-o", (dir / "still.png").string(), "-q", "--start", "5f"}).exitCode, 0);
  EXPECT_LE(DifferingPixels(ReadAll(dir / "still.png").at(0), ReadAll(dir / "all_%02d.png").at(5), kLossless),
            kRacingPixels);
}
#endif

// --repeatable holds PoCL to one thread, so two renders give the same
// pictures even where PoCL would otherwise run work-groups side by side
// (the tests' own one-thread setting is cleared here); other devices refuse.
TEST(CliRender, RepeatableRendersAreIdenticalOrRefused) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  const fs::path input = MakeClipSequence(dir.path(), 6);
  // The device in the user's words, before rendering.
  const RunResult probe = RunCli({"render", input.string(), "-o", (dir / "probe_%d.png").string(), "--duration", "1f"});
  ASSERT_NE(probe.err.find("driftsmear: rendering on "), std::string::npos) << probe.err;
  const bool pocl = probe.err.find("rendering on CPU (OpenCL on PoCL), slow") != std::string::npos;
  std::vector<std::vector<dshost::ImageF>> renders;
  for (const char* name : {"a", "b"}) {
    const RunResult result =
        RunCli({"render", input.string(), "-o", (dir / (std::string(name) + "_%d.png")).string(), "--preset",
                "strong", "--repeatable", "-q"},
               {{"POCL_MAX_PTHREAD_COUNT", ""}});
    if (!pocl) {
      EXPECT_EQ(result.exitCode, 4) << result.Describe();
      EXPECT_NE(result.err.find("--repeatable cannot be guaranteed"), std::string::npos) << result.err;
      return;
    }
    ASSERT_EQ(result.exitCode, 0) << result.Describe();
    renders.push_back(ReadAll(dir / (std::string(name) + "_%d.png")));
  }
  ASSERT_EQ(renders[0].size(), 6u);
  for (size_t i = 0; i < renders[0].size(); ++i) {
    EXPECT_EQ(DifferingPixels(renders[0][i], renders[1][i], 0.0f), 0) << "frame " << i;
  }
}
