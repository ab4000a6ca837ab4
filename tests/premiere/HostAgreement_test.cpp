// The two hosts render the same clip with the same parameters through their
// own paths: After Effects through smart render, Premiere through the GPU
// filter. They agree while the chromatic offset is 0. Otherwise they part:
// the Premiere filter reads the offset as a 64-bit float and hands it to the
// kernels unconverted, in degrees, where After Effects hands radians. With
// our host's default of 32-bit angles that 64-bit read sees, in effect, 0.
#include <gtest/gtest.h>

#include <numbers>

#include "premiere/PremiereTestSupport.h"

namespace {

using dshost::HostApp;
using dshost::ImageF;
using dshost::InMemoryClip;
using premieretest::DifferingPixels;
using premieretest::MaxDifference;
using premieretest::MovingClip;
using premieretest::Session;

class HostAgreement : public ::testing::Test {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_OPENCL();
    afterEffects_ = std::make_unique<Session>(HostApp::AfterEffects);
    premiere_ = std::make_unique<Session>(HostApp::Premiere);
    // A strong trail over a scene that moves as a whole, so that the
    // chromatic split shows on most of the frame.
    for (Session* session : {afterEffects_.get(), premiere_.get()}) {
      (**session).SetParameter(kDiskFrames, 6);
      (**session).SetParameter(kDiskMotionAngle, 30);
      (**session).SetParameter(kDiskChromatic, 100);
      (**session).SetParameter(kDiskTrail, 100);
      (**session).SetParameter(kDiskDisplace, 50);
      (**session).SetParameter(kDiskVelocityThreshold, 0);
    }
  }

  ImageF AfterEffects(double chromaticOffset) {
    (**afterEffects_).SetParameter(kDiskChromaticOffset, chromaticOffset);
    return (**afterEffects_).RenderFrame(clip_, clip_.TimeOfFrame(9));
  }
  ImageF Premiere(double chromaticOffset) {
    (**premiere_).SetParameter(kDiskChromaticOffset, chromaticOffset);
    return (**premiere_).RenderFrame(clip_, clip_.TimeOfFrame(9));
  }

  const InMemoryClip clip_ = MovingClip(96, 64, 12);
  const int pixels_ = 96 * 64;
  std::unique_ptr<Session> afterEffects_;
  std::unique_ptr<Session> premiere_;
};

TEST_F(HostAgreement, ChromaticOffsetZeroGivesTheSameImage) {
  const ImageF ae = AfterEffects(0.0);
  const ImageF pr = Premiere(0.0);
  EXPECT_GT(DifferingPixels(ae, clip_.frame(9).image), pixels_ / 4) << "the trail shows";
  // The motion offsets may differ in their last bit: After Effects scales the
  // angle's cosine and sine in double precision, Premiere in single.
  EXPECT_LE(MaxDifference(ae, pr), 1e-4f);
}

TEST_F(HostAgreement, WithThirtyTwoBitAnglesPremiereLosesTheChromaticOffset) {
  ASSERT_EQ(premiere_->premiere().angleParamType(), kPrParamType_Float32);
  const ImageF aeTurned = AfterEffects(90.0);
  EXPECT_GT(DifferingPixels(aeTurned, AfterEffects(0.0)), pixels_ / 4) << "After Effects turns the split";
  const ImageF prTurned = Premiere(90.0);
  EXPECT_LE(MaxDifference(prTurned, Premiere(0.0)), 1e-6f) << "the kernels see a subnormal offset, in effect 0";
  EXPECT_GT(DifferingPixels(prTurned, aeTurned), pixels_ / 4);
}

TEST_F(HostAgreement, WithSixtyFourBitAnglesTheOffsetReachesTheKernelsInDegrees) {
  // The motion angle, read as the first four bytes of a 64-bit value, is 0
  // for any whole number of degrees: both hosts use 0 here.
  premiere_->premiere().SetAngleParamType(kPrParamType_Float64);
  for (Session* session : {afterEffects_.get(), premiere_.get()}) (**session).SetParameter(kDiskMotionAngle, 0);
  EXPECT_LE(MaxDifference(Premiere(0.0), AfterEffects(0.0)), 1e-4f);

  // Premiere's 1 degree reaches the kernels as 1.0, as After Effects passes
  // 180 / pi degrees; After Effects' own 1 degree is 0.01745.
  const ImageF pr = Premiere(1.0);
  EXPECT_LE(MaxDifference(pr, AfterEffects(180.0 / std::numbers::pi)), 1e-4f);
  EXPECT_GT(DifferingPixels(pr, AfterEffects(1.0)), pixels_ / 10);
}

TEST(HostAgreementOnCuda, PremiereOnCudaMatchesOpenCL) {
  std::string reason;
  const dshost::GpuDeviceDesc* cuda = dshost::FirstGpuDevice(dshost::GpuApi::Cuda, &reason);
  if (cuda == nullptr) DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "no NVIDIA GPU with CUDA, the CUDA variant cannot run: " << reason;
  SKIP_WITHOUT_OPENCL();
  const InMemoryClip clip = MovingClip(96, 64, 12);
  testsupport::ScopedTempDir temp;
  dshost::RenderSessionOptions options;
  options.app = HostApp::Premiere;
  options.deviceIndex = cuda->index;
  dshost::RenderSession onCuda(DRIFTSMEAR_MODULE_PATH, options);
  Session onOpenCL(HostApp::Premiere);
  for (dshost::RenderSession* session : {&onCuda, &*onOpenCL}) {
    session->SetParameter(kDiskFrames, 6);
    session->SetParameter(kDiskChromaticOffset, 20);
  }
  // Work-groups run side by side on the GPU, so the in-place passes may read
  // a few neighbours at another stage than serial PoCL does.
  for (auto format : {dshost::GpuFrameFormat::Float32, dshost::GpuFrameFormat::Half16}) {
    const ImageF cudaImage = onCuda.RenderFrame(clip, clip.TimeOfFrame(9), format);
    EXPECT_TRUE(premieretest::AllInUnitRange(cudaImage));
    EXPECT_LE(DifferingPixels(cudaImage, (*onOpenCL).RenderFrame(clip, clip.TimeOfFrame(9), format)), 96 * 64 / 20);
  }
}

}  // namespace
