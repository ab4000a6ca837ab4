// "PF Effect Custom UI Suite" 1 (the drawing reference of a custom-UI event),
// "PF Effect UI Suite" 1 (the options button's label) and the Drawbot suites
// the effect draws with.
#include <string>

#include "AE_EffectSuites.h"
#include "host/HostRuntime.h"
#include "host/HostUI.h"
#include "host/drawbot/DrawbotSuites.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

// The host puts the canvas' drawing reference into the context it hands the
// effect with every custom-UI event; the suite gives it back from there.
PF_Err GetDrawingReference(const PF_ContextH effect_contextH, DRAWBOT_DrawRef* referenceP0) {
  HostRuntime* runtime = HostRuntime::Current();
  if (runtime == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (referenceP0 != nullptr) {
    *referenceP0 = nullptr;
  }
  if (const int32_t code = runtime->faults().Hit("PF Effect Custom UI Suite.PF_GetDrawingReference")) {
    return code;
  }
  if (effect_contextH == nullptr || *effect_contextH == nullptr || referenceP0 == nullptr ||
      (*effect_contextH)->magic != PF_CONTEXT_MAGIC) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *referenceP0 = (*effect_contextH)->reserved_drawref;
  return *referenceP0 != nullptr ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err SetOptionsButtonName(PF_ProgPtr effect_ref, const A_char* nameZ) {
  HostRuntime* runtime = HostRuntime::Current();
  HostUIState* state = HostUIState::Current();
  if (runtime == nullptr || state == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (const int32_t code = runtime->faults().Hit("PF Effect UI Suite.PF_SetOptionsButtonName")) {
    return code;
  }
  if (effect_ref == nullptr || nameZ == nullptr) {
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  state->SetOptionsButtonName(nameZ);
  return PF_Err_NONE;
}

const PF_EffectCustomUISuite1 kCustomUISuite = {GetDrawingReference};
const PF_EffectUISuite1 kEffectUISuite = {SetOptionsButtonName};

}  // namespace

void PublishEffectUISuites(HostRuntime& runtime) {
  runtime.suites().Publish(kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion1, &kCustomUISuite);
  runtime.suites().Publish(kPFEffectUISuite, kPFEffectUISuiteVersion1, &kEffectUISuite);
}

void PublishDrawbotSuites(HostRuntime& runtime) {
  for (const DrawbotSuiteEntry& entry : DrawbotSuiteEntries()) {
    runtime.suites().Publish(entry.name, entry.version, entry.table);
  }
}

}  // namespace dshost
