// Opening inputs of each kind, reading frames in any order, and the errors for
// missing, unreadable and damaged inputs.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include <stb_image_write.h>

#include "host/media/ImageFile.h"
#include "host/media/MediaError.h"
#include "host/media/MediaReader.h"
#include "host/media/SequencePattern.h"
#include "host/media/detail/Ffmpeg.h"
#include "media/MediaTestSupport.h"

namespace dshost {
namespace {

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

void writeNumberedSequence(const ScratchDir& dir, const std::string& pattern, std::initializer_list<int> numbers) {
  const SequencePattern names = SequencePattern::parse(dir / pattern);
  for (int n : numbers) writePng8(numberedFrame(n), names.fileFor(n));
}

MediaErrc errorCodeOf(const std::function<void()>& action, std::string* message = nullptr) {
  try {
    action();
  } catch (const MediaError& e) {
    if (message) *message = e.what();
    return e.code();
  }
  ADD_FAILURE() << "no MediaError";
  return MediaErrc::InvalidArgument;
}

TEST(MediaReaderSequence, StartsAtTheFirstExistingNumberAndStopsAtAGap) {
  ScratchDir dir;
  writeNumberedSequence(dir, "shot_%04d.png", {7, 8, 9, 10, 12});
  MediaReader reader(dir / "shot_%04d.png");
  const MediaInfo& info = reader.info();
  EXPECT_EQ(info.kind, SourceKind::ImageSequence);
  EXPECT_EQ(info.firstSequenceNumber, 7);
  EXPECT_EQ(info.frameCount, 4);  // 7..10; 12 is after the gap
  EXPECT_EQ(info.width, 16);
  EXPECT_EQ(info.height, 12);
  EXPECT_TRUE(info.hasAlpha);
  EXPECT_EQ(info.frameRate, (Rational{25, 1}));
  // Frame 2 is file 9; 8-bit values come back exactly.
  EXPECT_TRUE(imagesClose(reader.readFrame(2), numberedFrame(9), 1e-6f, 1e-6f));
  EXPECT_TRUE(imagesClose(reader.readFrame(0), numberedFrame(7), 1e-6f, 1e-6f));
}

TEST(MediaReaderSequence, NumbersFromZeroOrOneAndUnpaddedPatterns) {
  ScratchDir dir;
  writeNumberedSequence(dir, "a%d.png", {0, 1, 2});
  writeNumberedSequence(dir, "b%03d.png", {1, 2});
  EXPECT_EQ(MediaReader(dir / "a%d.png").info().frameCount, 3);
  EXPECT_EQ(MediaReader(dir / "a%d.png").info().firstSequenceNumber, 0);
  MediaReader b(dir / "b%03d.png");
  EXPECT_EQ(b.info().firstSequenceNumber, 1);
  EXPECT_EQ(b.info().frameCount, 2);
  ReaderOptions options;
  options.imageFrameRate = Rational{24000, 1001};
  EXPECT_EQ(MediaReader(dir / "b%03d.png", options).info().frameRate, (Rational{24000, 1001}));
}

TEST(MediaReaderSequence, ADamagedFileIsReportedWithItsFrame) {
  ScratchDir dir;
  writeNumberedSequence(dir, "f%02d.png", {1, 2, 3, 4});
  const std::string bytes = testing::readFileBytes(dir / "f03.png");
  testing::writeFileBytes(dir / "f03.png", bytes.substr(0, bytes.size() / 2));
  MediaReader reader(dir / "f%02d.png");
  EXPECT_NO_THROW(reader.readFrame(1));
  try {
    reader.readFrame(2);
    FAIL() << "no error";
  } catch (const FrameDecodeError& e) {
    EXPECT_EQ(e.frameIndex(), 2);
    EXPECT_EQ(std::string(e.what()).rfind("frame 2 of the sequence: cannot read image " + (dir / "f03.png").string(), 0), 0u)
        << e.what();
  }
  EXPECT_NO_THROW(reader.readFrame(3));
}

TEST(MediaReaderSequence, AFileOfAnotherSizeIsReported) {
  ScratchDir dir;
  writePng8(numberedFrame(0), dir / "f0.png");
  writePng8(numberedFrame(1, 20, 12), dir / "f1.png");
  MediaReader reader(dir / "f%d.png");
  try {
    reader.readFrame(1);
    FAIL() << "no error";
  } catch (const FrameDecodeError& e) {
    EXPECT_EQ(e.frameIndex(), 1);
    EXPECT_EQ(std::string(e.what()), "frame 1 (" + (dir / "f1.png").string() + ") is 20x12, the sequence is 16x12");
  }
}

TEST(MediaReaderImage, SinglePngKeepsAlphaAndJpegHasNone) {
  ScratchDir dir;
  writePng8(numberedFrame(3), dir / "still.png");
  MediaReader png(dir / "still.png");
  EXPECT_EQ(png.info().kind, SourceKind::SingleImage);
  EXPECT_EQ(png.info().frameCount, 1);
  EXPECT_TRUE(png.info().hasAlpha);
  EXPECT_TRUE(imagesClose(png.readFrame(0), numberedFrame(3), 1e-6f, 1e-6f));
  EXPECT_EQ(errorCodeOf([&] { png.readFrame(1); }), MediaErrc::InvalidArgument);

  std::vector<unsigned char> rgb(16 * 12 * 3, 128);
  ASSERT_TRUE(stbi_write_jpg((dir / "still.jpg").string().c_str(), 16, 12, 3, rgb.data(), 95));
  MediaReader jpeg(dir / "still.jpg");
  EXPECT_FALSE(jpeg.info().hasAlpha);
  const ImageF grey = jpeg.readFrame(0);
  EXPECT_TRUE(imagesClose(grey, makeImage(16, 12, 128 / 255.0f, 128 / 255.0f, 128 / 255.0f, 1.0f), 3 / 255.0f, 0.0f))
      << compareImages(grey, makeImage(16, 12, 128 / 255.0f, 128 / 255.0f, 128 / 255.0f, 1.0f)).describe();
}

TEST(MediaReaderImage, SixteenBitPngKeepsItsPrecision) {
  DS_REQUIRE_FFMPEG();  // 16-bit PNGs are written with FFmpeg's encoder
  ScratchDir dir;
  ImageF fine = makeImage(4, 1);
  for (int x = 0; x < 4; ++x) fine.pixel(x, 0)[1] = static_cast<float>(1000 + x) / 65535.0f;  // 1/65535 steps
  {
    MediaWriter writer(dir / "p%d.png", WriterOptions{});
    writer.write(fine);
  }
  const ImageF back = MediaReader(dir / "p0.png").readFrame(0);
  EXPECT_TRUE(imagesClose(back, fine, 1e-6f, 1e-6f)) << compareImages(back, fine).describe();
}

TEST(MediaReaderErrors, MissingInputs) {
  ScratchDir dir;
  std::string message;
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir / "none.png"); }, &message), MediaErrc::NotFound);
  EXPECT_EQ(message, "image not found: " + (dir / "none.png").string());
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir / "none_%04d.png"); }, &message), MediaErrc::NotFound);
  EXPECT_EQ(message, "no files match the image sequence " + (dir / "none_%04d.png").string());
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir / "none.mp4"); }, &message), MediaErrc::NotFound);
  EXPECT_EQ(message, "input not found: " + (dir / "none.mp4").string());
}

