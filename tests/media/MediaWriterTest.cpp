// Round trips through each writer, and the rules about existing, partial and
// unsupported outputs.
#include <gtest/gtest.h>

#include "host/media/detail/Ffmpeg.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

using testing::mediaErrorOf;
using testing::ScratchDir;
using testing::smallClip;
using testing::writeClip;

// A smooth picture with saturated colours and an alpha ramp: compression
// barely touches it, so what remains is the colour conversion. A wrong YUV
// matrix or range shows up here as a mean error of 0.03.
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

struct Tolerance {  // on 0..1 values
  float maxColour;
  double meanColour;
  float maxAlpha;
};

struct CodecCase {
  const char* name;
  const char* file;
  int ffv1Bits;
  const char* codec;
  bool keepsAlpha;
  Tolerance clip;      // the generated clip: sharp edges, grain
  Tolerance gradient;  // the smooth picture
};

void PrintTo(const CodecCase& c, std::ostream* os) { *os << c.name; }

// H.264 (8-bit 4:2:0, CRF 18) loses detail at sharp coloured edges, so on the
// clip only its mean is bounded tightly; on the gradient its error is mostly
// the 4:2:0 chroma, which the reader's fast conversion repeats per 2x2 block.
// ProRes 4444 (10-bit 4:4:4) is close to lossless. FFV1 is lossless: only
// rounding to 1/255 or 1/65535 remains, as for 16-bit PNG.
constexpr float k8 = 0.5f / 255.0f + 1e-6f;
constexpr float k16 = 0.5f / 65535.0f + 1e-6f;
const CodecCase kCodecs[] = {
    {"H264Mp4", "out.mp4", 8, "h264", false, {0.6f, 0.035, 0.0f}, {0.06f, 0.012, 0.0f}},
    {"ProRes4444Mov", "out.mov", 8, "prores", true, {0.02f, 0.003, 0.002f}, {0.005f, 0.001, 0.002f}},
    {"Ffv1Mkv", "out.mkv", 8, "ffv1", true, {k8, k8, k8}, {k8, k8, k8}},
    {"Ffv1Mkv16", "out.mkv", 16, "ffv1", true, {k16, k16, k16}, {k16, k16, k16}},
    {"PngSequence", "frames/%04d.png", 8, "stb", true, {k16, k16, k16}, {k16, k16, k16}},
};

class WriterRoundTrip : public ::testing::TestWithParam<CodecCase> {
 protected:
  WriterOptions options() const {
    WriterOptions o;
    o.ffv1Bits = GetParam().ffv1Bits;
    return o;
  }
  ScratchDir dir_;
};

TEST_P(WriterRoundTrip, KeepsCountSizeRateAlphaAndPixels) {
  DS_REQUIRE_FFMPEG();
  const CodecCase& c = GetParam();
  SyntheticClipOptions clipOptions = smallClip(8, c.keepsAlpha);
  clipOptions.frameRate = Rational{30000, 1001};
  SyntheticClip clip(clipOptions);
  writeClip(clip, dir_ / c.file, options());

  MediaReader reader(dir_ / c.file);
  const MediaInfo& info = reader.info();
  EXPECT_EQ(info.frameCount, 8);  // Matroska and PNG sequences record no count: it is counted
  EXPECT_EQ(info.width, 64);
  EXPECT_EQ(info.height, 48);
  if (info.kind == SourceKind::Video) {
    EXPECT_EQ(info.frameRate, (Rational{30000, 1001})) << info.frameRate.toString();
  }
  EXPECT_EQ(info.hasAlpha, c.keepsAlpha);
  EXPECT_EQ(info.codecName, c.codec);
  for (std::int64_t i = 0; i < 8; ++i) {
    const ImageF back = reader.readFrame(i);
    const ImageDiff diff = compareImages(back, clip.frame(i));
    ASSERT_TRUE(diff.sameSize) << "frame " << i;
    EXPECT_LE(diff.maxColour, c.clip.maxColour) << "frame " << i << ": " << diff.describe();
    EXPECT_LE(diff.meanColour, c.clip.meanColour) << "frame " << i << ": " << diff.describe();
    const float alphaTolerance = c.keepsAlpha ? c.clip.maxAlpha : 0.0f;  // without alpha: exactly 1
    EXPECT_LE(compareImages(back, c.keepsAlpha ? clip.frame(i) : makeImage(64, 48, 0, 0, 0, 1)).maxAlpha,
              alphaTolerance) << "frame " << i;
  }
}

