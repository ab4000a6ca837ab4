// What the program needs from the operating system: its arguments as UTF-8,
// UTF-8 output on the console, whether a stream is a terminal, Ctrl-C, and the
// path of its own executable. POSIX and Windows implementations side by side.
#pragma once
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace driftsmear {

// The command-line arguments after the program name, as UTF-8 (on Windows
// taken from the wide command line, so Chinese preset names survive).
std::vector<std::string> Utf8Arguments(int argc, char** argv);

// Console output in UTF-8 (Windows); nothing elsewhere.
void SetUpConsole();

bool IsTerminal(std::FILE* stream);

// Ctrl-C (and SIGTERM, or Ctrl-Break on Windows) sets a flag instead of
// ending the program, so a render can stop between frames and finish its
// output. A second one ends the program at once. Also makes a file size
// limit and a closed pipe fail writes instead of killing the program.
void InstallInterruptHandler();
bool Interrupted();
// The exit code for the stop asked for: kExitInterrupted (Ctrl-C) or
// kExitTerminated (SIGTERM).
int InterruptExitCode();

// The running executable, or empty when the system does not say.
std::filesystem::path ExecutablePath();

// A path from UTF-8 text and back.
std::filesystem::path PathFromUtf8(const std::string& utf8);
std::string PathToUtf8(const std::filesystem::path& path);

// One progress display on standard error. On a terminal a single line,
// rewritten in place with \r, at most a few times a second: frame, frames per
// second and time left. Elsewhere a plain line every tenth of the work. Once
// the first frames have shown the pace, a line with the whole render's
// estimated time. Quiet shows nothing.
class Progress {
 public:
  Progress(int64_t total, bool quiet, bool terminal);
  // `done` frames are finished.
  void Update(int64_t done);
  // Ends the in-place line (if any).
  void Finish();
  double Seconds() const;
  double FramesPerSecond(int64_t done) const;

 private:
  using Clock = std::chrono::steady_clock;
  void Print(int64_t done);

  int64_t total_;
  bool quiet_;
  bool terminal_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastPrint_{};
  int64_t lastTenth_ = 0;
  bool lineOpen_ = false;
  bool estimated_ = false;
  size_t lastLength_ = 0;
};

}  // namespace driftsmear
