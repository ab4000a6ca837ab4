#include "ui/DriftSmear_UI_Handler.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "AE_EffectCBSuites.h"
#include "AE_EffectSuites.h"
#include "effect/GlobalData.h"
#include "render/GPUStatusInfo.h"
#include "stb_image.h"
#include "support/HostHandle.h"
#include "support/LogsController.h"
#include "support/SuiteAccess.h"
#include "ui/ModuleResources.h"
#include "ui/TextConversion.h"

namespace {

// ---- About image ---------------------------------------------------------------

struct StbImageDeleter {
  void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

// ---- Drawbot helpers -----------------------------------------------------------

// The four Drawbot suites for one event, released at scope end. After a
// partial acquisition only the suites actually acquired are released.
class DrawbotSuitesScope {
 public:
  DrawbotSuitesScope(PF_InData* in_data, PF_OutData* out_data) : in_data_(in_data), out_data_(out_data) {
    err_ = AEFX_AcquireDrawbotSuites(in_data_, out_data_, &suites_);
  }
  ~DrawbotSuitesScope() {
    if (err_ == PF_Err_NONE) {
      AEFX_ReleaseDrawbotSuites(in_data_, out_data_);
      return;
    }
    if (suites_.drawbot_suiteP != nullptr) {
      ReleaseSuite(in_data_, out_data_, kDRAWBOT_DrawSuite, kDRAWBOT_DrawSuite_VersionCurrent, nullptr);
    }
    if (suites_.supplier_suiteP != nullptr) {
      ReleaseSuite(in_data_, out_data_, kDRAWBOT_SupplierSuite, kDRAWBOT_SupplierSuite_VersionCurrent, nullptr);
    }
    if (suites_.surface_suiteP != nullptr) {
      ReleaseSuite(in_data_, out_data_, kDRAWBOT_SurfaceSuite, kDRAWBOT_SurfaceSuite_VersionCurrent, nullptr);
    }
    if (suites_.path_suiteP != nullptr) {
      ReleaseSuite(in_data_, out_data_, kDRAWBOT_PathSuite, kDRAWBOT_PathSuite_VersionCurrent, nullptr);
    }
  }
  DrawbotSuitesScope(const DrawbotSuitesScope&) = delete;
  DrawbotSuitesScope& operator=(const DrawbotSuitesScope&) = delete;

  PF_Err error() const { return err_; }
  const DRAWBOT_Suites& suites() const { return suites_; }

 private:
  PF_InData* in_data_;
  PF_OutData* out_data_;
  DRAWBOT_Suites suites_{};
  PF_Err err_ = PF_Err_NONE;
};

// One brush, font, image or path made through the supplier; released at
// scope end, also when a later call failed.
template <typename Ref>
class DrawbotObject {
 public:
  explicit DrawbotObject(const DRAWBOT_SupplierSuiteCurrent* supplier) : supplier_(supplier) {}
  ~DrawbotObject() {
    if (ref_ != nullptr) {
      supplier_->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(ref_));
    }
  }
  DrawbotObject(const DrawbotObject&) = delete;
  DrawbotObject& operator=(const DrawbotObject&) = delete;

  Ref* out() { return &ref_; }
  Ref get() const { return ref_; }

 private:
  const DRAWBOT_SupplierSuiteCurrent* supplier_;
  Ref ref_ = nullptr;
};

// Runs drawing calls in order until the first one fails; the failure is
// logged once, with the name of the call, under the drawing function's name.
class DrawbotSteps {
 public:
  explicit DrawbotSteps(const char* function) : function_(function) {}

  template <typename Call>
  bool Run(const char* name, Call&& call) {
    if (failed_) {
      return false;
    }
    const SPErr err = call();
    if (err != kSPNoError) {
      failed_ = true;
      DRIFTSMEAR_LOG_ERROR(function_, "Drawbot call " << name << " failed with code " << err);
    }
    return !failed_;
  }
  bool ok() const { return !failed_; }

