// The AEGP suites an effect uses to reach its own instance and parameter
// streams: "AEGP Utility Suite" 7 (plug-in registration), "AEGP PF Interface
// Suite" 1, "AEGP Stream Suite" 10, "AEGP Dynamic Stream Suite" 5 and "AEGP
// Effect Suite" 2 and 4. References and stream flags are kept in the
// parameter store, where tests read them back.
#include "AE_GeneralPlug.h"
#include "host/suites/ParamSuiteSupport.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

using detail::EffectParamCall;
using detail::ParamCall;

// ---- AEGP Utility Suite ---------------------------------------------------------------

A_Err ReportInfo(AEGP_PluginID, const A_char* info_stringZ) {
  return ParamCall("AEGP Utility Suite.AEGP_ReportInfo",
                   [&](ParameterStore&) { return info_stringZ == nullptr ? A_Err_PARAMETER : A_Err_NONE; });
}

A_Err StartQuietErrors(void*) {
  return ParamCall("AEGP Utility Suite.AEGP_StartQuietErrors", [](ParameterStore&) { return A_Err_NONE; });
}

A_Err EndQuietErrors(A_Boolean, void*) {
  return ParamCall("AEGP Utility Suite.AEGP_EndQuietErrors", [](ParameterStore&) { return A_Err_NONE; });
}

A_Err StartUndoGroup(const A_char*) {
  return ParamCall("AEGP Utility Suite.AEGP_StartUndoGroup", [](ParameterStore&) { return A_Err_NONE; });
}

A_Err EndUndoGroup() {
  return ParamCall("AEGP Utility Suite.AEGP_EndUndoGroup", [](ParameterStore&) { return A_Err_NONE; });
}

A_Err RegisterWithAEGP(AEGP_GlobalRefcon, const A_char* plugin_nameZ, AEGP_PluginID* plugin_id) {
  return ParamCall("AEGP Utility Suite.AEGP_RegisterWithAEGP", [&](ParameterStore& store) {
    if (plugin_nameZ == nullptr || plugin_id == nullptr) {
      return A_Err_PARAMETER;
    }
    *plugin_id = store.RegisterPlugin(plugin_nameZ);
    return A_Err_NONE;
  });
}

const AEGP_UtilitySuite3 kUtilitySuite3 = [] {
  AEGP_UtilitySuite3 suite{};
  suite.AEGP_ReportInfo = ReportInfo;
  suite.AEGP_StartQuietErrors = StartQuietErrors;
  suite.AEGP_EndQuietErrors = EndQuietErrors;
  suite.AEGP_StartUndoGroup = StartUndoGroup;
  suite.AEGP_EndUndoGroup = EndUndoGroup;
  suite.AEGP_RegisterWithAEGP = RegisterWithAEGP;
  return suite;
}();

// ---- AEGP PF Interface Suite -------------------------------------------------------------

A_Err GetNewEffectForEffect(AEGP_PluginID aegp_plugin_id, PF_ProgPtr effect_pp_ref, AEGP_EffectRefH* effect_refPH) {
  return EffectParamCall("AEGP PF Interface Suite.AEGP_GetNewEffectForEffect", effect_pp_ref,
                         [&](ParameterStore& store) {
                           if (effect_refPH == nullptr) {
                             return A_Err_PARAMETER;
                           }
                           *effect_refPH = store.NewEffectRef(aegp_plugin_id);
                           return A_Err_NONE;
                         });
}

const AEGP_PFInterfaceSuite1 kPFInterfaceSuite1 = [] {
  AEGP_PFInterfaceSuite1 suite{};
  suite.AEGP_GetNewEffectForEffect = GetNewEffectForEffect;
  return suite;
}();

// ---- AEGP Stream Suite -----------------------------------------------------------------------

A_Err GetEffectNumParamStreams(AEGP_EffectRefH effect_refH, A_long* num_paramsPL) {
  return ParamCall("AEGP Stream Suite.AEGP_GetEffectNumParamStreams", [&](ParameterStore& store) {
    if (num_paramsPL == nullptr || !store.IsEffectRef(effect_refH)) {
      return A_Err_PARAMETER;
    }
    *num_paramsPL = static_cast<A_long>(store.Count());
    return A_Err_NONE;
  });
}

