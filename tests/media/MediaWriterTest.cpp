// Round trips through each writer, and the rules about existing, partial and
// unsupported outputs.
#include <gtest/gtest.h>

#include "host/media/MediaError.h"
#include "host/media/MediaReader.h"
#include "host/media/MediaWriter.h"
#include "host/media/detail/Ffmpeg.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

using testing::ScratchDir;
using testing::smallClip;
using testing::writeClip;

// Tolerances on 0..1 values, per codec.
struct Tolerance {
  float maxColour;
  double meanColour;
  float maxAlpha;
};

// A smooth picture with saturated colours and an alpha ramp: compression
// barely touches it, so what remains is the colour conversion. A wrong YUV
// matrix or range shows up here as a mean error of 0.02 or more.
ImageF gradientFrame(int width, int height) {
  ImageF image = makeImage(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float u = static_cast<float>(x) / static_cast<float>(width - 1);
      const float v = static_cast<float>(y) / static_cast<float>(height - 1);
      float* p = image.pixel(x, y);
      p[0] = u;
      p[1] = v;
      p[2] = 0.9f - 0.7f * u * v;
      p[3] = 0.1f + 0.8f * v;
    }
  }
  return image;
}

struct CodecCase {
  const char* name;
  const char* file;
  int ffv1Bits;
  const char* codec;
  bool keepsAlpha;
  Tolerance clip;      // the generated clip: sharp edges, grain
  Tolerance gradient;  // the smooth picture
};

// H.264 (8-bit 4:2:0, CRF 18) loses detail at sharp coloured edges, so on the
// clip only its mean is bounded tightly; on the gradient its error is mostly
// the 4:2:0 chroma, which the reader's fast conversion repeats per 2x2 block. ProRes 4444 (10-bit 4:4:4) is close to
// lossless. FFV1 is lossless: only rounding to 1/255 or 1/65535 remains, as
// for 16-bit PNG.
constexpr float k8 = 0.5f / 255.0f + 1e-6f;
constexpr float k16 = 0.5f / 65535.0f + 1e-6f;
const CodecCase kCodecs[] = {
    {"H264Mp4", "out.mp4", 8, "h264", false, {0.6f, 0.035, 0.0f}, {0.06f, 0.012, 0.0f}},
    {"ProRes4444Mov", "out.mov", 8, "prores", true, {0.02f, 0.003, 0.002f}, {0.005f, 0.001, 0.002f}},
    {"Ffv1Mkv", "out.mkv", 8, "ffv1", true, {k8, k8, k8}, {k8, k8, k8}},
    {"Ffv1Mkv16", "out.mkv", 16, "ffv1", true, {k16, k16, k16}, {k16, k16, k16}},
    {"PngSequence", "frames/%04d.png", 8, "stb", true, {k16, k16, k16}, {k16, k16, k16}},
};

void PrintTo(const CodecCase& c, std::ostream* os) { *os << c.name; }

class WriterRoundTrip : public ::testing::TestWithParam<CodecCase> {};

