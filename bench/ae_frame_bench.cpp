// One whole After Effects frame through EffectMain: smart pre-render and GPU
// smart render of a ten-frame trail (N = 10 passes), at 1920 x 1080 and
// 3840 x 2160, on the first OpenCL device and the first CUDA device.
//
// Reported per frame:
//   time            pre-render + render commands + the wait for the queued
//                   passes (the output read-back is not included)
//   callbacks_ms    time in our host's callbacks inside those commands: finding
//                   the ten frames and uploading them into GPU worlds, which
//                   After Effects would already hold on the device
//   kernels_ms      the same ten passes run directly through the device layer
//                   on the same device, waited for: the kernels alone
//   kernel_share    kernels_ms / (time - callbacks_ms)
//   overhead_ms_per_pass  (time - callbacks_ms - kernels_ms) / 10: what the
//                   effect's own host side costs per pass, by difference
//   commands_ms_per_pass  (pre-render + render - callbacks_ms) / 10: the time
//                   the effect's commands take on the host. OpenCL enqueues
//                   without waiting, so there this is the host side alone,
//                   measured directly; CUDA waits after every launch, so
//                   there it includes the kernels
//   kernel_GBps     48 bytes per pixel per pass (previous, current and
//                   destination frames, four floats each) over kernels_ms:
//                   how close the passes come to the memory-traffic floor
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/FrameSource.h"
#include "host/RenderSession.h"
#include "host/gpu/GpuDevice.h"
#include "params/DriftSmear_Parameters.h"
#include "render/DriftSmear_AePrGPU_Functions.h"
#include "support/LogsController.h"

namespace {

constexpr int kPasses = 10;
constexpr double kBytesPerPixelPerPass = 48.0;
// The host's padding of world rows, matched by the direct passes.
constexpr int kRowPadding = 19;

// Hashed 4x4 noise blocks over gradients, shifted by `shift` pixels.
dshost::ImageF NoiseFrame(int width, int height, int shift) {
  dshost::ImageF image = dshost::makeImage(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint32_t h = static_cast<uint32_t>((x + shift) / 4) * 73856093u ^ static_cast<uint32_t>(y / 4) * 19349663u;
      h ^= h >> 13;
      h *= 0x5bd1e995u;
      h ^= h >> 15;
      const float n = static_cast<float>(h & 0xFFFFu) / 65535.0f;
      float* p = image.pixel(x, y);
      p[0] = 0.5f * n + 0.25f * static_cast<float>(x) / static_cast<float>(width);
      p[1] = n;
      p[2] = 0.3f * n + 0.5f * static_cast<float>(y) / static_cast<float>(height);
      p[3] = 1.0f;
    }
  }
  return image;
}

// A clip of two frames that alternate, so every pass sees motion while the
// clip holds only two frames in memory.
class AlternatingClip final : public dshost::FrameSource {
 public:
  AlternatingClip(int width, int height) : width_(width), height_(height) {
    for (int shift : {0, 3}) {
      auto frame = std::make_shared<dshost::LayerFrame>();
      frame->image = NoiseFrame(width, height, shift);
      frames_.push_back(std::move(frame));
    }
  }
  int width() const override { return width_; }
  int height() const override { return height_; }
  A_long frameDuration() const override { return 1; }
  A_u_long timeScale() const override { return 25; }
  dshost::FrameLookup Lookup(A_long time, A_u_long /*scale*/) const override {
    dshost::FrameLookup lookup;
    lookup.frame = frames_[static_cast<size_t>(time < 0 ? -time : time) % frames_.size()];
    return lookup;
  }
  const dshost::ImageF& image(int index) const { return frames_[static_cast<size_t>(index)]->image; }

 private:
  int width_;
  int height_;
  std::vector<std::shared_ptr<const dshost::LayerFrame>> frames_;
};

KernelData PassData() {
  KernelData data{};
  data.is_activated = true;
  data.numFrames = kPasses;
  data.trailIntensity = 10.0f;
  data.displaceIntensity = 5.0f;
  data.threshold = 0.3f;
  data.lambda = 0.5f;
  data.minVel = 0.01f;
  data.maxVel = 0.5f;
  data.offsetX = 0.0707107f;
  data.offsetY = 0.0707107f;
  data.chromatic = 0.5f;
  data.percentEase = 4.0f;
  data.isPremult = true;
  data.showDebugData = 1;
  return data;
}

// The ten passes of one frame through the device layer directly: the same
// kernels, sizes, pass order and percents as the effect's loop, without any
// host call around them.
class DirectPasses {
 public:
  DirectPasses(dshost::GpuDevice& device, const AlternatingClip& clip)
      : device_(device), width_(clip.width()), height_(clip.height()), pitch_(clip.width() + kRowPadding) {
    const size_t bytes = static_cast<size_t>(pitch_) * static_cast<size_t>(height_) * 16;
    std::vector<float> staging(bytes / sizeof(float), 0.0f);
    for (int f = 0; f < 2; ++f) {
      const dshost::ImageF& image = clip.image(f);
      for (int y = 0; y < height_; ++y) {
        std::copy(image.pixel(0, y), image.pixel(0, y) + static_cast<size_t>(width_) * 4,
                  staging.begin() + static_cast<std::ptrdiff_t>(y) * pitch_ * 4);
      }
      frames_.push_back(device.Allocate(bytes));
      device.Write(frames_.back(), staging.data(), bytes);
    }
    output_ = device.Allocate(bytes);
    intermediate_ = device.Allocate(bytes);
    device.Fill(intermediate_, 0);
    info_ = device.Info();
    framework_ = device.api() == dshost::GpuApi::Cuda ? GPUFramework_CUDA : GPUFramework_OpenCL;
    ready_ = InitializeGPU(framework_, &list_, info_.devicePV, info_.contextPV) == PF_Err_NONE;
  }
  ~DirectPasses() { GPUDispose(framework_, &list_); }

