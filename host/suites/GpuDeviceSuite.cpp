// "PF GPU Device Suite" 1: the host's GPU devices and the GPU worlds on them.
#include <cstdlib>
#include <exception>
#include <new>

#include "AE_EffectGPUSuites.h"
#include "host/HostRuntime.h"
#include "host/gpu/GpuHost.h"
#include "host/suites/GpuSuiteCall.h"
#include "host/suites/Suites.h"

namespace dshost {

namespace {

PF_Err GetDeviceCount(PF_ProgPtr /*effect_ref*/, A_u_long* device_countP) {
  return ServeGpuCall("PF GPU Device Suite.GetDeviceCount", [&](GpuHost&) {
    if (device_countP == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *device_countP = static_cast<A_u_long>(EnumerateGpuDevices().size());
    return PF_Err_NONE;
  });
}

PF_Err GetDeviceInfo(PF_ProgPtr /*effect_ref*/, A_u_long device_index, PF_GPUDeviceInfo* device_infoP) {
  return ServeGpuCall("PF GPU Device Suite.GetDeviceInfo", [&](GpuHost& gpu) {
    GpuDevice* device = gpu.DeviceOrOpen(device_index);
    if (device == nullptr || device_infoP == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *device_infoP = device->Info();
    return PF_Err_NONE;
  });
}

PF_Err AcquireExclusiveDeviceAccess(PF_ProgPtr /*effect_ref*/, A_u_long device_index) {
  return ServeGpuCall("PF GPU Device Suite.AcquireExclusiveDeviceAccess", [&](GpuHost& gpu) {
    return gpu.Device(device_index) != nullptr ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
  });
}

PF_Err ReleaseExclusiveDeviceAccess(PF_ProgPtr /*effect_ref*/, A_u_long device_index) {
  return ServeGpuCall("PF GPU Device Suite.ReleaseExclusiveDeviceAccess", [&](GpuHost& gpu) {
    return gpu.Device(device_index) != nullptr ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
  });
}

PF_Err AllocateDeviceMemory(PF_ProgPtr /*effect_ref*/, A_u_long device_index, size_t size_bytes, void** memoryPP) {
  return ServeGpuCall("PF GPU Device Suite.AllocateDeviceMemory", [&](GpuHost& gpu) {
    if (memoryPP == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *memoryPP = gpu.AllocateDeviceMemory(device_index, size_bytes);
    return PF_Err_NONE;
  });
}

PF_Err FreeDeviceMemory(PF_ProgPtr /*effect_ref*/, A_u_long /*device_index*/, void* memoryP) {
  return ServeGpuCall("PF GPU Device Suite.FreeDeviceMemory", [&](GpuHost& gpu) {
    return gpu.FreeDeviceMemory(memoryP) ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
  });
}

PF_Err PurgeDeviceMemory(PF_ProgPtr /*effect_ref*/, A_u_long /*device_index*/, size_t /*size_bytes*/,
                         size_t* bytes_purgedP0) {
  return ServeGpuCall("PF GPU Device Suite.PurgeDeviceMemory", [&](GpuHost&) {
    if (bytes_purgedP0 != nullptr) {
      *bytes_purgedP0 = 0;
    }
    return PF_Err_NONE;
  });
}

PF_Err AllocateHostMemory(PF_ProgPtr /*effect_ref*/, A_u_long /*device_index*/, size_t size_bytes, void** memoryPP) {
  return ServeGpuCall("PF GPU Device Suite.AllocateHostMemory", [&](GpuHost&) {
    if (memoryPP == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *memoryPP = std::malloc(size_bytes == 0 ? 1 : size_bytes);
    return *memoryPP != nullptr ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
  });
}

PF_Err FreeHostMemory(PF_ProgPtr /*effect_ref*/, A_u_long /*device_index*/, void* memoryP) {
  return ServeGpuCall("PF GPU Device Suite.FreeHostMemory", [&](GpuHost&) {
    std::free(memoryP);
    return PF_Err_NONE;
  });
}

PF_Err PurgeHostMemory(PF_ProgPtr /*effect_ref*/, A_u_long /*device_index*/, size_t /*bytes_to_purge*/,
                       size_t* bytes_purgedP0) {
  return ServeGpuCall("PF GPU Device Suite.PurgeHostMemory", [&](GpuHost&) {
    if (bytes_purgedP0 != nullptr) {
      *bytes_purgedP0 = 0;
    }
    return PF_Err_NONE;
  });
}

PF_Err CreateGPUWorld(PF_ProgPtr /*effect_ref*/, A_u_long device_index, A_long width, A_long height,
                      PF_RationalScale pixel_aspect_ratio, PF_Field /*field_type*/, PF_PixelFormat pixel_format,
                      PF_Boolean clear_pixB, PF_EffectWorld** worldPP) {
  return ServeGpuCall("PF GPU Device Suite.CreateGPUWorld", [&](GpuHost& gpu) {
    if (worldPP == nullptr || !IsGpuFormat(pixel_format) || width <= 0 || height <= 0 ||
        gpu.DeviceOrOpen(device_index) == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *worldPP = gpu.CreateGpuWorld(device_index, width, height, pixel_format, clear_pixB != 0, pixel_aspect_ratio, true);
    return PF_Err_NONE;
  });
}

PF_Err DisposeGPUWorld(PF_ProgPtr /*effect_ref*/, PF_EffectWorld* worldP) {
  return ServeGpuCall("PF GPU Device Suite.DisposeGPUWorld", [&](GpuHost& gpu) {
    // Only worlds the effect made itself are its to dispose.
    const HostWorld* record = gpu.Find(worldP);
    if (record == nullptr || !record->gpu || !record->createdByEffect) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    gpu.DisposeWorld(worldP);
    return PF_Err_NONE;
  });
}

PF_Err GetGPUWorldData(PF_ProgPtr /*effect_ref*/, PF_EffectWorld* worldP, void** pixPP) {
  return ServeGpuCall("PF GPU Device Suite.GetGPUWorldData", [&](GpuHost& gpu) {
    const HostWorld* record = gpu.Find(worldP);
    if (record == nullptr || !record->gpu || pixPP == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *pixPP = record->deviceBuffer().handle();
    return PF_Err_NONE;
  });
}

PF_Err GetGPUWorldSize(PF_ProgPtr /*effect_ref*/, PF_EffectWorld* worldP, size_t* device_memory_sizePL) {
  return ServeGpuCall("PF GPU Device Suite.GetGPUWorldSize", [&](GpuHost& gpu) {
    const HostWorld* record = gpu.Find(worldP);
    if (record == nullptr || !record->gpu || device_memory_sizePL == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *device_memory_sizePL = record->deviceBuffer().size();
    return PF_Err_NONE;
  });
}

PF_Err GetGPUWorldDeviceIndex(PF_ProgPtr /*effect_ref*/, PF_EffectWorld* worldP, A_u_long* device_indexP) {
  return ServeGpuCall("PF GPU Device Suite.GetGPUWorldDeviceIndex", [&](GpuHost& gpu) {
    const HostWorld* record = gpu.Find(worldP);
    if (record == nullptr || !record->gpu || device_indexP == nullptr) {
      return PF_Err_BAD_CALLBACK_PARAM;
    }
    *device_indexP = record->deviceIndex;
    return PF_Err_NONE;
  });
}

const PF_GPUDeviceSuite1 kGpuDeviceSuite = {
    GetDeviceCount,    GetDeviceInfo,     AcquireExclusiveDeviceAccess, ReleaseExclusiveDeviceAccess,
    AllocateDeviceMemory, FreeDeviceMemory, PurgeDeviceMemory,         AllocateHostMemory,
    FreeHostMemory,    PurgeHostMemory,   CreateGPUWorld,               DisposeGPUWorld,
    GetGPUWorldData,   GetGPUWorldSize,   GetGPUWorldDeviceIndex,
};

}  // namespace

void PublishGpuDeviceSuites(HostRuntime& runtime) {
  runtime.suites().Publish(kPFGPUDeviceSuite, kPFGPUDeviceSuiteVersion1, &kGpuDeviceSuite);
}

}  // namespace dshost
