// Global setup and setdown of the built module, as After Effects and as
// Premiere Pro see them through our host, including every failure row.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "common/TestSupport.h"
#include "effect/GlobalData.h"
#include "host/EffectHost.h"
#include "ui/AboutImage.h"

using dshost::EffectHost;
using dshost::HostApp;
using testsupport::LinesContaining;
using testsupport::LogFilePath;
using testsupport::ReadLines;
using testsupport::ScopedTempDir;

namespace {

constexpr PF_OutFlags kOutFlags = 0x06008424;
constexpr PF_OutFlags2 kOutFlags2 = 0x0B001408;

// The messages of the log's lines, without the time stamp and tag.
std::vector<std::string> LogMessages(const ScopedTempDir& temp) {
  std::vector<std::string> messages;
  for (const std::string& line : ReadLines(LogFilePath(temp.path()))) {
    const auto tag = line.find("KQR :: ");
    messages.push_back(tag == std::string::npos ? line : line.substr(tag + 7));
  }
  return messages;
}

// A copy of the global data the effect keeps in its handle.
GlobalData ReadGlobalData(EffectHost& host) {
  GlobalData copy{};
  void* data = host.runtime().LockHandle(host.global_data());
  if (data != nullptr) {
    std::memcpy(&copy, data, sizeof(copy));
    host.runtime().UnlockHandle(host.global_data());
  }
  return copy;
}

class GlobalSetupTest : public ::testing::Test {
 protected:
  ScopedTempDir temp_;
};

}  // namespace

TEST_F(GlobalSetupTest, AfterEffectsSeesVersionFlagsLogAndGlobalData) {
  EffectHost host(DRIFTSMEAR_MODULE_PATH, HostApp::AfterEffects);
  host.in_data().version = PF_SpecVersion{13, 28};
  ASSERT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);

  const PF_OutData& out = host.out_data();
  EXPECT_EQ(out.my_version, 0x00098001u);
  EXPECT_EQ(out.out_flags, kOutFlags) << "nothing but the effect's flags: no error shown";
  EXPECT_EQ(out.out_flags2, kOutFlags2);
  EXPECT_STREQ(out.return_msg, "");

  const auto messages = LogMessages(temp_);
  ASSERT_GE(messages.size(), 2u);
  EXPECT_EQ(messages[0], "Welcome!");
  EXPECT_EQ(messages[1], "Drift Smear, v1.3.0 in AE 13.28");

  ASSERT_NE(host.global_data(), nullptr);
  EXPECT_EQ(host.runtime().HandleSize(host.global_data()), 16u);
  const GlobalData global = ReadGlobalData(host);
  EXPECT_EQ(global.reserved, 0);
  ASSERT_NE(global.aboutImage, nullptr);  // its decoding is checked with the UI
  EXPECT_EQ(host.runtime().HandleSize(global.aboutImage->pixels), 250u * 70u * 4u);

  // Registered with the plug-in manager under the effect's name, and the id
  // kept; the options button got a label; no Premiere pixel format.
  const auto registrations = host.parameters().Registrations();
  ASSERT_EQ(registrations.size(), 1u);
  EXPECT_EQ(registrations[0].name, "Drift Smear");
  EXPECT_NE(global.pluginId, 0);
  EXPECT_EQ(global.pluginId, registrations[0].id);
  EXPECT_EQ(host.ui().OptionsButtonNameCalls(), 1);
  EXPECT_FALSE(host.ui().OptionsButtonName().empty());
  EXPECT_TRUE(host.ui().PixelFormats().empty());
  EXPECT_EQ(host.ui().ClearPixelFormatsCalls(), 0);
  EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
}

TEST_F(GlobalSetupTest, PremiereDeclaresOnePixelFormatAndDoesNotRegister) {
  EffectHost host(DRIFTSMEAR_MODULE_PATH, HostApp::Premiere);
  ASSERT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);

  EXPECT_EQ(host.out_data().my_version, 0x00098001u);
  EXPECT_EQ(host.out_data().out_flags, kOutFlags);
  EXPECT_EQ(host.out_data().out_flags2, kOutFlags2);
  const auto messages = LogMessages(temp_);
  ASSERT_GE(messages.size(), 2u);
  EXPECT_EQ(messages[1], "Drift Smear, v1.3.0 in Premiere 13.28");

  EXPECT_EQ(host.ui().ClearPixelFormatsCalls(), 1);
  EXPECT_EQ(host.ui().PixelFormats(), std::vector<PrPixelFormat>{static_cast<PrPixelFormat>(0x62675241)});
  const GlobalData global = ReadGlobalData(host);
  EXPECT_EQ(global.pluginId, 0);
  EXPECT_NE(global.aboutImage, nullptr);
  EXPECT_TRUE(host.parameters().Registrations().empty());
  EXPECT_EQ(host.ui().OptionsButtonNameCalls(), 0);
  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
}

TEST_F(GlobalSetupTest, PremiereWithoutPixelFormatSuiteFailsWithMissingSuite) {
  EffectHost host(DRIFTSMEAR_MODULE_PATH, HostApp::Premiere);
  host.runtime().suites().Withhold("PF Pixel Format Suite");
  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), A_Err_MISSING_SUITE);
  EXPECT_STREQ(host.out_data().return_msg, "Not able to acquire AEFX Suite.");
  EXPECT_NE(host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);

  // A host sends no setdown after a failed setup: nothing is left.
  EXPECT_EQ(host.global_data(), nullptr);
  EXPECT_EQ(host.runtime().LiveHandles(), 0u);
}

