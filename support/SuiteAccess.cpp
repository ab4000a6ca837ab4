#include "support/SuiteAccess.h"

#include <cstring>

namespace {

void ReportSuiteFailure(PF_InData* in_data, PF_OutData* out_data, const char* message) {
  if (out_data == nullptr) {
    return;
  }
  out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
  if (in_data != nullptr && in_data->utils != nullptr && in_data->utils->ansi.strcpy != nullptr) {
    in_data->utils->ansi.strcpy(out_data->return_msg, message);
  } else {
    std::strncpy(out_data->return_msg, message, PF_MAX_EFFECT_MSG_LEN);
    out_data->return_msg[PF_MAX_EFFECT_MSG_LEN] = '\0';
  }
}

}  // namespace

PF_Err AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32_t version,
                    const char* error_string, void** suite) {
  const void* acquired = nullptr;
  SPErr err = kSPSuiteNotFoundError;
  if (in_data != nullptr && in_data->pica_basicP != nullptr) {
    err = in_data->pica_basicP->AcquireSuite(name, version, &acquired);
  }
  if (err != kSPNoError || acquired == nullptr) {
    ReportSuiteFailure(in_data, out_data, error_string != nullptr ? error_string : kAcquireSuiteFailure);
    if (suite != nullptr) {
      *suite = nullptr;
    }
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (suite != nullptr) {
    *suite = const_cast<void*>(acquired);
  }
  return PF_Err_NONE;
}

PF_Err ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32_t version,
                    const char* error_string) {
  SPErr err = kSPSuiteNotFoundError;
  if (in_data != nullptr && in_data->pica_basicP != nullptr) {
    err = in_data->pica_basicP->ReleaseSuite(name, version);
  }
  if (err != kSPNoError) {
    ReportSuiteFailure(in_data, out_data, error_string != nullptr ? error_string : kReleaseSuiteFailure);
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  return PF_Err_NONE;
}

PF_Err AEFX_AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suitesP) {
  if (suitesP == nullptr) {
    ReportSuiteFailure(in_data, out_data, "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
    return PF_Err_UNRECOGNIZED_PARAM_TYPE;
  }
  void* suite = nullptr;
  PF_Err err = AcquireSuite(in_data, out_data, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_VersionCurrent, nullptr, &suite);
  suitesP->drawbot_suiteP = static_cast<DRAWBOT_DrawbotSuiteCurrent*>(suite);
  if (err == PF_Err_NONE) {
    err = AcquireSuite(in_data, out_data, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_VersionCurrent, nullptr,
                       &suite);
    suitesP->supplier_suiteP = static_cast<DRAWBOT_SupplierSuiteCurrent*>(suite);
  }
  if (err == PF_Err_NONE) {
    err = AcquireSuite(in_data, out_data, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_VersionCurrent, nullptr,
                       &suite);
    suitesP->surface_suiteP = static_cast<DRAWBOT_SurfaceSuiteCurrent*>(suite);
  }
  if (err == PF_Err_NONE) {
    err = AcquireSuite(in_data, out_data, kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_VersionCurrent, nullptr, &suite);
    suitesP->path_suiteP = static_cast<DRAWBOT_PathSuiteCurrent*>(suite);
  }
  return err;
}

PF_Err AEFX_ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data) {
  PF_Err err = ReleaseSuite(in_data, out_data, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_VersionCurrent, nullptr);
  if (err == PF_Err_NONE) {
    err = ReleaseSuite(in_data, out_data, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_VersionCurrent, nullptr);
  }
  if (err == PF_Err_NONE) {
    err = ReleaseSuite(in_data, out_data, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_VersionCurrent, nullptr);
  }
  if (err == PF_Err_NONE) {
    err = ReleaseSuite(in_data, out_data, kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_VersionCurrent, nullptr);
  }
  return err;
}
