// Reactions to parameter changes and UI updates through the real host:
// presets, the store button and the store button's visibility.
#include <gtest/gtest.h>

#include <array>
#include <map>

#include "ParamsTestSupport.h"
#include "effect/Licensing.h"
#include "params/DriftSmear_Parameters.h"
#include "params/StorePage.h"
#include "support/LogsController.h"

using paramstest::AfterEffectsTest;
using paramstest::PremiereTest;
using testsupport::ReadLines;

namespace {

// Disk IDs a preset writes, in the order of the rows below.
constexpr std::array<A_long, 13> kPresetIds = {6, 7, 8, 9, 10, 11, 12, 13, 16, 17, 18, 19, 20};

const std::map<A_long, std::array<double, 13>> kPresetRows = {
    {3, {10, 1, 1, 50, 15, 100, 45, 10, 50, 0, 80, 20, 10}},
    {4, {12, 1, 1, 0, 15, 100, 45, 6, 50, 0, 80, 1.5, 10}},
    {5, {12, 1, 0, 0, 0, 100, 45, 15, 100, 0, 100, 6, 30}},
    {6, {3, 1, 0, 0, 0, 100, 45, 7, 0, 0, 80, 100, 100}},
    {7, {12, -12, 1, 35, 15, 100, 45, 10, 50, 0, 500, 500, 50}},
};

using testsupport::ScopedEnv;

class PresetTest : public AfterEffectsTest {
 protected:
  PF_Err Choose(A_long item) {
    store().SetValueById(23, item);
    return host().UserChangedParam(Index(23));
  }
  std::map<A_long, double> AllValues() {
    std::map<A_long, double> values;
    for (A_long id = 0; id < 25; ++id) values[id] = Value(id);
    return values;
  }
};

}  // namespace

TEST_F(PresetTest, EveryRowLandsInItsDiskIdsAndThePopupReturnsToTheFirstItem) {
  for (const auto& [item, row] : kPresetRows) {
    SCOPED_TRACE("preset item " + std::to_string(item));
    ASSERT_EQ(Choose(item), PF_Err_NONE);
    for (size_t i = 0; i < kPresetIds.size(); ++i) {
      EXPECT_EQ(Value(kPresetIds[i]), row[i]) << "Disk ID " << kPresetIds[i];
    }
    EXPECT_EQ(Value(23), 1.0);
  }
  // Angles are written in 16.16 fixed point.
  EXPECT_EQ(store().ValueAt(Index(12), 0, 25).u.ad.value, 2949120);
  EXPECT_EQ(store().LiveEffectRefs(), 0u);
}

TEST_F(PresetTest, PromptAndSeparatorChangeNothing) {
  for (A_long item : {1, 2}) {
    store().SetValueById(23, item);
    const auto before = AllValues();
    ASSERT_EQ(host().UserChangedParam(Index(23)), PF_Err_NONE);
    EXPECT_EQ(AllValues(), before) << "item " << item;
  }
}

TEST_F(PresetTest, FailingSetterStopsTheApplicationAndKeepsWhatWasWritten) {
  store().SetValueById(23, 5);
  dshost::ParamArray params = host().ParamsArray();
  params[static_cast<size_t>(Index(10))]->param_type = PF_Param_CHECKBOX;
  PF_UserChangedParamExtra extra{Index(23)};
  EXPECT_EQ(host().Call(PF_Cmd_USER_CHANGED_PARAM, params.data(), nullptr, &extra), PF_Err_UNRECOGNIZED_PARAM_TYPE);
  store().ReadBack(params, 0, 25);

  EXPECT_EQ(Value(6), 12.0);
  EXPECT_EQ(Value(7), 1.0);
  EXPECT_EQ(Value(8), 0.0);
  EXPECT_EQ(Value(9), 0.0);
  EXPECT_EQ(Value(10), 15.0);  // the failed one: unchanged
  EXPECT_EQ(Value(11), 50.0);  // after it: untouched
  EXPECT_EQ(Value(13), 10.0);
  EXPECT_EQ(Value(23), 5.0);  // the popup keeps the chosen item
  EXPECT_EQ(store().LiveEffectRefs(), 0u);

  const auto lines = ErrorLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[0].find(":ApplyPreset::<lambda_1>::operator ()] :: Please implement this param type:4"),
            std::string::npos)
      << lines[0];
  EXPECT_NE(lines[1].find("PF_Cmd_USER_CHANGED_PARAM. Code: PF_Err_UNRECOGNIZED_PARAM_TYPE (514)"), std::string::npos)
      << lines[1];
}

