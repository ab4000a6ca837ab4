#include "host/premiere/PremiereHost.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <sstream>

#include "host/EffectHost.h"
#include "host/HostError.h"
#include "host/HostRuntime.h"
#include "host/RuntimeAttachments.h"
#include "host/ParameterStore.h"
#include "host/SuiteRegistry.h"
#include "host/gpu/GpuHost.h"
#include "host/premiere/PremiereSuites.h"

namespace dshost {

namespace {

SPBasicSuite* BasicSuiteForPlugIn() { return const_cast<SPBasicSuite*>(SuiteRegistry::BasicSuite()); }

std::string ResultText(prSuiteError err) {
  std::ostringstream text;
  text << "0x" << std::hex << std::uppercase << static_cast<uint32_t>(err);
  return text.str();
}

// The filter is asked at most this often for one render; a filter that keeps
// incrementing the index past it is reported instead of looping for ever.
constexpr int kMaxDependencyQueries = 4096;

// A time in ticks as the parameter store takes it (a 32-bit count of units of
// 1 / scale seconds): exact where the reduced fraction fits, otherwise to the
// microsecond (or, for very late times, the millisecond).
void StoreTime(PrTime ticks, A_long* time, A_u_long* scale) {
  const PrTime divisor = std::gcd(ticks < 0 ? -ticks : ticks, kPremiereTicksPerSecond);
  const PrTime reducedScale = kPremiereTicksPerSecond / divisor;
  const PrTime reducedTime = ticks / divisor;
  if (reducedScale <= std::numeric_limits<A_u_long>::max() &&
      reducedTime >= std::numeric_limits<A_long>::min() && reducedTime <= std::numeric_limits<A_long>::max()) {
    *time = static_cast<A_long>(reducedTime);
    *scale = static_cast<A_u_long>(reducedScale);
    return;
  }
  const double seconds = static_cast<double>(ticks) / static_cast<double>(kPremiereTicksPerSecond);
  const double micro = std::round(seconds * 1e6);
  if (std::fabs(micro) <= static_cast<double>(std::numeric_limits<A_long>::max())) {
    *time = static_cast<A_long>(micro);
    *scale = 1000000;
  } else {
    *time = static_cast<A_long>(std::round(seconds * 1e3));
    *scale = 1000;
  }
}

}  // namespace

bool IsPremiereGpuFormat(PrPixelFormat format) {
  return format == PrPixelFormat_GPU_BGRA_4444_32f || format == PrPixelFormat_GPU_BGRA_4444_16f;
}

PF_PixelFormat WorldFormatOf(PrPixelFormat format) {
  if (format == PrPixelFormat_GPU_BGRA_4444_32f) {
    return kGpuFloatFormat;
  }
  if (format == PrPixelFormat_GPU_BGRA_4444_16f) {
    return kGpuHalfFormat;
  }
  return PF_PixelFormat_INVALID;
}

PrTime TicksPerFrame(A_long frameDuration, A_u_long timeScale) {
  if (frameDuration <= 0 || timeScale == 0) {
    throw HostError("a clip frame of " + std::to_string(frameDuration) + "/" + std::to_string(timeScale) +
                    " s has no tick count");
  }
  const PrTime scaled = kPremiereTicksPerSecond * static_cast<PrTime>(frameDuration);
  if (scaled % static_cast<PrTime>(timeScale) != 0) {
    throw HostError("a clip frame of " + std::to_string(frameDuration) + "/" + std::to_string(timeScale) +
                    " s is not a whole number of Premiere ticks");
  }
  return scaled / static_cast<PrTime>(timeScale);
}

PremiereHost::PremiereHost(EffectHost& effect) : effect_(effect) {
  entry_ = reinterpret_cast<PrGPUFilterEntry>(effect_.module().Symbol(PrGPUFilterEntryPointName));
  if (entry_ == nullptr) {
    throw HostError("the module " + effect_.module().Path() + " does not export " + PrGPUFilterEntryPointName);
  }
  PublishPremiereSuites(effect_.runtime());
  utilFuncs_.getSPBasicSuite = BasicSuiteForPlugIn;
  suites_.piInterfaceVer = 1;
  suites_.utilFuncs = &utilFuncs_;
  RuntimeAttachments<PremiereHost>::Attach(effect_.runtime(), this);

  HostScope scope(effect_.runtime());
  csSDK_int32 index = 0;
  const prSuiteError err = entry_(PrSDKGPUFilterInterfaceVersion, &index, kPrTrue, &suites_, &filter_, &info_);
  if (PrSuiteErrorFailed(err) || filter_.CreateInstance == nullptr || filter_.DisposeInstance == nullptr ||
      filter_.GetFrameDependencies == nullptr || filter_.Render == nullptr) {
    RuntimeAttachments<PremiereHost>::Detach(effect_.runtime(), this);
    throw HostError("the GPU filter module " + effect_.module().Path() + " did not start (" + ResultText(err) + ")");
  }
  started_ = true;
}

PremiereHost::~PremiereHost() {
  std::vector<uint32_t> devices;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [device, record] : instances_) {
      devices.push_back(device);
    }
  }
  for (uint32_t device : devices) {
    DisposeInstance(device);
  }
  if (started_) {
    HostScope scope(effect_.runtime());
    csSDK_int32 index = 0;
    entry_(PrSDKGPUFilterInterfaceVersion, &index, kPrFalse, &suites_, &filter_, &info_);
  }
  std::vector<PPixHand> frames;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [handle, record] : ppix_) {
      frames.push_back(handle);
    }
  }
  for (PPixHand frame : frames) {
    DisposePPix(frame);
  }
  RuntimeAttachments<PremiereHost>::Detach(effect_.runtime(), this);
}

