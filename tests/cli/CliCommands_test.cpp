// driftsmear's other commands: help, info, panel and demo.
#include <gtest/gtest.h>

#include <algorithm>

#include "cli/CliTestSupport.h"
#include "host/drawbot/DrawbotCanvas.h"

using namespace clitest;

// The full help, each command's own, and bare 'driftsmear', which is a
// mistake: a short usage on standard error and exit code 1.
TEST(CliCommands, HelpForEverythingAndForEachCommand) {
  struct Case {
    std::vector<std::string> args;
    int exitCode;
    std::vector<std::string> shows;
    std::vector<std::string> leavesOut;
  };
  const std::vector<std::string> renderOptions{
      "--preset NAME", "--set KEY=VALUE", "--set KEY=V@T", "--set-file FILE", "--view VIEW", "--host ae|premiere",
      "--device N", "--half", "--start TIME", "--duration TIME", "--format NAME", "--codec NAME", "--crf N",
      "--pix-fmt NAME", "--fps RATE", "--allow-gaps", "--repeatable", "-y, --yes", "--quiet",
      "olive where nothing moves", "\n  130  interrupted", "\n  143  stopped by SIGTERM"};
  std::vector<std::string> everything = renderOptions;
  for (const char* text : {"driftsmear render INPUT -o OUTPUT", "driftsmear demo", "driftsmear info [--internals]",
                           "driftsmear panel -o FILE.png"}) {
    everything.emplace_back(text);
  }
  const Case cases[] = {
      {{"--help"}, 0, everything, {}},
      {{"render", "--help"}, 0, renderOptions, {"driftsmear panel -o", "driftsmear info [--internals]"}},
      {{"info", "--help"}, 0, {"driftsmear info [--internals]", "Disk IDs"}, {"--set KEY=VALUE", "--half"}},
      {{"panel", "--help"}, 0, {"driftsmear panel -o FILE.png"}, {"--set KEY=VALUE"}},
      {{"demo", "--help"}, 0, {"driftsmear demo", "olive where nothing moves"}, {"driftsmear panel -o"}},
  };
  for (const Case& c : cases) {
    const RunResult result = RunCli(c.args);
    ASSERT_EQ(result.exitCode, c.exitCode) << result.Describe();
    for (const std::string& text : c.shows) EXPECT_NE(result.out.find(text), std::string::npos) << c.args[0] << ": " << text;
    for (const std::string& text : c.leavesOut) EXPECT_EQ(result.out.find(text), std::string::npos) << c.args[0] << ": " << text;
  }
  const RunResult full = RunCli({"--help"});
  for (int code = 0; code <= 6; ++code) {
    EXPECT_NE(full.out.find("\n  " + std::to_string(code) + "    "), std::string::npos) << "exit code " << code;
  }
  const RunResult bare = RunCli({});
  EXPECT_EQ(bare.exitCode, 1);
  EXPECT_EQ(bare.out, "");
  EXPECT_NE(bare.err.find("driftsmear render INPUT -o OUTPUT"), std::string::npos) << bare.err;
  EXPECT_NE(bare.err.find("'driftsmear COMMAND --help'"), std::string::npos) << bare.err;
  EXPECT_LT(std::count(bare.err.begin(), bare.err.end(), '\n'), 12) << "short";
}

// info speaks the users' words (keys, names, ranges, presets); the host's
// view (Disk IDs, registration) comes with --internals.
TEST(CliCommands, InfoListsParametersPresetsViewsAndRegistration) {
  const RunResult plain = RunCli({"info"});
  ASSERT_EQ(plain.exitCode, 0) << plain.Describe();
  for (const char* text : {"Parameters (--set KEY=VALUE, or the name):", "trail               拖尾",
                           "slow-motion  慢动作", "Debug views (--view)", "GPU devices"}) {
    EXPECT_NE(plain.out.find(text), std::string::npos) << text << "\n" << plain.out;
  }
  for (const char* text : {"  Disk ID  ", "match name", "\n  about "}) {
    EXPECT_EQ(plain.out.find(text), std::string::npos) << text << "\n" << plain.out;
  }
  const RunResult result = RunCli({"info", "--internals"});
  ASSERT_EQ(result.exitCode, 0) << result.Describe();
  const std::string& out = result.out;
  for (const char* text : {"match name \"KQVLDRSM\"", "category \"Quarnbrook Graphics\"", "entry point \"EffectMain\"",
                           "kind eFKT, effect API 13.28", "version 1.3.0 build 1 (0x00098001)", "GPU devices"}) {
    EXPECT_NE(out.find(text), std::string::npos) << text << "\n" << out;
  }
  // One row per parameter: key, Chinese name, English name, Disk ID, range, default.
  struct Row {
    const char* key;
    const char* name;
    const char* diskId;
    const char* range;
    const char* value;
  };
  for (const Row& row : {Row{"frames", "帧", "6", "3 .. 50", "10"}, Row{"frame-offset", "帧偏移", "7", "-100 .. 100", "1"},
                         Row{"min-velocity", "最小速度", "8", "0 .. 100", "1"},
                         Row{"displace-threshold", "位移阈值", "11", "0 .. 100", "50"},
                         Row{"motion-angle", "运动角度", "12", "degrees", "45°"},
                         Row{"amount", "数量", "18", "0 .. 100", "80"}, Row{"chromatic", "色差", "16", "0 .. 100", "50"},
                         Row{"chromatic-offset", "色差偏移", "17", "degrees", "0°"},
                         Row{"premultiplied", "预乘", "22", "on | off", "on"}}) {
    const size_t at = out.find("\n  " + std::string(row.key) + " ");
    ASSERT_NE(at, std::string::npos) << row.key;
    const std::string line = out.substr(at + 1, out.find('\n', at + 1) - at - 1);
    size_t position = 0;
    for (const char* cell : {row.name, row.diskId, row.range, row.value}) {
      const size_t found = line.find(std::string(" ") + cell, position);
      EXPECT_NE(found, std::string::npos) << row.key << ": " << cell << " in order\n" << line;
      position = found == std::string::npos ? position : found + 1;
    }
  }
  // The presets as the effect applies them, in both languages.
  for (const char* text : {"default      默认    Default", "slow-motion  慢动作  Slow motion", "frame-offset=-12",
                           "amount=500", "stutter      断续"}) {
    EXPECT_NE(out.find(text), std::string::npos) << text << "\n" << out;
  }
  EXPECT_NE(out.find("Debug views (--view): result, motion, displace, flowmag, shift"), std::string::npos);
}

