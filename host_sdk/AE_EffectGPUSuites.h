// The GPU device suite through which effects reach the host's GPU devices and
// GPU worlds.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "AE_Effect.h"
#include "AE_EffectPixelFormat.h"

#pragma pack(push, 8)

#define kPFGPUDeviceSuite "PF GPU Device Suite"
#define kPFGPUDeviceSuiteVersion1 1

typedef struct {
  PF_GPU_Framework device_framework;
  PF_Boolean compatibleB;
  void* platformPV;
  void* devicePV;
  void* contextPV;
  void* command_queuePV;
  void* offscreen_opengl_contextPV;
  void* offscreen_opengl_devicePV;
} PF_GPUDeviceInfo;

typedef struct PF_GPUDeviceSuite1 {
  PF_Err (*GetDeviceCount)(PF_ProgPtr effect_ref, A_u_long* device_countP);
  PF_Err (*GetDeviceInfo)(PF_ProgPtr effect_ref, A_u_long device_index, PF_GPUDeviceInfo* device_infoP);
  PF_Err (*AcquireExclusiveDeviceAccess)(PF_ProgPtr effect_ref, A_u_long device_index);
  PF_Err (*ReleaseExclusiveDeviceAccess)(PF_ProgPtr effect_ref, A_u_long device_index);
  PF_Err (*AllocateDeviceMemory)(PF_ProgPtr effect_ref, A_u_long device_index, size_t size_bytes,
                                 void** memoryPP);
  PF_Err (*FreeDeviceMemory)(PF_ProgPtr effect_ref, A_u_long device_index, void* memoryP);
  PF_Err (*PurgeDeviceMemory)(PF_ProgPtr effect_ref, A_u_long device_index, size_t size_bytes,
                              size_t* bytes_purgedP0);
  PF_Err (*AllocateHostMemory)(PF_ProgPtr effect_ref, A_u_long device_index, size_t size_bytes,
                               void** memoryPP);
  PF_Err (*FreeHostMemory)(PF_ProgPtr effect_ref, A_u_long device_index, void* memoryP);
  PF_Err (*PurgeHostMemory)(PF_ProgPtr effect_ref, A_u_long device_index, size_t bytes_to_purge,
                            size_t* bytes_purgedP0);
  PF_Err (*CreateGPUWorld)(PF_ProgPtr effect_ref, A_u_long device_index, A_long width, A_long height,
                           PF_RationalScale pixel_aspect_ratio, PF_Field field_type, PF_PixelFormat pixel_format,
                           PF_Boolean clear_pixB, PF_EffectWorld** worldPP);
  PF_Err (*DisposeGPUWorld)(PF_ProgPtr effect_ref, PF_EffectWorld* worldP);
  PF_Err (*GetGPUWorldData)(PF_ProgPtr effect_ref, PF_EffectWorld* worldP, void** pixPP);
  PF_Err (*GetGPUWorldSize)(PF_ProgPtr effect_ref, PF_EffectWorld* worldP, size_t* device_memory_sizePL);
  PF_Err (*GetGPUWorldDeviceIndex)(PF_ProgPtr effect_ref, PF_EffectWorld* worldP, A_u_long* device_indexP);
} PF_GPUDeviceSuite1;

#pragma pack(pop)
