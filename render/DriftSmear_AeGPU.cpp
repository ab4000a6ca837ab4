#include "render/DriftSmear_AeGPU.h"

#include <cstring>

#include "AE_EffectCBSuites.h"
#include "AE_EffectGPUSuites.h"
#include "render/DriftSmear_AePrGPU_Functions.h"
#include "support/LogsController.h"
#include "support/SuiteAccess.h"

namespace {

// Square work groups of this side on both compute interfaces.
constexpr int32_t kBlockSize = 16;

// A GPU world's pitch in pixels: its row bytes over the size of one 32-bit
// float BGRA pixel.
constexpr A_long kBytesPerFloatPixel = 16;

GPUFramework TranslateFramework(PF_GPU_Framework framework) {
  switch (framework) {
    case PF_GPU_Framework_OPENCL:
      return GPUFramework_OpenCL;
    case PF_GPU_Framework_METAL:
      return GPUFramework_Metal;
    case PF_GPU_Framework_CUDA:
      return GPUFramework_CUDA;
    default:
      return GPUFramework_None;
  }
}

// The device's KernelList: the target of the host handle kept as gpu_data.
KernelList* ListOf(const void* gpuData) {
  return gpuData != nullptr ? *static_cast<KernelList* const*>(gpuData) : nullptr;
}

int32_t PitchOf(const PF_EffectWorld* world) { return world->rowbytes / kBytesPerFloatPixel; }

}  // namespace

PF_Err GPUDeviceSetup(PF_InData* in_data, PF_OutData* out_data, PF_GPUDeviceSetupExtra* extra) {
  ScopedSuite<PF_HandleSuite1> handles(in_data, kPFHandleSuite, kPFHandleSuiteVersion1, out_data);
  ScopedSuite<PF_GPUDeviceSuite1> gpu(in_data, kPFGPUDeviceSuite, kPFGPUDeviceSuiteVersion1, out_data);

  PF_GPUDeviceInfo device{};
  PF_Err err = gpu->GetDeviceInfo(in_data->effect_ref, extra->input->device_index, &device);
  if (err != PF_Err_NONE) {
    return err;
  }

  out_data->out_flags |= PF_OutFlag_REFRESH_UI;
  PF_Handle listHandle = handles->host_new_handle(sizeof(KernelList));
  if (listHandle == nullptr || *listHandle == nullptr) {
    return PF_Err_OUT_OF_MEMORY;
  }
  auto* list = static_cast<KernelList*>(*listHandle);
  std::memset(list, 0, sizeof(KernelList));

  const GPUFramework framework = TranslateFramework(extra->input->what_gpu);
  err = InitializeGPU(framework, list, device.devicePV, device.contextPV);
  if (err == PF_Err_NONE) {
    extra->output->gpu_data = listHandle;
    out_data->out_flags2 = PF_OutFlag2_SUPPORTS_GPU_RENDER_F32;
  } else {
    // A failed setup keeps no private data for the device, so nothing would
    // ever release what it made: the kernel created before the failure (and
    // with it the program) and the list's handle go now. The host sees the
    // same result, an error and no private data.
    GPUDispose(framework, list);
    handles->host_dispose_handle(listHandle);
  }
  return err;
}

PF_Err GPUDeviceSetdown(PF_InData* in_data, PF_OutData* out_data, PF_GPUDeviceSetdownExtra* extra) {
  ScopedSuite<PF_HandleSuite1> handles(in_data, kPFHandleSuite, kPFHandleSuiteVersion1, out_data);

  PF_Err err = PF_Err_NONE;
  if (extra->input->gpu_data != nullptr) {
    auto listHandle = static_cast<PF_Handle>(extra->input->gpu_data);
    err = GPUDispose(TranslateFramework(extra->input->what_gpu), ListOf(listHandle));
    handles->host_dispose_handle(listHandle);
  }
  return err;
}

