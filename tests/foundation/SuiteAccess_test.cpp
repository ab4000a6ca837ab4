// Missing suites, met through each access facility, with the suite withheld
// by our host.
#include <gtest/gtest.h>

#include "common/TestSupport.h"
#include "host/EffectHost.h"
#include "support/SuiteAccess.h"
#include "support/SuiteHandler.h"

namespace {

class SuiteAccessTest : public ::testing::Test {
 protected:
  testsupport::ScopedTempDir temp_;
  dshost::EffectHost host_{DRIFTSMEAR_MODULE_PATH};
  PF_OutData out_{};
};

}  // namespace

TEST_F(SuiteAccessTest, SuiteHandlerAcquiresLazilyAndReleasesEverything) {
  dshost::HostScope scope(host_.runtime());
  {
    SuiteHandler suites(host_.in_data().pica_basicP);
    EXPECT_EQ(host_.runtime().suites().Outstanding(), 0);
    ASSERT_NE(suites.HandleSuite1(), nullptr);
    ASSERT_NE(suites.ANSICallbacksSuite1(), nullptr);
    suites.HandleSuite1();
    EXPECT_EQ(host_.runtime().suites().Outstanding(), 2);
    EXPECT_EQ(host_.runtime().suites().AcquireCount("PF Handle Suite"), 1);
  }
  EXPECT_EQ(host_.runtime().suites().Outstanding(), 0);
}

TEST_F(SuiteAccessTest, SuiteHandlerThrowsBadCallbackParamForAMissingSuite) {
  host_.runtime().suites().Withhold("PF Handle Suite");
  dshost::HostScope scope(host_.runtime());
  SuiteHandler suites(host_.in_data().pica_basicP);
  try {
    suites.HandleSuite1();
    FAIL() << "a withheld suite must throw";
  } catch (PF_Err err) {
    EXPECT_EQ(err, PF_Err_BAD_CALLBACK_PARAM);
  }
}

TEST_F(SuiteAccessTest, AcquireSuiteReportsToTheUserWithoutThrowing) {
  host_.runtime().suites().Withhold("PF ANSI Suite");
  dshost::HostScope scope(host_.runtime());
  void* suite = reinterpret_cast<void*>(1);
  EXPECT_EQ(AcquireSuite(&host_.in_data(), &out_, "PF ANSI Suite", 1, nullptr, &suite), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(suite, nullptr);
  EXPECT_EQ(std::string(out_.return_msg), "Not able to acquire AEFX Suite.");
  EXPECT_TRUE(out_.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE);

  PF_OutData released{};
  EXPECT_EQ(ReleaseSuite(&host_.in_data(), &released, "PF ANSI Suite", 1, nullptr), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(std::string(released.return_msg), "Not able to release AEFX Suite.");
}

TEST_F(SuiteAccessTest, ScopedSuiteThrowsMissingSuiteAfterReporting) {
  host_.runtime().suites().Withhold("PF Handle Suite", 2);
  dshost::HostScope scope(host_.runtime());
  try {
    ScopedSuite<PF_HandleSuite1> handles(&host_.in_data(), kPFHandleSuite, kPFHandleSuiteVersion1, &out_);
    FAIL() << "a withheld suite must throw";
  } catch (PF_Err err) {
    EXPECT_EQ(err, A_Err_MISSING_SUITE);
  }
  EXPECT_EQ(std::string(out_.return_msg), "Not able to acquire AEFX Suite.");
  EXPECT_TRUE(out_.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE);
  EXPECT_EQ(host_.runtime().suites().Outstanding(), 0);
}

TEST_F(SuiteAccessTest, DrawbotSuitesNeedARecordAndStopAtTheFirstMissingSuite) {
  dshost::HostScope scope(host_.runtime());
  EXPECT_EQ(AEFX_AcquireDrawbotSuites(&host_.in_data(), &out_, nullptr), PF_Err_UNRECOGNIZED_PARAM_TYPE);
  EXPECT_EQ(std::string(out_.return_msg), "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");

  host_.runtime().suites().Withhold("DRAWBOT Draw Suite");
  DRAWBOT_Suites suites{};
  PF_OutData out{};
  EXPECT_EQ(AEFX_AcquireDrawbotSuites(&host_.in_data(), &out, &suites), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(suites.drawbot_suiteP, nullptr);
  EXPECT_EQ(std::string(out.return_msg), "Not able to acquire AEFX Suite.");
  EXPECT_EQ(host_.runtime().suites().Outstanding(), 0);
}