TEST_P(WriterRoundTrip, ConvertsColourAccurately) {
  DS_REQUIRE_FFMPEG();
  const CodecCase& c = GetParam();
  const ImageF picture = gradientFrame(96, 64);
  {
    MediaWriter writer(dir_ / c.file, options());
    for (int i = 0; i < 3; ++i) writer.write(picture);
  }
  const ImageDiff diff = compareImages(MediaReader(dir_ / c.file).readFrame(2), picture);
  ASSERT_TRUE(diff.sameSize);
  EXPECT_LE(diff.maxColour, c.gradient.maxColour) << diff.describe();
  EXPECT_LE(diff.meanColour, c.gradient.meanColour) << diff.describe();
  EXPECT_LE(c.keepsAlpha ? diff.maxAlpha : 0.0f, c.gradient.maxAlpha) << diff.describe();
}

INSTANTIATE_TEST_SUITE_P(Codecs, WriterRoundTrip, ::testing::ValuesIn(kCodecs),
                         [](const ::testing::TestParamInfo<CodecCase>& info) { return std::string(info.param.name); });

TEST(MediaWriterFormats, ChosenFromTheNameOrGiven) {
  ScratchDir dir;
  EXPECT_EQ(outputFormatForPath("a.mp4"), OutputFormat::H264Mp4);
  EXPECT_EQ(outputFormatForPath("a.MOV"), OutputFormat::ProRes4444Mov);
  EXPECT_EQ(outputFormatForPath("a.mkv"), OutputFormat::Ffv1Mkv);
  EXPECT_EQ(outputFormatForPath("out/f_%05d.png"), OutputFormat::PngSequence);
  EXPECT_EQ(outputFormatForPath("out/"), OutputFormat::PngSequence);
  EXPECT_EQ(outputFormatForPath(dir.path()), OutputFormat::PngSequence);
  EXPECT_EQ(parseOutputFormat("ProRes"), OutputFormat::ProRes4444Mov);
  EXPECT_EQ(parseOutputFormat("avi"), std::nullopt);
  EXPECT_EQ(outputFormatForPath("a.webm"), OutputFormat::Vp9Webm);
  EXPECT_EQ(outputFormatForPath("a.nut"), OutputFormat::Ffv1Nut);
  EXPECT_EQ(outputFormatForPath("still.png"), OutputFormat::Image);
  EXPECT_EQ(outputFormatForPath("out/f_%05d.exr"), OutputFormat::Image);
  EXPECT_EQ(mediaErrorOf(MediaErrc::Unsupported, [] { outputFormatForPath("clip.avi"); }),
            "unsupported output format 'clip.avi': use .mp4 (H.264), .mov (ProRes 4444), .mkv (FFV1), .webm (VP9), "
            ".nut, an image (.png, .jpg, .exr, ...) or a pattern/folder of them");

  if (!mediaHasFfmpeg()) return;
  WriterOptions options;
  options.format = OutputFormat::Ffv1Mkv;
  writeClip(SyntheticClip(smallClip(2)), dir / "lossless.video", options);
  EXPECT_EQ(MediaReader(dir / "lossless.video").info().codecName, "ffv1");
}

TEST(MediaWriterFormats, PngSequenceIntoAFolder) {
  ScratchDir dir;
  WriterOptions options;
  options.sequenceStartNumber = 1;
  writeClip(SyntheticClip(smallClip(3)), dir / "render/", options);
  EXPECT_EQ(testing::filesIn(dir / "render"), (std::vector<std::string>{"000001.png", "000002.png", "000003.png"}));
  EXPECT_EQ(MediaReader(dir / "render/%06d.png").info().frameCount, 3);
}

