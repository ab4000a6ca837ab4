#include "host/media/detail/Ffmpeg.h"

#if DRIFTSMEAR_HAVE_FFMPEG

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <new>

#include "host/media/MediaError.h"

namespace dshost::detail {

std::string avErrorText(int errnum) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  if (av_strerror(errnum, text, sizeof text) < 0) return "error " + std::to_string(errnum);
  return text;
}

void installFfmpegLogPolicy() {
  static std::once_flag once;
  std::call_once(once, [] {
    int level = AV_LOG_QUIET;
    if (const char* env = std::getenv("DRIFTSMEAR_FFMPEG_LOG")) {
      if (std::strcmp(env, "error") == 0) level = AV_LOG_ERROR;
      else if (std::strcmp(env, "warning") == 0) level = AV_LOG_WARNING;
      else if (std::strcmp(env, "info") == 0) level = AV_LOG_INFO;
      else if (std::strcmp(env, "debug") == 0) level = AV_LOG_DEBUG;
    }
    av_log_set_level(level);
  });
}

InputContextPtr openInput(const std::string& path) {
  installFfmpegLogPolicy();
  std::error_code ec;
  if (!std::filesystem::exists(path, ec)) {
    throw MediaError(MediaErrc::NotFound, "input not found: " + path);
  }
  if (std::filesystem::is_directory(path, ec)) {
    throw MediaError(MediaErrc::Unreadable, "input is a folder, not a media file: " + path);
  }
  AVFormatContext* raw = nullptr;
  int rc = avformat_open_input(&raw, path.c_str(), nullptr, nullptr);
  if (rc < 0) {
    throw MediaError(MediaErrc::Unreadable, "cannot open " + path + ": " + avErrorText(rc));
  }
  InputContextPtr input(raw);
  rc = avformat_find_stream_info(input.get(), nullptr);
  if (rc < 0) {
    throw MediaError(MediaErrc::Unreadable, "cannot read the streams of " + path + ": " + avErrorText(rc));
  }
  return input;
}

FramePtr allocFrame() {
  FramePtr frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  return frame;
}

PacketPtr allocPacket() {
  PacketPtr packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  return packet;
}

int defaultColorspaceFor(int width, int height) {
  return (width >= 1280 || height > 576) ? SWS_CS_ITU709 : SWS_CS_ITU601;
}

}  // namespace dshost::detail

#endif
