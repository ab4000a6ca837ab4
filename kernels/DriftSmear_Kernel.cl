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

// Every function below is written channel by channel in scalar arithmetic and
// without branches in the per-pixel path (selects instead): CPU OpenCL
// devices vectorise the work-item loop, eight or sixteen pixels at a time,
// only then, and only when their compiler has not already packed a pixel's
// channels or a vector's two axes into short vectors (see GF_LATE_ONE and
// sequenced()). Values that depend only on the parameter record (the eased
// percent, the threshold band, the velocity edges) are computed where the
// compiler can hoist them out of that loop.

// Index of the pixel nearest below uv. A coordinate outside [0, 1) on either
// axis has both components clamped to the low corner of the last pixel, so no
// sample leaves the frame and an edge pixel repeats. A NaN coordinate is
// treated as outside and clamps to 0 (converting it to an integer would be
// undefined); the integer bounds after the conversion only protect memory
// should an optimiser that assumes finite math let one through.
GF_DEVICE_FUNCTION int getTextureIndex(float u, float v, unsigned int width, unsigned int height, int pitch) {
#if GF_DEVICE_TARGET_OPENCL
  // On the bits, which relaxed math cannot reorder: [+0, 1) are exactly the
  // patterns below that of 1.0 (a -0 counts as outside here and clamps to the
  // same pixel). The two axes are deliberately computed differently (v is
  // clamped on its bits: NaN and negative patterns, -0 included, give 0, and
  // everything from the upper bound up gives the bound, as clampNum does):
  // a CPU device's pairing vectoriser would otherwise pack u and v into
  // two-wide vectors, which keep its work-item loop from being vectorised.
  // The row is computed after the column (sequencedAfterIndex), which keeps
  // the two from being paired too.
  const bool outside = max(as_uint(u), as_uint(v)) >= 0x3F800000u;
  const float clampedU = clampNum(u, 0.0f, 1.0f - 1.0f / (float)width);
  const int px = clampInt((int)((outside ? clampedU : u) * (float)width), 0, (int)width - 1);
  v = sequencedAfterIndex(v, px);
  const float highV = 1.0f - 1.0f / (float)height;
  const unsigned int bv = as_uint(v);
  const float clampedV = bv > 0x7F800000u ? 0.0f : bv >= as_uint(highV) ? highV : v;
  const int py = clampInt((int)((outside ? clampedV : v) * (float)height), 0, (int)height - 1);
#else
  // On the bits, without branches: [+0, 1) are the patterns below that of
  // 1.0, and -0 is inside too; a NaN is outside.
  const unsigned int bu = as_uint(u);
  const unsigned int bv = as_uint(v);
  const bool outside = !(((bu < 0x3F800000u) | (bu == 0x80000000u)) & ((bv < 0x3F800000u) | (bv == 0x80000000u)));
  const float clampedU = clampNum(u, 0.0f, 1.0f - 1.0f / (float)width);
  const float clampedV = clampNum(v, 0.0f, 1.0f - 1.0f / (float)height);
  u = outside ? clampedU : u;
  v = outside ? clampedV : v;
  const int px = clampInt((int)(u * (float)width), 0, (int)width - 1);
  const int py = clampInt((int)(v * (float)height), 0, (int)height - 1);
#endif
  // (The coordinates are non-negative where they are converted, so converting
  // through int truncates exactly as an unsigned conversion would.)
  return py * pitch + px;
}

// The normalised coordinate of pixel xy, its low corner (x / width,
// y / height). It must be exact: every sample at the pixel itself takes the
// nearest pixel at or below it, so a quotient one ulp low reads the pixel to
// the left or above. OpenCL builds the text with relaxed math, under which
// the quotient may come out an ulp low (PoCL's vectorised work-item loop does,
// even for powers of two); the pragma keeps these two divisions IEEE ones
// where the compiler honours it.
GF_DEVICE_FUNCTION float2 pixelCorner(uint2 xy, unsigned int width, unsigned int height) {
#if GF_DEVICE_TARGET_OPENCL
#pragma float_control(precise, on)
#endif
  const float u = (float)xy.x / (float)width;
  return make_float2(u, sequenced((float)xy.y, u) / (float)height);
}

