// Result codes of the Premiere Pro suites and of the GPU filter callbacks.
// Our own declarations, name-compatible with the vendor's names.
#pragma once
#include "PrSDKTypes.h"

#define suiteError_NoError ((prSuiteError)0x00000000)
#define suiteError_Fail ((prSuiteError)0x80000000)
#define suiteError_InvalidParms ((prSuiteError)0x80000001)
#define suiteError_OutOfMemory ((prSuiteError)0x80000002)
#define suiteError_InvalidCall ((prSuiteError)0x80000003)
#define suiteError_NotImplemented ((prSuiteError)0x80000004)
#define suiteError_IDNotValid ((prSuiteError)0x80000005)

#define PrSuiteErrorSucceeded(err) ((err) >= 0)
#define PrSuiteErrorFailed(err) ((err) < 0)