A_Err GetNewEffectStreamByIndex(AEGP_PluginID, AEGP_EffectRefH effect_refH, PF_ParamIndex param_index,
                                AEGP_StreamRefH* streamPH) {
  return ParamCall("AEGP Stream Suite.AEGP_GetNewEffectStreamByIndex", [&](ParameterStore& store) {
    if (streamPH == nullptr) {
      return A_Err_PARAMETER;
    }
    *streamPH = store.NewStreamRef(effect_refH, param_index);
    return *streamPH != nullptr ? A_Err_NONE : A_Err_PARAMETER;
  });
}

A_Err DisposeStream(AEGP_StreamRefH streamH) {
  return ParamCall("AEGP Stream Suite.AEGP_DisposeStream",
                   [&](ParameterStore& store) { return store.DisposeStreamRef(streamH); });
}

const AEGP_StreamSuite5 kStreamSuite5 = [] {
  AEGP_StreamSuite5 suite{};
  suite.AEGP_GetEffectNumParamStreams = GetEffectNumParamStreams;
  suite.AEGP_GetNewEffectStreamByIndex = GetNewEffectStreamByIndex;
  suite.AEGP_DisposeStream = DisposeStream;
  return suite;
}();

// ---- AEGP Dynamic Stream Suite -------------------------------------------------------------

A_Err GetDynamicStreamFlags(AEGP_StreamRefH streamH, AEGP_DynStreamFlags* flagsP) {
  return ParamCall("AEGP Dynamic Stream Suite.AEGP_GetDynamicStreamFlags", [&](ParameterStore& store) {
    const PF_ParamIndex index = store.StreamIndex(streamH);
    if (flagsP == nullptr || index < 0) {
      return A_Err_PARAMETER;
    }
    *flagsP = store.StreamFlags(index);
    return A_Err_NONE;
  });
}

A_Err SetDynamicStreamFlag(AEGP_StreamRefH streamH, AEGP_DynStreamFlags one_flag, A_Boolean undoableB,
                           A_Boolean setB) {
  return ParamCall("AEGP Dynamic Stream Suite.AEGP_SetDynamicStreamFlag", [&](ParameterStore& store) {
    return store.SetStreamFlag(streamH, one_flag, undoableB != 0, setB != 0);
  });
}

const AEGP_DynamicStreamSuite4 kDynamicStreamSuite4 = [] {
  AEGP_DynamicStreamSuite4 suite{};
  suite.AEGP_GetDynamicStreamFlags = GetDynamicStreamFlags;
  suite.AEGP_SetDynamicStreamFlag = SetDynamicStreamFlag;
  return suite;
}();

// ---- AEGP Effect Suite -----------------------------------------------------------------------

A_Err DisposeEffect(AEGP_EffectRefH effect_refH) {
  return ParamCall("AEGP Effect Suite.AEGP_DisposeEffect",
                   [&](ParameterStore& store) { return store.DisposeEffectRef(effect_refH); });
}

const AEGP_EffectSuite2 kEffectSuite2 = [] {
  AEGP_EffectSuite2 suite{};
  suite.AEGP_DisposeEffect = DisposeEffect;
  return suite;
}();

const AEGP_EffectSuite4 kEffectSuite4 = [] {
  AEGP_EffectSuite4 suite{};
  suite.AEGP_DisposeEffect = DisposeEffect;
  return suite;
}();

}  // namespace

void PublishAegpSuites(HostRuntime& runtime) {
  SuiteRegistry& suites = runtime.suites();
  suites.Publish(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion3, &kUtilitySuite3);
  suites.Publish(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &kPFInterfaceSuite1);
  suites.Publish(kAEGPStreamSuite, kAEGPStreamSuiteVersion5, &kStreamSuite5);
  suites.Publish(kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion4, &kDynamicStreamSuite4);
  suites.Publish(kAEGPEffectSuite, kAEGPEffectSuiteVersion2, &kEffectSuite2);
  suites.Publish(kAEGPEffectSuite, kAEGPEffectSuiteVersion4, &kEffectSuite4);
}

}  // namespace dshost
