// Golden layout of the host interface declarations: the size of every record
// and suite table the plug-in or our host uses, the offset of each field and
// the slot of each suite function, as the vendor's SDK lays them out for
// 64-bit Windows (the same on our 64-bit Linux build). The plug-in reads the
// host's records and calls through its tables by these offsets, and our host
// publishes its tables from the same declarations, so a drift here would go
// unnoticed by every other test.
#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

#include "AEConfig.h"
#include "entry.h"
#include "PrSDKTypes.h"
#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "AE_EffectGPUSuites.h"
#include "AE_EffectUI.h"
#include "AE_GeneralPlug.h"
#include "PrSDKAESupport.h"
#include "PrGPUFilterModule.h"
#include "PrSDKTimeSuite.h"
#include "adobesdk/DrawbotSuite.h"

namespace {

static_assert(sizeof(void*) == 8, "the layouts below are those of 64-bit builds");

// One checked value: a record's size, a field's offset or a function's slot.
struct Layout {
  std::string what;
  size_t actual;
  size_t expected;
};

// FOR_EACH(m, T, a, b, ...) expands m(T, a) m(T, b) ...; FOR_EACH_PAIR takes
// the arguments two at a time.
#define DS_PARENS ()
#define DS_EXPAND(...) DS_EXPAND3(DS_EXPAND3(DS_EXPAND3(DS_EXPAND3(__VA_ARGS__))))
#define DS_EXPAND3(...) DS_EXPAND2(DS_EXPAND2(DS_EXPAND2(DS_EXPAND2(__VA_ARGS__))))
#define DS_EXPAND2(...) DS_EXPAND1(DS_EXPAND1(DS_EXPAND1(DS_EXPAND1(__VA_ARGS__))))
#define DS_EXPAND1(...) __VA_ARGS__
#define FOR_EACH(m, T, ...) __VA_OPT__(DS_EXPAND(DS_FOR_EACH_1(m, T, __VA_ARGS__)))
#define DS_FOR_EACH_1(m, T, a, ...) m(T, a) __VA_OPT__(DS_FOR_EACH_AGAIN DS_PARENS(m, T, __VA_ARGS__))
#define DS_FOR_EACH_AGAIN() DS_FOR_EACH_1
#define FOR_EACH_PAIR(m, T, ...) __VA_OPT__(DS_EXPAND(DS_FOR_EACH_2(m, T, __VA_ARGS__)))
#define DS_FOR_EACH_2(m, T, a, b, ...) m(T, a, b) __VA_OPT__(DS_FOR_EACH_2_AGAIN DS_PARENS(m, T, __VA_ARGS__))
#define DS_FOR_EACH_2_AGAIN() DS_FOR_EACH_2

#define DS_OFFSET(T, f) offsetof(T, f),
#define DS_FIELD(T, f, at) Layout{#T "::" #f, offsetof(T, f), at},

// A record: its size, then each field with its offset.
#define RECORD(T, size, ...) \
  std::vector<Layout> { Layout{"sizeof " #T, sizeof(T), size}, FOR_EACH_PAIR(DS_FIELD, T, __VA_ARGS__) }
// A suite or callback table: its size, then its functions in slot order.
#define SUITE(T, size, ...) Slots(#T, sizeof(T), size, {FOR_EACH(DS_OFFSET, T, __VA_ARGS__)}, #__VA_ARGS__)
#define SIZE(T, size) \
  std::vector<Layout> { Layout{"sizeof " #T, sizeof(T), size} }

std::vector<Layout> Slots(const char* type, size_t actual, size_t expected, const std::vector<size_t>& offsets,
                          const char* names) {
  std::vector<Layout> checks{{std::string("sizeof ") + type, actual, expected}};
  std::istringstream list(names);
  std::string name;
  for (size_t slot = 0; slot < offsets.size() && std::getline(list >> std::ws, name, ','); ++slot) {
    checks.push_back({std::string(type) + "::" + name, offsets[slot], slot * sizeof(void*)});
  }
  return checks;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
const std::vector<std::vector<Layout>> kLayouts = {
    // A.h
    RECORD(A_Time, 8, value, 0, scale, 4),
    RECORD(A_Ratio, 8, num, 0, den, 4),
    RECORD(A_LPoint, 8, x, 0, y, 4),
    // AE_Effect.h
    RECORD(PF_LRect, 16, left, 0, top, 4, right, 8, bottom, 12),
    RECORD(PF_Point, 8, h, 0, v, 4),
    RECORD(PF_RationalScale, 8, num, 0, den, 4),
    RECORD(PF_FixedPoint, 8, x, 0, y, 4),
    RECORD(PF_SpecVersion, 4, major, 0, minor, 2),
    RECORD(PF_Pixel, 4, alpha, 0, red, 1, green, 2, blue, 3),
    RECORD(PF_LayerDef, 120, reserved0, 0, reserved1, 8, world_flags, 16, data, 24, rowbytes, 32, width, 36, height,
           40, extent_hint, 44, platform_ref, 64, reserved_long1, 72, reserved_long4, 80, pix_aspect_ratio, 88,
           reserved_long2, 96, origin_x, 104, origin_y, 108, reserved_long3, 112, dephault, 116),
    RECORD(PF_SoundFormatInfo, 16, rateF, 0, num_channels, 8, format, 10, sample_size, 12),
    RECORD(PF_SoundWorld, 32, fi, 0, num_samples, 16, dataP, 24),
    RECORD(PF_SliderDef, 88, value, 0, value_str, 4, value_desc, 36, valid_min, 68, valid_max, 72, slider_min, 76,
           slider_max, 80, dephault, 84),
    RECORD(PF_FixedSliderDef, 92, value, 0, value_str, 4, value_desc, 36, valid_min, 68, valid_max, 72, slider_min,
           76, slider_max, 80, dephault, 84, precision, 88, display_flags, 90),
    RECORD(PF_FloatSliderDef, 88, value, 0, phase, 8, value_desc, 16, valid_min, 48, valid_max, 52, slider_min, 56,
           slider_max, 60, dephault, 64, precision, 68, display_flags, 70, fs_flags, 72, curve_tolerance, 76,
           useExponent, 80, exponent, 84),
    RECORD(PF_AngleDef, 16, value, 0, dephault, 4, valid_min, 8, valid_max, 12),
    RECORD(PF_CheckBoxDef, 16, value, 0, dephault, 4, reserved, 5, reserved1, 6, u, 8),
    RECORD(PF_ColorDef, 8, value, 0, dephault, 4),
    RECORD(PF_PointDef, 20, x_value, 0, y_value, 4, reserved, 8, restrict_bounds, 11, x_dephault, 12, y_dephault, 16),
    RECORD(PF_PopupDef, 16, value, 0, num_choices, 4, dephault, 6, u, 8),
    RECORD(PF_ArbitraryDef, 32, id, 0, pad, 2, dephault, 8, value, 16, refconPV, 24),
    RECORD(PF_PathDef, 12, path_id, 0, reserved0, 4, dephault, 8),
    SUITE(PF_ButtonDef, 16, value, u),
    RECORD(PF_Point3DDef, 64, x_value, 0, y_value, 8, z_value, 16, x_dephault, 24, y_dephault, 32, z_dephault, 40,
           reserved, 48),
    SIZE(PF_ParamDefUnion, 120),
    RECORD(PF_ParamDef, 176, uu, 0, ui_flags, 4, ui_width, 8, ui_height, 10, param_type, 12, name, 16, flags, 48,
           unused, 52, u, 56),
    RECORD(PF_CustomUIInfo, 44, reserved, 0, events, 4, comp_ui_width, 8, comp_ui_height, 12, comp_ui_alignment, 16,
           layer_ui_width, 20, layer_ui_height, 24, layer_ui_alignment, 28, preview_ui_width, 32, preview_ui_height,
           36, preview_ui_alignment, 40),
    RECORD(PF_InteractCallbacks, 176, checkout_param, 0, checkin_param, 8, add_param, 16, abort, 24, progress, 32,
           register_ui, 40, checkout_layer_audio, 48, checkin_layer_audio, 56, get_audio_data, 64, reserved_str, 72,
           reserved, 96),
    RECORD(PF_InData, 408, inter, 0, utils, 176, effect_ref, 184, quality, 192, version, 196, serial_num, 200,
           appl_id, 204, num_params, 208, reserved, 212, what_cpu, 216, what_fpu, 220, current_time, 224, time_step,
           228, total_time, 232, local_time_step, 236, time_scale, 240, field, 244, shutter_angle, 248, width, 252,
           height, 256, extent_hint, 260, output_origin_x, 276, output_origin_y, 280, downsample_x, 284, downsample_y,
           292, pixel_aspect_ratio, 300, in_flags, 308, global_data, 312, sequence_data, 320, frame_data, 328,
           start_sampL, 336, dur_sampL, 340, total_sampL, 344, src_snd, 352, pica_basicP, 384,
           pre_effect_source_origin_x, 392, pre_effect_source_origin_y, 396, shutter_phase, 400),
    RECORD(PF_OutData, 408, my_version, 0, name, 4, global_data, 40, num_params, 48, sequence_data, 56,
           flat_sdata_size, 64, frame_data, 72, width, 80, height, 84, origin, 88, out_flags, 96, return_msg, 100,
           start_sampL, 356, dur_sampL, 360, dest_snd, 368, out_flags2, 400),
    RECORD(PF_UserChangedParamExtra, 4, param_index, 0),
    // AE_EffectCB.h
    SUITE(PF_ANSICallbacks, 160, atan, atan2, ceil, cos, exp, fabs, floor, fmod, hypot, log, log10, pow, sin, sqrt,
           tan, sprintf, strcpy, asin, acos, ansi_procs),
    SUITE(PF_ColorCallbacks, 64, RGBtoHLS, HLStoRGB, RGBtoYIQ, YIQtoRGB, Luminance, Hue, Lightness, Saturation),
    RECORD(PF_UtilCallbacks, 552, begin_sampling, 0, subpixel_sample, 8, area_sample, 16,
           get_batch_func_is_deprecated, 24, end_sampling, 32, composite_rect, 40, blend, 48, convolve, 56, copy, 64,
           fill, 72, gaussian_kernel, 80, iterate, 88, premultiply, 96, premultiply_color, 104, new_world, 112,
           dispose_world, 120, iterate_origin, 128, iterate_lut, 136, transfer_rect, 144, transform_world, 152,
           host_new_handle, 160, host_lock_handle, 168, host_unlock_handle, 176, host_dispose_handle, 184,
           get_callback_addr, 192, app, 200, ansi, 208, colorCB, 368, get_platform_data, 432, host_get_handle_size,
           440, iterate_origin_non_clip_src, 448, iterate_generic, 456, host_resize_handle, 464, subpixel_sample16,
           472, area_sample16, 480, fill16, 488, premultiply_color16, 496, iterate16, 504, iterate_origin16, 512,
           iterate_origin_non_clip_src16, 520, get_pixel_data8, 528, get_pixel_data16, 536, reserved, 544),
    RECORD(PF_RenderRequest, 44, rect, 0, field, 16, channel_mask, 20, preserve_rgb_of_zero_alpha, 24, unused, 25,
           reserved, 28),
    RECORD(PF_CheckoutResult, 76, result_rect, 0, max_result_rect, 16, par, 32, solid, 40, reservedB, 41, ref_width,
           44, ref_height, 48, reserved, 52),
    RECORD(PF_PreRenderInput, 64, output_request, 0, bitdepth, 44, gpu_data, 48, what_gpu, 56, device_index, 60),
    RECORD(PF_PreRenderOutput, 56, result_rect, 0, max_result_rect, 16, solid, 32, reserved, 33, flags, 34,
           pre_render_data, 40, delete_pre_render_data_func, 48),
    SUITE(PF_PreRenderCallbacks, 16, checkout_layer, GuidMixInPtr),
    SUITE(PF_PreRenderExtra, 24, input, output, cb),
    RECORD(PF_SmartRenderInput, 72, output_request, 0, bitdepth, 44, pre_render_data, 48, gpu_data, 56, what_gpu, 64,
           device_index, 68),
    SUITE(PF_SmartRenderCallbacks, 24, checkout_layer_pixels, checkin_layer_pixels, checkout_output),
    SUITE(PF_SmartRenderExtra, 16, input, cb),
    RECORD(PF_GPUDeviceSetupInput, 8, what_gpu, 0, device_index, 4),
    RECORD(PF_GPUDeviceSetupOutput, 8, gpu_data, 0),
    SUITE(PF_GPUDeviceSetupExtra, 16, input, output),
    RECORD(PF_GPUDeviceSetdownInput, 16, gpu_data, 0, what_gpu, 8, device_index, 12),
    RECORD(PF_GPUDeviceSetdownExtra, 8, input, 0),
    // AE_EffectCBSuites.h
    SUITE(PF_HandleSuite1, 48, host_new_handle, host_lock_handle, host_unlock_handle, host_dispose_handle,
           host_get_handle_size, host_resize_handle),
    SUITE(PF_ANSICallbacksSuite1, 152, atan, atan2, ceil, cos, exp, fabs, floor, fmod, hypot, log, log10, pow, sin,
           sqrt, tan, sprintf, strcpy, asin, acos),
    SUITE(PF_WorldSuite2, 24, PF_NewWorld, PF_DisposeWorld, PF_GetPixelFormat),
    SUITE(PF_PixelFormatSuite2, 16, PF_AddSupportedPixelFormat, PF_ClearSupportedPixelFormats),
    // AE_EffectGPUSuites.h
    RECORD(PF_GPUDeviceInfo, 56, device_framework, 0, compatibleB, 4, platformPV, 8, devicePV, 16, contextPV, 24,
           command_queuePV, 32, offscreen_opengl_contextPV, 40, offscreen_opengl_devicePV, 48),
    SUITE(PF_GPUDeviceSuite1, 120, GetDeviceCount, GetDeviceInfo, AcquireExclusiveDeviceAccess,
           ReleaseExclusiveDeviceAccess, AllocateDeviceMemory, FreeDeviceMemory, PurgeDeviceMemory,
           AllocateHostMemory, FreeHostMemory, PurgeHostMemory, CreateGPUWorld, DisposeGPUWorld, GetGPUWorldData,
           GetGPUWorldSize, GetGPUWorldDeviceIndex),
    // AE_EffectSuites.h
    RECORD(PF_EffectUISuite1, 8, PF_SetOptionsButtonName, 0),
    SUITE(PF_ParamUtilsSuite3, 72, PF_UpdateParamUI, PF_GetCurrentState, PF_AreStatesIdentical,
           PF_IsIdenticalCheckout, PF_FindKeyframeTime, PF_GetKeyframeCount, PF_CheckoutKeyframe, PF_CheckinKeyframe,
           PF_KeyIndexToTime),
    // AE_EffectSuitesOld.h
    RECORD(PF_EffectCustomUISuite1, 8, PF_GetDrawingReference, 0),
    // AE_EffectUI.h
    RECORD(PF_Context, 72, magic, 0, w_type, 4, reserved_flt, 8, plugin_state, 16, reserved_drawref, 48,
           reserved_paneP, 56, reserved_job_manageP, 64),
    RECORD(PF_DoClickEventInfo, 64, when, 0, screen_point, 4, num_clicks, 12, modifiers, 16, continue_refcon, 24,
           send_drag, 56, last_time, 57),
    RECORD(PF_DrawEventInfo, 20, update_rect, 0, depth, 16),
    RECORD(PF_KeyDownEvent, 20, when, 0, screen_point, 4, keycode, 12, modifiers, 16),
    RECORD(PF_AdjustCursorEventInfo, 16, screen_point, 0, modifiers, 8, set_cursor, 12),
    SIZE(PF_EventUnion, 64),
    RECORD(PF_EffectWindowInfo, 44, index, 0, area, 4, current_frame, 8, param_title_frame, 24, horiz_offset, 40),
    RECORD(PF_ItemWindowInfo, 16, port_rect, 0),
    SUITE(PF_EventCallbacks, 72, refcon, layer_to_comp, comp_to_layer, get_comp2layer_xform, get_layer2comp_xform,
           source_to_frame, frame_to_source, info_draw_color, info_draw_text),
    RECORD(PF_EventExtra, 208, contextH, 0, e_type, 8, u, 16, effect_win, 80, cbs, 128, evt_in_flags, 200,
           evt_out_flags, 204),
    // AE_GeneralPlug.h
    SUITE(AEGP_PFInterfaceSuite1, 40, AEGP_GetEffectLayer, AEGP_GetNewEffectForEffect, AEGP_ConvertEffectToCompTime,
           AEGP_GetEffectCamera, AEGP_GetEffectCameraMatrix),
    SUITE(AEGP_DynamicStreamSuite4, 184, AEGP_GetNewStreamRefForLayer, AEGP_GetNewStreamRefForMask,
           AEGP_GetStreamDepth, AEGP_GetStreamGroupingType, AEGP_GetNumStreamsInGroup, AEGP_GetDynamicStreamFlags,
           AEGP_SetDynamicStreamFlag, reserved_after),
    SUITE(AEGP_EffectSuite4, 168, AEGP_GetLayerNumEffects, AEGP_GetLayerEffectByIndex,
           AEGP_GetInstalledKeyFromLayerEffect, AEGP_GetEffectParamUnionByIndex, AEGP_GetEffectFlags,
           AEGP_SetEffectFlags, AEGP_ReorderEffect, AEGP_EffectCallGeneric, AEGP_DisposeEffect, reserved_after),
    // AE_GeneralPlugOld.h
    SUITE(AEGP_UtilitySuite3, 256, AEGP_ReportInfo, AEGP_GetDriverPluginInitFuncVersion,
           AEGP_GetDriverImplementationVersion, AEGP_StartQuietErrors, AEGP_EndQuietErrors, AEGP_StartUndoGroup,
           AEGP_EndUndoGroup, AEGP_RegisterWithAEGP, reserved_after),
    SUITE(AEGP_StreamSuite5, 256, AEGP_IsStreamLegal, AEGP_CanVaryOverTime, AEGP_GetValidInterpolations,
           AEGP_GetNewLayerStream, AEGP_GetEffectNumParamStreams, AEGP_GetNewEffectStreamByIndex,
           AEGP_GetNewMaskStream, AEGP_DisposeStream, reserved_after),
    SUITE(AEGP_EffectSuite2, 136, AEGP_GetLayerNumEffects, AEGP_GetLayerEffectByIndex,
           AEGP_GetInstalledKeyFromLayerEffect, AEGP_GetEffectParamUnionByIndex, AEGP_GetEffectFlags,
           AEGP_SetEffectFlags, AEGP_ReorderEffect, AEGP_EffectCallGeneric, AEGP_DisposeEffect, reserved_after),
    // PrSDKAESupport.h
    SUITE(PF_PixelFormatSuite, 64, AddSupportedPixelFormat, ClearSupportedPixelFormats, NewWorldOfPixelFormat,
           DisposeWorld, GetPixelFormat, GetBlackForPixelFormat, GetWhiteForPixelFormat,
           ConvertColorToPixelFormattedData),
    SUITE(PF_TransitionSuite, 24, RegisterTransitionInputParam, RegisterTransitionStartParam,
           RegisterTransitionEndParam),
    // PrSDKGPUDeviceSuite.h
    RECORD(PrGPUDeviceInfo, 56, outDeviceFramework, 0, outMeetsMinimumRequirementsForAcceleration, 4,
           outPlatformHandle, 8, outDeviceHandle, 16, outContextHandle, 24, outCommandQueueHandle, 32,
           outOffscreenOpenGLContextHandle, 40, outOffscreenOpenGLDeviceHandle, 48),
    SUITE(PrSDKGPUDeviceSuite, 112, GetDeviceCount, GetDeviceInfo, AcquireExclusiveDeviceAccess,
           ReleaseExclusiveDeviceAccess, AllocateDeviceMemory, FreeDeviceMemory, PurgeDeviceMemory,
           AllocateHostMemory, FreeHostMemory, PurgeHostMemory, CreateGPUPPix, GetGPUPPixData, GetGPUPPixDeviceIndex,
           GetGPUPPixSize),
    // PrSDKGPUFilter.h
    RECORD(PrGPUFilterInfo, 20, outInterfaceVersion, 0, outMatchName, 4),
    RECORD(PrGPUFilterInstance, 32, piSuites, 0, inDeviceIndex, 8, inTimelineID, 12, inNodeID, 16,
           ioPrivatePluginData, 20, outIsRealtime, 28),
    RECORD(PrGPUFilterRenderParams, 60, inClipTime, 0, inSequenceTime, 8, inQuality, 16, inDownsampleFactorX, 20,
           inDownsampleFactorY, 24, inRenderWidth, 28, inRenderHeight, 32, inRenderPARNum, 36, inRenderPARDen, 40,
           inRenderFieldType, 44, inRenderTicksPerFrame, 48, inRenderField, 56),
    RECORD(PrGPUFilterFrameDependency, 56, outDependencyType, 0, outTrackID, 4, outSequenceTime, 8,
           outPrecomputePixelFormat, 16, outPrecomputeFrameWidth, 20, outPrecomputeFrameHeight, 24,
           outPrecomputeFramePARNumerator, 28, outPrecomputeFramePARDenominator, 32, outPrecomputeFrameFieldType, 36,
           outPrecomputeCustomDataSize, 40, outNeedsFieldSeparation, 48, outReadIncomingTransition, 52),
    SUITE(PrGPUFilter, 40, CreateInstance, DisposeInstance, GetFrameDependencies, Precompute, Render),
    // PrSDKGPUImageProcessingSuite.h
    SUITE(PrSDKGPUImageProcessingSuite, 24, PixelFormatConvert, Scale, GaussianBlur),
    // PrSDKMemoryManagerSuite.h
    SUITE(PrSDKMemoryManagerSuite, 128, ReserveMemory, GetMemoryManagerSize, AddBlock, TouchBlock, RemoveBlock,
           NewPtrClear, NewPtr, GetPtrSize, SetPtrSize, NewHandle, NewHandleClear, PrDisposePtr, DisposeHandle,
           SetHandleSize, GetHandleSize, AdjustReservedMemorySize),
    // PrSDKPPix2Suite.h
    SUITE(PrSDKPPix2Suite, 32, GetSize, GetYUV420PlanarBuffers, GetOrigin, GetFieldOrder),
    // PrSDKPPixSuite.h
    SUITE(PrSDKPPixSuite, 72, Dispose, GetPixels, GetBounds, GetRowBytes, GetPixelAspectRatio, GetPixelFormat,
           GetUniqueKey, GetUniqueKeySize, GetRenderTime),
    // PrSDKPlugSuites.h
    SUITE(PlugUtilFuncs, 72, getSettings, getSerialNumber, getFileTimebase, getFileVideo, getFileAudioSecond,
           getPlugInResFile, getFileVideoBounds, getSPBasicSuite, getFileExtString),
    RECORD(piSuites, 44, piInterfaceVer, 0, memFuncs, 4, windFuncs, 12, ppixFuncs, 20, utilFuncs, 28, timelineFuncs,
           36),
    // PrSDKTimeSuite.h
    SUITE(PrSDKTimeSuite, 24, GetTicksPerSecond, GetTicksPerVideoFrame, GetTicksPerAudioSample),
    // PrSDKTypes.h
    RECORD(prRect, 16, left, 0, top, 4, right, 8, bottom, 12),
    RECORD(PrSDKString, 16, opaque, 0),
    RECORD(prFPoint64, 16, x, 0, y, 8),
    RECORD(prPluginID, 37, mGUID, 0),
    RECORD(PPix, 288, bounds, 0, rowbytes, 16, bitsperpixel, 20, pix, 24, reserved, 32),
    // PrSDKVideoSegmentSuite.h
    RECORD(PrParam, 41, mType, 0, mInt8, 4, mFloat32, 4, mFloat64, 4, mMemoryPtr, 4),
    SUITE(PrSDKVideoSegmentSuite, 216, AcquireVideoSegmentsID, AcquireVideoSegmentsWithPreviewsID,
           AcquireVideoSegmentsWithOpaquePreviewsID, ReleaseVideoSegmentsID, GetHash, GetSegmentCount, GetSegmentInfo,
           AcquireNodeID, ReleaseVideoNodeID, GetNodeInfo, GetNodeInputCount, AcquireInputNodeID,
           GetNodeOperatorCount, AcquireOperatorNodeID, IterateNodeProperties, GetNodeProperty, GetParamCount,
           GetParam, GetNextKeyframeTime, TransformNodeTime, GetVideoSegmentsProperties, AcquireNodeForTime,
           AcquireVideoSegmentsIDWithStreamLabel, AcquireVideoSegmentsWithPreviewsIDWithStreamLabel,
           AcquireVideoSegmentsWithOpaquePreviewsIDWithStreamLabel, AcquireFirstNodeInTimeRange,
           AcquireOperatorOwnerNodeID),
    // SPBasic.h
    SUITE(SPBasicSuite, 56, AcquireSuite, ReleaseSuite, IsEqual, AllocateBlock, FreeBlock, ReallocateBlock,
           Undefined),
    // adobesdk/DrawbotSuite.h
    RECORD(DRAWBOT_ColorRGBA, 16, red, 0, green, 4, blue, 8, alpha, 12),
    RECORD(DRAWBOT_PointF32, 8, x, 0, y, 4),
    RECORD(DRAWBOT_RectF32, 16, left, 0, top, 4, width, 8, height, 12),
    RECORD(DRAWBOT_Rect32, 16, left, 0, top, 4, width, 8, height, 12),
    SIZE(DRAWBOT_MatrixF32, 36),
    SUITE(DRAWBOT_DrawbotSuite1, 16, GetSupplier, GetSurface),
    SUITE(DRAWBOT_SupplierSuite1, 104, NewPen, NewBrush, SupportsText, GetDefaultFontSize, NewDefaultFont,
           NewImageFromBuffer, NewPath, SupportsPixelLayoutBGRA, PrefersPixelLayoutBGRA, SupportsPixelLayoutARGB,
           PrefersPixelLayoutARGB, RetainObject, ReleaseObject),
    SUITE(DRAWBOT_SurfaceSuite2, 136, PushStateStack, PopStateStack, PaintRect, FillPath, StrokePath, Clip,
           GetClipBounds, IsWithinClipBounds, Transform, DrawString, DrawImage, SetInterpolationPolicy,
           GetInterpolationPolicy, SetAntiAliasPolicy, GetAntiAliasPolicy, Flush, GetTransformToScreenScale),
    SUITE(DRAWBOT_PathSuite1, 48, MoveTo, LineTo, BezierTo, AddRect, AddArc, Close),
    RECORD(DRAWBOT_PenSuite1, 8, SetDashPattern, 0),
    RECORD(DRAWBOT_ImageSuite1, 8, SetScaleFactor, 0),
    SUITE(DRAWBOT_Suites, 48, drawbot_suiteP, supplier_suiteP, surface_suiteP, path_suiteP, pen_suiteP, image_suiteP),
};
#pragma GCC diagnostic pop

TEST(HostSdkLayout, EveryRecordAndSuiteTableHasTheVendorLayout) {
  size_t checked = 0;
  for (const auto& group : kLayouts) {
    for (const Layout& check : group) {
      EXPECT_EQ(check.actual, check.expected) << check.what;
      ++checked;
    }
  }
  EXPECT_GT(checked, 700u);
}

}  // namespace
