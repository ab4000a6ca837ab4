// Drift Smear kernels: MainKernel (flow estimate, displacement and blend) and
// ResizeKernel (placement of a frame at an offset).
//
// One text for every back end: compiled ahead of time by nvcc (through
// DriftSmear_Kernel.cu), embedded as OpenCL program text (the build inlines
// the includes into one string), and compiled as C++ for the host reference
// build (KernelCpu.h). All arithmetic is single precision unless stated.
//
// Frames are four-channel pixels stored B, G, R, A, addressed y * pitch + x
// with pitches in pixels. The normalised coordinate of a pixel is its low
// corner, uv = (x / width, y / height), and every sample takes the nearest
// pixel at or below the coordinate (no filtering).
#ifndef DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_CL
#define DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_CL

#include "kernels/KernelCore.h"
#include "kernels/KernelHalf.h"
#include "kernels/KernelMemory.h"
#include "kernels/KernelWrapper.h"
#include "kernels/Kernel_Data.h"
#include "kernels/Kernel_Helpers.h"
#include "kernels/Kernel_Functions.h"

GF_NAMESPACE_BEGIN

// RGBA of the pixel nearest below uv. A coordinate outside [0, 1) on either
// axis has both components clamped to the low corner of the last pixel, so no
// sample leaves the frame and an edge pixel repeats. A NaN coordinate is
// treated as outside and clamps to 0 (converting it to an integer would be
// undefined); the integer bound after the conversion only protects memory
// should an optimiser that assumes finite math let one through.
GF_DEVICE_FUNCTION float4 getTexture(GF_PTR_READ_ONLY(float4) buffer, float2 uv, unsigned int width,
                                     unsigned int height, int pitch, bool is16Bit) {
  if (uv.x < 0.0f || uv.x >= 1.0f || uv.y < 0.0f || uv.y >= 1.0f || isNaN(uv.x) || isNaN(uv.y)) {
    uv = clampNum2(uv, make_float2(0.0f, 0.0f),
                   make_float2(1.0f - 1.0f / (float)width, 1.0f - 1.0f / (float)height));
  }
  const unsigned int px = min((unsigned int)(uv.x * (float)width), width - 1u);
  const unsigned int py = min((unsigned int)(uv.y * (float)height), height - 1u);
  return bgra(half4ToFloat4(ReadFloat4(buffer, (int)py * pitch + (int)px, is16Bit)));
}

// Central grey differences of both frames around uv, summed; the fourth
// component is always 0.
GF_DEVICE_FUNCTION float4 getGradientAt(GF_PTR_READ_ONLY(float4) inPre, GF_PTR_READ_ONLY(float4) inCur, float2 uv,
                                        float2 offset, unsigned int width, unsigned int height, int prePitch,
                                        int curPitch, bool is16Bit) {
  const float4 pre = getGray(getTexture(inPre, uv + offset, width, height, prePitch, is16Bit)) -
                     getGray(getTexture(inPre, uv - offset, width, height, prePitch, is16Bit));
  const float4 cur = getGray(getTexture(inCur, uv + offset, width, height, curPitch, is16Bit)) -
                     getGray(getTexture(inCur, uv - offset, width, height, curPitch, is16Bit));
  return pre + cur;
}

// Splits each component into its positive and negative parts and scales them.
// For a scale s >= 0 the result is (fx * s, -fy * s): the vertical component
// changes sign, which sets the vertical direction of the smear. For s < 0 the
// vertical component is always 0.
GF_DEVICE_FUNCTION float2 getFlowVector(float fx, float fy, float2 scale) {
  const float2 flowX = make_float2(maxNum(fx, 0.0f), fabs(minNum(fx, 0.0f))) * scale.x;
  const float2 flowY = make_float2(maxNum(fy, 0.0f), fabs(minNum(fy, 0.0f))) * scale.y;
  float dirY = 1.0f;
  if (flowY.x > flowY.y) {
    dirY = -1.0f;
  }
  return make_float2(flowX.x - flowX.y, maxNum(flowY.x, flowY.y) * dirY);
}