TEST_P(WriterRoundTrip, KeepsCountSizeRateAlphaAndPixels) {
  DS_REQUIRE_FFMPEG();
  const CodecCase& c = GetParam();
  ScratchDir dir;
  SyntheticClipOptions options = smallClip(8, c.keepsAlpha);
  options.frameRate = Rational{30000, 1001};
  SyntheticClip clip(options);
  WriterOptions writerOptions;
  writerOptions.ffv1Bits = c.ffv1Bits;
  writeClip(clip, dir / c.file, writerOptions);

  MediaReader reader(dir / c.file);
  const MediaInfo& info = reader.info();
  EXPECT_EQ(info.frameCount, 8);  // Matroska and PNG sequences record no count: it is counted
  EXPECT_EQ(info.width, 64);
  EXPECT_EQ(info.height, 48);
  if (info.kind == SourceKind::Video) {
    EXPECT_EQ(info.frameRate, (Rational{30000, 1001})) << info.frameRate.toString();
  }
  EXPECT_EQ(info.hasAlpha, c.keepsAlpha);
  EXPECT_EQ(info.codecName, c.codec);

  ImageDiff worst;
  double worstMean = 0.0;
  for (std::int64_t i = 0; i < 8; ++i) {
    const ImageF back = reader.readFrame(i);
    const ImageDiff diff = compareImages(back, clip.frame(i));
    ASSERT_TRUE(diff.sameSize) << "frame " << i;
    if (diff.maxColour >= worst.maxColour) worst = diff;
    worstMean = std::max(worstMean, diff.meanColour);
    if (!c.keepsAlpha) {
      for (std::size_t k = 3; k < back.bgra.size(); k += 4) ASSERT_EQ(back.bgra[k], 1.0f);
    } else {
      EXPECT_LE(diff.maxAlpha, c.clip.maxAlpha) << "frame " << i << ": " << diff.describe();
    }
  }
  EXPECT_LE(worst.maxColour, c.clip.maxColour) << worst.describe();
  EXPECT_LE(worstMean, c.clip.meanColour) << worst.describe();
}

TEST_P(WriterRoundTrip, ConvertsColourAccurately) {
  DS_REQUIRE_FFMPEG();
  const CodecCase& c = GetParam();
  ScratchDir dir;
  const ImageF picture = gradientFrame(96, 64);
  {
    WriterOptions options;
    options.frameRate = Rational{25, 1};
    options.ffv1Bits = c.ffv1Bits;
    MediaWriter writer(dir / c.file, options);
    for (int i = 0; i < 3; ++i) writer.write(picture);
    writer.finish();
  }
  MediaReader reader(dir / c.file);
  const ImageDiff diff = compareImages(reader.readFrame(2), picture);
  ASSERT_TRUE(diff.sameSize);
  EXPECT_LE(diff.maxColour, c.gradient.maxColour) << diff.describe();
  EXPECT_LE(diff.meanColour, c.gradient.meanColour) << diff.describe();
  if (c.keepsAlpha) {
    EXPECT_LE(diff.maxAlpha, c.gradient.maxAlpha) << diff.describe();
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, WriterRoundTrip, ::testing::ValuesIn(kCodecs),
                         [](const ::testing::TestParamInfo<CodecCase>& info) { return std::string(info.param.name); });

TEST(MediaWriterFormats, ChosenFromTheName) {
  ScratchDir dir;
  EXPECT_EQ(outputFormatForPath("a.mp4"), OutputFormat::H264Mp4);
  EXPECT_EQ(outputFormatForPath("a.MOV"), OutputFormat::ProRes4444Mov);
  EXPECT_EQ(outputFormatForPath("a.mkv"), OutputFormat::Ffv1Mkv);
  EXPECT_EQ(outputFormatForPath("out/f_%05d.png"), OutputFormat::PngSequence);
  EXPECT_EQ(outputFormatForPath("out/"), OutputFormat::PngSequence);
  EXPECT_EQ(outputFormatForPath(dir.path()), OutputFormat::PngSequence);
  EXPECT_EQ(parseOutputFormat("ProRes"), OutputFormat::ProRes4444Mov);
  EXPECT_EQ(parseOutputFormat("h264"), OutputFormat::H264Mp4);
  EXPECT_EQ(parseOutputFormat("avi"), std::nullopt);
  try {
    outputFormatForPath("clip.avi");
    FAIL() << "no error";
  } catch (const MediaError& e) {
    EXPECT_EQ(e.code(), MediaErrc::Unsupported);
    EXPECT_STREQ(e.what(), "unsupported output format 'clip.avi': use .mp4 (H.264), .mov (ProRes 4444), .mkv (FFV1) "
                           "or a PNG pattern/folder");
  }
  EXPECT_THROW(outputFormatForPath("still.png"), MediaError);
}

TEST(MediaWriterFormats, ExplicitFormatOverridesTheName) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  WriterOptions options;
  options.format = OutputFormat::Ffv1Mkv;
  writeClip(SyntheticClip(smallClip(2)), dir / "lossless.video", options);
  EXPECT_EQ(MediaReader(dir / "lossless.video").info().codecName, "ffv1");
}

