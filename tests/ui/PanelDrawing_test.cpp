// The drawing of the Effect Controls area and of the Composition-window
// notice, checked on the host's rasterized canvas. The static library's
// handlers are called directly, so each case sets the GPU texts it needs.
#include <gtest/gtest.h>

#include "common/TestSupport.h"
#include "host/drawbot/DrawbotSuites.h"
#include "render/GPUStatusInfo.h"
#include "ui/DriftSmear_UI_Handler.h"
#include "ui/UITestSupport.h"

using namespace uitest;

namespace {

// The control frame inside a larger canvas: 20 in, 10 down, 110 tall, wider
// than the image so the background's 250-unit width shows.
constexpr PF_Rect kFrame = {20, 10, 290, 120};
constexpr int kImageBottom = 10 + 70;
constexpr int kBaseline = kImageBottom + 14;
// Around the text line: the label from x = 25, the name from x = 52.
constexpr Box kLabelBox = {25, kBaseline - 12, 52, kBaseline + 4};
constexpr Box kNameBox = {52, kBaseline - 12, 270, kBaseline + 4};
constexpr Box kUnderImage = {20, kImageBottom, 270, 120};

void SetTexts(const std::string& gpu, const std::string& framework, const std::string& headline = {},
              const std::string& instruction = {}) {
  GPUStatusInfo& info = GetGPUStatusInfo();
  info.SetText(GPUStatusInfo::kGPUShortName, gpu);
  info.SetText(GPUStatusInfo::kFrameworkName, framework);
  info.SetText(GPUStatusInfo::kNoticeHeadline, headline);
  info.SetText(GPUStatusInfo::kNoticeInstruction, instruction);
}

class PanelDrawingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetTexts({}, {});
    dshost::ResetDrawbotCallCounters();
  }
  void TearDown() override {
    SetTexts({}, {});
    dshost::ClearDrawbotFaults();
    EXPECT_EQ(dshost::DrawbotLiveObjectCount(), 0u) << "every Drawbot object is released";
  }
  std::vector<std::string> ErrorLines() const { return log_.Errors("DriftSmear_UI_Handler.cpp:"); }

  testsupport::LogCapture log_;
  DrawbotCanvas canvas_{300, 130, kCanvasColor};
};

}  // namespace

TEST_F(PanelDrawingTest, WithoutGPUNameOnlyBackgroundAndImage) {
  StaticUIHost host;
  PF_EventOutFlags flags = PF_EO_NONE;
  ASSERT_EQ(host.DrawPanel(canvas_, kFrame, PF_EA_CONTROL, &flags), PF_Err_NONE);
  EXPECT_EQ(flags & PF_EO_HANDLED_EVENT, PF_EO_HANDLED_EVENT);

  EXPECT_EQ(ImageMismatches(canvas_, 20, 10), 0) << "the image sits at the control frame's corner";
  const Box under = kUnderImage;
  EXPECT_EQ(CountPixels(canvas_, under, IsBackground), (under.right - under.left) * (under.bottom - under.top))
      << "background down to the frame's bottom and no text";
  // 250 units wide from the frame's left, nothing outside the frame.
  EXPECT_EQ(CountPixels(canvas_, Box{270, 0, 300, 130}, IsCanvasColor), 30 * 130);
  EXPECT_EQ(CountPixels(canvas_, Box{0, 0, 20, 130}, IsCanvasColor), 20 * 130);
  EXPECT_EQ(CountPixels(canvas_, Box{0, 0, 300, 10}, IsCanvasColor), 300 * 10);
  EXPECT_EQ(CountPixels(canvas_, Box{0, 120, 300, 130}, IsCanvasColor), 300 * 10);

  EXPECT_EQ(dshost::DrawbotCallCount("DrawString"), 0u);
  EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
  EXPECT_TRUE(ErrorLines().empty());
}

