#include "support/SuiteHandler.h"

#include <cstring>

SuiteHandler::SuiteHandler(const SPBasicSuite* basic) : basic_(basic) {
  if (basic_ == nullptr) {
    MissingSuiteError();
  }
}

SuiteHandler::~SuiteHandler() {
  for (auto it = acquired_.rbegin(); it != acquired_.rend(); ++it) {
    basic_->ReleaseSuite(it->name, it->version);
  }
}

const void* SuiteHandler::Acquire(const char* name, int32_t version) {
  for (const Acquired& held : acquired_) {
    if (held.version == version && std::strcmp(held.name, name) == 0) {
      return held.suite;
    }
  }
  const void* suite = nullptr;
  if (basic_->AcquireSuite(name, version, &suite) != kSPNoError || suite == nullptr) {
    MissingSuiteError();
  }
  acquired_.push_back({name, version, suite});
  return suite;
}

void SuiteHandler::MissingSuiteError() { throw PF_Err(PF_Err_BAD_CALLBACK_PARAM); }