PF_Err SmartRenderGPU(PF_InData* in_data, PF_OutData* out_data, PF_PixelFormat pixelFormat, PF_EffectWorld** inputs,
                      PF_EffectWorld* output, PF_SmartRenderExtra* extra, KernelData* kernelData) {
  ScopedSuite<PF_GPUDeviceSuite1> gpu(in_data, kPFGPUDeviceSuite, kPFGPUDeviceSuiteVersion1, out_data);
  const PF_ProgPtr ref = in_data->effect_ref;
  const PF_SmartRenderInput& input = *extra->input;

  // Only 32-bit float BGRA renders; anything else leaves the output alone.
  PF_Err err = PF_Err_UNRECOGNIZED_PARAM_TYPE;
  PF_GPUDeviceInfo device{};
  if (pixelFormat == PF_PixelFormat_GPU_BGRA128) {
    err = gpu->GetDeviceInfo(ref, input.device_index, &device);
  }

  const GPUFramework framework = TranslateFramework(input.what_gpu);
  if (framework != GPUFramework_OpenCL && framework != GPUFramework_Metal && framework != GPUFramework_CUDA) {
    DRIFTSMEAR_LOG_ERROR("SmartRenderGPU", "Something wrong with GPU");
    return err;
  }
  if (output == nullptr || inputs == nullptr || kernelData == nullptr) {
    DRIFTSMEAR_LOG_ERROR("SmartRenderGPU", "Input or Output data is unavailable");
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }

  // The oldest pass reads this cleared world as its previous frame; a resize
  // pass places its frame here before the main kernel reads it.
  PF_EffectWorld* intermediate = nullptr;
  void* intermediateData = nullptr;
  void* firstInputData = nullptr;
  void* outputData = nullptr;
  if (err == PF_Err_NONE) {
    err = gpu->CreateGPUWorld(ref, input.device_index, output->width, output->height, output->pix_aspect_ratio,
                              in_data->field, pixelFormat, true, &intermediate);
    if (err == PF_Err_NONE) {
      err = gpu->GetGPUWorldData(ref, inputs[0], &firstInputData);
    }
    if (err == PF_Err_NONE) {
      err = gpu->GetGPUWorldData(ref, output, &outputData);
    }
    if (err == PF_Err_NONE) {
      err = gpu->GetGPUWorldData(ref, intermediate, &intermediateData);
    }
  }

  const int32_t is16f = pixelFormat != PF_PixelFormat_GPU_BGRA128 ? 1 : 0;
  const int32_t outputPitch = PitchOf(output);
  const MainKernelSizes mainSizes{outputPitch, outputPitch, outputPitch, is16f, output->width, output->height};
  const KernelList* list = ListOf(input.gpu_data);

  // Oldest frame first, each younger frame composited over the output in
  // place, percent rising from 0 to 1 for the current frame.
  const int n = kernelData->numFrames - 1;
  for (int i = n; i >= 0; --i) {
    kernelData->percent = 1.0f - static_cast<float>(i) / static_cast<float>(n);
    void* frameData = nullptr;
    if (err == PF_Err_NONE) {
      err = gpu->GetGPUWorldData(ref, inputs[i], &frameData);
    }
    if (err != PF_Err_NONE) {
      break;
    }
    const PF_EffectWorld* frame = inputs[i];
    const ResizeKernelSizes resizeSizes{PitchOf(frame),        outputPitch,           is16f,
                                        frame->width,          frame->height,         output->width,
                                        output->height,        kernelData->originH[i], kernelData->originV[i]};
    err = GPURender(framework, list, device.devicePV, device.contextPV, device.command_queuePV,
                    i == n ? intermediateData : outputData, frameData, intermediateData, outputData, kernelData,
                    &mainSizes, &resizeSizes, kBlockSize);
    if (err != PF_Err_NONE) {
      break;
    }
  }

  if (intermediate != nullptr) {
    gpu->DisposeGPUWorld(ref, intermediate);
  }
  return err;
}
