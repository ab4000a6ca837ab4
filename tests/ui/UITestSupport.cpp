#include "ui/UITestSupport.h"

#include <cstdlib>
#include <cstring>

#include "host/SuiteRegistry.h"
#include "host/HostUI.h"
#include "host/suites/Suites.h"
#include "ui/DriftSmear_UI_Handler.h"

namespace uitest {

namespace {

bool Near(int value, int expected, int tolerance) { return std::abs(value - expected) <= tolerance; }

}  // namespace

bool IsBackground(const DrawbotPixel& p) { return Near(p.r, 28, 1) && Near(p.g, 28, 1) && Near(p.b, 28, 1) && p.a == 255; }

bool IsCanvasColor(const DrawbotPixel& p) { return p.r == 0 && p.g == 0 && p.b == 255 && p.a == 255; }

bool IsRed(const DrawbotPixel& p) { return p.r >= 90 && p.r > p.g + 50 && p.r > p.b + 50; }

bool IsGreen(const DrawbotPixel& p) { return p.g >= 70 && p.g > p.r + 35 && p.g > p.b + 15; }

bool IsLight(const DrawbotPixel& p) {
  return p.r >= 90 && Near(p.r, p.g, 10) && Near(p.g, p.b, 10);
}

int CountPixels(const DrawbotCanvas& canvas, const Box& box, const std::function<bool(const DrawbotPixel&)>& test) {
  int count = 0;
  for (int y = box.top; y < box.bottom; ++y) {
    for (int x = box.left; x < box.right; ++x) {
      count += test(canvas.Pixel(x, y)) ? 1 : 0;
    }
  }
  return count;
}

Box BoundsOf(const DrawbotCanvas& canvas, const Box& box, const std::function<bool(const DrawbotPixel&)>& test) {
  Box bounds{box.right, box.bottom, box.left, box.top};
  bool any = false;
  for (int y = box.top; y < box.bottom; ++y) {
    for (int x = box.left; x < box.right; ++x) {
      if (test(canvas.Pixel(x, y))) {
        any = true;
        bounds.left = std::min(bounds.left, x);
        bounds.top = std::min(bounds.top, y);
        bounds.right = std::max(bounds.right, x + 1);
        bounds.bottom = std::max(bounds.bottom, y + 1);
      }
    }
  }
  return any ? bounds : Box{0, 0, 0, 0};
}

bool Untouched(const DrawbotCanvas& canvas) {
  const DRAWBOT_ColorRGBA& c = canvas.ClearColor();
  DrawbotCanvas fresh(1, 1, c);
  const DrawbotPixel cleared = fresh.Pixel(0, 0);
  return CountPixels(canvas, Box{0, 0, canvas.Width(), canvas.Height()},
                     [&](const DrawbotPixel& p) { return !(p == cleared); }) == 0;
}

std::string AboutImagePath() { return std::string(DRIFTSMEAR_SOURCE_DIR) + "/ui/resources/DriftSmear_About.png"; }

int ImageMismatches(const DrawbotCanvas& canvas, int left, int top) {
  const auto image = DrawbotCanvas::LoadPng(AboutImagePath());
  if (!image) {
    return -1;
  }
  int mismatches = 0;
  for (int y = 0; y < image->Height(); ++y) {
    for (int x = 0; x < image->Width(); ++x) {
      const DrawbotPixel want = image->Pixel(x, y);
      const DrawbotPixel got = canvas.Pixel(left + x, top + y);
      if (!Near(got.r, want.r, 1) || !Near(got.g, want.g, 1) || !Near(got.b, want.b, 1) || got.a != 255) {
        ++mismatches;
      }
    }
  }
  return mismatches;
}

StaticUIHost::StaticUIHost(bool withImage) {
  dshost::PublishHandleSuites(runtime_);
  dshost::PublishAnsiSuites(runtime_);
  dshost::PublishEffectUISuites(runtime_);
  dshost::PublishDrawbotSuites(runtime_);
  in_.pica_basicP = const_cast<SPBasicSuite*>(dshost::SuiteRegistry::BasicSuite());
  in_.utils = const_cast<PF_UtilCallbacks*>(dshost::UtilCallbacks());
  in_.appl_id = 'FXTC';

  GlobalData global{};
  if (withImage) {
    image_ = std::make_unique<AboutImage>();
    if (LoadAboutImage(&in_, image_.get()) == PF_Err_NONE) {
      global.aboutImage = image_.get();
    }
  }
  global_ = runtime_.NewHandle(sizeof(GlobalData));
  std::memcpy(runtime_.LockHandle(global_), &global, sizeof(global));
  runtime_.UnlockHandle(global_);
  in_.global_data = global_;
}

StaticUIHost::~StaticUIHost() {
  if (image_ != nullptr && image_->pixels != nullptr) {
    runtime_.DisposeHandle(image_->pixels);
  }
  runtime_.DisposeHandle(global_);
}

PF_Err StaticUIHost::DrawPanel(DrawbotCanvas& canvas, const PF_Rect& frame, PF_EffectArea area,
                               PF_EventOutFlags* flags) {
  dshost::DrawEventRecord event(canvas, frame, area, 1);
  out_ = PF_OutData{};
  const PF_Err err = HandleEvent(&in_, &out_, nullptr, nullptr, event.get());
  if (flags != nullptr) {
    *flags = event.get()->evt_out_flags;
  }
  return err;
}

PF_Err StaticUIHost::DrawWindow(DrawbotCanvas& canvas, PF_WindowType window) {
  dshost::DrawEventRecord event(canvas, window);
  out_ = PF_OutData{};
  return HandleEvent(&in_, &out_, nullptr, nullptr, event.get());
}

}  // namespace uitest
