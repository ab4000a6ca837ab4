// The After Effects effect interface: commands, errors, flags, and the core
// structures exchanged through the effect entry point.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "A.h"
#include "SPBasic.h"
#include "AE_EffectVers.h"

#pragma pack(push, 8)

typedef A_long PF_Err;
typedef A_long PF_Fixed;
typedef A_u_long PF_UFixed;
// Audio of a layer, and its samples, as the host hands them out.
typedef void* PF_LayerAudio;
typedef void* PF_SndSamplePtr;
typedef A_char PF_Boolean;
typedef void** PF_Handle;
typedef A_FpLong PF_FpLong;
typedef A_FpShort PF_FpShort;
typedef struct PF_ProgressInfo* PF_ProgPtr;

typedef A_long PF_ParamIndex;
typedef A_long PF_ParamValue;
typedef A_long PF_Cmd;
typedef A_long PF_Field;
typedef A_long PF_Quality;
typedef A_long PF_ParamType;
typedef A_long PF_ParamFlags;
typedef A_long PF_ParamUIFlags;
typedef A_long PF_ChangeFlags;
typedef A_long PF_OutFlags;
typedef A_long PF_OutFlags2;
typedef A_long PF_InFlags;
typedef A_long PF_GPU_Framework;
typedef A_long PF_ChannelMask;
typedef A_long PF_WorldFlags;
typedef A_long PF_LayerDefault;
typedef A_short PF_ValueDisplayFlags;
typedef short PF_RenderOutputFlags;
typedef A_u_long PF_FSliderFlags;

// ---- Commands ---------------------------------------------------------------
enum {
  PF_Cmd_ABOUT = 0,
  PF_Cmd_GLOBAL_SETUP,
  PF_Cmd_UNUSED_0,
  PF_Cmd_GLOBAL_SETDOWN,
  PF_Cmd_PARAMS_SETUP,
  PF_Cmd_SEQUENCE_SETUP,
  PF_Cmd_SEQUENCE_RESETUP,
  PF_Cmd_SEQUENCE_FLATTEN,
  PF_Cmd_SEQUENCE_SETDOWN,
  PF_Cmd_DO_DIALOG,
  PF_Cmd_FRAME_SETUP,
  PF_Cmd_RENDER,
  PF_Cmd_FRAME_SETDOWN,
  PF_Cmd_USER_CHANGED_PARAM,
  PF_Cmd_UPDATE_PARAMS_UI,
  PF_Cmd_EVENT,
  PF_Cmd_GET_EXTERNAL_DEPENDENCIES,
  PF_Cmd_COMPLETELY_GENERAL,
  PF_Cmd_QUERY_DYNAMIC_FLAGS,
  PF_Cmd_AUDIO_RENDER,
  PF_Cmd_AUDIO_SETUP,
  PF_Cmd_AUDIO_SETDOWN,
  PF_Cmd_ARBITRARY_CALLBACK,
  PF_Cmd_SMART_PRE_RENDER,
  PF_Cmd_SMART_RENDER,
  PF_Cmd_RESERVED1,
  PF_Cmd_RESERVED2,
  PF_Cmd_RESERVED3,
  PF_Cmd_GET_FLATTENED_SEQUENCE_DATA,
  PF_Cmd_TRANSLATE_PARAMS_TO_PREFS,
  PF_Cmd_RESERVED4,
  PF_Cmd_SMART_RENDER_GPU,
  PF_Cmd_GPU_DEVICE_SETUP,
  PF_Cmd_GPU_DEVICE_SETDOWN,
  PF_Cmd_NUM_CMDS
};

// ---- Errors -----------------------------------------------------------------
enum {
  PF_Err_NONE = 0,
  PF_Err_OUT_OF_MEMORY = 4,
  PF_FIRST_ERR = 512,
  PF_Err_INTERNAL_STRUCT_DAMAGED = 512,
  PF_Err_INVALID_INDEX = 513,
  PF_Err_UNRECOGNIZED_PARAM_TYPE = 514,
  PF_Err_INVALID_CALLBACK = 515,
  PF_Err_BAD_CALLBACK_PARAM = 516,
  PF_Interrupt_CANCEL = 517,
  PF_Err_CANNOT_PARSE_KEYFRAME_TEXT = 518
};

