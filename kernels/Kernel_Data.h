// KernelData: the settings record carried from the host code to the kernels.
//
// This one declaration is compiled into the host program, the CUDA module and
// the OpenCL program text; the host copies the record byte for byte into the
// device buffer that MainKernel receives as `params`, so the layout is fixed
// at 472 bytes with the offsets checked below on every side.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_DATA_H
#define DRIFTSMEAR_KERNELS_KERNEL_DATA_H

#if defined(__OPENCL_VERSION__) || (defined(GF_DEVICE_TARGET_OPENCL) && GF_DEVICE_TARGET_OPENCL)
// OpenCL C leaves the size of bool to the implementation and does not allow it
// in buffer structures: the flags are explicit 8-bit fields there, which keeps
// them at one byte each, as bool is on the host and on CUDA.
typedef uchar KernelBool;
#define KERNEL_DATA_CHECK(name, condition) typedef char name[(condition) ? 1 : -1]
#define KERNEL_DATA_OFFSET(field) __builtin_offsetof(KernelData, field)
#else
#include <cstddef>
typedef bool KernelBool;
#define KERNEL_DATA_CHECK(name, condition) static_assert(condition, #name)
#define KERNEL_DATA_OFFSET(field) offsetof(KernelData, field)
#endif

typedef struct KernelData {
  KernelBool is_activated;  // licence state; false draws the watermark cross
  int originH[50];          // per frame slot: left of the checked-out layer (host only)
  int originV[50];          // per frame slot: top of the checked-out layer (host only)
  int numFrames;            // frame slots in use (host only)
  float trailIntensity;     // scale of the flow vector
  float displaceIntensity;  // scale of the displacement along the flow
  float threshold;          // centre of the flow-magnitude band (+-0.2, within 0.05..0.95)
  float lambda;             // regulariser added under the gradient magnitude's root
  float minVel;             // velocity smoothstep edges, in either order
  float maxVel;
  float offsetX;  // horizontal gradient distance, normalised units
  float offsetY;  // vertical gradient distance, normalised units
  float chromatic;        // strength of the red/blue split
  float chromaticOffset;  // phase of the red/blue split, radians
  float time;             // current time in seconds (read by no kernel)
  float percentEase;      // exponent of the ease applied to percent
  float percent;          // blend weight of this pass, 0..1
  KernelBool isPremult;   // input is premultiplied by alpha
  int preset;             // selected preset menu item, 1-based (read by no kernel)
  int showDebugData;      // debug view selector, 1-based menu item
} KernelData;

KERNEL_DATA_CHECK(KernelData_size_is_472, sizeof(KernelData) == 472);
KERNEL_DATA_CHECK(KernelData_is_activated_at_0, KERNEL_DATA_OFFSET(is_activated) == 0);
KERNEL_DATA_CHECK(KernelData_originH_at_4, KERNEL_DATA_OFFSET(originH) == 4);
KERNEL_DATA_CHECK(KernelData_originV_at_204, KERNEL_DATA_OFFSET(originV) == 204);
KERNEL_DATA_CHECK(KernelData_numFrames_at_404, KERNEL_DATA_OFFSET(numFrames) == 404);
KERNEL_DATA_CHECK(KernelData_trailIntensity_at_408, KERNEL_DATA_OFFSET(trailIntensity) == 408);
KERNEL_DATA_CHECK(KernelData_displaceIntensity_at_412, KERNEL_DATA_OFFSET(displaceIntensity) == 412);
KERNEL_DATA_CHECK(KernelData_threshold_at_416, KERNEL_DATA_OFFSET(threshold) == 416);
KERNEL_DATA_CHECK(KernelData_lambda_at_420, KERNEL_DATA_OFFSET(lambda) == 420);
KERNEL_DATA_CHECK(KernelData_minVel_at_424, KERNEL_DATA_OFFSET(minVel) == 424);
KERNEL_DATA_CHECK(KernelData_maxVel_at_428, KERNEL_DATA_OFFSET(maxVel) == 428);
KERNEL_DATA_CHECK(KernelData_offsetX_at_432, KERNEL_DATA_OFFSET(offsetX) == 432);
KERNEL_DATA_CHECK(KernelData_offsetY_at_436, KERNEL_DATA_OFFSET(offsetY) == 436);
KERNEL_DATA_CHECK(KernelData_chromatic_at_440, KERNEL_DATA_OFFSET(chromatic) == 440);
KERNEL_DATA_CHECK(KernelData_chromaticOffset_at_444, KERNEL_DATA_OFFSET(chromaticOffset) == 444);
KERNEL_DATA_CHECK(KernelData_time_at_448, KERNEL_DATA_OFFSET(time) == 448);
KERNEL_DATA_CHECK(KernelData_percentEase_at_452, KERNEL_DATA_OFFSET(percentEase) == 452);
KERNEL_DATA_CHECK(KernelData_percent_at_456, KERNEL_DATA_OFFSET(percent) == 456);
KERNEL_DATA_CHECK(KernelData_isPremult_at_460, KERNEL_DATA_OFFSET(isPremult) == 460);
KERNEL_DATA_CHECK(KernelData_preset_at_464, KERNEL_DATA_OFFSET(preset) == 464);
KERNEL_DATA_CHECK(KernelData_showDebugData_at_468, KERNEL_DATA_OFFSET(showDebugData) == 468);

#undef KERNEL_DATA_CHECK
#undef KERNEL_DATA_OFFSET

#endif  // DRIFTSMEAR_KERNELS_KERNEL_DATA_H