TEST(MediaReaderErrors, UnreadableInputs) {
  ScratchDir dir;
  testing::writeFileBytes(dir / "junk.png", "this is not a picture");
  std::string message;
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir / "junk.png"); }, &message), MediaErrc::Unreadable);
  EXPECT_EQ(message.rfind("cannot read image " + (dir / "junk.png").string() + ": ", 0), 0u) << message;
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir / "a_%d_%d.png"); }, &message), MediaErrc::InvalidArgument);
  EXPECT_EQ(message, "bad file-name pattern '" + (dir / "a_%d_%d.png").string() + "': it needs exactly one %d or %0Nd");

  if (!mediaHasFfmpeg()) return;
  testing::writeFileBytes(dir / "junk.mp4", std::string(4096, '\x17'));
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir / "junk.mp4"); }, &message), MediaErrc::Unreadable);
  EXPECT_EQ(message.rfind("cannot open " + (dir / "junk.mp4").string() + ": ", 0), 0u) << message;
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir.path()); }, &message), MediaErrc::Unreadable);
  EXPECT_EQ(message, "input is a folder, not a media file: " + dir.path().string());
}

#if DRIFTSMEAR_HAVE_FFMPEG
// Byte ranges of the video packets of a file, in file order.
std::vector<std::pair<std::int64_t, int>> packetRanges(const std::filesystem::path& file) {
  detail::InputContextPtr input = detail::openInput(file.string());
  detail::PacketPtr packet = detail::allocPacket();
  std::vector<std::pair<std::int64_t, int>> ranges;
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    if (input->streams[packet->stream_index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
      ranges.emplace_back(packet->pos, packet->size);
    }
    av_packet_unref(packet.get());
  }
  return ranges;
}

