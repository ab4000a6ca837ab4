// One SmartFX frame request as After Effects serves it: the pre-render
// callback that checks out layer frames by id and time, the render callbacks
// that hand out their pixels and the output, and the pre-render data the
// effect attaches. Every call is recorded in order for tests, and every world
// handed out is taken back when the request ends, whether the effect checked
// it in or not.
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "AE_Effect.h"
#include "AE_EffectPixelFormat.h"
#include "AE_EffectCB.h"
#include "host/FrameSource.h"

namespace dshost {

class GpuHost;

// One checkout_layer call.
struct LayerCheckoutRecord {
  A_long checkoutId = 0;
  PF_ParamIndex layer = 0;
  A_long time = 0;
  A_long timeStep = 0;
  A_u_long timeScale = 0;
  PF_RenderRequest request{};
  PF_CheckoutResult result{};
  PF_Err error = PF_Err_NONE;
};

// One checkout_layer_pixels call.
struct PixelsCheckoutRecord {
  A_long checkoutId = 0;
  A_long time = 0;     // the time the id was checked out at in pre-render
  bool world = false;  // false: the host gave no world
  PF_Err error = PF_Err_NONE;
};

// One checkin_layer_pixels call. `held` is false for an id whose pixels were
// not checked out at that moment (never, or already checked in).
struct PixelsCheckinRecord {
  A_long checkoutId = 0;
  bool held = false;
};

// What one request saw, kept after the request itself is gone.
struct SmartRenderLog {
  std::vector<LayerCheckoutRecord> layerCheckouts;
  std::vector<PixelsCheckoutRecord> pixelCheckouts;
  std::vector<PixelsCheckinRecord> pixelCheckins;
  // Checkout ids still out when the render command returned.
  size_t outstandingPixels = 0;
  PF_PreRenderOutput preRenderOutput{};
  // Time spent in the host's callbacks (finding frames, making and filling
  // their worlds, taking them back), in seconds.
  double callbackSeconds = 0.0;
};

class SmartRenderRequest {
 public:
  enum class Target { Gpu, Cpu };

  // A GPU request makes GPU worlds of `pixelFormat` on device `deviceIndex`; a
  // CPU request makes CPU worlds of `pixelFormat`.
  SmartRenderRequest(GpuHost& gpu, const FrameSource& source, Target target, uint32_t deviceIndex,
                     PF_PixelFormat pixelFormat);
  // Frees the pre-render data through the effect's delete function and every
  // world still out.
  ~SmartRenderRequest();
  SmartRenderRequest(const SmartRenderRequest&) = delete;
  SmartRenderRequest& operator=(const SmartRenderRequest&) = delete;

  // The extra blocks of PF_Cmd_SMART_PRE_RENDER and of PF_Cmd_SMART_RENDER(_GPU).
  // The output request asks for the whole layer.
  PF_PreRenderExtra* PreRenderExtra(const void* gpuData, PF_GPU_Framework whatGpu);
  PF_SmartRenderExtra* SmartRenderExtra(const void* gpuData, PF_GPU_Framework whatGpu);

  // The output the effect checked out (null before), and its size as the
  // pre-render declared it.
  PF_EffectWorld* output() const { return output_; }
  int outputWidth() const;
  int outputHeight() const;
  const PF_PreRenderOutput& preRenderOutput() const { return preOutput_; }

  const std::vector<LayerCheckoutRecord>& layerCheckouts() const { return layerCheckouts_; }
  const std::vector<PixelsCheckoutRecord>& pixelCheckouts() const { return pixelCheckouts_; }
  const std::vector<PixelsCheckinRecord>& pixelCheckins() const { return pixelCheckins_; }
  // Checkout ids whose pixels are out and not checked in.
  size_t OutstandingPixels() const { return heldPixels_.size(); }
  SmartRenderLog Log() const;

  // The callbacks' work (the effect reaches them through the tables in the
  // extra blocks).
  PF_Err CheckoutLayer(PF_ParamIndex index, A_long checkoutId, const PF_RenderRequest* request, A_long time,
                       A_long timeStep, A_u_long timeScale, PF_CheckoutResult* result);
  PF_Err CheckoutLayerPixels(A_long checkoutId, PF_EffectWorld** pixels);
  PF_Err CheckinLayerPixels(A_long checkoutId);
  PF_Err CheckoutOutput(PF_EffectWorld** output);

 private:
  // GPU requests serve the frames a source can name from the device frame
  // cache when it is on.
  bool UsesDeviceFrames() const;
  PF_EffectWorld* MakeWorld(const LayerFrame& frame);
  PF_EffectWorld* MakeOutputWorld();

  GpuHost& gpu_;
  const FrameSource& source_;
  Target target_;
  uint32_t deviceIndex_;
  PF_PixelFormat pixelFormat_;

  PF_PreRenderInput preInput_{};
  PF_PreRenderOutput preOutput_{};
  PF_PreRenderCallbacks preCallbacks_{};
  PF_PreRenderExtra preExtra_{};
  PF_SmartRenderInput renderInput_{};
  PF_SmartRenderCallbacks renderCallbacks_{};
  PF_SmartRenderExtra renderExtra_{};

  std::vector<LayerCheckoutRecord> layerCheckouts_;
  std::vector<PixelsCheckoutRecord> pixelCheckouts_;
  std::vector<PixelsCheckinRecord> pixelCheckins_;
  std::map<A_long, PF_EffectWorld*> heldPixels_;
  PF_EffectWorld* output_ = nullptr;
  double callbackSeconds_ = 0.0;
};

// Makes a request the one whose callbacks a GPU host serves, for a scope.
class ActiveRequestScope {
 public:
  ActiveRequestScope(GpuHost& gpu, SmartRenderRequest& request);
  ~ActiveRequestScope();
  ActiveRequestScope(const ActiveRequestScope&) = delete;
  ActiveRequestScope& operator=(const ActiveRequestScope&) = delete;

 private:
  GpuHost& gpu_;
  SmartRenderRequest* previous_;
};

}  // namespace dshost