// ---- Output flags -----------------------------------------------------------
enum {
  PF_OutFlag_NONE = 0,
  PF_OutFlag_KEEP_RESOURCE_OPEN = 1L << 0,
  PF_OutFlag_WIDE_TIME_INPUT = 1L << 1,
  PF_OutFlag_NON_PARAM_VARY = 1L << 2,
  PF_OutFlag_RESERVED6 = 1L << 3,
  PF_OutFlag_SEQUENCE_DATA_NEEDS_FLATTENING = 1L << 4,
  PF_OutFlag_I_DO_DIALOG = 1L << 5,
  PF_OutFlag_USE_OUTPUT_EXTENT = 1L << 6,
  PF_OutFlag_SEND_DO_DIALOG = 1L << 7,
  PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1L << 8,
  PF_OutFlag_I_EXPAND_BUFFER = 1L << 9,
  PF_OutFlag_PIX_INDEPENDENT = 1L << 10,
  PF_OutFlag_I_WRITE_INPUT_BUFFER = 1L << 11,
  PF_OutFlag_I_SHRINK_BUFFER = 1L << 12,
  PF_OutFlag_WORKS_IN_PLACE = 1L << 13,
  PF_OutFlag_RESERVED8 = 1L << 14,
  PF_OutFlag_CUSTOM_UI = 1L << 15,
  PF_OutFlag_RESERVED7 = 1L << 16,
  PF_OutFlag_REFRESH_UI = 1L << 17,
  PF_OutFlag_NOP_RENDER = 1L << 18,
  PF_OutFlag_I_USE_SHUTTER_ANGLE = 1L << 19,
  PF_OutFlag_I_USE_AUDIO = 1L << 20,
  PF_OutFlag_I_AM_OBSOLETE = 1L << 21,
  PF_OutFlag_FORCE_RERENDER = 1L << 22,
  PF_OutFlag_PiPL_OVERRIDES_OUTDATA_OUTFLAGS = 1L << 23,
  PF_OutFlag_I_HAVE_EXTERNAL_DEPENDENCIES = 1L << 24,
  PF_OutFlag_DEEP_COLOR_AWARE = 1L << 25,
  PF_OutFlag_SEND_UPDATE_PARAMS_UI = 1L << 26
};

enum {
  PF_OutFlag2_NONE = 0,
  PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 1L << 3,
  PF_OutFlag2_I_AM_THREADSAFE = 1L << 4,
  PF_OutFlag2_SUPPORTS_SMART_RENDER = 1L << 10,
  PF_OutFlag2_FLOAT_COLOR_AWARE = 1L << 12,
  PF_OutFlag2_SUPPORTS_GET_FLATTENED_SEQUENCE_DATA = 1L << 23,
  PF_OutFlag2_CUSTOM_UI_ASYNC_MANAGER = 1L << 24,
  PF_OutFlag2_SUPPORTS_GPU_RENDER_F32 = 1L << 25,
  PF_OutFlag2_RESERVED12 = 1L << 26,
  PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 1L << 27,
  PF_OutFlag2_MUTABLE_RENDER_SEQUENCE_DATA_SLOWER = 1L << 28
};

enum { PF_InFlag_NONE = 0, PF_InFlag_PROJECT_IS_RENDER_ONLY = 1 };

// ---- Parameters -------------------------------------------------------------
enum {
  PF_Param_RESERVED = -1,
  PF_Param_LAYER = 0,
  PF_Param_SLIDER,
  PF_Param_FIX_SLIDER,
  PF_Param_ANGLE,
  PF_Param_CHECKBOX,
  PF_Param_COLOR,
  PF_Param_POINT,
  PF_Param_POPUP,
  PF_Param_CUSTOM,
  PF_Param_NO_DATA,
  PF_Param_FLOAT_SLIDER,
  PF_Param_ARBITRARY_DATA,
  PF_Param_PATH,
  PF_Param_GROUP_START,
  PF_Param_GROUP_END,
  PF_Param_BUTTON,
  PF_Param_RESERVED2,
  PF_Param_RESERVED3,
  PF_Param_POINT_3D
};

