// Platform switches of the host interface: which operating system and
// processor the plug-in is built for. Every plug-in source includes it before
// any other host header; entry.h and the Premiere headers depend on it.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once

#if defined(_WIN32)
#define AE_OS_WIN
#elif defined(__APPLE__)
#define AE_OS_MAC
#else
// Our own hosts on Linux load the plug-in as a shared object.
#define AE_OS_LINUX
#endif

#if defined(__x86_64__) || defined(_M_X64)
#define AE_PROC_INTELx64
#elif defined(__aarch64__) || defined(_M_ARM64)
#define AE_PROC_ARM64
#endif