TEST_F(GlobalSetupTest, AFailedStepReturnsItsCodeAndLeavesNothingBehind) {
  const struct {
    const char* call;
    PF_Err code;
    const char* error;  // the setup's own error line, if it writes one
  } kFailures[] = {
      {"PF Handle Suite.host_new_handle", PF_Err_OUT_OF_MEMORY, "Global Data Handle memory allocation failed"},
      {"PF Handle Suite.host_lock_handle", PF_Err_INTERNAL_STRUCT_DAMAGED, "Global Data memory allocation failed"},
      // The After Effects steps after the global data and the about image exist.
      {"PF Effect UI Suite.PF_SetOptionsButtonName", PF_Err_INTERNAL_STRUCT_DAMAGED, nullptr},
      {"AEGP Utility Suite.AEGP_RegisterWithAEGP", PF_Err_OUT_OF_MEMORY, nullptr},
      {"AcquireSuite.AEGP Utility Suite", A_Err_MISSING_SUITE, nullptr},
  };
  for (const auto& failure : kFailures) {
    SCOPED_TRACE(failure.call);
    EffectHost host(DRIFTSMEAR_MODULE_PATH);
    if (failure.error == nullptr) {
      host.runtime().faults().FailCall(failure.call, 1, failure.code);
    } else {
      host.runtime().faults().FailCall(failure.call, 1);  // the host's own failure code
    }
    EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), failure.code);
    EXPECT_EQ(host.global_data(), nullptr);
    EXPECT_EQ(host.runtime().LiveHandles(), 0u);
    EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
    if (failure.error != nullptr) {
      EXPECT_EQ(LinesContaining(LogMessages(temp_), std::string(":GlobalSetup] :: ") + failure.error).size(), 1u);
    }
  }
}

TEST_F(GlobalSetupTest, MissingAboutImageIsShownButSetupSucceeds) {
  EffectHost host(DRIFTSMEAR_MODULE_PATH, HostApp::AfterEffects);
  // The first new handle is the global data, the second the image's pixels.
  host.runtime().faults().FailCall("PF Handle Suite.host_new_handle", 2);
  ASSERT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);

  EXPECT_STREQ(host.out_data().return_msg, "Cannot Load Image");
  EXPECT_EQ(host.out_data().out_flags, kOutFlags | PF_OutFlag_DISPLAY_ERROR_MESSAGE);
  const GlobalData global = ReadGlobalData(host);
  EXPECT_EQ(global.aboutImage, nullptr);
  EXPECT_NE(global.pluginId, 0) << "setup goes on after the image";
  const auto errors = LinesContaining(ReadLines(LogFilePath(temp_.path())), "ERROR [");
  EXPECT_EQ(LinesContaining(errors, "DriftSmear.cpp:").size(), 1u);
  EXPECT_EQ(LinesContaining(errors, ":GlobalSetup] :: Error loading about image").size(), 1u);

  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
  EXPECT_EQ(host.runtime().LiveHandles(), 0u);
}

TEST_F(GlobalSetupTest, UnusableLogFolderIsReportedAndSetupGoesOn) {
  // A file where the log folder should be: the folder cannot be made.
  std::ofstream(temp_.path() / "Quarnbrook Graphics") << "not a folder";
  EffectHost host(DRIFTSMEAR_MODULE_PATH);
  ASSERT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
  EXPECT_EQ(std::string(host.out_data().return_msg).rfind("An error occurred in LoggerInit: ", 0), 0u)
      << host.out_data().return_msg;
  EXPECT_EQ(host.out_data().out_flags, kOutFlags);
  EXPECT_NE(host.global_data(), nullptr);
  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
}

TEST_F(GlobalSetupTest, SetdownFreesEverythingAndCopesWithoutGlobalData) {
  EffectHost host(DRIFTSMEAR_MODULE_PATH);
  ASSERT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
  EXPECT_EQ(host.runtime().LiveHandles(), 2u) << "the global data and the image's pixels";

  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
  EXPECT_EQ(host.runtime().LiveHandles(), 0u);
  EXPECT_EQ(host.global_data(), nullptr);

  // A handle the host cannot lock at setdown still goes, image and all.
  ASSERT_EQ(host.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
  host.runtime().faults().FailCall("PF Handle Suite.host_lock_handle", 0);
  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
  host.runtime().faults().Clear();
  EXPECT_EQ(host.runtime().LiveHandles(), 0u);

  // A second setdown has no global data: it only logs.
  const size_t linesBefore = ReadLines(LogFilePath(temp_.path())).size();
  EXPECT_EQ(host.Call(PF_Cmd_GLOBAL_SETDOWN), PF_Err_NONE);
  const auto messages = LogMessages(temp_);
  ASSERT_EQ(messages.size(), linesBefore + 1);
  EXPECT_EQ(messages.back(), "Clean data");
  EXPECT_EQ(LinesContaining(messages, "Clean data").size(), 2u);
  EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
}
