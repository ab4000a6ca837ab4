// Audio is copied from the input packet by packet, never re-encoded.
#include <gtest/gtest.h>

#include "host/media/MediaError.h"
#include "host/media/MediaReader.h"
#include "host/media/MediaWriter.h"
#include "host/media/detail/Ffmpeg.h"
#include "media/MediaTestSupport.h"

#if DRIFTSMEAR_HAVE_FFMPEG

namespace dshost {
namespace {

using testing::ScratchDir;

struct AudioPacket {
  double start;  // seconds from the first video frame
  std::string data;
};

std::vector<AudioPacket> audioPackets(const std::filesystem::path& file) {
  detail::InputContextPtr input = detail::openInput(file.string());
  detail::PacketPtr packet = detail::allocPacket();
  const AVStream* video = input->streams[av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0)];
  const double videoStart = static_cast<double>(video->start_time) * av_q2d(video->time_base);
  std::vector<AudioPacket> packets;
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    const AVStream* stream = input->streams[packet->stream_index];
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
      packets.push_back({static_cast<double>(packet->pts) * av_q2d(stream->time_base) - videoStart,
                         std::string(reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size))});
    }
    av_packet_unref(packet.get());
  }
  return packets;
}

class MediaWriterAudio : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!testing::haveFfmpegTool()) GTEST_SKIP() << "the ffmpeg tool is needed to make a clip with sound";
  }

  // A 2-second clip at 25 fps with a 440 Hz tone.
  std::filesystem::path makeInput(const std::string& name, const std::string& audioCodec) {
    const std::filesystem::path file = dir_ / name;
    const bool made = testing::runFfmpegTool(
        "-f lavfi -i testsrc2=size=64x48:rate=25:duration=2 -f lavfi -i sine=frequency=440:sample_rate=48000:duration=2 "
        "-c:v ffv1 -c:a " + audioCodec + " -shortest " + file.string());
    EXPECT_TRUE(made);
    return file;
  }

  // Reads the input's frames from `first` on and writes `count` of them, with its audio.
  MediaWriter* render(const std::filesystem::path& input, const std::filesystem::path& output, std::int64_t first,
                      std::int64_t count) {
    MediaReader reader(input);
    WriterOptions options;
    options.frameRate = reader.info().frameRate;
    options.timeBase = reader.info().timeBase;
    options.audioFrom = input;
    options.audioStartSeconds = reader.info().timeMapping().timeOfFrame(first).seconds();
    writer_ = std::make_unique<MediaWriter>(output, options);
    for (std::int64_t i = first; i < first + count; ++i) writer_->write(reader.readFrame(i));
    writer_->finish();
    return writer_.get();
  }

  ScratchDir dir_;
  std::unique_ptr<MediaWriter> writer_;
};

TEST_F(MediaWriterAudio, AacIsCopiedUntouchedIntoMp4AndMkv) {
  const auto input = makeInput("in.mkv", "aac");
  const std::vector<AudioPacket> source = audioPackets(input);
  ASSERT_GT(source.size(), 50u);
  for (const char* name : {"out.mp4", "out.mkv"}) {
    const MediaWriter* writer = render(input, dir_ / name, 0, 50);
    EXPECT_TRUE(writer->warnings().empty()) << writer->warnings()[0];
    const MediaInfo info = MediaReader(dir_ / name).info();
    EXPECT_TRUE(info.hasAudio) << name;
    EXPECT_EQ(info.audioCodecName, "aac");
    EXPECT_EQ(info.frameCount, 50);

    // The same bytes, packet for packet, up to the end of the last frame (2 s).
    const std::vector<AudioPacket> copied = audioPackets(dir_ / name);
    ASSERT_GE(copied.size(), source.size() - 2) << name;
    ASSERT_LE(copied.size(), source.size()) << name;
    for (std::size_t i = 0; i < copied.size(); ++i) {
      ASSERT_EQ(copied[i].data, source[i].data) << name << ": packet " << i;
      ASSERT_NEAR(copied[i].start, source[i].start, 1e-3) << name << ": packet " << i;
    }
  }
}

TEST_F(MediaWriterAudio, ARangeCarriesTheAudioOfThatRange) {
  const auto input = makeInput("in.mkv", "aac");
  const std::vector<AudioPacket> source = audioPackets(input);
  // Frames 20..34 of the input: 0.8 s to 1.4 s.
  render(input, dir_ / "part.mkv", 20, 15);
  const std::vector<AudioPacket> copied = audioPackets(dir_ / "part.mkv");
  ASSERT_FALSE(copied.empty());
  // The first packet copied is the one playing at 0.8 s, now at the start.
  const auto first = std::find_if(source.begin(), source.end(), [](const AudioPacket& p) { return p.start + 1024 / 48000.0 > 0.8; });
  ASSERT_NE(first, source.end());
  EXPECT_EQ(copied.front().data, first->data);
  EXPECT_NEAR(copied.front().start, first->start - 0.8, 1e-3);
  // And the last one starts before 0.6 s, the end of the 15 frames.
  EXPECT_LT(copied.back().start, 0.6);
  EXPECT_GT(copied.back().start, 0.6 - 2 * 1024 / 48000.0);
}

TEST_F(MediaWriterAudio, AudioTheContainerCannotHoldIsLeftOutWithAWarning) {
  const auto input = makeInput("in.mov", "pcm_s16le");
  const MediaWriter* mp4 = render(input, dir_ / "out.mp4", 0, 5);
  ASSERT_EQ(mp4->warnings().size(), 1u);
  EXPECT_EQ(mp4->warnings()[0], "audio not copied: pcm_s16le audio cannot go into a mp4 file");
  EXPECT_FALSE(MediaReader(dir_ / "out.mp4").info().hasAudio);

  const MediaWriter* mov = render(input, dir_ / "out.mov", 0, 5);  // MOV takes PCM
  EXPECT_TRUE(mov->warnings().empty());
  EXPECT_EQ(MediaReader(dir_ / "out.mov").info().audioCodecName, "pcm_s16le");

  const MediaWriter* png = render(input, dir_ / "frames_%03d.png", 0, 5);
  ASSERT_EQ(png->warnings().size(), 1u);
  EXPECT_EQ(png->warnings()[0], "audio not copied: a PNG sequence holds no audio");
}

}  // namespace
}  // namespace dshost

#endif