 private:
  const char* function_;
  bool failed_ = false;
};

// The drawing reference of the event's context; null (and logged) when the
// host gives none.
DRAWBOT_DrawRef GetDrawingReference(PF_InData* in_data, PF_OutData* out_data, const PF_EventExtra* extra,
                                    const char* function) {
  ScopedSuite<PF_EffectCustomUISuite1> customUI(in_data, kPFEffectCustomUISuite, kPFEffectCustomUISuiteVersion1,
                                                out_data);
  DRAWBOT_DrawRef drawRef = nullptr;
  if (customUI->PF_GetDrawingReference(extra->contextH, &drawRef) != PF_Err_NONE || drawRef == nullptr) {
    DRIFTSMEAR_LOG_ERROR(function, "Cannot acquire Drawing Reference");
    return nullptr;
  }
  return drawRef;
}

SPErr DrawText(const DRAWBOT_Suites& suites, DRAWBOT_SurfaceRef surface, DRAWBOT_BrushRef brush,
               DRAWBOT_FontRef font, const std::string& utf8, const DRAWBOT_PointF32& origin) {
  const DrawbotString text = ToDrawbotString(utf8);
  return suites.surface_suiteP->DrawString(surface, brush, font, DrawbotChars(text), &origin,
                                           kDRAWBOT_TextAlignment_Left, kDRAWBOT_TextTruncation_None, 0.0f);
}

}  // namespace

// ---- About image -----------------------------------------------------------------

PF_Err DecodeAboutImage(PF_InData* in_data, const void* bytes, std::size_t size, AboutImage* record) {
  int width = 0;
  int height = 0;
  int channels = 0;
  std::unique_ptr<stbi_uc, StbImageDeleter> decoded(
      bytes == nullptr ? nullptr
                       : stbi_load_from_memory(static_cast<const stbi_uc*>(bytes), static_cast<int>(size), &width,
                                               &height, &channels, 4));
  if (!decoded || width <= 0 || height <= 0 || channels <= 0 || channels > 4) {
    DRIFTSMEAR_LOG_ERROR("LoadAboutImage", "Cannot load 'about' image.");
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }

  // The decoder gives R, G, B, A; Drawbot's 32-bit BGR layout wants B, G, R
  // first, so the first and third byte of every pixel change places.
  const std::size_t pixelCount = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::vector<stbi_uc> converted(decoded.get(), decoded.get() + pixelCount * 4);
  for (std::size_t i = 0; i < pixelCount; ++i) {
    std::swap(converted[i * 4], converted[i * 4 + 2]);
  }
  decoded.reset();

  // The handle holds channels * width * height bytes with the file's channel
  // count; for the RGBA image that is the whole converted buffer.
  const std::size_t handleSize = static_cast<std::size_t>(channels) * pixelCount;
  ScopedSuite<PF_HandleSuite1> handles(in_data, kPFHandleSuite, kPFHandleSuiteVersion1);
  OwnedHostHandle pixels(handles.get(), handles->host_new_handle(handleSize));
  if (!pixels) {
    DRIFTSMEAR_LOG_ERROR("LoadAboutImage", "Cannot allocate memory for the 'about' image.");
    return PF_Err_OUT_OF_MEMORY;
  }
  {
    HostHandleLock lock(handles.get(), pixels.get());
    if (lock.get() == nullptr) {
      DRIFTSMEAR_LOG_ERROR("LoadAboutImage", "Cannot lock memory for the 'about' image.");
      return PF_Err_OUT_OF_MEMORY;
    }
    std::memcpy(lock.get(), converted.data(), handleSize);
  }

  record->channels = channels;
  record->width = width;
  record->height = height;
  record->pixelLayout = kDRAWBOT_PixelLayout_32BGR;
  record->pixels = pixels.Release();
  return PF_Err_NONE;
}