TEST(MediaWriterFormats, OddSizesArePaddedForH264Only) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(2, true, 65, 49));
  EXPECT_EQ(writeClip(clip, dir / "odd.mp4"),
            std::vector<std::string>{"H.264 needs even sizes: 65x49 is written as 66x50 with the edge repeated"});
  EXPECT_EQ(MediaReader(dir / "odd.mp4").info().width, 66);
  EXPECT_EQ(MediaReader(dir / "odd.mp4").info().height, 50);
  for (const char* name : {"odd.mov", "odd.mkv"}) {
    writeClip(clip, dir / name);
    EXPECT_EQ(MediaReader(dir / name).info().width, 65) << name;
    EXPECT_EQ(MediaReader(dir / name).info().height, 49) << name;
  }
}

TEST(MediaWriterFormats, WithoutAlphaTheFormatsHaveNoAlphaChannel) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  WriterOptions options;
  options.alpha = false;
  for (const char* name : {"a.mov", "a.mkv", "a_%02d.png"}) {
    writeClip(SyntheticClip(smallClip(2)), dir / name, options);
    EXPECT_FALSE(MediaReader(dir / name).info().hasAlpha) << name;
  }
}

#if DRIFTSMEAR_HAVE_FFMPEG
TEST(MediaWriterFormats, KeepsTheInputTimeBaseWhenFramesFitIt) {
  ScratchDir dir;
  auto storedTimeBase = [](const std::filesystem::path& file) {
    detail::InputContextPtr input = detail::openInput(file.string());
    const AVRational tb = input->streams[0]->time_base;
    return Rational{tb.num, tb.den};
  };
  WriterOptions options;
  options.timeBase = Rational{1, 15360};
  writeClip(SyntheticClip(smallClip(3)), dir / "fits.mov", options);  // 512 ticks a frame at 30 fps
  EXPECT_EQ(storedTimeBase(dir / "fits.mov"), (Rational{1, 15360}));

  SyntheticClipOptions ntsc = smallClip(3);
  ntsc.frameRate = Rational{30000, 1001};
  options.timeBase = Rational{1, 12800};  // 427.09 ticks a frame: not kept
  writeClip(SyntheticClip(ntsc), dir / "ntsc.mov", options);
  EXPECT_EQ(MediaReader(dir / "ntsc.mov").info().frameRate, (Rational{30000, 1001}));
  EXPECT_NE(storedTimeBase(dir / "ntsc.mov"), (Rational{1, 12800}));
}
#endif

TEST(MediaWriterErrors, RefusesToOverwriteUnlessAllowed) {
  ScratchDir dir;
  writeClip(SyntheticClip(smallClip(5)), dir / "f_%03d.png");
  EXPECT_EQ(mediaErrorOf(MediaErrc::OutputExists, [&] { MediaWriter w(dir / "f_%03d.png", WriterOptions{}); }),
            "frames of " + (dir / "f_%03d.png").string() + " already exist; refusing to overwrite them");
  WriterOptions overwrite;
  overwrite.overwrite = true;
  writeClip(SyntheticClip(smallClip(2)), dir / "f_%03d.png", overwrite);
  EXPECT_EQ(testing::filesIn(dir.path()), (std::vector<std::string>{"f_000.png", "f_001.png"}));  // no stale frames

  if (!mediaHasFfmpeg()) return;
  testing::writeFileBytes(dir / "taken.mp4", "precious");
  EXPECT_EQ(mediaErrorOf(MediaErrc::OutputExists, [&] { MediaWriter w(dir / "taken.mp4", WriterOptions{}); }),
            (dir / "taken.mp4").string() + " already exists; refusing to overwrite it");
  EXPECT_EQ(testing::ReadFileBytes(dir / "taken.mp4"), "precious");
  writeClip(SyntheticClip(smallClip(2)), dir / "taken.mp4", overwrite);
  EXPECT_EQ(MediaReader(dir / "taken.mp4").info().frameCount, 2);
}

