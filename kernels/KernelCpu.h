// Host C++ build of the kernel text: a reference and test tool, not a render
// path of the plug-in.
//
// Everything the kernel text defines is available here in the namespace
// driftsmear::kernel: the device functions (bgra, getTexture, getFlow,
// getFlowVector, FadeMotion, xy2rgba, smoothStep, ...), the vector types
// float2/float4/uint2 with OpenCL-like operators, the pixel access functions
// and the half conversions HalfBitsToFloat / FloatToHalfBitsRtz (round toward
// zero, as every back end stores 16-bit pixels). KernelData stays global, as
// the host code declares it.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_CPU_H
#define DRIFTSMEAR_KERNELS_KERNEL_CPU_H

#include "kernels/DriftSmear_Kernel.cl"

namespace driftsmear::kernel {

// Run a kernel entry once per work-item, in row order, over inWidth x inHeight
// (MainKernel) or outWidth x outHeight (ResizeKernel), with the kernel's own
// argument list. Like the device, MainKernel may run in place (outDst equal to
// inPre); the row-order walk is one of the orders a device may take.
void RunMainKernelCpu(const float4* inPre, const float4* inCur, float4* outDst, const KernelData* params,
                      int inPrePitch, int inCurPitch, int inDstPitch, int in16f, unsigned int inWidth,
                      unsigned int inHeight);

void RunResizeKernelCpu(const float4* inSrc, float4* outDst, int inSrcPitch, int inDstPitch, int in16f,
                        unsigned int inWidth, unsigned int inHeight, unsigned int outWidth, unsigned int outHeight,
                        int inOffsetX, int inOffsetY);

// The record as the effect's default settings fill it (10 frames, trail 20,
// displace 10, velocity 1..50, thresholds 15 and 50, motion 45 degrees at 10,
// chromatic 50 at 0 degrees, amount 80, premultiplied), with percent 1.
KernelData DefaultKernelData();

}  // namespace driftsmear::kernel

#endif  // DRIFTSMEAR_KERNELS_KERNEL_CPU_H