// One channel (0 = B, 1 = G, 2 = R, 3 = A as stored) of pixel `index`.
GF_DEVICE_FUNCTION float readChannel(GF_PTR_READ_ONLY(float4) buffer, int index, int channel, bool is16Bit) {
#if GF_DEVICE_TARGET_OPENCL
  channel *= GF_CHANNEL_STEP;
#endif
  return ReadFloat((GF_PTR_READ_ONLY(float))buffer, 4 * index + channel, is16Bit);
}

// Grey value 0.3 R + 0.59 G + 0.11 B of the pixel nearest below (u, v).
GF_DEVICE_FUNCTION float grayAt(GF_PTR_READ_ONLY(float4) buffer, float u, float v, unsigned int width,
                                unsigned int height, int pitch, bool is16Bit) {
  const int index = getTextureIndex(u, v, width, height, pitch);
  return readChannel(buffer, index, 2, is16Bit) * 0.3f + readChannel(buffer, index, 1, is16Bit) * 0.59f +
         readChannel(buffer, index, 0, is16Bit) * 0.11f;
}

// RGBA of the pixel nearest below uv (see getTextureIndex).
GF_DEVICE_FUNCTION float4 getTexture(GF_PTR_READ_ONLY(float4) buffer, float2 uv, unsigned int width,
                                     unsigned int height, int pitch, bool is16Bit) {
  return bgra(half4ToFloat4(ReadFloat4(buffer, getTextureIndex(uv.x, uv.y, width, height, pitch), is16Bit)));
}

// Central grey differences of both frames around uv, summed; the fourth
// component is always 0.
GF_DEVICE_FUNCTION float4 getGradientAt(GF_PTR_READ_ONLY(float4) inPre, GF_PTR_READ_ONLY(float4) inCur, float2 uv,
                                        float2 offset, unsigned int width, unsigned int height, int prePitch,
                                        int curPitch, bool is16Bit) {
  // Each sample is taken after the one before (sequenced), so that the four
  // are not paired up either.
  const float preAhead = grayAt(inPre, uv.x + offset.x, uv.y + offset.y, width, height, prePitch, is16Bit);
  const float preBehind =
      grayAt(inPre, sequenced(uv.x - offset.x, preAhead), uv.y - offset.y, width, height, prePitch, is16Bit);
  const float curAhead =
      grayAt(inCur, sequenced(uv.x + offset.x, preBehind), uv.y + offset.y, width, height, curPitch, is16Bit);
  const float curBehind =
      grayAt(inCur, sequenced(uv.x - offset.x, curAhead), uv.y - offset.y, width, height, curPitch, is16Bit);
  const float sum = (preAhead - preBehind) + (curAhead - curBehind);
  return make_float4(sum, sum, sum, 0.0f);
}

// Splits each component into its positive and negative parts and scales them.
// For a scale s >= 0 the result is (fx * s, -fy * s): the vertical component
// changes sign, which sets the vertical direction of the smear. For s < 0 the
// vertical component is always 0.
GF_DEVICE_FUNCTION float2 getFlowVector(float fx, float fy, float2 scale) {
  const float flowXPos = maxNum(fx, 0.0f) * scale.x;
  const float flowXNeg = fabs(minNum(fx, 0.0f)) * scale.x;
  const float flowYPos = maxNum(fy, 0.0f) * scale.y;
  const float flowYNeg = fabs(minNum(fy, 0.0f)) * scale.y;
  const float dirY = flowYPos > flowYNeg ? -1.0f : 1.0f;
  return make_float2(flowXPos - flowXNeg, maxNum(flowYPos, flowYNeg) * dirY);
}