TEST(MediaWriterErrors, BadRequests) {
  ScratchDir dir;
  MediaWriter writer(dir / "s_%02d.png", WriterOptions{});
  writer.write(makeImage(8, 8));
  EXPECT_EQ(mediaErrorOf(MediaErrc::InvalidArgument, [&] { writer.write(makeImage(8, 9)); }),
            "frame 1 is 8x9, the output is 8x8");
  if (!mediaHasFfmpeg()) return;
  EXPECT_EQ(mediaErrorOf(MediaErrc::WriteFailed, [&] { MediaWriter w(dir / "nowhere" / "out.mkv", WriterOptions{}); }),
            "the folder " + (dir / "nowhere").string() + " does not exist");
}

TEST(MediaWriterPartial, OutputNameAppearsOnlyWhenFinished) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(20));
  MediaWriter writer(dir / "out.mp4", WriterOptions{});
  for (int i = 0; i < 5; ++i) writer.write(clip.frame(i));
  const std::vector<std::string> partial = testing::filesIn(dir.path());
  ASSERT_EQ(partial.size(), 1u);
  EXPECT_EQ(partial[0].rfind("out.mp4.", 0), 0u) << "a temporary file of its own beside the output";
  EXPECT_EQ(partial[0].substr(partial[0].size() - 5), ".part");
  writer.finish();  // interrupted: the caller stops feeding frames and finishes
  EXPECT_EQ(testing::filesIn(dir.path()), std::vector<std::string>{"out.mp4"});
  MediaReader reader(dir / "out.mp4");
  EXPECT_EQ(reader.info().frameCount, 5);
  EXPECT_LE(compareImages(reader.readFrame(4), clip.frame(4)).meanColour, 0.035);
}

TEST(MediaWriterPartial, UnfinishedAbandonedAndEmptyWriters) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  SyntheticClip clip(smallClip(3, true));
  {
    MediaWriter kept(dir / "kept.mov", WriterOptions{});  // destroyed unfinished: finished then
    MediaWriter dropped(dir / "dropped.mkv", WriterOptions{});
    MediaWriter frames(dir / "f_%02d.png", WriterOptions{});
    for (int i = 0; i < 3; ++i) {
      kept.write(clip.frame(i));
      dropped.write(clip.frame(i));
      frames.write(clip.frame(i));
    }
    dropped.abandon();
    frames.abandon();
    MediaWriter empty(dir / "empty.mp4", WriterOptions{});
    empty.finish();
    ASSERT_EQ(empty.warnings().size(), 1u);
    EXPECT_EQ(empty.warnings()[0], "no frames were written; " + (dir / "empty.mp4").string() + " was not created");
  }
  EXPECT_EQ(testing::filesIn(dir.path()), std::vector<std::string>{"kept.mov"});
  EXPECT_EQ(MediaReader(dir / "kept.mov").info().frameCount, 3);
}

// Builds without FFmpeg (the Windows build) still write PNG sequences.
TEST(MediaWriterWithoutFfmpeg, PngSequencesHave8BitsAndVideoIsRefused) {
  if (mediaHasFfmpeg()) GTEST_SKIP() << "this build has FFmpeg";
  ScratchDir dir;
  SyntheticClip clip(smallClip(3, true));
  EXPECT_EQ(writeClip(clip, dir / "f_%02d.png"),
            std::vector<std::string>{"this build has no FFmpeg: PNG frames are written with 8 bits per channel"});
  const ImageDiff diff = compareImages(MediaReader(dir / "f_%02d.png").readFrame(2), clip.frame(2));
  EXPECT_LE(std::max(diff.maxColour, diff.maxAlpha), k8) << diff.describe();

  EXPECT_EQ(mediaErrorOf(MediaErrc::Unsupported, [&] { MediaWriter w(dir / "out.mp4", WriterOptions{}); }),
            "this build has no FFmpeg and cannot write H.264 MP4; write a PNG sequence instead");
  testing::writeFileBytes(dir / "in.mp4", "data");
  EXPECT_EQ(mediaErrorOf(MediaErrc::Unsupported, [&] { MediaReader r(dir / "in.mp4"); }),
            "cannot read " + (dir / "in.mp4").string() + ": this build reads video files only with FFmpeg; use an image sequence");
}

}  // namespace
}  // namespace dshost
