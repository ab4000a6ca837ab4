// One MainKernel pass per back end at 1920 x 1080 and 3840 x 2160, float
// frames: the host C++ build (a single-threaded reference loop), OpenCL on the
// first device found (a GPU if there is one) and CUDA when it is built and a
// device is present. Reports megapixels per second and bytes per second, with
// 48 bytes per pixel per pass (three four-float frames: previous, current and
// destination) as the traffic a pass cannot avoid.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kernels/KernelCpu.h"
#include "tests/kernels/OpenCLHarness.h"

#if DRIFTSMEAR_HAS_CUDA
#include <cuda_runtime_api.h>

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

KernelData BenchParams() {
  KernelData params{};
  params.is_activated = true;
  params.trailIntensity = 10.0f;
  params.displaceIntensity = 5.0f;
  params.threshold = 0.3f;
  params.lambda = 0.5f;
  params.minVel = 0.01f;
  params.maxVel = 0.5f;
  params.offsetX = 0.0707107f;
  params.offsetY = 0.0707107f;
  params.chromatic = 0.5f;
  params.percentEase = 4.0f;
  params.percent = 0.5f;
  params.isPremult = true;
  params.showDebugData = 1;
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

void BM_MainKernel_OpenCL(benchmark::State& state) {
  using namespace driftsmear::testing;
  std::string reason;
  std::unique_ptr<OpenCLDevice> device = OpenCLDevice::Open(reason);
  if (!device) {
    state.SkipWithError(("OpenCL skipped: " + reason).c_str());
    return;
  }
  const auto width = static_cast<unsigned int>(state.range(0));
  const auto height = static_cast<unsigned int>(state.range(1));
  const Frames& frames = GetFrames(width, height);
  const std::size_t bytes = frames.current.size() * sizeof(float4);
  const KernelData params = BenchParams();
  ProgramHandle program = device->BuildKernelProgram();
  KernelHandle kernel = device->CreateKernel(program.get(), "MainKernel");
  BufferHandle previous = device->CreateBuffer(bytes, frames.previous.data());
  BufferHandle current = device->CreateBuffer(bytes, frames.current.data());
  BufferHandle destination = device->CreateBuffer(bytes, nullptr);
  BufferHandle paramBuffer = device->CreateBuffer(sizeof params, &params);
  const int pitch = static_cast<int>(width);
  OpenCLDevice::SetArgs(kernel.get(), previous.get(), current.get(), destination.get(), paramBuffer.get(), pitch,
                        pitch, pitch, 0, width, height);
  device->Run(kernel.get(), width, height);  // warm-up
  for (auto _ : state) {
    device->Run(kernel.get(), width, height);
  }
  ReportThroughput(state, width, height);
  state.SetLabel(device->Description());
}

void BM_MainKernel_CUDA(benchmark::State& state) {
#if DRIFTSMEAR_HAS_CUDA
  int count = 0;
  const cudaError_t err = cudaGetDeviceCount(&count);
  if (err != cudaSuccess || count == 0) {
    state.SkipWithError((std::string("CUDA skipped: ") + (err != cudaSuccess ? cudaGetErrorString(err) : "no device"))
                            .c_str());
    return;
  }
  const auto width = static_cast<unsigned int>(state.range(0));
  const auto height = static_cast<unsigned int>(state.range(1));
  const Frames& frames = GetFrames(width, height);
  const std::size_t bytes = frames.current.size() * sizeof(float4);
  const KernelData params = BenchParams();
  float* previous = nullptr;
  float* current = nullptr;
  float* destination = nullptr;
  KernelData* paramCopy = nullptr;
  cudaMalloc(reinterpret_cast<void**>(&previous), bytes);
  cudaMalloc(reinterpret_cast<void**>(&current), bytes);
  cudaMalloc(reinterpret_cast<void**>(&destination), bytes);
  cudaMalloc(reinterpret_cast<void**>(&paramCopy), sizeof params);
  cudaMemcpy(previous, frames.previous.data(), bytes, cudaMemcpyHostToDevice);
  cudaMemcpy(current, frames.current.data(), bytes, cudaMemcpyHostToDevice);
  cudaMemcpy(paramCopy, &params, sizeof params, cudaMemcpyHostToDevice);
  const int pitch = static_cast<int>(width);
  MainKernel_CUDA(previous, current, destination, paramCopy, pitch, pitch, pitch, 0, width, height, 16);  // warm-up
  for (auto _ : state) {
    MainKernel_CUDA(previous, current, destination, paramCopy, pitch, pitch, pitch, 0, width, height, 16);
  }
  if (cudaPeekAtLastError() != cudaSuccess) {
    state.SkipWithError(cudaGetErrorString(cudaPeekAtLastError()));
  }
  cudaFree(previous);
  cudaFree(current);
  cudaFree(destination);
  cudaFree(paramCopy);
  ReportThroughput(state, width, height);
#else
  state.SkipWithError("CUDA skipped: the CUDA kernels are not part of this build");
#endif
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({1920, 1080})->Args({3840, 2160})->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(BM_MainKernel_Cpp)->Apply(Sizes);
BENCHMARK(BM_MainKernel_OpenCL)->Apply(Sizes);
BENCHMARK(BM_MainKernel_CUDA)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
