// EffectHost: registration through the module's PluginDataEntryFunction and
// the custom-UI draw events of the Effect Controls panel and the
// Composition and Layer windows.
#include "host/EffectHost.h"
#include "host/drawbot/DrawbotCanvas.h"

namespace dshost {

DrawEventRecord::DrawEventRecord(const DrawbotCanvas& canvas, PF_WindowType window) {
  context_.magic = PF_CONTEXT_MAGIC;
  context_.w_type = window;
  context_.reserved_drawref = canvas.DrawRef();
  contextPtr_ = &context_;
  extra_.contextH = &contextPtr_;
  extra_.e_type = PF_Event_DRAW;
  extra_.u.draw.update_rect = PF_Rect{0, 0, canvas.Width(), canvas.Height()};
  extra_.u.draw.depth = 32;
  extra_.evt_in_flags = PF_EI_NONE;
  extra_.evt_out_flags = PF_EO_NONE;
}

DrawEventRecord::DrawEventRecord(const DrawbotCanvas& canvas, const PF_Rect& controlFrame, PF_EffectArea area,
                                 PF_ParamIndex index)
    : DrawEventRecord(canvas, PF_Window_EFFECT) {
  extra_.u.draw.update_rect = controlFrame;
  extra_.effect_win.index = index;
  extra_.effect_win.area = area;
  extra_.effect_win.current_frame = controlFrame;
  // The parameter's name sits in a title strip left of the control area.
  extra_.effect_win.param_title_frame = PF_Rect{0, controlFrame.top, controlFrame.left, controlFrame.bottom};
}

RegistrationResult EffectHost::Register() {
  HostScope scope(runtime_);
  return RegisterEffects(module_, app_ == HostApp::Premiere);
}

PF_Err EffectHost::SendDrawEvent(PF_EventExtra& extra) {
  const PF_Err err = CallWithParams(PF_Cmd_EVENT, &extra);
  lastEventOutFlags_ = extra.evt_out_flags;
  return err;
}

PF_Err EffectHost::DrawEffectControls(DrawbotCanvas& canvas, const PF_Rect& controlFrame, PF_EffectArea area,
                                      std::optional<PF_ParamIndex> index) {
  if (!index) {
    // The parameter that asked for a custom control area; the input layer
    // when none did.
    index = 0;
    for (size_t i = 1; i < parameters_.Count(); ++i) {
      if ((parameters_.Definition(static_cast<PF_ParamIndex>(i)).ui_flags & PF_PUI_CONTROL) != 0) {
        index = static_cast<PF_ParamIndex>(i);
        break;
      }
    }
  }
  DrawEventRecord event(canvas, controlFrame, area, *index);
  return SendDrawEvent(*event.get());
}

PF_Err EffectHost::DrawCompositionWindow(DrawbotCanvas& canvas, PF_WindowType window) {
  DrawEventRecord event(canvas, window);
  return SendDrawEvent(*event.get());
}

}  // namespace dshost