// Gradient (optical-flow) estimate of the motion at pixel xy between the
// previous and the current frame.
GF_DEVICE_FUNCTION float2 getFlow(GF_PTR_READ_ONLY(float4) inPre, GF_PTR_READ_ONLY(float4) inCur,
                                  GF_PTR_READ_ONLY(KernelData) params, unsigned int width, unsigned int height,
                                  int prePitch, int curPitch, bool is16Bit, uint2 xy) {
  const float2 uv = make_float2((float)xy.x / (float)width, (float)xy.y / (float)height);
  float4 prev = bgra(half4ToFloat4(ReadFloat4(inPre, (int)xy.y * prePitch + (int)xy.x, is16Bit)));
  float4 current = bgra(half4ToFloat4(ReadFloat4(inCur, (int)xy.y * curPitch + (int)xy.x, is16Bit)));
  prev = premult(prev);
  current = premult(current);
  const float4 differencing = prev - current;
  // Signed: a pixel that got brighter gives a negative velocity.
  const float vel = (differencing.x + differencing.y + differencing.z) / 3.0f;
  const float movement =
      smoothStep(minNum(params->minVel, params->maxVel), maxNum(params->minVel, params->maxVel), vel);

  const float4 gradX =
      getGradientAt(inPre, inCur, uv, make_float2(params->offsetX, 0.0f), width, height, prePitch, curPitch, is16Bit);
  const float4 gradY =
      getGradientAt(inPre, inCur, uv, make_float2(0.0f, params->offsetY), width, height, prePitch, curPitch, is16Bit);
  const float4 gradMag = sqrt(gradX * gradX + gradY * gradY + params->lambda);
  const float4 vx = movement * gradX / gradMag;
  const float4 vy = movement * gradY / gradMag;

  float2 flow = getFlowVector(vx.x, vy.x, make_float2(params->trailIntensity, params->trailIntensity));
  if (params->isPremult) {
    flow = flow * current.w;
  }
  return flow;
}

// False colour of a vector in [-1, 1]^2; zero motion is (0.5, 0.5, 0.25, 1).
GF_DEVICE_FUNCTION float4 xy2rgba(float2 v) {
  const float4 motionX =
      mix(make_float4(1.0f, 0.0f, 0.0f, 1.0f), make_float4(0.0f, 1.0f, 0.0f, 1.0f), (v.x + 1.0f) / 2.0f);
  const float4 motionY =
      mix(make_float4(0.0f, 0.0f, 1.0f, 1.0f), make_float4(1.0f, 1.0f, 0.0f, 1.0f), (v.y + 1.0f) / 2.0f);
  return (motionX + motionY) / 2.0f;
}

// Samples the previous frame displaced along the flow with the red channel
// ahead of and the blue channel behind the displaced point, and blends it over
// the current pixel where the flow is strong enough. Returns RGBA.
GF_DEVICE_FUNCTION float4 FadeMotion(GF_PTR_READ_ONLY(float4) inPre, GF_PTR_READ_ONLY(float4) inCur,
                                     GF_PTR_READ_ONLY(KernelData) params, unsigned int width, unsigned int height,
                                     int prePitch, int curPitch, bool is16Bit, uint2 xy, float2 flow) {
  const float2 uv = make_float2((float)xy.x / (float)width, (float)xy.y / (float)height);
  const float2 texel = make_float2(1.0f / (float)width, 1.0f / (float)height);
  float2 st = uv;
  const float4 current = bgra(half4ToFloat4(ReadFloat4(inCur, (int)xy.y * curPitch + (int)xy.x, is16Bit)));

  flow = make_float2(clampNum(flow.x, -1.0f, 1.0f), clampNum(flow.y, -1.0f, 1.0f));
  const float flowMag = length(flow);
  const float thresholdMin = maxNum(params->threshold - 0.2f, 0.05f);
  const float thresholdMax = minNum(params->threshold + 0.2f, 0.95f);
  const float stepper = smoothStep(thresholdMin, thresholdMax, flowMag);

  st = st + flow * texel * params->displaceIntensity;
  // The literals of the shift are deliberately unsuffixed: the CUDA (and host)
  // build evaluates this expression with its cosine and sine in double
  // precision, while OpenCL, built with -cl-single-precision-constant, stays
  // in single precision.
  const float2 shift =
      make_float2((float)(cos(flow.x * 3.141592653589793238 + params->chromaticOffset) * 0.0025 * params->chromatic),
                  (float)(sin(flow.y * 3.141592653589793238 + params->chromaticOffset) * 0.0025 * params->chromatic));

  const float2 displaceDebug = (st - uv) * 1000.0f + uv;
  const float2 shiftDebug = shift * 1000.0f;
  switch (params->showDebugData) {
    case 2:  // Motion
      return xy2rgba(flow);
    case 3:  // Displace
      return make_float4(displaceDebug.x, displaceDebug.y, 0.0f, 1.0f);
    case 4:  // FlowMag
      return make_float4(flowMag, flowMag, flowMag, 1.0f);
    case 5:  // Shift
      return make_float4(shiftDebug.x, shiftDebug.y, 0.0f, 1.0f);
    default:  // Result
      break;
  }

  const float r = getTexture(inPre, st + shift, width, height, prePitch, is16Bit).x;
  const float b = getTexture(inPre, st - shift, width, height, prePitch, is16Bit).z;
  float4 datamosh = getTexture(inPre, st, width, height, prePitch, is16Bit);
  datamosh.x = r;
  datamosh.z = b;

  // Ease-out of the pass's amount. A NaN (percent NaN, or above 1 with a
  // non-integer exponent) clamps to 0: the pass leaves the current pixel.
  const float percent = saturate(1.0f - pow(1.0f - params->percent, params->percentEase));
  const float4 fragColor = mix(current, datamosh, stepper * percent);

  if (!params->is_activated) {
    // Both diagonals of the frame as a thin cross, 80 % opaque, red to white.
    const float4 watermarkColor = make_float4(1.0f, uv.x, uv.y, 1.0f);
    const float onCross = step(minNum(fabs(uv.x - uv.y), fabs(1.0f - uv.x - uv.y)), 0.005f);
    return mix(fragColor, watermarkColor, onCross * 0.8f);
  }
  return fragColor;
}

