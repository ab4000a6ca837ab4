#include "render/DriftSmear_CPU.h"

#include <algorithm>
#include <string>

#include "PrSDKTypes.h"
#include "AE_EffectCBSuites.h"
#include "PrSDKAESupport.h"
#include "render/GPUStatusInfo.h"
#include "support/LogsController.h"
#include "support/SuiteAccess.h"

namespace {

constexpr A_long kPremiereApplId = 'PrMr';
constexpr const char* kRefusalHeadline = "Drift Smear cannot render using CPU only.";
constexpr const char* kRefusalMessage =
    "Wrong Settings for GPU Acceleration\n\nSorry, the current version of the plugin only supports GPU "
    "acceleration. ";

std::string RefusalInstruction(const PF_InData* in_data) {
  std::string text = in_data->appl_id == kPremiereApplId ? "Go in File > Project Settings > General"
                                                         : "Go in File > Project Settings";
  return text + " and select 'Mercury GPU Acceleration'";
}

// The pixel formats a host may hand the effect for a CPU render: the three
// After Effects depths, and Premiere's 32-bit float ARGB.
bool IsSupportedDepth(PF_PixelFormat format) {
  return format == PF_PixelFormat_ARGB32 || format == PF_PixelFormat_ARGB64 || format == PF_PixelFormat_ARGB128 ||
         static_cast<csSDK_uint32>(format) == PrPixelFormat_ARGB_4444_32f;
}

// Looks at the output's pixel format. The suites are optional here: a host
// without them (After Effects has no version 1 of the pixel format suite)
// simply skips the check, and the refusal message stays as it is.
void CheckOutputDepth(PF_InData* in_data, PF_LayerDef* output) {
  void* worldSuite = nullptr;
  void* pixelSuite = nullptr;
  const bool haveWorld =
      AcquireSuite(in_data, nullptr, kPFWorldSuite, kPFWorldSuiteVersion2, nullptr, &worldSuite) == PF_Err_NONE;
  const bool havePixel = AcquireSuite(in_data, nullptr, kPFPixelFormatSuite, kPFPixelFormatSuiteVersion1, nullptr,
                                      &pixelSuite) == PF_Err_NONE;
  PF_PixelFormat format = PF_PixelFormat_INVALID;
  PF_Err err = PF_Err_BAD_CALLBACK_PARAM;
  if (in_data->appl_id == kPremiereApplId && havePixel) {
    PrPixelFormat premiereFormat = PrPixelFormat_Invalid;
    err = static_cast<const PF_PixelFormatSuite1*>(pixelSuite)->GetPixelFormat(output, &premiereFormat);
    format = static_cast<PF_PixelFormat>(premiereFormat);
  } else if (haveWorld) {
    err = static_cast<const PF_WorldSuite2*>(worldSuite)->PF_GetPixelFormat(output, &format);
  }
  if (err == PF_Err_NONE && !IsSupportedDepth(format)) {
    DRIFTSMEAR_LOG_ERROR("RenderCPU", "Wrong bitdepth: " << format);
  }
  if (havePixel) {
    ReleaseSuite(in_data, nullptr, kPFPixelFormatSuite, kPFPixelFormatSuiteVersion1, nullptr);
  }
  if (haveWorld) {
    ReleaseSuite(in_data, nullptr, kPFWorldSuite, kPFWorldSuiteVersion2, nullptr);
  }
}

}  // namespace

PF_Err RenderCPU(PF_InData* in_data, PF_OutData* out_data, PF_LayerDef* input, PF_LayerDef* output) {
  if (input == nullptr || output == nullptr) {
    DRIFTSMEAR_LOG_ERROR("RenderCPU", "Input or Output data is unavailable");
    return PF_Err_NONE;
  }
  const std::string instruction = RefusalInstruction(in_data);

  // The first refused render of a process only arms the notice; a later one
  // fills it for the custom UI and tells the user. A GPU device set up in
  // between disarms it for good.
  GPUStatusInfo& info = GetGPUStatusInfo();
  if (info.GetText(GPUStatusInfo::kNoticeHeadline).empty() && info.armed) {
    info.SetText(GPUStatusInfo::kGPUShortName, {});
    info.SetText(GPUStatusInfo::kFrameworkName, {});
    info.SetText(GPUStatusInfo::kNoticeHeadline, kRefusalHeadline);
    info.SetText(GPUStatusInfo::kNoticeInstruction, instruction);
    const std::string message = kRefusalMessage + instruction;
    if (in_data->utils != nullptr && in_data->utils->ansi.sprintf != nullptr) {
      PF_SPRINTF(out_data->return_msg, "%s", message.c_str());
    } else {
      message.copy(out_data->return_msg, PF_MAX_EFFECT_MSG_LEN);
      out_data->return_msg[std::min<std::size_t>(message.size(), PF_MAX_EFFECT_MSG_LEN)] = '\0';
    }
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
  }
  if (info.enabled) {
    info.armed = true;
  }

  CheckOutputDepth(in_data, output);
  return PF_Err_NONE;
}
