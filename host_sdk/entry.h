// Export decoration of the plug-in's entry points and the registration macro.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#if !defined(AE_OS_WIN) && !defined(AE_OS_MAC) && !defined(AE_OS_LINUX)
#error "entry.h needs AEConfig.h first"
#endif
#include "AE_PluginData.h"
#include "AE_EffectVers.h"

#ifdef AE_OS_WIN
#define DllExport __declspec(dllexport)
#else
#define DllExport __attribute__((visibility("default")))
#endif

#define AE_ENTRY_POINT "EffectMain"
#define AE_RESERVED_INFO 8

// Reports one effect to the host's registration callback.
#define PF_REGISTER_EFFECT(INPTR, CBPTR, NAME, MATCHNAME, CATEGORY, RESERVEDINFO)                              \
  result = (*(CBPTR))((INPTR), reinterpret_cast<const A_u_char*>(NAME),                                      \
                      reinterpret_cast<const A_u_char*>(MATCHNAME), reinterpret_cast<const A_u_char*>(CATEGORY), \
                      reinterpret_cast<const A_u_char*>(AE_ENTRY_POINT), 'eFKT', PF_AE_PLUG_IN_VERSION,        \
                      PF_AE_PLUG_IN_SUBVERS, (RESERVEDINFO));                                                 \
  if (result == A_Err_NONE) {                                                                                 \
    result = PF_Err_NONE;                                                                                     \
  }
