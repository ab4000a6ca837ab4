// Every pass after the oldest composites its frame over the output in place:
// a work-item reads neighbours of the output while other work-groups write
// them. On a device that runs work-groups side by side, a few pixels of each
// render therefore read a neighbour before or after that neighbour's own
// pass, and repeated renders differ there. PoCL runs work-groups one after
// another, in a fixed order, with a single thread, which is what comparing
// renders exactly needs. The setting must precede the process's first OpenCL
// call, hence a static initializer.
#include "common/TestSupport.h"

namespace {

const bool kSerialPoCL = [] {
  testsupport::SetEnv("POCL_MAX_PTHREAD_COUNT", "1");
  return true;
}();

}  // namespace