// Gradient (optical-flow) estimate of the motion at pixel xy between the
// previous and the current frame.
GF_DEVICE_FUNCTION float2 getFlow(GF_PTR_READ_ONLY(float4) inPre, GF_PTR_READ_ONLY(float4) inCur,
                                  GF_PTR_READ_ONLY(KernelData) GF_RESTRICT params, unsigned int width,
                                  unsigned int height, int prePitch, int curPitch, bool is16Bit, uint2 xy) {
  const float2 uv = pixelCorner(xy, width, height);
  const int preIndex = (int)xy.y * prePitch + (int)xy.x;
  const int curIndex = (int)xy.y * curPitch + (int)xy.x;
  // Premultiplied RGBA of both pixels (stored B, G, R, A).
  const float preA = readChannel(inPre, preIndex, 3, is16Bit);
  const float curA = readChannel(inCur, curIndex, 3, is16Bit);
  const float diffR = readChannel(inPre, preIndex, 2, is16Bit) * preA - readChannel(inCur, curIndex, 2, is16Bit) * curA;
  const float diffG = readChannel(inPre, preIndex, 1, is16Bit) * preA - readChannel(inCur, curIndex, 1, is16Bit) * curA;
  const float diffB = readChannel(inPre, preIndex, 0, is16Bit) * preA - readChannel(inCur, curIndex, 0, is16Bit) * curA;
  // Signed: a pixel that got brighter gives a negative velocity.
  const float vel = (diffR + diffG + diffB) / 3.0f;
  const float movement =
      smoothStep(minNum(params->minVel, params->maxVel), maxNum(params->minVel, params->maxVel), vel);

  const float gradX =
      getGradientAt(inPre, inCur, uv, make_float2(params->offsetX, 0.0f), width, height, prePitch, curPitch, is16Bit).x;
  const float gradY = getGradientAt(inPre, inCur, make_float2(sequenced(uv.x, gradX), uv.y),
                                    make_float2(0.0f, params->offsetY), width, height, prePitch, curPitch, is16Bit)
                          .x;
  const float gradMag = sqrt(gradX * gradX + gradY * gradY + params->lambda);
  const float vx = movement * gradX / gradMag;
  const float vy = movement * gradY / gradMag;

  const float2 flow = getFlowVector(vx, vy, make_float2(params->trailIntensity, params->trailIntensity));
  return make_float2(params->isPremult ? flow.x * curA : flow.x, params->isPremult ? flow.y * curA : flow.y);
}

// False colour of a vector in [-1, 1]^2; zero motion is (0.5, 0.5, 0.25, 1).
GF_DEVICE_FUNCTION float4 xy2rgba(float2 v) {
  const float tx = (v.x + 1.0f) / 2.0f;
  const float ty = (v.y + 1.0f) / 2.0f;
  // mix((1, 0, 0, 1), (0, 1, 0, 1), tx) + mix((0, 0, 1, 1), (1, 1, 0, 1), ty), halved.
  return make_float4((mix(1.0f, 0.0f, tx) + mix(0.0f, 1.0f, ty)) / 2.0f,
                     (mix(0.0f, 1.0f, tx) + mix(0.0f, 1.0f, ty)) / 2.0f,
                     (mix(0.0f, 0.0f, tx) + mix(1.0f, 0.0f, ty)) / 2.0f,
                     (mix(1.0f, 1.0f, tx) + mix(1.0f, 1.0f, ty)) / 2.0f);
}

// The pass's blend amount: an ease-out of percent. A NaN (percent NaN, or
// above 1 with a non-integer exponent) clamps to 0: the pass leaves the
// current pixel. It depends on the record only, so compilers compute it once
// per pass.
GF_DEVICE_FUNCTION float easedPercent(GF_PTR_READ_ONLY(KernelData) GF_RESTRICT params) {
  return saturate(1.0f - pow(1.0f - params->percent, params->percentEase));
}

