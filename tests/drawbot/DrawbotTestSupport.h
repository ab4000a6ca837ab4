// Shared fixture of the Drawbot tests: drives a canvas only through the suite
// tables, the way the plug-in does, and checks that every test releases what
// it made.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "host/drawbot/DrawbotCanvas.h"
#include "host/drawbot/DrawbotSuites.h"

namespace dshost::testing {

// Releases a Drawbot object when it goes out of scope.
class Held {
 public:
  Held() = default;
  template <class Ref>
  explicit Held(Ref ref) : ref_(reinterpret_cast<DRAWBOT_ObjectRef>(ref)) {}
  ~Held() {
    if (ref_ != nullptr) DrawbotSupplierSuite()->ReleaseObject(ref_);
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

 private:
  DRAWBOT_ObjectRef ref_ = nullptr;
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

  DRAWBOT_BrushRef NewBrush(const DRAWBOT_ColorRGBA& color) {
    DRAWBOT_BrushRef brush = nullptr;
    EXPECT_EQ(suites_.supplier_suiteP->NewBrush(supplier_, &color, &brush), kSPNoError);
    return brush;
  }

  DRAWBOT_FontRef NewFont(float size) {
    DRAWBOT_FontRef font = nullptr;
    EXPECT_EQ(suites_.supplier_suiteP->NewDefaultFont(supplier_, size, &font), kSPNoError);
    return font;
  }

  // Fills a rectangle as the plug-in does for its background: a path with one
  // rectangle, filled with a brush.
  SPErr FillRect(const DRAWBOT_RectF32& rect, const DRAWBOT_ColorRGBA& color,
                 DRAWBOT_FillType fill = kDRAWBOT_FillType_Winding) {
    DRAWBOT_BrushRef brush = NewBrush(color);
    Held brush_hold(brush);
    DRAWBOT_PathRef path = nullptr;
    EXPECT_EQ(suites_.supplier_suiteP->NewPath(supplier_, &path), kSPNoError);
    Held path_hold(path);
    EXPECT_EQ(suites_.path_suiteP->AddRect(path, &rect), kSPNoError);
    return suites_.surface_suiteP->FillPath(surface_, brush, path, fill);
  }

  DRAWBOT_Suites suites_ = DrawbotSuiteSet();
  DRAWBOT_SupplierRef supplier_ = nullptr;
  DRAWBOT_SurfaceRef surface_ = nullptr;

 private:
  std::size_t live_before_ = 0;
};

// Sets an environment variable for the lifetime of the object.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) {
      had_old_ = true;
      old_ = old;
    }
    Set(value);
  }
  ~ScopedEnv() {
    if (had_old_) {
      Set(old_);
    } else {
#ifdef _WIN32
      _putenv_s(name_.c_str(), "");
#else
      unsetenv(name_.c_str());
#endif
    }
  }

 private:
  void Set(const std::string& value) {
#ifdef _WIN32
    _putenv_s(name_.c_str(), value.c_str());
#else
    setenv(name_.c_str(), value.c_str(), 1);
#endif
  }
  std::string name_;
  std::string old_;
  bool had_old_ = false;
};

inline ::testing::AssertionResult PixelNear(const DrawbotPixel& actual, const DrawbotPixel& expected, int tolerance = 1) {
  auto diff = [](int a, int b) { return a > b ? a - b : b - a; };
  if (diff(actual.r, expected.r) <= tolerance && diff(actual.g, expected.g) <= tolerance &&
      diff(actual.b, expected.b) <= tolerance && diff(actual.a, expected.a) <= tolerance) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "pixel (" << int(actual.r) << "," << int(actual.g) << "," << int(actual.b)
                                       << "," << int(actual.a) << ") expected (" << int(expected.r) << ","
                                       << int(expected.g) << "," << int(expected.b) << "," << int(expected.a) << ")";
}

}  // namespace dshost::testing
