// Smart pre-render and render through EffectMain on the first OpenCL device:
// which frames the effect checks out and when, what it declares, how it
// copes with missing worlds and failing checkouts, the refusal of 16-bit
// frames, and that every frame and handle goes back to the host.
#include <gtest/gtest.h>

#include <cmath>

#include "e2e/E2ETestSupport.h"
#include "host/gpu/GpuHost.h"
#include "params/DriftSmear_Parameters.h"

namespace e2e {
namespace {

using testsupport::LinesContaining;

class SmartRender : public ::testing::Test {
 protected:
  void SetUp() override {
    E2E_REQUIRE_DEVICE(kFirstOpenCL, index);
    ae_ = std::make_unique<AeInstance>();
    ASSERT_EQ(ae_->SetUpDevice(index), PF_Err_NONE);
    Apply(host(), Settings{});
  }

  dshost::EffectHost& host() { return ae_->host(); }

  // Times of the layer checkouts and ids of the check-ins of a render, in order.
  static std::vector<A_long> CheckoutTimes(const dshost::SmartRenderLog& log) {
    return Each(log.layerCheckouts, &dshost::LayerCheckoutRecord::time);
  }
  static std::vector<A_long> CheckinIds(const dshost::SmartRenderLog& log) {
    return Each(log.pixelCheckins, &dshost::PixelsCheckinRecord::checkoutId);
  }
  template <typename Record>
  static std::vector<A_long> Each(const std::vector<Record>& records, A_long Record::*field) {
    std::vector<A_long> values;
    for (const Record& record : records) {
      values.push_back(record.*field);
    }
    return values;
  }

