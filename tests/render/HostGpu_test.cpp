// The host's side of GPU rendering: worlds with padded rows and their pixel
// formats, frames in and out of them in float and half, and the times an
// in-memory clip maps to its frames.
#include <gtest/gtest.h>

#include <limits>

#include "common/RequireDevice.h"
#include "host/FrameSource.h"
#include "host/HostError.h"
#include "host/HostRuntime.h"
#include "host/gpu/GpuHost.h"

namespace {

using dshost::GpuApi;
using dshost::GpuHost;
using dshost::ImageF;

class HostWorlds : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string reason;
    const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(GpuApi::OpenCL, &reason);
    if (desc == nullptr) {
      DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << "OpenCL skipped: " << reason;
    }
    index_ = desc->index;
    gpu_.OpenDevice(index_);
  }

  PF_EffectWorld* World(int width, int height, PF_PixelFormat format, bool clear) {
    return gpu_.CreateGpuWorld(index_, width, height, format, clear, PF_RationalScale{1, 1}, false);
  }

  dshost::HostRuntime runtime_;
  GpuHost gpu_{runtime_};
  uint32_t index_ = 0;
};

TEST_F(HostWorlds, RowsArePaddedBeyondTheWidthAndUnwrittenPixelsShow) {
  PF_EffectWorld* floats = World(30, 5, dshost::kGpuFloatFormat, false);
  EXPECT_EQ(floats->rowbytes, (30 + dshost::kWorldRowPaddingPixels) * 16);
  EXPECT_EQ(gpu_.Find(floats)->buffer.size(), static_cast<size_t>(floats->rowbytes) * 5);
  PF_EffectWorld* halves = World(30, 5, dshost::kGpuHalfFormat, true);
  EXPECT_EQ(halves->rowbytes, (30 + dshost::kWorldRowPaddingPixels) * 8);

  EXPECT_EQ(gpu_.Download(floats).pixel(29, 4)[3], 785.066650390625f);
  EXPECT_EQ(gpu_.Download(halves).pixel(29, 4)[3], 0.0f) << "a cleared world";
  EXPECT_EQ(gpu_.LiveWorlds(), 2u);
  EXPECT_TRUE(gpu_.DisposeWorld(floats));
  EXPECT_FALSE(gpu_.DisposeWorld(floats));
  EXPECT_TRUE(gpu_.DisposeWorld(halves));
  EXPECT_EQ(gpu_.Device(index_)->LiveBuffers(), 0);
  EXPECT_THROW(World(0, 5, dshost::kGpuFloatFormat, true), dshost::HostError);
  EXPECT_THROW(World(4, 4, PF_PixelFormat_ARGB128, true), dshost::HostError) << "not a GPU format";
}

TEST_F(HostWorlds, FloatFramesRoundTripExactlyAndHalfFramesRoundToNearest) {
  ImageF image = dshost::makeImage(3, 2);
  const float values[] = {0.25f,     -1.5f,   1e6f,   std::numeric_limits<float>::infinity(),
                          1.00048828125f /* halfway: ties to even */, 1.00146484375f /* halfway: up */,
                          6e-8f,     70000.0f};
  for (size_t i = 0; i < image.bgra.size(); ++i) {
    image.bgra[i] = values[i % 8];
  }
  PF_EffectWorld* floats = World(3, 2, dshost::kGpuFloatFormat, false);
  gpu_.Upload(floats, image);
  EXPECT_EQ(gpu_.Download(floats).bgra, image.bgra);

  PF_EffectWorld* halves = World(3, 2, dshost::kGpuHalfFormat, false);
  gpu_.Upload(halves, image);
  const ImageF back = gpu_.Download(halves);
  const float expected[] = {0.25f,          -1.5f, std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::infinity(), 1.0f, 1.001953125f,
                            5.9604644775390625e-08f, std::numeric_limits<float>::infinity()};
  for (size_t i = 0; i < back.bgra.size(); ++i) {
    EXPECT_EQ(back.bgra[i], expected[i % 8]) << "value " << values[i % 8];
  }
  EXPECT_THROW(gpu_.Upload(halves, dshost::makeImage(2, 2)), dshost::HostError) << "sizes must agree";
  gpu_.DisposeWorld(floats);
  gpu_.DisposeWorld(halves);
}

TEST(InMemoryClip, TimesInAnyScaleFallInTheFrameThatCoversThem) {
  dshost::InMemoryClip clip(8, 8, 10, 100);  // 10 frames per second
  for (int i = 0; i < 4; ++i) {
    clip.AddFrame(dshost::makeImage(8, 8, static_cast<float>(i)), i, -i);
  }
  EXPECT_EQ(clip.FrameIndexAt(0, 100), 0);
  EXPECT_EQ(clip.FrameIndexAt(19, 100), 1);
  EXPECT_EQ(clip.FrameIndexAt(20, 100), 2);
  EXPECT_EQ(clip.FrameIndexAt(2, 10), 2) << "0.2 s in another scale";
  EXPECT_EQ(clip.FrameIndexAt(-1, 100), -1) << "rounded down, not toward zero";

  const auto inside = clip.Lookup(35, 100);
  ASSERT_EQ(inside.kind, dshost::FrameLookup::Kind::Frame);
  EXPECT_EQ(inside.frame->image.bgra[0], 3.0f);
  EXPECT_EQ(inside.frame->originY, -3);
  // Outside the clip the nearest frame repeats, or there is no world.
  EXPECT_EQ(clip.Lookup(-50, 100).frame->image.bgra[0], 0.0f);
  EXPECT_EQ(clip.Lookup(500, 100).frame->image.bgra[0], 3.0f);
  clip.SetOutside(dshost::InMemoryClip::Outside::NoWorld);
  EXPECT_EQ(clip.Lookup(-50, 100).kind, dshost::FrameLookup::Kind::NoWorld);

  clip.SetNoWorld(1);
  clip.SetFailure(2, PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(clip.Lookup(10, 100).kind, dshost::FrameLookup::Kind::NoWorld);
  EXPECT_NE(clip.Lookup(10, 100).frame, nullptr) << "its rectangle stays known";
  EXPECT_EQ(clip.Lookup(20, 100).kind, dshost::FrameLookup::Kind::Failure);
  EXPECT_EQ(clip.Lookup(20, 100).error, PF_Err_OUT_OF_MEMORY);
}

}  // namespace
