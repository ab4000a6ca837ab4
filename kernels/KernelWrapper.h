// Kernel support layer: kernel entries generated from their delegate bodies.
//
// Each kernel is written once, as the body of Name_Delegate, which takes the
// kernel's parameters plus the work-item's pixel position `inXY`:
//
//   GF_KERNEL_FUNCTION(Name,
//                      (GF_PTR(float4) outDst, int inPitch, ...),   // parameters
//                      (outDst, inPitch, ...))                       // their names
//   {
//     ... body using inXY ...
//   }
//
// The macro declares the delegate, defines the entry `Name` with exactly the
// given parameters (the host/device contract: argument order and names of the
// entry points) forwarding to the delegate with KernelXYUnsigned(), and opens
// the delegate's definition so that the body follows it.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_WRAPPER_H
#define DRIFTSMEAR_KERNELS_KERNEL_WRAPPER_H

#include "kernels/KernelCore.h"

#define GF_EXPAND(...) __VA_ARGS__

#define GF_KERNEL_FUNCTION(name, params, args)                                            \
  GF_DEVICE_FUNCTION void name##_Delegate(GF_EXPAND params, uint2 inXY);                 \
  GF_KERNEL_ENTRY name params { name##_Delegate(GF_EXPAND args, KernelXYUnsigned()); } \
  GF_DEVICE_FUNCTION void name##_Delegate(GF_EXPAND params, uint2 inXY)

#endif  // DRIFTSMEAR_KERNELS_KERNEL_WRAPPER_H
