// Opening inputs of each kind, reading frames in any order, and the errors for
// missing, unreadable and damaged inputs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>
#include <stb_image_write.h>

#include "host/media/ImageFile.h"
#include "host/media/SequencePattern.h"
#include "host/media/detail/Ffmpeg.h"
#include "host/media/detail/PixelPack.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

using testing::mediaErrorOf;
using testing::ScratchDir;
using testing::smallClip;
using testing::writeClip;

// An 8-bit picture whose pixel values say which frame and where they are.
ImageF numberedFrame(int frame, int width = 16, int height = 12) {
  ImageF image = makeImage(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      float* p = image.pixel(x, y);
      p[0] = static_cast<float>(frame * 10) / 255.0f;
      p[1] = static_cast<float>(x * 8) / 255.0f;
      p[2] = static_cast<float>(y * 8) / 255.0f;
      p[3] = static_cast<float>(100 + x) / 255.0f;
    }
  }
  return image;
}

void writeNumbered(const ScratchDir& dir, const std::string& pattern, std::initializer_list<int> numbers) {
  const SequencePattern names = SequencePattern::parse(dir / pattern);
  for (int n : numbers) writePng8(numberedFrame(n), names.fileFor(n));
}

TEST(MediaReaderSequence, StartsAtTheFirstExistingNumberAndStopsAtAGap) {
  ScratchDir dir;
  writeNumbered(dir, "shot_%04d.png", {7, 8, 9, 10, 12});
  writeNumbered(dir, "a%d.png", {0, 1, 2});
  MediaReader reader(dir / "shot_%04d.png");
  const MediaInfo& info = reader.info();
  EXPECT_EQ(info.kind, SourceKind::ImageSequence);
  EXPECT_EQ(info.firstSequenceNumber, 7);
  EXPECT_EQ(info.frameCount, 4);  // 7..10; 12 is after the gap
  EXPECT_EQ(info.width, 16);
  EXPECT_TRUE(info.hasAlpha);
  EXPECT_EQ(info.frameRate, (Rational{25, 1}));
  EXPECT_TRUE(imagesClose(reader.readFrame(2), numberedFrame(9), 1e-6f, 1e-6f));  // 8-bit values exactly
  EXPECT_TRUE(imagesClose(reader.readFrame(0), numberedFrame(7), 1e-6f, 1e-6f));
  ASSERT_EQ(reader.warnings().size(), 1u);
  EXPECT_NE(reader.warnings()[0].find("shot_0011.png is missing"), std::string::npos) << reader.warnings()[0];

  // Gaps allowed: on to the last file, a missing frame holding the one before.
  ReaderOptions gaps;
  gaps.allowGaps = true;
  MediaReader held(dir / "shot_%04d.png", gaps);
  EXPECT_EQ(held.info().frameCount, 6);  // 7..12
  EXPECT_TRUE(imagesClose(held.readFrame(4), numberedFrame(10), 1e-6f, 1e-6f)) << "11 holds 10";
  EXPECT_TRUE(imagesClose(held.readFrame(5), numberedFrame(12), 1e-6f, 1e-6f));

  ReaderOptions options;
  options.imageFrameRate = Rational{24000, 1001};
  MediaReader fromZero(dir / "a%d.png", options);
  EXPECT_EQ(fromZero.info().firstSequenceNumber, 0);
  EXPECT_EQ(fromZero.info().frameCount, 3);
  EXPECT_EQ(fromZero.info().frameRate, (Rational{24000, 1001}));
}

TEST(MediaReaderSequence, DamagedAndMismatchedFilesAreReportedWithTheirFrame) {
  ScratchDir dir;
  writeNumbered(dir, "f%02d.png", {1, 2, 3, 4});
  const std::string bytes = testing::ReadFileBytes(dir / "f03.png");
  testing::writeFileBytes(dir / "f03.png", bytes.substr(0, bytes.size() / 2));
  writePng8(numberedFrame(4, 20, 12), dir / "f04.png");
  MediaReader reader(dir / "f%02d.png");
  EXPECT_NO_THROW(reader.readFrame(1));
  const auto [frame, message] = testing::frameErrorOf([&] { reader.readFrame(2); });
  EXPECT_EQ(frame, 2);
  EXPECT_EQ(message.rfind("frame 2 of the sequence: cannot read image " + (dir / "f03.png").string(), 0), 0u) << message;
  EXPECT_EQ(mediaErrorOf(MediaErrc::CorruptFrame, [&] { reader.readFrame(3); }),
            "frame 3 (" + (dir / "f04.png").string() + ") is 20x12, the sequence is 16x12");
}

