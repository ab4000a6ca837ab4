// Callback suites of the effect interface: handles, ANSI helpers, worlds.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "AE_EffectCB.h"
#include "AE_EffectPixelFormat.h"

#pragma pack(push, 8)

#define kPFHandleSuite "PF Handle Suite"
#define kPFHandleSuiteVersion1 2

typedef struct PF_HandleSuite1 {
  PF_Handle (*host_new_handle)(A_HandleSize size);
  void* (*host_lock_handle)(PF_Handle pf_handle);
  void (*host_unlock_handle)(PF_Handle pf_handle);
  void (*host_dispose_handle)(PF_Handle pf_handle);
  A_HandleSize (*host_get_handle_size)(PF_Handle pf_handle);
  PF_Err (*host_resize_handle)(A_HandleSize new_sizeL, PF_Handle* handlePH);
} PF_HandleSuite1;

#define kPFANSISuite "PF ANSI Suite"
#define kPFANSISuiteVersion1 1

typedef struct PF_ANSICallbacksSuite1 {
  A_FpLong (*atan)(A_FpLong);
  A_FpLong (*atan2)(A_FpLong y, A_FpLong x);
  A_FpLong (*ceil)(A_FpLong);
  A_FpLong (*cos)(A_FpLong);
  A_FpLong (*exp)(A_FpLong);
  A_FpLong (*fabs)(A_FpLong);
  A_FpLong (*floor)(A_FpLong);
  A_FpLong (*fmod)(A_FpLong x, A_FpLong y);
  A_FpLong (*hypot)(A_FpLong x, A_FpLong y);
  A_FpLong (*log)(A_FpLong);
  A_FpLong (*log10)(A_FpLong);
  A_FpLong (*pow)(A_FpLong x, A_FpLong y);
  A_FpLong (*sin)(A_FpLong);
  A_FpLong (*sqrt)(A_FpLong);
  A_FpLong (*tan)(A_FpLong);
  int (*sprintf)(A_char* dst, const A_char* fmt, ...);
  A_char* (*strcpy)(A_char* dst, const A_char* src);
  A_FpLong (*asin)(A_FpLong);
  A_FpLong (*acos)(A_FpLong);
} PF_ANSICallbacksSuite1;

#define kPFWorldSuite "PF World Suite"
#define kPFWorldSuiteVersion2 2

typedef struct PF_WorldSuite2 {
  PF_Err (*PF_NewWorld)(PF_ProgPtr effect_ref, A_long widthL, A_long heightL, PF_Boolean clear_pixB,
                        PF_PixelFormat pixel_format, PF_EffectWorld* worldP);
  PF_Err (*PF_DisposeWorld)(PF_ProgPtr effect_ref, PF_EffectWorld* worldP);
  PF_Err (*PF_GetPixelFormat)(const PF_EffectWorld* worldP, PF_PixelFormat* pixel_formatP);
} PF_WorldSuite2;

#define kPFPixelFormatSuiteVersion2 2

typedef struct PF_PixelFormatSuite2 {
  PF_Err (*PF_AddSupportedPixelFormat)(PF_ProgPtr effect_ref, PF_PixelFormat pixel_format);
  PF_Err (*PF_ClearSupportedPixelFormats)(PF_ProgPtr effect_ref);
} PF_PixelFormatSuite2;

#pragma pack(pop)
