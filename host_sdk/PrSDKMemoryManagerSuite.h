// "Premiere Memory Manager Suite": the host's pointer and handle allocator.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "PrSDKSuiteErrors.h"
#include "PrSDKTypes.h"

#define kPrSDKMemoryManagerSuite "Premiere Memory Manager Suite"
#define kPrSDKMemoryManagerSuiteVersion 4

typedef char** PrMemoryHandle;

#pragma pack(push, 1)

// Version 4: sixteen functions in this order.
typedef struct {
  // Sets the size of the plug-in's reserve in the host's memory pool.
  prSuiteError (*ReserveMemory)(csSDK_uint32 inPluginID, csSDK_uint32 inSize);
  prSuiteError (*GetMemoryManagerSize)(csSDK_int64* outMaxSize);
  // Blocks allocated outside the host that it accounts for in its budget.
  void (*AddBlock)(csSDK_size_t inSize);
  void (*TouchBlock)(csSDK_size_t inSize);
  void (*RemoveBlock)(csSDK_size_t inSize);
  PrMemoryPtr (*NewPtrClear)(csSDK_uint32 inByteCount);
  PrMemoryPtr (*NewPtr)(csSDK_uint32 inByteCount);
  csSDK_uint32 (*GetPtrSize)(PrMemoryPtr inPtr);
  void (*SetPtrSize)(PrMemoryPtr* ioPtr, csSDK_uint32 inNewSize);
  PrMemoryHandle (*NewHandle)(csSDK_uint32 inByteCount);
  PrMemoryHandle (*NewHandleClear)(csSDK_uint32 inByteCount);
  // Frees memory the host handed out (node properties, for instance).
  void (*PrDisposePtr)(PrMemoryPtr inPtr);
  void (*DisposeHandle)(PrMemoryHandle inHandle);
  csSDK_int16 (*SetHandleSize)(PrMemoryHandle ioHandle, csSDK_uint32 inNewSize);
  csSDK_uint32 (*GetHandleSize)(PrMemoryHandle inHandle);
  prSuiteError (*AdjustReservedMemorySize)(csSDK_uint32 inPluginID, csSDK_int64 inSize);
} PrSDKMemoryManagerSuite;

#pragma pack(pop)