TEST_F(PresetTest, UsesThePluginIdRegisteredAtGlobalSetup) {
  const auto registrations = store().Registrations();
  ASSERT_EQ(registrations.size(), 1u);
  EXPECT_EQ(registrations[0].name, "Drift Smear");
  ASSERT_EQ(Choose(3), PF_Err_NONE);
  ASSERT_FALSE(store().EffectRefPluginIds().empty());
  EXPECT_EQ(store().EffectRefPluginIds().back(), registrations[0].id);
}

TEST_F(PresetTest, HostFailuresComeBackAsErrors) {
  FailNext("AEGP PF Interface Suite.AEGP_GetNewEffectForEffect", 1, A_Err_GENERIC);
  const auto before = AllValues();
  EXPECT_EQ(Choose(5), A_Err_GENERIC);
  auto after = AllValues();
  after[23] = before.at(23);
  EXPECT_EQ(after, before);

  // The preset is applied, but a failed release of the effect reference is
  // still the command's answer.
  FailNext("AEGP Effect Suite.AEGP_DisposeEffect", 1, A_Err_GENERIC);
  EXPECT_EQ(Choose(5), A_Err_GENERIC);
  EXPECT_EQ(Value(6), 12.0);
  EXPECT_EQ(Value(23), 1.0);

  host().runtime().suites().Withhold("AEGP PF Interface Suite");
  EXPECT_EQ(Choose(5), A_Err_MISSING_SUITE);
  EXPECT_STREQ(host().out_data().return_msg, "Not able to acquire AEFX Suite.");
  EXPECT_EQ(host().runtime().suites().Outstanding(), 0);
}

// SetPresetParam on a bare parameter array, one definition per table position.
class PresetSetter : public ::testing::Test {
 protected:
  PresetSetter() {
    for (size_t i = 0; i < defs_.size(); ++i) params_[i] = &defs_[i];
  }
  PF_ParamDef& Def(A_long diskId, PF_ParamType type) {
    PF_ParamDef& def = defs_[static_cast<size_t>(FindParamIndexByDiskID(diskId))];
    def.param_type = type;
    return def;
  }
  std::array<PF_ParamDef, 25> defs_{};
  std::array<PF_ParamDef*, 25> params_{};
};

TEST_F(PresetSetter, ConvertsByHostType) {
  PF_ParamDef& angle = Def(17, PF_Param_ANGLE);
  PF_ParamDef& popup = Def(23, PF_Param_POPUP);
  PF_ParamDef& slider = Def(6, PF_Param_FLOAT_SLIDER);

  // 16.16 fixed point, rounded half away from zero.
  const std::pair<float, PF_Fixed> angles[] = {
      {45.0f, 2949120}, {-0.5f, -32768}, {2.5f / 65536, 3}, {-2.5f / 65536, -3}, {1.4f / 65536, 1}};
  for (const auto& [degrees, fixed] : angles) {
    angle.uu.change_flags = 0;
    ASSERT_EQ(SetPresetParam(params_.data(), 17, degrees), PF_Err_NONE);
    EXPECT_EQ(angle.u.ad.value, fixed) << degrees;
    EXPECT_EQ(angle.uu.change_flags, PF_ChangeFlag_CHANGED_VALUE);
  }
  ASSERT_EQ(SetPresetParam(params_.data(), 23, 3.9f), PF_Err_NONE);
  EXPECT_EQ(popup.u.pd.value, 3);
  ASSERT_EQ(SetPresetParam(params_.data(), 6, 1.5f), PF_Err_NONE);
  EXPECT_EQ(slider.u.fs_d.value, 1.5);
  EXPECT_EQ(slider.uu.change_flags, PF_ChangeFlag_CHANGED_VALUE);
}

TEST_F(PresetSetter, RefusesOtherTypesAndMissingArrays) {
  testsupport::ScopedTempDir temp;
  ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), "");
  PF_ParamDef& premultiplied = Def(22, PF_Param_CHECKBOX);
  EXPECT_EQ(SetPresetParam(params_.data(), 22, 1.0f), PF_Err_UNRECOGNIZED_PARAM_TYPE);
  EXPECT_EQ(premultiplied.uu.change_flags, 0);
  EXPECT_EQ(SetPresetParam(nullptr, 22, 1.0f), PF_Err_BAD_CALLBACK_PARAM);
  params_[static_cast<size_t>(FindParamIndexByDiskID(6))] = nullptr;
  EXPECT_EQ(SetPresetParam(params_.data(), 6, 1.0f), PF_Err_BAD_CALLBACK_PARAM);
}

// ---- The store button ---------------------------------------------------------------

