// The effect's custom UI: the about image with the GPU line in the Effect
// Controls panel, and the refusal notice in the Composition and Layer windows.
#pragma once
#include <cstddef>

#include "AEConfig.h"
#include "AE_Effect.h"
#include "AE_EffectUI.h"
#include "ui/AboutImage.h"

// Drawing styles of the panel and of the window notice (red, green, blue,
// alpha) and their font sizes.
inline constexpr DRAWBOT_ColorRGBA kPanelBackgroundColor = {0.11f, 0.11f, 0.11f, 1.0f};
inline constexpr DRAWBOT_ColorRGBA kGPULabelColor = {1.0f, 1.0f, 1.0f, 0.9f};
inline constexpr DRAWBOT_ColorRGBA kGPUNameColor = {0.17f, 0.7f, 0.46f, 1.0f};
inline constexpr DRAWBOT_ColorRGBA kPanelNoticeColor = {1.0f, 0.15f, 0.05f, 0.9f};
inline constexpr DRAWBOT_ColorRGBA kWindowNoticeColor = {1.0f, 0.0f, 0.0f, 1.0f};
inline constexpr float kPanelFontSize = 11.0f;
inline constexpr float kWindowHeadlineFontSize = 20.0f;
inline constexpr float kWindowInstructionFontSize = 14.0f;

// Where the panel's text line starts, relative to the control frame's
// top-left corner: 5 units in, 14 units under the image.
inline constexpr float kPanelTextInset = 5.0f;
inline constexpr float kPanelTextDrop = 14.0f;
// The GPU name follows the "GPU:" label on the same line.
inline constexpr float kGPUNameOffset = 27.0f;
// Baselines of the notice in the Composition and Layer windows.
inline constexpr DRAWBOT_PointF32 kWindowHeadlineOrigin = {10.0f, 30.0f};
inline constexpr DRAWBOT_PointF32 kWindowInstructionOrigin = {10.0f, 44.0f};

// Loads the about image (resource type 255, id 254 of this module) into the
// record: decoded, in B, G, R, A byte order, in a new host memory handle.
// On failure the record keeps no handle and the reason is logged.
PF_Err LoadAboutImage(PF_InData* in_data, AboutImage* record);

// The steps of LoadAboutImage for any resource, and the decoding of PNG bytes
// already in memory; their failures are logged as LoadAboutImage's.
PF_Err LoadImageResource(PF_InData* in_data, AboutImage* record, int type, int id);
PF_Err DecodeAboutImage(PF_InData* in_data, const void* bytes, std::size_t size, AboutImage* record);

// PF_Cmd_EVENT: draws on PF_Event_DRAW and ignores every other event.
PF_Err HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
                   PF_EventExtra* extra);

// The Effect Controls control area: background, about image, and under it the
// GPU line or the refusal headline.
PF_Err DrawEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
                 PF_EventExtra* extra);

// The Composition or Layer window: the refusal notice, when there is one.
PF_Err DrawCompUIEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
                       PF_EventExtra* extra);
