// Host callbacks reachable from PF_InData (utility and ANSI callbacks) and the
// SmartFX and GPU device records passed as a command's extra argument.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "AE_Effect.h"

#pragma pack(push, 8)

typedef struct {
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
  A_long ansi_procs[1];
} PF_ANSICallbacks;

typedef void* PF_ColorCallbackFunc;
typedef struct {
  PF_ColorCallbackFunc RGBtoHLS;
  PF_ColorCallbackFunc HLStoRGB;
  PF_ColorCallbackFunc RGBtoYIQ;
  PF_ColorCallbackFunc YIQtoRGB;
  PF_ColorCallbackFunc Luminance;
  PF_ColorCallbackFunc Hue;
  PF_ColorCallbackFunc Lightness;
  PF_ColorCallbackFunc Saturation;
} PF_ColorCallbacks;

// Only the handle and ANSI members are used by the effect; the image-processing
// callbacks keep their slots so the layout matches.
typedef void* PF_UtilCallbackSlot;
typedef struct _PF_UtilCallbacks {
  PF_UtilCallbackSlot begin_sampling;
  PF_UtilCallbackSlot subpixel_sample;
  PF_UtilCallbackSlot area_sample;
  void* get_batch_func_is_deprecated;
  PF_UtilCallbackSlot end_sampling;
  PF_UtilCallbackSlot composite_rect;
  PF_UtilCallbackSlot blend;
  PF_UtilCallbackSlot convolve;
  PF_UtilCallbackSlot copy;
  PF_UtilCallbackSlot fill;
  PF_UtilCallbackSlot gaussian_kernel;
  PF_UtilCallbackSlot iterate;
  PF_UtilCallbackSlot premultiply;
  PF_UtilCallbackSlot premultiply_color;
  PF_UtilCallbackSlot new_world;
  PF_UtilCallbackSlot dispose_world;
  PF_UtilCallbackSlot iterate_origin;
  PF_UtilCallbackSlot iterate_lut;
  PF_UtilCallbackSlot transfer_rect;
  PF_UtilCallbackSlot transform_world;
  PF_Handle (*host_new_handle)(A_u_longlong size);
  void* (*host_lock_handle)(PF_Handle pf_handle);
  void (*host_unlock_handle)(PF_Handle pf_handle);
  void (*host_dispose_handle)(PF_Handle pf_handle);
  PF_UtilCallbackSlot get_callback_addr;
  PF_UtilCallbackSlot app;
  PF_ANSICallbacks ansi;
  PF_ColorCallbacks colorCB;
  PF_UtilCallbackSlot get_platform_data;
  A_u_longlong (*host_get_handle_size)(PF_Handle pf_handle);
  PF_UtilCallbackSlot iterate_origin_non_clip_src;
  PF_UtilCallbackSlot iterate_generic;
  PF_Err (*host_resize_handle)(A_u_longlong new_sizeL, PF_Handle* handlePH);
  PF_UtilCallbackSlot subpixel_sample16;
  PF_UtilCallbackSlot area_sample16;
  PF_UtilCallbackSlot fill16;
  PF_UtilCallbackSlot premultiply_color16;
  PF_UtilCallbackSlot iterate16;
  PF_UtilCallbackSlot iterate_origin16;
  PF_UtilCallbackSlot iterate_origin_non_clip_src16;
  PF_UtilCallbackSlot get_pixel_data8;
  PF_UtilCallbackSlot get_pixel_data16;
  A_long reserved[1];
} PF_UtilCallbacks;

// The macros assume a variable named in_data, as the vendor's do.
#define PF_SPRINTF (*in_data->utils->ansi.sprintf)
#define PF_STRCPY(DST, SRC) (*in_data->utils->ansi.strcpy)((DST), (SRC))
#define PF_NEW_HANDLE (*in_data->utils->host_new_handle)
#define PF_LOCK_HANDLE (*in_data->utils->host_lock_handle)
#define PF_UNLOCK_HANDLE (*in_data->utils->host_unlock_handle)
#define PF_DISPOSE_HANDLE (*in_data->utils->host_dispose_handle)

// ---- SmartFX ----------------------------------------------------------------
typedef struct {
  PF_LRect rect;
  PF_Field field;
  PF_ChannelMask channel_mask;
  PF_Boolean preserve_rgb_of_zero_alpha;
  char unused[3];
  A_long reserved[4];
} PF_RenderRequest;

typedef struct {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_RationalScale par;
  PF_Boolean solid;
  PF_Boolean reservedB[3];
  A_long ref_width;
  A_long ref_height;
  A_long reserved[6];
} PF_CheckoutResult;

typedef void (*PF_DeletePreRenderDataFunc)(void* pre_render_data);

typedef struct {
  PF_RenderRequest output_request;
  short bitdepth;
  const void* gpu_data;
  PF_GPU_Framework what_gpu;
  A_u_long device_index;
} PF_PreRenderInput;

typedef struct {
  PF_LRect result_rect;
  PF_LRect max_result_rect;
  PF_Boolean solid;
  PF_Boolean reserved;
  PF_RenderOutputFlags flags;
  void* pre_render_data;
  PF_DeletePreRenderDataFunc delete_pre_render_data_func;
} PF_PreRenderOutput;

typedef struct {
  PF_Err (*checkout_layer)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long checkout_idL,
                           const PF_RenderRequest* req, A_long what_time, A_long time_step, A_u_long time_scale,
                           PF_CheckoutResult* checkout_result);
  PF_Err (*GuidMixInPtr)(PF_ProgPtr effect_ref, A_u_long buf_sizeLu, const void* buf);
} PF_PreRenderCallbacks;

typedef struct {
  PF_PreRenderInput* input;
  PF_PreRenderOutput* output;
  PF_PreRenderCallbacks* cb;
} PF_PreRenderExtra;

typedef struct {
  PF_RenderRequest output_request;
  short bitdepth;
  void* pre_render_data;
  const void* gpu_data;
  PF_GPU_Framework what_gpu;
  A_u_long device_index;
} PF_SmartRenderInput;

typedef struct {
  PF_Err (*checkout_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_idL, PF_EffectWorld** pixels);
  PF_Err (*checkin_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_idL);
  PF_Err (*checkout_output)(PF_ProgPtr effect_ref, PF_EffectWorld** output);
} PF_SmartRenderCallbacks;

typedef struct {
  PF_SmartRenderInput* input;
  PF_SmartRenderCallbacks* cb;
} PF_SmartRenderExtra;

// ---- GPU device setup and takedown ------------------------------------------
typedef struct {
  PF_GPU_Framework what_gpu;
  A_u_long device_index;
} PF_GPUDeviceSetupInput;

typedef struct {
  void* gpu_data;
} PF_GPUDeviceSetupOutput;

typedef struct {
  PF_GPUDeviceSetupInput* input;
  PF_GPUDeviceSetupOutput* output;
} PF_GPUDeviceSetupExtra;

typedef struct {
  void* gpu_data;
  PF_GPU_Framework what_gpu;
  A_u_long device_index;
} PF_GPUDeviceSetdownInput;

typedef struct {
  PF_GPUDeviceSetdownInput* input;
} PF_GPUDeviceSetdownExtra;

#pragma pack(pop)