// Overwrites the middle of one frame's packet with noise.
void damageFrame(const std::filesystem::path& file, int frame) {
  const auto ranges = packetRanges(file);
  ASSERT_GT(static_cast<int>(ranges.size()), frame);
  std::string bytes = testing::readFileBytes(file);
  const auto [pos, size] = ranges[static_cast<std::size_t>(frame)];
  for (int i = size / 4; i < size * 3 / 4; ++i) bytes[static_cast<std::size_t>(pos + i)] ^= static_cast<char>(0x5a + i);
  testing::writeFileBytes(file, bytes);
}

class DamagedVideo : public ::testing::TestWithParam<const char*> {};

TEST_P(DamagedVideo, ReportsTheDamagedFrameAfterGoodOnes) {
  ScratchDir dir;
  const std::filesystem::path file = dir / GetParam();
  SyntheticClip clip(smallClip(10));
  writeClip(clip, file);
  damageFrame(file, 6);
  MediaReader reader(file);
  EXPECT_EQ(reader.info().frameCount, 10);
  for (int i = 0; i < 6; ++i) EXPECT_NO_THROW(reader.readFrame(i)) << "frame " << i;
  try {
    reader.readFrame(6);
    FAIL() << "no error";
  } catch (const FrameDecodeError& e) {
    EXPECT_EQ(e.frameIndex(), 6);
    EXPECT_EQ(e.code(), MediaErrc::CorruptFrame);
    EXPECT_EQ(std::string(e.what()).rfind(file.string() + ": frame 6 cannot be decoded: ", 0), 0u) << e.what();
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, DamagedVideo, ::testing::Values("lossless.mkv", "prores.mov"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                           return std::string(info.param).substr(0, std::string(info.param).find('.'));
                         });

// Cuts a file in the middle of one frame's data.
void truncateInFrame(const std::filesystem::path& file, int frame) {
  const auto ranges = packetRanges(file);
  const std::string bytes = testing::readFileBytes(file);
  const auto [pos, size] = ranges[static_cast<std::size_t>(frame)];
  testing::writeFileBytes(file, bytes.substr(0, static_cast<std::size_t>(pos + size / 2)));
}

TEST(MediaReaderErrors, TruncatedFiles) {
  ScratchDir dir;
  SyntheticClip clip(smallClip(10));
  // A MOV's index comes last: cut short, the file cannot be opened at all.
  writeClip(clip, dir / "cut.mov");
  truncateInFrame(dir / "cut.mov", 5);
  std::string message;
  EXPECT_EQ(errorCodeOf([&] { MediaReader r(dir / "cut.mov"); }, &message), MediaErrc::Unreadable);
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
  try {
    for (int i = 0; i < 10; ++i) mp4.readFrame(i);
    FAIL() << "no error";
  } catch (const FrameDecodeError& e) {
    // The decoder works a few frames ahead (threads, reordering): the failure
    // names the first frame it could not hand out, never a later one.
    EXPECT_GE(e.frameIndex(), 2);
    EXPECT_LE(e.frameIndex(), 5);
    const std::string expected = ": frame " + std::to_string(e.frameIndex()) + " cannot be decoded: ";
    EXPECT_NE(std::string(e.what()).find(expected), std::string::npos) << e.what();
  }
}
#endif

TEST(MediaReaderVideo, ReadsInAnyOrderWithTheSamePictures) {
  DS_REQUIRE_FFMPEG();
  ScratchDir dir;
  // Long enough that jumping to the end seeks rather than decoding every frame.
  SyntheticClip clip(smallClip(340, false, 32, 24));
  writeClip(clip, dir / "long.mp4");
  std::map<std::int64_t, ImageF> sequential;
  const std::vector<std::int64_t> wanted{0, 1, 5, 6, 120, 330, 339};
  {
    MediaReader reader(dir / "long.mp4");
    for (std::int64_t i = 0; i < 340; ++i) {
      ImageF frame = reader.readFrame(i);
      if (std::find(wanted.begin(), wanted.end(), i) != wanted.end()) sequential[i] = std::move(frame);
    }
  }
  MediaReader reader(dir / "long.mp4");
  for (std::int64_t i : {std::int64_t{330}, std::int64_t{5}, std::int64_t{339}, std::int64_t{0}, std::int64_t{120},
                         std::int64_t{6}, std::int64_t{6}, std::int64_t{1}}) {
    const ImageDiff diff = compareImages(reader.readFrame(i), sequential[i]);
    EXPECT_EQ(diff.maxColour, 0.0f) << "frame " << i << ": " << diff.describe();
  }
}

}  // namespace
}  // namespace dshost
