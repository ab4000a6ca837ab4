// Each suite family of the host lives in its own file and publishes its
// suites into a runtime's registry here.
#pragma once
#include "AE_EffectCB.h"

namespace dshost {

class HostRuntime;

void PublishHandleSuites(HostRuntime& runtime);
void PublishAnsiSuites(HostRuntime& runtime);
// "PF Effect Custom UI Suite" 1 and "PF Effect UI Suite" 1.
void PublishEffectUISuites(HostRuntime& runtime);
// "PF Pixel Format Suite" 1.
void PublishPixelFormatSuites(HostRuntime& runtime);
// The Drawbot suites of host/drawbot, every version the host offers.
void PublishDrawbotSuites(HostRuntime& runtime);
// "AEGP Utility Suite" 7, "AEGP PF Interface Suite" 1, "AEGP Stream Suite" 10,
// "AEGP Dynamic Stream Suite" 5 and "AEGP Effect Suite" 2 and 4.
void PublishAegpSuites(HostRuntime& runtime);
// "PF Param Utils Suite" 3.
void PublishParamUtilsSuites(HostRuntime& runtime);
// "PF GPU Device Suite" 1: the host's GPU devices and GPU worlds.
void PublishGpuDeviceSuites(HostRuntime& runtime);
// "PF World Suite" 2: CPU worlds and the pixel format of every world.
void PublishWorldSuites(HostRuntime& runtime);

// The parameter members of in_data->inter: checkout_param, checkin_param,
// add_param and register_ui, served by the host's parameter store.
void FillParamCallbacks(PF_InteractCallbacks& inter);

// The utility callbacks handed to the plug-in in PF_InData::utils: handle and
// ANSI members filled, the image-processing members left empty.
const PF_UtilCallbacks* UtilCallbacks();

// Members of the utility callbacks that the suite families fill in.
void FillHandleCallbacks(PF_UtilCallbacks& utils);
void FillAnsiCallbacks(PF_ANSICallbacks& ansi);

}  // namespace dshost