// Samples the previous frame displaced along the flow with the red channel
// ahead of and the blue channel behind the displaced point, and blends it over
// the current pixel where the flow is strong enough. Returns RGBA.
GF_DEVICE_FUNCTION float4 FadeMotion(GF_PTR_READ_ONLY(float4) inPre, GF_PTR_READ_ONLY(float4) inCur,
                                     GF_PTR_READ_ONLY(KernelData) GF_RESTRICT params, unsigned int width,
                                     unsigned int height, int prePitch, int curPitch, bool is16Bit, uint2 xy,
                                     float2 flow) {
  const float2 uv = pixelCorner(xy, width, height);
  const float2 texel = make_float2(1.0f / (float)width, 1.0f / (float)height);
  const float4 current = bgra(half4ToFloat4(ReadFloat4(inCur, (int)xy.y * curPitch + (int)xy.x, is16Bit)));

  // The vertical axis is computed after the horizontal one and each sample
  // after the one before (sequenced), so that none of them are paired up.
  const float flowX = clampNum(flow.x, -1.0f, 1.0f);
  const float stX = uv.x + flowX * texel.x * params->displaceIntensity;
  const float flowY = clampNum(sequenced(flow.y, stX), -1.0f, 1.0f);
  const float stY = uv.y + flowY * texel.y * params->displaceIntensity;
  const float flowMag = sqrt(flowX * flowX + flowY * flowY);
  const float thresholdMin = maxNum(params->threshold - 0.2f, 0.05f);
  const float thresholdMax = minNum(sequenced(params->threshold, thresholdMin) + 0.2f, 0.95f);
  const float stepper = smoothStep(thresholdMin, thresholdMax, flowMag);
  const float2 shift = getChromaticShift(flowX, flowY, params->chromaticOffset, params->chromatic);

  // The displaced sample's green and alpha; red ahead of and blue behind it.
  const int index = getTextureIndex(stX, stY, width, height, prePitch);
  const int indexR =
      getTextureIndex(sequencedAfterIndex(stX + shift.x, index), stY + shift.y, width, height, prePitch);
  const int indexB =
      getTextureIndex(sequencedAfterIndex(stX - shift.x, indexR), stY - shift.y, width, height, prePitch);
  const float datamoshR = readChannel(inPre, indexR, 2, is16Bit);
  const float datamoshB = readChannel(inPre, indexB, 0, is16Bit);
  const float datamoshG = readChannel(inPre, index, 1, is16Bit);
  const float datamoshA = readChannel(inPre, index, 3, is16Bit);

  const float weight = stepper * easedPercent(params);
  const float r = mix(current.x, datamoshR, weight);
  const float g = mix(current.y, datamoshG, weight);
  const float b = mix(current.z, datamoshB, weight);
  const float a = mix(current.w, datamoshA, weight);

  // Not activated: both diagonals of the frame as a thin cross, 80 % opaque,
  // coloured (1, u, v, 1).
  const bool watermark = !params->is_activated;
  const float cross = step(minNum(fabs(uv.x - uv.y), fabs(1.0f - uv.x - uv.y)), 0.005f) * 0.8f;
#if GF_DEVICE_TARGET_OPENCL
  // Both colours are computed and one is selected: a branch here would keep
  // a CPU device's work-item loop from being vectorised.
  const float4 marked = make_float4(mix(r, 1.0f, cross), mix(g, uv.x, cross), mix(b, uv.y, cross), mix(a, 1.0f, cross));
  const float4 color = make_float4(watermark ? marked.x : r, watermark ? marked.y : g, watermark ? marked.z : b,
                                   watermark ? marked.w : a);
#else
  const float4 color = make_float4(watermark ? mix(r, 1.0f, cross) : r, watermark ? mix(g, uv.x, cross) : g,
                                   watermark ? mix(b, uv.y, cross) : b, watermark ? mix(a, 1.0f, cross) : a);
#endif

  // Debug views replace the result (no threshold, percent or watermark).
  const int view = params->showDebugData;
  const float4 motion = xy2rgba(make_float2(flowX, flowY));
  const float displaceX = (stX - uv.x) * 1000.0f + uv.x;
  const float displaceY = (stY - uv.y) * 1000.0f + uv.y;
  const float shiftX = shift.x * 1000.0f;
  const float shiftY = shift.y * 1000.0f;
  const float viewX = view == 2 ? motion.x : view == 3 ? displaceX : view == 4 ? flowMag : shiftX;
  const float viewY = view == 2 ? motion.y : view == 3 ? displaceY : view == 4 ? flowMag : shiftY;
  const float viewZ = view == 2 ? motion.z : view == 4 ? flowMag : 0.0f;
  const bool debugView = view >= 2 && view <= 5;
  return make_float4(debugView ? viewX : color.x, debugView ? viewY : color.y, debugView ? viewZ : color.z,
                     debugView ? 1.0f : color.w);
}