TEST(MediaWriterFormats, PngSequenceIntoAFolder) {
  ScratchDir dir;
  SyntheticClip clip(smallClip(3));
  WriterOptions options;
  options.sequenceStartNumber = 1;
  writeClip(clip, dir / "render/", options);
  EXPECT_EQ(testing::filesIn(dir / "render"), (std::vector<std::string>{"000001.png", "000002.png", "000003.png"}));
  MediaReader reader(dir / "render/%06d.png");
  EXPECT_EQ(reader.info().frameCount, 3);
  EXPECT_EQ(reader.info().firstSequenceNumber, 1);
}

#if DRIFTSMEAR_HAVE_FFMPEG
// The video stream's time base as the file records it.
Rational storedTimeBase(const std::filesystem::path& file) {
  detail::InputContextPtr input = detail::openInput(file.string());
  const AVStream* stream = input->streams[av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0)];
  return Rational{stream->time_base.num, stream->time_base.den};
}

TEST(MediaWriterFormats, KeepsTheInputTimeBaseWhenFramesFitIt) {
  ScratchDir dir;
  SyntheticClip clip(smallClip(3));  // 30 fps
  WriterOptions options;
  options.timeBase = Rational{1, 15360};
  writeClip(clip, dir / "fits.mov", options);
  EXPECT_EQ(storedTimeBase(dir / "fits.mov"), (Rational{1, 15360}));

  SyntheticClipOptions ntsc = smallClip(3);
  ntsc.frameRate = Rational{30000, 1001};
  options.timeBase = Rational{1, 12800};  // 427.09 ticks a frame: not kept
  writeClip(SyntheticClip(ntsc), dir / "ntsc.mov", options);
  MediaReader reader(dir / "ntsc.mov");
  EXPECT_EQ(reader.info().frameRate, (Rational{30000, 1001}));
  EXPECT_NE(storedTimeBase(dir / "ntsc.mov"), (Rational{1, 12800}));
}
#endif

TEST(MediaWriterFormats, OddSizesArePaddedForH264) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(2, false, 65, 49));
  WriterOptions options;
  options.frameRate = clip.info().frameRate;
  MediaWriter writer(dir / "odd.mp4", options);
  writer.write(clip.frame(0));
  writer.write(clip.frame(1));
  writer.finish();
  ASSERT_EQ(writer.warnings().size(), 1u);
  EXPECT_EQ(writer.warnings()[0], "H.264 needs even sizes: 65x49 is written as 66x50 with the edge repeated");
  MediaReader reader(dir / "odd.mp4");
  EXPECT_EQ(reader.info().width, 66);
  EXPECT_EQ(reader.info().height, 50);
}

TEST(MediaWriterFormats, OddSizesStayForProResAndFfv1) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(2, true, 65, 49));
  writeClip(clip, dir / "odd.mov");
  writeClip(clip, dir / "odd.mkv");
  for (const char* name : {"odd.mov", "odd.mkv"}) {
    MediaReader reader(dir / name);
    EXPECT_EQ(reader.info().width, 65) << name;
    EXPECT_EQ(reader.info().height, 49) << name;
  }
}

TEST(MediaWriterFormats, WithoutAlphaTheFormatsHaveNoAlphaChannel) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(2));
  WriterOptions options;
  options.alpha = false;
  writeClip(clip, dir / "a.mov", options);
  writeClip(clip, dir / "a.mkv", options);
  writeClip(clip, dir / "a_%02d.png", options);
  EXPECT_EQ(MediaReader(dir / "a.mov").info().pixelFormat.find("yuva"), std::string::npos);
  EXPECT_FALSE(MediaReader(dir / "a.mkv").info().hasAlpha);
  EXPECT_FALSE(MediaReader(dir / "a_%02d.png").info().hasAlpha);
}

