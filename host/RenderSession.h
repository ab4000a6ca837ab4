// The render entry of our host: one effect instance on one GPU device, set up
// as the host application would (global setup, parameter setup, GPU device
// setup), parameters set by Disk ID, and frames of a clip rendered to images.
// Takedown happens in the destructor.
//
//   RenderSession session(modulePath, {.deviceIndex = 0});
//   session.SetParameter(kDiskFrames, 5);
//   ImageF frame = session.RenderFrame(clip, clip.TimeOfFrame(10));
#pragma once
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "AE_EffectPixelFormat.h"
#include "host/EffectHost.h"
#include "host/FrameSource.h"
#include "host/HostError.h"
#include "host/SmartRender.h"
#include "host/gpu/GpuDevice.h"
#include "host/media/Image.h"
#include "host/premiere/PremiereRender.h"

namespace dshost {

class PremiereHost;

// The GPU frame format of a render: four 32-bit floats or four 16-bit halves
// per pixel.
enum class GpuFrameFormat { Float32, Half16 };

PF_PixelFormat PixelFormatOf(GpuFrameFormat format);

// A command the effect failed: which one, its result and the message it left
// for the user.
class RenderError : public HostError {
 public:
  RenderError(PF_Cmd command, PF_Err code, const std::string& effectMessage, const std::string& what);
  PF_Cmd command() const { return command_; }
  PF_Err code() const { return code_; }
  const std::string& effectMessage() const { return effectMessage_; }

 private:
  PF_Cmd command_;
  PF_Err code_;
  std::string effectMessage_;
};

struct RenderSessionOptions {
  // After Effects drives the effect through smart render. Premiere Pro drives
  // it through its GPU filter entry (xGPUFilterEntry, host/premiere).
  HostApp app = HostApp::AfterEffects;
  // The host's device index (see EnumerateGpuDevices).
  uint32_t deviceIndex = 0;
  // Premiere only: the sequence frame the clip starts at, which separates
  // sequence times (frame dependencies) from clip times (parameters).
  int64_t sequenceStartFrame = 0;
  // Called with the new host before the first command (to plan failing host
  // calls, say), and with it again once everything is taken down, before it
  // goes (to count what was left).
  std::function<void(EffectHost&)> onHostReady = nullptr;
  std::function<void(EffectHost&)> onTakenDown = nullptr;
};

class RenderSession {
 public:
  // Loads the module and sets up the effect and the device. Throws HostError
  // when the module or device cannot be used, RenderError when the effect
  // fails a setup command or rejects the device.
  explicit RenderSession(const std::string& modulePath, RenderSessionOptions options = {});
  // Device takedown and global setdown.
  ~RenderSession();
  RenderSession(const RenderSession&) = delete;
  RenderSession& operator=(const RenderSession&) = delete;

  EffectHost& host() { return *host_; }
  GpuDevice& device() { return *device_; }
  const RenderSessionOptions& options() const { return options_; }

  // Sets a parameter's constant value, in its natural unit (slider value,
  // degrees, 1-based popup item, 0/1), by Disk ID.
  void SetParameter(A_long diskId, double value);
  double Parameter(A_long diskId) const;

  // Renders the frame of `clip` at `time` (in the clip's time scale). Throws
  // RenderError when the effect fails the render; the output is then not read.
  ImageF RenderFrame(const FrameSource& clip, A_long time, GpuFrameFormat format = GpuFrameFormat::Float32);
  // Renders the frames of `clip` at `times` from `threads` render threads at
  // once on the session's one device, as After Effects' multi-frame rendering
  // does: every thread sends its own commands with its own input and output
  // records and checkouts, and all of them share the device's GPU data.
  // Under Premiere the threads render on the device's one filter instance.
  // Images come back in the order of `times`. With `failures`, each frame's
  // error (or null) is stored there and failed frames come back empty;
  // without, the first failing frame's error is thrown once every thread has
  // finished. lastRender() and lastRenderTimes() are not updated.
  std::vector<ImageF> RenderFrames(const FrameSource& clip, const std::vector<A_long>& times, int threads,
                                   GpuFrameFormat format = GpuFrameFormat::Float32,
                                   std::vector<std::exception_ptr>* failures = nullptr);

  // Asks for a CPU render of the frame, which the effect refuses with a
  // message; returns the render command's result.
  struct CpuRenderResult {
    PF_Err error = PF_Err_NONE;
    std::string message;  // the effect's return message
    PF_OutFlags outFlags = 0;
  };
  CpuRenderResult RequestCpuRender(const FrameSource& clip, A_long time);

  // The checkouts and check-ins of the last render.
  const SmartRenderLog& lastRender() const { return lastRender_; }
  // Where the last After Effects render spent its time, in seconds: the two
  // commands (the host's callbacks inside them included), the wait for the
  // device to finish the queued passes, and reading the output back.
  struct RenderTimes {
    double preRender = 0.0;
    double render = 0.0;
    double callbacks = 0.0;
    double finish = 0.0;
    double download = 0.0;
  };
  const RenderTimes& lastRenderTimes() const { return lastTimes_; }
  // Premiere: the GPU filter host, and the dependencies, frames and result of
  // the last render.
  PremiereHost* premiere() { return premiere_.get(); }
  const PremiereRenderLog& lastPremiereRender() const { return lastPremiereRender_; }

  // Takes the device down and sets the effect down now; throws RenderError
  // for a failing command. The destructor does the same quietly.
  void Close();

 private:
  // Global and parameter setup, which both hosts send through EffectMain.
  void SetUpEffect();
  void SetUpAfterEffects();
  void SetUpPremiere();
  ImageF RenderPremiere(const FrameSource& clip, A_long time, GpuFrameFormat format);
  ImageF RenderPremiere(const FrameSource& clip, A_long time, GpuFrameFormat format, PremiereRenderLog* log);
  static void PrepareTimes(PF_InData& in, const FrameSource& clip, A_long time);
  void PrepareTimes(const FrameSource& clip, A_long time);
  ImageF RenderAfterEffects(const FrameSource& clip, A_long time, GpuFrameFormat format);
  // One After Effects render with these input records; the log and times
  // are filled when given.
  ImageF RenderAfterEffectsOn(PF_InData& in, const FrameSource& clip, GpuFrameFormat format, SmartRenderLog* log,
                              RenderTimes* times);
  // Sends the takedown commands that are due; `strict` throws the first
  // failure as RenderError.
  void TakeDown(bool strict);

  RenderSessionOptions options_;
  std::unique_ptr<EffectHost> host_;
  GpuDevice* device_ = nullptr;
  bool globalSetUp_ = false;
  bool deviceSetUp_ = false;
  void* gpuData_ = nullptr;
  SmartRenderLog lastRender_;
  RenderTimes lastTimes_;
  std::unique_ptr<PremiereHost> premiere_;
  PremiereRenderLog lastPremiereRender_;
};

}  // namespace dshost
