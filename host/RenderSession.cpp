#include "host/RenderSession.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <exception>
#include <thread>

#include "AE_EffectCB.h"
#include "host/gpu/GpuHost.h"
#include "host/premiere/PremiereHost.h"

namespace dshost {

namespace {

const char* CommandText(PF_Cmd command) {
  switch (command) {
    case PF_Cmd_GLOBAL_SETUP:
      return "global setup";
    case PF_Cmd_GLOBAL_SETDOWN:
      return "global setdown";
    case PF_Cmd_PARAMS_SETUP:
      return "parameter setup";
    case PF_Cmd_GPU_DEVICE_SETUP:
      return "GPU device setup";
    case PF_Cmd_GPU_DEVICE_SETDOWN:
      return "GPU device takedown";
    case PF_Cmd_SMART_PRE_RENDER:
      return "smart pre-render";
    case PF_Cmd_SMART_RENDER:
      return "smart render";
    case PF_Cmd_SMART_RENDER_GPU:
      return "GPU smart render";
    default:
      return "command";
  }
}

std::string MessageOf(const PF_OutData& out) {
  return std::string(out.return_msg, strnlen(out.return_msg, sizeof(out.return_msg)));
}

RenderError MakeError(PF_Cmd command, PF_Err code, const PF_OutData& out) {
  const std::string message = MessageOf(out);
  std::string what = std::string("the effect failed its ") + CommandText(command) + " with error " +
                     std::to_string(code);
  if (!message.empty()) {
    what += ": " + message;
  }
  return RenderError(command, code, message, what);
}

}  // namespace

PF_PixelFormat PixelFormatOf(GpuFrameFormat format) {
  return format == GpuFrameFormat::Half16 ? kGpuHalfFormat : kGpuFloatFormat;
}

RenderError::RenderError(PF_Cmd command, PF_Err code, const std::string& effectMessage, const std::string& what)
    : HostError(what), command_(command), code_(code), effectMessage_(effectMessage) {}

RenderSession::RenderSession(const std::string& modulePath, RenderSessionOptions options)
    : options_(options),
      host_(std::make_unique<EffectHost>(modulePath, options.app)) {
  try {
    if (options_.onHostReady) {
      options_.onHostReady(*host_);
    }
    switch (options_.app) {
      case HostApp::AfterEffects:
        SetUpAfterEffects();
        break;
      case HostApp::Premiere:
        SetUpPremiere();
        break;
    }
  } catch (...) {
    TakeDown(false);
    throw;
  }
}

RenderSession::~RenderSession() { TakeDown(false); }

void RenderSession::SetUpEffect() {
  device_ = &host_->gpu().OpenDevice(options_.deviceIndex);
  device_->MakeCurrent();

  PF_Err err = host_->Call(PF_Cmd_GLOBAL_SETUP);
  if (err != PF_Err_NONE) {
    throw MakeError(PF_Cmd_GLOBAL_SETUP, err, host_->out_data());
  }
  globalSetUp_ = true;
  err = host_->Call(PF_Cmd_PARAMS_SETUP);
  if (err != PF_Err_NONE) {
    throw MakeError(PF_Cmd_PARAMS_SETUP, err, host_->out_data());
  }
}

void RenderSession::SetUpAfterEffects() {
  SetUpEffect();
  PF_GPUDeviceSetupInput input{device_->framework(), options_.deviceIndex};
  PF_GPUDeviceSetupOutput output{};
  PF_GPUDeviceSetupExtra extra{&input, &output};
  const PF_Err err = host_->Call(PF_Cmd_GPU_DEVICE_SETUP, nullptr, nullptr, &extra);
  // Whatever the effect kept for the device comes back at takedown, even
  // after a failed setup.
  gpuData_ = output.gpu_data;
  deviceSetUp_ = true;
  if (err != PF_Err_NONE) {
    throw MakeError(PF_Cmd_GPU_DEVICE_SETUP, err, host_->out_data());
  }
  if ((host_->out_data().out_flags2 & PF_OutFlag2_SUPPORTS_GPU_RENDER_F32) == 0) {
    throw RenderError(PF_Cmd_GPU_DEVICE_SETUP, PF_Err_NONE, MessageOf(host_->out_data()),
                      "the effect does not render on " + device_->desc().Describe());
  }
}

void RenderSession::SetUpPremiere() {
  SetUpEffect();
  premiere_ = std::make_unique<PremiereHost>(*host_);
  const prSuiteError err = premiere_->CreateInstance(options_.deviceIndex);
  if (PrSuiteErrorFailed(err)) {
    throw GpuFilterError("CreateInstance", err, "the effect's GPU filter does not render on " +
                                                    device_->desc().Describe());
  }
}

void RenderSession::TakeDown(bool strict) {
  if (!host_) {
    return;
  }
  // Premiere: the filter instances go, and the filter module shuts down,
  // before the effect's global setdown.
  premiere_.reset();
  PF_Cmd failedCommand = PF_Cmd_GPU_DEVICE_SETDOWN;
  PF_Err failure = PF_Err_NONE;
  PF_OutData failedOut{};
  if (deviceSetUp_) {
    deviceSetUp_ = false;
    PF_GPUDeviceSetdownInput input{gpuData_, device_->framework(), options_.deviceIndex};
    PF_GPUDeviceSetdownExtra extra{&input};
    const PF_Err err = host_->Call(PF_Cmd_GPU_DEVICE_SETDOWN, nullptr, nullptr, &extra);
    gpuData_ = nullptr;
    if (err != PF_Err_NONE) {
      failure = err;
      failedOut = host_->out_data();
    }
  }
  if (globalSetUp_) {
    globalSetUp_ = false;
    const PF_Err err = host_->Call(PF_Cmd_GLOBAL_SETDOWN);
    if (err != PF_Err_NONE && failure == PF_Err_NONE) {
      failure = err;
      failedCommand = PF_Cmd_GLOBAL_SETDOWN;
      failedOut = host_->out_data();
    }
  }
  // The device may stay open for another session; its staging memory goes.
  if (device_ != nullptr) {
    device_->ReleaseStaging();
  }
  if (options_.onTakenDown) {
    options_.onTakenDown(*host_);
  }
  if (strict && failure != PF_Err_NONE) {
    throw MakeError(failedCommand, failure, failedOut);
  }
}

void RenderSession::Close() { TakeDown(true); }

void RenderSession::SetParameter(A_long diskId, double value) { host_->parameters().SetValueById(diskId, value); }

double RenderSession::Parameter(A_long diskId) const { return host_->parameters().ValueById(diskId); }

void RenderSession::PrepareTimes(PF_InData& in, const FrameSource& clip, A_long time) {
  in.current_time = time;
  in.time_step = clip.frameDuration();
  in.local_time_step = clip.frameDuration();
  in.time_scale = clip.timeScale();
  in.width = clip.width();
  in.height = clip.height();
  in.extent_hint = PF_LRect{0, 0, clip.width(), clip.height()};
  in.downsample_x = PF_RationalScale{1, 1};
  in.downsample_y = PF_RationalScale{1, 1};
}

void RenderSession::PrepareTimes(const FrameSource& clip, A_long time) { PrepareTimes(host_->in_data(), clip, time); }

ImageF RenderSession::RenderFrame(const FrameSource& clip, A_long time, GpuFrameFormat format) {
  switch (options_.app) {
    case HostApp::AfterEffects:
      return RenderAfterEffects(clip, time, format);
    case HostApp::Premiere:
      return RenderPremiere(clip, time, format);
  }
  throw HostError("unknown host application");
}

std::vector<ImageF> RenderSession::RenderFrames(const FrameSource& clip, const std::vector<A_long>& times,
                                                int threads, GpuFrameFormat format,
                                                std::vector<std::exception_ptr>* failuresOut) {
  std::vector<ImageF> images(times.size());
  std::vector<std::exception_ptr> failures(times.size());
  std::atomic<size_t> next{0};
  const auto work = [&] {
    for (size_t i = next++; i < times.size(); i = next++) {
      try {
        if (options_.app == HostApp::Premiere) {
          images[i] = RenderPremiere(clip, times[i], format, nullptr);
        } else {
          PF_InData in = host_->in_data();
          PrepareTimes(in, clip, times[i]);
          images[i] = RenderAfterEffectsOn(in, clip, format, nullptr, nullptr);
        }
      } catch (...) {
        failures[i] = std::current_exception();
      }
    }
  };
  const int workers = std::clamp<int>(threads, 1, static_cast<int>(std::max<size_t>(times.size(), 1)));
  if (workers == 1) {
    work();
  } else {
    std::vector<std::thread> pool;
    pool.reserve(static_cast<size_t>(workers));
    for (int t = 0; t < workers; ++t) {
      pool.emplace_back(work);
    }
    for (std::thread& thread : pool) {
      thread.join();
    }
  }
  if (failuresOut != nullptr) {
    *failuresOut = std::move(failures);
    return images;
  }
  for (const std::exception_ptr& failure : failures) {
    if (failure) {
      std::rethrow_exception(failure);
    }
  }
  return images;
}

ImageF RenderSession::RenderPremiere(const FrameSource& clip, A_long time, GpuFrameFormat format,
                                     PremiereRenderLog* log) {
  if (!premiere_) {
    throw HostError("the render session is closed");
  }
  const PrPixelFormat pixelFormat =
      format == GpuFrameFormat::Half16 ? PrPixelFormat_GPU_BGRA_4444_16f : PrPixelFormat_GPU_BGRA_4444_32f;
  PremiereRenderOptions options;
  options.sequenceStartFrame = options_.sequenceStartFrame;
  return RenderPremiereFrame(*premiere_, options_.deviceIndex, clip, time, pixelFormat, options, log);
}

ImageF RenderSession::RenderPremiere(const FrameSource& clip, A_long time, GpuFrameFormat format) {
  return RenderPremiere(clip, time, format, &lastPremiereRender_);
}

ImageF RenderSession::RenderAfterEffects(const FrameSource& clip, A_long time, GpuFrameFormat format) {
  PrepareTimes(clip, time);
  lastTimes_ = RenderTimes{};
  return RenderAfterEffectsOn(host_->in_data(), clip, format, &lastRender_, &lastTimes_);
}

ImageF RenderSession::RenderAfterEffectsOn(PF_InData& in, const FrameSource& clip, GpuFrameFormat format,
                                           SmartRenderLog* log, RenderTimes* times) {
  if (!deviceSetUp_) {
    throw HostError("the render session is closed");
  }
  device_->MakeCurrent();
  GpuHost& gpu = host_->gpu();
  SmartRenderRequest request(gpu, clip, SmartRenderRequest::Target::Gpu, options_.deviceIndex,
                             PixelFormatOf(format));
  ActiveRequestScope active(gpu, request);
  RenderTimes spent;
  PF_OutData out{};
  using Clock = std::chrono::steady_clock;
  const auto seconds = [](Clock::time_point from) {
    return std::chrono::duration<double>(Clock::now() - from).count();
  };
  // The log and times of the request are kept whatever way the render ends.
  struct Keep {
    SmartRenderRequest& request;
    SmartRenderLog* log;
    RenderTimes* times;
    RenderTimes& spent;
    ~Keep() {
      if (log != nullptr) {
        *log = request.Log();
        spent.callbacks = log->callbackSeconds;
      }
      if (times != nullptr) {
        *times = spent;
      }
    }
  } keep{request, log, times, spent};

  auto start = Clock::now();
  PF_Err err = host_->CallOn(PF_Cmd_SMART_PRE_RENDER, in, out, nullptr, nullptr,
                             request.PreRenderExtra(gpuData_, device_->framework()));
  spent.preRender = seconds(start);
  if (err != PF_Err_NONE) {
    throw MakeError(PF_Cmd_SMART_PRE_RENDER, err, out);
  }
  start = Clock::now();
  err = host_->CallOn(PF_Cmd_SMART_RENDER_GPU, in, out, nullptr, nullptr,
                      request.SmartRenderExtra(gpuData_, device_->framework()));
  spent.render = seconds(start);
  if (err != PF_Err_NONE) {
    throw MakeError(PF_Cmd_SMART_RENDER_GPU, err, out);
  }
  if (request.output() == nullptr) {
    throw RenderError(PF_Cmd_SMART_RENDER_GPU, PF_Err_NONE, {}, "the effect rendered without an output");
  }
  start = Clock::now();
  device_->Finish();
  spent.finish = seconds(start);
  start = Clock::now();
  ImageF image = gpu.Download(request.output());
  spent.download = seconds(start);
  return image;
}

RenderSession::CpuRenderResult RenderSession::RequestCpuRender(const FrameSource& clip, A_long time) {
  PrepareTimes(clip, time);
  GpuHost& gpu = host_->gpu();
  SmartRenderRequest request(gpu, clip, SmartRenderRequest::Target::Cpu, options_.deviceIndex,
                             PF_PixelFormat_ARGB128);
  ActiveRequestScope active(gpu, request);
  CpuRenderResult result;
  result.error = host_->Call(PF_Cmd_SMART_PRE_RENDER, nullptr, nullptr, request.PreRenderExtra(nullptr, 0));
  if (result.error == PF_Err_NONE) {
    result.error = host_->Call(PF_Cmd_SMART_RENDER, nullptr, nullptr, request.SmartRenderExtra(nullptr, 0));
  }
  result.message = MessageOf(host_->out_data());
  result.outFlags = host_->out_data().out_flags;
  lastRender_ = request.Log();
  return result;
}

}  // namespace dshost
