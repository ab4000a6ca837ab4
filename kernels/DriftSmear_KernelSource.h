// The OpenCL program text of the kernels, embedded at build time: the kernel
// text with its includes inlined (under #line markers naming the real files),
// starting with the OpenCL target selection. The device layer builds it after
// a separate "#define GF_OPENCL_SUPPORTS_16F 1\n" source string.
#ifndef DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_SOURCE_H
#define DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_SOURCE_H

#include <cstddef>

// Zero-terminated program text.
extern const char kDriftSmearKernelSource[];
// Its length in bytes, without the terminator.
extern const std::size_t kDriftSmearKernelSourceLength;

#endif  // DRIFTSMEAR_KERNELS_DRIFTSMEAR_KERNEL_SOURCE_H
