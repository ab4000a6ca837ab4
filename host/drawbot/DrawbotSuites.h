// The host's Drawbot suites: function tables to publish through the basic
// suite, and the instruments a test host needs around them (per-function call
// counters, fault injection, a count of objects the plug-in has not released).
//
// Counters and faults are process-wide: every canvas shares them, as every
// plug-in call goes through the same tables.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "adobesdk/DrawbotSuite.h"

namespace dshost {

// Errors the suites answer with (all non-zero, as the plug-in only tests
// for kSPNoError). The first two carry the values of the matching SP codes.
inline constexpr SPErr kDrawbotErrBadParameter = 0x5061726D;  // 'Parm': null, stale or wrongly typed argument
inline constexpr SPErr kDrawbotErrOutOfMemory = -108;         // allocation failed
inline constexpr SPErr kDrawbotErrNoFont = 0x466F6E74;        // 'Font': no font file could be read
inline constexpr SPErr kDrawbotErrInternal = 0x21496E74;      // '!Int': unexpected failure inside the host
inline constexpr SPErr kDrawbotErrInjected = 0x496E6A21;      // 'Inj!': default code of an injected fault

const DRAWBOT_DrawbotSuite1* DrawbotDrawSuite();
const DRAWBOT_SupplierSuite1* DrawbotSupplierSuite();
const DRAWBOT_SurfaceSuite2* DrawbotSurfaceSuite();  // versions 1 and 2
const DRAWBOT_PathSuite1* DrawbotPathSuite();
const DRAWBOT_PenSuite1* DrawbotPenSuite();
const DRAWBOT_ImageSuite1* DrawbotImageSuite();

// Every (name, version) the host publishes for Drawbot, with its table.
struct DrawbotSuiteEntry {
  const char* name;
  std::int32_t version;
  const void* table;
};
const std::vector<DrawbotSuiteEntry>& DrawbotSuiteEntries();

// All six tables, as a plug-in's helper would have acquired them.
DRAWBOT_Suites DrawbotSuiteSet();

// One call into a suite function. `sequence` counts all Drawbot calls from 1
// since the last ResetDrawbotCallCounters().
struct DrawbotCall {
  const char* suite;     // "Draw", "Supplier", "Surface", "Path", "Pen", "Image"
  const char* function;  // member name, e.g. "NewBrush"; unique across the suites
  std::uint64_t sequence;
};

// Consulted before every call; a non-zero result fails the call with that
// code before it has any effect (outputs are nulled). An empty hook clears it.
using DrawbotFaultHook = std::function<SPErr(const DrawbotCall&)>;
void SetDrawbotFaultHook(DrawbotFaultHook hook);
// Fails the call with this sequence number (once).
void FailDrawbotCallNumber(std::uint64_t sequence, SPErr error = kDrawbotErrInjected);
// Fails every call of this function until the faults are cleared.
void FailDrawbotCallsNamed(const std::string& function, SPErr error = kDrawbotErrInjected);
// Removes the hook and every planned failure.
void ClearDrawbotFaults();

std::uint64_t DrawbotCallCount(std::string_view function);
std::uint64_t DrawbotTotalCallCount();
std::uint64_t DrawbotFailedCallCount();  // calls answered with an error, injected or not
std::map<std::string, std::uint64_t> DrawbotCallCounts();
void ResetDrawbotCallCounters();

// Pens, brushes, fonts, images and paths made through a supplier and not yet
// released down to zero.
std::size_t DrawbotLiveObjectCount();

}  // namespace dshost
