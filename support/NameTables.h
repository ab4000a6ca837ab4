// Names of host command, error, event and arbitrary-data selector codes, for
// log lines.
#pragma once
#include <array>
#include <map>
#include <string>

#include "AEConfig.h"
#include "AE_Effect.h"

inline constexpr std::array<const char*, 35> kCommandNames = {
    "PF_Cmd_ABOUT",
    "PF_Cmd_GLOBAL_SETUP",
    "PF_Cmd_UNUSED_0",
    "PF_Cmd_GLOBAL_SETDOWN",
    "PF_Cmd_PARAMS_SETUP",
    "PF_Cmd_SEQUENCE_SETUP",
    "PF_Cmd_SEQUENCE_RESETUP",
    "PF_Cmd_SEQUENCE_FLATTEN",
    "PF_Cmd_SEQUENCE_SETDOWN",
    "PF_Cmd_DO_DIALOG",
    "PF_Cmd_FRAME_SETUP",
    "PF_Cmd_RENDER",
    "PF_Cmd_FRAME_SETDOWN",
    "PF_Cmd_USER_CHANGED_PARAM",
    "PF_Cmd_UPDATE_PARAMS_UI",
    "PF_Cmd_EVENT",
    "PF_Cmd_GET_EXTERNAL_DEPENDENCIES",
    "PF_Cmd_COMPLETELY_GENERAL",
    "PF_Cmd_QUERY_DYNAMIC_FLAGS",
    "PF_Cmd_AUDIO_RENDER",
    "PF_Cmd_AUDIO_SETUP",
    "PF_Cmd_AUDIO_SETDOWN",
    "PF_Cmd_ARBITRARY_CALLBACK",
    "PF_Cmd_SMART_PRE_RENDER",
    "PF_Cmd_SMART_RENDER",
    "PF_Cmd_RESERVED1",
    "PF_Cmd_RESERVED2",
    "PF_Cmd_RESERVED3",
    "PF_Cmd_GET_FLATTENED_SEQUENCE_DATA",
    "PF_Cmd_TRANSLATE_PARAMS_TO_PREFS",
    "PF_Cmd_RESERVED4",
    "PF_Cmd_SMART_RENDER_GPU",
    "PF_Cmd_GPU_DEVICE_SETUP",
    "PF_Cmd_GPU_DEVICE_SETDOWN",
    "PF_Cmd_NUM_CMDS",
};

inline constexpr std::array<const char*, 12> kEventNames = {
    "PF_Event_NEW_CONTEXT", "PF_Event_ACTIVATE",      "PF_Event_DO_CLICK",     "PF_Event_DRAG",
    "PF_Event_DRAW",        "PF_Event_DEACTIVATE",    "PF_Event_CLOSE_CONTEXT", "PF_Event_IDLE",
    "PF_Event_KEYDOWN_OBSOLETE", "PF_Event_ADJUST_CURSOR", "PF_Event_KEYDOWN",  "PF_Event_MOUSE_EXITED",
};

inline constexpr std::array<const char*, 11> kArbitraryNames = {
    "PF_Arbitrary_NEW_FUNC",      "PF_Arbitrary_DISPOSE_FUNC", "PF_Arbitrary_COPY_FUNC",
    "PF_Arbitrary_FLAT_SIZE_FUNC", "PF_Arbitrary_FLATTEN_FUNC", "PF_Arbitrary_UNFLATTEN_FUNC",
    "PF_Arbitrary_INTERP_FUNC",   "PF_Arbitrary_COMPARE_FUNC", "PF_Arbitrary_PRINT_SIZE_FUNC",
    "PF_Arbitrary_PRINT_FUNC",    "PF_Arbitrary_SCAN_FUNC",
};

// Error code to name, ordered by code.
const std::map<PF_Err, std::string>& ErrorNames();

// "<name> (<code>)", or "PF_Err?UNKNOWN (<code>)" for a code the table lacks.
std::string ErrorDescription(PF_Err code);

// The command's name; a selector outside the table is named by its number.
std::string CommandName(PF_Cmd cmd);

// The event's and the arbitrary selector's names, bounds-checked the same way.
std::string EventName(A_long event);
std::string ArbitraryName(A_long selector);
