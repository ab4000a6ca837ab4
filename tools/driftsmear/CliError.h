// Exit codes of driftsmear and the error that carries one to main().
#pragma once
#include <stdexcept>
#include <string>

namespace driftsmear {

// Listed in --help and in the README; scripts depend on them, so they never
// change meaning.
enum ExitCode : int {
  kExitOk = 0,
  kExitUsage = 1,        // bad command line: unknown option, key or preset, value out of range
  kExitInput = 2,        // input missing, unreadable, unsupported, or a frame that cannot be decoded
  kExitOutput = 3,       // output exists (no -y), unsupported output name, writing failed
  kExitDevice = 4,       // no OpenCL or CUDA device, or the device cannot be used
  kExitModule = 5,       // the plug-in module cannot be loaded or set up
  kExitRender = 6,       // the effect failed a render
  kExitInterrupted = 130, // Ctrl-C: the output holds the frames done
  kExitTerminated = 143   // SIGTERM: as Ctrl-C
};

// A failure with the one-line message to print and the exit code to end with.
class CliError : public std::runtime_error {
 public:
  CliError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const noexcept { return code_; }

 private:
  ExitCode code_;
};

}  // namespace driftsmear
