// Acquiring and releasing host suites one at a time, with the fixed reporting
// of a missing suite; the scoped form used by handlers; the Drawbot set.
#pragma once
#include <cstdint>

#include "AEConfig.h"
#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "adobesdk/DrawbotSuite.h"

inline constexpr const char* kAcquireSuiteFailure = "Not able to acquire AEFX Suite.";
inline constexpr const char* kReleaseSuiteFailure = "Not able to release AEFX Suite.";

// On failure: OR the display-error flag into out_data, copy the message (or
// the default text) into its return message, and return
// PF_Err_BAD_CALLBACK_PARAM.
PF_Err AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32_t version,
                    const char* error_string, void** suite);
PF_Err ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int32_t version,
                    const char* error_string);

// Holds one suite for the length of a scope. A suite the host cannot give is
// reported as AcquireSuite reports it and then thrown as A_Err_MISSING_SUITE.
template <typename Suite>
class ScopedSuite {
 public:
  ScopedSuite(PF_InData* in_data, const char* name, int32_t version, PF_OutData* out_data = nullptr)
      : in_data_(in_data), out_data_(out_data), name_(name), version_(version) {
    void* suite = nullptr;
    if (AcquireSuite(in_data_, out_data_, name_, version_, nullptr, &suite) != PF_Err_NONE || suite == nullptr) {
      throw PF_Err(A_Err_MISSING_SUITE);
    }
    suite_ = static_cast<const Suite*>(suite);
  }
  ~ScopedSuite() { ReleaseSuite(in_data_, out_data_, name_, version_, nullptr); }
  ScopedSuite(const ScopedSuite&) = delete;
  ScopedSuite& operator=(const ScopedSuite&) = delete;

  const Suite* operator->() const { return suite_; }
  const Suite* get() const { return suite_; }

 private:
  PF_InData* in_data_;
  PF_OutData* out_data_;
  const char* name_;
  int32_t version_;
  const Suite* suite_ = nullptr;
};

// Acquires (or releases) the Draw, Supplier, Surface and Path suites together,
// stopping at the first failure.
PF_Err AEFX_AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suitesP);
PF_Err AEFX_ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data);
