// Writes float BGRA frames to a video file or a PNG sequence, copying the
// audio of the input through untouched.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/media/Image.h"
#include "host/media/TimeMapping.h"

namespace dshost {

enum class OutputFormat {
  Auto,           // from the output name
  H264Mp4,        // .mp4: H.264 (libx264), yuv420p, BT.709 limited range; no alpha
  ProRes4444Mov,  // .mov: ProRes 4444 (prores_ks), yuva444p10le; keeps alpha
  Ffv1Mkv,        // .mkv: FFV1 lossless, bgra (or gbrap16le, see ffv1Bits); keeps alpha
  PngSequence,    // a %d pattern or a folder: 16-bit RGBA PNGs (8-bit without FFmpeg); keeps alpha
  Vp9Webm,        // .webm: VP9 (libvpx-vp9), yuv420p (yuva420p with alpha)
  Ffv1Nut,        // .nut: FFV1 as for .mkv, in FFmpeg's own container (pipes)
  Image           // one image file (.png, .jpg, .exr, .tif, ...), or a %d pattern of them: FFmpeg's image encoders
};

const char* outputFormatName(OutputFormat format);

// "mp4"/"h264", "mov"/"prores", "mkv"/"ffv1", "webm"/"vp9", "nut", "png";
// case-insensitive.
std::optional<OutputFormat> parseOutputFormat(std::string_view name);

// The format a name asks for: a %d pattern of .png, an existing folder or a
// name ending in a slash -> PngSequence; .mp4/.m4v -> H264Mp4; .mov ->
// ProRes4444Mov; .mkv -> Ffv1Mkv; .webm -> Vp9Webm; .nut -> Ffv1Nut; one
// image file, or a %d pattern of another image type -> Image. Throws
// MediaError(Unsupported) for anything else. "-" (standard output) has no
// format of its own: WriterOptions::format must name one.
OutputFormat outputFormatForPath(const std::filesystem::path& output);

struct WriterOptions {
  OutputFormat format = OutputFormat::Auto;
  Rational frameRate{25, 1};
  // Time base of the output video stream, usually the input's. Used when a frame
  // lasts a whole number of its ticks; otherwise, and when invalid (the default),
  // the stream counts in frames (1/frameRate). Containers may replace it with
  // their own (Matroska always uses 1/1000).
  Rational timeBase{0, 1};
  bool alpha = true;       // keep an alpha channel where the format has one
  bool overwrite = false;  // replace an existing output
  // Copy the audio streams of this file (usually the input) into the output.
  std::filesystem::path audioFrom;
  // Where in audioFrom's timeline the first written frame sits, in seconds from
  // its first video frame: audio before it is skipped.
  double audioStartSeconds = 0.0;
  // FFV1 stores 8 bits a channel (bgra / bgr0) unless this is 16 (gbrap16le /
  // gbrp16le). 16 bits keep the effect's float output for deep sources, at
  // about four times the size and the encoding and decoding time.
  int ffv1Bits = 8;
  int h264Crf = 18;
  std::string h264Preset = "veryfast";
  // Any FFmpeg video encoder instead of the format's own (empty: the
  // format's); a pixel format by FFmpeg's name (empty: the encoder's best);
  // a constant-quality level for encoders that take "crf" (-1: the default).
  std::string codec;
  std::string pixelFormat;
  int crf = -1;
  int sequenceStartNumber = 0;  // number of the first PNG file
};

// Files and interruption:
//  - Video files are written to a temporary file of this writer's own beside
//    the output, "<output>.<pid>-<tag>.part", and moved to the output name in
//    one step by finish(), so the output name only ever holds a complete,
//    playable file and two renders to one name never share a file. Stopping
//    early (Ctrl-C) is: stop calling write(), call finish(); the output then
//    holds the frames written so far. A process killed outright leaves only
//    its temporary file, which the next writer to that name removes (one of a
//    render still running is left alone).
//  - Without overwrite, an output that appears while rendering is never
//    replaced: finish() keeps this result as "<stem> (2)<ext>" and throws
//    MediaError(OutputExists) saying so. A live temporary file of another
//    render to the same name is refused up front (a warning with overwrite).
//  - Every frame is handed to the system as it is written, so a full disk or a
//    file size limit fails write() at that frame.
//  - PNG frames are each written to their own temporary file and renamed, so
//    no PNG is ever half-written.
//  - An existing output (for sequences: any file matching the pattern) is an
//    error unless overwrite is set. With overwrite, a video file is replaced at
//    finish(); a sequence's old matching files are removed before the first new
//    frame is written, so no stale frames remain after the new ones.
//  - open() (or the first write()) creates the temporary file; finish() with no
//    frames removes it and leaves nothing behind.
//  - Audio that the container cannot hold (PCM in MP4, any audio in a PNG
//    sequence) is left out with a warning; it is never an error. Audio is cut
//    at the end of the last written frame.
class MediaWriter {
 public:
  // Checks the name, the format and the overwrite rule; throws MediaError
  // (Unsupported, OutputExists, WriteFailed) before anything is written.
  MediaWriter(const std::filesystem::path& output, WriterOptions options);
  // Finishes a writer that was not finished; errors are swallowed there, so call
  // finish() to see them.
  ~MediaWriter();
  MediaWriter(const MediaWriter&) = delete;
  MediaWriter& operator=(const MediaWriter&) = delete;

  // Creates the output's temporary file for frames of this size, so that an
  // unwritable folder is found before any frame is rendered. Throws
  // MediaError(WriteFailed). Optional: write() does it for the first frame.
  void open(int width, int height);

  // Appends one frame. Every frame must have the size of the first. Throws
  // MediaError(InvalidArgument) for a wrong size, MediaError(WriteFailed) when
  // encoding or writing fails.
  void write(const ImageF& frame);

  // Flushes the encoder, copies the remaining audio, writes the trailer and
  // moves the file to its name. Idempotent. Throws MediaError(WriteFailed); the
  // partial file is removed then.
  void finish();

  // Stops and deletes everything this writer created (the .part file, or the
  // PNG frames it wrote).
  void abandon();

  OutputFormat format() const;
  const std::filesystem::path& outputPath() const;  // as given (for a folder: the folder)
  std::string sequencePattern() const;              // PNG sequences: the pattern written; else empty
  std::int64_t framesWritten() const;
  bool finished() const;
  // Things the caller should tell the user: audio left out, odd size padded, 8-bit PNGs.
  const std::vector<std::string>& warnings() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace dshost