PF_Err LoadImageResource(PF_InData* in_data, AboutImage* record, int type, int id) {
  const ModuleResource resource = FindModuleResource(type, id);
  if (!resource.found) {
    DRIFTSMEAR_LOG_ERROR("LoadAboutImage", "Cannot find 'about' resource.");
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  const void* bytes = LockModuleResource(resource);
  if (bytes == nullptr) {
    DRIFTSMEAR_LOG_ERROR("LoadAboutImage", "Cannot lock 'about' resource.");
    return PF_Err_INTERNAL_STRUCT_DAMAGED;
  }
  return DecodeAboutImage(in_data, bytes, resource.size, record);
}

PF_Err LoadAboutImage(PF_InData* in_data, AboutImage* record) {
  return LoadImageResource(in_data, record, kAboutImageResourceType, kAboutImageResourceId);
}

// ---- Events ------------------------------------------------------------------------

PF_Err HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
                   PF_EventExtra* extra) {
  if (extra == nullptr) {
    DRIFTSMEAR_LOG_ERROR("HandleEvent", "Something wrong. Extra is MULL");
    return PF_Err_NONE;
  }
  if (extra->e_type != PF_Event_DRAW) {
    // The area is display only: clicks, drags, keys and cursor changes are
    // left to the host.
    return PF_Err_NONE;
  }
  if (extra->contextH == nullptr || *extra->contextH == nullptr) {
    DRIFTSMEAR_LOG_ERROR("HandleEvent", "Something wrong. The event has no context");
    return PF_Err_NONE;
  }
  if ((*extra->contextH)->w_type == PF_Window_EFFECT) {
    return DrawEvent(in_data, out_data, params, output, extra);
  }
  return DrawCompUIEvent(in_data, out_data, params, output, extra);
}

