// "Premiere Memory Manager Suite": the host's pointer and handle allocator.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define kPrSDKMemoryManagerSuite "Premiere Memory Manager Suite"
#define kPrSDKMemoryManagerSuiteVersion 4

typedef char** PrMemoryHandle;

#pragma pack(push, 1)

typedef struct {
  prSuiteError (*ReserveMemory)(csSDK_uint32 inPluginID, csSDK_size_t inSize);
  PrMemoryPtr (*NewPtr)(csSDK_uint32 inByteCount);
  PrMemoryPtr (*NewPtrClear)(csSDK_uint32 inByteCount);
  void (*SetPtrSize)(PrMemoryPtr* ioPtr, csSDK_uint32 inNewSize);
  csSDK_uint32 (*GetPtrSize)(PrMemoryPtr inPtr);
  // Frees memory the host handed out (node properties, for instance).
  void (*PrDisposePtr)(PrMemoryPtr inPtr);
  PrMemoryHandle (*NewHandle)(csSDK_uint32 inByteCount);
  PrMemoryHandle (*NewHandleClear)(csSDK_uint32 inByteCount);
  csSDK_int16 (*SetHandleSize)(PrMemoryHandle ioHandle, csSDK_uint32 inNewSize);
  csSDK_uint32 (*GetHandleSize)(PrMemoryHandle inHandle);
  void (*DisposeHandle)(PrMemoryHandle inHandle);
} PrSDKMemoryManagerSuite;

#pragma pack(pop)
