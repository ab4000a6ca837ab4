// The effect's parameter table, its setup with the host, presets and the
// reaction to parameter changes.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "AEConfig.h"
#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_GeneralPlug.h"

// The descriptor's own kind codes (not the host's PF_Param_* values). Codes
// 6, 9, 10 and 11 are reserved and rejected by the setup.
enum ParamKind : int32_t {
  kParamGroupStart = 0,
  kParamGroupEnd = 1,
  kParamInputLayer = 2,
  kParamPopup = 3,
  kParamCustomUI = 4,
  kParamCheckbox = 5,
  kParamFloatSlider = 7,
  kParamAngle = 8,
  kParamLayer = 12,
  kParamButton = 13,
};

using ParamValue = std::variant<int, float, bool, std::string>;
using ParamDefault = std::variant<int, float, bool>;

// One row of the table; its position is the host parameter index.
struct ParamDescriptor {
  int32_t id = 0;    // Disk ID: the stable key stored in projects
  int32_t type = 0;  // ParamKind
  std::string name;  // bytes handed to the host (GBK for the Chinese names); 31 at most are used
  std::optional<ParamValue> value = std::nullopt;  // popup item list or button label
  ParamDefault defaultValue = 0;
  std::optional<float> min = std::nullopt;
  std::optional<float> max = std::nullopt;
  std::optional<int16_t> precision = std::nullopt;
  std::optional<int32_t> uiFlags = std::nullopt;  // display flags for float sliders
  std::optional<int32_t> flags = std::nullopt;
};

// Disk IDs the parameter code refers to by name.
enum ParamDiskId : int32_t {
  kDiskInputLayer = 0,
  kDiskAbout = 1,
  kDiskDebugGroup = 2,
  kDiskDebugDisplay = 3,
  kDiskDebugGroupEnd = 4,
  kDiskMotionGroup = 5,
  kDiskFrames = 6,
  kDiskFrameOffset = 7,
  kDiskMinVelocity = 8,
  kDiskMaxVelocity = 9,
  kDiskVelocityThreshold = 10,
  kDiskDisplaceThreshold = 11,
  kDiskMotionAngle = 12,
  kDiskMotionSize = 13,
  kDiskMotionGroupEnd = 14,
  kDiskAppearanceGroup = 15,
  kDiskChromatic = 16,
  kDiskChromaticOffset = 17,
  kDiskAmount = 18,
  kDiskTrail = 19,
  kDiskDisplace = 20,
  kDiskAppearanceGroupEnd = 21,
  kDiskPremultiplied = 22,
  kDiskPreset = 23,
  kDiskStoreButton = 24,
};

inline constexpr int kParameterCount = 25;
// Events the custom UI asks for: effect, layer and composition windows.
inline constexpr PF_CustomEventFlags kCustomUIEvents = PF_CustomEFlag_EFFECT | PF_CustomEFlag_LAYER | PF_CustomEFlag_COMP;
inline constexpr PF_ParamUIFlags kAboutAreaUIFlags = PF_PUI_CONTROL | PF_PUI_DONT_ERASE_CONTROL;
// The custom UI area is this much taller than the about image.
inline constexpr A_long kAboutAreaExtraHeight = 20;
inline constexpr float kSliderCurveTolerance = 0.05f;

// The 25 descriptors in host parameter order.
const std::vector<ParamDescriptor>& ParameterTable();

// The table position (host parameter index) of the parameter with this Disk
// ID; throws std::runtime_error("Parameter with given Disk ID not found").
int FindParamIndexByDiskID(int diskId);
int FindParamIndexByDiskID(const std::vector<ParamDescriptor>& table, int diskId);

PF_Err ParamsSetup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output);

// Registers the custom UI and every descriptor of `table` with the host and
// reports the table size as the parameter count. The custom UI area takes the
// given about-area size. A table-authoring error throws std::logic_error
// naming the failed check.
PF_Err RegisterParameters(PF_InData* in_data, PF_OutData* out_data, const std::vector<ParamDescriptor>& table,
                          A_long aboutWidth, A_long aboutHeight);

PF_Err UserChangedParam(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                        const PF_UserChangedParamExtra* extra);
PF_Err UpdateParamsUI(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[]);

// Writes the preset row of popup item `item` into params[] (items without a
// row change nothing) and returns the popup to item 1 when every value was
// written. The first failing write ends the application.
PF_Err ApplyPreset(PF_InData* in_data, AEGP_EffectRefH effect, PF_ParamDef* params[], A_long item);

// Writes `value` into the parameter with this Disk ID in params[] and marks it
// changed: angles as 16.16 fixed degrees rounded half away from zero, popups
// truncated to an item number, float sliders as double. Any other host type
// is logged and reported as PF_Err_UNRECOGNIZED_PARAM_TYPE.
PF_Err SetPresetParam(PF_ParamDef* params[], int diskId, float value);

// Shows or hides the parameter at `index`: through the AEGP stream flag in
// After Effects, through PF_PUI_INVISIBLE and "PF Param Utils Suite" elsewhere.
PF_Err SetParamVisibility(AEGP_PluginID pluginId, PF_InData* in_data, PF_ParamDef* params[], PF_ParamIndex index,
                          bool visible);
