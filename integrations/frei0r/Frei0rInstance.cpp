#include "integrations/frei0r/Frei0rInstance.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "host/EffectDiskIds.h"
#include "host/EffectModuleCheck.h"
#include "host/gpu/GpuDevice.h"

namespace dsfrei0r {

namespace {

using dshost::kFramesDiskId;
using dshost::kFrameOffsetDiskId;
using dshost::kPresetDiskId;
using dshost::kDebugDisplayDiskId;
// Larger sides than this are refused rather than risking the allocation.
constexpr unsigned kLargestSide = 32768;
// What the held frames may take unless DRIFTSMEAR_FREI0R_MEMORY_MB says.
constexpr uint64_t kDefaultMemoryMiB = 2048;

uint64_t MemoryBudgetBytes() {
  uint64_t mib = kDefaultMemoryMiB;
  if (const char* text = std::getenv("DRIFTSMEAR_FREI0R_MEMORY_MB"); text != nullptr && *text != '\0') {
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text, &end, 10);
    if (end != text && *end == '\0' && value > 0) {
      mib = value;
    }
  }
  return mib << 20;
}

}  // namespace

Frei0rInstance::Frei0rInstance(std::shared_ptr<const Frei0rParameterTable> table, unsigned width, unsigned height)
    : table_(std::move(table)), width_(width), height_(height) {
  for (const Frei0rParameter& parameter : table_->parameters()) {
    Value value;
    value.unit = parameter.ToUnit(parameter.defaultValue);
    value.text = parameter.defaultText;
    values_.push_back(value);
  }
  if (width == 0 || height == 0 || width > kLargestSide || height > kLargestSide) {
    unusable_ = true;
    Report("cannot process frames of " + std::to_string(width) + "x" + std::to_string(height) +
           " pixels (each side must be 1 to " + std::to_string(kLargestSide) + ")");
    return;
  }
  ring_ = std::make_unique<FrameRing>(static_cast<int>(width), static_cast<int>(height));
}

Frei0rInstance::~Frei0rInstance() = default;

void Frei0rInstance::Report(const std::string& message) {
  if (std::find(reports_.begin(), reports_.end(), message) != reports_.end()) {
    return;
  }
  reports_.push_back(message);
  std::fprintf(stderr, "driftsmear (frei0r): %s; frames pass through unchanged\n", message.c_str());
  std::fflush(stderr);
}

void Frei0rInstance::SetParameter(int index, const void* value) {
  const Frei0rParameter* parameter = table_->at(index);
  if (parameter == nullptr || value == nullptr) {
    return;
  }
  Value& target = values_[static_cast<size_t>(index)];
  if (parameter->type == Frei0rType::String) {
    const char* text = *static_cast<const char* const*>(value);
    target.text = text != nullptr ? text : "";
  } else {
    const double unit = *static_cast<const double*>(value);
    target.unit = std::isnan(unit) ? parameter->ToUnit(parameter->defaultValue) : std::clamp(unit, 0.0, 1.0);
  }
  target.given = true;
}

void Frei0rInstance::GetParameter(int index, void* value) const {
  const Frei0rParameter* parameter = table_->at(index);
  if (parameter == nullptr || value == nullptr) {
    return;
  }
  const Value& source = values_[static_cast<size_t>(index)];
  if (parameter->type == Frei0rType::String) {
    // frei0r hands back a pointer to the instance's own text.
    *static_cast<const char**>(value) = source.text.c_str();
  } else {
    *static_cast<double*>(value) = source.unit;
  }
}

void Frei0rInstance::PassThrough(const uint32_t* in, uint32_t* out) const {
  if (in != nullptr && out != nullptr && in != out) {
    std::memcpy(out, in, static_cast<size_t>(width_) * height_ * sizeof(uint32_t));
  }
}

bool Frei0rInstance::OpenSession() {
  if (session_) {
    return true;
  }
  if (unusable_) {
    return false;
  }
  // A failure here holds for the instance's life: it is said once and the
  // frames pass through without another try.
  unusable_ = true;
  if (!table_->loadError().empty()) {
    Report(table_->loadError());
    return false;
  }
  const std::optional<uint32_t> device = dshost::PreferredGpuDevice();
  if (!device) {
    Report(dshost::NoGpuDeviceMessage());
    return false;
  }
  const std::string deviceName = dshost::EnumerateGpuDevices().at(*device).Describe();
  try {
    dshost::CheckDriftSmearModule(table_->modulePath());
    dshost::RenderSessionOptions options;
    options.app = dshost::HostApp::AfterEffects;
    options.deviceIndex = *device;
    session_ = std::make_unique<dshost::RenderSession>(table_->modulePath(), options);
  } catch (const std::exception& error) {
    Report("cannot render on " + deviceName + ": " + error.what());
    return false;
  }
  unusable_ = false;
  return true;
}

