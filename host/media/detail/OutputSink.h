// What turns frames into files for MediaWriter: one video container, or a
// folder of PNG files. Internal to host/media.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/media/Image.h"
#include "host/media/MediaWriter.h"
#include "host/media/SequencePattern.h"

namespace dshost::detail {

class OutputSink {
 public:
  virtual ~OutputSink() = default;
  virtual void write(const ImageF& frame, std::int64_t index) = 0;
  // Completes the output; on failure removes what it could not complete.
  virtual void finish(std::int64_t frames) = 0;
  // Removes everything this sink created.
  virtual void abandon() noexcept = 0;
};

// Files are written as "<name>.part" and renamed when complete.
std::filesystem::path partNameFor(const std::filesystem::path& file);
void removeQuietly(const std::filesystem::path& file);
// Moves a finished file to its name, replacing an older one only when allowed.
void moveIntoPlace(const std::filesystem::path& part, const std::filesystem::path& final, bool overwrite);

std::unique_ptr<OutputSink> makePngSequenceSink(SequencePattern pattern, const WriterOptions& options, int width,
                                                int height, std::vector<std::string>& warnings);

#if DRIFTSMEAR_HAVE_FFMPEG
// H.264 MP4, ProRes 4444 MOV or FFV1 MKV, with the audio of options.audioFrom.
std::unique_ptr<OutputSink> makeContainerSink(const std::filesystem::path& output, OutputFormat format,
                                              const WriterOptions& options, int width, int height,
                                              std::vector<std::string>& warnings);
#endif

}  // namespace dshost::detail
