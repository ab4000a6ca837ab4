#include "kernels/KernelCpu.h"

namespace driftsmear::kernel {

void RunMainKernelCpu(const float4* inPre, const float4* inCur, float4* outDst, const KernelData* params,
                      int inPrePitch, int inCurPitch, int inDstPitch, int in16f, unsigned int inWidth,
                      unsigned int inHeight) {
  for (unsigned int y = 0; y < inHeight; ++y) {
    for (unsigned int x = 0; x < inWidth; ++x) {
      hostWorkItem = make_uint2(x, y);
      MainKernel(inPre, inCur, outDst, params, inPrePitch, inCurPitch, inDstPitch, in16f, inWidth, inHeight);
    }
  }
}

void RunResizeKernelCpu(const float4* inSrc, float4* outDst, int inSrcPitch, int inDstPitch, int in16f,
                        unsigned int inWidth, unsigned int inHeight, unsigned int outWidth, unsigned int outHeight,
                        int inOffsetX, int inOffsetY) {
  for (unsigned int y = 0; y < outHeight; ++y) {
    for (unsigned int x = 0; x < outWidth; ++x) {
      hostWorkItem = make_uint2(x, y);
      ResizeKernel(inSrc, outDst, inSrcPitch, inDstPitch, in16f, inWidth, inHeight, outWidth, outHeight, inOffsetX,
                   inOffsetY);
    }
  }
}

}  // namespace driftsmear::kernel
