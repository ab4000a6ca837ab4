// Helpers for the tests of the Windows build: the built module loaded as the
// host loads it, its resources, the temporary folder GetTempPathA reports
// (testsupport::ScopedTempDir points it elsewhere), and the text sent to the
// debugger channel.
#pragma once
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace wintest {

// DriftSmear.aex, loaded once per test program and kept loaded.
HMODULE PluginModule();

// The bytes of a resource of a module; empty when it has none of that type
// and id.
std::string_view ResourceBytes(HMODULE module, LPCSTR type, LPCSTR id);

// GetTempPathA as a string.
std::string SystemTempPath();

// Collects what OutputDebugStringA sends while the object lives.
// OutputDebugStringA raises DBG_PRINTEXCEPTION_C for a debugger; a vectored
// exception handler sees it first and lets the system handle it as usual.
class DebugOutputCapture {
 public:
  DebugOutputCapture();
  ~DebugOutputCapture();
  DebugOutputCapture(const DebugOutputCapture&) = delete;
  DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

  std::vector<std::string> Texts() const;

 private:
  void* handler_ = nullptr;
};

}  // namespace wintest
