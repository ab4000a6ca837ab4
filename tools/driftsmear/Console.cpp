#include "tools/driftsmear/Console.h"

#include <atomic>
#include <csignal>
#include <cstdlib>

#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/Text.h"

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <io.h>
#include <windows.h>
// shellapi.h needs the declarations of windows.h.
#include <shellapi.h>
#else
#include <unistd.h>
#endif

namespace driftsmear {

namespace {

std::atomic<int> gInterrupts{0};
// The exit code of the first stop request: 130 for Ctrl-C, 143 for SIGTERM.
std::atomic<int> gStopCode{kExitInterrupted};

#ifdef _WIN32
std::string WideToUtf8(const wchar_t* wide) {
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  if (bytes <= 1) {
    return {};
  }
  std::string utf8(static_cast<size_t>(bytes - 1), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, utf8.data(), bytes, nullptr, nullptr);
  return utf8;
}

BOOL WINAPI OnConsoleControl(DWORD event) {
  if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT || event == CTRL_CLOSE_EVENT) {
    if (gInterrupts.fetch_add(1) >= 1) {
      ExitProcess(static_cast<UINT>(gStopCode.load()));
    }
    return TRUE;
  }
  return FALSE;
}
#else
void OnSignal(int signal) {
  if (gInterrupts.fetch_add(1) >= 1) {
    _exit(gStopCode.load());
  }
  gStopCode.store(signal == SIGTERM ? kExitTerminated : kExitInterrupted);
}
#endif

}  // namespace

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
#ifdef _WIN32
  int count = 0;
  LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide != nullptr) {
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
      arguments.push_back(WideToUtf8(wide[i]));
    }
    LocalFree(wide);
    return arguments;
  }
#endif
  return std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc);
}

void SetUpConsole() {
#ifdef _WIN32
  SetConsoleOutputCP(CP_UTF8);
#endif
}

bool IsTerminal(std::FILE* stream) {
#ifdef _WIN32
  return _isatty(_fileno(stream)) != 0;
#else
  return isatty(fileno(stream)) != 0;
#endif
}

void InstallInterruptHandler() {
#ifdef _WIN32
  SetConsoleCtrlHandler(OnConsoleControl, TRUE);
#else
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // A file size limit or a closed pipe then fails the write with an error
  // the render reports, instead of killing the program mid-file.
  signal(SIGXFSZ, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
#endif
}

bool Interrupted() { return gInterrupts.load() > 0; }

int InterruptExitCode() { return gStopCode.load(); }

std::filesystem::path ExecutablePath() {
  std::error_code error;
#ifdef _WIN32
  std::wstring buffer(32768, L'\0');
  const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  if (length == 0 || length >= buffer.size()) {
    return {};
  }
  buffer.resize(length);
  return std::filesystem::path(buffer);
#elif defined(__linux__)
  const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : path;
#else
  return {};
#endif
}

std::filesystem::path PathFromUtf8(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string PathToUtf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

Progress::Progress(int64_t total, bool quiet, bool terminal) : total_(total), quiet_(quiet), terminal_(terminal) {}

double Progress::Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

double Progress::FramesPerSecond(int64_t done) const {
  const double seconds = Seconds();
  return seconds > 0 ? static_cast<double>(done) / seconds : 0.0;
}

void Progress::Update(int64_t done) {
  if (quiet_) {
    return;
  }
  // Once the first frames have shown the pace: how long the whole render takes.
  if (!estimated_ && done >= 3 && done * 4 <= total_ && Seconds() >= 0.5) {
    estimated_ = true;
    const double fps = FramesPerSecond(done);
    Finish();
    std::fprintf(stderr, "driftsmear: estimate: about %s for %lld frames at %s fps\n",
                 FormatClock(static_cast<double>(total_) / fps).c_str(), static_cast<long long>(total_),
                 FormatNumber(fps, 1).c_str());
  }
  if (terminal_) {
    const auto now = Clock::now();
    if (done < total_ && now - lastPrint_ < std::chrono::milliseconds(250)) {
      return;
    }
    lastPrint_ = now;
    Print(done);
    return;
  }
  const int64_t tenth = total_ > 0 ? done * 10 / total_ : 10;
  if (tenth > lastTenth_) {
    lastTenth_ = tenth;
    Print(done);
  }
}

void Progress::Print(int64_t done) {
  const double fps = FramesPerSecond(done);
  std::string line = "frame " + std::to_string(done) + "/" + std::to_string(total_) + "  " + FormatNumber(fps, 1) +
                     " fps";
  if (done < total_ && fps > 0) {
    line += "  " + FormatClock(static_cast<double>(total_ - done) / fps) + " left";
  } else if (done >= total_) {
    line += "  " + FormatClock(Seconds()) + " total";
  }
  if (terminal_) {
    const size_t length = line.size();
    if (length < lastLength_) {
      line.append(lastLength_ - length, ' ');
    }
    lastLength_ = length;
    std::fprintf(stderr, "\r%s", line.c_str());
    lineOpen_ = true;
  } else {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
  std::fflush(stderr);
}

void Progress::Finish() {
  if (lineOpen_) {
    std::fprintf(stderr, "\n");
    std::fflush(stderr);
    lineOpen_ = false;
  }
}

}  // namespace driftsmear
