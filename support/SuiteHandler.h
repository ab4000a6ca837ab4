// Lazy access to the host suites a handler uses, released together when the
// handler ends. A suite the host cannot give is thrown as
// PF_Err_BAD_CALLBACK_PARAM.
#pragma once
#include <cstdint>
#include <vector>

#include "AEConfig.h"
#include "AE_Effect.h"
#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "AE_GeneralPlug.h"
#include "adobesdk/DrawbotSuite.h"

class SuiteHandler {
 public:
  explicit SuiteHandler(const SPBasicSuite* basic);
  ~SuiteHandler();
  SuiteHandler(const SuiteHandler&) = delete;
  SuiteHandler& operator=(const SuiteHandler&) = delete;

  const PF_HandleSuite1* HandleSuite1() { return Get<PF_HandleSuite1>(kPFHandleSuite, kPFHandleSuiteVersion1); }
  const PF_ANSICallbacksSuite1* ANSICallbacksSuite1() {
    return Get<PF_ANSICallbacksSuite1>(kPFANSISuite, kPFANSISuiteVersion1);
  }
  const AEGP_UtilitySuite3* UtilitySuite3() {
    return Get<AEGP_UtilitySuite3>(kAEGPUtilitySuite, kAEGPUtilitySuiteVersion3);
  }
  const AEGP_PFInterfaceSuite1* PFInterfaceSuite1() {
    return Get<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1);
  }
  const AEGP_StreamSuite5* StreamSuite5() { return Get<AEGP_StreamSuite5>(kAEGPStreamSuite, kAEGPStreamSuiteVersion5); }
  const AEGP_DynamicStreamSuite4* DynamicStreamSuite4() {
    return Get<AEGP_DynamicStreamSuite4>(kAEGPDynamicStreamSuite, kAEGPDynamicStreamSuiteVersion4);
  }
  const AEGP_EffectSuite2* EffectSuite2() { return Get<AEGP_EffectSuite2>(kAEGPEffectSuite, kAEGPEffectSuiteVersion2); }
  const AEGP_EffectSuite4* EffectSuite4() { return Get<AEGP_EffectSuite4>(kAEGPEffectSuite, kAEGPEffectSuiteVersion4); }
  const PF_ParamUtilsSuite3* ParamUtilsSuite3() {
    return Get<PF_ParamUtilsSuite3>(kPFParamUtilsSuite, kPFParamUtilsSuiteVersion3);
  }
  const PF_EffectCustomUISuite1* EffectCustomUISuite1() {
    return Get<PF_EffectCustomUISuite1>(kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion1);
  }
  const DRAWBOT_DrawbotSuiteCurrent* DrawbotSuiteCurrent() {
    return Get<DRAWBOT_DrawbotSuiteCurrent>(kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_VersionCurrent);
  }
  const DRAWBOT_SupplierSuiteCurrent* SupplierSuiteCurrent() {
    return Get<DRAWBOT_SupplierSuiteCurrent>(kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_VersionCurrent);
  }
  const DRAWBOT_SurfaceSuiteCurrent* SurfaceSuiteCurrent() {
    return Get<DRAWBOT_SurfaceSuiteCurrent>(kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_VersionCurrent);
  }
  const DRAWBOT_PathSuiteCurrent* PathSuiteCurrent() {
    return Get<DRAWBOT_PathSuiteCurrent>(kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_VersionCurrent);
  }

 private:
  struct Acquired {
    const char* name;
    int32_t version;
    const void* suite;
  };

  template <typename Suite>
  const Suite* Get(const char* name, int32_t version) {
    return static_cast<const Suite*>(Acquire(name, version));
  }
  const void* Acquire(const char* name, int32_t version);
  [[noreturn]] static void MissingSuiteError();

  const SPBasicSuite* basic_;
  std::vector<Acquired> acquired_;
};