PremiereHost* PremiereHost::Current() { return RuntimeAttachments<PremiereHost>::Current(); }

HostRuntime& PremiereHost::runtime() { return effect_.runtime(); }
GpuHost& PremiereHost::gpu() { return effect_.gpu(); }
ParameterStore& PremiereHost::parameters() { return effect_.parameters(); }

// ---- Instances ------------------------------------------------------------------------

prSuiteError PremiereHost::CreateInstance(uint32_t deviceIndex) {
  if (HasInstance(deviceIndex)) {
    return suiteError_NoError;
  }
  gpu().OpenDevice(deviceIndex);
  auto record = std::make_unique<InstanceRecord>();
  record->instance.piSuites = &suites_;
  record->instance.inDeviceIndex = deviceIndex;
  record->instance.inTimelineID = 1;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    record->instance.inNodeID = nextNodeId_++;
  }
  HostScope scope(runtime());
  const prSuiteError err = filter_.CreateInstance(&record->instance);
  if (PrSuiteErrorFailed(err)) {
    return err;
  }
  std::lock_guard<std::mutex> lock(mutex_);
  instances_[deviceIndex] = std::move(record);
  return err;
}

prSuiteError PremiereHost::DisposeInstance(uint32_t deviceIndex) {
  std::unique_ptr<InstanceRecord> record;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = instances_.find(deviceIndex);
    if (found == instances_.end()) {
      return suiteError_NoError;
    }
    record = std::move(found->second);
    instances_.erase(found);
  }
  // Kernels still queued may use what the instance releases.
  if (GpuDevice* device = gpu().Device(deviceIndex)) {
    device->Finish();
  }
  HostScope scope(runtime());
  return filter_.DisposeInstance(&record->instance);
}

bool PremiereHost::HasInstance(uint32_t deviceIndex) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return instances_.count(deviceIndex) != 0;
}

PrGPUFilterInstance& PremiereHost::Instance(uint32_t deviceIndex) {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = instances_.find(deviceIndex);
  if (found == instances_.end()) {
    throw HostError("there is no GPU filter instance for device " + std::to_string(deviceIndex));
  }
  return found->second->instance;
}

bool PremiereHost::IsLiveNode(csSDK_int32 nodeId) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& [device, record] : instances_) {
    if (record->instance.inNodeID == nodeId) {
      return true;
    }
  }
  return false;
}

size_t PremiereHost::InstanceCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return instances_.size();
}

// ---- Frame dependencies and render --------------------------------------------------------