TEST(MediaReaderImage, SinglePngKeepsAlphaAndJpegHasNone) {
  ScratchDir dir;
  writePng8(numberedFrame(3), dir / "still.png");
  MediaReader png(dir / "still.png");
  EXPECT_EQ(png.info().kind, SourceKind::SingleImage);
  EXPECT_EQ(png.info().frameCount, 1);
  EXPECT_TRUE(png.info().hasAlpha);
  EXPECT_TRUE(imagesClose(png.readFrame(0), numberedFrame(3), 1e-6f, 1e-6f));
  mediaErrorOf(MediaErrc::InvalidArgument, [&] { png.readFrame(1); });

  std::vector<unsigned char> grey(16 * 12 * 3, 128);
  ASSERT_TRUE(stbi_write_jpg((dir / "still.jpg").string().c_str(), 16, 12, 3, grey.data(), 95));
  MediaReader jpeg(dir / "still.jpg");
  EXPECT_FALSE(jpeg.info().hasAlpha);
  const ImageF expected = makeImage(16, 12, 128 / 255.0f, 128 / 255.0f, 128 / 255.0f, 1.0f);
  EXPECT_TRUE(imagesClose(jpeg.readFrame(0), expected, 3 / 255.0f, 0.0f));
}

TEST(MediaReaderImage, SixteenBitPngKeepsItsPrecision) {
  DS_REQUIRE_FFMPEG();  // 16-bit PNGs are written with FFmpeg's encoder
  ScratchDir dir;
  ImageF fine = makeImage(4, 1);
  for (int x = 0; x < 4; ++x) fine.pixel(x, 0)[1] = static_cast<float>(1000 + x) / 65535.0f;  // 1/65535 steps
  MediaWriter(dir / "p%d.png", WriterOptions{}).write(fine);
  const ImageF back = MediaReader(dir / "p0.png").readFrame(0);
  EXPECT_TRUE(imagesClose(back, fine, 1e-6f, 1e-6f)) << compareImages(back, fine).describe();
}

TEST(MediaReaderErrors, MissingAndUnreadableInputs) {
  ScratchDir dir;
  const auto open = [](const std::filesystem::path& p) { return [p] { MediaReader r(p); }; };
  EXPECT_EQ(mediaErrorOf(MediaErrc::NotFound, open(dir / "none.png")), "image not found: " + (dir / "none.png").string());
  EXPECT_EQ(mediaErrorOf(MediaErrc::NotFound, open(dir / "none_%04d.png")),
            "no files match the image sequence " + (dir / "none_%04d.png").string());
  EXPECT_EQ(mediaErrorOf(MediaErrc::NotFound, open(dir / "none.mp4")), "input not found: " + (dir / "none.mp4").string());
  EXPECT_EQ(mediaErrorOf(MediaErrc::InvalidArgument, open(dir / "a_%d_%d.png")),
            "bad file-name pattern '" + (dir / "a_%d_%d.png").string() + "': it needs exactly one %d or %0Nd");
  testing::writeFileBytes(dir / "junk.png", "this is not a picture");
  const std::string junkImage = mediaErrorOf(MediaErrc::Unreadable, open(dir / "junk.png"));
  EXPECT_EQ(junkImage.rfind("cannot read image " + (dir / "junk.png").string() + ": ", 0), 0u) << junkImage;

  if (!mediaHasFfmpeg()) return;
  testing::writeFileBytes(dir / "junk.mp4", std::string(4096, '\x17'));
  const std::string junkVideo = mediaErrorOf(MediaErrc::Unreadable, open(dir / "junk.mp4"));
  EXPECT_EQ(junkVideo.rfind("cannot open " + (dir / "junk.mp4").string() + ": ", 0), 0u) << junkVideo;
  EXPECT_EQ(mediaErrorOf(MediaErrc::Unreadable, open(dir.path())),
            "input is a folder, not a media file: " + dir.path().string());
}

