// Draws the About image shown at the top of Drift Smear's Effect Controls:
// a smeared, red/blue split block motif, the effect's name, the publisher
// and the version, on the panel's own dark grey. Everything is drawn through
// the Drawbot suites, as a plug-in would, and saved as a 250 x 70 RGBA PNG.
//
// The panel draws the image without its alpha, so the image is opaque and its
// background is exactly the panel colour.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/drawbot/DrawbotCanvas.h"
#include "host/drawbot/DrawbotSuites.h"

namespace {

constexpr int kWidth = 250;
constexpr int kHeight = 70;
constexpr DRAWBOT_ColorRGBA kPanel = {0.11f, 0.11f, 0.11f, 1.0f};
constexpr DRAWBOT_ColorRGBA kSplitRed = {1.0f, 0.16f, 0.24f, 1.0f};
constexpr DRAWBOT_ColorRGBA kSplitBlue = {0.15f, 0.55f, 1.0f, 1.0f};

const char* const kBoldFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";

DRAWBOT_ColorRGBA WithAlpha(DRAWBOT_ColorRGBA c, float alpha) {
  c.alpha = alpha;
  return c;
}

void SetFontOverride(const char* path) {
#ifdef _WIN32
  _putenv_s("DRIFTSMEAR_FONT", path != nullptr ? path : "");
#else
  if (path != nullptr) {
    setenv("DRIFTSMEAR_FONT", path, 1);
  } else {
    unsetenv("DRIFTSMEAR_FONT");
  }
#endif
}

class Painter {
 public:
  explicit Painter(const dshost::DrawbotCanvas& canvas) : suites_(dshost::DrawbotSuiteSet()) {
    Check(suites_.drawbot_suiteP->GetSupplier(canvas.DrawRef(), &supplier_), "GetSupplier");
    Check(suites_.drawbot_suiteP->GetSurface(canvas.DrawRef(), &surface_), "GetSurface");
    Check(suites_.surface_suiteP->SetAntiAliasPolicy(surface_, kDRAWBOT_AntiAliasPolicy_High), "SetAntiAliasPolicy");
  }
  ~Painter() {
    for (DRAWBOT_FontRef font : fonts_) suites_.supplier_suiteP->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(font));
  }

  // The default font, or the file given, at a size.
  DRAWBOT_FontRef Font(float size, const char* file = nullptr) {
    SetFontOverride(file);
    DRAWBOT_FontRef font = nullptr;
    Check(suites_.supplier_suiteP->NewDefaultFont(supplier_, size, &font), "NewDefaultFont");
    SetFontOverride(nullptr);
    fonts_.push_back(font);
    return font;
  }

  void Rect(float left, float top, float width, float height, const DRAWBOT_ColorRGBA& color) {
    DRAWBOT_BrushRef brush = nullptr;
    DRAWBOT_PathRef path = nullptr;
    Check(suites_.supplier_suiteP->NewBrush(supplier_, &color, &brush), "NewBrush");
    Check(suites_.supplier_suiteP->NewPath(supplier_, &path), "NewPath");
    const DRAWBOT_RectF32 rect{left, top, width, height};
    Check(suites_.path_suiteP->AddRect(path, &rect), "AddRect");
    Check(suites_.surface_suiteP->FillPath(surface_, brush, path, kDRAWBOT_FillType_Winding), "FillPath");
    Release(path);
    Release(brush);
  }

  // A horizontal streak whose opacity ramps from `alpha_left` to `alpha_right`.
  void Streak(float left, float top, float width, float height, const DRAWBOT_ColorRGBA& color, float alpha_left,
              float alpha_right) {
    const int steps = static_cast<int>(width);
    for (int i = 0; i < steps; ++i) {
      const float t = (static_cast<float>(i) + 0.5f) / static_cast<float>(steps);
      Rect(left + static_cast<float>(i), top, 1.0f, height, WithAlpha(color, alpha_left + (alpha_right - alpha_left) * t));
    }
  }

  void Text(DRAWBOT_FontRef font, const std::u16string& text, float x, float baseline, const DRAWBOT_ColorRGBA& color,
            DRAWBOT_TextAlignment align = kDRAWBOT_TextAlignment_Left) {
    DRAWBOT_BrushRef brush = nullptr;
    Check(suites_.supplier_suiteP->NewBrush(supplier_, &color, &brush), "NewBrush");
    const DRAWBOT_PointF32 origin{x, baseline};
    Check(suites_.surface_suiteP->DrawString(surface_, brush, font, reinterpret_cast<const DRAWBOT_UTF16Char*>(text.c_str()),
                                             &origin, align, kDRAWBOT_TextTruncation_None, 0.0f),
          "DrawString");
    Release(brush);
  }

 private:
  template <class Ref>
  void Release(Ref ref) {
    Check(suites_.supplier_suiteP->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(ref)), "ReleaseObject");
  }

  static void Check(SPErr err, const char* what) {
    if (err != kSPNoError) {
      std::fprintf(stderr, "about_image_generator: %s failed with %d\n", what, static_cast<int>(err));
      std::exit(1);
    }
  }

  DRAWBOT_Suites suites_;
  DRAWBOT_SupplierRef supplier_ = nullptr;
  DRAWBOT_SurfaceRef surface_ = nullptr;
  std::vector<DRAWBOT_FontRef> fonts_;
};

