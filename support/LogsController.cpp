#include "support/LogsController.h"

#include <chrono>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "support/Platform.h"

namespace {

void CopyPath(char (&target)[260], const std::string& source) {
  std::memset(target, 0, sizeof(target));
  std::strncpy(target, source.c_str(), sizeof(target) - 1);
}

std::string LocalTimeStamp() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  char text[32] = {};
  std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

}  // namespace

LoggerState& GetLoggerState() {
  // Zero-filled on creation, so a write before LoggerInit fails to open an
  // empty path and says so.
  static const std::unique_ptr<LoggerState> state = std::make_unique<LoggerState>();
  return *state;
}

std::string LoggerInit(const std::string& fileName, const std::string& folderName) {
  LoggerState& state = GetLoggerState();
  const std::string temp = platform::TempDirectory();
  if (temp.empty()) {
    const std::string text = "Failed to get temp path on Windows.";
    DRIFTSMEAR_LOG_ERROR("LoggerInit", text);
    return text;
  }
  try {
    const std::string folder = temp + folderName + platform::PathSeparator();
    const std::string file = folder + fileName + ".log";
    CopyPath(state.logFilePath, file);
    CopyPath(state.logFolderPath, folder);
    platform::DeleteFileAt(state.logFilePath);

    const std::filesystem::path folderPath(std::u8string(folder.begin(), folder.end()));
    // is_directory rather than exists: Windows reports a file named like the
    // folder as existing even with the trailing separator.
    if (!std::filesystem::is_directory(folderPath)) {
      DRIFTSMEAR_LOG_INFO("Folder \"" << folder << "\" doesn't exist. Creating...");
      std::filesystem::create_directories(folderPath);
    }
  } catch (const std::exception& e) {
    const std::string text = std::string("An error occurred in LoggerInit: ") + e.what();
    DRIFTSMEAR_LOG_ERROR("LoggerInit", text);
    return text;
  }
  return {};
}

void WriteLog(std::string message) {
  try {
    if (!message.empty()) {
      message = "KQR :: " + message;
    }
    if (message.empty() || message.back() != '\n') {
      platform::DebuggerOutput(message + "\n");
    } else {
      platform::DebuggerOutput(message);
      message.pop_back();
    }

    // The path is UTF-8; opened through std::filesystem::path so that Windows
    // gets its UTF-16 form rather than the ANSI code page's.
    const char* path = GetLoggerState().logFilePath;
    std::ofstream file(std::filesystem::path(std::u8string(reinterpret_cast<const char8_t*>(path))),
                       std::ios::out | std::ios::app);
    if (!file.is_open()) {
      std::cerr << "Failed to open log file." << std::endl;
      return;
    }
    file << LocalTimeStamp() << " " << message << "\n";
  } catch (const std::exception& e) {
    std::cerr << "Log failed: " << e.what() << std::endl;
  }
}

void LogMessage(const std::ostringstream& stream) {
  try {
    WriteLog(stream.str());
  } catch (const std::exception& e) {
    std::cerr << "Log failed: " << e.what() << std::endl;
  }
}
