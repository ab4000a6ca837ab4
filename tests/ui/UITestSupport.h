// Helpers of the custom-UI tests: a host runtime for calling the static
// library's drawing functions directly, and ways to look at a canvas.
#pragma once
#include <functional>
#include <memory>
#include <string>

#include "AE_EffectUI.h"
#include "effect/GlobalData.h"
#include "host/HostRuntime.h"
#include "host/drawbot/DrawbotCanvas.h"
#include "ui/AboutImage.h"

namespace uitest {

using dshost::DrawbotCanvas;
using dshost::DrawbotPixel;

// Half-open pixel rectangle.
struct Box {
  int left, top, right, bottom;
};

inline constexpr DRAWBOT_ColorRGBA kCanvasColor = {0.0f, 0.0f, 1.0f, 1.0f};  // blue, used by no style

// The panel background (0.11 grey) as an 8-bit pixel.
bool IsBackground(const DrawbotPixel& p);
bool IsCanvasColor(const DrawbotPixel& p);
// Text colours over the dark background, antialiased edges included.
bool IsRed(const DrawbotPixel& p);
bool IsGreen(const DrawbotPixel& p);
bool IsLight(const DrawbotPixel& p);

int CountPixels(const DrawbotCanvas& canvas, const Box& box, const std::function<bool(const DrawbotPixel&)>& test);
// The smallest box holding every pixel that passes; empty (0,0,0,0) when none.
Box BoundsOf(const DrawbotCanvas& canvas, const Box& box, const std::function<bool(const DrawbotPixel&)>& test);
// True when every pixel of the canvas still has the colour it was cleared to.
bool Untouched(const DrawbotCanvas& canvas);

// Compares the canvas at (left, top) with the about image file: every pixel
// opaque with the file's colour (the 32-bit BGR layout ignores alpha).
// Returns the number of pixels off by more than one step in a channel.
int ImageMismatches(const DrawbotCanvas& canvas, int left, int top);

std::string AboutImagePath();

// Calls the static library's handlers with a host runtime of our host: the
// handle, ANSI, effect UI and Drawbot suites, and global data holding the
// about image as global setup makes it.
class StaticUIHost {
 public:
  explicit StaticUIHost(bool withImage = true);
  ~StaticUIHost();
  StaticUIHost(const StaticUIHost&) = delete;
  StaticUIHost& operator=(const StaticUIHost&) = delete;

  // PF_Cmd_EVENT with a draw event; `flags` receives the event out flags.
  PF_Err DrawPanel(DrawbotCanvas& canvas, const PF_Rect& frame, PF_EffectArea area = PF_EA_CONTROL,
                   PF_EventOutFlags* flags = nullptr);
  PF_Err DrawWindow(DrawbotCanvas& canvas, PF_WindowType window = PF_Window_COMP);

  dshost::HostRuntime& runtime() { return runtime_; }
  PF_InData& in_data() { return in_; }
  PF_OutData& out_data() { return out_; }

 private:
  dshost::HostRuntime runtime_;
  dshost::HostScope scope_{runtime_};
  PF_InData in_{};
  PF_OutData out_{};
  std::unique_ptr<AboutImage> image_;
  PF_Handle global_ = nullptr;
};

}  // namespace uitest