TEST_F(PanelDrawingTest, GPULineOnceARenderNamedTheGPU) {
  StaticUIHost host;
  SetTexts("RTX 4090", "CUDA");
  ASSERT_EQ(host.DrawPanel(canvas_, kFrame), PF_Err_NONE);

  EXPECT_GT(CountPixels(canvas_, kLabelBox, IsLight), 10) << "\"GPU:\" in white";
  EXPECT_EQ(CountPixels(canvas_, kLabelBox, IsGreen), 0);
  EXPECT_GT(CountPixels(canvas_, kNameBox, IsGreen), 20) << "the GPU name in green after the label";
  EXPECT_EQ(CountPixels(canvas_, kNameBox, IsLight), 0);
  EXPECT_EQ(CountPixels(canvas_, kUnderImage, IsRed), 0);
  const Box label = BoundsOf(canvas_, kLabelBox, IsLight);
  const Box name = BoundsOf(canvas_, kNameBox, IsGreen);
  EXPECT_LE(label.left, 27);
  EXPECT_GE(name.left, 52);
  EXPECT_LE(name.left, 54);
  // Both on one baseline, 14 units under the image.
  EXPECT_EQ(label.bottom, name.bottom);
  EXPECT_NEAR(label.bottom, kBaseline, 1);

  // Without a framework name the line is the short name alone.
  const int withFramework = name.right;
  SetTexts("RTX 4090", "");
  canvas_.Clear();
  ASSERT_EQ(host.DrawPanel(canvas_, kFrame), PF_Err_NONE);
  const Box shortName = BoundsOf(canvas_, kNameBox, IsGreen);
  EXPECT_EQ(shortName.left, name.left);
  EXPECT_LT(shortName.right, withFramework - 15);
}

TEST_F(PanelDrawingTest, RefusalHeadlineReplacesTheGPULine) {
  StaticUIHost host;
  SetTexts("RTX 4090", "CUDA", "Drift Smear cannot render using CPU only.", "Go in File > Project Settings");
  PF_EventOutFlags flags = PF_EO_NONE;
  ASSERT_EQ(host.DrawPanel(canvas_, kFrame, PF_EA_CONTROL, &flags), PF_Err_NONE);
  EXPECT_EQ(flags & PF_EO_HANDLED_EVENT, PF_EO_HANDLED_EVENT);

  const Box red = BoundsOf(canvas_, kUnderImage, IsRed);
  EXPECT_GT(CountPixels(canvas_, kUnderImage, IsRed), 50);
  EXPECT_LE(red.left, 27);
  EXPECT_GT(red.right, 150) << "the whole headline, not truncated";
  EXPECT_LE(red.bottom, kBaseline + 4);
  EXPECT_EQ(CountPixels(canvas_, kUnderImage, IsGreen), 0);
  EXPECT_EQ(CountPixels(canvas_, kUnderImage, IsLight), 0);
  EXPECT_EQ(ImageMismatches(canvas_, 20, 10), 0);
}

TEST_F(PanelDrawingTest, WithoutImageTheLayoutStays) {
  StaticUIHost host(/*withImage=*/false);
  SetTexts("RTX 4090", "CUDA");
  PF_EventOutFlags flags = PF_EO_NONE;
  ASSERT_EQ(host.DrawPanel(canvas_, kFrame, PF_EA_CONTROL, &flags), PF_Err_NONE);
  EXPECT_EQ(flags & PF_EO_HANDLED_EVENT, PF_EO_HANDLED_EVENT);
  EXPECT_EQ(CountPixels(canvas_, Box{20, 10, 270, kImageBottom}, IsBackground), 250 * 70);
  EXPECT_GT(CountPixels(canvas_, kNameBox, IsGreen), 20);
  EXPECT_EQ(dshost::DrawbotCallCount("DrawImage"), 0u);
}

TEST_F(PanelDrawingTest, TitleAreaDrawsNothing) {
  StaticUIHost host;
  SetTexts("RTX 4090", "CUDA");
  PF_EventOutFlags flags = PF_EO_NONE;
  ASSERT_EQ(host.DrawPanel(canvas_, kFrame, PF_EA_PARAM_TITLE, &flags), PF_Err_NONE);
  EXPECT_TRUE(Untouched(canvas_));
  EXPECT_EQ(flags, PF_EO_NONE);
  EXPECT_EQ(dshost::DrawbotTotalCallCount(), 0u);
}