#if DRIFTSMEAR_HAVE_FFMPEG
// Byte range of one video packet in the file.
std::pair<std::int64_t, int> packetRange(const std::filesystem::path& file, int frame) {
  detail::InputContextPtr input = detail::openInput(file.string());
  detail::PacketPtr packet = detail::allocPacket();
  for (int seen = 0; av_read_frame(input.get(), packet.get()) >= 0; av_packet_unref(packet.get())) {
    if (seen++ == frame) return {packet->pos, packet->size};
  }
  ADD_FAILURE() << "no frame " << frame;
  return {0, 0};
}

class DamagedVideo : public ::testing::TestWithParam<const char*> {};

TEST_P(DamagedVideo, ReportsTheDamagedFrameAfterGoodOnes) {
  ScratchDir dir;
  const std::filesystem::path file = dir / GetParam();
  writeClip(SyntheticClip(smallClip(10)), file);
  const auto [pos, size] = packetRange(file, 6);  // noise over the middle of frame 6
  std::string bytes = testing::ReadFileBytes(file);
  for (int i = size / 4; i < size * 3 / 4; ++i) bytes[static_cast<std::size_t>(pos + i)] ^= static_cast<char>(0x5a + i);
  testing::writeFileBytes(file, bytes);

  MediaReader reader(file);
  EXPECT_EQ(reader.info().frameCount, 10);
  for (int i = 0; i < 6; ++i) EXPECT_NO_THROW(reader.readFrame(i)) << "frame " << i;
  const auto [frame, message] = testing::frameErrorOf([&] { reader.readFrame(6); });
  EXPECT_EQ(frame, 6);
  EXPECT_EQ(message.rfind(file.string() + ": frame 6 cannot be decoded: ", 0), 0u) << message;
}

INSTANTIATE_TEST_SUITE_P(Codecs, DamagedVideo, ::testing::Values("ffv1.mkv", "prores.mov"), [](const auto& info) {
  return std::string(info.param).substr(0, std::string(info.param).find('.'));
});

// Cuts a file in the middle of one frame's data.
void truncateInFrame(const std::filesystem::path& file, int frame) {
  const auto [pos, size] = packetRange(file, frame);
  testing::writeFileBytes(file, testing::ReadFileBytes(file).substr(0, static_cast<std::size_t>(pos + size / 2)));
}

TEST(MediaReaderErrors, TruncatedFiles) {
  ScratchDir dir;
  SyntheticClip clip(smallClip(10));
  // A MOV's index comes last: cut short, the file cannot be opened at all.
  writeClip(clip, dir / "cut.mov");
  truncateInFrame(dir / "cut.mov", 5);
  const std::string message = mediaErrorOf(MediaErrc::Unreadable, [&] { MediaReader r(dir / "cut.mov"); });
  EXPECT_EQ(message.rfind("cannot open " + (dir / "cut.mov").string() + ": ", 0), 0u) << message;

  // Matroska records no frame count: the whole frames before the cut are the clip.
  writeClip(clip, dir / "cut.mkv");
  truncateInFrame(dir / "cut.mkv", 5);
  MediaReader mkv(dir / "cut.mkv");
  EXPECT_EQ(mkv.info().frameCount, 5);
  EXPECT_TRUE(imagesClose(mkv.readFrame(4), clip.frame(4), 0.5f / 255 + 1e-6f, 0.0f));

  // An MP4 with its index first promises 10 frames; the reader says where they stop.
  if (!testing::haveFfmpegTool()) GTEST_SKIP() << "the ffmpeg tool is needed to move an MP4's index to the front";
  writeClip(clip, dir / "cut.mp4");
  ASSERT_TRUE(testing::runFfmpegTool("-i " + (dir / "cut.mp4").string() + " -c copy -movflags +faststart " +
                                     (dir / "front.mp4").string()));
  truncateInFrame(dir / "front.mp4", 5);
  MediaReader mp4(dir / "front.mp4");
  EXPECT_EQ(mp4.info().frameCount, 10);
  // The decoder works a few frames ahead (threads, reordering): the failure
  // names the first frame it could not hand out, never a later one.
  const auto [frame, text] = testing::frameErrorOf([&] {
    for (int i = 0; i < 10; ++i) mp4.readFrame(i);
  });
  EXPECT_GE(frame, 2);
  EXPECT_LE(frame, 5);
  EXPECT_NE(text.find(": frame " + std::to_string(frame) + " cannot be decoded: "), std::string::npos) << text;
}
#endif

