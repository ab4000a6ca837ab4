// The store page opener on Windows: the shell's "open" verb (ShellExecuteA),
// whose result tells success (above 32) from a refusal.
#include "params/StorePage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "common/TestSupport.h"

TEST(WindowsStorePage, ShellOpenReportsWhatCannotBeOpened) {
  testsupport::ScopedTempDir temp;
  EXPECT_FALSE(OpenURLWithSystem((temp.path() / "missing" / "nothing.cmd").string()));
}

TEST(WindowsStorePage, ShellOpenStartsWhatTheShellCanOpen) {
  testsupport::ScopedTempDir temp;
  // A command script the shell runs with its "open" verb; it exits at once.
  const auto script = temp.path() / "open.cmd";
  std::ofstream(script) << "@exit 0\r\n";
  EXPECT_TRUE(OpenURLWithSystem(script.string()));
}