std::vector<PrGPUFilterFrameDependency> PremiereHost::FrameDependencies(uint32_t deviceIndex,
                                                                        const PrGPUFilterRenderParams& params,
                                                                        std::vector<DependencyQuery>* log) {
  PrGPUFilterInstance& instance = Instance(deviceIndex);
  std::vector<PrGPUFilterFrameDependency> dependencies;
  HostScope scope(runtime());
  csSDK_int32 query = 0;
  for (int calls = 0;; ++calls) {
    if (calls == kMaxDependencyQueries) {
      throw HostError("the GPU filter asked for more than " + std::to_string(kMaxDependencyQueries) +
                      " frame dependencies");
    }
    DependencyQuery call;
    call.indexIn = query;
    csSDK_int32 index = query;
    call.result = filter_.GetFrameDependencies(&instance, &params, &index, &call.dependency);
    call.indexOut = index;
    if (log != nullptr) {
      log->push_back(call);
    }
    if (PrSuiteErrorSucceeded(call.result)) {
      dependencies.push_back(call.dependency);
    }
    if (PrSuiteErrorFailed(call.result) || index <= query) {
      break;
    }
    query = index;
  }
  return dependencies;
}

prSuiteError PremiereHost::QueryDependency(uint32_t deviceIndex, const PrGPUFilterRenderParams& params,
                                           csSDK_int32* index, PrGPUFilterFrameDependency* dependency) {
  PrGPUFilterInstance& instance = Instance(deviceIndex);
  HostScope scope(runtime());
  return filter_.GetFrameDependencies(&instance, &params, index, dependency);
}

prSuiteError PremiereHost::Render(uint32_t deviceIndex, const PrGPUFilterRenderParams& params,
                                  const std::vector<PPixHand>& frames, PPixHand* outFrame) {
  PrGPUFilterInstance& instance = Instance(deviceIndex);
  if (GpuDevice* device = gpu().Device(deviceIndex)) {
    device->MakeCurrent();
  }
  HostScope scope(runtime());
  return filter_.Render(&instance, &params, frames.empty() ? nullptr : frames.data(), frames.size(), outFrame);
}

// ---- GPU frames ----------------------------------------------------------------------------

PPixHand PremiereHost::CreateGpuPPix(uint32_t deviceIndex, PrPixelFormat format, int width, int height,
                                     int parNumerator, int parDenominator, prFieldType fieldType,
                                     bool createdByFilter) {
  if (!IsPremiereGpuFormat(format)) {
    throw HostError("pixel format " + std::to_string(static_cast<uint32_t>(format)) + " is not a GPU format");
  }
  if (parNumerator <= 0 || parDenominator <= 0) {
    throw HostError("a pixel aspect ratio of " + std::to_string(parNumerator) + "/" + std::to_string(parDenominator) +
                    " is not valid");
  }
  PF_EffectWorld* world =
      gpu().CreateGpuWorld(deviceIndex, width, height, WorldFormatOf(format), false,
                           PF_RationalScale{parNumerator, static_cast<A_u_long>(parDenominator)}, createdByFilter);
  try {
    return Adopt(world, deviceIndex, format, parNumerator, parDenominator, fieldType, createdByFilter);
  } catch (...) {
    gpu().DisposeWorld(world);
    throw;
  }
}

PPixHand PremiereHost::AdoptGpuWorld(PF_EffectWorld* world, PrPixelFormat format) {
  try {
    const HostWorld* made = world != nullptr ? gpu().Find(world) : nullptr;
    if (made == nullptr || !made->gpu) {
      throw HostError("a GPU frame over a world the GPU host did not make on a device");
    }
    if (!IsPremiereGpuFormat(format) || made->format != WorldFormatOf(format)) {
      throw HostError("a GPU frame in pixel format " + std::to_string(static_cast<uint32_t>(format)) +
                      " over a world of another format");
    }
    return Adopt(world, made->deviceIndex, format, 1, 1, prFieldsNone, false);
  } catch (...) {
    if (world != nullptr) {
      gpu().DisposeWorld(world);
    }
    throw;
  }
}

PPixHand PremiereHost::Adopt(PF_EffectWorld* world, uint32_t deviceIndex, PrPixelFormat format, int parNumerator,
                             int parDenominator, prFieldType fieldType, bool createdByFilter) {
  const int width = world->width;
  const int height = world->height;
  auto record = std::make_unique<PremierePPix>();
  record->target = &record->ppix;
  record->world = world;
  record->format = format;
  record->deviceIndex = deviceIndex;
  record->parNumerator = parNumerator;
  record->parDenominator = parDenominator;
  record->fieldType = fieldType;
  record->createdByFilter = createdByFilter;
  record->ppix.bounds = prRect{0, 0, width, height};
  record->ppix.rowbytes = world->rowbytes;
  record->ppix.bitsperpixel = static_cast<csSDK_int32>(BytesPerPixel(WorldFormatOf(format)) * 8);
  if (const HostWorld* host = gpu().Find(world)) {
    record->ppix.pix = host->deviceBuffer().handle();
  }
  PPixHand handle = record->handle();
  std::lock_guard<std::mutex> lock(mutex_);
  ppix_[handle] = std::move(record);
  if (createdByFilter) {
    ++filterCreatedPPix_;
  }
  return handle;
}

