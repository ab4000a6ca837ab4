// panel: the effect's custom area of the Effect Controls panel, drawn by the
// effect into our host's Drawbot canvas and saved as a PNG. With a GPU the
// effect first renders one small frame, so the panel shows the GPU line it
// shows in After Effects once a render has named the device.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>

#include "host/EffectDiskIds.h"
#include "host/FrameSource.h"
#include "host/HostError.h"
#include "host/drawbot/DrawbotCanvas.h"
#include "host/gpu/GpuDevice.h"
#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/Commands.h"
#include "tools/driftsmear/Console.h"
#include "tools/driftsmear/Effect.h"
#include "tools/driftsmear/Text.h"

namespace driftsmear {

namespace fs = std::filesystem;

namespace {

using dshost::kAboutDiskId;
// The margin around the area, and the panel's background in After Effects'
// default dark interface.
constexpr int kMargin = 8;
constexpr DRAWBOT_ColorRGBA kPanelColor = {0.137f, 0.137f, 0.137f, 1.0f};

void DrawAndSave(dshost::EffectHost& host, const fs::path& output, const std::string& outputText) {
  const PF_ParamIndex index = host.parameters().IndexOfDiskId(kAboutDiskId);
  if (index < 0) {
    throw CliError(kExitModule, "the effect registered no custom Effect Controls area");
  }
  const PF_ParamDef def = host.parameters().Definition(index);
  const int width = def.ui_width > 0 ? def.ui_width : 250;
  const int height = def.ui_height > 0 ? def.ui_height : 90;
  dshost::DrawbotCanvas canvas(width + 2 * kMargin, height + 2 * kMargin, kPanelColor);
  const PF_Rect frame = {kMargin, kMargin, kMargin + width, kMargin + height};
  const PF_Err err = host.DrawEffectControls(canvas, frame, PF_EA_CONTROL, index);
  if (err != PF_Err_NONE) {
    throw CliError(kExitRender, "the effect failed to draw its Effect Controls area (error " + std::to_string(err) +
                                    ")");
  }
  // Written beside the output under a name of this run's own and renamed, so
  // the name never holds half a PNG and two runs to one name never share a
  // file.
  fs::path partial = output;
  partial += "." + std::to_string(std::random_device{}()) + ".part";
  if (!canvas.SavePng(PathToUtf8(partial))) {
    std::error_code ignored;
    fs::remove(partial, ignored);
    throw CliError(kExitOutput, "cannot write " + outputText);
  }
  std::error_code error;
  fs::rename(partial, output, error);
  if (error) {
    fs::remove(partial, error);
    throw CliError(kExitOutput, "cannot write " + outputText + ": " + error.message());
  }
}

}  // namespace

int RunPanel(const Options& options) {
  const fs::path output = PathFromUtf8(*options.output);
  if (Lower(PathToUtf8(output.extension())) != ".png") {
    throw CliError(kExitOutput, "panel writes a PNG: name the output FILE.png, not " + *options.output);
  }
  std::error_code error;
  if (fs::exists(output, error) && !options.overwrite) {
    throw CliError(kExitOutput, *options.output + " exists (pass -y to overwrite)");
  }
  const std::string modulePath = ResolveModulePath(options.module);
  CheckModule(modulePath);
  const dshost::HostApp app = HostAppOf(options.host);

  if (dshost::EnumerateGpuDevices().empty()) {
    if (!options.quiet) {
      std::fprintf(stderr, "driftsmear: warning: %s; the panel shows no GPU line\n", NoDeviceMessage().c_str());
    }
    SetUpEffect effect(modulePath, app);
    DrawAndSave(effect.host(), output, *options.output);
  } else {
    const uint32_t device = ChooseDevice(options.device);
    std::unique_ptr<dshost::RenderSession> session = OpenSession(modulePath, app, device);
    dshost::InMemoryClip clip(64, 36);
    clip.AddFrame(dshost::makeImage(64, 36, 0.2f, 0.2f, 0.2f, 1.0f));
    try {
      session->RenderFrame(clip, 0);
    } catch (const dshost::HostError& failure) {
      throw CliError(kExitRender, std::string("the effect failed to render on the device: ") + failure.what());
    }
    DrawAndSave(session->host(), output, *options.output);
  }
  if (!options.quiet) {
    std::printf("Panel: %s\n", options.output->c_str());
  }
  return kExitOk;
}

}  // namespace driftsmear
