// "PF Pixel Format Suite" 1, as Premiere Pro offers it to effects: the pixel
// formats an effect accepts, and the format of a world.
#include "PrSDKTypes.h"
#include "AE_EffectCBSuites.h"
#include "PrSDKAESupport.h"
#include "host/HostRuntime.h"
#include "host/HostUI.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

// The state of the current host after the call point's fault check; null
// (with *err set) when the call must fail.
HostUIState* Enter(const char* call, PF_Err* err) {
  HostRuntime* runtime = HostRuntime::Current();
  HostUIState* state = HostUIState::Current();
  if (runtime == nullptr || state == nullptr) {
    *err = PF_Err_BAD_CALLBACK_PARAM;
    return nullptr;
  }
  if (const int32_t code = runtime->faults().Hit(call)) {
    *err = code;
    return nullptr;
  }
  *err = PF_Err_NONE;
  return state;
}

PF_Err AddSupportedPixelFormat(PF_ProgPtr effect_ref, PrPixelFormat pixelFormat) {
  PF_Err err = PF_Err_NONE;
  HostUIState* state = Enter("PF Pixel Format Suite.AddSupportedPixelFormat", &err);
  if (state == nullptr) {
    return err;
  }
  if (effect_ref == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  state->AddPixelFormat(pixelFormat);
  return PF_Err_NONE;
}

PF_Err ClearSupportedPixelFormats(PF_ProgPtr effect_ref) {
  PF_Err err = PF_Err_NONE;
  HostUIState* state = Enter("PF Pixel Format Suite.ClearSupportedPixelFormats", &err);
  if (state == nullptr) {
    return err;
  }
  if (effect_ref == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  state->ClearPixelFormats();
  return PF_Err_NONE;
}

PF_Err GetPixelFormat(PF_EffectWorld* inWorld, PrPixelFormat* pixelFormat) {
  PF_Err err = PF_Err_NONE;
  HostUIState* state = Enter("PF Pixel Format Suite.GetPixelFormat", &err);
  if (state == nullptr) {
    return err;
  }
  if (inWorld == nullptr || pixelFormat == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return state->WorldPixelFormat(*inWorld, pixelFormat);
}

// The world and colour conversion members are not offered: an effect that
// renders on the GPU has no use for them.
const PF_PixelFormatSuite1 kPixelFormatSuite = [] {
  PF_PixelFormatSuite1 suite{};
  suite.AddSupportedPixelFormat = AddSupportedPixelFormat;
  suite.ClearSupportedPixelFormats = ClearSupportedPixelFormats;
  suite.GetPixelFormat = GetPixelFormat;
  return suite;
}();

}  // namespace

void PublishPixelFormatSuites(HostRuntime& runtime) {
  runtime.suites().Publish(kPFPixelFormatSuite, kPFPixelFormatSuiteVersion1, &kPixelFormatSuite);
}

}  // namespace dshost