// One row of 8 px macroblocks: first block column, block count, how far the
// row has slipped sideways (the datamosh "drift") and how long its smear is.
struct BlockRow {
  int first;
  int count;
  float slip;
  float smear;
};

void DrawMotif(Painter& p) {
  constexpr float kLeft = 24.0f, kTop = 11.0f, kPitch = 8.0f, kSplit = 2.0f;
  const BlockRow rows[] = {
      {1, 3, 0.0f, 10.0f}, {0, 5, 1.0f, 16.0f}, {0, 5, 4.0f, 22.0f},
      {0, 5, -2.0f, 12.0f}, {0, 5, 0.0f, 18.0f}, {1, 3, 2.0f, 8.0f},
  };
  // Smears trail to the left of each row, alternating the split colours.
  for (int r = 0; r < 6; ++r) {
    const BlockRow& row = rows[r];
    const float x = kLeft + row.slip + static_cast<float>(row.first) * kPitch;
    const float y = kTop + static_cast<float>(r) * kPitch;
    p.Streak(x - row.smear, y + 1.0f, row.smear, kPitch - 2.0f, r % 2 == 0 ? kSplitRed : kSplitBlue, 0.0f, 0.55f);
  }
  // Each row's red and blue copies slipped apart, then its light blocks over
  // them, so the split shows as fringes at the row ends.
  for (int r = 0; r < 6; ++r) {
    const BlockRow& row = rows[r];
    const float x = kLeft + row.slip + static_cast<float>(row.first) * kPitch;
    const float y = kTop + static_cast<float>(r) * kPitch;
    const float width = static_cast<float>(row.count) * kPitch;
    p.Rect(x - kSplit, y, width, kPitch, WithAlpha(kSplitRed, 0.9f));
    p.Rect(x + kSplit, y, width, kPitch, WithAlpha(kSplitBlue, 0.9f));
    for (int c = 0; c < row.count; ++c) {
      const float shade = 0.78f + 0.05f * static_cast<float>((r * 3 + (row.first + c) * 5) % 4);
      p.Rect(x + static_cast<float>(c) * kPitch, y, kPitch, kPitch, {shade, shade, shade + 0.02f, 1.0f});
    }
  }
  // Stray blocks torn off the figure, as a broken stream leaves them.
  p.Rect(kLeft + 45.0f, kTop + 28.0f, 3.0f, 3.0f, WithAlpha(kSplitBlue, 0.85f));
  p.Rect(kLeft - 4.0f, kTop + 41.0f, 3.0f, 3.0f, WithAlpha(kSplitRed, 0.85f));
  p.Rect(kLeft + 43.0f, kTop + 35.0f, 2.0f, 2.0f, {0.85f, 0.85f, 0.87f, 0.8f});
}

void DrawTitle(Painter& p) {
  constexpr float kX = 80.0f, kBaseline = 34.0f;
  DRAWBOT_FontRef title = p.Font(21.0f, kBoldFont);
  DRAWBOT_FontRef small = p.Font(12.0f);
  DRAWBOT_FontRef tiny = p.Font(9.0f);
  // The name with its own colour split: red and blue ghosts either side.
  p.Text(title, u"Drift Smear", kX - 1.5f, kBaseline, WithAlpha(kSplitRed, 0.8f));
  p.Text(title, u"Drift Smear", kX + 1.5f, kBaseline, WithAlpha(kSplitBlue, 0.8f));
  p.Text(title, u"Drift Smear", kX, kBaseline, {0.96f, 0.96f, 0.97f, 1.0f});
  // A hairline that shifts from red to blue under the name, ending in the version.
  constexpr float kRuleWidth = 128.0f;
  for (int i = 0; i < static_cast<int>(kRuleWidth); ++i) {
    const float t = static_cast<float>(i) / kRuleWidth;
    const DRAWBOT_ColorRGBA c{kSplitRed.red + (kSplitBlue.red - kSplitRed.red) * t,
                              kSplitRed.green + (kSplitBlue.green - kSplitRed.green) * t,
                              kSplitRed.blue + (kSplitBlue.blue - kSplitRed.blue) * t, 0.75f * (1.0f - 0.6f * t)};
    p.Rect(kX + static_cast<float>(i), kBaseline + 6.0f, 1.0f, 1.0f, c);
  }
  p.Text(small, u"Quarnbrook Graphics", kX, kBaseline + 20.0f, {0.66f, 0.66f, 0.69f, 1.0f});
  const std::string version = DRIFTSMEAR_VERSION_TEXT;
  p.Text(tiny, u"v" + std::u16string(version.begin(), version.end()), 242.0f, kBaseline + 9.5f,
         {0.50f, 0.50f, 0.54f, 1.0f}, kDRAWBOT_TextAlignment_Right);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string out = argc > 1 ? argv[1] : DRIFTSMEAR_ABOUT_PNG;
  dshost::DrawbotCanvas canvas(kWidth, kHeight, kPanel);
  {
    Painter painter(canvas);
    DrawMotif(painter);
    DrawTitle(painter);
  }
  if (dshost::DrawbotLiveObjectCount() != 0) {
    std::fprintf(stderr, "about_image_generator: Drawbot objects left unreleased\n");
    return 1;
  }
  if (!canvas.SavePng(out)) {
    std::fprintf(stderr, "about_image_generator: cannot write %s\n", out.c_str());
    return 1;
  }
  std::printf("%s\n", out.c_str());
  return 0;
}