  std::unique_ptr<AeInstance> ae_;
  // Twelve 64x64 dot frames, 10 time units each in a scale of 100.
  InMemoryClip clip_ = DotClip(64, std::vector<DotFrame>(12, DotFrame{64, 0, 0}), 7);
};

TEST_F(SmartRender, EarlierFramesAreCheckedOutFrameOffsetTimeStepsBack) {
  // Three frames by default.
  auto result = ae_->Render(clip_, 100);
  ASSERT_EQ(result.render, PF_Err_NONE);
  EXPECT_EQ(CheckoutTimes(result.log), (std::vector<A_long>{100, 90, 80}));

  host().parameters().SetValueById(kDiskFrameOffset, 0.5);
  result = ae_->Render(clip_, 100);
  EXPECT_EQ(CheckoutTimes(result.log), (std::vector<A_long>{100, 95, 90}));
  // Fractions of a time unit are cut toward zero, before the start too:
  // 3 - 4.5 gives -1, not -2.
  host().parameters().SetValueById(kDiskFrameOffset, 0.45);
  EXPECT_EQ(CheckoutTimes(ae_->Render(clip_, 3).log), (std::vector<A_long>{3, -1, -6}));

  // A negative offset looks at later frames; 0 asks for the current frame in
  // every slot.
  host().parameters().SetValueById(kDiskFrameOffset, -1);
  EXPECT_EQ(CheckoutTimes(ae_->Render(clip_, 50).log), (std::vector<A_long>{50, 60, 70}));
  host().parameters().SetValueById(kDiskFrameOffset, 0);
  EXPECT_EQ(CheckoutTimes(ae_->Render(clip_, 50).log), (std::vector<A_long>{50, 50, 50}));

  for (size_t id = 0; id < result.log.layerCheckouts.size(); ++id) {
    const dshost::LayerCheckoutRecord& checkout = result.log.layerCheckouts[id];
    EXPECT_EQ(checkout.checkoutId, static_cast<A_long>(id));
    EXPECT_EQ(checkout.layer, 0);
    EXPECT_EQ(checkout.timeStep, 10);
    EXPECT_EQ(checkout.timeScale, 100u);
    // The whole layer, whatever the output asks for.
    EXPECT_EQ(checkout.request.rect.left, -10000);
    EXPECT_EQ(checkout.request.rect.top, -10000);
    EXPECT_EQ(checkout.request.rect.right, 10000);
    EXPECT_EQ(checkout.request.rect.bottom, 10000);
    EXPECT_EQ(checkout.request.field, PF_Field_FRAME);
    EXPECT_EQ(checkout.request.channel_mask, PF_ChannelMask_ARGB);
    EXPECT_TRUE(checkout.request.preserve_rgb_of_zero_alpha);
  }
}

TEST_F(SmartRender, NoMoreFramesThanTheRecordHasOriginsFor) {
  // A project can hold more frames than the slider offers; the record has
  // origins for 50.
  host().parameters().SetValueById(kDiskFrames, 80);
  const auto result = ae_->Render(clip_, 100);
  EXPECT_EQ(result.render, PF_Err_NONE);
  EXPECT_EQ(result.log.layerCheckouts.size(), 50u);
  EXPECT_EQ(result.log.outstandingPixels, 0u);
}

TEST_F(SmartRender, PreRenderDeclaresTheFullDownsampledFrame) {
  auto result = ae_->Render(clip_, 100);
  ASSERT_EQ(result.preRender, PF_Err_NONE);
  const PF_PreRenderOutput& output = result.log.preRenderOutput;
  EXPECT_EQ(output.flags, PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS | PF_RenderOutputFlag_GPU_RENDER_POSSIBLE);
  EXPECT_EQ(output.result_rect.right, 64);
  EXPECT_EQ(output.result_rect.bottom, 64);
  EXPECT_EQ(output.max_result_rect.right, 64);
  EXPECT_NE(output.pre_render_data, nullptr);
  EXPECT_NE(output.delete_pre_render_data_func, nullptr);

  // A time past the layer's end gives an empty maximum rectangle: the effect
  // declares only what that checkout gave, nothing.
  InMemoryClip ended = clip_;
  ended.SetOutside(InMemoryClip::Outside::NoWorld);
  result = ae_->Render(ended, 1000);
  EXPECT_EQ(result.preRender, PF_Err_NONE);
  EXPECT_EQ(result.log.preRenderOutput.result_rect.right, 0);
  EXPECT_EQ(result.log.preRenderOutput.max_result_rect.right, 0);

  // Half resolution of an odd width rounds up.
  ae_->beforeRender = [](PF_InData& in) {
    in.width = 65;
    in.downsample_x = PF_RationalScale{1, 2};
    in.downsample_y = PF_RationalScale{1, 3};
  };
  result = ae_->Render(clip_, 100);
  EXPECT_EQ(result.log.preRenderOutput.result_rect.right, 33);
  EXPECT_EQ(result.log.preRenderOutput.result_rect.bottom, 22);
  EXPECT_EQ(result.log.preRenderOutput.max_result_rect.right, 33);
}

TEST_F(SmartRender, EveryFrameAndHandleGoesBackWithASecondCheckinOfTheCurrentFrame) {
  const size_t handles = host().runtime().LiveHandles();
  const auto result = ae_->Render(clip_, 100);
  ASSERT_EQ(result.render, PF_Err_NONE);
  EXPECT_EQ(CheckinIds(result.log), (std::vector<A_long>{0, 1, 2, 0}));
  ASSERT_EQ(result.log.pixelCheckins.size(), 4u);
  EXPECT_TRUE(result.log.pixelCheckins[2].held);
  EXPECT_FALSE(result.log.pixelCheckins[3].held) << "id 0 is already back when it is checked in again";
  EXPECT_EQ(result.log.outstandingPixels, 0u);
  EXPECT_EQ(host().runtime().LiveHandles(), handles) << "the frame list goes back to the host";
  EXPECT_EQ(host().runtime().suites().Outstanding(), 0);
  EXPECT_EQ(host().gpu().LiveWorlds(), 0u) << "the intermediate world is disposed of";
  EXPECT_EQ(host().parameters().OutstandingCheckouts(), 0);
}

TEST_F(SmartRender, AMissingWorldRepeatsTheNewerFrame) {
  Settings settings;
  settings.frames = 4;
  Apply(host(), settings);
  const KernelData data = ExpectedKernelData(settings);

  // Frame 8 (checkout id 2) has no world: slot 2 repeats frame 9.
  clip_.SetNoWorld(8);
  auto result = ae_->Render(clip_, 100);
  ASSERT_EQ(result.render, PF_Err_NONE);
  ASSERT_TRUE(result.output);
  EXPECT_FALSE(result.log.pixelCheckouts[2].world);
  EXPECT_TRUE(ImagesMatch(ReferenceChain({&clip_.frame(10), &clip_.frame(9), &clip_.frame(9), &clip_.frame(7)}, 64, 64,
                                         data),
                          *result.output, 1e-5f));
  EXPECT_TRUE(LinesContaining(ae_->Log(), "Reached a last NULL frame").empty());

  // The oldest slot missing is also logged.
  clip_.SetNoWorld(8, false);
  clip_.SetNoWorld(7);
  result = ae_->Render(clip_, 100);
  ASSERT_EQ(result.render, PF_Err_NONE);
  EXPECT_TRUE(ImagesMatch(ReferenceChain({&clip_.frame(10), &clip_.frame(9), &clip_.frame(8), &clip_.frame(8)}, 64, 64,
                                         data),
                          *result.output, 1e-5f));
  const auto lines = LinesContaining(ae_->Log(), "Reached a last NULL frame");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("ERROR [DriftSmear.cpp:"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find(":SmartRender] :: Reached a last NULL frame"), std::string::npos) << lines[0];
}

TEST_F(SmartRender, SixteenBitFramesAreRefusedWithoutTouchingTheOutput) {
  const auto result = ae_->Render(clip_, 100, dshost::kGpuHalfFormat);
  EXPECT_EQ(result.preRender, PF_Err_NONE);
  EXPECT_EQ(result.render, PF_Err_UNRECOGNIZED_PARAM_TYPE);
  ASSERT_TRUE(result.output);
  // 0x4444, the host's fill of an unwritten half world.
  EXPECT_EQ(result.output->pixel(10, 10)[0], 4.265625f);
  EXPECT_EQ(result.output->pixel(63, 63)[3], 4.265625f);
  EXPECT_EQ(CheckinIds(result.log), (std::vector<A_long>{0, 1, 2, 0}));
  EXPECT_EQ(host().gpu().LiveWorlds(), 0u);
  EXPECT_EQ(LinesContaining(ae_->Log(), "EffectMain] :: PF_Cmd_SMART_RENDER_GPU. Code: "
                                        "PF_Err_UNRECOGNIZED_PARAM_TYPE (514)")
                .size(),
            1u);

  // A float frame whose format the host cannot tell keeps the 'badf' the
  // format starts as, and is refused the same way.
  dshost::Faults& faults = host().runtime().faults();
  faults.FailCall("PF World Suite.PF_GetPixelFormat", faults.Count("PF World Suite.PF_GetPixelFormat") + 1,
                  PF_Err_BAD_CALLBACK_PARAM);
  const auto unknown = ae_->Render(clip_, 100);
  EXPECT_EQ(unknown.render, PF_Err_UNRECOGNIZED_PARAM_TYPE);
  ASSERT_TRUE(unknown.output);
  EXPECT_EQ(unknown.output->pixel(10, 10)[0], kUnwrittenFloat);
  EXPECT_EQ(host().gpu().LiveWorlds(), 0u);
}

TEST_F(SmartRender, AFailedLayerCheckoutEndsThePreRender) {
  host().runtime().faults().FailCall("pre_render.checkout_layer", 2, PF_Err_OUT_OF_MEMORY);
  const auto result = ae_->Render(clip_, 100);
  EXPECT_EQ(result.preRender, PF_Err_OUT_OF_MEMORY);
  ASSERT_EQ(result.log.layerCheckouts.size(), 2u) << "no checkout after the failing one";
  EXPECT_EQ(result.log.layerCheckouts[1].error, PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(LinesContaining(ae_->Log(), "PF_Cmd_SMART_PRE_RENDER. Code: PF_Err_OUT_OF_MEMORY (4)").size(), 1u);
}

TEST_F(SmartRender, ANaNFrameOffsetIsAClearErrorBeforeAnyEarlierFrame) {
  host().parameters().SetValueById(kDiskFrameOffset, std::nan(""));
  const auto result = ae_->Render(clip_, 100);
  EXPECT_EQ(result.preRender, PF_Err_BAD_CALLBACK_PARAM);
  ASSERT_EQ(result.log.layerCheckouts.size(), 1u) << "only the current frame has a time";
  EXPECT_EQ(LinesContaining(ae_->Log(), ":PreRender] :: Frame offset nan gives no valid time for frame 1").size(), 1u);
}

TEST_F(SmartRender, AFailedPixelCheckoutStillChecksEverythingIn) {
  clip_.SetFailure(9, PF_Err_INTERNAL_STRUCT_DAMAGED);
  const size_t handles = host().runtime().LiveHandles();
  const auto result = ae_->Render(clip_, 100);
  EXPECT_EQ(result.render, PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(result.log.pixelCheckouts.size(), 2u) << "no checkout after the failing one";
  EXPECT_EQ(CheckinIds(result.log), (std::vector<A_long>{0, 1, 2, 0}));
  EXPECT_EQ(result.log.outstandingPixels, 0u);
  EXPECT_EQ(host().runtime().LiveHandles(), handles);
  ASSERT_TRUE(result.output);
  EXPECT_EQ(result.output->pixel(4, 4)[0], kUnwrittenFloat) << "the output is left as the host gave it";
}

TEST_F(SmartRender, AMissingSuiteFailsTheRenderAndStillReturnsTheFrames) {
  host().runtime().suites().Withhold("PF World Suite");
  const auto result = ae_->Render(clip_, 100);
  EXPECT_EQ(result.render, A_Err_MISSING_SUITE);
  EXPECT_EQ(result.message, "Not able to acquire AEFX Suite.");
  EXPECT_NE(result.outFlags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
  EXPECT_EQ(CheckinIds(result.log), (std::vector<A_long>{0, 1, 2, 0}));
  EXPECT_EQ(result.log.outstandingPixels, 0u);
  EXPECT_EQ(host().runtime().suites().Outstanding(), 0);
}

TEST_F(SmartRender, AFrameListTheHostCannotGiveIsReported) {
  dshost::Faults& faults = host().runtime().faults();
  faults.FailCall("PF Handle Suite.host_new_handle", faults.Count("PF Handle Suite.host_new_handle") + 1);
  const auto result = ae_->Render(clip_, 100);
  EXPECT_EQ(result.render, PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(LinesContaining(ae_->Log(), ":SmartRender] :: Cannot initialize layer frames").size(), 1u);
  EXPECT_TRUE(result.log.pixelCheckouts.empty());
}

}  // namespace
}  // namespace e2e
