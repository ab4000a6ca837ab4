// The frei0r module in the programs people use it from: ffmpeg's frei0r
// filter and MLT's melt, run as child processes on a small generated clip.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "cli/CliTestSupport.h"
#include "host/media/detail/PixelPack.h"
#include "integrations/frei0r/Frei0rParameters.h"

namespace {

namespace fs = std::filesystem;
using clitest::Scratch;

std::string Quote(const std::string& text) { return "'" + text + "'"; }

// Runs a shell command with the module on FREI0R_PATH and one PoCL thread
// (the effect composites in place, which races on parallel hardware); what
// it wrote to standard error comes back in `err`.
int RunShell(const std::string& command, std::string* err, const std::string& environment = "",
             const std::string& frei0rDir = DRIFTSMEAR_FREI0R_DIR) {
  const fs::path errFile = fs::temp_directory_path() / ("frei0r-test-" + std::to_string(::getpid()) + ".txt");
  const std::string line = "FREI0R_PATH=" + Quote(frei0rDir) + " POCL_MAX_PTHREAD_COUNT=1 POCL_CACHE_DIR=" +
                           Quote(std::string(DRIFTSMEAR_BUILD_DIR) + "/pocl-cache") + " " + environment + " " +
                           command + " </dev/null 2>" + Quote(errFile.string());
  const int status = std::system(line.c_str());
  if (err != nullptr) *err = testsupport::ReadFileBytes(errFile);
  fs::remove(errFile);
  return status;
}

bool HaveProgram(const char* name) {
  return std::system((std::string("command -v ") + name + " >/dev/null 2>&1").c_str()) == 0;
}

// The test clip as 8-bit RGB PNGs "<folder>/clip_%02d.png", as both ffmpeg and
// the command line read them.
fs::path EightBitClip(const Scratch& scratch) {
  const fs::path wide = clitest::MakeClipSequence(scratch.path());
  const fs::path pattern = scratch / "clip_%02d.png";
  std::string err;
  EXPECT_EQ(RunShell("ffmpeg -nostdin -loglevel error -y -i " + Quote(wide.string()) + " -pix_fmt rgb24 " +
                    Quote(pattern.string()),
                &err),
            0)
      << err;
  return pattern;
}

// Both frames quantised to 8 bits, channel by channel: the count that differ.
int Differing8Bit(const dshost::ImageF& a, const dshost::ImageF& b) {
  int count = 0;
  for (size_t i = 0; i < std::min(a.bgra.size(), b.bgra.size()); ++i) {
    count += dshost::detail::toUnorm8(a.bgra[i]) != dshost::detail::toUnorm8(b.bgra[i]) ? 1 : 0;
  }
  return count;
}

#define REQUIRE_PROGRAM(name) \
  if (!HaveProgram(name)) GTEST_SKIP() << name << " is not installed (scripts/install-deps.sh installs it)"

TEST(Frei0rFfmpeg, GivesTheFramesOfTheCommandLineRender) {
  CLI_REQUIRE_FFMPEG();
  CLI_REQUIRE_DEVICE();
  REQUIRE_PROGRAM("ffmpeg");
  Scratch scratch;
  const fs::path clip = EightBitClip(scratch);

  // Every parameter given, by position as ffmpeg takes them; the command line
  // gets the natural values the module maps them onto.
  const dsfrei0r::Frei0rParameterTable table(DRIFTSMEAR_MODULE_PATH);
  ASSERT_TRUE(table.loadError().empty()) << table.loadError();
  const std::vector<double> units = {0.15, 0.505, 0.02, 0.4, 0.2, 0.6, 0.3, 0.12, 0.7, 0.6, 0.4, 0.5, 0.25, 1.0};
  std::string params = "none";
  std::vector<std::string> render = {"render", clip.string(), "-o", (scratch / "ref_%02d.png").string(), "-q"};
  size_t next = 0;
  for (const dsfrei0r::Frei0rParameter& parameter : table.parameters()) {
    if (parameter.type == dsfrei0r::Frei0rType::String) continue;
    ASSERT_LT(next, units.size());
    const double unit = units[next++];
    char natural[64];
    std::snprintf(natural, sizeof(natural), "%.17g",
                  parameter.type == dsfrei0r::Frei0rType::Bool ? (unit >= 0.5 ? 1.0 : 0.0) : parameter.ToNatural(unit));
    params += "|" + (parameter.type == dsfrei0r::Frei0rType::Bool ? std::string(unit >= 0.5 ? "y" : "n")
                                                                   : std::to_string(unit));
    render.push_back("--set");
    render.push_back(std::string(parameter.name()) + "=" + natural);
  }
  ASSERT_EQ(next, units.size());
  params += "|result";

  std::string err;
  ASSERT_EQ(RunShell("ffmpeg -nostdin -loglevel error -y -i " + Quote(clip.string()) + " -vf " +
                    Quote("frei0r=driftsmear:" + params) + " -pix_fmt rgba " +
                    Quote((scratch / "out_%02d.png").string()),
                &err),
            0)
      << err;
  EXPECT_EQ(err.find("driftsmear (frei0r)"), std::string::npos) << err;
  const clitest::RunResult reference = clitest::RunCli(render, {{"POCL_MAX_PTHREAD_COUNT", "1"}});
  ASSERT_EQ(reference.exitCode, 0) << reference.Describe();

  const std::vector<dshost::ImageF> input = clitest::ReadAll(clip);
  const std::vector<dshost::ImageF> ours = clitest::ReadAll(scratch / "out_%02d.png");
  const std::vector<dshost::ImageF> theirs = clitest::ReadAll(scratch / "ref_%02d.png");
  ASSERT_EQ(ours.size(), input.size());
  ASSERT_EQ(theirs.size(), input.size());
  int changed = 0;
  for (size_t i = 0; i < ours.size(); ++i) {
    ASSERT_EQ(ours[i].width, clitest::kClipWidth);
    ASSERT_EQ(ours[i].height, clitest::kClipHeight);
    EXPECT_EQ(Differing8Bit(ours[i], theirs[i]), 0) << "frame " << i;
    changed += Differing8Bit(ours[i], input[i]) > 0 ? 1 : 0;
  }
  EXPECT_GT(changed, 0) << "the effect left every frame as it was";
}

TEST(Frei0rFfmpeg, PassesFramesThroughWithoutADevice) {
  CLI_REQUIRE_FFMPEG();
  REQUIRE_PROGRAM("ffmpeg");
  Scratch scratch;
  const fs::path clip = EightBitClip(scratch);
  std::string err;
  // No OpenCL platform and no CUDA device.
  ASSERT_EQ(RunShell("ffmpeg -nostdin -loglevel error -y -i " + Quote(clip.string()) +
                    " -vf frei0r=driftsmear -pix_fmt rgb24 " + Quote((scratch / "out_%02d.png").string()),
                &err, "OCL_ICD_VENDORS=/nonexistent OCL_ICD_FILENAMES= CUDA_VISIBLE_DEVICES=-1"),
            0)
      << err;
  EXPECT_NE(err.find("driftsmear (frei0r): no OpenCL or CUDA device found"), std::string::npos) << err;
  EXPECT_NE(err.find("frames pass through unchanged"), std::string::npos) << err;
  const std::vector<dshost::ImageF> input = clitest::ReadAll(clip);
  const std::vector<dshost::ImageF> output = clitest::ReadAll(scratch / "out_%02d.png");
  ASSERT_EQ(output.size(), input.size());
  for (size_t i = 0; i < output.size(); ++i) EXPECT_EQ(Differing8Bit(output[i], input[i]), 0) << "frame " << i;
}

TEST(Frei0rFfmpeg, RunsFromWhereTheInstallPutsIt) {
  CLI_REQUIRE_FFMPEG();
  CLI_REQUIRE_DEVICE();
  REQUIRE_PROGRAM("ffmpeg");
  Scratch scratch;
  const fs::path clip = EightBitClip(scratch);
  std::string err;
  ASSERT_EQ(RunShell(Quote(DRIFTSMEAR_CMAKE_COMMAND) + " --install " + Quote(DRIFTSMEAR_BUILD_DIR) + " --prefix " +
                         Quote((scratch / "prefix").string()) + " --component frei0r >/dev/null",
                     &err),
            0)
      << err;
  const fs::path installed = scratch / "prefix" / "lib" / "frei0r-1";
  ASSERT_TRUE(fs::is_regular_file(installed / "driftsmear.so"));
  ASSERT_TRUE(fs::is_regular_file(installed / "driftsmear" / "DriftSmear.so"));
  ASSERT_EQ(RunShell("ffmpeg -nostdin -loglevel error -y -i " + Quote(clip.string()) +
                         " -vf frei0r=driftsmear:strong -pix_fmt rgb24 " + Quote((scratch / "out_%02d.png").string()),
                     &err, "", installed.string()),
            0)
      << err;
  EXPECT_EQ(err, "");
  EXPECT_EQ(clitest::ReadAll(scratch / "out_%02d.png").size(), static_cast<size_t>(clitest::kClipFrames));
}

// The clip as lossless FFV1 video, which MLT reads.
fs::path VideoClip(const Scratch& scratch) {
  const fs::path clip = scratch / "clip.mkv";
  std::string err;
  EXPECT_EQ(RunShell("ffmpeg -nostdin -loglevel error -y -framerate 12 -i " + Quote(EightBitClip(scratch).string()) +
                         " -c:v ffv1 " + Quote(clip.string()),
                     &err),
            0)
      << err;
  return clip;
}

// Renders an MLT document (or a melt command line's producers and filters)
// to FFV1 and reads the frames back.
std::vector<dshost::ImageF> Melt(const std::string& arguments, const fs::path& out) {
  std::string err;
  EXPECT_EQ(RunShell("melt -quiet " + arguments + " -consumer " + Quote("avformat:" + out.string()) + " vcodec=ffv1",
                     &err),
            0)
      << err;
  EXPECT_EQ(err.find("driftsmear (frei0r)"), std::string::npos) << err;
  return clitest::ReadAll(out);
}

TEST(Frei0rMelt, KeyframedTrailChangesTheFramesWhereTheKeysSay) {
  CLI_REQUIRE_FFMPEG();
  CLI_REQUIRE_DEVICE();
  REQUIRE_PROGRAM("ffmpeg");
  REQUIRE_PROGRAM("melt");
  Scratch scratch;
  const fs::path clip = VideoClip(scratch);
  const auto melt = [&](const std::string& trail, const std::string& name) {
    return Melt(Quote(clip.string()) + " -filter frei0r.driftsmear " + Quote("trail=" + trail), scratch / name);
  };
  // Trail 0 up to frame 5, full from frame 6 on.
  const std::vector<dshost::ImageF> keyed = melt("0=0;5=0;6=1", "keyed.mkv");
  const std::vector<dshost::ImageF> none = melt("0", "none.mkv");
  const std::vector<dshost::ImageF> full = melt("1", "full.mkv");
  ASSERT_EQ(keyed.size(), static_cast<size_t>(clitest::kClipFrames));
  ASSERT_EQ(none.size(), keyed.size());
  ASSERT_EQ(full.size(), keyed.size());
  bool trailShows = false;
  for (size_t i = 0; i < keyed.size(); ++i) {
    ASSERT_EQ(keyed[i].width, clitest::kClipWidth);
    ASSERT_EQ(keyed[i].height, clitest::kClipHeight);
    EXPECT_EQ(Differing8Bit(keyed[i], i <= 5 ? none[i] : full[i]), 0) << "frame " << i;
    trailShows = trailShows || (i > 5 && Differing8Bit(none[i], full[i]) > 0);
  }
  EXPECT_TRUE(trailShows) << "the trail changed nothing";
}

// Two cuts of one clip with the filter on the clip: the filter sees the
// clip's frames 0 to 5, then 2 to 5 again. The jump back restarts the ring,
// so the second cut renders as the cut does on its own.
TEST(Frei0rMelt, ASeekRestartsTheRing) {
  CLI_REQUIRE_FFMPEG();
  CLI_REQUIRE_DEVICE();
  REQUIRE_PROGRAM("ffmpeg");
  REQUIRE_PROGRAM("melt");
  Scratch scratch;
  const fs::path clip = VideoClip(scratch);
  const auto document = [&](const std::string& name, const std::string& entries) {
    const fs::path path = scratch / name;
    std::ofstream(path) << "<mlt><producer id=\"clip\"><property name=\"resource\">" << clip.string()
                        << "</property><filter><property name=\"mlt_service\">frei0r.driftsmear</property>"
                           "<property name=\"trail\">1</property></filter></producer><playlist id=\"cuts\">"
                        << entries << "</playlist></mlt>\n";
    return Quote(path.string());
  };
  const std::vector<dshost::ImageF> cuts = Melt(
      document("cuts.mlt", "<entry producer=\"clip\" in=\"0\" out=\"5\"/><entry producer=\"clip\" in=\"2\" out=\"5\"/>"),
      scratch / "cuts.mkv");
  const std::vector<dshost::ImageF> alone =
      Melt(document("alone.mlt", "<entry producer=\"clip\" in=\"2\" out=\"5\"/>"), scratch / "alone.mkv");
  ASSERT_EQ(cuts.size(), 10u);
  ASSERT_EQ(alone.size(), 4u);
  for (size_t i = 0; i < alone.size(); ++i) EXPECT_EQ(Differing8Bit(cuts[6 + i], alone[i]), 0) << "frame " << i;
  EXPECT_GT(Differing8Bit(cuts[5], alone[3]), 0) << "clip frame 5 after frames 0 to 4 must differ";
}

}  // namespace