TEST(MediaReaderVideo, ReadsInAnyOrderWithTheSamePictures) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  // Long enough that jumping to the end seeks rather than decoding every frame.
  writeClip(SyntheticClip(smallClip(340, false, 32, 24)), dir / "long.mp4");
  const std::vector<std::int64_t> order{330, 5, 339, 0, 120, 6, 6, 1};
  std::map<std::int64_t, ImageF> sequential;
  MediaReader first(dir / "long.mp4");
  for (std::int64_t i = 0; i < 340; ++i) {
    ImageF frame = first.readFrame(i);
    if (std::find(order.begin(), order.end(), i) != order.end()) sequential[i] = std::move(frame);
  }
  MediaReader reader(dir / "long.mp4");
  for (std::int64_t i : order) {
    const ImageDiff diff = compareImages(reader.readFrame(i), sequential[i]);
    EXPECT_EQ(diff.maxColour, 0.0f) << "frame " << i << ": " << diff.describe();
  }
}

// Integer codes become floats by exact division: every 16-bit code matches
// code / 65535 to the bit, and 8-bit YUV video through swscale's exact path
// matches the BT.601 arithmetic done in double far closer than its fast path
// (which is off by up to 0.006).
TEST(MediaReaderPrecision, CodesConvertExactly) {
  std::vector<std::uint16_t> codes(65536);
  for (std::size_t c = 0; c < codes.size(); ++c) codes[c] = static_cast<std::uint16_t>(c);
  ImageF grey = makeImage(65536, 1);
  detail::unpack16(codes.data(), 65536 * 2, 1, grey);
  int inexact = 0;
  for (int c = 0; c < 65536; ++c) inexact += grey.pixel(c, 0)[0] != static_cast<float>(c) / 65535.0f ? 1 : 0;
  EXPECT_EQ(inexact, 0);

  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  constexpr int kSize = 32;
  std::string y4m = "YUV4MPEG2 W32 H32 F25:1 Ip A1:1 C444 XCOLORRANGE=LIMITED\nFRAME\n";
  const auto code = [](int plane, int x, int y) {
    return plane == 0 ? 16 + (x * 7 + y * 3) % 220 : plane == 1 ? 16 + (x * 5 + y) % 225 : 16 + (y * 11 + x) % 225;
  };
  for (int plane = 0; plane < 3; ++plane) {
    for (int y = 0; y < kSize; ++y) {
      for (int x = 0; x < kSize; ++x) y4m += static_cast<char>(code(plane, x, y));
    }
  }
  testing::writeFileBytes(dir / "codes.y4m", y4m);
  const ImageF decoded = MediaReader(dir / "codes.y4m").readFrame(0);
  double worst = 0.0;
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      const double luma = (code(0, x, y) - 16) / 219.0;
      const double cb = (code(1, x, y) - 128) / 224.0;
      const double cr = (code(2, x, y) - 128) / 224.0;
      const double rgb[3] = {luma + 1.402 * cr, luma - 0.344136 * cb - 0.714136 * cr, luma + 1.772 * cb};
      for (int c = 0; c < 3; ++c) {
        const double expected = std::clamp(rgb[c], 0.0, 1.0);
        worst = std::max(worst, std::fabs(decoded.pixel(x, y)[2 - c] - expected));
      }
    }
  }
  EXPECT_LT(worst, 0.0005);
}

}  // namespace
}  // namespace dshost
