#include "kernels/KernelCpu.h"

namespace driftsmear::kernel {
namespace {

template <int Format>
void MainKernelRows(const float4* inPre, const float4* inCur, float4* outDst, const KernelData& record,
                    int inPrePitch, int inCurPitch, int inDstPitch, unsigned int inWidth, unsigned int inHeight) {
  for (unsigned int y = 0; y < inHeight; ++y) {
    for (unsigned int x = 0; x < inWidth; ++x) {
      MainKernel_Delegate(inPre, inCur, outDst, &record, inPrePitch, inCurPitch, inDstPitch, Format, inWidth,
                          inHeight, make_uint2(x, y));
    }
  }
}

}  // namespace

void RunMainKernelCpu(const float4* inPre, const float4* inCur, float4* outDst, const KernelData* params,
                      int inPrePitch, int inCurPitch, int inDstPitch, int in16f, unsigned int inWidth,
                      unsigned int inHeight) {
  // A local copy of the record: the compiler then knows that no pixel write
  // changes it and computes its per-pass values once, outside the loop. One
  // loop per pixel format, so that the format is a constant inside it.
  const KernelData record = *params;
  if (in16f != 0) {
    MainKernelRows<1>(inPre, inCur, outDst, record, inPrePitch, inCurPitch, inDstPitch, inWidth, inHeight);
  } else {
    MainKernelRows<0>(inPre, inCur, outDst, record, inPrePitch, inCurPitch, inDstPitch, inWidth, inHeight);
  }
}

void RunResizeKernelCpu(const float4* inSrc, float4* outDst, int inSrcPitch, int inDstPitch, int in16f,
                        unsigned int inWidth, unsigned int inHeight, unsigned int outWidth, unsigned int outHeight,
                        int inOffsetX, int inOffsetY) {
  for (unsigned int y = 0; y < outHeight; ++y) {
    for (unsigned int x = 0; x < outWidth; ++x) {
      ResizeKernel_Delegate(inSrc, outDst, inSrcPitch, inDstPitch, in16f, inWidth, inHeight, outWidth, outHeight,
                            inOffsetX, inOffsetY, make_uint2(x, y));
    }
  }
}

KernelData DefaultKernelData() {
  KernelData params{};
  params.is_activated = true;
  params.numFrames = 10;
  params.trailIntensity = 10.0f;
  params.displaceIntensity = 5.0f;
  params.threshold = 0.3f;
  params.lambda = 0.5f;
  params.minVel = 0.01f;
  params.maxVel = 0.5f;
  params.offsetX = 0.0707107f;
  params.offsetY = 0.0707107f;
  params.chromatic = 0.5f;
  params.chromaticOffset = 0.0f;
  params.percentEase = 4.0f;
  params.percent = 1.0f;
  params.isPremult = true;
  params.preset = 1;
  params.showDebugData = 1;
  return params;
}

}  // namespace driftsmear::kernel
