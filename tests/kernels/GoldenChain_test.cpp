// Golden-image regression: three 64 x 64 frames through the pass chain the
// host runs, compared with results checked in under tests/data/kernels.
//
// The chain: numFrames = 3, oldest frame first (i = 2, 1, 0), percent =
// 1 - i / 2, the previous frame is the output accumulated so far (a cleared
// buffer for the oldest pass) and each pass writes into it in place.
// The golden files are the raw pixels of the result, B, G, R, A, row after
// row, little-endian: float32 (chain_float.raw) or half (chain_half.raw).
// DRIFTSMEAR_UPDATE_GOLDEN=1 rewrites them from the C++ build.
//
// Tolerance: the C++ build must match to 1e-5 (relative above 1) everywhere;
// only libm's cos, sin and pow may differ between platforms. A GPU runs the
// in-place passes in parallel, where a work-item may read a neighbour that
// the same pass has already written (the host accepts this), so its in-place
// chain must only match on 97 % of the pixels; the same chain with each pass
// reading a copy of the accumulated output must match the C++ build's copy
// chain everywhere, within 2e-5 (one half step in 16-bit frames).
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "KernelTestSupport.h"

namespace driftsmear::testing {
namespace {

constexpr unsigned int kSize = 64;

// Frame i of the clip (0 = current): a gradient background with a bright,
// half-transparent square moving right by 3 pixels per frame and down by 2.
// Integer arithmetic and power-of-two divisions only, so every platform
// builds the same frames.
PixelBuffer ClipFrame(int i, bool half) {
  PixelBuffer frame(kSize, kSize, half, static_cast<int>(kSize) + 5);
  const int left = 30 - 3 * i;
  const int top = 24 - 2 * i;
  for (unsigned int y = 0; y < kSize; ++y) {
    for (unsigned int x = 0; x < kSize; ++x) {
      const int sx = static_cast<int>(x) - left;
      const int sy = static_cast<int>(y) - top;
      const bool inSquare = sx >= 0 && sx < 14 && sy >= 0 && sy < 14;
      const float r = inSquare ? 0.9375f : x / 128.0f;
      const float g = inSquare ? 0.75f : 0.25f + y / 256.0f;
      const float b = inSquare ? 0.125f + sx / 64.0f : ((x / 8 + y / 8) % 2) * 0.25f;
      const float a = inSquare ? 0.5f + sy / 32.0f : 1.0f;
      frame.Set(x, y, make_float4(b, g, r, a));
    }
  }
  return frame;
}

// Runs the chain; with `inPlace` false each pass reads a copy of the
// accumulated output instead of the output itself.
PixelBuffer RunChain(KernelBackend& backend, bool half, bool inPlace = true) {
  PixelBuffer output(kSize, kSize, half, static_cast<int>(kSize) + 3);
  KernelData params = DefaultParams();
  params.numFrames = 3;
  params.displaceIntensity = 5.5f;
  params.chromatic = 2.0f;
  for (int i = params.numFrames - 1; i >= 0; --i) {
    params.percent = 1.0f - static_cast<float>(i) / static_cast<float>(params.numFrames - 1);
    if (inPlace) {
      backend.RunMain(output, ClipFrame(i, half), output, params);
    } else {
      const PixelBuffer previous = output;
      backend.RunMain(previous, ClipFrame(i, half), output, params);
    }
  }
  return output;
}

std::string GoldenPath(bool half) {
  return std::string(DRIFTSMEAR_TEST_DATA_DIR) + (half ? "/kernels/chain_half.raw" : "/kernels/chain_float.raw");
}

std::vector<char> Pixels(const PixelBuffer& image) {
  std::vector<char> bytes;
  const std::size_t rowBytes = image.width() * (image.half() ? 8u : 16u);
  const std::size_t pitchBytes = static_cast<std::size_t>(image.pitch()) * (image.half() ? 8u : 16u);
  const char* data = reinterpret_cast<const char*>(image.data());
  for (unsigned int y = 0; y < image.height(); ++y) {
    bytes.insert(bytes.end(), data + y * pitchBytes, data + y * pitchBytes + rowBytes);
  }
  return bytes;
}

PixelBuffer LoadGolden(bool half) {
  std::ifstream file(GoldenPath(half), std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  PixelBuffer golden(kSize, kSize, half);
  if (bytes.size() != golden.bytes()) {
    ADD_FAILURE() << GoldenPath(half) << " is missing or has " << bytes.size() << " bytes, not " << golden.bytes();
    return golden;
  }
  std::memcpy(golden.data(), bytes.data(), bytes.size());
  return golden;
}

class GoldenChainTest : public ::testing::TestWithParam<bool> {};

TEST_P(GoldenChainTest, CppBuildMatchesTheGoldenImage) {
  DRIFTSMEAR_REQUIRE_BACKEND(cpu, Backend::Cpu);
  const bool half = GetParam();
  const PixelBuffer result = RunChain(*cpu, half);
  if (std::getenv("DRIFTSMEAR_UPDATE_GOLDEN") != nullptr) {
    const std::vector<char> bytes = Pixels(result);
    std::ofstream(GoldenPath(half), std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  EXPECT_TRUE(ImagesAgree(LoadGolden(half), result, half ? 1.0f / 1024.0f : 1e-5f));
}

void ExpectChainAgreement(KernelBackend& cpu, KernelBackend& gpu, bool half) {
  const float tolerance = half ? 1.0f / 512.0f : 2e-5f;
  EXPECT_TRUE(ImagesAgree(LoadGolden(half), RunChain(gpu, half), tolerance, kSize * kSize * 3 / 100))
      << gpu.Name() << " in place";
  EXPECT_TRUE(ImagesAgree(RunChain(cpu, half, false), RunChain(gpu, half, false), tolerance))
      << gpu.Name() << " reading copies";
}

TEST_P(GoldenChainTest, OpenCLMatchesTheCppBuild) {
  DRIFTSMEAR_REQUIRE_BACKEND(cpu, Backend::Cpu);
  DRIFTSMEAR_REQUIRE_BACKEND(opencl, Backend::OpenCL);
  ExpectChainAgreement(*cpu, *opencl, GetParam());
}

TEST_P(GoldenChainTest, CudaMatchesTheCppBuild) {
  DRIFTSMEAR_REQUIRE_BACKEND(cpu, Backend::Cpu);
  DRIFTSMEAR_REQUIRE_BACKEND(cuda, Backend::Cuda);
  ExpectChainAgreement(*cpu, *cuda, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Formats, GoldenChainTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return std::string(info.param ? "Half" : "Float");
                         });

}  // namespace
}  // namespace driftsmear::testing