bool PremiereHost::DisposePPix(PPixHand ppix) {
  std::unique_ptr<PremierePPix> record;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = ppix_.find(ppix);
    if (found == ppix_.end()) {
      return false;
    }
    record = std::move(found->second);
    ppix_.erase(found);
  }
  gpu().DisposeWorld(record->world);
  return true;
}

PremierePPix* PremiereHost::FindPPix(PPixHand ppix) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const auto found = ppix_.find(ppix);
  return found == ppix_.end() ? nullptr : found->second.get();
}

void PremiereHost::Upload(PPixHand ppix, const ImageF& image) {
  PremierePPix* record = FindPPix(ppix);
  if (record == nullptr) {
    throw HostError("upload into a frame the host did not make");
  }
  gpu().Upload(record->world, image);
}

ImageF PremiereHost::Download(PPixHand ppix) {
  PremierePPix* record = FindPPix(ppix);
  if (record == nullptr) {
    throw HostError("download from a frame the host did not make");
  }
  return gpu().Download(record->world);
}

size_t PremiereHost::LivePPix() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return ppix_.size();
}

int64_t PremiereHost::FilterCreatedPPix() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return filterCreatedPPix_;
}

// ---- Parameters --------------------------------------------------------------------------------

void PremiereHost::SetAngleParamType(PrParamType type) {
  if (type != kPrParamType_Float32 && type != kPrParamType_Float64) {
    throw HostError("angles can be reported as 32-bit or 64-bit floats only");
  }
  std::lock_guard<std::mutex> lock(mutex_);
  angleType_ = type;
}

PrParamType PremiereHost::angleParamType() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return angleType_;
}

prSuiteError PremiereHost::ParamValue(csSDK_int32 index, PrTime time, PrParam* value) const {
  if (value == nullptr) {
    return suiteError_InvalidParms;
  }
  *value = PrParam{};
  // A GPU filter's list leaves out the input layer, parameter 0 of the
  // effect's own list.
  const ParameterStore& store = effect_.parameters();
  const PF_ParamIndex effectIndex = index + 1;
  if (index < 0 || static_cast<size_t>(effectIndex) >= store.Count()) {
    return suiteError_InvalidParms;
  }
  A_long storeTime = 0;
  A_u_long storeScale = 1;
  StoreTime(time, &storeTime, &storeScale);
  const PF_ParamDef def = store.Definition(effectIndex);
  const double number = store.Value(effectIndex, storeTime, storeScale);
  switch (def.param_type) {
    case PF_Param_FLOAT_SLIDER:
    case PF_Param_FIX_SLIDER:
      value->mType = kPrParamType_Float64;
      value->mFloat64 = number;
      return suiteError_NoError;
    case PF_Param_ANGLE:
      // Degrees as a 32-bit float by default, so that a filter reading the
      // angle's mFloat32 (the first four bytes of the value) reads the angle
      // itself. A 64-bit read of such a value sees the float's bits as the
      // low half of a double with a zero high half: a subnormal number, in
      // effect 0. With 64-bit angles it is the other way round: the first
      // four bytes are the double's low mantissa bits (all zero for a whole
      // number of degrees). No single type serves both reads.
      value->mType = angleParamType();
      if (value->mType == kPrParamType_Float32) {
        value->mFloat32 = static_cast<float>(number);
      } else {
        value->mFloat64 = number;
      }
      return suiteError_NoError;
    case PF_Param_POPUP:
    case PF_Param_SLIDER:
    case PF_Param_BUTTON:
      // A 32-bit integer; its low byte, at the start of the value, is the
      // item number of any menu shorter than 128 items.
      value->mType = kPrParamType_Int32;
      value->mInt32 = static_cast<csSDK_int32>(std::floor(number));
      return suiteError_NoError;
    case PF_Param_CHECKBOX:
      value->mType = kPrParamType_Bool;
      value->mBool = number != 0.0 ? 1 : 0;
      return suiteError_NoError;
    default:
      // Groups, layers and custom areas carry no value.
      return suiteError_InvalidParms;
  }
}

}  // namespace dshost