TEST(MediaWriterErrors, RefusesToOverwriteUnlessAllowed) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  testing::writeFileBytes(dir / "taken.mp4", "precious");
  try {
    MediaWriter writer(dir / "taken.mp4", WriterOptions{});
    FAIL() << "no error";
  } catch (const MediaError& e) {
    EXPECT_EQ(e.code(), MediaErrc::OutputExists);
    EXPECT_EQ(std::string(e.what()), (dir / "taken.mp4").string() + " already exists; refusing to overwrite it");
  }
  EXPECT_EQ(testing::readFileBytes(dir / "taken.mp4"), "precious");

  WriterOptions options;
  options.overwrite = true;
  writeClip(SyntheticClip(smallClip(2)), dir / "taken.mp4", options);
  EXPECT_EQ(MediaReader(dir / "taken.mp4").info().frameCount, 2);
}

TEST(MediaWriterErrors, RefusesToOverwriteASequenceAndRemovesStaleFramesWhenAllowed) {
  ScratchDir dir;
  writeClip(SyntheticClip(smallClip(5)), dir / "f_%03d.png");
  try {
    MediaWriter writer(dir / "f_%03d.png", WriterOptions{});
    FAIL() << "no error";
  } catch (const MediaError& e) {
    EXPECT_EQ(e.code(), MediaErrc::OutputExists);
    EXPECT_EQ(std::string(e.what()), "frames of " + (dir / "f_%03d.png").string() + " already exist; refusing to overwrite them");
  }
  WriterOptions options;
  options.overwrite = true;
  writeClip(SyntheticClip(smallClip(2)), dir / "f_%03d.png", options);
  EXPECT_EQ(testing::filesIn(dir.path()), (std::vector<std::string>{"f_000.png", "f_001.png"}));
}

TEST(MediaWriterErrors, RejectsFramesOfAnotherSize) {
  ScratchDir dir;
  MediaWriter writer(dir / "s_%02d.png", WriterOptions{});
  writer.write(makeImage(8, 8));
  try {
    writer.write(makeImage(8, 9));
    FAIL() << "no error";
  } catch (const MediaError& e) {
    EXPECT_EQ(e.code(), MediaErrc::InvalidArgument);
    EXPECT_STREQ(e.what(), "frame 1 is 8x9, the output is 8x8");
  }
}

TEST(MediaWriterErrors, MissingFolderIsReportedBeforeRendering) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  try {
    MediaWriter writer(dir / "nowhere" / "out.mkv", WriterOptions{});
    FAIL() << "no error";
  } catch (const MediaError& e) {
    EXPECT_EQ(e.code(), MediaErrc::WriteFailed);
    EXPECT_EQ(std::string(e.what()), "the folder " + (dir / "nowhere").string() + " does not exist");
  }
}

TEST(MediaWriterPartial, OutputNameAppearsOnlyWhenFinished) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(20));
  WriterOptions options;
  options.frameRate = clip.info().frameRate;
  MediaWriter writer(dir / "out.mp4", options);
  for (int i = 0; i < 5; ++i) writer.write(clip.frame(i));
  EXPECT_FALSE(std::filesystem::exists(dir / "out.mp4"));
  EXPECT_TRUE(std::filesystem::exists(dir / "out.mp4.part"));
  // Interrupted: the caller stops feeding frames and finishes.
  writer.finish();
  EXPECT_EQ(testing::filesIn(dir.path()), std::vector<std::string>{"out.mp4"});
  MediaReader reader(dir / "out.mp4");
  EXPECT_EQ(reader.info().frameCount, 5);
  EXPECT_LE(compareImages(reader.readFrame(4), clip.frame(4)).meanColour, 0.035);
}

