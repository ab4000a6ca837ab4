#include "support/Platform.h"

#include <cstdio>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#endif

namespace platform {

#ifdef _WIN32

namespace {

// Paths travel through the log as UTF-8; Windows takes and gives them as
// UTF-16. Empty on text that does not convert.
std::string Utf8FromWide(const std::wstring& wide) {
  if (wide.empty()) {
    return {};
  }
  const int size = WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide.data(), static_cast<int>(wide.size()),
                                       nullptr, 0, nullptr, nullptr);
  if (size <= 0) {
    return {};
  }
  std::string text(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide.data(), static_cast<int>(wide.size()), text.data(), size,
                      nullptr, nullptr);
  return text;
}

std::wstring WideFromUtf8(const std::string& text) {
  if (text.empty()) {
    return {};
  }
  const int size =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()), nullptr, 0);
  if (size <= 0) {
    return {};
  }
  std::wstring wide(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()), wide.data(), size);
  return wide;
}

}  // namespace

// The wide form, so that a temporary folder outside the ANSI code page (a
// user name in another script) still gives a usable path.
std::string TempDirectory() {
  wchar_t buffer[MAX_PATH + 1] = {};
  const DWORD length = GetTempPathW(MAX_PATH + 1, buffer);
  if (length == 0 || length > MAX_PATH) {
    return {};
  }
  return Utf8FromWide(std::wstring(buffer, length));
}

const char* PathSeparator() { return "\\"; }

void DebuggerOutput(const std::string& text) { OutputDebugStringA(text.c_str()); }

void DeleteFileAt(const std::string& path) {
  const std::wstring wide = WideFromUtf8(path);
  if (!wide.empty()) {
    DeleteFileW(wide.c_str());
  }
}

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
