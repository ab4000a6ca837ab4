#include "render/GPUStatusInfo.h"

GPUStatusInfo& GetGPUStatusInfo() {
  static GPUStatusInfo* const info = new GPUStatusInfo();
  return *info;
}
