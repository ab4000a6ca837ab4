// MainKernel behaviour on small hand-worked frames, run on every back end
// that is available (C++ build, OpenCL, CUDA).
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "KernelTestSupport.h"

namespace driftsmear::testing {
namespace {

constexpr unsigned int kSize = 32;  // a power of two keeps texel steps exact

float4 Bgra(float r, float g, float b, float a = 1.0f) { return make_float4(b, g, r, a); }

// Grey ramp rising along x (or y), times `scale`, plus `offset`.
PixelBuffer Ramp(bool alongX, float scale, float offset, bool half = false) {
  PixelBuffer image(kSize, kSize, half);
  for (unsigned int y = 0; y < kSize; ++y) {
    for (unsigned int x = 0; x < kSize; ++x) {
      const float v = offset + scale * static_cast<float>(alongX ? x : y) / kSize;
      image.Set(x, y, Bgra(v, v, v));
    }
  }
  return image;
}

// Distinct colours per pixel, so a sample's position can be told from its value.
PixelBuffer Coded(float alpha = 1.0f) {
  PixelBuffer image(kSize, kSize, false);
  for (unsigned int y = 0; y < kSize; ++y) {
    for (unsigned int x = 0; x < kSize; ++x) {
      image.Set(x, y, make_float4(x / 64.0f, y / 64.0f, (x + y) / 128.0f + 0.25f, alpha));
    }
  }
  return image;
}

void ExpectPixel(const PixelBuffer& image, unsigned int x, unsigned int y, float4 expected, float tolerance = 0.0f) {
  const float4 actual = image.Get(x, y);
  EXPECT_NEAR(actual.x, expected.x, tolerance) << "channel B at (" << x << ", " << y << ")";
  EXPECT_NEAR(actual.y, expected.y, tolerance) << "channel G at (" << x << ", " << y << ")";
  EXPECT_NEAR(actual.z, expected.z, tolerance) << "channel R at (" << x << ", " << y << ")";
  EXPECT_NEAR(actual.w, expected.w, tolerance) << "channel A at (" << x << ", " << y << ")";
}

bool AnyPixelDiffers(const PixelBuffer& a, const PixelBuffer& b) {
  return !ImagesAgree(a, b, 1e-6f);
}

class MainKernelTest : public BackendTest<Backend> {
 protected:
  MainKernelTest() : BackendTest(GetParam()) {}
  // A ramp along x and its previous frame 0.2 brighter with the same slope:
  // a flow wherever the kernel looks.
  const PixelBuffer cur_ = Ramp(true, 0.5f, 0.1f);
  const PixelBuffer pre_ = Ramp(true, 0.5f, 0.3f);
  PixelBuffer dst_{kSize, kSize, false};
  KernelData params_ = DefaultParams();
};

TEST_P(MainKernelTest, PercentZeroCopiesCurrentWithRedAndBlueExchanged) {
  const PixelBuffer pre = Ramp(true, 1.0f, 0.5f);
  const PixelBuffer cur = Coded(0.5f);
  params_.percent = 0.0f;
  params_.is_activated = false;  // no watermark on this path either
  params_.showDebugData = 2;     // nor a debug view
  backend_->RunMain(pre, cur, dst_, params_);
  for (unsigned int y = 0; y < kSize; ++y) {
    for (unsigned int x = 0; x < kSize; ++x) {
      const float4 c = cur.Get(x, y);
      ExpectPixel(dst_, x, y, make_float4(c.z, c.y, c.x, c.w));
    }
  }
}

TEST_P(MainKernelTest, FlatFramesGiveTheCurrentPixel) {
  PixelBuffer pre(kSize, kSize, false);
  PixelBuffer cur(kSize, kSize, false);
  pre.Fill(Bgra(0.9f, 0.8f, 0.7f));  // darker current: movement > 0, but no gradient
  cur.Fill(Bgra(0.2f, 0.3f, 0.4f));
  backend_->RunMain(pre, cur, dst_, DefaultParams());
  EXPECT_TRUE(ImagesAgree(cur, dst_, 0.0f));
}

TEST_P(MainKernelTest, BrighterCurrentGivesNoFlow) {
  const PixelBuffer pre = Ramp(true, 0.5f, 0.0f);
  const PixelBuffer cur = Ramp(true, 0.5f, 0.3f);
  backend_->RunMain(pre, cur, dst_, params_);
  EXPECT_TRUE(ImagesAgree(cur, dst_, 0.0f));

  params_.showDebugData = 4;  // flow magnitude
  backend_->RunMain(pre, cur, dst_, params_);
  for (unsigned int x = 0; x < kSize; ++x) {
    ExpectPixel(dst_, x, kSize / 2, make_float4(0.0f, 0.0f, 0.0f, 1.0f));
  }
}

// A ramp rising along x whose previous frame is brighter: the flow saturates
// at +1 (trail 100), so the result samples the previous frame 3.5 pixels to
// the right (displace 3.5), the red channel 1.25 pixels behind and the blue
// channel 1.25 pixels ahead of that (shift cos(pi) * 0.0025 * 15.625 =
// -1.25 / 32), each from the pixel at or below the sample. Samples beyond the
// right edge repeat the last column. (Positions stay clear of pixel
// boundaries: OpenCL's relaxed math may be an ulp off.)
TEST_P(MainKernelTest, HorizontalMotionSmearsWithRedBlueSplitAndClampsAtTheEdge) {
  params_.trailIntensity = 100.0f;
  params_.displaceIntensity = 3.5f;
  params_.chromatic = 15.625f;
  backend_->RunMain(pre_, cur_, dst_, params_);
  const auto at = [&](unsigned int x, unsigned int y) { return pre_.Get(x < kSize ? x : kSize - 1, y); };
  for (unsigned int y : {0u, 13u, kSize - 1}) {
    for (unsigned int x = 0; x < kSize; ++x) {
      const float4 g = at(x + 3, y);
      ExpectPixel(dst_, x, y, make_float4(at(x + 4, y).x, g.y, at(x + 2, y).z, g.w), 1e-6f);
    }
  }
}

// The same along y: the vertical flow changes sign, so the sample moves up by
// 3.5 rows (to row y - 4) and the top rows repeat row 0.
TEST_P(MainKernelTest, VerticalFlowIsInvertedAndClampsAtTheTop) {
  const PixelBuffer cur = Ramp(false, 0.5f, 0.1f);
  const PixelBuffer pre = Ramp(false, 0.5f, 0.3f);
  params_.trailIntensity = 100.0f;
  params_.displaceIntensity = 3.5f;
  params_.chromatic = 0.0f;
  backend_->RunMain(pre, cur, dst_, params_);
  for (unsigned int y = 0; y < kSize; ++y) {
    ExpectPixel(dst_, 7, y, pre.Get(7, y >= 4 ? y - 4 : 0), 1e-6f);
  }
}

// The magnitude band starts at 0.05 however low the threshold: with
// threshold 0 a flow of about 0.03 blends nothing, one of about 0.07 does.
TEST_P(MainKernelTest, ThresholdBandStartsAtFivePercent) {
  params_.threshold = 0.0f;
  params_.trailIntensity = 0.4f;
  backend_->RunMain(pre_, cur_, dst_, params_);
  EXPECT_TRUE(ImagesAgree(cur_, dst_, 0.0f));
  params_.trailIntensity = 1.0f;
  backend_->RunMain(pre_, cur_, dst_, params_);
  EXPECT_TRUE(AnyPixelDiffers(dst_, cur_));
}

TEST_P(MainKernelTest, VelocityLimitsMayComeInEitherOrder) {
  params_.minVel = 0.05f;
  params_.maxVel = 0.6f;
  PixelBuffer ordered(kSize, kSize, false);
  backend_->RunMain(pre_, cur_, ordered, params_);
  std::swap(params_.minVel, params_.maxVel);
  PixelBuffer swapped(kSize, kSize, false);
  backend_->RunMain(pre_, cur_, swapped, params_);
  EXPECT_TRUE(AnyPixelDiffers(ordered, cur_)) << "the case must move pixels to mean anything";
  EXPECT_TRUE(ImagesAgree(ordered, swapped, 0.0f));
}

// Both velocity limits 0 (two presets do this): no flow where the velocity is
// exactly 0, full movement wherever it is above 0.
TEST_P(MainKernelTest, EqualVelocityLimitsStepAtTheEdge) {
  const PixelBuffer cur = Ramp(true, 0.5f, 0.1f);
  PixelBuffer pre = Ramp(true, 0.5f, 0.1f);
  for (unsigned int y = 0; y < kSize / 2; ++y) {  // top half: previous brighter
    for (unsigned int x = 0; x < kSize; ++x) {
      const float v = 0.1f + 0.5f * x / kSize + 0.01f;
      pre.Set(x, y, Bgra(v, v, v));
    }
  }
  params_.minVel = 0.0f;
  params_.maxVel = 0.0f;
  params_.showDebugData = 4;
  backend_->RunMain(pre, cur, dst_, params_);
  // Gradient 2 * 4.5 / 32 px on average, lambda 0.5, trail 10: well above 1.
  ExpectPixel(dst_, 10, 2, make_float4(1.0f, 1.0f, 1.0f, 1.0f));
  ExpectPixel(dst_, 10, kSize - 3, make_float4(0.0f, 0.0f, 0.0f, 1.0f));
}

TEST_P(MainKernelTest, DebugViewsOfZeroMotion) {
  const PixelBuffer frame = Coded();
  params_.percent = 0.5f;
  params_.is_activated = false;  // debug views draw no watermark
  params_.threshold = 0.0f;
  const unsigned int x = 5;
  const unsigned int y = 12;
  const float u = x / static_cast<float>(kSize);
  const float v = y / static_cast<float>(kSize);

  params_.showDebugData = 2;  // Motion: xy2rgba(0, 0) = (0.5, 0.5, 0.25, 1)
  backend_->RunMain(frame, frame, dst_, params_);
  ExpectPixel(dst_, x, y, Bgra(0.5f, 0.5f, 0.25f));
  ExpectPixel(dst_, 0, 0, Bgra(0.5f, 0.5f, 0.25f));

  params_.showDebugData = 3;  // Displace: (st - uv) * 1000 + uv = uv
  backend_->RunMain(frame, frame, dst_, params_);
  ExpectPixel(dst_, x, y, Bgra(u, v, 0.0f));

  params_.showDebugData = 4;  // FlowMag
  backend_->RunMain(frame, frame, dst_, params_);
  ExpectPixel(dst_, x, y, Bgra(0.0f, 0.0f, 0.0f));

  params_.showDebugData = 5;  // Shift * 1000: (cos, sin)(offset) * 2.5 * chromatic
  params_.chromatic = 0.5f;
  params_.chromaticOffset = 3.14159265f / 2.0f;
  backend_->RunMain(frame, frame, dst_, params_);
  ExpectPixel(dst_, x, y, Bgra(0.0f, 1.25f, 0.0f), 1e-5f);
}

TEST_P(MainKernelTest, WatermarkCrossWhenNotActivated) {
  PixelBuffer frame(kSize, kSize, false);
  frame.Fill(Bgra(0.25f, 0.5f, 0.75f, 1.0f));
  params_.is_activated = false;
  backend_->RunMain(frame, frame, dst_, params_);
  // mix(current, (1, u, v, 1), 0.8) on both diagonals.
  ExpectPixel(dst_, 0, 0, Bgra(0.25f + 0.75f * 0.8f, 0.5f - 0.5f * 0.8f, 0.75f - 0.75f * 0.8f), 1e-6f);
  const float u = 10.0f / kSize;
  const float v = 22.0f / kSize;
  ExpectPixel(dst_, 10, 22, Bgra(0.25f + 0.75f * 0.8f, 0.5f + (u - 0.5f) * 0.8f, 0.75f + (v - 0.75f) * 0.8f), 1e-6f);
  // One pixel off either diagonal (a distance of 1/32 > 0.005) is untouched.
  ExpectPixel(dst_, 1, 0, frame.Get(1, 0));
  ExpectPixel(dst_, 10, 21, frame.Get(10, 21));
  ExpectPixel(dst_, 20, 2, frame.Get(20, 2));
}

TEST_P(MainKernelTest, NaNPercentGivesTheCurrentPixel) {
  PixelBuffer moved(kSize, kSize, false);
  backend_->RunMain(pre_, cur_, moved, params_);
  ASSERT_TRUE(AnyPixelDiffers(moved, cur_)) << "the case must move pixels to mean anything";

  params_.percent = std::numeric_limits<float>::quiet_NaN();
  backend_->RunMain(pre_, cur_, dst_, params_);
  EXPECT_TRUE(ImagesAgree(cur_, dst_, 0.0f));
}

TEST_P(MainKernelTest, PremultipliedTransparentPixelsKeepTheCurrentColour) {
  PixelBuffer cur = Ramp(true, 0.5f, 0.1f);
  for (unsigned int y = 0; y < kSize; ++y) {
    for (unsigned int x = 0; x < kSize; ++x) {
      float4 c = cur.Get(x, y);
      c.w = 0.0f;  // straight colour left in a transparent pixel
      cur.Set(x, y, c);
    }
  }
  const PixelBuffer pre = Ramp(true, 0.5f, 0.3f);
  backend_->RunMain(pre, cur, dst_, params_);
  EXPECT_TRUE(ImagesAgree(cur, dst_, 0.0f));

  params_.isPremult = false;  // the flow then comes from the previous frame alone
  backend_->RunMain(pre, cur, dst_, params_);
  EXPECT_TRUE(AnyPixelDiffers(dst_, cur));
}

// Rows longer than the image: the padding holds NaN, which any read outside
// the frame would carry into the result, and which any write outside the
// frame (the OpenCL range is rounded up to 16) would overwrite.
TEST_P(MainKernelTest, StaysInsideTheFrameWithPaddedRows) {
  const unsigned int width = 20;
  const unsigned int height = 13;
  const int pitch = 27;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  PixelBuffer pre(width, height, false, pitch);
  PixelBuffer cur(width, height, false, pitch);
  PixelBuffer dst(width, height, false, pitch);
  for (PixelBuffer* image : {&pre, &cur, &dst}) {
    for (unsigned int y = 0; y < height; ++y) {
      for (unsigned int x = width; x < static_cast<unsigned int>(pitch); ++x) {
        image->Set(x, y, make_float4(nan, nan, nan, nan));
      }
    }
  }
  for (unsigned int y = 0; y < height; ++y) {
    for (unsigned int x = 0; x < width; ++x) {
      const float v = 0.1f + 0.04f * x + 0.02f * y;
      cur.Set(x, y, Bgra(v, v, v));
      pre.Set(x, y, Bgra(v + 0.3f, v + 0.2f, v + 0.25f));
    }
  }
  params_.trailIntensity = 100.0f;
  params_.displaceIntensity = 40.0f;  // samples far outside the frame
  params_.chromatic = 30.0f;
  params_.offsetX = 0.5f;
  params_.offsetY = -0.5f;
  backend_->RunMain(pre, cur, dst, params_);
  for (unsigned int y = 0; y < height; ++y) {
    for (unsigned int x = 0; x < static_cast<unsigned int>(pitch); ++x) {
      const float4 p = dst.Get(x, y);
      if (x < width) {
        EXPECT_FALSE(std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z) || std::isnan(p.w))
            << "pixel (" << x << ", " << y << ")";
      } else {
        EXPECT_TRUE(std::isnan(p.x)) << "padding (" << x << ", " << y << ") was written";
      }
    }
  }
  EXPECT_TRUE(AnyPixelDiffers(dst, cur));
}

// 1000 * 0.0025 * 0.40036 = 1.0009 in the Shift view, stored as half: round
// toward zero gives 1.0 (0x3C00) where rounding to nearest would give
// 1.0009765625 (0x3C01).
TEST_P(MainKernelTest, HalfStoresRoundTowardZero) {
  const PixelBuffer frame = Ramp(true, 0.5f, 0.1f, true);
  PixelBuffer dst(kSize, kSize, true);
  params_.showDebugData = 5;
  params_.chromatic = 0.40036f;
  backend_->RunMain(frame, frame, dst, params_);
  std::uint16_t halves[4];
  std::memcpy(halves, reinterpret_cast<const unsigned char*>(dst.data()) + (3 * kSize + 3) * 8, sizeof halves);
  EXPECT_EQ(halves[2], 0x3C00);  // R
  EXPECT_EQ(halves[3], 0x3C00);  // A = 1
  EXPECT_EQ(halves[0], 0x0000);  // B
}

INSTANTIATE_TEST_SUITE_P(Backends, MainKernelTest, ::testing::Values(Backend::Cpu, Backend::OpenCL, Backend::Cuda),
                         [](const ::testing::TestParamInfo<Backend>& info) {
                           return info.param == Backend::Cpu ? std::string("Cpu") : BackendName(info.param);
                         });

}  // namespace
}  // namespace driftsmear::testing
