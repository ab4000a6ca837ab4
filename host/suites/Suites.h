// Each suite family of the host lives in its own file and publishes its
// suites into a runtime's registry here.
#pragma once
#include "AE_EffectCB.h"

namespace dshost {

class HostRuntime;

void PublishHandleSuites(HostRuntime& runtime);
void PublishAnsiSuites(HostRuntime& runtime);

// The utility callbacks handed to the plug-in in PF_InData::utils: handle and
// ANSI members filled, the image-processing members left empty.
const PF_UtilCallbacks* UtilCallbacks();

// Members of the utility callbacks that the suite families fill in.
void FillHandleCallbacks(PF_UtilCallbacks& utils);
void FillAnsiCallbacks(PF_ANSICallbacks& ansi);

}  // namespace dshost
