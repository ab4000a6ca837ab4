// Parameter registration as the host sees it, the lookup by Disk ID, and the
// setup's handling of table-authoring errors.
#include <gtest/gtest.h>

#include <stdexcept>

#include "ParamsTestSupport.h"
#include "params/DriftSmear_Parameters.h"
#include "support/LogsController.h"

using paramstest::AfterEffectsTest;

namespace {

std::string NameOf(const PF_ParamDef& def) { return std::string(def.name); }

}  // namespace

TEST_F(AfterEffectsTest, RegistersTheTableInOrderAndReportsTwentyFiveParameters) {
  EXPECT_EQ(store().AddedCount(), 24u);
  EXPECT_EQ(host().out_data().num_params, 25);

  const std::vector<std::pair<A_long, PF_ParamType>> expected = {
      {1, PF_Param_NO_DATA},      {24, PF_Param_BUTTON},      {23, PF_Param_POPUP},        {2, PF_Param_GROUP_START},
      {3, PF_Param_POPUP},        {4, PF_Param_GROUP_END},    {5, PF_Param_GROUP_START},   {6, PF_Param_FLOAT_SLIDER},
      {7, PF_Param_FLOAT_SLIDER}, {8, PF_Param_FLOAT_SLIDER}, {9, PF_Param_FLOAT_SLIDER},  {10, PF_Param_FLOAT_SLIDER},
      {11, PF_Param_FLOAT_SLIDER}, {12, PF_Param_ANGLE},      {13, PF_Param_FLOAT_SLIDER}, {14, PF_Param_GROUP_END},
      {15, PF_Param_GROUP_START}, {18, PF_Param_FLOAT_SLIDER}, {19, PF_Param_FLOAT_SLIDER}, {20, PF_Param_FLOAT_SLIDER},
      {16, PF_Param_FLOAT_SLIDER}, {17, PF_Param_ANGLE},      {22, PF_Param_CHECKBOX},     {21, PF_Param_GROUP_END}};
  ASSERT_EQ(store().Count(), expected.size() + 1);
  for (size_t i = 0; i < expected.size(); ++i) {
    const PF_ParamDef def = store().Definition(static_cast<PF_ParamIndex>(i + 1));
    EXPECT_EQ(def.uu.id, expected[i].first) << "index " << i + 1;
    EXPECT_EQ(def.param_type, expected[i].second) << "index " << i + 1;
    // The plug-in's own lookup agrees with what the host was told.
    EXPECT_EQ(FindParamIndexByDiskID(expected[i].first), static_cast<int>(i + 1));
  }
}

TEST_F(AfterEffectsTest, PopupsRegisterTheirItemsAndDefaults) {
  const PF_ParamDef preset = Definition(23);
  EXPECT_EQ(preset.u.pd.num_choices, 7);
  EXPECT_EQ(preset.u.pd.dephault, 1);
  EXPECT_EQ(preset.u.pd.value, 1);
  EXPECT_EQ(preset.flags, PF_ParamFlag_SUPERVISE | PF_ParamFlag_CANNOT_TIME_VARY);
  EXPECT_EQ(store().ItemText(Index(23)),
            "\xD1\xA1\xD4\xF1\xD4\xA4\xC9\xE8...|(-|\xC4\xAC\xC8\xCF|\xBE\xAB\xCF\xB8|\xC7\xBF\xC1\xD2|"
            "\xB6\xCF\xD0\xF8|\xC2\xFD\xB6\xAF\xD7\xF7");

  const PF_ParamDef debug = Definition(3);
  EXPECT_EQ(debug.u.pd.num_choices, 5);
  EXPECT_EQ(debug.u.pd.dephault, 1);
  EXPECT_EQ(debug.ui_flags, PF_PUI_INVISIBLE);
  EXPECT_EQ(store().ItemText(Index(3)), "Result|Motion|Displace|FlowMag|Shift");
  EXPECT_EQ(Definition(2).ui_flags, PF_PUI_INVISIBLE);
}