TEST(CliCommands, PanelIsTheEffectControlsAreaWithTheGpuLine) {
  Scratch dir;
  const fs::path png = dir / "panel.png";
  const RunResult result = RunCli({"panel", "-o", png.string()});
  ASSERT_EQ(result.exitCode, 0) << result.Describe();
  const auto canvas = dshost::DrawbotCanvas::LoadPng(png.string());
  ASSERT_NE(canvas, nullptr);
  // The 250 x 90 area with an 8-pixel margin of panel grey.
  EXPECT_EQ(canvas->Width(), 266);
  EXPECT_EQ(canvas->Height(), 106);
  EXPECT_EQ(canvas->Pixel(2, 2), (dshost::DrawbotPixel{35, 35, 35, 255}));
  int coloured = 0;
  int green = 0;
  for (int y = 0; y < canvas->Height(); ++y) {
    for (int x = 0; x < canvas->Width(); ++x) {
      const dshost::DrawbotPixel p = canvas->Pixel(x, y);
      coloured += (p.r != p.g || p.g != p.b) ? 1 : 0;
      green += (y > 78 && p.g > 120 && p.g > p.r + 40 && p.g > p.b + 20) ? 1 : 0;
    }
  }
  EXPECT_GT(coloured, 500) << "the About image";
  static_cast<void>(green);
#ifndef _WIN32
  // On Windows the effect names the GPU from the display adapter, which a
  // headless test machine may not have.
  std::string noDevice;
  if (HaveDevice(&noDevice)) {
    EXPECT_GT(green, 20) << "the GPU name in green under the image";
  }
#endif

  EXPECT_EQ(RunCli({"panel", "-o", png.string()}).exitCode, 3) << "an existing file needs -y";
  EXPECT_EQ(RunCli({"panel", "-o", png.string(), "-y"}).exitCode, 0);
  const RunResult notPng = RunCli({"panel", "-o", (dir / "panel.jpg").string()});
  EXPECT_EQ(notPng.exitCode, 3);
  EXPECT_NE(notPng.err.find("panel writes a PNG"), std::string::npos) << notPng.err;
  EXPECT_EQ(dir.Listing(), std::vector<std::string>{"panel.png"});
}

TEST(CliCommands, DemoRendersTheGeneratedClipAndSaysWhere) {
  CLI_REQUIRE_DEVICE();
  Scratch dir;
  const std::string name = dshost::mediaHasFfmpeg() ? "demo.mkv" : "demo_%03d.png";
  const fs::path output = dir / name;
  const std::vector<std::string> args{"demo", "-o", output.string(), "--width", "64", "--height", "36",
                                      "--frames", "4"};
  const RunResult result = RunCli(args);
  ASSERT_EQ(result.exitCode, 0) << result.Describe();
  EXPECT_NE(result.out.find("Result: "), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(name), std::string::npos) << result.out;
  const dshost::MediaInfo info = InfoOf(output);
  EXPECT_EQ(info.frameCount, 4);
  EXPECT_EQ(info.width, 64);
  EXPECT_EQ(info.height, 36);
  if (dshost::mediaHasFfmpeg()) {
    EXPECT_EQ(info.frameRate, (dshost::Rational{24, 1})) << "PNG sequences carry no rate";
  }

  const RunResult again = RunCli(args);
  EXPECT_EQ(again.exitCode, 3) << "the demo does not overwrite without -y\n" << again.Describe();
}