// One output pixel of MainKernel. Work-items beyond the frame compute on
// pixel (0, 0) and write nothing: every read stays inside the frame and only
// the store is conditional. (The host never launches a pass over an empty
// frame.)
GF_DEVICE_FUNCTION void mainPixel(GF_PTR_READ_ONLY(float4) GF_BUFFER_RESTRICT inPre,
                                  GF_PTR_READ_ONLY(float4) GF_BUFFER_RESTRICT inCur,
                                  GF_PTR(float4) GF_BUFFER_RESTRICT outDst,
                                  GF_PTR_READ_ONLY(KernelData) GF_RESTRICT params, int inPrePitch, int inCurPitch,
                                  int inDstPitch, bool is16Bit, unsigned int inWidth, unsigned int inHeight,
                                  uint2 inXY, bool groupInside) {
  const bool inside = groupInside || (inXY.x < inWidth && inXY.y < inHeight);
  const unsigned int x = inside ? inXY.x : 0u;
  const uint2 xy = make_uint2(x, inside ? sequencedIndex(inXY.y, x) : 0u);

  const float2 flow = getFlow(inPre, inCur, params, inWidth, inHeight, inPrePitch, inCurPitch, is16Bit, xy);
  const float4 color = FadeMotion(inPre, inCur, params, inWidth, inHeight, inPrePitch, inCurPitch, is16Bit, xy, flow);

  // Percent exactly zero, tested on the bits: with relaxed math an OpenCL
  // compiler may treat a NaN as equal to 0.0f, and a NaN percent must take the
  // full path. That pass copies the current frame through with a single
  // bgra(), so the written pixel has its first and third channels exchanged
  // relative to the current frame; the passes that follow read it as their
  // previous frame and the look depends on it.
  const bool copyPass = (as_uint(params->percent) & 0x7FFFFFFFu) == 0u;
  const float4 current = bgra(half4ToFloat4(ReadFloat4(inCur, (int)xy.y * inCurPitch + (int)xy.x, is16Bit)));
  const float4 written = make_float4(copyPass ? current.x : color.z, copyPass ? current.y : color.y,
                                     copyPass ? current.z : color.x, copyPass ? current.w : color.w);
  if (inside) {
    WriteFloat4(float4ToHalf4(written), outDst, (int)xy.y * inDstPitch + (int)xy.x, is16Bit);
  }
}

GF_KERNEL_FUNCTION(MainKernel,
                   (GF_PTR_READ_ONLY(float4) GF_BUFFER_RESTRICT inPre, GF_PTR_READ_ONLY(float4) GF_BUFFER_RESTRICT inCur,
                    GF_PTR(float4) GF_BUFFER_RESTRICT outDst, GF_PTR_READ_ONLY(KernelData) GF_RESTRICT params,
                    int inPrePitch, int inCurPitch, int inDstPitch, int in16f, unsigned int inWidth,
                    unsigned int inHeight),
                   (inPre, inCur, outDst, params, inPrePitch, inCurPitch, inDstPitch, in16f, inWidth, inHeight)) {
#if GF_DEVICE_TARGET_OPENCL
  // One copy of the pixel code per case, each with the case a constant: the
  // work-item loop of a CPU device then holds no test of it (the one test
  // moves out of the loop). Float frames have a copy for work-groups that lie
  // wholly inside the frame, whose every work-item writes: a conditional
  // store keeps devices without masked interleaved stores (AVX2) from
  // vectorising the loop. (The first work-item of the group is at the global
  // id less the local id.)
  const bool groupInside = get_global_id(0) - get_local_id(0) + get_local_size(0) <= inWidth &&
                           get_global_id(1) - get_local_id(1) + get_local_size(1) <= inHeight;
  if (in16f != 0) {
    mainPixel(inPre, inCur, outDst, params, inPrePitch, inCurPitch, inDstPitch, true, inWidth, inHeight, inXY, false);
  } else if (groupInside) {
    mainPixel(inPre, inCur, outDst, params, inPrePitch, inCurPitch, inDstPitch, false, inWidth, inHeight, inXY, true);
  } else {
    mainPixel(inPre, inCur, outDst, params, inPrePitch, inCurPitch, inDstPitch, false, inWidth, inHeight, inXY, false);
  }
#else
  mainPixel(inPre, inCur, outDst, params, inPrePitch, inCurPitch, inDstPitch, !!in16f, inWidth, inHeight, inXY, false);
#endif
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
