#include "host/SmartRender.h"

#include <chrono>
#include <exception>
#include <new>

#include "host/HostError.h"
#include "host/HostRuntime.h"
#include "host/gpu/GpuHost.h"

namespace dshost {

namespace {

// Runs a callback's work for the request the current host serves; no
// exception goes back into the effect.
template <typename Body>
PF_Err Serve(Body body) {
  try {
    GpuHost* gpu = GpuHost::Current();
    SmartRenderRequest* request = gpu != nullptr ? gpu->ActiveRequest() : nullptr;
    if (request == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    return body(*request);
  } catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
  } catch (...) {
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
}

PF_Err CheckoutLayer(PF_ProgPtr /*effect_ref*/, PF_ParamIndex index, A_long checkout_idL, const PF_RenderRequest* req,
                     A_long what_time, A_long time_step, A_u_long time_scale, PF_CheckoutResult* checkout_result) {
  return Serve([&](SmartRenderRequest& request) {
    return request.CheckoutLayer(index, checkout_idL, req, what_time, time_step, time_scale, checkout_result);
  });
}

PF_Err GuidMixIn(PF_ProgPtr /*effect_ref*/, A_u_long /*buf_sizeLu*/, const void* /*buf*/) { return PF_Err_NONE; }

PF_Err CheckoutLayerPixels(PF_ProgPtr /*effect_ref*/, A_long checkout_idL, PF_EffectWorld** pixels) {
  return Serve([&](SmartRenderRequest& request) { return request.CheckoutLayerPixels(checkout_idL, pixels); });
}

PF_Err CheckinLayerPixels(PF_ProgPtr /*effect_ref*/, A_long checkout_idL) {
  return Serve([&](SmartRenderRequest& request) { return request.CheckinLayerPixels(checkout_idL); });
}

PF_Err CheckoutOutput(PF_ProgPtr /*effect_ref*/, PF_EffectWorld** output) {
  return Serve([&](SmartRenderRequest& request) { return request.CheckoutOutput(output); });
}

// Adds the time of a scope to a total.
class ScopeTimer {
 public:
  explicit ScopeTimer(double& total) : total_(total), start_(std::chrono::steady_clock::now()) {}
  ~ScopeTimer() { total_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }
  ScopeTimer(const ScopeTimer&) = delete;
  ScopeTimer& operator=(const ScopeTimer&) = delete;

 private:
  double& total_;
  std::chrono::steady_clock::time_point start_;
};

short BitDepth(PF_PixelFormat format) {
  switch (format) {
    case PF_PixelFormat_ARGB32:
      return 8;
    case PF_PixelFormat_ARGB64:
    case kGpuHalfFormat:
      return 16;
    default:
      return 32;
  }
}

}  // namespace

SmartRenderRequest::SmartRenderRequest(GpuHost& gpu, const FrameSource& source, Target target, uint32_t deviceIndex,
                                       PF_PixelFormat pixelFormat)
    : gpu_(gpu), source_(source), target_(target), deviceIndex_(deviceIndex), pixelFormat_(pixelFormat) {
  if (BytesPerPixel(pixelFormat) == 0 || IsGpuFormat(pixelFormat) != (target == Target::Gpu)) {
    throw HostError("pixel format " + std::to_string(pixelFormat) + " does not suit this render target");
  }
  PF_RenderRequest whole{};
  whole.rect = PF_LRect{0, 0, source.width(), source.height()};
  whole.field = PF_Field_FRAME;
  whole.channel_mask = PF_ChannelMask_ARGB;
  whole.preserve_rgb_of_zero_alpha = 0;

  preInput_.output_request = whole;
  preInput_.bitdepth = BitDepth(pixelFormat);
  preInput_.device_index = deviceIndex;
  preCallbacks_.checkout_layer = dshost::CheckoutLayer;
  preCallbacks_.GuidMixInPtr = GuidMixIn;
  preExtra_ = PF_PreRenderExtra{&preInput_, &preOutput_, &preCallbacks_};

  renderInput_.output_request = whole;
  renderInput_.bitdepth = BitDepth(pixelFormat);
  renderInput_.device_index = deviceIndex;
  renderCallbacks_.checkout_layer_pixels = dshost::CheckoutLayerPixels;
  renderCallbacks_.checkin_layer_pixels = dshost::CheckinLayerPixels;
  renderCallbacks_.checkout_output = dshost::CheckoutOutput;
  renderExtra_ = PF_SmartRenderExtra{&renderInput_, &renderCallbacks_};
}

SmartRenderRequest::~SmartRenderRequest() {
  // The effect's delete function frees the pre-render data, as After Effects
  // does when the request ends.
  if (preOutput_.pre_render_data != nullptr && preOutput_.delete_pre_render_data_func != nullptr) {
    HostScope scope(gpu_.runtime());
    preOutput_.delete_pre_render_data_func(preOutput_.pre_render_data);
  }
  try {
    for (const auto& [id, world] : heldPixels_) {
      gpu_.DisposeWorld(world);
    }
    if (output_ != nullptr) {
      gpu_.DisposeWorld(output_);
    }
  } catch (...) {
    // A device that failed while waiting has nothing more to give back.
  }
}

PF_PreRenderExtra* SmartRenderRequest::PreRenderExtra(const void* gpuData, PF_GPU_Framework whatGpu) {
  preInput_.gpu_data = gpuData;
  preInput_.what_gpu = whatGpu;
  return &preExtra_;
}

PF_SmartRenderExtra* SmartRenderRequest::SmartRenderExtra(const void* gpuData, PF_GPU_Framework whatGpu) {
  renderInput_.pre_render_data = preOutput_.pre_render_data;
  renderInput_.gpu_data = gpuData;
  renderInput_.what_gpu = whatGpu;
  return &renderExtra_;
}

SmartRenderLog SmartRenderRequest::Log() const {
  SmartRenderLog log;
  log.layerCheckouts = layerCheckouts_;
  log.pixelCheckouts = pixelCheckouts_;
  log.pixelCheckins = pixelCheckins_;
  log.outstandingPixels = heldPixels_.size();
  log.preRenderOutput = preOutput_;
  log.callbackSeconds = callbackSeconds_;
  return log;
}

int SmartRenderRequest::outputWidth() const {
  const PF_LRect& rect = preOutput_.result_rect;
  return rect.right > rect.left ? rect.right - rect.left : source_.width();
}

int SmartRenderRequest::outputHeight() const {
  const PF_LRect& rect = preOutput_.result_rect;
  return rect.bottom > rect.top ? rect.bottom - rect.top : source_.height();
}

PF_Err SmartRenderRequest::CheckoutLayer(PF_ParamIndex index, A_long checkoutId, const PF_RenderRequest* request,
                                         A_long time, A_long timeStep, A_u_long timeScale,
                                         PF_CheckoutResult* result) {
  const ScopeTimer timer(callbackSeconds_);
  LayerCheckoutRecord record;
  record.checkoutId = checkoutId;
  record.layer = index;
  record.time = time;
  record.timeStep = timeStep;
  record.timeScale = timeScale;
  if (request != nullptr) {
    record.request = *request;
  }
  record.error = gpu_.runtime().faults().Hit("pre_render.checkout_layer");
  if (record.error == PF_Err_NONE && (index != 0 || request == nullptr || result == nullptr)) {
    // The input layer is the effect's only layer parameter.
    record.error = PF_Err_BAD_CALLBACK_PARAM;
  }
  if (record.error == PF_Err_NONE) {
    PF_CheckoutResult checkout{};
    // With frames kept on the device, a source that can name its frames is
    // not asked for their pixels here: a frame the device holds needs none.
    const std::optional<FrameIdentity> identity =
        UsesDeviceFrames() ? source_.Identify(time, timeScale) : std::nullopt;
    if (identity) {
      checkout.result_rect = PF_LRect{identity->originX, identity->originY, identity->originX + identity->width,
                                      identity->originY + identity->height};
      checkout.max_result_rect = checkout.result_rect;
    } else if (const FrameLookup lookup = source_.Lookup(time, timeScale); lookup.frame != nullptr) {
      const LayerFrame& frame = *lookup.frame;
      checkout.result_rect =
          PF_LRect{frame.originX, frame.originY, frame.originX + frame.image.width, frame.originY + frame.image.height};
      checkout.max_result_rect = checkout.result_rect;
    }
    checkout.par = PF_RationalScale{1, 1};
    checkout.ref_width = source_.width();
    checkout.ref_height = source_.height();
    *result = checkout;
    record.result = checkout;
  }
  layerCheckouts_.push_back(record);
  return record.error;
}

PF_Err SmartRenderRequest::CheckoutLayerPixels(A_long checkoutId, PF_EffectWorld** pixels) {
  const ScopeTimer timer(callbackSeconds_);
  PixelsCheckoutRecord record;
  record.checkoutId = checkoutId;
  record.error = gpu_.runtime().faults().Hit("smart_render.checkout_layer_pixels");

  // The id must have been checked out in pre-render; its last successful
  // checkout gives the time.
  const LayerCheckoutRecord* layer = nullptr;
  for (const LayerCheckoutRecord& candidate : layerCheckouts_) {
    if (candidate.checkoutId == checkoutId && candidate.error == PF_Err_NONE) {
      layer = &candidate;
    }
  }
  if (record.error == PF_Err_NONE && (layer == nullptr || pixels == nullptr)) {
    record.error = PF_Err_BAD_CALLBACK_PARAM;
  }
  if (record.error == PF_Err_NONE) {
    record.time = layer->time;
    *pixels = nullptr;
    const auto held = heldPixels_.find(checkoutId);
    if (held != heldPixels_.end()) {
      *pixels = held->second;
      record.world = true;
    } else {
      const std::optional<FrameIdentity> identity =
          UsesDeviceFrames() ? source_.Identify(layer->time, layer->timeScale) : std::nullopt;
      const DeviceFrameKey key{source_.sourceId(), identity ? identity->key : 0, deviceIndex_, pixelFormat_};
      PF_EffectWorld* cached = identity ? gpu_.LendCachedFrame(key) : nullptr;
      const FrameLookup lookup = cached != nullptr ? FrameLookup{} : source_.Lookup(layer->time, layer->timeScale);
      if (cached != nullptr) {
        heldPixels_[checkoutId] = cached;
        *pixels = cached;
        record.world = true;
      } else if (lookup.kind == FrameLookup::Kind::Failure) {
        record.error = lookup.error != PF_Err_NONE ? lookup.error : PF_Err_INTERNAL_STRUCT_DAMAGED;
      } else if (lookup.kind == FrameLookup::Kind::Frame && lookup.frame != nullptr) {
        PF_EffectWorld* world = identity ? gpu_.CacheFrame(key, lookup.frame->image) : MakeWorld(*lookup.frame);
        heldPixels_[checkoutId] = world;
        *pixels = world;
        record.world = true;
      }
    }
  }
  pixelCheckouts_.push_back(record);
  return record.error;
}

PF_Err SmartRenderRequest::CheckinLayerPixels(A_long checkoutId) {
  const ScopeTimer timer(callbackSeconds_);
  PixelsCheckinRecord record;
  record.checkoutId = checkoutId;
  const PF_Err fault = gpu_.runtime().faults().Hit("smart_render.checkin_layer_pixels");
  const auto held = heldPixels_.find(checkoutId);
  if (fault == PF_Err_NONE && held != heldPixels_.end()) {
    record.held = true;
    PF_EffectWorld* world = held->second;
    heldPixels_.erase(held);
    gpu_.DisposeWorld(world);
  }
  pixelCheckins_.push_back(record);
  return fault;
}

PF_Err SmartRenderRequest::CheckoutOutput(PF_EffectWorld** output) {
  const ScopeTimer timer(callbackSeconds_);
  if (const PF_Err fault = gpu_.runtime().faults().Hit("smart_render.checkout_output")) {
    return fault;
  }
  if (output == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (output_ == nullptr) {
    output_ = MakeOutputWorld();
  }
  *output = output_;
  return PF_Err_NONE;
}

bool SmartRenderRequest::UsesDeviceFrames() const {
  return target_ == Target::Gpu && gpu_.frameCache().capacity() > 0;
}

PF_EffectWorld* SmartRenderRequest::MakeWorld(const LayerFrame& frame) {
  PF_EffectWorld* world =
      target_ == Target::Gpu
          ? gpu_.CreateGpuWorld(deviceIndex_, frame.image.width, frame.image.height, pixelFormat_, false,
                                PF_RationalScale{1, 1}, false)
          : gpu_.CreateCpuWorld(frame.image.width, frame.image.height, pixelFormat_, false);
  try {
    gpu_.Upload(world, frame.image);
  } catch (...) {
    gpu_.DisposeWorld(world);
    throw;
  }
  return world;
}

PF_EffectWorld* SmartRenderRequest::MakeOutputWorld() {
  // As After Effects, the output comes unwritten: whatever the effect leaves
  // alone reads back as the host's fill value.
  return target_ == Target::Gpu ? gpu_.CreateGpuWorld(deviceIndex_, outputWidth(), outputHeight(), pixelFormat_,
                                                      false, PF_RationalScale{1, 1}, false)
                                : gpu_.CreateCpuWorld(outputWidth(), outputHeight(), pixelFormat_, false);
}

ActiveRequestScope::ActiveRequestScope(GpuHost& gpu, SmartRenderRequest& request)
    : gpu_(gpu), previous_(gpu.ActiveRequest()) {
  gpu_.SetActiveRequest(&request);
}

ActiveRequestScope::~ActiveRequestScope() { gpu_.SetActiveRequest(previous_); }

}  // namespace dshost
