// Kernel support layer: device-target selection, qualifiers, vector types and
// the work-item index functions.
//
// The same kernel text is compiled three ways:
//   - CUDA (nvcc): detected from __CUDACC__;
//   - OpenCL C: selected by defining GF_DEVICE_TARGET_OPENCL to 1 in front of
//     the text (the embedded program text does this), or detected from the
//     OpenCL compiler's __OPENCL_VERSION__;
//   - host C++: everything else. The host build is a reference and test tool;
//     it supplies the vector types and built-ins that OpenCL has natively, and
//     puts the kernel text in the namespace driftsmear::kernel.
#ifndef DRIFTSMEAR_KERNELS_KERNEL_CORE_H
#define DRIFTSMEAR_KERNELS_KERNEL_CORE_H

#if defined(__CUDACC__)
#define GF_DEVICE_TARGET_CUDA 1
#else
#define GF_DEVICE_TARGET_CUDA 0
#endif

#ifndef GF_DEVICE_TARGET_OPENCL
#if defined(__OPENCL_VERSION__)
#define GF_DEVICE_TARGET_OPENCL 1
#else
#define GF_DEVICE_TARGET_OPENCL 0
#endif
#endif

// Metal is recognised by the host layer but never built.
#ifndef GF_DEVICE_TARGET_METAL
#define GF_DEVICE_TARGET_METAL 0
#endif

#if GF_DEVICE_TARGET_CUDA || GF_DEVICE_TARGET_OPENCL || GF_DEVICE_TARGET_METAL
#define GF_DEVICE_TARGET_DEVICE 1
#define GF_DEVICE_TARGET_HOST 0
#else
#define GF_DEVICE_TARGET_DEVICE 0
#define GF_DEVICE_TARGET_HOST 1
#endif

// Half-float buffers on OpenCL need vload_half/vstore_half; the host that
// builds the program defines this to 1 in front of the text.
#ifndef GF_OPENCL_SUPPORTS_16F
#define GF_OPENCL_SUPPORTS_16F 0
#endif

// ---------------------------------------------------------------------------
// Qualifiers
// ---------------------------------------------------------------------------
// Device functions are always inlined: a CPU OpenCL device runs a work-group
// as a loop over its work-items and vectorises that loop only when no call is
// left in it, and every kernel's per-pass values (read from the parameter
// record, which GF_RESTRICT marks as not written by the kernel) can then be
// computed once, outside the loop.
//
// GF_RESTRICT marks the parameter record and, on OpenCL, the pixel buffers
// as not aliased. MainKernel may run in place (destination = previous
// frame); the order in which work-items see each other's writes is
// unspecified there anyway. The host build keeps the buffers unmarked: it is
// the reference and walks the pixels in row order.
#if GF_DEVICE_TARGET_OPENCL
#define GF_PTR(T) __global T*
#define GF_PTR_READ_ONLY(T) const __global T*
#define GF_DEVICE_FUNCTION static inline __attribute__((always_inline))
#define GF_RESTRICT restrict
#define GF_BUFFER_RESTRICT restrict
#define GF_KERNEL_ENTRY __kernel void
#define GF_NAMESPACE_BEGIN
#define GF_NAMESPACE_END
#elif GF_DEVICE_TARGET_CUDA
#define GF_PTR(T) T*
#define GF_PTR_READ_ONLY(T) const T*
#define GF_DEVICE_FUNCTION __forceinline__ __device__
#define GF_RESTRICT __restrict__
#define GF_BUFFER_RESTRICT
#define GF_KERNEL_ENTRY extern "C" __global__ void
#define GF_NAMESPACE_BEGIN
#define GF_NAMESPACE_END
#else
#define GF_PTR(T) T*
#define GF_PTR_READ_ONLY(T) const T*
#if defined(_MSC_VER)
#define GF_DEVICE_FUNCTION __forceinline
#define GF_RESTRICT __restrict
#else
#define GF_DEVICE_FUNCTION inline __attribute__((always_inline))
#define GF_RESTRICT __restrict__
#endif
#define GF_BUFFER_RESTRICT
#define GF_KERNEL_ENTRY inline void
#define GF_NAMESPACE_BEGIN namespace driftsmear::kernel {
#define GF_NAMESPACE_END }
#endif

// A CPU OpenCL device runs a work-group as a loop over its work-items and
// vectorises that loop across work-items, eight or sixteen pixels at a time.
// Before that loop exists its compiler also pairs up independent scalar
// computations of the same shape within one work-item (a pixel's four
// channels, the two axes of a vector, two samples) into two- or four-wide
// vectors, and a loop that holds such vectors stays scalar. GF_LATE_ONE is 1,
// but the compiler cannot know it until the work-group size is a constant,
// which it is only once the loop is built (every work-group has at least one
// work-item): expressions written with it hide what the pairing looks for and
// fold away before the loop is vectorised.
#if GF_DEVICE_TARGET_OPENCL
#define GF_LATE_ONE ((int)min(get_local_size(0), (size_t)1))
#endif

