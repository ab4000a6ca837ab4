#include "host/EffectHost.h"

#include "host/suites/Suites.h"

namespace dshost {

EffectHost::EffectHost(const std::string& modulePath, HostApp app)
    : app_(app), module_(modulePath), entry_(module_.EffectMain()) {
  PublishHandleSuites(runtime_);
  PublishAnsiSuites(runtime_);
  PublishEffectUISuites(runtime_);
  PublishPixelFormatSuites(runtime_);
  PublishDrawbotSuites(runtime_);
  PublishAegpSuites(runtime_);
  PublishParamUtilsSuites(runtime_);
  PublishGpuDeviceSuites(runtime_);
  PublishWorldSuites(runtime_);
  // Premiere's pixel format suite reports the worlds of the GPU side in their
  // own formats.
  ui_.SetWorldPixelFormatResolver([this](const PF_EffectWorld& world, PrPixelFormat* format) {
    return gpu_.PremierePixelFormat(world, format);
  });
  FillParamCallbacks(inData_.inter);

  inData_.utils = const_cast<PF_UtilCallbacks*>(UtilCallbacks());
  inData_.effect_ref = effect_ref();
  inData_.quality = 0;
  inData_.version = PF_SpecVersion{PF_AE_PLUG_IN_VERSION, PF_AE_PLUG_IN_SUBVERS};
  inData_.appl_id = app == HostApp::Premiere ? kPremiereApplId : kAfterEffectsApplId;
  inData_.current_time = 0;
  inData_.time_step = 1;
  inData_.time_scale = 25;
  inData_.local_time_step = 1;
  inData_.field = PF_Field_FRAME;
  inData_.downsample_x = PF_RationalScale{1, 1};
  inData_.downsample_y = PF_RationalScale{1, 1};
  inData_.pixel_aspect_ratio = PF_RationalScale{1, 1};
  inData_.pica_basicP = const_cast<SPBasicSuite*>(SuiteRegistry::BasicSuite());
}

EffectHost::~EffectHost() = default;

PF_Err EffectHost::CallOn(PF_Cmd cmd, PF_InData& in, PF_OutData& out, PF_ParamDef* params[], PF_LayerDef* output,
                          void* extra) {
  HostScope scope(runtime_);
  runtime_.faults().Hit("EffectMain");
  out = PF_OutData{};
  out.global_data = globalData_;
  in.global_data = globalData_;
  return entry_(cmd, &in, &out, params, output, extra);
}

PF_Err EffectHost::Call(PF_Cmd cmd, PF_ParamDef* params[], PF_LayerDef* output, void* extra) {
  if (cmd == PF_Cmd_PARAMS_SETUP) {
    parameters_.Reset();
  }
  const PF_Err err = CallOn(cmd, inData_, outData_, params, output, extra);
  if (cmd == PF_Cmd_GLOBAL_SETUP) {
    globalData_ = outData_.global_data;
  } else if (cmd == PF_Cmd_GLOBAL_SETDOWN) {
    globalData_ = nullptr;
  } else if (cmd == PF_Cmd_PARAMS_SETUP && err == PF_Err_NONE) {
    inData_.num_params = outData_.num_params;
  }
  return err;
}

ParamArray EffectHost::ParamsArray(std::optional<A_long> time) {
  return parameters_.MakeParamArray(time.value_or(inData_.current_time), inData_.time_scale);
}

PF_Err EffectHost::CallWithParams(PF_Cmd cmd, void* extra, PF_LayerDef* output) {
  ParamArray params = ParamsArray();
  const PF_Err err = Call(cmd, params.data(), output, extra);
  parameters_.ReadBack(params, inData_.current_time, inData_.time_scale);
  return err;
}

PF_Err EffectHost::UserChangedParam(PF_ParamIndex index) {
  PF_UserChangedParamExtra extra{index};
  return CallWithParams(PF_Cmd_USER_CHANGED_PARAM, &extra);
}

}  // namespace dshost
