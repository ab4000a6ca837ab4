// The entry point's guard and routing, through the built module loaded by our
// host, and through the guard directly where a handler has to misbehave.
#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <stdexcept>

#include "common/TestSupport.h"
#include "effect/DriftSmear.h"
#include "host/EffectHost.h"
#include "host/HostError.h"
#include "support/LogsController.h"

using testsupport::LinesContaining;
using testsupport::LogFilePath;
using testsupport::ReadLines;
using testsupport::ScopedTempDir;

namespace {

std::string MessageOf(const std::string& line) {
  static const std::regex form(R"(^.* KQR :: ERROR \[DriftSmear\.cpp:\d+:EffectMain\] :: (.*)$)");
  std::smatch match;
  return std::regex_match(line, match, form) ? match[1].str() : "<malformed: " + line + ">";
}

}  // namespace

// A thrown code, a standard exception, anything else thrown and a non-zero
// result: each comes back as the host's code with one exact error line; a
// zero result logs nothing.
TEST(Guard, EachOutcomeGivesItsCodeAndOneExactLine) {
  struct Case {
    PF_Cmd cmd;
    std::function<PF_Err()> body;
    PF_Err returned;
    std::string line;  // empty: no line
  };
  const Case cases[] = {
      {PF_Cmd_SMART_RENDER, []() -> PF_Err { throw PF_Err(PF_Err_OUT_OF_MEMORY); }, PF_Err_OUT_OF_MEMORY,
       "Try Catch Exception code at event PF_Cmd_SMART_RENDER is PF_Err_OUT_OF_MEMORY (4)"},
      {PF_Cmd_RENDER, []() -> PF_Err { throw std::runtime_error("Parameter with given Disk ID not found"); },
       PF_Err_INTERNAL_STRUCT_DAMAGED,
       "Try Catch Exception at event PF_Cmd_RENDER. Error is Parameter with given Disk ID not found"},
      {PF_Cmd_EVENT, []() -> PF_Err { throw 3.5; }, PF_Err_INTERNAL_STRUCT_DAMAGED,
       "Try Catch Uknown Exception at event PF_Cmd_EVENT"},
      {PF_Cmd_SMART_RENDER, [] { return PF_Err(PF_Err_OUT_OF_MEMORY); }, PF_Err_OUT_OF_MEMORY,
       "PF_Cmd_SMART_RENDER. Code: PF_Err_OUT_OF_MEMORY (4)"},
      {PF_Cmd_GLOBAL_SETUP, [] { return PF_Err(PF_Err_NONE); }, PF_Err_NONE, ""},
      {99, [] { return PF_Err(13); }, 13, "PF_Cmd?UNKNOWN (99). Code: PF_Err?UNKNOWN (13)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    testsupport::LogCapture log;
    EXPECT_EQ(GuardedCommand(c.cmd, c.body), c.returned);
    const auto lines = log.Errors();
    ASSERT_EQ(lines.size(), c.line.empty() ? 0u : 1u);
    if (!c.line.empty()) {
      EXPECT_EQ(MessageOf(lines[0]), c.line);
    }
  }
}

class LoadedModuleTest : public ::testing::Test {
 protected:
  ScopedTempDir temp_;
};

TEST_F(LoadedModuleTest, ModuleExportsItsEntryPoints) {
  dshost::PluginModule module(DRIFTSMEAR_MODULE_PATH);
  EXPECT_NE(module.Symbol("EffectMain"), nullptr);
  EXPECT_NE(module.Symbol("PluginDataEntryFunction"), nullptr);
  EXPECT_EQ(module.Symbol("GuardedCommand"), nullptr) << "internal functions stay hidden";
}

TEST_F(LoadedModuleTest, MissingModuleIsAClearHostError) {
  try {
    dshost::PluginModule module("/no/such/DriftSmear.module");
    FAIL() << "loading a missing module must fail";
  } catch (const dshost::HostError& e) {
    EXPECT_NE(std::string(e.what()).find("/no/such/DriftSmear.module"), std::string::npos) << e.what();
  }
}

TEST_F(LoadedModuleTest, SelectorsWithoutHandlersReturnNoneAndLogNothing) {
  dshost::EffectHost host(DRIFTSMEAR_MODULE_PATH);
  for (PF_Cmd cmd : std::initializer_list<PF_Cmd>{PF_Cmd_SEQUENCE_SETUP, PF_Cmd_SEQUENCE_SETDOWN, PF_Cmd_DO_DIALOG, PF_Cmd_FRAME_SETUP,
                     PF_Cmd_ARBITRARY_CALLBACK, PF_Cmd_QUERY_DYNAMIC_FLAGS, PF_Cmd_NUM_CMDS, 40, 1000}) {
    EXPECT_EQ(host.Call(cmd), PF_Err_NONE) << cmd;
  }
  EXPECT_TRUE(LinesContaining(ReadLines(LogFilePath(temp_.path())), "ERROR [").empty());
}

