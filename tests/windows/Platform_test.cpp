// The Windows side of the log's system services, through the log: the
// temporary folder from GetTempPathW (as UTF-8, also outside every ANSI code
// page), backslash paths, the previous run's file deleted, and every line
// copied to the debugger with OutputDebugStringA.
#include "support/Platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "common/TestSupport.h"
#include "support/LogsController.h"
#include "windows/WindowsTestSupport.h"

using testsupport::ScopedTempDir;
using wintest::DebugOutputCapture;

TEST(WindowsLog, LivesUnderGetTempPathAWithBackslashes) {
  ScopedTempDir temp;
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  const std::string expected = wintest::SystemTempPath() + "Quarnbrook Graphics\\com.qrn.driftsmear.log";
  EXPECT_EQ(std::string(GetLoggerState().logFilePath), expected);
  EXPECT_EQ(std::string(GetLoggerState().logFolderPath), wintest::SystemTempPath() + "Quarnbrook Graphics\\");
  EXPECT_TRUE(std::filesystem::is_directory(temp.path() / "Quarnbrook Graphics"));

  WriteLog("Welcome!");
  std::ifstream in(expected);
  std::string line;
  ASSERT_TRUE(std::getline(in, line)) << "nothing written to " << expected;
  EXPECT_EQ(line.substr(20), "KQR :: Welcome!");
}

TEST(WindowsLog, InitDeletesThePreviousRunsFile) {
  ScopedTempDir temp;
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  WriteLog("first run");
  const std::string file = GetLoggerState().logFilePath;
  ASSERT_TRUE(std::filesystem::exists(file));
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(WindowsLog, EveryLineAlsoGoesToTheDebugger) {
  ScopedTempDir temp;
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  DebugOutputCapture capture;
  WriteLog("one");
  WriteLog("two\n");
  const auto texts = capture.Texts();
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0], "KQR :: one\n");
  EXPECT_EQ(texts[1], "KQR :: two\n");
}

namespace {

// Points TMP at a folder whose name is outside every ANSI code page while it
// lives; GetTempPathW reads TMP first.
class NonAsciiTempFolder {
 public:
  NonAsciiTempFolder() : folder_(temp_.path() / std::filesystem::path(L"Temp \u00c9t\u00e9 \u65e5\u672c \u0416")) {
    std::filesystem::create_directories(folder_);
    const DWORD size = GetEnvironmentVariableW(L"TMP", nullptr, 0);
    if (size > 0) {
      previous_.resize(size);
      previous_.resize(GetEnvironmentVariableW(L"TMP", previous_.data(), size));
      hadPrevious_ = true;
    }
    SetEnvironmentVariableW(L"TMP", folder_.wstring().c_str());
  }
  ~NonAsciiTempFolder() { SetEnvironmentVariableW(L"TMP", hadPrevious_ ? previous_.c_str() : nullptr); }
  NonAsciiTempFolder(const NonAsciiTempFolder&) = delete;
  NonAsciiTempFolder& operator=(const NonAsciiTempFolder&) = delete;

  const std::filesystem::path& folder() const { return folder_; }

 private:
  ScopedTempDir temp_;
  std::filesystem::path folder_;
  std::wstring previous_;
  bool hadPrevious_ = false;
};

}  // namespace

TEST(WindowsLog, WorksUnderANonAsciiTemporaryFolder) {
  NonAsciiTempFolder temp;
  const std::u8string folder = temp.folder().u8string();
  EXPECT_EQ(platform::TempDirectory(), std::string(folder.begin(), folder.end()) + "\\");

  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  WriteLog("Welcome!");
  const std::filesystem::path file = temp.folder() / "Quarnbrook Graphics" / "com.qrn.driftsmear.log";
  std::ifstream in(file);
  std::string line;
  ASSERT_TRUE(std::getline(in, line)) << "nothing written under the non-ASCII folder";
  EXPECT_EQ(line.substr(20), "KQR :: Welcome!");
  in.close();

  // The next run's init deletes the file by the same path.
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  EXPECT_FALSE(std::filesystem::exists(file));
}
