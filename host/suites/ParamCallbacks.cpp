// The parameter members of PF_InteractCallbacks (in_data->inter): adding
// parameters, checking their values out and in, and registering the custom UI.
#include "host/suites/ParamSuiteSupport.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

using detail::EffectParamCall;

PF_Err CheckoutParam(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long what_time, A_long time_step,
                     A_u_long time_scale, PF_ParamDef* param) {
  return EffectParamCall("inter.checkout_param", effect_ref, [&](ParameterStore& store) {
    return store.Checkout(index, what_time, time_step, time_scale, param);
  });
}

PF_Err CheckinParam(PF_ProgPtr effect_ref, PF_ParamDef* param) {
  return EffectParamCall("inter.checkin_param", effect_ref,
                         [&](ParameterStore& store) { return store.Checkin(param); });
}

PF_Err AddParam(PF_ProgPtr effect_ref, PF_ParamIndex index, PF_ParamDefPtr def) {
  return EffectParamCall("inter.add_param", effect_ref, [&](ParameterStore& store) {
    return def == nullptr ? PF_Err_BAD_CALLBACK_PARAM : store.Add(index, *def);
  });
}

PF_Err RegisterUI(PF_ProgPtr effect_ref, PF_CustomUIInfo* cust_info) {
  return EffectParamCall("inter.register_ui", effect_ref, [&](ParameterStore& store) {
    return cust_info == nullptr ? PF_Err_BAD_CALLBACK_PARAM : store.RegisterUI(*cust_info);
  });
}

}  // namespace

void FillParamCallbacks(PF_InteractCallbacks& inter) {
  inter.checkout_param = CheckoutParam;
  inter.checkin_param = CheckinParam;
  inter.add_param = AddParam;
  inter.register_ui = RegisterUI;
}

}  // namespace dshost
