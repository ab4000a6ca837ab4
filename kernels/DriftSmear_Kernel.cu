// CUDA build of the kernel text: both kernels, registered with the CUDA
// runtime under their own names when the module loads, and their launchers.
#include "kernels/DriftSmear_Kernel_CUDA.h"

#include "kernels/DriftSmear_Kernel.cl"

namespace {

unsigned int GridEdge(unsigned int extent, unsigned int blockSize) {
  return blockSize == 0 ? 0u : (extent + blockSize - 1u) / blockSize;
}

}  // namespace

void MainKernel_CUDA(const float* inPre, const float* inCur, float* outDst, KernelData* params, int inPrePitch,
                     int inCurPitch, int inDstPitch, int in16f, unsigned int inWidth, unsigned int inHeight,
                     unsigned int blockSize) {
  const dim3 block(blockSize, blockSize, 1);
  const dim3 grid(GridEdge(inWidth, blockSize), GridEdge(inHeight, blockSize), 1);
  MainKernel<<<grid, block, 0>>>(reinterpret_cast<const float4*>(inPre), reinterpret_cast<const float4*>(inCur),
                                 reinterpret_cast<float4*>(outDst), params, inPrePitch, inCurPitch, inDstPitch, in16f,
                                 inWidth, inHeight);
  cudaDeviceSynchronize();
}

void ResizeKernel_CUDA(const float* inSrc, float* outDst, int inSrcPitch, int inDstPitch, int in16f,
                       unsigned int inWidth, unsigned int inHeight, unsigned int outWidth, unsigned int outHeight,
                       int inOffsetX, int inOffsetY, unsigned int blockSize) {
  const dim3 block(blockSize, blockSize, 1);
  const dim3 grid(GridEdge(outWidth, blockSize), GridEdge(outHeight, blockSize), 1);
  ResizeKernel<<<grid, block, 0>>>(reinterpret_cast<const float4*>(inSrc), reinterpret_cast<float4*>(outDst),
                                   inSrcPitch, inDstPitch, in16f, inWidth, inHeight, outWidth, outHeight, inOffsetX,
                                   inOffsetY);
  cudaDeviceSynchronize();
}