enum {
  PF_PUI_NONE = 0,
  PF_PUI_TOPIC = 1L << 0,
  PF_PUI_CONTROL = 1L << 1,
  PF_PUI_STD_CONTROL_ONLY = 1L << 2,
  PF_PUI_NO_ECW_UI = 1L << 3,
  PF_PUI_ECW_SEPARATOR = 1L << 4,
  PF_PUI_DISABLED = 1L << 5,
  PF_PUI_DONT_ERASE_TOPIC = 1L << 6,
  PF_PUI_DONT_ERASE_CONTROL = 1L << 7,
  PF_PUI_RADIO_BUTTON = 1L << 8,
  PF_PUI_INVISIBLE = 1L << 9
};

enum {
  PF_ParamFlag_RESERVED1 = 1L << 0,
  PF_ParamFlag_CANNOT_TIME_VARY = 1L << 1,
  PF_ParamFlag_CANNOT_INTERP = 1L << 2,
  PF_ParamFlag_RESERVED2 = 1L << 3,
  PF_ParamFlag_RESERVED3 = 1L << 4,
  PF_ParamFlag_COLLAPSE_TWIRLY = 1L << 5,
  PF_ParamFlag_START_COLLAPSED = 1L << 5,
  PF_ParamFlag_SUPERVISE = 1L << 6,
  PF_ParamFlag_USE_VALUE_FOR_OLD_PROJECTS = 1L << 7,
  PF_ParamFlag_LAYER_PARAM_IS_TRACKMATTE = 1L << 7,
  PF_ParamFlag_EXCLUDE_FROM_HAVE_INPUTS_CHANGED = 1L << 8,
  PF_ParamFlag_SKIP_REVEAL_WHEN_UNHIDDEN = 1L << 9
};

enum {
  PF_ValueDisplayFlag_NONE = 0,
  PF_ValueDisplayFlag_PERCENT = 1 << 0,
  PF_ValueDisplayFlag_PIXEL = 1 << 1,
  PF_ValueDisplayFlag_RESERVED1 = 1 << 2,
  PF_ValueDisplayFlag_REVERSE = 1 << 3
};

enum {
  PF_ChangeFlag_NONE = 0,
  PF_ChangeFlag_CHANGED_VALUE = 1L << 0,
  PF_ChangeFlag_RESERVED = 1L << 1,
  PF_ChangeFlag_SET_TO_VARY = 1L << 2,
  PF_ChangeFlag_SET_TO_CONSTANT = 1L << 3
};

enum { PF_LayerDefault_MYSELF = -1, PF_LayerDefault_NONE = 0 };
enum { PF_Field_FRAME = 0, PF_Field_UPPER = 1, PF_Field_LOWER = 2 };
enum {
  PF_ChannelMask_ALPHA = 1,
  PF_ChannelMask_RED = 2,
  PF_ChannelMask_GREEN = 4,
  PF_ChannelMask_BLUE = 8,
  PF_ChannelMask_ARGB = 15
};
enum { PF_WorldFlag_DEEP = 1L << 0, PF_WorldFlag_WRITEABLE = 1L << 1 };

#define PF_MAX_EFFECT_NAME_LEN 31
#define PF_MAX_EFFECT_PARAM_NAME_LEN 31
#define PF_MAX_PARAM_DESCRIPTION_LEN 31
#define PF_MAX_PARAM_VALUE_LEN 31
#define PF_MAX_EFFECT_MSG_LEN 255

// ---- Render, pixel formats, GPU ---------------------------------------------
enum {
  PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 0x1,
  PF_RenderOutputFlag_GPU_RENDER_POSSIBLE = 0x2,
  PF_RenderOutputFlag_RESERVED1 = 0x4
};

enum {
  PF_GPU_Framework_NONE = 0,
  PF_GPU_Framework_OPENCL = 1,
  PF_GPU_Framework_METAL = 2,
  PF_GPU_Framework_CUDA = 3
};

// ---- Stages and the packed version word -------------------------------------
enum { PF_Stage_DEVELOP, PF_Stage_ALPHA, PF_Stage_BETA, PF_Stage_RELEASE };

#define PF_VERS_BITS 0x7L
#define PF_SUBVERS_BITS 0xFL
#define PF_BUGFIX_BITS 0xFL
#define PF_STAGE_BITS 0x3L
#define PF_BUILD_BITS 0x1FFL
#define PF_VERS_SHIFT 19
#define PF_SUBVERS_SHIFT 15
#define PF_BUGFIX_SHIFT 11
#define PF_STAGE_SHIFT 9
#define PF_BUILD_SHIFT 0

