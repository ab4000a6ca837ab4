// The basic suite through which a plug-in acquires every other host suite.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include <cstddef>
#include <cstdint>

#ifndef DRIFTSMEAR_SPERR_DEFINED
#define DRIFTSMEAR_SPERR_DEFINED
typedef int32_t SPErr;
#endif

#ifdef _WIN32
typedef int32_t SPBoolean;
#else
typedef uint8_t SPBoolean;
#endif

#define SPAPI

#define kSPNoError ((SPErr)0)
#define kSPSuiteNotFoundError ((SPErr)0x53214664)   // 'S!Fd'
#define kSPUnimplementedError ((SPErr)0x21494D50)   // '!IMP'

#define kSPBasicSuite "SP Basic Suite"
#define kSPBasicSuiteVersion 4

#pragma pack(push, 8)
typedef struct SPBasicSuite {
  SPErr (*AcquireSuite)(const char* name, int32_t version, const void** suite);
  SPErr (*ReleaseSuite)(const char* name, int32_t version);
  SPBoolean (*IsEqual)(const char* token1, const char* token2);
  SPErr (*AllocateBlock)(size_t size, void** block);
  SPErr (*FreeBlock)(void* block);
  SPErr (*ReallocateBlock)(void* block, size_t newSize, void** newblock);
  SPErr (*Undefined)(void);
} SPBasicSuite;
#pragma pack(pop)