TEST_F(AfterEffectsTest, StoreButtonOpensTheStorePage) {
  const auto opened = temp().path() / "opened.txt";
  ScopedEnv opener("DRIFTSMEAR_STORE_OPENER_LOG", opened.string());
  ASSERT_EQ(host().UserChangedParam(Index(24)), PF_Err_NONE);
  EXPECT_EQ(ReadLines(opened), std::vector<std::string>{kStoreURL});

  // Any other parameter opens nothing.
  ASSERT_EQ(host().UserChangedParam(Index(6)), PF_Err_NONE);
  EXPECT_EQ(ReadLines(opened).size(), 1u);
  EXPECT_EQ(store().LiveEffectRefs(), 0u);
}

TEST(StorePage, OpenerCanBeReplaced) {
  std::vector<std::string> urls;
  SetStorePageOpener([&urls](const std::string& url) {
    urls.push_back(url);
    return false;
  });
  EXPECT_FALSE(OpenStorePage());
  SetStorePageOpener({});
  EXPECT_EQ(urls, std::vector<std::string>{kStoreURL});

  testsupport::ScopedTempDir temp;
  const auto opened = temp.path() / "opened.txt";
  ScopedEnv opener("DRIFTSMEAR_STORE_OPENER_LOG", opened.string());
  EXPECT_TRUE(OpenStorePage());
  EXPECT_TRUE(OpenStorePage());
  EXPECT_EQ(ReadLines(opened), (std::vector<std::string>{kStoreURL, kStoreURL}));
}

// ---- Visibility of the store button ------------------------------------------------

TEST_F(AfterEffectsTest, ActivatedEffectHidesTheButtonThroughTheStreamFlag) {
  ASSERT_EQ(host().CallWithParams(PF_Cmd_UPDATE_PARAMS_UI), PF_Err_NONE);
  EXPECT_TRUE(store().StreamHidden(Index(24)));
  const auto changes = store().StreamFlagChanges();
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].index, Index(24));
  EXPECT_EQ(changes[0].flag, static_cast<AEGP_DynStreamFlags>(AEGP_DynStreamFlag_HIDDEN));
  EXPECT_FALSE(changes[0].undoable);
  EXPECT_TRUE(store().UIUpdates().empty());
  EXPECT_EQ(Definition(24).ui_flags & PF_PUI_INVISIBLE, 0);
  EXPECT_EQ(store().LiveEffectRefs(), 0u);
  EXPECT_EQ(store().LiveStreamRefs(), 0u);
}

TEST_F(AfterEffectsTest, UnlicensedEffectShowsTheButton) {
  ScopedEnv unlicensed("DRIFTSMEAR_UNLICENSED", "1");
  ASSERT_EQ(host().CallWithParams(PF_Cmd_UPDATE_PARAMS_UI), PF_Err_NONE);
  EXPECT_FALSE(store().StreamHidden(Index(24)));
  ASSERT_EQ(store().StreamFlagChanges().size(), 1u);
  EXPECT_FALSE(store().StreamFlagChanges()[0].set);
}

TEST_F(AfterEffectsTest, FailingStreamFlagIsReturnedAndReferencesAreDisposed) {
  FailNext("AEGP Dynamic Stream Suite.AEGP_SetDynamicStreamFlag", 1, A_Err_PARAMETER);
  EXPECT_EQ(host().CallWithParams(PF_Cmd_UPDATE_PARAMS_UI), A_Err_PARAMETER);
  EXPECT_FALSE(store().StreamHidden(Index(24)));
  EXPECT_EQ(store().LiveEffectRefs(), 0u);
  EXPECT_EQ(store().LiveStreamRefs(), 0u);
}

TEST_F(PremiereTest, ActivatedEffectHidesTheButtonThroughItsUIFlags) {
  ASSERT_EQ(host().CallWithParams(PF_Cmd_UPDATE_PARAMS_UI), PF_Err_NONE);
  const auto updates = store().UIUpdates();
  ASSERT_EQ(updates.size(), 1u);
  EXPECT_EQ(updates[0].index, Index(24));
  EXPECT_NE(updates[0].def.ui_flags & PF_PUI_INVISIBLE, 0);
  EXPECT_NE(Definition(24).ui_flags & PF_PUI_INVISIBLE, 0);
  EXPECT_TRUE(store().StreamFlagChanges().empty());

  ScopedEnv unlicensed("DRIFTSMEAR_UNLICENSED", "1");
  ASSERT_EQ(host().CallWithParams(PF_Cmd_UPDATE_PARAMS_UI), PF_Err_NONE);
  EXPECT_EQ(Definition(24).ui_flags & PF_PUI_INVISIBLE, 0);
}
