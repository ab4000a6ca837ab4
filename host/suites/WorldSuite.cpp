// "PF World Suite" 2: CPU worlds an effect makes itself, and the pixel format
// of any world the host made (GPU worlds report their GPU format).
#include <exception>
#include <new>

#include "AE_EffectCBSuites.h"
#include "host/HostRuntime.h"
#include "host/gpu/GpuHost.h"
#include "host/suites/GpuSuiteCall.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

PF_Err NewWorld(PF_ProgPtr /*effect_ref*/, A_long widthL, A_long heightL, PF_Boolean clear_pixB,
                PF_PixelFormat pixel_format, PF_EffectWorld* worldP) {
  return ServeGpuCall("PF World Suite.PF_NewWorld", [&](GpuHost& gpu) {
    if (worldP == nullptr || widthL <= 0 || heightL <= 0 || IsGpuFormat(pixel_format) ||
        BytesPerPixel(pixel_format) == 0) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    gpu.AdoptCpuWorld(worldP, widthL, heightL, pixel_format, clear_pixB != 0);
    return PF_Err_NONE;
  });
}

PF_Err DisposeWorld(PF_ProgPtr /*effect_ref*/, PF_EffectWorld* worldP) {
  return ServeGpuCall("PF World Suite.PF_DisposeWorld", [&](GpuHost& gpu) {
    const HostWorld* record = gpu.Find(worldP);
    if (record == nullptr || record->gpu || !record->createdByEffect) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    gpu.DisposeWorld(worldP);
    return PF_Err_NONE;
  });
}

PF_Err GetPixelFormat(const PF_EffectWorld* worldP, PF_PixelFormat* pixel_formatP) {
  return ServeGpuCall("PF World Suite.PF_GetPixelFormat", [&](GpuHost& gpu) {
    const HostWorld* record = gpu.Find(worldP);
    if (record == nullptr || pixel_formatP == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *pixel_formatP = record->format;
    return PF_Err_NONE;
  });
}

const PF_WorldSuite2 kWorldSuite = {NewWorld, DisposeWorld, GetPixelFormat};

}  // namespace

void PublishWorldSuites(HostRuntime& runtime) {
  runtime.suites().Publish(kPFWorldSuite, kPFWorldSuiteVersion2, &kWorldSuite);
}

}  // namespace dshost