#if GF_DEVICE_TARGET_HOST
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#endif
#if GF_DEVICE_TARGET_CUDA
#include <cuda_runtime.h>
#endif

// ---------------------------------------------------------------------------
// Vector types and constructors
// ---------------------------------------------------------------------------
#if GF_DEVICE_TARGET_OPENCL
#define make_float2(a, b) ((float2)((a), (b)))
#define make_float4(a, b, c, d) ((float4)((a), (b), (c), (d)))
#define make_uint2(a, b) ((uint2)((a), (b)))
#endif

GF_NAMESPACE_BEGIN

#if GF_DEVICE_TARGET_HOST
// Same sizes and alignment as the CUDA and OpenCL vector types, so a buffer of
// float4 pixels has the same layout on every build.
struct alignas(8) float2 {
  float x, y;
};
struct alignas(16) float4 {
  float x, y, z, w;
};
struct alignas(8) uint2 {
  unsigned int x, y;
};

inline float2 make_float2(float a, float b) { return float2{a, b}; }
inline float4 make_float4(float a, float b, float c, float d) { return float4{a, b, c, d}; }
inline uint2 make_uint2(unsigned int a, unsigned int b) { return uint2{a, b}; }

// Scalar built-ins of OpenCL C, so the kernel text can call them unqualified
// inside this namespace (the vector overloads below would otherwise hide the
// global ones). min and max follow fmin/fmax: a NaN argument is discarded.
inline float sqrt(float x) { return std::sqrt(x); }
inline float fabs(float x) { return std::fabs(x); }
inline float pow(float x, float y) { return std::pow(x, y); }
inline float cos(float x) { return std::cos(x); }
inline float sin(float x) { return std::sin(x); }
inline double cos(double x) { return std::cos(x); }
inline double sin(double x) { return std::sin(x); }
inline float floor(float x) { return std::floor(x); }
inline float fmin(float a, float b) { return std::fmin(a, b); }
inline float fmax(float a, float b) { return std::fmax(a, b); }
inline float min(float a, float b) { return std::fmin(a, b); }
inline float max(float a, float b) { return std::fmax(a, b); }
inline unsigned int min(unsigned int a, unsigned int b) { return a < b ? a : b; }
inline unsigned int max(unsigned int a, unsigned int b) { return a > b ? a : b; }
inline float clamp(float x, float lo, float hi) { return std::fmin(std::fmax(x, lo), hi); }
inline float mix(float a, float b, float t) { return a + (b - a) * t; }
inline float step(float edge, float x) { return x < edge ? 0.0f : 1.0f; }

// Reinterpretation of a float's bits, as OpenCL's as_uint.
inline unsigned int as_uint(float x) {
  unsigned int bits;
  std::memcpy(&bits, &x, sizeof bits);
  return bits;
}
#endif  // GF_DEVICE_TARGET_HOST

#if GF_DEVICE_TARGET_CUDA
GF_DEVICE_FUNCTION unsigned int as_uint(float x) { return __float_as_uint(x); }
GF_DEVICE_FUNCTION float clamp(float x, float lo, float hi) { return fminf(fmaxf(x, lo), hi); }
GF_DEVICE_FUNCTION float mix(float a, float b, float t) { return a + (b - a) * t; }
GF_DEVICE_FUNCTION float step(float edge, float x) { return x < edge ? 0.0f : 1.0f; }
#endif

#if GF_DEVICE_TARGET_HOST || GF_DEVICE_TARGET_CUDA
// The vector operators and built-ins that OpenCL C has natively.
GF_DEVICE_FUNCTION float2 operator+(float2 a, float2 b) { return make_float2(a.x + b.x, a.y + b.y); }
GF_DEVICE_FUNCTION float2 operator-(float2 a, float2 b) { return make_float2(a.x - b.x, a.y - b.y); }
GF_DEVICE_FUNCTION float2 operator*(float2 a, float2 b) { return make_float2(a.x * b.x, a.y * b.y); }
GF_DEVICE_FUNCTION float2 operator/(float2 a, float2 b) { return make_float2(a.x / b.x, a.y / b.y); }
GF_DEVICE_FUNCTION float2 operator+(float2 a, float s) { return make_float2(a.x + s, a.y + s); }
GF_DEVICE_FUNCTION float2 operator-(float2 a, float s) { return make_float2(a.x - s, a.y - s); }
GF_DEVICE_FUNCTION float2 operator*(float2 a, float s) { return make_float2(a.x * s, a.y * s); }
GF_DEVICE_FUNCTION float2 operator*(float s, float2 a) { return make_float2(s * a.x, s * a.y); }
GF_DEVICE_FUNCTION float2 operator/(float2 a, float s) { return make_float2(a.x / s, a.y / s); }
GF_DEVICE_FUNCTION float2 operator-(float2 a) { return make_float2(-a.x, -a.y); }

