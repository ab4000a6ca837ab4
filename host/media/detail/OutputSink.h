// What turns frames into files for MediaWriter: one video container, or a
// folder of PNG files. Internal to host/media.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
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

// A render's own temporary file beside its final name:
// "<name>.<pid>-<tag>.part". It is created exclusively, so two renders never
// share one, and (POSIX) held under an exclusive lock for as long as this
// process keeps it open. Another render tells a live temporary file from one
// a killed render left behind by its lock and by whether its process runs.
// Removed when destroyed unless published or kept.
class TemporaryFile {
 public:
  // Creates the file. Throws MediaError(WriteFailed) naming the folder.
  explicit TemporaryFile(const std::filesystem::path& final);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // Writes all bytes at the current position. Throws MediaError(WriteFailed)
  // with the system's reason (disk full, file too large, ...).
  void write(const void* data, std::size_t size);
  // Moves the file to its final name in one step. Without overwrite a file
  // that took the name meanwhile stays: this one is then kept under a free
  // name ("name (2).ext") and MediaError(OutputExists) says where.
  void publish(bool overwrite);
  // Deletes the file (nothing once published).
  void remove() noexcept;
  // Closes this process's handle (and lock) before the file is renamed by
  // name: Windows renames only files nobody holds open.
  void closeHandle() noexcept;

 private:

  std::filesystem::path final_;
  std::filesystem::path path_;
  int fd_ = -1;
  bool done_ = false;
};

// Temporary files that earlier renders left for names in `folder` for which
// `belongs` holds: those of renders that no longer run are deleted; the
// process ids of the live ones are returned.
std::vector<long> sweepTemporaries(const std::filesystem::path& folder,
                                   const std::function<bool(const std::string& finalName)>& belongs);

// Moves `from` to `to` in one step. Without overwrite it fails, returning
// false, when `to` exists (also when it appears at the same moment); other
// failures throw MediaError(WriteFailed).
bool publishFile(const std::filesystem::path& from, const std::filesystem::path& to, bool overwrite);

void removeQuietly(const std::filesystem::path& file);

// Image files: one per frame of a pattern, or the single file `single`.
std::unique_ptr<OutputSink> makeImageSink(std::optional<SequencePattern> pattern, const std::filesystem::path& single,
                                          const WriterOptions& options, int width, int height,
                                          std::vector<std::string>& warnings);

#if DRIFTSMEAR_HAVE_FFMPEG
// H.264 MP4, ProRes 4444 MOV or FFV1 MKV, with the audio of options.audioFrom.
std::unique_ptr<OutputSink> makeContainerSink(const std::filesystem::path& output, OutputFormat format,
                                              const WriterOptions& options, int width, int height,
                                              std::vector<std::string>& warnings);
#endif

}  // namespace dshost::detail
