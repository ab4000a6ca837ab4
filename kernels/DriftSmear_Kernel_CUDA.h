// Host-side launchers of the CUDA build of the kernels.
//
// Each launcher takes the kernel's arguments (device pointers) plus the block
// edge b, launches on the default stream with blocks of (b, b, 1) and a grid of
// ceil(W / b) x ceil(H / b) (W x H = inWidth x inHeight for MainKernel,
// outWidth x outHeight for ResizeKernel), and waits with
// cudaDeviceSynchronize. Errors are left for the caller to read with
// cudaPeekAtLastError. A block edge of 0 launches an empty configuration,
// which CUDA reports as an invalid configuration.
#ifndef DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_CUDA_H
#define DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_CUDA_H

#include "kernels/Kernel_Data.h"

void MainKernel_CUDA(const float* inPre, const float* inCur, float* outDst, KernelData* params, int inPrePitch,
                     int inCurPitch, int inDstPitch, int in16f, unsigned int inWidth, unsigned int inHeight,
                     unsigned int blockSize);

void ResizeKernel_CUDA(const float* inSrc, float* outDst, int inSrcPitch, int inDstPitch, int in16f,
                       unsigned int inWidth, unsigned int inHeight, unsigned int outWidth, unsigned int outHeight,
                       int inOffsetX, int inOffsetY, unsigned int blockSize);

#endif  // DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_CUDA_H