TEST_F(AfterEffectsTest, SlidersRegisterRangesPrecisionsAndDisplayFlags) {
  struct Slider {
    A_long id;
    float min, max, dephault;
    A_short precision;
    A_short displayFlags;
  };
  const Slider sliders[] = {{6, 3, 50, 10, 0, 0},    {7, -100, 100, 1, 0, 0}, {8, 0, 100, 1, 1, 0},
                            {9, 0, 100, 50, 1, 0},   {10, 0, 100, 15, 1, 0x200}, {11, 0, 100, 50, 1, 0x200},
                            {13, 0, 100, 10, 1, 0},  {18, 0, 100, 80, 2, 1},  {19, 0, 100, 20, 2, 1},
                            {20, 0, 100, 10, 2, 1},  {16, 0, 100, 50, 2, 1}};
  for (const Slider& s : sliders) {
    SCOPED_TRACE("Disk ID " + std::to_string(s.id));
    const PF_ParamDef def = Definition(s.id);
    EXPECT_EQ(def.u.fs_d.valid_min, s.min);
    EXPECT_EQ(def.u.fs_d.slider_min, s.min);
    EXPECT_EQ(def.u.fs_d.valid_max, s.max);
    EXPECT_EQ(def.u.fs_d.slider_max, s.max);
    EXPECT_EQ(def.u.fs_d.dephault, s.dephault);
    EXPECT_EQ(def.u.fs_d.value, s.dephault);
    EXPECT_EQ(def.u.fs_d.precision, s.precision);
    EXPECT_EQ(def.u.fs_d.display_flags, s.displayFlags);
    EXPECT_FLOAT_EQ(def.u.fs_d.curve_tolerance, 0.05f);
    // The threshold sliders' 0x200 is a display flag: they stay visible.
    EXPECT_EQ(def.ui_flags, 0);
  }
}

TEST_F(AfterEffectsTest, AnglesCheckboxButtonAndAboutArea) {
  EXPECT_EQ(Definition(12).u.ad.dephault, 2949120);  // 45 degrees in 16.16
  EXPECT_EQ(Definition(12).u.ad.value, 2949120);
  EXPECT_EQ(Definition(17).u.ad.dephault, 0);

  const PF_ParamDef premultiplied = Definition(22);
  EXPECT_EQ(premultiplied.u.bd.value, 1);
  EXPECT_EQ(premultiplied.u.bd.dephault, 1);
  EXPECT_EQ(store().ItemText(Index(22)), "");

  const PF_ParamDef button = Definition(24);
  EXPECT_EQ(NameOf(button), "Remove the X");
  EXPECT_EQ(store().ItemText(Index(24)), "Purchase License");

  // The about image is 250 x 70; without it the area keeps the same size.
  const PF_ParamDef about = Definition(1);
  EXPECT_EQ(NameOf(about), "About");
  EXPECT_EQ(about.ui_flags, PF_PUI_CONTROL | PF_PUI_DONT_ERASE_CONTROL);
  EXPECT_EQ(about.ui_width, 250);
  EXPECT_EQ(about.ui_height, 90);
  ASSERT_TRUE(store().CustomUI().has_value());
  EXPECT_EQ(store().CustomUI()->events, PF_CustomEFlag_EFFECT | PF_CustomEFlag_LAYER | PF_CustomEFlag_COMP);
  EXPECT_EQ(store().RegisterUICount(), 1);
}