TEST_F(PanelDrawingTest, MissingEventRecordOrReferenceIsLoggedAndNothingDrawn) {
  StaticUIHost host;
  PF_OutData out{};
  EXPECT_EQ(HandleEvent(&host.in_data(), &out, nullptr, nullptr, nullptr), PF_Err_NONE);
  auto errors = ErrorLines();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find(":HandleEvent] :: Something wrong. Extra is MULL"), std::string::npos) << errors[0];

  host.runtime().faults().FailCall("PF Effect Custom UI Suite.PF_GetDrawingReference", 0);
  SetTexts({}, {}, "Drift Smear cannot render using CPU only.", "Go in File > Project Settings");
  PF_EventOutFlags flags = PF_EO_NONE;
  EXPECT_EQ(host.DrawPanel(canvas_, kFrame, PF_EA_CONTROL, &flags), PF_Err_NONE);
  EXPECT_EQ(flags, PF_EO_NONE);
  EXPECT_EQ(host.DrawWindow(canvas_), PF_Err_NONE);
  EXPECT_TRUE(Untouched(canvas_));
  errors = ErrorLines();
  ASSERT_EQ(errors.size(), 3u);
  EXPECT_NE(errors[1].find(":DrawEvent] :: Cannot acquire Drawing Reference"), std::string::npos) << errors[1];
  EXPECT_NE(errors[2].find(":DrawCompUIEvent] :: Cannot acquire Drawing Reference"), std::string::npos) << errors[2];
}

TEST_F(PanelDrawingTest, FailedDrawbotCallStopsTheDrawingAndReleasesItsObjects) {
  StaticUIHost host;
  SetTexts("RTX 4090", "CUDA");
  dshost::FailDrawbotCallsNamed("DrawImage");
  PF_EventOutFlags flags = PF_EO_NONE;
  EXPECT_EQ(host.DrawPanel(canvas_, kFrame, PF_EA_CONTROL, &flags), PF_Err_NONE);
  EXPECT_EQ(flags, PF_EO_NONE) << "not handled when a call failed";
  // The background was drawn before the failure; nothing after it.
  EXPECT_EQ(CountPixels(canvas_, Box{20, 10, 270, 120}, IsBackground), 250 * 110);
  EXPECT_EQ(dshost::DrawbotCallCount("DrawString"), 0u);
  EXPECT_GT(dshost::DrawbotCallCount("ReleaseObject"), 0u);
  EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
  const auto errors = ErrorLines();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find(":DrawEvent] :: "), std::string::npos);
  EXPECT_NE(errors[0].find("DrawImage"), std::string::npos);
}

TEST_F(PanelDrawingTest, WindowNoticeAtItsTwoPositions) {
  StaticUIHost host;
  DrawbotCanvas window(400, 80, DRAWBOT_ColorRGBA{0.2f, 0.2f, 0.2f, 1.0f});
  ASSERT_EQ(host.DrawWindow(window), PF_Err_NONE);
  EXPECT_TRUE(Untouched(window)) << "no notice, no drawing";

  // Capitals only, so the baselines show as the bottoms of the glyphs.
  SetTexts({}, {}, "DRIFT SMEAR", "GO IN FILE");
  ASSERT_EQ(host.DrawWindow(window), PF_Err_NONE);
  const Box headline = BoundsOf(window, Box{0, 0, 400, 32}, IsRed);
  const Box instruction = BoundsOf(window, Box{0, 32, 400, 80}, IsRed);
  EXPECT_NEAR(headline.left, 11, 2);
  EXPECT_NEAR(headline.bottom, 30, 1);
  EXPECT_NEAR(instruction.left, 11, 2);
  EXPECT_NEAR(instruction.bottom, 44, 1);
  // 20-unit capitals are taller than 14-unit ones.
  EXPECT_GT(headline.bottom - headline.top, instruction.bottom - instruction.top + 3);
  EXPECT_EQ(CountPixels(window, Box{0, 45, 400, 80}, IsRed), 0);
  EXPECT_EQ(dshost::DrawbotCallCount("NewDefaultFont"), 2u);
  EXPECT_EQ(host.runtime().suites().Outstanding(), 0);
}
