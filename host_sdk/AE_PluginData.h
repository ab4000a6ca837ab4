// The registration entry through which a host learns an effect's identity.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "A.h"

struct SPBasicSuite;
typedef struct PF_PluginData* PF_PluginDataPtr;

typedef A_Err (*PF_PluginDataCB)(PF_PluginDataPtr inPtr, const A_u_char* inNamePtr, const A_u_char* inMatchNamePtr,
                                 const A_u_char* inCategoryPtr, const A_u_char* inEntryPointNamePtr, A_long inkind,
                                 A_long inApiVersionMajor, A_long inApiVersionMinor, A_long inReservedInfo);

typedef A_Err (*PluginDataEntryFunctionPtr)(PF_PluginDataPtr inPtr, PF_PluginDataCB inPluginDataCallBackPtr,
                                            struct SPBasicSuite* inSPBasicSuitePtr, const char* inHostName,
                                            const char* inHostVersion);
