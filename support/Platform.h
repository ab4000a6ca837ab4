// The few operating-system services the log needs, one function each, so the
// Windows and the Linux builds share every caller.
#pragma once
#include <string>

namespace platform {

// Paths are UTF-8 text throughout (on Windows converted from and to the
// system's UTF-16 forms).

// The temporary directory with its trailing separator; empty when the system
// cannot tell.
std::string TempDirectory();

// The separator between folder and file names.
const char* PathSeparator();

// Sends text to the debugger channel. On Linux the channel is standard error,
// and only when DRIFTSMEAR_DEBUG_OUTPUT is set, so a command-line user's
// terminal stays clean.
void DebuggerOutput(const std::string& text);

// Deletes a file; a missing file is not an error.
void DeleteFileAt(const std::string& path);

}  // namespace platform
