// The registration record (PiPL) of Drift Smear in the vendor's resource
// description format, for the Windows build against the vendor SDK: the
// vendor's PiPL tool turns it into a resource script (see CMakeLists.txt in
// this folder). The values match DriftSmear.rc, the registration entry in
// effect/DriftSmear.cpp and the flags GlobalSetup sets.
#include "AEConfig.h"
#include "AE_EffectVers.h"

resource 'PiPL' (16000) {
	{	/* 12 properties */
		/* An After Effects effect */
		Kind {
			AEEffect
		},
		/* Display name */
		Name {
			"Drift Smear"
		},
		/* Effects menu category */
		Category {
			"Quarnbrook Graphics"
		},
		/* Exported entry point */
		CodeWin64X86 {"EffectMain"},
		/* PiPL layout version 2.0 */
		AE_PiPL_Version {
			2,
			0
		},
		/* Effect interface 13.28 */
		AE_Effect_Spec_Version {
			PF_PLUG_IN_VERSION,
			PF_PLUG_IN_SUBVERS
		},
		/* 1.3.0, stage develop, build 1, packed: 0x00098001 */
		AE_Effect_Version {
			0x00098001
		},
		/* No info flags */
		AE_Effect_Info_Flags {
			0
		},
		/* NON_PARAM_VARY | I_DO_DIALOG | PIX_INDEPENDENT | CUSTOM_UI |
		   DEEP_COLOR_AWARE | SEND_UPDATE_PARAMS_UI */
		AE_Effect_Global_OutFlags {
			0x06008424
		},
		/* PARAM_GROUP_START_COLLAPSED_FLAG | SUPPORTS_SMART_RENDER |
		   FLOAT_COLOR_AWARE | CUSTOM_UI_ASYNC_MANAGER |
		   SUPPORTS_GPU_RENDER_F32 | SUPPORTS_THREADED_RENDERING */
		AE_Effect_Global_OutFlags_2 {
			0x0B001408
		},
		/* Identity in saved projects */
		AE_Effect_Match_Name {
			"KQVLDRSM"
		},
		/* Reserved info */
		AE_Reserved_Info {
			8
		}
	}
};
