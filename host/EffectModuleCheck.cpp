#include "host/EffectModuleCheck.h"

#include "host/HostError.h"
#include "host/HostUI.h"
#include "host/PluginModule.h"
#include "host/gpu/GpuDevice.h"

namespace dshost {

namespace {
// The effect's match name: what tells its module from any other effect's.
constexpr const char* kMatchName = "KQVLDRSM";
}  // namespace

void CheckDriftSmearModule(const std::string& modulePath) {
  PluginModule module(modulePath);
  module.EffectMain();
  const RegistrationResult registration = RegisterEffects(module);
  if (registration.err != A_Err_NONE || registration.effects.empty()) {
    throw HostError("the module " + modulePath + " registers no effect (error " + std::to_string(registration.err) +
                    ")");
  }
  if (registration.effects.front().matchName != kMatchName) {
    throw HostError("the module " + modulePath + " is not Drift Smear: it registers '" +
                    registration.effects.front().name + "'");
  }
}

std::optional<uint32_t> PreferredGpuDevice() {
  const std::vector<GpuDeviceDesc>& devices = EnumerateGpuDevices();
  if (devices.empty()) {
    return std::nullopt;
  }
  for (const GpuDeviceDesc& device : devices) {
    if (device.api == GpuApi::Cuda) {
      return device.index;
    }
  }
  for (const GpuDeviceDesc& device : devices) {
    cl_device_type type = 0;
    if (device.clDevice != nullptr &&
        clGetDeviceInfo(device.clDevice, CL_DEVICE_TYPE, sizeof(type), &type, nullptr) == CL_SUCCESS &&
        (type & CL_DEVICE_TYPE_GPU) != 0) {
      return device.index;
    }
  }
  return devices.front().index;
}

std::string NoGpuDeviceMessage() {
  return "no OpenCL or CUDA device found: install your GPU's driver with OpenCL (NVIDIA, AMD or Intel), "
         "or PoCL for the CPU (Debian: apt-get install pocl-opencl-icd)";
}

}  // namespace dshost
