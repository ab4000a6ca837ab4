#include "e2e/E2ETestSupport.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include "AE_EffectGPUSuites.h"
#include "host/gpu/GpuHost.h"
#include "kernels/KernelCpu.h"
#include "params/DriftSmear_Parameters.h"

namespace e2e {

namespace {

using driftsmear::kernel::float4;
using driftsmear::kernel::make_float4;

std::vector<float4> ToPixels(const ImageF& image) {
  std::vector<float4> pixels(image.pixelCount());
  std::memcpy(pixels.data(), image.bgra.data(), image.bgra.size() * sizeof(float));
  return pixels;
}

// 16.16 fixed-point degrees to radians, as the effect converts its angles.
float FixedDegreesToRadians(double degrees) {
  const auto raw = static_cast<PF_Fixed>(std::llround(degrees * 65536.0));
  return static_cast<float>(static_cast<double>(raw) * 1.52587890625e-05 * std::numbers::pi / 180.0);
}

}  // namespace

std::vector<uint32_t> DevicesOf(GpuApi api) {
  std::vector<uint32_t> indices;
  for (const auto& desc : dshost::EnumerateGpuDevices()) {
    if (desc.api == api) {
      indices.push_back(desc.index);
    }
  }
  return indices;
}

std::string DeviceParam::Name() const {
  return std::string(api == GpuApi::Cuda ? "Cuda" : "OpenCL") + std::to_string(ordinal);
}

std::vector<DeviceParam> DeviceParams() {
  // Always the first device of each API, so the CUDA cases show up (and say
  // why they skip) on machines without one; then any further devices.
  std::vector<DeviceParam> params{{GpuApi::OpenCL, 0}, {GpuApi::Cuda, 0}};
  for (GpuApi api : {GpuApi::OpenCL, GpuApi::Cuda}) {
    const int count = static_cast<int>(DevicesOf(api).size());
    for (int ordinal = 1; ordinal < count; ++ordinal) {
      params.push_back({api, ordinal});
    }
  }
  return params;
}

std::optional<uint32_t> Resolve(const DeviceParam& param, std::string* reason) {
  const auto devices = DevicesOf(param.api);
  if (param.ordinal < static_cast<int>(devices.size())) {
    return devices[static_cast<size_t>(param.ordinal)];
  }
  dshost::FirstGpuDevice(param.api, reason);
  if (reason != nullptr && reason->empty()) {
    *reason = "no such device";
  }
  return std::nullopt;
}

void Apply(dshost::EffectHost& host, const Settings& s) {
  dshost::ParameterStore& store = host.parameters();
  store.SetValueById(kDiskFrames, s.frames);
  store.SetValueById(kDiskFrameOffset, s.frameOffset);
  store.SetValueById(kDiskMinVelocity, s.minVelocity);
  store.SetValueById(kDiskMaxVelocity, s.maxVelocity);
  store.SetValueById(kDiskVelocityThreshold, s.velocityThreshold);
  store.SetValueById(kDiskDisplaceThreshold, s.displaceThreshold);
  store.SetValueById(kDiskMotionAngle, s.motionAngle);
  store.SetValueById(kDiskMotionSize, s.motionSize);
  store.SetValueById(kDiskChromatic, s.chromatic);
  store.SetValueById(kDiskChromaticOffset, s.chromaticOffset);
  store.SetValueById(kDiskAmount, s.amount);
  store.SetValueById(kDiskTrail, s.trail);
  store.SetValueById(kDiskDisplace, s.displace);
  store.SetValueById(kDiskPremultiplied, s.premultiplied ? 1.0 : 0.0);
  store.SetValueById(kDiskDebugDisplay, s.debugView);
}

KernelData ExpectedKernelData(const Settings& s) {
  KernelData data{};
  data.is_activated = true;
  data.numFrames = static_cast<int>(s.frames);
  data.trailIntensity = static_cast<float>(s.trail * 0.5);
  data.displaceIntensity = static_cast<float>(s.displace * 0.5);
  data.threshold = static_cast<float>(s.velocityThreshold / 50.0);
  data.lambda = static_cast<float>(s.displaceThreshold / 100.0);
  data.minVel = static_cast<float>(s.minVelocity / 100.0);
  data.maxVel = static_cast<float>(s.maxVelocity / 100.0);
  const double size = s.motionSize / 100.0;
  const float angle = FixedDegreesToRadians(s.motionAngle);
  data.offsetX = static_cast<float>(static_cast<double>(std::cos(angle)) * size);
  data.offsetY = static_cast<float>(static_cast<double>(std::sin(angle)) * size);
  data.chromatic = static_cast<float>(s.chromatic / 100.0);
  data.chromaticOffset = FixedDegreesToRadians(s.chromaticOffset);
  data.percentEase = static_cast<float>(s.amount / 20.0);
  data.isPremult = s.premultiplied;
  data.showDebugData = s.debugView;
  data.preset = 1;
  return data;
}

InMemoryClip DotClip(int outputSize, const std::vector<DotFrame>& frames, uint32_t seed, A_long frameDuration,
                     A_u_long timeScale) {
  InMemoryClip clip(outputSize, outputSize, frameDuration, timeScale);
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> level(0.1f, 1.0f);
  std::bernoulli_distribution present(0.8);
  for (const DotFrame& frame : frames) {
    ImageF image = dshost::makeImage(frame.size, frame.size, 0.0f, 0.0f, 0.0f, 1.0f);
    for (int y = 4; y < frame.size; y += 8) {
      for (int x = 4; x < frame.size; x += 8) {
        if (present(random)) {
          float* pixel = image.pixel(x, y);
          pixel[0] = level(random);
          pixel[1] = level(random);
          pixel[2] = level(random);
        }
      }
    }
    clip.AddFrame(std::move(image), frame.originX, frame.originY);
  }
  return clip;
}

ImageF ReferenceChain(const std::vector<const LayerFrame*>& slots, int outputWidth, int outputHeight,
                      KernelData data, const ChainOptions& options) {
  namespace kernel = driftsmear::kernel;
  const auto width = static_cast<unsigned int>(outputWidth);
  const auto height = static_cast<unsigned int>(outputHeight);
  std::vector<float4> output(static_cast<size_t>(outputWidth) * outputHeight, make_float4(0, 0, 0, 0));
  std::vector<float4> intermediate(output.size(), make_float4(0, 0, 0, 0));

  const int n = static_cast<int>(slots.size()) - 1;
  for (int i = n; i >= 0; --i) {
    data.percent = i < static_cast<int>(options.percents.size())
                       ? options.percents[static_cast<size_t>(i)]
                       : 1.0f - static_cast<float>(i) / static_cast<float>(n);
    const LayerFrame& frame = *slots[static_cast<size_t>(i)];
    const std::vector<float4> current = ToPixels(frame.image);
    const int offsetX = frame.originX;
    const int offsetY = frame.originY;
    const float4* currentInput = current.data();
    int currentPitch = frame.image.width;
    if (offsetX != 0 || offsetY != 0) {
      const auto inWidth = static_cast<unsigned int>(frame.image.width);
      const auto inHeight = static_cast<unsigned int>(frame.image.height);
      kernel::RunResizeKernelCpu(current.data(), intermediate.data(), frame.image.width, outputWidth, 0, inWidth,
                                 options.openclResize ? inWidth : inHeight, options.openclResize ? height : width,
                                 height, offsetX, offsetY);
      currentInput = intermediate.data();
      currentPitch = outputWidth;
    } else if (frame.image.width != outputWidth || frame.image.height != outputHeight) {
      ADD_FAILURE() << "a frame without an origin offset must have the output's size";
    }
    const float4* previous = i == n ? intermediate.data() : output.data();
    kernel::RunMainKernelCpu(previous, currentInput, output.data(), &data, outputWidth, currentPitch, outputWidth, 0,
                             width, height);
  }

  ImageF image = dshost::makeImage(outputWidth, outputHeight);
  std::memcpy(image.bgra.data(), output.data(), image.bgra.size() * sizeof(float));
  return image;
}

::testing::AssertionResult ImagesMatch(const ImageF& expected, const ImageF& actual, float tolerance) {
  const float worst = MaxDifference(expected, actual);  // infinite for other sizes or a value not finite
  if (worst <= tolerance) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "a channel differs by " << worst << ", more than " << tolerance << "; "
                                       << dshost::compareImages(expected, actual).describe();
}

AeInstance::AeInstance(dshost::HostApp app) {
  host_ = std::make_unique<dshost::EffectHost>(DRIFTSMEAR_MODULE_PATH, app);
  EXPECT_EQ(host_->Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
  EXPECT_EQ(host_->Call(PF_Cmd_PARAMS_SETUP), PF_Err_NONE);
}

AeInstance::~AeInstance() {
  if (gpuData_ != nullptr) {
    TakeDownDevice();
  }
  host_->Call(PF_Cmd_GLOBAL_SETDOWN);
}

std::vector<std::string> AeInstance::Log() const {
  return testsupport::ReadLines(testsupport::LogFilePath(temp_.path()));
}

PF_Err AeInstance::SetUpDevice(uint32_t deviceIndex, std::optional<PF_GPU_Framework> framework) {
  dshost::GpuDevice& device = host_->gpu().OpenDevice(deviceIndex);
  device.MakeCurrent();
  device_ = deviceIndex;
  framework_ = framework.value_or(device.framework());
  PF_GPUDeviceSetupInput input{framework_, deviceIndex};
  PF_GPUDeviceSetupOutput output{};
  PF_GPUDeviceSetupExtra extra{&input, &output};
  const PF_Err err = host_->Call(PF_Cmd_GPU_DEVICE_SETUP, nullptr, nullptr, &extra);
  gpuData_ = output.gpu_data;
  return err;
}

PF_Err AeInstance::TakeDownDevice() {
  PF_GPUDeviceSetdownInput input{gpuData_, framework_, device_.value_or(0)};
  PF_GPUDeviceSetdownExtra extra{&input};
  gpuData_ = nullptr;
  return host_->Call(PF_Cmd_GPU_DEVICE_SETDOWN, nullptr, nullptr, &extra);
}

void AeInstance::PrepareTimes(const dshost::FrameSource& clip, A_long time) {
  PF_InData& in = host_->in_data();
  in.current_time = time;
  in.time_step = clip.frameDuration();
  in.local_time_step = clip.frameDuration();
  in.time_scale = clip.timeScale();
  in.width = clip.width();
  in.height = clip.height();
  if (beforeRender) {
    beforeRender(in);
  }
}

AeInstance::Result AeInstance::Render(const dshost::FrameSource& clip, A_long time, PF_PixelFormat format) {
  return RenderOn(clip, time, dshost::SmartRenderRequest::Target::Gpu, format);
}

AeInstance::Result AeInstance::RenderCpu(const dshost::FrameSource& clip, A_long time) {
  return RenderOn(clip, time, dshost::SmartRenderRequest::Target::Cpu, PF_PixelFormat_ARGB128);
}

AeInstance::Result AeInstance::RenderOn(const dshost::FrameSource& clip, A_long time,
                                        dshost::SmartRenderRequest::Target target, PF_PixelFormat format) {
  PrepareTimes(clip, time);
  dshost::GpuHost& gpu = host_->gpu();
  const bool onGpu = target == dshost::SmartRenderRequest::Target::Gpu;
  void* gpuData = onGpu ? gpuData_ : nullptr;
  const PF_GPU_Framework framework = onGpu ? framework_ : PF_GPU_Framework_NONE;
  Result result;
  dshost::SmartRenderRequest request(gpu, clip, target, onGpu ? device_.value_or(0) : 0, format);
  dshost::ActiveRequestScope active(gpu, request);
  result.preRender = host_->Call(PF_Cmd_SMART_PRE_RENDER, nullptr, nullptr, request.PreRenderExtra(gpuData, framework));
  if (result.preRender == PF_Err_NONE) {
    result.render = host_->Call(onGpu ? PF_Cmd_SMART_RENDER_GPU : PF_Cmd_SMART_RENDER, nullptr, nullptr,
                                request.SmartRenderExtra(gpuData, framework));
  }
  result.message = host_->out_data().return_msg;
  result.outFlags = host_->out_data().out_flags;
  if (request.output() != nullptr) {
    result.output = gpu.Download(request.output());
  }
  result.log = request.Log();
  return result;
}

bool ModuleUsedEarlierInThisProcess() {
#ifdef _WIN32
  return GetModuleHandleA(DRIFTSMEAR_MODULE_PATH) != nullptr;
#else
  void* handle = dlopen(DRIFTSMEAR_MODULE_PATH, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) {
    dlclose(handle);
    return true;
  }
  return false;
#endif
}

}  // namespace e2e