#define PF_VERSION(vers, subvers, bugvers, stage, build)                                    \
  (A_u_long)((((A_u_long)(vers) & PF_VERS_BITS) << PF_VERS_SHIFT) |                         \
             (((A_u_long)(subvers) & PF_SUBVERS_BITS) << PF_SUBVERS_SHIFT) |                \
             (((A_u_long)(bugvers) & PF_BUGFIX_BITS) << PF_BUGFIX_SHIFT) |                  \
             (((A_u_long)(stage) & PF_STAGE_BITS) << PF_STAGE_SHIFT) |                      \
             (((A_u_long)(build) & PF_BUILD_BITS) << PF_BUILD_SHIFT))

// ---- Geometry ---------------------------------------------------------------
typedef struct {
  A_long left, top, right, bottom;
} PF_LRect;
typedef PF_LRect PF_Rect;
typedef PF_Rect PF_UnionableRect;

typedef struct {
  A_long h, v;
} PF_Point;

typedef struct {
  A_long num;
  A_u_long den;
} PF_RationalScale;

typedef struct {
  PF_Fixed x, y;
} PF_FixedPoint;

typedef struct {
  A_short major;
  A_short minor;
} PF_SpecVersion;

// ---- Pixels and worlds ------------------------------------------------------
typedef struct {
  A_u_char alpha, red, green, blue;
} PF_Pixel;
typedef PF_Pixel PF_Pixel8;
typedef struct PF_PixelOpaque* PF_PixelOpaquePtr;
#ifdef PF_DEEP_COLOR_AWARE
typedef PF_PixelOpaquePtr PF_PixelPtr;
#else
typedef PF_Pixel* PF_PixelPtr;
#endif

typedef struct PF_LayerDef {
  void* reserved0;
  void* reserved1;
  PF_WorldFlags world_flags;
  PF_PixelPtr data;
  A_long rowbytes;
  A_long width;
  A_long height;
  PF_UnionableRect extent_hint;
  void* platform_ref;
  A_long reserved_long1;
  void* reserved_long4;
  PF_RationalScale pix_aspect_ratio;
  void* reserved_long2;
  A_long origin_x;
  A_long origin_y;
  A_long reserved_long3;
  A_long dephault;
} PF_LayerDef;
typedef PF_LayerDef PF_EffectWorld;

// ---- Sound (layout only) ----------------------------------------------------
typedef struct {
  PF_FpLong rateF;
  A_short num_channels;
  A_short format;
  A_short sample_size;
} PF_SoundFormatInfo;

typedef struct {
  PF_SoundFormatInfo fi;
  A_long num_samples;
  void* dataP;
} PF_SoundWorld;

// ---- Parameter definitions --------------------------------------------------
typedef struct {
  PF_ParamValue value;
  A_char value_str[PF_MAX_PARAM_VALUE_LEN + 1];
  A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
  PF_ParamValue valid_min, valid_max;
  PF_ParamValue slider_min, slider_max;
  PF_ParamValue dephault;
} PF_SliderDef;

typedef struct {
  PF_Fixed value;
  A_char value_str[PF_MAX_PARAM_VALUE_LEN + 1];
  A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
  PF_Fixed valid_min, valid_max;
  PF_Fixed slider_min, slider_max;
  PF_Fixed dephault;
  A_short precision;
  A_short display_flags;
} PF_FixedSliderDef;

typedef struct {
  PF_FpLong value;
  PF_FpLong phase;
  A_char value_desc[PF_MAX_PARAM_DESCRIPTION_LEN + 1];
  PF_FpShort valid_min, valid_max;
  PF_FpShort slider_min, slider_max;
  PF_FpShort dephault;
  A_short precision;
  PF_ValueDisplayFlags display_flags;
  PF_FSliderFlags fs_flags;
  PF_FpShort curve_tolerance;
  PF_Boolean useExponent;
  PF_FpShort exponent;
} PF_FloatSliderDef;

typedef struct {
  PF_Fixed value;
  PF_Fixed dephault;
  PF_Fixed valid_min;
  PF_Fixed valid_max;
} PF_AngleDef;

