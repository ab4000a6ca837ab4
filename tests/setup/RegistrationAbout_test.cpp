// What the host learns from the registration entry, and the About text.
#include <gtest/gtest.h>

#include <string>

#include "common/TestSupport.h"
#include "host/EffectHost.h"

using dshost::EffectHost;
using dshost::HostApp;
using testsupport::ScopedTempDir;

TEST(Registration, ReportsTheEffectOnceWithItsIdentity) {
  for (const HostApp app : {HostApp::AfterEffects, HostApp::Premiere}) {
    EffectHost host(DRIFTSMEAR_MODULE_PATH, app);
    const dshost::RegistrationResult result = host.Register();
    EXPECT_EQ(result.err, A_Err_NONE);
    ASSERT_EQ(result.effects.size(), 1u);
    const dshost::EffectRegistration& effect = result.effects[0];
    EXPECT_EQ(effect.name, "Drift Smear");
    EXPECT_EQ(effect.matchName, "KQVLDRSM");
    EXPECT_EQ(effect.category, "Quarnbrook Graphics");
    EXPECT_EQ(effect.entryPoint, "EffectMain");
    EXPECT_EQ(effect.kind, 0x65464B54);  // 'eFKT'
    EXPECT_EQ(effect.apiVersionMajor, 13);
    EXPECT_EQ(effect.apiVersionMinor, 28);
    EXPECT_EQ(effect.reservedInfo, 8);
  }
}

class AboutTest : public ::testing::Test {
 protected:
  void TearDown() override { testsupport::SetEnv("DRIFTSMEAR_UNLICENSED", ""); }
  ScopedTempDir temp_;
};

TEST_F(AboutTest, AfterEffectsTextIsExactWithBareReturnAndCrLf) {
  EffectHost host(DRIFTSMEAR_MODULE_PATH, HostApp::AfterEffects);
  testsupport::SetEnv("DRIFTSMEAR_UNLICENSED", "");
  ASSERT_EQ(host.Call(PF_Cmd_ABOUT), PF_Err_NONE);
  EXPECT_EQ(std::string(host.out_data().return_msg), "Drift Smear, v1.3.0\rDrift Smear\r\nRegistered copy. Thank you!");

  testsupport::SetEnv("DRIFTSMEAR_UNLICENSED", "1");
  ASSERT_EQ(host.Call(PF_Cmd_ABOUT), PF_Err_NONE);
  EXPECT_EQ(std::string(host.out_data().return_msg),
            "Drift Smear, v1.3.0\rDrift Smear\r\nUnregistered copy. Purchase a licence to remove the X.");
}

TEST_F(AboutTest, PremiereGetsNoText) {
  EffectHost host(DRIFTSMEAR_MODULE_PATH, HostApp::Premiere);
  EXPECT_EQ(host.Call(PF_Cmd_ABOUT), PF_Err_NONE);
  EXPECT_STREQ(host.out_data().return_msg, "");
}
