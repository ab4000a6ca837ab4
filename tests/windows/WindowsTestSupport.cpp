#include "windows/WindowsTestSupport.h"

#include <mutex>
#include <stdexcept>

namespace wintest {

HMODULE PluginModule() {
  static const HMODULE module = [] {
    const HMODULE loaded = LoadLibraryA(DRIFTSMEAR_MODULE_PATH);
    if (loaded == nullptr) {
      throw std::runtime_error(std::string("cannot load ") + DRIFTSMEAR_MODULE_PATH + ": error " +
                               std::to_string(GetLastError()));
    }
    return loaded;
  }();
  return module;
}

std::string_view ResourceBytes(HMODULE module, LPCSTR type, LPCSTR id) {
  const HRSRC info = FindResourceA(module, id, type);
  if (info == nullptr) {
    return {};
  }
  const HGLOBAL loaded = LoadResource(module, info);
  const void* bytes = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (bytes == nullptr) {
    return {};
  }
  return std::string_view(static_cast<const char*>(bytes), SizeofResource(module, info));
}

std::string SystemTempPath() {
  char buffer[MAX_PATH + 1] = {};
  const DWORD length = GetTempPathA(MAX_PATH + 1, buffer);
  return std::string(buffer, length <= MAX_PATH ? length : 0);
}

namespace {

std::mutex captureMutex;
std::vector<std::string> capturedTexts;

LONG CALLBACK CaptureDebugString(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD* record = exception->ExceptionRecord;
  if (record->ExceptionCode == DBG_PRINTEXCEPTION_C && record->NumberParameters >= 2) {
    // Parameter 0: the length with the terminating zero; 1: the text.
    const auto length = static_cast<std::size_t>(record->ExceptionInformation[0]);
    const auto* text = reinterpret_cast<const char*>(record->ExceptionInformation[1]);
    std::lock_guard<std::mutex> lock(captureMutex);
    capturedTexts.emplace_back(text, length > 0 ? length - 1 : 0);
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

DebugOutputCapture::DebugOutputCapture() {
  {
    std::lock_guard<std::mutex> lock(captureMutex);
    capturedTexts.clear();
  }
  handler_ = AddVectoredExceptionHandler(1, CaptureDebugString);
}

DebugOutputCapture::~DebugOutputCapture() {
  if (handler_ != nullptr) {
    RemoveVectoredExceptionHandler(handler_);
  }
}

std::vector<std::string> DebugOutputCapture::Texts() const {
  std::lock_guard<std::mutex> lock(captureMutex);
  return capturedTexts;
}

}  // namespace wintest