TEST(MediaWriterPartial, DestroyingAnUnfinishedWriterKeepsAPlayableFile) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(6, true));
  {
    MediaWriter writer(dir / "out.mov", WriterOptions{});
    for (int i = 0; i < 3; ++i) writer.write(clip.frame(i));
  }
  EXPECT_EQ(MediaReader(dir / "out.mov").info().frameCount, 3);
  EXPECT_FALSE(std::filesystem::exists(dir / "out.mov.part"));
}

TEST(MediaWriterPartial, AbandonLeavesNothing) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(2));
  MediaWriter video(dir / "out.mkv", WriterOptions{});
  MediaWriter frames(dir / "f_%02d.png", WriterOptions{});
  for (int i = 0; i < 2; ++i) {
    video.write(clip.frame(i));
    frames.write(clip.frame(i));
  }
  video.abandon();
  frames.abandon();
  EXPECT_TRUE(testing::filesIn(dir.path()).empty());
}

TEST(MediaWriterPartial, NoFramesNoFile) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  MediaWriter writer(dir / "empty.mp4", WriterOptions{});
  writer.finish();
  EXPECT_TRUE(testing::filesIn(dir.path()).empty());
  ASSERT_EQ(writer.warnings().size(), 1u);
  EXPECT_EQ(writer.warnings()[0], "no frames were written; " + (dir / "empty.mp4").string() + " was not created");
}

}  // namespace
}  // namespace dshost

namespace dshost {
namespace {

// Builds without FFmpeg (the Windows build) still read and write images.
class WithoutFfmpeg : public ::testing::Test {
 protected:
  void SetUp() override {
    if (mediaHasFfmpeg()) GTEST_SKIP() << "this build has FFmpeg";
  }
  testing::ScratchDir dir_;
};

TEST_F(WithoutFfmpeg, PngSequencesAreWrittenWith8BitsAndSaySo) {
  SyntheticClip clip(smallClip(3, true));
  WriterOptions options;
  MediaWriter writer(dir_ / "f_%02d.png", options);
  for (int i = 0; i < 3; ++i) writer.write(clip.frame(i));
  writer.finish();
  ASSERT_EQ(writer.warnings().size(), 1u);
  EXPECT_EQ(writer.warnings()[0], "this build has no FFmpeg: PNG frames are written with 8 bits per channel");
  MediaReader reader(dir_ / "f_%02d.png");
  EXPECT_EQ(reader.info().frameCount, 3);
  EXPECT_TRUE(reader.info().hasAlpha);
  const ImageDiff diff = compareImages(reader.readFrame(2), clip.frame(2));
  EXPECT_LE(diff.maxColour, 0.5f / 255.0f + 1e-6f) << diff.describe();
  EXPECT_LE(diff.maxAlpha, 0.5f / 255.0f + 1e-6f) << diff.describe();
}

TEST_F(WithoutFfmpeg, VideoFilesAreRefusedClearly) {
  try {
    MediaWriter writer(dir_ / "out.mp4", WriterOptions{});
    FAIL() << "no error";
  } catch (const MediaError& e) {
    EXPECT_EQ(e.code(), MediaErrc::Unsupported);
    EXPECT_STREQ(e.what(), "this build has no FFmpeg and cannot write H.264 MP4; write a PNG sequence instead");
  }
  testing::writeFileBytes(dir_ / "in.mp4", "data");
  try {
    MediaReader reader(dir_ / "in.mp4");
    FAIL() << "no error";
  } catch (const MediaError& e) {
    EXPECT_EQ(e.code(), MediaErrc::Unsupported);
    EXPECT_EQ(std::string(e.what()),
              "cannot read " + (dir_ / "in.mp4").string() + ": this build reads video files only with FFmpeg; use an image sequence");
  }
}

}  // namespace
}  // namespace dshost