PF_Err DrawEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* /*params*/[], PF_LayerDef* /*output*/,
                 PF_EventExtra* extra) {
  if (extra->effect_win.area != PF_EA_CONTROL) {
    return PF_Err_NONE;
  }
  DRAWBOT_DrawRef drawRef = GetDrawingReference(in_data, out_data, extra, "DrawEvent");
  if (drawRef == nullptr) {
    return PF_Err_NONE;
  }
  DrawbotSuitesScope drawbot(in_data, out_data);
  if (drawbot.error() != PF_Err_NONE) {
    return drawbot.error();
  }
  const DRAWBOT_Suites& suites = drawbot.suites();
  const DRAWBOT_SupplierSuiteCurrent* supplierSuite = suites.supplier_suiteP;
  DrawbotSteps steps("DrawEvent");

  DRAWBOT_SupplierRef supplier = nullptr;
  DRAWBOT_SurfaceRef surface = nullptr;
  steps.Run("GetSupplier", [&] { return suites.drawbot_suiteP->GetSupplier(drawRef, &supplier); });
  steps.Run("GetSurface", [&] { return suites.drawbot_suiteP->GetSurface(drawRef, &surface); });
  if (!steps.ok()) {
    return PF_Err_NONE;
  }

  ScopedSuite<PF_HandleSuite1> handles(in_data, kPFHandleSuite, kPFHandleSuiteVersion1, out_data);
  HostHandleLock globalLock(handles.get(), in_data->global_data);
  const GlobalData* global = globalLock.as<GlobalData>();
  const AboutImage* image = global != nullptr ? global->aboutImage : nullptr;
  // Without an image the area keeps its usual size, so the text stays where
  // it would be under the image.
  A_long imageWidth = kDefaultAboutAreaWidth;
  A_long imageHeight = kDefaultAboutAreaHeight;
  if (global != nullptr) {
    AboutAreaSize(*global, &imageWidth, &imageHeight);
  }

  const PF_UnionableRect& frame = extra->effect_win.current_frame;
  const auto left = static_cast<float>(frame.left);
  const auto top = static_cast<float>(frame.top);

  DrawbotObject<DRAWBOT_BrushRef> backgroundBrush(supplierSuite);
  DrawbotObject<DRAWBOT_PathRef> backgroundPath(supplierSuite);
  steps.Run("NewBrush", [&] { return supplierSuite->NewBrush(supplier, &kPanelBackgroundColor, backgroundBrush.out()); });
  steps.Run("NewPath", [&] { return supplierSuite->NewPath(supplier, backgroundPath.out()); });
  const DRAWBOT_RectF32 background = {left, top, static_cast<float>(imageWidth),
                                      static_cast<float>(frame.bottom - frame.top)};
  steps.Run("AddRect", [&] { return suites.path_suiteP->AddRect(backgroundPath.get(), &background); });
  steps.Run("FillPath", [&] {
    return suites.surface_suiteP->FillPath(surface, backgroundBrush.get(), backgroundPath.get(),
                                           kDRAWBOT_FillType_Winding);
  });

  DrawbotObject<DRAWBOT_ImageRef> aboutImage(supplierSuite);
  if (image != nullptr && image->pixels != nullptr && image->channels >= 4) {
    HostHandleLock pixelLock(handles.get(), image->pixels);
    if (pixelLock.get() != nullptr) {
      steps.Run("NewImageFromBuffer", [&] {
        return supplierSuite->NewImageFromBuffer(supplier, image->width, image->height,
                                                 image->width * image->channels, image->pixelLayout, pixelLock.get(),
                                                 aboutImage.out());
      });
      const DRAWBOT_PointF32 corner = {left, top};
      steps.Run("DrawImage", [&] { return suites.surface_suiteP->DrawImage(surface, aboutImage.get(), &corner, 1.0f); });
    }
  }

  DrawbotObject<DRAWBOT_FontRef> textFont(supplierSuite);
  DrawbotObject<DRAWBOT_BrushRef> labelBrush(supplierSuite);
  DrawbotObject<DRAWBOT_BrushRef> nameBrush(supplierSuite);
  DrawbotObject<DRAWBOT_BrushRef> noticeBrush(supplierSuite);
  // A heading font and a dimmed text style belong to the panel's styles but
  // have no text to show at present; they are made and released unused.
  DrawbotObject<DRAWBOT_FontRef> headingFont(supplierSuite);
  DrawbotObject<DRAWBOT_BrushRef> headingBrush(supplierSuite);
  DrawbotObject<DRAWBOT_FontRef> dimFont(supplierSuite);
  DrawbotObject<DRAWBOT_BrushRef> dimBrush(supplierSuite);
  constexpr DRAWBOT_ColorRGBA kHeadingColor = {0.0f, 0.0f, 0.0f, 1.0f};
  constexpr DRAWBOT_ColorRGBA kDimColor = {1.0f, 1.0f, 1.0f, 0.3f};
  steps.Run("NewDefaultFont", [&] { return supplierSuite->NewDefaultFont(supplier, 12.0f, headingFont.out()); });
  steps.Run("NewBrush", [&] { return supplierSuite->NewBrush(supplier, &kHeadingColor, headingBrush.out()); });
  steps.Run("NewDefaultFont", [&] { return supplierSuite->NewDefaultFont(supplier, kPanelFontSize, dimFont.out()); });
  steps.Run("NewBrush", [&] { return supplierSuite->NewBrush(supplier, &kDimColor, dimBrush.out()); });

  const GPUStatusInfo& status = GetGPUStatusInfo();
  const std::string headline = status.GetText(GPUStatusInfo::kNoticeHeadline);
  const std::string gpuName = status.GetText(GPUStatusInfo::kGPUShortName);
  const std::string framework = status.GetText(GPUStatusInfo::kFrameworkName);
  const DRAWBOT_PointF32 textOrigin = {left + kPanelTextInset, top + static_cast<float>(imageHeight) + kPanelTextDrop};

  if (headline.empty()) {
    if (!gpuName.empty()) {
      steps.Run("NewDefaultFont", [&] { return supplierSuite->NewDefaultFont(supplier, kPanelFontSize, textFont.out()); });
      steps.Run("NewBrush", [&] { return supplierSuite->NewBrush(supplier, &kGPULabelColor, labelBrush.out()); });
      steps.Run("NewBrush", [&] { return supplierSuite->NewBrush(supplier, &kGPUNameColor, nameBrush.out()); });
      steps.Run("DrawString", [&] {
        return DrawText(suites, surface, labelBrush.get(), textFont.get(), "GPU:", textOrigin);
      });
      const std::string nameLine = framework.empty() ? gpuName : gpuName + " " + framework;
      const DRAWBOT_PointF32 nameOrigin = {textOrigin.x + kGPUNameOffset, textOrigin.y};
      steps.Run("DrawString", [&] {
        return DrawText(suites, surface, nameBrush.get(), textFont.get(), nameLine, nameOrigin);
      });
    }
  } else {
    steps.Run("NewDefaultFont", [&] { return supplierSuite->NewDefaultFont(supplier, kPanelFontSize, textFont.out()); });
    steps.Run("NewBrush", [&] { return supplierSuite->NewBrush(supplier, &kPanelNoticeColor, noticeBrush.out()); });
    steps.Run("DrawString", [&] {
      return DrawText(suites, surface, noticeBrush.get(), textFont.get(), headline, textOrigin);
    });
  }

  if (steps.ok()) {
    extra->evt_out_flags |= PF_EO_HANDLED_EVENT;
  }
  return PF_Err_NONE;
}

