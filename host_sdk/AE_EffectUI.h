// Custom UI events: the event record, the drawing context and the window info.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include "AE_Effect.h"
#include "adobesdk/DrawbotSuite.h"

#pragma pack(push, 8)

typedef A_long PF_EventType;
typedef A_long PF_WindowType;
typedef A_long PF_EffectArea;
typedef A_long PF_EventOutFlags;
typedef A_long PF_EventInFlags;

enum {
  PF_Event_NONE = -1,
  PF_Event_NEW_CONTEXT,
  PF_Event_ACTIVATE,
  PF_Event_DO_CLICK,
  PF_Event_DRAG,
  PF_Event_DRAW,
  PF_Event_DEACTIVATE,
  PF_Event_CLOSE_CONTEXT,
  PF_Event_IDLE,
  PF_Event_KEYDOWN_OBSOLETE,
  PF_Event_ADJUST_CURSOR,
  PF_Event_KEYDOWN,
  PF_Event_MOUSE_EXITED,
  PF_Event_NUM_EVENTS
};

enum { PF_Window_NONE = -1, PF_Window_COMP, PF_Window_LAYER, PF_Window_EFFECT, PF_Window_PREVIEW };
enum { PF_EA_NONE = 0, PF_EA_PARAM_TITLE, PF_EA_CONTROL };
enum {
  PF_EO_NONE = 0,
  PF_EO_HANDLED_EVENT = 1L << 0,
  PF_EO_ALWAYS_UPDATE = 1L << 1,
  PF_EO_NEVER_UPDATE = 1L << 2,
  PF_EO_UPDATE_NOW = 1L << 3
};
enum { PF_EI_NONE = 0, PF_EI_DONT_DRAW = 1L << 0 };

#define PF_CONTEXT_MAGIC 0x05EA771E

typedef struct _PF_ContextRefcon* PF_ContextRefcon;

typedef struct {
  A_u_long magic;
  PF_WindowType w_type;
  PF_ContextRefcon reserved_flt;
  A_intptr_t plugin_state[4];
  DRAWBOT_DrawRef reserved_drawref;
  void* reserved_paneP;
  void* reserved_job_manageP;
} PF_Context, *PF_ContextPtr, **PF_ContextH;

typedef struct {
  A_u_long when;
  PF_Point screen_point;
  A_long num_clicks;
  A_long modifiers;
  A_intptr_t continue_refcon[4];
  PF_Boolean send_drag;
  PF_Boolean last_time;
} PF_DoClickEventInfo;

typedef struct {
  PF_UnionableRect update_rect;
  A_long depth;
} PF_DrawEventInfo;

typedef struct {
  A_u_long when;
  PF_Point screen_point;
  A_long keycode;
  A_long modifiers;
} PF_KeyDownEvent;

typedef struct {
  PF_Point screen_point;
  A_long modifiers;
  A_long set_cursor;
} PF_AdjustCursorEventInfo;

typedef union {
  PF_DoClickEventInfo do_click;
  PF_DrawEventInfo draw;
  PF_KeyDownEvent key_down;
  PF_AdjustCursorEventInfo adjust_cursor;
} PF_EventUnion;

typedef struct {
  PF_ParamIndex index;
  PF_EffectArea area;
  PF_UnionableRect current_frame;
  PF_UnionableRect param_title_frame;
  A_long horiz_offset;
} PF_EffectWindowInfo;

typedef struct {
  PF_UnionableRect port_rect;
} PF_ItemWindowInfo;

typedef void* PF_EventCallbackSlot;
typedef struct {
  void* refcon;
  PF_EventCallbackSlot layer_to_comp;
  PF_EventCallbackSlot comp_to_layer;
  PF_EventCallbackSlot get_comp2layer_xform;
  PF_EventCallbackSlot get_layer2comp_xform;
  PF_EventCallbackSlot source_to_frame;
  PF_EventCallbackSlot frame_to_source;
  PF_EventCallbackSlot info_draw_color;
  PF_EventCallbackSlot info_draw_text;
} PF_EventCallbacks;

typedef struct {
  PF_ContextH contextH;
  PF_EventType e_type;
  PF_EventUnion u;
  PF_EffectWindowInfo effect_win;
  PF_EventCallbacks cbs;
  PF_EventInFlags evt_in_flags;
  PF_EventOutFlags evt_out_flags;
} PF_EventExtra;

#pragma pack(pop)
