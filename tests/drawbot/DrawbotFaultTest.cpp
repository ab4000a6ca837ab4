// Call counting and fault injection: the host can count every Drawbot call
// and make any one of them fail, and a failing call has no effect.
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/drawbot/DrawbotTestSupport.h"

namespace dshost::testing {
namespace {

using DrawbotFaultTest = DrawbotTest;

TEST_F(DrawbotFaultTest, CountsEveryCallByFunction) {
  DrawbotCanvas canvas(10, 10);
  Open(canvas);                              // GetSupplier, GetSurface
  ASSERT_EQ(FillRect({0, 0, 5, 5}, {1, 1, 1, 1}), kSPNoError);  // NewBrush, NewPath, AddRect, FillPath, 2x ReleaseObject
  for (const char* once : {"GetSupplier", "GetSurface", "NewBrush", "NewPath", "AddRect", "FillPath"}) {
    EXPECT_EQ(DrawbotCallCount(once), 1u) << once;
  }
  EXPECT_EQ(DrawbotCallCount("ReleaseObject"), 2u);
  EXPECT_EQ(DrawbotCallCount("DrawString"), 0u);
  EXPECT_EQ(DrawbotTotalCallCount(), 8u);
  EXPECT_EQ(DrawbotCallCounts().size(), 7u);
  EXPECT_EQ(DrawbotFailedCallCount(), 0u);
  ResetDrawbotCallCounters();
  EXPECT_EQ(DrawbotTotalCallCount(), 0u);
  EXPECT_EQ(DrawbotCallCount("FillPath"), 0u);
}

TEST_F(DrawbotFaultTest, NumberedFaultFailsOnlyThatCallAndHasNoEffect) {
  DrawbotCanvas canvas(4, 4);
  Open(canvas);  // calls 1 and 2
  const std::size_t live = DrawbotLiveObjectCount();
  FailDrawbotCallNumber(3);
  const DRAWBOT_ColorRGBA red{1, 0, 0, 1};
  DRAWBOT_BrushRef brush = reinterpret_cast<DRAWBOT_BrushRef>(&canvas);
  EXPECT_EQ(suites_.supplier_suiteP->NewBrush(supplier_, &red, &brush), kDrawbotErrInjected);
  EXPECT_EQ(brush, nullptr);
  EXPECT_EQ(DrawbotLiveObjectCount(), live);
  EXPECT_EQ(suites_.supplier_suiteP->NewBrush(supplier_, &red, &brush), kSPNoError);
  Held brush_hold(brush);
  EXPECT_EQ(DrawbotCallCount("NewBrush"), 2u);
  EXPECT_EQ(DrawbotFailedCallCount(), 1u);
}

TEST_F(DrawbotFaultTest, NamedFaultFailsEveryCallOfThatFunction) {
  DrawbotCanvas canvas(8, 8);
  Open(canvas);
  FailDrawbotCallsNamed("FillPath", 42);
  EXPECT_EQ(FillRect({0, 0, 8, 8}, {1, 0, 0, 1}), 42);
  EXPECT_EQ(FillRect({0, 0, 8, 8}, {1, 0, 0, 1}), 42);
  EXPECT_EQ(canvas.Pixel(3, 3).a, 0);
  ClearDrawbotFaults();
  EXPECT_EQ(FillRect({0, 0, 8, 8}, {1, 0, 0, 1}), kSPNoError);
  EXPECT_EQ(canvas.Pixel(3, 3).a, 255);
  EXPECT_EQ(DrawbotFailedCallCount(), 2u);
}

TEST_F(DrawbotFaultTest, HookSeesEveryCallAndItsExceptionsStayInside) {
  DrawbotCanvas canvas(8, 8);
  std::vector<std::string> seen;
  SetDrawbotFaultHook([&](const DrawbotCall& call) -> SPErr {
    seen.push_back(std::string(call.suite) + "." + call.function + "#" + std::to_string(call.sequence));
    if (std::string(call.function) == "AddRect") throw std::runtime_error("hook failure");
    return std::string(call.function) == "GetSurface" ? SPErr{7} : kSPNoError;
  });
  DRAWBOT_SupplierRef supplier = nullptr;
  DRAWBOT_SurfaceRef surface = nullptr;
  EXPECT_EQ(suites_.drawbot_suiteP->GetSupplier(canvas.DrawRef(), &supplier), kSPNoError);
  EXPECT_EQ(suites_.drawbot_suiteP->GetSurface(canvas.DrawRef(), &surface), 7);
  EXPECT_EQ(surface, nullptr);
  supplier_ = supplier;
  DRAWBOT_PathRef path = nullptr;
  ASSERT_EQ(suites_.supplier_suiteP->NewPath(supplier_, &path), kSPNoError);
  const DRAWBOT_RectF32 r{0, 0, 1, 1};
  EXPECT_EQ(suites_.path_suiteP->AddRect(path, &r), kDrawbotErrInternal);
  SetDrawbotFaultHook(nullptr);
  EXPECT_EQ(suites_.supplier_suiteP->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(path)), kSPNoError);
  EXPECT_EQ(seen, (std::vector<std::string>{"Draw.GetSupplier#1", "Draw.GetSurface#2", "Supplier.NewPath#3",
                                            "Path.AddRect#4"}));
}

}  // namespace
}  // namespace dshost::testing
