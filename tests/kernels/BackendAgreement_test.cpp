// The GPU back ends against the host C++ build of the same text, on seeded
// random frames, ramps, and frames holding NaN and infinities.
//
// ResizeKernel only moves values: every back end must match exactly.
// MainKernel on OpenCL is built with relaxed math and single-precision
// constants (C++ and CUDA evaluate the chromatic shift in double), so each
// channel must agree within kMainTolerance (relative above 1; the Displace
// view multiplies coordinate differences by 1000 and gets kDisplaceTolerance),
// or within one half step in 16-bit frames.
//
// Pixels where the back ends may legitimately differ are left out, and must
// stay few: a nearest-pixel sample within an ulp of a pixel boundary, and a
// sample holding NaN or an infinity (relaxed math does not carry them
// reliably). The cases use fractional displacements to keep samples off the
// boundaries. Frames are 64 x 32 (work-groups wholly inside) and 64 x 8 (all
// reaching beyond); powers of two keep the coordinates x / width exact even
// for a device compiler that ignores the text's request for IEEE division.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <random>
#include <utility>

#include "KernelTestSupport.h"

namespace driftsmear::testing {
namespace {

constexpr unsigned int kWidth = 64;
constexpr unsigned int kHeights[] = {32, 8};
constexpr int kPitch = 70;
constexpr float kMainTolerance = 2e-5f;
constexpr float kDisplaceTolerance = 5e-4f;
// At most this share of the pixels may be left out of a comparison: boundary
// cases are rare; with 3 % of the values non-finite in both frames, about a
// tenth of the result pixels sample one.
constexpr double kMaxExcludedFraction = 0.01;
constexpr double kMaxExcludedFractionNonFinite = 0.15;

enum class Scene { Random, Ramps, NonFinite };

struct Frames {
  PixelBuffer pre;
  PixelBuffer cur;
};

Frames MakeFrames(Scene scene, bool half, unsigned int seed, unsigned int height) {
  Frames frames{PixelBuffer(kWidth, height, half, kPitch), PixelBuffer(kWidth, height, half, kPitch)};
  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  const float specials[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity()};
  for (unsigned int y = 0; y < height; ++y) {
    for (unsigned int x = 0; x < kWidth; ++x) {
      for (PixelBuffer* image : {&frames.pre, &frames.cur}) {
        float4 p;
        if (scene == Scene::Ramps) {
          // A diagonal ramp with a bright bar; the previous frame has it 3 pixels further left.
          const unsigned int shift = image == &frames.pre ? 3u : 0u;
          const float t = static_cast<float>(x + shift) / kWidth;
          const float bar = ((x + shift + y / 2) / 8) % 3 == 0 ? 0.6f : 0.0f;
          p = make_float4(0.2f * t + bar, 0.1f + 0.5f * y / height + bar, t, 1.0f - 0.3f * t);
        } else {
          p = make_float4(unit(rng), unit(rng), unit(rng), unit(rng));
          if (scene == Scene::NonFinite && unit(rng) < 0.03f) {
            const int channel = static_cast<int>(unit(rng) * 4.0f) % 4;
            const float special = specials[static_cast<int>(unit(rng) * 3.0f) % 3];
            (channel == 0 ? p.x : channel == 1 ? p.y : channel == 2 ? p.z : p.w) = special;
          }
        }
        image->Set(x, y, p);
      }
    }
  }
  return frames;
}

struct ParamCase {
  const char* name;
  void (*apply)(KernelData&);
};

const ParamCase kParamCases[] = {
    {"defaults", [](KernelData&) {}},
    {"not activated, half amount", [](KernelData& p) { p.is_activated = false; p.percent = 0.5f; p.percentEase = 2.5f; }},
    {"equal velocity limits", [](KernelData& p) { p.minVel = 0.0f; p.maxVel = 0.0f; }},
    {"strong trail and split", [](KernelData& p) { p.trailIntensity = 40.0f; p.displaceIntensity = 20.7f; p.chromatic = 4.0f; p.chromaticOffset = 1.0f; }},
    {"straight alpha, reversed limits", [](KernelData& p) { p.isPremult = false; p.minVel = 0.4f; p.maxVel = -0.2f; p.threshold = 0.9f; }},
    {"lambda 0", [](KernelData& p) { p.lambda = 0.0f; }},
    {"percent 0", [](KernelData& p) { p.percent = 0.0f; }},
    {"percent NaN", [](KernelData& p) { p.percent = std::numeric_limits<float>::quiet_NaN(); }},
    {"view Motion", [](KernelData& p) { p.showDebugData = 2; p.trailIntensity = 3.0f; }},
    {"view Displace", [](KernelData& p) { p.showDebugData = 3; }},
    {"view FlowMag", [](KernelData& p) { p.showDebugData = 4; p.trailIntensity = 3.0f; }},
    {"view Shift", [](KernelData& p) { p.showDebugData = 5; p.chromatic = 0.8f; p.chromaticOffset = 0.5f; }},
};

std::string SceneName(Scene scene) {
  return scene == Scene::Random ? "random" : scene == Scene::Ramps ? "ramps" : "NaN/Inf";
}

bool Finite(float4 p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z) && std::isfinite(p.w);
}

// Whether a sample coordinate displaced from the pixel's own coordinate may
// fall on the other side of a pixel boundary on another back end: the
// displacement is accurate to about 1e-5 of itself there (relaxed reciprocal,
// single-precision trigonometry), the position to a few ulps.
bool NearBoundary(float sample, float own, unsigned int size) {
  const double position = static_cast<double>(sample) * size;
  const double displacement = std::fabs(static_cast<double>(sample) - own) * size;
  return displacement != 0.0 && std::fabs(position - std::round(position)) < 1e-5 * displacement + 1e-6;
}

// The result pixels the back ends may legitimately differ on (see the top of
// the file), found with the host build's flow estimate and the sample
// positions FadeMotion takes from it.
std::vector<bool> SensitivePixels(const Frames& frames, const KernelData& params) {
  using namespace driftsmear::kernel;
  const unsigned int height = frames.cur.height();
  std::vector<bool> sensitive(static_cast<std::size_t>(kWidth) * height, false);
  if (params.showDebugData >= 2 && params.showDebugData <= 5) {
    return sensitive;
  }
  const bool half = frames.cur.half();
  for (unsigned int y = 0; y < height; ++y) {
    for (unsigned int x = 0; x < kWidth; ++x) {
      float2 flow = getFlow(frames.pre.data(), frames.cur.data(), &params, kWidth, height, kPitch, kPitch, half,
                            make_uint2(x, y));
      flow = make_float2(clampNum(flow.x, -1.0f, 1.0f), clampNum(flow.y, -1.0f, 1.0f));
      const float2 uv = make_float2(static_cast<float>(x) / kWidth, static_cast<float>(y) / height);
      const float2 st = uv + flow * make_float2(1.0f / kWidth, 1.0f / height) * params.displaceIntensity;
      const float2 shift = make_float2(
          static_cast<float>(std::cos(flow.x * 3.141592653589793238 + params.chromaticOffset) * 0.0025 *
                             params.chromatic),
          static_cast<float>(std::sin(flow.y * 3.141592653589793238 + params.chromaticOffset) * 0.0025 *
                             params.chromatic));
      bool flagged = !Finite(frames.cur.Get(x, y));
      for (const float2 sample : {st, st + shift, st - shift}) {
        flagged = flagged || NearBoundary(sample.x, uv.x, kWidth) || NearBoundary(sample.y, uv.y, height);
        flagged = flagged || !Finite(getTexture(frames.pre.data(), sample, kWidth, height, kPitch, half));
      }
      sensitive[static_cast<std::size_t>(y) * kWidth + x] = flagged;
    }
  }
  return sensitive;
}

// Runs every scene and parameter case on `candidate` and on `reference` and
// compares the results.
void ExpectMainKernelAgreement(KernelBackend& reference, KernelBackend& candidate) {
  unsigned int seed = 1;
  for (const unsigned int height : kHeights) {
    for (Scene scene : {Scene::Random, Scene::Ramps, Scene::NonFinite}) {
      for (bool half : {false, true}) {
        const Frames frames = MakeFrames(scene, half, seed++, height);
        for (const ParamCase& paramCase : kParamCases) {
          KernelData params = DefaultParams();
          // A saturated flow of +-1 displaces by exactly displaceIntensity
          // pixels: a whole number would put those samples on pixel boundaries.
          params.displaceIntensity = 5.3f;
          paramCase.apply(params);
          PixelBuffer expected(kWidth, height, half, kPitch);
          PixelBuffer actual(kWidth, height, half, kPitch);
          reference.RunMain(frames.pre, frames.cur, expected, params);
          candidate.RunMain(frames.pre, frames.cur, actual, params);
          const std::vector<bool> excluded = SensitivePixels(frames, params);
          const auto excludedCount = static_cast<std::size_t>(std::count(excluded.begin(), excluded.end(), true));
          // Half results are compared in half units: one step of 1/1024 near 1.
          const float tolerance =
              half ? 1.0f / 512.0f : params.showDebugData == 3 ? kDisplaceTolerance : kMainTolerance;
          const ::testing::AssertionResult result = ImagesAgree(expected, actual, tolerance, 0, &excluded);
          const std::string label = candidate.Name() + " vs " + reference.Name() + ", " + std::to_string(kWidth) +
                                    " x " + std::to_string(height) + " " + SceneName(scene) +
                                    (half ? " half, " : " float, ") + paramCase.name;
          EXPECT_TRUE(result) << label;
          const double maxExcluded = scene == Scene::NonFinite ? kMaxExcludedFractionNonFinite : kMaxExcludedFraction;
          EXPECT_LE(excludedCount, maxExcluded * kWidth * height) << label;
          if (std::getenv("DRIFTSMEAR_KERNEL_REPORT") != nullptr) {  // per-case figures on request
            std::cout << label << ": " << excludedCount << " pixels not compared; " << result.message() << "\n";
          }
        }
      }
    }
  }
}

void ExpectResizeAgreement(KernelBackend& reference, KernelBackend& candidate) {
  for (bool half : {false, true}) {
    const unsigned int height = kHeights[0];
    const Frames frames = MakeFrames(Scene::NonFinite, half, 99, height);
    for (const auto& [offsetX, offsetY] : {std::pair{0, 0}, std::pair{5, -7}, std::pair{-20, 11}}) {
      PixelBuffer expected(kWidth + 9, height - 4, half, kPitch + 9);
      PixelBuffer actual(kWidth + 9, height - 4, half, kPitch + 9);
      reference.RunResize(frames.cur, expected, offsetX, offsetY);
      candidate.RunResize(frames.cur, actual, offsetX, offsetY);
      EXPECT_TRUE(ImagesAgree(expected, actual, 0.0f))
          << candidate.Name() << " offset (" << offsetX << ", " << offsetY << ")" << (half ? " half" : " float");
    }
  }
}

// Each GPU back end against the C++ build, and CUDA against OpenCL.
class BackendAgreement : public ::testing::TestWithParam<std::pair<Backend, Backend>> {};

TEST_P(BackendAgreement, MainAndResizeKernelsAgree) {
  DRIFTSMEAR_REQUIRE_BACKEND(reference, GetParam().first);
  DRIFTSMEAR_REQUIRE_BACKEND(candidate, GetParam().second);
  ExpectMainKernelAgreement(*reference, *candidate);
  ExpectResizeAgreement(*reference, *candidate);
}

INSTANTIATE_TEST_SUITE_P(Pairs, BackendAgreement,
                         ::testing::Values(std::pair{Backend::Cpu, Backend::OpenCL}, std::pair{Backend::Cpu, Backend::Cuda},
                                           std::pair{Backend::OpenCL, Backend::Cuda}),
                         [](const auto& info) {
                           return BackendName(info.param.second) + "MatchesThe" +
                                  (info.param.first == Backend::Cpu ? std::string("CppBuild") : "OpenCL");
                         });

}  // namespace
}  // namespace driftsmear::testing
