// The fixture of the parameter tests: the built module loaded into our host,
// set up globally and with its parameters declared, logging into a temporary
// folder.
#pragma once
#include <gtest/gtest.h>

#include <string>

#include "common/TestSupport.h"
#include "host/EffectHost.h"

namespace paramstest {

class EffectFixture {
 public:
  explicit EffectFixture(dshost::HostApp app = dshost::HostApp::AfterEffects) : host_(DRIFTSMEAR_MODULE_PATH, app) {}

  // Global setup and parameter setup, as a host sends them after loading.
  void SetUpEffect() {
    ASSERT_EQ(host_.Call(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    ASSERT_EQ(host_.Call(PF_Cmd_PARAMS_SETUP), PF_Err_NONE);
  }
  void TearDownEffect() {
    if (host_.global_data() != nullptr) host_.Call(PF_Cmd_GLOBAL_SETDOWN);
  }

  dshost::EffectHost& host() { return host_; }
  // Fails the nth call of `call` from now on (call counts run over the
  // host's life).
  void FailNext(const std::string& call, int64_t nth, int32_t code) {
    auto& faults = host_.runtime().faults();
    faults.FailCall(call, faults.Count(call) + nth, code);
  }
  dshost::ParameterStore& store() { return host_.parameters(); }
  PF_ParamIndex Index(A_long diskId) { return store().IndexOf(diskId); }
  double Value(A_long diskId) { return store().ValueById(diskId); }
  PF_ParamDef Definition(A_long diskId) { return store().Definition(Index(diskId)); }
  std::vector<std::string> ErrorLines() const {
    return testsupport::LinesContaining(testsupport::ReadLines(testsupport::LogFilePath(temp_.path())), "ERROR [");
  }
  const testsupport::ScopedTempDir& temp() const { return temp_; }

 private:
  testsupport::ScopedTempDir temp_;  // before the host: global setup reads TMPDIR
  dshost::EffectHost host_;
};

// An After Effects host with the effect set up.
class AfterEffectsTest : public ::testing::Test, public EffectFixture {
 protected:
  void SetUp() override { SetUpEffect(); }
  void TearDown() override { TearDownEffect(); }
};

// A Premiere Pro host with the effect set up.
class PremiereTest : public ::testing::Test, public EffectFixture {
 protected:
  PremiereTest() : EffectFixture(dshost::HostApp::Premiere) {}
  void SetUp() override { SetUpEffect(); }
  void TearDown() override { TearDownEffect(); }
};

}  // namespace paramstest
