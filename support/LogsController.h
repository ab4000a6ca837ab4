// The effect's diagnostic log: one plain-text file per host run in a folder
// under the user's temporary directory, plus a copy of every line on the
// debugger channel.
#pragma once
#include <sstream>
#include <string>
#include <string_view>

// Process-wide state of the logger, created on first use and kept until the
// module is unloaded.
struct LoggerState {
  char logFilePath[260];
  char logFolderPath[260];
};

LoggerState& GetLoggerState();

// Prepares the log file <temp>/<folderName>/<fileName>.log and deletes the
// previous run's file. Returns an empty string on success, the failure text
// otherwise.
std::string LoggerInit(const std::string& fileName, const std::string& folderName);

// Writes one line: time stamp, blank, "KQR :: " and the message.
void WriteLog(std::string message);

// Writes the text composed in a string stream.
void LogMessage(const std::ostringstream& stream);

// The base name of a compile-time source path (cut after its last separator).
constexpr std::string_view LogFileBaseName(std::string_view path) {
  const auto cut = path.find_last_of("\\/");
  return cut == std::string_view::npos ? path : path.substr(cut + 1);
}

// Error lines read: ERROR [<file>:<line>:<function>] :: <message>.
#define DRIFTSMEAR_LOG_ERROR(FUNCTION, MESSAGE)                                                 \
  do {                                                                                          \
    std::ostringstream driftsmear_log_stream;                                                   \
    driftsmear_log_stream << "ERROR [" << LogFileBaseName(__FILE__) << ":" << __LINE__ << ":" \
                          << (FUNCTION) << "] :: " << MESSAGE;                                  \
    LogMessage(driftsmear_log_stream);                                                          \
  } while (0)

// Information lines are the bare message.
#define DRIFTSMEAR_LOG_INFO(MESSAGE)              \
  do {                                            \
    std::ostringstream driftsmear_log_stream;     \
    driftsmear_log_stream << MESSAGE;             \
    LogMessage(driftsmear_log_stream);            \
  } while (0)
