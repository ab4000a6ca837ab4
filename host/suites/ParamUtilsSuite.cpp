// "PF Param Utils Suite" version 3: parameter UI updates are recorded in the
// parameter store; keyframe queries answer from it.
#include "AE_EffectSuites.h"
#include "host/suites/ParamSuiteSupport.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

using detail::EffectParamCall;

PF_Err UpdateParamUI(PF_ProgPtr effect_ref, PF_ParamIndex param_index, const PF_ParamDef* defP) {
  return EffectParamCall("PF Param Utils Suite.PF_UpdateParamUI", effect_ref, [&](ParameterStore& store) {
    return defP == nullptr ? PF_Err_BAD_CALLBACK_PARAM : store.UpdateParamUI(param_index, *defP);
  });
}

PF_Err GetKeyframeCount(PF_ProgPtr effect_ref, PF_ParamIndex param_index, PF_KeyIndex* key_countP) {
  return EffectParamCall("PF Param Utils Suite.PF_GetKeyframeCount", effect_ref, [&](ParameterStore& store) {
    if (key_countP == nullptr || param_index < 0 || static_cast<size_t>(param_index) >= store.Count()) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *key_countP = static_cast<PF_KeyIndex>(store.KeyframeCount(param_index));
    return PF_Err_NONE;
  });
}

// The remaining members are not offered by this host: they answer with an
// error instead of leaving an empty slot to call.
PF_Err GetCurrentState(PF_ProgPtr, PF_ParamIndex, const A_Time*, const A_Time*, PF_State*) {
  return PF_Err_INVALID_CALLBACK;
}
PF_Err AreStatesIdentical(PF_ProgPtr, const PF_State*, const PF_State*, A_Boolean*) { return PF_Err_INVALID_CALLBACK; }
PF_Err IsIdenticalCheckout(PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, A_long, A_long, A_u_long,
                           PF_Boolean*) {
  return PF_Err_INVALID_CALLBACK;
}
PF_Err FindKeyframeTime(PF_ProgPtr, PF_ParamIndex, A_long, A_u_long, A_long, PF_Boolean*, PF_KeyIndex*, A_long*,
                        A_u_long*) {
  return PF_Err_INVALID_CALLBACK;
}
PF_Err CheckoutKeyframe(PF_ProgPtr, PF_ParamIndex, PF_KeyIndex, A_long*, A_u_long*, PF_ParamDef*) {
  return PF_Err_INVALID_CALLBACK;
}
PF_Err CheckinKeyframe(PF_ProgPtr, PF_ParamDef*) { return PF_Err_INVALID_CALLBACK; }
PF_Err KeyIndexToTime(PF_ProgPtr, PF_ParamIndex, PF_KeyIndex, A_long*, A_u_long*) { return PF_Err_INVALID_CALLBACK; }

const PF_ParamUtilsSuite3 kParamUtilsSuite3 = {UpdateParamUI,    GetCurrentState,  AreStatesIdentical,
                                               IsIdenticalCheckout, FindKeyframeTime, GetKeyframeCount,
                                               CheckoutKeyframe, CheckinKeyframe,  KeyIndexToTime};

}  // namespace

void PublishParamUtilsSuites(HostRuntime& runtime) {
  runtime.suites().Publish(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3, &kParamUtilsSuite3);
}

}  // namespace dshost
