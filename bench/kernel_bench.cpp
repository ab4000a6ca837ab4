// One MainKernel pass per back end at 1920 x 1080 and 3840 x 2160, float
// frames: the host C++ build (a single-threaded reference loop), and through
// the host's device layer OpenCL on its first OpenCL device and CUDA when it
// is built and a device is present. Reports megapixels per second and bytes
// per second, with 48 bytes per pixel per pass (three four-float frames: previous, current and
// destination) as the traffic a pass cannot avoid.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/gpu/OpenCLProgram.h"
#include "kernels/DriftSmear_KernelSource.h"
#include "kernels/KernelCpu.h"
#include "render/DriftSmear_AePrGPU_Functions.h"

#if DRIFTSMEAR_HAS_CUDA
#include "kernels/DriftSmear_Kernel_CUDA.h"
#endif

namespace {

using driftsmear::kernel::float4;

constexpr std::int64_t kBytesPerPixel = 48;

// A previous and a current frame with structure and motion: hashed noise
// blocks over gradients, the current frame moved 3 pixels to the right.
struct Frames {
  unsigned int width;
  unsigned int height;
  std::vector<float4> previous;
  std::vector<float4> current;
};

float Noise(unsigned int x, unsigned int y) {
  std::uint32_t h = (x / 4) * 73856093u ^ (y / 4) * 19349663u;
  h ^= h >> 13;
  h *= 0x5bd1e995u;
  h ^= h >> 15;
  return static_cast<float>(h & 0xFFFFu) / 65535.0f;
}

const Frames& GetFrames(unsigned int width, unsigned int height) {
  static std::vector<std::unique_ptr<Frames>> cache;
  for (const auto& frames : cache) {
    if (frames->width == width && frames->height == height) {
      return *frames;
    }
  }
  auto frames = std::make_unique<Frames>();
  frames->width = width;
  frames->height = height;
  frames->previous.resize(static_cast<std::size_t>(width) * height);
  frames->current.resize(frames->previous.size());
  for (unsigned int y = 0; y < height; ++y) {
    for (unsigned int x = 0; x < width; ++x) {
      const auto pixel = [&](unsigned int sx) {
        const float n = Noise(sx, y);
        return float4{n * 0.5f + 0.25f * sx / width, n, 0.5f * y / height + 0.3f * n, 1.0f};
      };
      frames->previous[static_cast<std::size_t>(y) * width + x] = pixel(x + 3);
      frames->current[static_cast<std::size_t>(y) * width + x] = pixel(x);
    }
  }
  cache.push_back(std::move(frames));
  return *cache.back();
}

// The default settings on a half-strength pass.
KernelData BenchParams() {
  KernelData params = driftsmear::kernel::DefaultKernelData();
  params.percent = 0.5f;
  return params;
}

void ReportThroughput(benchmark::State& state, unsigned int width, unsigned int height) {
  const auto pixels = static_cast<std::int64_t>(width) * height;
  state.counters["Mpixel/s"] =
      benchmark::Counter(static_cast<double>(pixels) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
  state.SetBytesProcessed(state.iterations() * pixels * kBytesPerPixel);
}

void BM_MainKernel_Cpp(benchmark::State& state) {
  const auto width = static_cast<unsigned int>(state.range(0));
  const auto height = static_cast<unsigned int>(state.range(1));
  const Frames& frames = GetFrames(width, height);
  std::vector<float4> destination(frames.current.size());
  const KernelData params = BenchParams();
  const int pitch = static_cast<int>(width);
  for (auto _ : state) {
    driftsmear::kernel::RunMainKernelCpu(frames.previous.data(), frames.current.data(), destination.data(), &params,
                                         pitch, pitch, pitch, 0, width, height);
    benchmark::DoNotOptimize(destination.data());
  }
  ReportThroughput(state, width, height);
}

// One pass on the first device of the API through the host's device layer.
void RunOnDevice(benchmark::State& state, dshost::GpuApi api) {
  std::string reason;
  const dshost::GpuDeviceDesc* desc = dshost::FirstGpuDevice(api, &reason);
  if (desc == nullptr) {
    state.SkipWithError((std::string(dshost::GpuApiName(api)) + " skipped: " + reason).c_str());
    return;
  }
  const std::unique_ptr<dshost::GpuDevice> device = dshost::GpuDevice::Open(*desc);
  const auto width = static_cast<unsigned int>(state.range(0));
  const auto height = static_cast<unsigned int>(state.range(1));
  const Frames& frames = GetFrames(width, height);
  const std::size_t bytes = frames.current.size() * sizeof(float4);
  const KernelData params = BenchParams();
  const auto copy = [&](const void* data, std::size_t size) {
    dshost::DeviceBuffer buffer = device->Allocate(size);
    if (data != nullptr) {
      device->Write(buffer, data, size);
    }
    return buffer;
  };
  const dshost::DeviceBuffer previous = copy(frames.previous.data(), bytes);
  const dshost::DeviceBuffer current = copy(frames.current.data(), bytes);
  const dshost::DeviceBuffer destination = copy(nullptr, bytes);
  const dshost::DeviceBuffer paramBuffer = copy(&params, sizeof params);
  const int pitch = static_cast<int>(width);
  std::function<void()> pass;
  dshost::ClProgram program;
  dshost::ClKernel kernel;
  if (api == dshost::GpuApi::OpenCL) {
    program = dshost::BuildOpenCLProgram(
        *device, {kOpenCL16FPrefix, std::string(kDriftSmearKernelSource, kDriftSmearKernelSourceLength)},
        kOpenCLBuildOptions);
    kernel = dshost::CreateOpenCLKernel(program.get(), "MainKernel");
    dshost::SetOpenCLKernelArgs(kernel.get(), previous, current, destination, paramBuffer, pitch, pitch, pitch, 0,
                                width, height);
    pass = [&] { dshost::RunOpenCLKernel(*device, kernel.get(), width, height); };
  } else {
#if DRIFTSMEAR_HAS_CUDA
    const auto floats = [](const dshost::DeviceBuffer& buffer) { return static_cast<float*>(buffer.handle()); };
    pass = [&] {
      MainKernel_CUDA(floats(previous), floats(current), floats(destination),
                      static_cast<KernelData*>(paramBuffer.handle()), pitch, pitch, pitch, 0, width, height, 16);
      device->Finish();
    };
#endif
  }
  pass();  // warm-up
  for (auto _ : state) {
    pass();
  }
  ReportThroughput(state, width, height);
  state.SetLabel(desc->Describe());
}

void BM_MainKernel_OpenCL(benchmark::State& state) { RunOnDevice(state, dshost::GpuApi::OpenCL); }
void BM_MainKernel_CUDA(benchmark::State& state) { RunOnDevice(state, dshost::GpuApi::Cuda); }

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(BM_MainKernel_Cpp)->Apply(Sizes);
BENCHMARK(BM_MainKernel_OpenCL)->Apply(Sizes);
BENCHMARK(BM_MainKernel_CUDA)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
