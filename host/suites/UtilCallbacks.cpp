// The utility callbacks handed to the plug-in in PF_InData::utils.
#include "host/suites/Suites.h"

namespace dshost {

const PF_UtilCallbacks* UtilCallbacks() {
  static const PF_UtilCallbacks utils = [] {
    PF_UtilCallbacks callbacks{};
    FillHandleCallbacks(callbacks);
    FillAnsiCallbacks(callbacks.ansi);
    return callbacks;
  }();
  return &utils;
}

}  // namespace dshost
