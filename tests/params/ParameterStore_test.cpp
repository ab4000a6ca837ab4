// The host's parameter store: values over time, read-back of changed values,
// checkout bookkeeping and the callbacks' guard against a foreign effect.
#include <gtest/gtest.h>


#include "ParamsTestSupport.h"
#include "host/HostRuntime.h"
#include "host/ParameterStore.h"

namespace {

class StoreTest : public ::testing::Test {
 protected:
  StoreTest() : store_(runtime_, reinterpret_cast<PF_ProgPtr>(this)) {}

  PF_ParamIndex AddSlider(A_long id, double value) {
    PF_ParamDef def{};
    def.param_type = PF_Param_FLOAT_SLIDER;
    def.uu.id = id;
    def.u.fs_d.value = value;
    EXPECT_EQ(store_.Add(-1, def), PF_Err_NONE);
    return static_cast<PF_ParamIndex>(store_.Count() - 1);
  }

  PF_ParamIndex AddPopup(A_long id, const char* items, A_long value) {
    PF_ParamDef def{};
    def.param_type = PF_Param_POPUP;
    def.uu.id = id;
    def.u.pd.value = value;
    def.u.pd.u.namesptr = items;
    EXPECT_EQ(store_.Add(-1, def), PF_Err_NONE);
    return static_cast<PF_ParamIndex>(store_.Count() - 1);
  }

  dshost::HostRuntime runtime_;
  dshost::ParameterStore store_;
};

}  // namespace

TEST_F(StoreTest, SlidersInterpolateAndPopupsHoldBetweenKeyframes) {
  const PF_ParamIndex slider = AddSlider(6, 10.0);
  const PF_ParamIndex popup = AddPopup(23, "a|b|c", 1);
  EXPECT_EQ(store_.Value(slider), 10.0);

  store_.SetKeyframe(slider, 0, 25, 10.0);
  store_.SetKeyframe(slider, 250, 25, 11.0);
  EXPECT_DOUBLE_EQ(store_.Value(slider, 225, 25), 10.9);
  EXPECT_DOUBLE_EQ(store_.ValueAt(slider, 225, 25).u.fs_d.value, 10.9);
  EXPECT_EQ(store_.Value(slider, -25, 25), 10.0);
  EXPECT_EQ(store_.Value(slider, 500, 25), 11.0);

  store_.SetKeyframe(popup, 0, 1, 1.0);
  store_.SetKeyframe(popup, 10, 1, 3.0);
  EXPECT_EQ(store_.ValueAt(popup, 9, 1).u.pd.value, 1);
  EXPECT_EQ(store_.ValueAt(popup, 10, 1).u.pd.value, 3);

  store_.SetValue(slider, 4.0);
  EXPECT_EQ(store_.KeyframeCount(slider), 0u);
  EXPECT_EQ(store_.Value(slider, 225, 25), 4.0);
}

TEST_F(StoreTest, ReadBackTakesOnlyMarkedValues) {
  const PF_ParamIndex constant = AddSlider(6, 10.0);
  const PF_ParamIndex keyed = AddSlider(7, 1.0);
  const PF_ParamIndex unmarked = AddSlider(8, 2.0);
  store_.SetKeyframe(keyed, 0, 1, 1.0);

  dshost::ParamArray params = store_.MakeParamArray(5, 1);
  ASSERT_EQ(params.size(), 4u);
  for (size_t i = 0; i < params.size(); ++i) EXPECT_EQ(params[i]->uu.change_flags, 0);
  params[static_cast<size_t>(constant)]->u.fs_d.value = 20.0;
  params[static_cast<size_t>(constant)]->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
  params[static_cast<size_t>(keyed)]->u.fs_d.value = 3.0;
  params[static_cast<size_t>(keyed)]->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;
  params[static_cast<size_t>(unmarked)]->u.fs_d.value = 99.0;

  EXPECT_EQ(store_.ReadBack(params, 5, 1), (std::vector<PF_ParamIndex>{constant, keyed}));
  EXPECT_EQ(store_.Value(constant), 20.0);
  EXPECT_EQ(store_.KeyframeCount(keyed), 2u);
  EXPECT_EQ(store_.Value(keyed, 5, 1), 3.0);
  EXPECT_EQ(store_.Value(unmarked), 2.0);
}

TEST_F(StoreTest, KeepsItsOwnCopyOfItemTextsAndChecksIndices) {
  std::string items = "one|two";
  PF_ParamDef def{};
  def.param_type = PF_Param_POPUP;
  def.u.pd.u.namesptr = items.c_str();
  EXPECT_EQ(store_.Add(5, def), PF_Err_INVALID_INDEX);
  ASSERT_EQ(store_.Add(1, def), PF_Err_NONE);
  items.assign("overwritten");
  EXPECT_STREQ(store_.Definition(1).u.pd.u.namesptr, "one|two");

  PF_ParamDef out{};
  EXPECT_EQ(store_.Checkout(2, 0, 1, 1, &out), PF_Err_INVALID_INDEX);
  ASSERT_EQ(store_.Checkout(1, 0, 1, 1, &out), PF_Err_NONE);
  EXPECT_EQ(store_.OutstandingCheckouts(), 1);
  PF_ParamDef stranger{};
  EXPECT_EQ(store_.Checkin(&stranger), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(store_.Checkin(&out), PF_Err_NONE);
  EXPECT_EQ(store_.Checkin(&out), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(store_.OutstandingCheckouts(), 0);
}

TEST_F(StoreTest, StreamsBelongToLiveEffects) {
  AddSlider(6, 1.0);
  AEGP_EffectRefH effect = store_.NewEffectRef(7);
  AEGP_StreamRefH stream = store_.NewStreamRef(effect, 1);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(store_.NewStreamRef(effect, 9), nullptr);
  EXPECT_EQ(store_.SetStreamFlag(stream, AEGP_DynStreamFlag_HIDDEN, false, true), PF_Err_NONE);
  EXPECT_TRUE(store_.StreamHidden(1));
  EXPECT_EQ(store_.DisposeStreamRef(stream), PF_Err_NONE);
  EXPECT_EQ(store_.SetStreamFlag(stream, AEGP_DynStreamFlag_HIDDEN, false, false), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(store_.DisposeEffectRef(effect), PF_Err_NONE);
  EXPECT_EQ(store_.DisposeEffectRef(effect), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(store_.NewStreamRef(effect, 1), nullptr);
}

TEST(ParamCallbacks, RefuseAnotherEffectAndCallsOutsideACommand) {
  dshost::EffectHost host(DRIFTSMEAR_MODULE_PATH);
  const PF_InteractCallbacks& inter = host.in_data().inter;
  PF_ParamDef def{};
  def.param_type = PF_Param_GROUP_START;
  // Outside a command no host is current.
  EXPECT_EQ(inter.add_param(host.effect_ref(), -1, &def), PF_Err_BAD_CALLBACK_PARAM);

  dshost::HostScope scope(host.runtime());
  int other = 0;
  EXPECT_EQ(inter.add_param(reinterpret_cast<PF_ProgPtr>(&other), -1, &def), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(inter.add_param(host.effect_ref(), -1, nullptr), PF_Err_BAD_CALLBACK_PARAM);
  EXPECT_EQ(inter.add_param(host.effect_ref(), -1, &def), PF_Err_NONE);
  EXPECT_EQ(host.parameters().AddedCount(), 1u);
}