typedef struct {
  PF_ParamValue value;
  PF_Boolean dephault;
  A_char reserved;
  A_short reserved1;
  union {
    const A_char* nameptr;
  } u;
} PF_CheckBoxDef;

typedef struct {
  PF_Pixel value;
  PF_Pixel dephault;
} PF_ColorDef;

typedef struct {
  PF_Fixed x_value;
  PF_Fixed y_value;
  A_char reserved[3];
  PF_Boolean restrict_bounds;
  PF_Fixed x_dephault;
  PF_Fixed y_dephault;
} PF_PointDef;

typedef struct {
  PF_ParamValue value;
  A_short num_choices;
  A_short dephault;
  union {
    const A_char* namesptr;
  } u;
} PF_PopupDef;

typedef PF_Handle PF_ArbitraryH;

typedef struct {
  A_short id;
  A_short pad;
  PF_ArbitraryH dephault;
  PF_ArbitraryH value;
  void* refconPV;
} PF_ArbitraryDef;

typedef struct {
  A_long path_id;
  A_long reserved0;
  A_long dephault;
} PF_PathDef;

typedef struct {
  PF_ParamValue value;
  union {
    const A_char* namesptr;
  } u;
} PF_ButtonDef;

typedef struct {
  PF_FpLong x_value, y_value, z_value;
  PF_FpLong x_dephault, y_dephault, z_dephault;
  char reserved[16];
} PF_Point3DDef;

typedef union {
  PF_LayerDef ld;
  PF_SliderDef sd;
  PF_FixedSliderDef fd;
  PF_AngleDef ad;
  PF_CheckBoxDef bd;
  PF_ColorDef cd;
  PF_PointDef td;
  PF_PopupDef pd;
  PF_FloatSliderDef fs_d;
  PF_ArbitraryDef arb_d;
  PF_PathDef path_d;
  PF_ButtonDef button_d;
  PF_Point3DDef point3d_d;
} PF_ParamDefUnion;

typedef struct PF_ParamDef {
  union {
    A_long id;
    PF_ChangeFlags change_flags;
  } uu;
  PF_ParamUIFlags ui_flags;
  A_short ui_width;
  A_short ui_height;
  PF_ParamType param_type;
  A_char name[PF_MAX_EFFECT_PARAM_NAME_LEN + 1];
  PF_ParamFlags flags;
  A_long unused;
  PF_ParamDefUnion u;
} PF_ParamDef, *PF_ParamDefPtr, **PF_ParamDefH;
typedef PF_ParamDef** PF_ParamList;

// ---- Custom UI registration -------------------------------------------------
typedef A_long PF_CustomEventFlags;
typedef A_long PF_UIAlignment;

typedef struct _PF_CustomUIInfo {
  A_long reserved;
  PF_CustomEventFlags events;
  A_long comp_ui_width;
  A_long comp_ui_height;
  PF_UIAlignment comp_ui_alignment;
  A_long layer_ui_width;
  A_long layer_ui_height;
  PF_UIAlignment layer_ui_alignment;
  A_long preview_ui_width;
  A_long preview_ui_height;
  PF_UIAlignment preview_ui_alignment;
} PF_CustomUIInfo;

enum {
  PF_CustomEFlag_NONE = 0,
  PF_CustomEFlag_COMP = 1L << 0,
  PF_CustomEFlag_LAYER = 1L << 1,
  PF_CustomEFlag_EFFECT = 1L << 2,
  PF_CustomEFlag_PREVIEW = 1L << 3
};

enum {
  PF_UIAlignment_NONE = 0,
  PF_UIAlignment_TOP = 1L << 0,
  PF_UIAlignment_LEFT = 1L << 1,
  PF_UIAlignment_BOTTOM = 1L << 2,
  PF_UIAlignment_RIGHT = 1L << 3
};

