#include "support/NameTables.h"

#include <gtest/gtest.h>

#include "AE_EffectUI.h"

TEST(NameTables, ErrorDescriptionNamesKnownAndUnknownCodes) {
  EXPECT_EQ(ErrorDescription(PF_Err_BAD_CALLBACK_PARAM), "PF_Err_BAD_CALLBACK_PARAM (516)");
  EXPECT_EQ(ErrorDescription(PF_Err_OUT_OF_MEMORY), "PF_Err_OUT_OF_MEMORY (4)");
  EXPECT_EQ(ErrorDescription(PF_Err_CANNOT_PARSE_KEYFRAME_TEXT), "PF_Err_CANNOT_PARSE_KEYFRAME_TEXT (518)");
  EXPECT_EQ(ErrorDescription(13), "PF_Err?UNKNOWN (13)");
  EXPECT_EQ(ErrorDescription(-1), "PF_Err?UNKNOWN (-1)");
  EXPECT_EQ(ErrorNames().size(), 9u);
}

TEST(NameTables, CommandNamesFollowTheSelectorValues) {
  EXPECT_EQ(CommandName(PF_Cmd_ABOUT), "PF_Cmd_ABOUT");
  EXPECT_EQ(CommandName(PF_Cmd_SMART_RENDER), "PF_Cmd_SMART_RENDER");
  EXPECT_EQ(CommandName(PF_Cmd_SMART_RENDER_GPU), "PF_Cmd_SMART_RENDER_GPU");
  EXPECT_EQ(CommandName(PF_Cmd_GPU_DEVICE_SETDOWN), "PF_Cmd_GPU_DEVICE_SETDOWN");
  EXPECT_EQ(CommandName(PF_Cmd_NUM_CMDS), "PF_Cmd_NUM_CMDS");
  // Past the tables, by number.
  EXPECT_EQ(CommandName(35), "PF_Cmd?UNKNOWN (35)");
  EXPECT_EQ(CommandName(-2), "PF_Cmd?UNKNOWN (-2)");
  EXPECT_EQ(CommandName(1000000), "PF_Cmd?UNKNOWN (1000000)");
  EXPECT_EQ(EventName(PF_Event_DRAW), "PF_Event_DRAW");
  EXPECT_EQ(EventName(12), "PF_Event?UNKNOWN (12)");
  EXPECT_EQ(ArbitraryName(10), "PF_Arbitrary_SCAN_FUNC");
  EXPECT_EQ(ArbitraryName(11), "PF_Arbitrary?UNKNOWN (11)");
}