TEST_F(AfterEffectsTest, AFailingHostCallStopsTheSetupWithItsCode) {
  FailNext("inter.add_param", 5, PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(host().Call(PF_Cmd_PARAMS_SETUP), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(store().AddedCount(), 4u);
  EXPECT_EQ(host().out_data().num_params, 0);
  // The custom UI is registered before any parameter.
  FailNext("inter.register_ui", 1, PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(host().Call(PF_Cmd_PARAMS_SETUP), PF_Err_INTERNAL_STRUCT_DAMAGED);
  EXPECT_EQ(store().AddedCount(), 0u);
}

// Positions 1..24 are checked with the registration above.
TEST(ParameterLookup, FindsTheInputAndRefusesUnknownDiskIds) {
  EXPECT_EQ(FindParamIndexByDiskID(0), 0);
  for (int id : {25, -1}) {
    try {
      FindParamIndexByDiskID(id);
      ADD_FAILURE() << "Disk ID " << id << " was found";
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(e.what(), "Parameter with given Disk ID not found");
    }
  }
}

// Registration of hand-made tables through the plug-in code linked into the
// test, served by a host's callbacks.
class TableAuthoringTest : public ::testing::Test, public paramstest::EffectFixture {
 protected:
  void SetUp() override { ASSERT_EQ(LoggerInit("com.qrn.driftsmear", "Quarnbrook Graphics"), ""); }

  PF_Err Register(const std::vector<ParamDescriptor>& table) {
    dshost::HostScope scope(host().runtime());
    store().Reset();
    out_ = PF_OutData{};
    return RegisterParameters(&host().in_data(), &out_, table, 250, 70);
  }

  // The text of the failed check, or "<no failure>".
  std::string FailedCheck(const std::vector<ParamDescriptor>& table) {
    try {
      Register(table);
    } catch (const std::logic_error& e) {
      return e.what();
    }
    return "<no failure>";
  }

  PF_OutData out_{};
};

TEST_F(TableAuthoringTest, MissingOrMistypedFieldsFailTheirChecks) {
  const ParamDescriptor slider{.id = 6, .type = kParamFloatSlider, .name = "s", .defaultValue = 1.0f,
                               .min = 0.0f, .max = 1.0f, .precision = 1, .uiFlags = 0, .flags = 0};
  ParamDescriptor noItems{.id = 3, .type = kParamPopup, .name = "p", .defaultValue = 1, .flags = 0};
  EXPECT_EQ(FailedCheck({noItems}), "param.value.has_value()");

  ParamDescriptor numberItems = noItems;
  numberItems.value = 4;
  EXPECT_EQ(FailedCheck({numberItems}), "std::holds_alternative<std::string>(param.value.value())");

  ParamDescriptor floatDefault = noItems;
  floatDefault.value = std::string("a|b");
  floatDefault.defaultValue = 1.0f;
  EXPECT_EQ(FailedCheck({floatDefault}), "std::holds_alternative<int>(param.defaultValue)");

  ParamDescriptor noPrecision = slider;
  noPrecision.precision.reset();
  EXPECT_EQ(FailedCheck({noPrecision}), "param.precision.has_value()");

  ParamDescriptor boolCheckbox{.id = 22, .type = kParamCheckbox, .name = "c", .defaultValue = 1, .flags = 0};
  EXPECT_EQ(FailedCheck({boolCheckbox}), "std::holds_alternative<bool>(param.defaultValue)");

  EXPECT_EQ(FailedCheck({slider}), "<no failure>");
}

TEST_F(TableAuthoringTest, UnknownKindsAreLoggedAndSkipped) {
  const ParamDescriptor group{.id = 5, .type = kParamGroupStart, .name = "g", .uiFlags = 0, .flags = 0};
  std::vector<ParamDescriptor> table = {group};
  for (int32_t kind : {6, 9, 10, 11, 42}) {
    table.push_back(ParamDescriptor{.id = 100 + kind, .type = kind, .name = "unused"});
  }
  table.push_back(ParamDescriptor{.id = 7, .type = kParamGroupEnd, .name = "e", .uiFlags = 0, .flags = 0});

  EXPECT_EQ(Register(table), PF_Err_NONE);
  EXPECT_EQ(store().AddedCount(), 2u);
  EXPECT_EQ(out_.num_params, static_cast<A_long>(table.size()));
  const auto lines = ErrorLines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_NE(lines[0].find("ERROR [DriftSmear_Parameters.cpp:"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find(":ParamsSetup] :: Unimplemented parameter: 6, name: , id: 106"), std::string::npos)
      << lines[0];
  EXPECT_NE(lines[4].find("Unimplemented parameter: 42, name: , id: 142"), std::string::npos) << lines[4];
}
