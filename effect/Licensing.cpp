#include "effect/Licensing.h"

#include <cstdlib>

#include "effect/DriftSmear.h"

LicenceState CurrentLicenceState() {
  LicenceState state;
  const char* unlicensed = std::getenv("DRIFTSMEAR_UNLICENSED");
  if (unlicensed != nullptr && *unlicensed != '\0' && !(unlicensed[0] == '0' && unlicensed[1] == '\0')) {
    state.is_activated = false;
  }
  return state;
}

const char* LicenceLine(const LicenceState& state) {
  return state.is_activated ? kRegisteredLicenceLine : kUnregisteredLicenceLine;
}

const char* OptionsButtonLabel(const LicenceState& state) {
  return state.is_activated ? kRegisteredButtonLabel : kUnregisteredButtonLabel;
}

PF_Err LicensingCommandHook(const LicensingCommand& command, PF_InData* in_data, PF_OutData* out_data) {
  if (command.cmd == PF_Cmd_ABOUT) {
    return About(in_data, out_data, CurrentLicenceState());
  }
  return PF_Err_NONE;
}
