// Effect API version numbers of the After Effects interface we target (13.28).
#pragma once

#define PF_PLUG_IN_VERSION 13
#define PF_PLUG_IN_SUBVERS 28
#define PF_AE_PLUG_IN_VERSION 13
#define PF_AE_PLUG_IN_SUBVERS 28
#define PF_AE234_PLUG_IN_VERSION 13
#define PF_AE234_PLUG_IN_SUBVERS 28
