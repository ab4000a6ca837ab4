#include "support/LogsController.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

#include "common/TestSupport.h"

using testsupport::LogFilePath;
using testsupport::ReadLines;
using testsupport::ScopedTempDir;

TEST(LogsController, WritesStampedTaggedLinesUnderTheTemporaryFolder) {
  ScopedTempDir temp;
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  EXPECT_EQ(std::string(GetLoggerState().logFilePath), LogFilePath(temp.path()).string());

  WriteLog("Welcome!");
  WriteLog("");
  WriteLog("ends in a newline\n");
  DRIFTSMEAR_LOG_ERROR("LoggerTest", "value " << 42);

  const auto lines = ReadLines(LogFilePath(temp.path()));
  ASSERT_EQ(lines.size(), 4u);
  const std::regex stamp(R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} )");
  for (const auto& line : lines) {
    EXPECT_TRUE(std::regex_search(line, stamp)) << line;
  }
  EXPECT_EQ(lines[0].substr(20), "KQR :: Welcome!");
  EXPECT_EQ(lines[1].size(), 20u) << "an empty message has no tag";
  EXPECT_EQ(lines[2].substr(20), "KQR :: ends in a newline");
  EXPECT_TRUE(std::regex_match(lines[3].substr(20),
                               std::regex(R"(KQR :: ERROR \[LogsController_test\.cpp:\d+:LoggerTest\] :: value 42)")))
      << lines[3];
}

TEST(LogsController, EachInitRestartsTheLog) {
  ScopedTempDir temp;
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  WriteLog("first run");
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  WriteLog("second run");
  const auto lines = ReadLines(LogFilePath(temp.path()));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("second run"), std::string::npos);
}

TEST(LogsController, CutsLongPathsAt259Characters) {
  ScopedTempDir temp;
  const std::string longFolder(300, 'f');
  LoggerInit("com.qrn.driftsmear", longFolder);
  EXPECT_EQ(std::string(GetLoggerState().logFilePath).size(), 259u);
  EXPECT_EQ(std::string(GetLoggerState().logFolderPath).size(), 259u);
  WriteLog("does not throw");
}

TEST(LogsController, AFolderThatCannotBeCreatedIsReportedAsText) {
  ScopedTempDir temp;
  // A plain file where the log folder should go makes the folder impossible.
  const auto blocker = temp.path() / "blocked";
  std::ofstream(blocker) << "not a folder";
  // GetTempPathA reads TMP on Windows.
  const char* const tempVariable =
#ifdef _WIN32
      "TMP";
#else
      "TMPDIR";
#endif
  testsupport::SetEnv(tempVariable, blocker.string());
  const std::string result = LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics");
  testsupport::SetEnv(tempVariable, temp.path().string());
  EXPECT_EQ(result.rfind("An error occurred in LoggerInit: ", 0), 0u) << result;
  WriteLog("the caller goes on");
}