GF_KERNEL_FUNCTION(MainKernel,
                   (GF_PTR_READ_ONLY(float4) inPre, GF_PTR_READ_ONLY(float4) inCur, GF_PTR(float4) outDst,
                    GF_PTR_READ_ONLY(KernelData) params, int inPrePitch, int inCurPitch, int inDstPitch, int in16f,
                    unsigned int inWidth, unsigned int inHeight),
                   (inPre, inCur, outDst, params, inPrePitch, inCurPitch, inDstPitch, in16f, inWidth, inHeight)) {
  if (inXY.x >= inWidth || inXY.y >= inHeight) {
    return;
  }
  const bool is16Bit = !!in16f;
  const int dstIndex = (int)inXY.y * inDstPitch + (int)inXY.x;

  // Exactly zero, tested on the bits: with relaxed math an OpenCL compiler
  // may treat a NaN as equal to 0.0f, and a NaN percent must take the full
  // path.
  if ((as_uint(params->percent) & 0x7FFFFFFFu) == 0u) {
    // The oldest pass copies the current frame through with a single bgra(),
    // so the written pixel has its first and third channels exchanged relative
    // to the current frame. The passes that follow read it as their previous
    // frame; the look depends on it.
    const float4 current =
        bgra(half4ToFloat4(ReadFloat4(inCur, (int)inXY.y * inCurPitch + (int)inXY.x, is16Bit)));
    WriteFloat4(float4ToHalf4(current), outDst, dstIndex, is16Bit);
    return;
  }

  const float2 flow = getFlow(inPre, inCur, params, inWidth, inHeight, inPrePitch, inCurPitch, is16Bit, inXY);
  const float4 color = FadeMotion(inPre, inCur, params, inWidth, inHeight, inPrePitch, inCurPitch, is16Bit, inXY, flow);
  WriteFloat4(float4ToHalf4(bgra(color)), outDst, dstIndex, is16Bit);
}

// Copies inSrc into outDst with the source's (0, 0) at (inOffsetX, inOffsetY),
// without scaling or filtering, and clears the rest of the destination to
// transparent black. Channel order is left as it is.
GF_KERNEL_FUNCTION(ResizeKernel,
                   (GF_PTR_READ_ONLY(float4) inSrc, GF_PTR(float4) outDst, int inSrcPitch, int inDstPitch, int in16f,
                    unsigned int inWidth, unsigned int inHeight, unsigned int outWidth, unsigned int outHeight,
                    int inOffsetX, int inOffsetY),
                   (inSrc, outDst, inSrcPitch, inDstPitch, in16f, inWidth, inHeight, outWidth, outHeight, inOffsetX,
                    inOffsetY)) {
  const int right = (int)inWidth + inOffsetX;
  const int bottom = (int)inHeight + inOffsetY;
  float4 fragColor = make_float4(0.0f, 0.0f, 0.0f, 0.0f);
  if (inXY.x >= outWidth || inXY.y >= outHeight) {
    return;
  }
  const bool is16Bit = !!in16f;
  const int x = (int)inXY.x;
  const int y = (int)inXY.y;
  if (x < right && x >= inOffsetX && y < bottom && y >= inOffsetY) {
    fragColor = half4ToFloat4(ReadFloat4(inSrc, (y - inOffsetY) * inSrcPitch + (x - inOffsetX), is16Bit));
  }
  WriteFloat4(float4ToHalf4(fragColor), outDst, y * inDstPitch + x, is16Bit);
}

GF_NAMESPACE_END

#endif  // DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_CL