void Frei0rInstance::ApplyParameters() {
  dshost::ParameterStore& store = session_->host().parameters();
  const std::vector<Frei0rParameter>& parameters = table_->parameters();
  const std::string& presetText = values_.front().text;  // the table starts with the preset
  if (!presetApplied_ || presetText != appliedPreset_) {
    // A new preset starts from the defaults, as choosing it in the effect's
    // menu would overwrite what it sets; the effect writes the preset's
    // values itself when it hears of the menu change.
    for (const Frei0rParameter& parameter : parameters) {
      if (parameter.type != Frei0rType::String) {
        store.SetValueById(parameter.info->diskId, parameter.defaultValue);
      }
    }
    appliedPreset_ = presetText;
    presetApplied_ = true;
    if (!presetText.empty() && presetText != "none") {
      const dshost::PopupItemInfo* preset = FindPresetItem(presetText);
      if (preset == nullptr) {
        Report("unknown preset '" + presetText + "' (presets: default, fine, strong, stutter, slow-motion)");
      } else {
        const PF_ParamIndex index = store.IndexOf(kPresetDiskId);
        store.SetValue(index, preset->item);
        const PF_Err err = session_->host().UserChangedParam(index);
        if (err != PF_Err_NONE) {
          Report("the effect failed to apply the preset '" + presetText + "' (error " + std::to_string(err) + ")");
        }
      }
    }
  }
  for (size_t i = 0; i < parameters.size(); ++i) {
    const Frei0rParameter& parameter = parameters[i];
    const Value& value = values_[i];
    if (parameter.info->diskId == kDebugDisplayDiskId) {
      const dshost::PopupItemInfo* view = FindViewItem(value.text);
      if (view == nullptr) {
        Report("unknown debug view '" + value.text + "' (views: result, motion, displace, flowmag, shift)");
        view = FindViewItem("result");
      }
      store.SetValueById(kDebugDisplayDiskId, view->item);
    } else if (parameter.type != Frei0rType::String && value.given) {
      const double natural =
          parameter.type == Frei0rType::Bool ? (value.unit >= 0.5 ? 1.0 : 0.0) : parameter.ToNatural(value.unit);
      store.SetValueById(parameter.info->diskId, natural);
    }
  }
}

size_t Frei0rInstance::FramesNeeded() const {
  const double frames = session_->Parameter(kFramesDiskId);
  const double offset = session_->Parameter(kFrameOffsetDiskId);
  // The oldest checkout reaches (frames - 1) × offset frames back; a negative
  // offset reaches ahead, where the ring has nothing to keep.
  const double back = std::max(0.0, std::ceil((std::max(frames, 1.0) - 1.0) * std::max(offset, 0.0)));
  const uint64_t frameBytes = static_cast<uint64_t>(width_) * height_ * 4 * sizeof(float);
  const uint64_t affordable = std::max<uint64_t>(1, MemoryBudgetBytes() / frameBytes);
  return static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(back) + 1, affordable));
}

void Frei0rInstance::Update(double time, const uint32_t* in, uint32_t* out) {
  if (in == nullptr || out == nullptr) {
    return;
  }
  if (!OpenSession()) {
    PassThrough(in, out);
    return;
  }
  try {
    ApplyParameters();
    ring_->SetCapacity(FramesNeeded());
    ring_->Push(time, in);
    const dshost::ImageF image = session_->RenderFrame(*ring_, ring_->currentTime());
    if (image.width != static_cast<int>(width_) || image.height != static_cast<int>(height_)) {
      throw dshost::HostError("the effect gave a frame of " + std::to_string(image.width) + "x" +
                              std::to_string(image.height) + " pixels for " + std::to_string(width_) + "x" +
                              std::to_string(height_));
    }
    FrameRing::ToRgba(image, out);
  } catch (const std::exception& error) {
    Report(std::string("a frame failed: ") + error.what());
    PassThrough(in, out);
  }
}

}  // namespace dsfrei0r