  bool ready() const { return ready_; }

  // Runs and waits for one frame's passes; returns seconds.
  double Run() {
    KernelData data = PassData();
    const MainKernelSizes main{pitch_, pitch_, pitch_, 0, width_, height_};
    const ResizeKernelSizes resize{pitch_, pitch_, 0, width_, height_, width_, height_, 0, 0};
    using Clock = std::chrono::steady_clock;
    device_.Finish();
    const auto start = Clock::now();
    const int n = kPasses - 1;
    for (int i = n; i >= 0; --i) {
      data.percent = 1.0f - static_cast<float>(i) / static_cast<float>(n);
      GPURender(framework_, &list_, info_.devicePV, info_.contextPV, info_.command_queuePV,
                i == n ? intermediate_.handle() : output_.handle(), frames_[static_cast<size_t>(i % 2)].handle(),
                intermediate_.handle(), output_.handle(), &data, &main, &resize, 16);
    }
    device_.Finish();
    return std::chrono::duration<double>(Clock::now() - start).count();
  }

 private:
  dshost::GpuDevice& device_;
  int width_;
  int height_;
  int pitch_;
  std::vector<dshost::DeviceBuffer> frames_;
  dshost::DeviceBuffer output_;
  dshost::DeviceBuffer intermediate_;
  PF_GPUDeviceInfo info_{};
  GPUFramework framework_ = GPUFramework_OpenCL;
  KernelList list_{};
  bool ready_ = false;
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}

void BM_AfterEffectsFrame(benchmark::State& state) {
  const int width = static_cast<int>(state.range(0));
  const int height = static_cast<int>(state.range(1));
  const auto api = state.range(2) == 0 ? dshost::GpuApi::OpenCL : dshost::GpuApi::Cuda;
  std::string reason;
  const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(api, &reason);
  if (desc == nullptr) {
    state.SkipWithError((std::string(dshost::GpuApiName(api)) + " skipped: " + reason).c_str());
    return;
  }
  state.SetLabel(desc->name);

  dshost::RenderSession session(DRIFTSMEAR_MODULE_PATH, {.deviceIndex = desc->index});
  session.SetParameter(kDiskFrames, kPasses);
  const AlternatingClip clip(width, height);
  const A_long time = 2 * kPasses;
  // The first frame builds the program (or loads it from the cache) and
  // describes the GPU; it is not measured.
  session.RenderFrame(clip, time);
  DirectPasses direct(session.device(), clip);
  if (!direct.ready()) {
    state.SkipWithError("the device layer could not prepare the device");
    return;
  }

  // Every frame is paired with a run of the direct passes right after it, so
  // both see the same load on a shared machine.
  std::vector<double> frames;
  std::vector<double> callbacks;
  std::vector<double> kernels;
  std::vector<double> overheads;
  std::vector<double> commands;
  for (auto _ : state) {
    session.RenderFrame(clip, time);
    const auto& times = session.lastRenderTimes();
    const double frame = times.preRender + times.render + times.finish;
    state.SetIterationTime(frame);
    const double kernel = direct.Run();
    frames.push_back(frame);
    callbacks.push_back(times.callbacks);
    kernels.push_back(kernel);
    overheads.push_back(frame - times.callbacks - kernel);
    commands.push_back(times.preRender + times.render - times.callbacks);
  }
  const double kernelSeconds = Median(kernels);
  const double effectSeconds = Median(frames) - Median(callbacks);
  const double pixels = static_cast<double>(width) * static_cast<double>(height);
  state.counters["callbacks_ms"] = Median(callbacks) * 1e3;
  state.counters["kernels_ms"] = kernelSeconds * 1e3;
  state.counters["kernel_share"] = kernelSeconds / effectSeconds;
  state.counters["overhead_ms_per_pass"] = Median(overheads) / kPasses * 1e3;
  state.counters["commands_ms_per_pass"] = Median(commands) / kPasses * 1e3;
  state.counters["kernel_GBps"] = pixels * kBytesPerPixelPerPass * kPasses / kernelSeconds / 1e9;
}

// PoCL takes a quarter of a second or more per 1080p pass: a few frames are
// enough for stable figures.
BENCHMARK(BM_AfterEffectsFrame)
    ->ArgNames({"width", "height", "cuda"})
    ->Args({1920, 1080, 0})
    ->Args({1920, 1080, 1})
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AfterEffectsFrame)
    ->ArgNames({"width", "height", "cuda"})
    ->Args({3840, 2160, 0})
    ->Args({3840, 2160, 1})
    ->Iterations(2)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // The device layer's own log (of the direct passes) goes under TMPDIR like
  // the module's.
  LoggerInit("ae_frame_bench", "Quarnbrook Graphics");
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
