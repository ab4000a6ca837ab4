#include "support/Platform.h"

#include <cstdio>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#endif

namespace platform {

#ifdef _WIN32

std::string TempDirectory() {
  char buffer[MAX_PATH + 1] = {};
  const DWORD length = GetTempPathA(MAX_PATH + 1, buffer);
  if (length == 0 || length > MAX_PATH) {
    return {};
  }
  return std::string(buffer, length);
}

const char* PathSeparator() { return "\\"; }

void DebuggerOutput(const std::string& text) { OutputDebugStringA(text.c_str()); }

void DeleteFileAt(const std::string& path) { DeleteFileA(path.c_str()); }

#else

std::string TempDirectory() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string dir = (tmpdir != nullptr && *tmpdir != '\0') ? tmpdir : "/tmp";
  if (dir.back() != '/') {
    dir += '/';
  }
  return dir;
}

const char* PathSeparator() { return "/"; }

void DebuggerOutput(const std::string& text) {
  const char* wanted = std::getenv("DRIFTSMEAR_DEBUG_OUTPUT");
  if (wanted != nullptr && *wanted != '\0' && *wanted != '0') {
    std::fputs(text.c_str(), stderr);
  }
}

void DeleteFileAt(const std::string& path) { std::remove(path.c_str()); }

#endif

}  // namespace platform
