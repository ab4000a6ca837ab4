// The GPU device layer: the one place where the effect talks to a compute
// interface. Both host paths (After Effects and Premiere) prepare a device
// with InitializeGPU, render with GPURender and release with GPUDispose. The
// layer never allocates image memory and never copies pixels back: every frame
// it touches is a device pointer (CUDA) or a cl_mem (OpenCL) owned by the host.
//
// No exception leaves this layer: every failure is one error line in the log
// plus a status (0 success, 512 general failure, or a raw OpenCL code where
// noted).
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#ifndef CL_TARGET_OPENCL_VERSION
#define CL_TARGET_OPENCL_VERSION 120
#endif
#include <CL/cl.h>

#include "AEConfig.h"
#include "AE_Effect.h"
#include "kernels/Kernel_Data.h"
#include "render/GPUStatusInfo.h"

// The compute interface of a device, as this layer numbers it. The host paths
// translate their own framework codes into it and pass -1 for anything else.
enum GPUFramework : int32_t {
  GPUFramework_None = -1,
  GPUFramework_CUDA = 0,
  GPUFramework_OpenCL = 1,
  GPUFramework_Metal = 2,  // recognised, never supported
};

// "CUDA", "OpenCL" or "Metal"; empty for any other value.
const char* GPUFrameworkName(GPUFramework framework);

// One compiled kernel of a device.
struct KernelEntry {
  char name[128];     // zero-terminated kernel function name
  cl_kernel kernel;   // null until created and after release
};

// The whole per-device state of the effect: entry 0 is MainKernel, entry 1
// ResizeKernel. A CUDA device's list is allocated but never filled, because
// the CUDA kernels are registered with the runtime when the module loads.
struct KernelList {
  KernelEntry entries[2];
};
inline constexpr int kMainKernelEntry = 0;
inline constexpr int kResizeKernelEntry = 1;
inline constexpr const char* kMainKernelName = "MainKernel";
inline constexpr const char* kResizeKernelName = "ResizeKernel";
static_assert(sizeof(KernelEntry) == 136, "a kernel entry is a 128-byte name and a kernel handle");
static_assert(sizeof(KernelList) == 272, "the host allocates exactly two entries per device");

// The scalar arguments of MainKernel (pitches in pixels; sizes of the
// destination).
struct MainKernelSizes {
  int32_t prePitch;
  int32_t curPitch;
  int32_t dstPitch;
  int32_t is16f;
  int32_t width;
  int32_t height;
};

// The scalar arguments of ResizeKernel. A non-zero offset, or a source that
// differs from the main kernel's destination in size or pitch, switches the
// resize pass on.
struct ResizeKernelSizes {
  int32_t srcPitch;
  int32_t dstPitch;
  int32_t is16f;
  int32_t inWidth;
  int32_t inHeight;
  int32_t outWidth;
  int32_t outHeight;
  int32_t offsetX;
  int32_t offsetY;
};

// The source string put in front of the kernel text: the text's half-float
// paths exist only when this switch is on.
inline constexpr char kOpenCL16FPrefix[] = "#define GF_OPENCL_SUPPORTS_16F 1\n";
inline constexpr std::size_t kOpenCL16FPrefixLength = sizeof(kOpenCL16FPrefix) - 1;
static_assert(kOpenCL16FPrefixLength == 33, "the prefix is passed with its exact length");
inline constexpr const char* kOpenCLBuildOptions = "-cl-single-precision-constant -cl-fast-relaxed-math";

// Prepares a device: nothing for CUDA, the program and kernels for OpenCL.
// `device` and `context` are the host's cl_device_id and cl_context on OpenCL
// and are ignored on CUDA.
PF_Err InitializeGPU(GPUFramework framework, KernelList* list, void* device, void* context);

// Builds the embedded kernel text for one device and creates both kernels.
PF_Err InitializeOpenCL(KernelList* list, cl_device_id device, cl_context context);

// InitializeOpenCL over another program text: the same program layout (the
// 16-bit switch, then the text), build options, log handling and kernel
// lookup. InitializeOpenCL is this function over the embedded text.
PF_Err InitializeOpenCLWithText(KernelList* list, cl_device_id device, cl_context context, const char* text,
                                std::size_t textLength);

// Uploads the record and runs the kernels for one pass. The five buffers are
// the host's device memory (device pointers on CUDA, cl_mem on OpenCL); when
// resizeSizes calls for a resize pass, ResizeKernel first places curFrame
// into `intermediate` and MainKernel reads it from there. OpenCL does not wait
// for the queue; CUDA synchronises after each launch.
PF_Err GPURender(GPUFramework framework, const KernelList* list, void* device, void* context, void* queue,
                 void* prevFrame, void* curFrame, void* intermediate, void* dst, const KernelData* kernelData,
                 const MainKernelSizes* mainSizes, const ResizeKernelSizes* resizeSizes, int32_t blockSize);

// Releases what InitializeGPU created; the list memory stays the caller's.
PF_Err GPUDispose(GPUFramework framework, KernelList* list);

// Fills the GPU short name and OS version of `info` and logs them. On Windows
// the adapter is the primary Direct3D 9 adapter; elsewhere it is the render
// device, described by the framework and device handle that GPURender holds
// (with no device the adapter lines are skipped).
void LogGPUInfo(GPUStatusInfo& info);
void LogGPUInfo(GPUStatusInfo& info, GPUFramework framework, void* device);

// The marketing model in an adapter description ("NVIDIA GeForce GTX 1080 Ti"
// gives "GTX 1080"); the description itself when no model is found.
std::string ShortGPUName(const std::string& description);

// "Code: 0x<hex> (<name>)" for an OpenCL status code.
std::string OpenCLErrorText(int32_t code);