// ---- Interaction callbacks --------------------------------------------------
typedef struct {
  PF_Err (*checkout_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long what_time, A_long time_step,
                           A_u_long time_scale, PF_ParamDef* param);
  PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
  PF_Err (*add_param)(PF_ProgPtr effect_ref, PF_ParamIndex index, PF_ParamDefPtr def);
  PF_Err (*abort)(PF_ProgPtr effect_ref);
  PF_Err (*progress)(PF_ProgPtr effect_ref, A_long current, A_long total);
  PF_Err (*register_ui)(PF_ProgPtr effect_ref, PF_CustomUIInfo* cust_info);
  PF_Err (*checkout_layer_audio)(PF_ProgPtr effect_ref, PF_ParamIndex index, A_long start_time, A_long duration,
                                 A_u_long time_scale, PF_UFixed rate, A_long bytes_per_sample, A_long num_channels,
                                 A_long fmt_signed, PF_LayerAudio* audio);
  PF_Err (*checkin_layer_audio)(PF_ProgPtr effect_ref, PF_LayerAudio audio);
  PF_Err (*get_audio_data)(PF_ProgPtr effect_ref, PF_LayerAudio audio, PF_SndSamplePtr* data0, A_long* num_samples0,
                           PF_UFixed* rate0, A_long* bytes_per_sample0, A_long* num_channels0,
                           A_long* fmt_signed0);
  void* reserved_str[3];
  void* reserved[10];
} PF_InteractCallbacks;

#define PF_CHECKOUT_PARAM(IN_DATA, INDEX, TIME, STEP, SCALE, PARAM) \
  ((IN_DATA)->inter.checkout_param((IN_DATA)->effect_ref, (INDEX), (TIME), (STEP), (SCALE), (PARAM)))
#define PF_CHECKIN_PARAM(IN_DATA, PARAM) ((IN_DATA)->inter.checkin_param((IN_DATA)->effect_ref, (PARAM)))
#define PF_ADD_PARAM(IN_DATA, INDEX, DEF) ((IN_DATA)->inter.add_param((IN_DATA)->effect_ref, (INDEX), (DEF)))
#define PF_REGISTER_UI(IN_DATA, CUST_INFO) ((IN_DATA)->inter.register_ui((IN_DATA)->effect_ref, (CUST_INFO)))

// ---- In data / out data -----------------------------------------------------
struct _PF_UtilCallbacks;

typedef struct PF_InData {
  PF_InteractCallbacks inter;
  struct _PF_UtilCallbacks* utils;
  PF_ProgPtr effect_ref;
  PF_Quality quality;
  PF_SpecVersion version;
  A_long serial_num;
  A_long appl_id;
  A_long num_params;
  A_long reserved;
  A_long what_cpu;
  A_long what_fpu;
  A_long current_time;
  A_long time_step;
  A_long total_time;
  A_long local_time_step;
  A_u_long time_scale;
  PF_Field field;
  PF_Fixed shutter_angle;
  A_long width;
  A_long height;
  PF_Rect extent_hint;
  A_long output_origin_x;
  A_long output_origin_y;
  PF_RationalScale downsample_x;
  PF_RationalScale downsample_y;
  PF_RationalScale pixel_aspect_ratio;
  PF_InFlags in_flags;
  PF_Handle global_data;
  PF_Handle sequence_data;
  PF_Handle frame_data;
  A_long start_sampL;
  A_long dur_sampL;
  A_long total_sampL;
  PF_SoundWorld src_snd;
  struct SPBasicSuite* pica_basicP;
  A_long pre_effect_source_origin_x;
  A_long pre_effect_source_origin_y;
  PF_Fixed shutter_phase;
} PF_InData;

typedef struct PF_OutData {
  A_u_long my_version;
  A_char name[PF_MAX_EFFECT_NAME_LEN + 1];
  PF_Handle global_data;
  A_long num_params;
  PF_Handle sequence_data;
  A_long flat_sdata_size;
  PF_Handle frame_data;
  A_long width;
  A_long height;
  PF_Point origin;
  PF_OutFlags out_flags;
  A_char return_msg[PF_MAX_EFFECT_MSG_LEN + 1];
  A_long start_sampL;
  A_long dur_sampL;
  PF_SoundWorld dest_snd;
  PF_OutFlags2 out_flags2;
} PF_OutData;

// ---- Extra records of individual commands -----------------------------------
typedef struct {
  PF_ParamIndex param_index;
} PF_UserChangedParamExtra;

typedef PF_Err (*PF_FilterProc)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamList params,
                                PF_LayerDef* output, void* extra);

#pragma pack(pop)
