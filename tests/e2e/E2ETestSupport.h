// Shared pieces of the end-to-end tests: the devices to run on, an effect
// instance set up in our host as After Effects sets it up, the test clips,
// the same chain of passes computed with the C++ build of the kernels, and an
// image comparison that names the worst pixel.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "common/RequireDevice.h"
#include "common/TestSupport.h"
#include "host/EffectHost.h"
#include "host/FrameSource.h"
#include "host/SmartRender.h"
#include "host/gpu/GpuDevice.h"
#include "kernels/Kernel_Data.h"

namespace e2e {

using dshost::GpuApi;
using dshost::ImageF;
using dshost::InMemoryClip;
using dshost::LayerFrame;

// A float of the host's unwritten-byte fill (0x44444444), what a world holds
// where nobody wrote.
inline const float kUnwrittenFloat = 785.066650390625f;

// Host device indices of every device of that API (empty when none).
std::vector<uint32_t> DevicesOf(GpuApi api);

// Every device the chain tests run on, with its API, for parameterised tests:
// each OpenCL device (PoCL, NVIDIA's OpenCL driver where installed) and each
// CUDA device.
struct DeviceParam {
  GpuApi api;
  int ordinal;  // the n-th device of that API
  std::string Name() const;
};
std::vector<DeviceParam> DeviceParams();
inline const DeviceParam kFirstOpenCL{GpuApi::OpenCL, 0};
inline const DeviceParam kFirstCuda{GpuApi::Cuda, 0};
inline void PrintTo(const DeviceParam& param, std::ostream* out) { *out << param.Name(); }
// The device's host index, or empty with the reason it is not here.
std::optional<uint32_t> Resolve(const DeviceParam& param, std::string* reason);

#define E2E_REQUIRE_DEVICE(param, indexVar)                                                 \
  std::string indexVar##Reason;                                                             \
  const std::optional<uint32_t> indexVar##Found = ::e2e::Resolve(param, &indexVar##Reason); \
  if (!indexVar##Found) {                                                                   \
    DRIFTSMEAR_SKIP_WITHOUT_DEVICE() << param.Name() << " skipped: " << indexVar##Reason;\
  }                                                                                         \
  const uint32_t indexVar = *indexVar##Found

// The effect's settings the tests use, in the parameters' own units.
struct Settings {
  double frames = 3;
  double frameOffset = 1;
  double minVelocity = 1;
  double maxVelocity = 50;
  double velocityThreshold = 15;
  double displaceThreshold = 50;
  double motionAngle = 45;  // degrees
  double motionSize = 2;
  double chromatic = 50;
  double chromaticOffset = 30;  // degrees
  double amount = 80;
  double trail = 20;
  double displace = 4;
  bool premultiplied = true;
  int debugView = 1;
};

// Sets every parameter of `settings` in the host's parameter store.
void Apply(dshost::EffectHost& host, const Settings& settings);

// The record the kernels should see for these settings, computed here from
// the parameters' documented conversions (percent is set per pass).
KernelData ExpectedKernelData(const Settings& settings);

// A clip of isolated coloured dots on opaque black. MainKernel runs in place
// from the second pass on, so a pixel that reads a neighbour which another
// work-item rewrites in the same pass sees the old or the new value depending
// on scheduling. Here the frames differ only at dots 8 pixels apart (every
// frame on the same lattice, 4 pixels from any frame edge), and a pass reads
// at most 3 pixels away with the settings above: every pixel a pass changes is
// read by no other pixel of that pass, so the result does not depend on the
// order of work-items and can be compared with the C++ build.
struct DotFrame {
  int size;     // square frames
  int originX;  // multiples of 8, so every frame's dots share one lattice
  int originY;
};
InMemoryClip DotClip(int outputSize, const std::vector<DotFrame>& frames, uint32_t seed, A_long frameDuration = 10,
                     A_u_long timeScale = 100);

// The chain of passes the effect's GPU path runs for one output frame,
// computed with the C++ build of the kernels: slot i holds the frame checked
// out for checkout id i (slot 0 the current frame). `percents` overrides the
// percent of each pass (by slot). `openclResize` reproduces the
// OpenCL resize pass, which reads the source as a square of its width and the
// destination as a square of its height.
struct ChainOptions {
  std::vector<float> percents;
  bool openclResize = true;
};
ImageF ReferenceChain(const std::vector<const LayerFrame*>& slots, int outputWidth, int outputHeight,
                      KernelData data, const ChainOptions& options = {});

// Channel by channel within `tolerance`, every value finite; on failure the
// message names the worst pixel.
::testing::AssertionResult ImagesMatch(const ImageF& expected, const ImageF& actual, float tolerance);
using testsupport::MaxDifference;

// An effect instance in our host, set up as After Effects sets one up: global
// setup, parameter setup and, with Open(), GPU device setup on one device.
class AeInstance {
 public:
  explicit AeInstance(dshost::HostApp app = dshost::HostApp::AfterEffects);
  ~AeInstance();

  dshost::EffectHost& host() { return *host_; }
  const std::filesystem::path& temp() const { return temp_.path(); }
  std::vector<std::string> Log() const;

  // PF_Cmd_GPU_DEVICE_SETUP for the device; returns the effect's result.
  PF_Err SetUpDevice(uint32_t deviceIndex, std::optional<PF_GPU_Framework> framework = std::nullopt);
  PF_Err TakeDownDevice();
  void* gpuData() const { return gpuData_; }

  // One frame request through pre-render and GPU (or CPU) smart render, the
  // output read back whatever the result.
  struct Result {
    PF_Err preRender = PF_Err_NONE;
    PF_Err render = PF_Err_NONE;
    std::optional<ImageF> output;
    dshost::SmartRenderLog log;
    std::string message;
    PF_OutFlags outFlags = 0;
  };
  Result Render(const dshost::FrameSource& clip, A_long time, PF_PixelFormat format = PF_PixelFormat_GPU_BGRA128);
  Result RenderCpu(const dshost::FrameSource& clip, A_long time);
  // Runs after the request's times are set and before pre-render.
  std::function<void(PF_InData&)> beforeRender;

 private:
  void PrepareTimes(const dshost::FrameSource& clip, A_long time);
  Result RenderOn(const dshost::FrameSource& clip, A_long time, dshost::SmartRenderRequest::Target target,
                  PF_PixelFormat format);

  testsupport::ScopedTempDir temp_;
  std::unique_ptr<dshost::EffectHost> host_;
  std::optional<uint32_t> device_;
  PF_GPU_Framework framework_ = PF_GPU_Framework_NONE;
  void* gpuData_ = nullptr;
};

// The effect module keeps process-wide state (the CPU-refusal notice) for as
// long as it stays loaded, which is the life of the process. Tests of that
// state need a process of their own, as ctest runs every test.
bool ModuleUsedEarlierInThisProcess();

}  // namespace e2e