PF_Err DrawCompUIEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* /*params*/[],
                       PF_LayerDef* /*output*/, PF_EventExtra* extra) {
  DRAWBOT_DrawRef drawRef = GetDrawingReference(in_data, out_data, extra, "DrawCompUIEvent");
  if (drawRef == nullptr) {
    return PF_Err_NONE;
  }
  DrawbotSuitesScope drawbot(in_data, out_data);
  if (drawbot.error() != PF_Err_NONE) {
    return drawbot.error();
  }
  const DRAWBOT_Suites& suites = drawbot.suites();
  const DRAWBOT_SupplierSuiteCurrent* supplierSuite = suites.supplier_suiteP;
  DrawbotSteps steps("DrawCompUIEvent");

  DRAWBOT_SupplierRef supplier = nullptr;
  DRAWBOT_SurfaceRef surface = nullptr;
  steps.Run("GetSupplier", [&] { return suites.drawbot_suiteP->GetSupplier(drawRef, &supplier); });
  steps.Run("GetSurface", [&] { return suites.drawbot_suiteP->GetSurface(drawRef, &surface); });

  const GPUStatusInfo& status = GetGPUStatusInfo();
  const std::string headline = status.GetText(GPUStatusInfo::kNoticeHeadline);
  if (!steps.ok() || headline.empty()) {
    return PF_Err_NONE;
  }
  const std::string instruction = status.GetText(GPUStatusInfo::kNoticeInstruction);

  DrawbotObject<DRAWBOT_FontRef> headlineFont(supplierSuite);
  DrawbotObject<DRAWBOT_FontRef> instructionFont(supplierSuite);
  DrawbotObject<DRAWBOT_BrushRef> brush(supplierSuite);
  steps.Run("NewDefaultFont", [&] {
    return supplierSuite->NewDefaultFont(supplier, kWindowHeadlineFontSize, headlineFont.out());
  });
  steps.Run("NewDefaultFont", [&] {
    return supplierSuite->NewDefaultFont(supplier, kWindowInstructionFontSize, instructionFont.out());
  });
  steps.Run("NewBrush", [&] { return supplierSuite->NewBrush(supplier, &kWindowNoticeColor, brush.out()); });
  steps.Run("DrawString", [&] {
    return DrawText(suites, surface, brush.get(), headlineFont.get(), headline, kWindowHeadlineOrigin);
  });
  steps.Run("DrawString", [&] {
    return DrawText(suites, surface, brush.get(), instructionFont.get(), instruction, kWindowInstructionOrigin);
  });
  return PF_Err_NONE;
}
