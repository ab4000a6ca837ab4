// The licensing component: the licence state that feeds the kernels'
// watermark switch and the About text, the per-command hook the entry point
// calls first, and the store page.
#pragma once
#include "AEConfig.h"
#include "AE_Effect.h"

struct LicenceState {
  bool is_activated = true;
};

// The state of this process. Activated unless the environment variable
// DRIFTSMEAR_UNLICENSED is set to a non-empty value other than "0", which
// tests and the command-line renderer use to see the unregistered behaviour.
LicenceState CurrentLicenceState();

// The licence line of the About text.
const char* LicenceLine(const LicenceState& state);

// The first label of the Effect Controls options button, given at global
// setup under After Effects.
const char* OptionsButtonLabel(const LicenceState& state);

inline constexpr const char* kRegisteredLicenceLine = "Registered copy. Thank you!";
inline constexpr const char* kUnregisteredLicenceLine = "Unregistered copy. Purchase a licence to remove the X.";
inline constexpr const char* kRegisteredButtonLabel = "Licence";
inline constexpr const char* kUnregisteredButtonLabel = "Activate";
inline constexpr const char* kStoreURL = "https://quarnbrook-graphics.example/store";

// What the entry point tells the hook about a call.
struct LicensingCommand {
  const char* effectName;
  PF_Cmd cmd;
};

// Answers PF_Cmd_ABOUT by calling About and returns PF_Err_NONE for every
// other selector.
PF_Err LicensingCommandHook(const LicensingCommand& command, PF_InData* in_data, PF_OutData* out_data);
