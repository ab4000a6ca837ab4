// Shared fixture of the Drawbot tests: drives a canvas only through the suite
// tables, the way the plug-in does, and checks that every test releases what
// it made.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "common/TestSupport.h"
#include "host/drawbot/DrawbotCanvas.h"
#include "host/drawbot/DrawbotSuites.h"

namespace dshost::testing {

// Releases a Drawbot object when it goes out of scope.
template <class Ref>
class Held {
 public:
  explicit Held(Ref ref) : ref_(ref) {}
  Held(Held&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
  ~Held() {
    if (ref_ != nullptr) DrawbotSupplierSuite()->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(ref_));
  }
  operator Ref() const { return ref_; }
  Ref release() { return std::exchange(ref_, nullptr); }

 private:
  Ref ref_;
};

class DrawbotTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ClearDrawbotFaults();
    ResetDrawbotCallCounters();
    live_before_ = DrawbotLiveObjectCount();
  }
  void TearDown() override {
    ClearDrawbotFaults();
    EXPECT_EQ(DrawbotLiveObjectCount(), live_before_) << "Drawbot objects left unreleased";
  }

  void Open(const DrawbotCanvas& canvas) {
    ASSERT_EQ(suites_.drawbot_suiteP->GetSupplier(canvas.DrawRef(), &supplier_), kSPNoError);
    ASSERT_EQ(suites_.drawbot_suiteP->GetSurface(canvas.DrawRef(), &surface_), kSPNoError);
  }

  Held<DRAWBOT_BrushRef> NewBrush(const DRAWBOT_ColorRGBA& color) {
    DRAWBOT_BrushRef brush = nullptr;
    EXPECT_EQ(suites_.supplier_suiteP->NewBrush(supplier_, &color, &brush), kSPNoError);
    return Held(brush);
  }

  Held<DRAWBOT_FontRef> NewFont(float size) {
    DRAWBOT_FontRef font = nullptr;
    EXPECT_EQ(suites_.supplier_suiteP->NewDefaultFont(supplier_, size, &font), kSPNoError);
    return Held(font);
  }

  Held<DRAWBOT_ImageRef> NewImage(int width, int height, int row_bytes, DRAWBOT_PixelLayout layout, const void* data) {
    DRAWBOT_ImageRef image = nullptr;
    EXPECT_EQ(suites_.supplier_suiteP->NewImageFromBuffer(supplier_, width, height, row_bytes, layout, data, &image),
              kSPNoError);
    return Held(image);
  }

  // A path of these rectangles.
  Held<DRAWBOT_PathRef> NewPath(std::initializer_list<DRAWBOT_RectF32> rects = {}) {
    DRAWBOT_PathRef path = nullptr;
    EXPECT_EQ(suites_.supplier_suiteP->NewPath(supplier_, &path), kSPNoError);
    for (const DRAWBOT_RectF32& rect : rects) EXPECT_EQ(suites_.path_suiteP->AddRect(path, &rect), kSPNoError);
    return Held(path);
  }

  // Fills a rectangle as the plug-in does for its background: a path with one
  // rectangle, filled with a brush.
  SPErr FillRect(const DRAWBOT_RectF32& rect, const DRAWBOT_ColorRGBA& color,
                 DRAWBOT_FillType fill = kDRAWBOT_FillType_Winding) {
    const auto brush = NewBrush(color);
    const auto path = NewPath({rect});
    return suites_.surface_suiteP->FillPath(surface_, brush, path, fill);
  }

  DRAWBOT_Suites suites_ = DrawbotSuiteSet();
  DRAWBOT_SupplierRef supplier_ = nullptr;
  DRAWBOT_SurfaceRef surface_ = nullptr;

 private:
  std::size_t live_before_ = 0;
};

using testsupport::ScopedEnv;

inline ::testing::AssertionResult PixelNear(const DrawbotPixel& actual, const DrawbotPixel& expected, int tolerance = 1) {
  const auto str = [](const DrawbotPixel& p) {
    return "(" + std::to_string(p.r) + "," + std::to_string(p.g) + "," + std::to_string(p.b) + "," + std::to_string(p.a) + ")";
  };
  const auto near = [&](int a, int b) { return std::abs(a - b) <= tolerance; };
  if (near(actual.r, expected.r) && near(actual.g, expected.g) && near(actual.b, expected.b) && near(actual.a, expected.a)) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "pixel " << str(actual) << " expected " << str(expected);
}

}  // namespace dshost::testing
