// The custom UI end to end: the built module set up by our host, drawing
// into the host's canvas on PF_Cmd_EVENT. (The drawing itself is checked
// through the static library's handlers in PanelDrawingTest.)
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <sstream>

#include "common/TestSupport.h"
#include "host/EffectHost.h"
#include "host/drawbot/DrawbotSuites.h"
#include "ui/UITestSupport.h"

using namespace uitest;
using dshost::EffectHost;

constexpr PF_Rect kFrame = {20, 10, 290, 110};

// The refusal notice lives in the module's process-wide GPU status, which
// stays filled once set; the case runs in a child process so that no other
// case sees it.
TEST(ModuleNoticeTest, RefusedCPURenderShowsTheNoticeInPanelAndWindow) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto scenario = []() -> std::string {
    std::ostringstream problems;
    testsupport::ScopedTempDir temp;
    EffectHost host(DRIFTSMEAR_MODULE_PATH);
    DrawbotCanvas panel(300, 120, kCanvasColor);
    DrawbotCanvas window(480, 80, DRAWBOT_ColorRGBA{0.2f, 0.2f, 0.2f, 1.0f});
    if (host.Call(PF_Cmd_GLOBAL_SETUP) != PF_Err_NONE || host.Call(PF_Cmd_PARAMS_SETUP) != PF_Err_NONE) {
      problems << "setup failed; ";
    }
    PF_LayerDef output{};
    output.width = 64;
    output.height = 36;
    // The first refused render arms the notice, the second fills it.
    for (int render = 0; render < 2; ++render) {
      if (host.CallWithParams(PF_Cmd_RENDER, nullptr, &output) != PF_Err_NONE) {
        problems << "render " << render << " failed; ";
      }
    }
    if (std::string(host.out_data().return_msg).rfind("Wrong Settings for GPU Acceleration", 0) != 0) {
      problems << "no refusal message: " << host.out_data().return_msg << "; ";
    }
    if (host.DrawEffectControls(panel, kFrame) != PF_Err_NONE || host.DrawCompositionWindow(window) != PF_Err_NONE) {
      problems << "drawing failed; ";
    }
    const Box underImage{20, 80, 270, 110};
    if (CountPixels(panel, underImage, IsRed) < 50 || CountPixels(panel, underImage, IsGreen) != 0) {
      problems << "panel shows no red headline under the image; ";
    }
    const Box headline = BoundsOf(window, Box{0, 0, 480, 31}, IsRed);
    const Box instruction = BoundsOf(window, Box{0, 36, 480, 80}, IsRed);
    if (headline.right - headline.left < 200 || headline.left > 13 || headline.bottom < 28) {
      problems << "window headline missing or misplaced; ";
    }
    if (instruction.right - instruction.left < 200 || instruction.left > 13 || instruction.bottom > 49) {
      problems << "window instruction missing or misplaced; ";
    }
    host.Call(PF_Cmd_GLOBAL_SETDOWN);
    if (host.runtime().LiveHandles() != 0 || dshost::DrawbotLiveObjectCount() != 0) {
      problems << "resources left behind; ";
    }
    return problems.str();
  };
  EXPECT_EXIT(
      {
        const std::string problems = scenario();
        std::cerr << problems;
        std::exit(problems.empty() ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}