GF_DEVICE_FUNCTION float4 operator+(float4 a, float4 b) {
  return make_float4(a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w);
}
GF_DEVICE_FUNCTION float4 operator-(float4 a, float4 b) {
  return make_float4(a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w);
}
GF_DEVICE_FUNCTION float4 operator*(float4 a, float4 b) {
  return make_float4(a.x * b.x, a.y * b.y, a.z * b.z, a.w * b.w);
}
GF_DEVICE_FUNCTION float4 operator/(float4 a, float4 b) {
  return make_float4(a.x / b.x, a.y / b.y, a.z / b.z, a.w / b.w);
}
GF_DEVICE_FUNCTION float4 operator+(float4 a, float s) { return make_float4(a.x + s, a.y + s, a.z + s, a.w + s); }
GF_DEVICE_FUNCTION float4 operator-(float4 a, float s) { return make_float4(a.x - s, a.y - s, a.z - s, a.w - s); }
GF_DEVICE_FUNCTION float4 operator*(float4 a, float s) { return make_float4(a.x * s, a.y * s, a.z * s, a.w * s); }
GF_DEVICE_FUNCTION float4 operator*(float s, float4 a) { return make_float4(s * a.x, s * a.y, s * a.z, s * a.w); }
GF_DEVICE_FUNCTION float4 operator/(float4 a, float s) { return make_float4(a.x / s, a.y / s, a.z / s, a.w / s); }
GF_DEVICE_FUNCTION float4 operator-(float4 a) { return make_float4(-a.x, -a.y, -a.z, -a.w); }

GF_DEVICE_FUNCTION float dot(float2 a, float2 b) { return a.x * b.x + a.y * b.y; }
GF_DEVICE_FUNCTION float dot(float4 a, float4 b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }
GF_DEVICE_FUNCTION float length(float2 a) { return sqrt(dot(a, a)); }
GF_DEVICE_FUNCTION float length(float4 a) { return sqrt(dot(a, a)); }
GF_DEVICE_FUNCTION float4 sqrt(float4 a) { return make_float4(sqrt(a.x), sqrt(a.y), sqrt(a.z), sqrt(a.w)); }
GF_DEVICE_FUNCTION float2 min(float2 a, float2 b) { return make_float2(fmin(a.x, b.x), fmin(a.y, b.y)); }
GF_DEVICE_FUNCTION float2 max(float2 a, float2 b) { return make_float2(fmax(a.x, b.x), fmax(a.y, b.y)); }
GF_DEVICE_FUNCTION float2 clamp(float2 a, float2 lo, float2 hi) { return min(max(a, lo), hi); }
GF_DEVICE_FUNCTION float2 clamp(float2 a, float lo, float hi) {
  return make_float2(clamp(a.x, lo, hi), clamp(a.y, lo, hi));
}
GF_DEVICE_FUNCTION float4 mix(float4 a, float4 b, float t) { return a + (b - a) * t; }
#endif  // GF_DEVICE_TARGET_HOST || GF_DEVICE_TARGET_CUDA

// ---------------------------------------------------------------------------
// Work-item index functions
// ---------------------------------------------------------------------------
#if GF_DEVICE_TARGET_OPENCL
GF_DEVICE_FUNCTION uint2 KernelXYUnsigned(void) {
  return make_uint2((unsigned int)get_global_id(0), (unsigned int)get_global_id(1));
}
GF_DEVICE_FUNCTION uint2 ThreadIDUnsigned(void) {
  return make_uint2((unsigned int)get_local_id(0), (unsigned int)get_local_id(1));
}
GF_DEVICE_FUNCTION uint2 BlockIDUnsigned(void) {
  return make_uint2((unsigned int)get_group_id(0), (unsigned int)get_group_id(1));
}
GF_DEVICE_FUNCTION uint2 BlockSizeUnsigned(void) {
  return make_uint2((unsigned int)get_local_size(0), (unsigned int)get_local_size(1));
}
#elif GF_DEVICE_TARGET_CUDA
GF_DEVICE_FUNCTION uint2 KernelXYUnsigned() {
  return make_uint2(blockIdx.x * blockDim.x + threadIdx.x, blockIdx.y * blockDim.y + threadIdx.y);
}
GF_DEVICE_FUNCTION uint2 ThreadIDUnsigned() { return make_uint2(threadIdx.x, threadIdx.y); }
GF_DEVICE_FUNCTION uint2 BlockIDUnsigned() { return make_uint2(blockIdx.x, blockIdx.y); }
GF_DEVICE_FUNCTION uint2 BlockSizeUnsigned() { return make_uint2(blockDim.x, blockDim.y); }
#else
// The host build runs one work-item at a time: the runner sets the current
// global index before it calls a kernel entry, and every work-group holds a
// single work-item.
inline thread_local uint2 hostWorkItem = {0u, 0u};
inline uint2 KernelXYUnsigned() { return hostWorkItem; }
inline uint2 ThreadIDUnsigned() { return make_uint2(0u, 0u); }
inline uint2 BlockIDUnsigned() { return hostWorkItem; }
inline uint2 BlockSizeUnsigned() { return make_uint2(1u, 1u); }
#endif

GF_NAMESPACE_END

#endif  // DRIFTSMEAR_KERNELS_KERNEL_CORE_H
