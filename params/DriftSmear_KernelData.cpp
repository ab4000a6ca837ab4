#include "params/DriftSmear_KernelData.h"

#include <cmath>
#include <numbers>

#include "params/DriftSmear_Parameters.h"

namespace {

// 16.16 fixed-point degrees to radians: the product and the division are
// taken in double precision, and only the result is rounded to float.
float FixedDegreesToRadians(PF_Fixed raw) {
  return static_cast<float>(static_cast<double>(raw) * 1.52587890625e-05 * std::numbers::pi / 180.0);
}

// Checks out parameters one at a time at the request's time; after the first
// failing checkout or check-in every later fetch is skipped and that error is
// kept.
class ParamFetcher {
 public:
  explicit ParamFetcher(PF_InData* in_data) : in_data_(in_data) {}

  // Calls `use` with the checked-out definition of the parameter with this
  // Disk ID, then checks it in.
  template <typename Use>
  void Fetch(int diskId, Use&& use) {
    if (err_ != PF_Err_NONE) {
      return;
    }
    PF_ParamDef param{};
    err_ = PF_CHECKOUT_PARAM(in_data_, FindParamIndexByDiskID(diskId), in_data_->current_time,
                             in_data_->time_step, in_data_->time_scale, &param);
    if (err_ != PF_Err_NONE) {
      return;
    }
    use(param);
    err_ = PF_CHECKIN_PARAM(in_data_, &param);
  }

  PF_Err err() const { return err_; }

 private:
  PF_InData* in_data_;
  PF_Err err_ = PF_Err_NONE;
};

}  // namespace

PF_Err FillKernelData(PF_InData* in_data, bool isActivated, KernelData* kernelData, float* frameOffset) {
  if (in_data == nullptr || kernelData == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (in_data->inter.checkout_param == nullptr || in_data->inter.checkin_param == nullptr) {
    return PF_Err_INVALID_CALLBACK;
  }
  KernelData& data = *kernelData;
  data.is_activated = isActivated;
  data.time = static_cast<float>(in_data->current_time) / static_cast<float>(in_data->time_scale);

  ParamFetcher fetch(in_data);
  fetch.Fetch(kDiskFrames, [&](const PF_ParamDef& p) { data.numFrames = static_cast<int>(p.u.fs_d.value); });
  fetch.Fetch(kDiskFrameOffset, [&](const PF_ParamDef& p) {
    if (frameOffset != nullptr) {
      *frameOffset = static_cast<float>(p.u.fs_d.value);
    }
  });
  fetch.Fetch(kDiskTrail, [&](const PF_ParamDef& p) { data.trailIntensity = static_cast<float>(p.u.fs_d.value * 0.5); });
  fetch.Fetch(kDiskDisplace,
              [&](const PF_ParamDef& p) { data.displaceIntensity = static_cast<float>(p.u.fs_d.value * 0.5); });
  fetch.Fetch(kDiskVelocityThreshold,
              [&](const PF_ParamDef& p) { data.threshold = static_cast<float>(p.u.fs_d.value / 50.0); });
  fetch.Fetch(kDiskDisplaceThreshold,
              [&](const PF_ParamDef& p) { data.lambda = static_cast<float>(p.u.fs_d.value / 100.0); });
  fetch.Fetch(kDiskMinVelocity, [&](const PF_ParamDef& p) { data.minVel = static_cast<float>(p.u.fs_d.value / 100.0); });
  fetch.Fetch(kDiskMaxVelocity, [&](const PF_ParamDef& p) { data.maxVel = static_cast<float>(p.u.fs_d.value / 100.0); });

  // The gradient sampling distance: its length from the motion size, its
  // direction from the motion angle. Both stay 0 when not fetched, so the
  // offsets are always written.
  double motionSize = 0.0;
  float motionAngle = 0.0f;
  fetch.Fetch(kDiskMotionSize, [&](const PF_ParamDef& p) { motionSize = p.u.fs_d.value / 100.0; });
  fetch.Fetch(kDiskMotionAngle, [&](const PF_ParamDef& p) { motionAngle = FixedDegreesToRadians(p.u.ad.value); });
  data.offsetX = static_cast<float>(static_cast<double>(std::cos(motionAngle)) * motionSize);
  data.offsetY = static_cast<float>(static_cast<double>(std::sin(motionAngle)) * motionSize);

  fetch.Fetch(kDiskChromatic, [&](const PF_ParamDef& p) { data.chromatic = static_cast<float>(p.u.fs_d.value / 100.0); });
  fetch.Fetch(kDiskChromaticOffset,
              [&](const PF_ParamDef& p) { data.chromaticOffset = FixedDegreesToRadians(p.u.ad.value); });
  fetch.Fetch(kDiskAmount, [&](const PF_ParamDef& p) { data.percentEase = static_cast<float>(p.u.fs_d.value / 20.0); });
  fetch.Fetch(kDiskDebugDisplay, [&](const PF_ParamDef& p) { data.showDebugData = p.u.pd.value; });
  fetch.Fetch(kDiskPreset, [&](const PF_ParamDef& p) { data.preset = p.u.pd.value; });
  fetch.Fetch(kDiskPremultiplied, [&](const PF_ParamDef& p) { data.isPremult = p.u.bd.value != 0; });
  return fetch.err();
}
