// "PF ANSI Suite" and the ANSI members of the utility callbacks.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "AE_EffectCBSuites.h"
#include "host/HostRuntime.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

A_FpLong Atan(A_FpLong x) { return std::atan(x); }
A_FpLong Atan2(A_FpLong y, A_FpLong x) { return std::atan2(y, x); }
A_FpLong Ceil(A_FpLong x) { return std::ceil(x); }
A_FpLong Cos(A_FpLong x) { return std::cos(x); }
A_FpLong Exp(A_FpLong x) { return std::exp(x); }
A_FpLong Fabs(A_FpLong x) { return std::fabs(x); }
A_FpLong Floor(A_FpLong x) { return std::floor(x); }
A_FpLong Fmod(A_FpLong x, A_FpLong y) { return std::fmod(x, y); }
A_FpLong Hypot(A_FpLong x, A_FpLong y) { return std::hypot(x, y); }
A_FpLong Log(A_FpLong x) { return std::log(x); }
A_FpLong Log10(A_FpLong x) { return std::log10(x); }
A_FpLong Pow(A_FpLong x, A_FpLong y) { return std::pow(x, y); }
A_FpLong Sin(A_FpLong x) { return std::sin(x); }
A_FpLong Sqrt(A_FpLong x) { return std::sqrt(x); }
A_FpLong Tan(A_FpLong x) { return std::tan(x); }
A_FpLong Asin(A_FpLong x) { return std::asin(x); }
A_FpLong Acos(A_FpLong x) { return std::acos(x); }

// Every text buffer the host hands out (return messages, names) holds 256
// bytes, so formatted text is cut there rather than overrunning one.
constexpr size_t kHostTextBufferSize = PF_MAX_EFFECT_MSG_LEN + 1;

// A failing sprintf writes an empty text and returns -1; a failing strcpy
// leaves the destination as it was.
int Sprintf(A_char* dst, const A_char* fmt, ...) {
  if (HostRuntime* runtime = HostRuntime::Current(); runtime != nullptr &&
                                                      runtime->faults().Hit("PF ANSI Suite.sprintf") != 0) {
    dst[0] = '\0';
    return -1;
  }
  va_list args;
  va_start(args, fmt);
  const int written = std::vsnprintf(dst, kHostTextBufferSize, fmt, args);
  va_end(args);
  return written;
}

A_char* Strcpy(A_char* dst, const A_char* src) {
  if (HostRuntime* runtime = HostRuntime::Current(); runtime != nullptr &&
                                                      runtime->faults().Hit("PF ANSI Suite.strcpy") != 0) {
    return dst;
  }
  std::strncpy(dst, src, kHostTextBufferSize - 1);
  dst[kHostTextBufferSize - 1] = '\0';
  return dst;
}

const PF_ANSICallbacksSuite1 kAnsiSuite = {Atan, Atan2, Ceil, Cos,  Exp,    Fabs,   Floor, Fmod, Hypot, Log,
                                           Log10, Pow,  Sin,  Sqrt, Tan, Sprintf, Strcpy, Asin, Acos};

}  // namespace

void PublishAnsiSuites(HostRuntime& runtime) {
  runtime.suites().Publish(kPFANSISuite, kPFANSISuiteVersion1, &kAnsiSuite);
}

void FillAnsiCallbacks(PF_ANSICallbacks& ansi) {
  ansi = PF_ANSICallbacks{Atan, Atan2, Ceil, Cos, Exp, Fabs, Floor, Fmod, Hypot, Log,
                          Log10, Pow, Sin, Sqrt, Tan, Sprintf, Strcpy, Asin, Acos, {0}};
}

}  // namespace dshost
