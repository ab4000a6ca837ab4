// LogGPUInfo on Windows: the adapter comes from Direct3D 9 and the OS version
// from GetVersionExA. Where Direct3D is unavailable (Direct3DCreate9 returns
// null, as under Wine without a display) the adapter lines are skipped and the
// OS version is still logged.
#include <gtest/gtest.h>

#include <d3d9.h>

#include <regex>
#include <string>

#include "common/TestSupport.h"
#include "render/DriftSmear_AePrGPU_Functions.h"
#include "support/LogsController.h"
#include "windows/WindowsTestSupport.h"

namespace {

bool Direct3DAvailable() {
  IDirect3D9* d3d = Direct3DCreate9(D3D_SDK_VERSION);
  if (d3d == nullptr) {
    return false;
  }
  d3d->Release();
  return true;
}

std::string ExpectedOSVersion() {
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = sizeof(version);
  if (!GetVersionExA(&version)) {
    return "<GetVersionExA failed>";
  }
  return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion);
}

class WindowsGPUInfo : public ::testing::Test {
 protected:
  std::vector<std::string> Messages() const {
    std::vector<std::string> messages;
    for (const auto& line : log_.Lines()) messages.push_back(line.size() > 20 ? line.substr(20) : line);
    return messages;
  }
  testsupport::LogCapture log_;
};

}  // namespace

TEST_F(WindowsGPUInfo, WithoutDirect3DLogsOnlyTheOSVersion) {
  if (Direct3DAvailable()) {
    GTEST_SKIP() << "Direct3D 9 is available here; this test needs it missing (headless Wine)";
  }
  GPUStatusInfo info;
  info.SetText(GPUStatusInfo::kGPUShortName, "");
  LogGPUInfo(info);

  const std::string os = ExpectedOSVersion();
  EXPECT_TRUE(std::regex_match(os, std::regex(R"(\d+\.\d+)"))) << os;
  EXPECT_EQ(info.GetText(GPUStatusInfo::kOSVersion), os);
  EXPECT_EQ(info.GetText(GPUStatusInfo::kGPUShortName), "");
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0], "KQR :: GPU: , OS: " + os);
}

TEST_F(WindowsGPUInfo, WithDirect3DLogsThePrimaryAdapter) {
  if (!Direct3DAvailable()) {
    GTEST_SKIP() << "Direct3D 9 is unavailable here (headless Wine); the adapter path needs a display";
  }
  GPUStatusInfo info;
  LogGPUInfo(info);
  const auto messages = Messages();
  EXPECT_EQ(testsupport::LinesContaining(messages, "KQR :: GPU DeviceName: ").size(), 1u);
  EXPECT_EQ(testsupport::LinesContaining(messages, "KQR :: GPU Driver: ").size(), 1u);
  EXPECT_EQ(testsupport::LinesContaining(messages, "KQR :: GPU Description: ").size(), 1u);
  EXPECT_EQ(info.GetText(GPUStatusInfo::kOSVersion), ExpectedOSVersion());
}

TEST_F(WindowsGPUInfo, OSVersionDoesNotDependOnTheRenderDevice) {
  GPUStatusInfo info;
  LogGPUInfo(info, GPUFramework_OpenCL, nullptr);
  EXPECT_EQ(info.GetText(GPUStatusInfo::kOSVersion), ExpectedOSVersion());
}
