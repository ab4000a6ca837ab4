#include "host/drawbot/DrawbotCanvas.h"

#include <cmath>
#include <cstring>
#include <stdexcept>

#include "host/drawbot/DrawbotObjects.h"
#include "stb_image.h"
#include "stb_image_write.h"

namespace dshost {
namespace {

constexpr int kMaxSide = 16384;

std::uint8_t ToByte(float v) {
  if (!(v > 0.0f)) return 0;
  if (v >= 1.0f) return 255;
  return static_cast<std::uint8_t>(std::lround(v * 255.0f));
}

}  // namespace

struct DrawbotCanvas::Impl {
  int width = 0;
  int height = 0;
  DRAWBOT_ColorRGBA clear{};
  std::vector<std::uint8_t> pixels;
  drawbot::Supplier* supplier = nullptr;
  drawbot::Surface* surface = nullptr;
  drawbot::DrawContext* context = nullptr;

  drawbot::SurfaceState BaseState() const {
    drawbot::SurfaceState s;
    s.ctm.a = s.ctm.d = surface->screen_scale;
    s.clip = surface->target.Full();
    return s;
  }
};

DrawbotCanvas::DrawbotCanvas(int width, int height, const DRAWBOT_ColorRGBA& clear_color)
    : impl_(std::make_unique<Impl>()) {
  if (width < 0 || height < 0 || width > kMaxSide || height > kMaxSide) {
    throw std::invalid_argument("DrawbotCanvas: size out of range");
  }
  impl_->width = width;
  impl_->height = height;
  impl_->clear = clear_color;
  impl_->pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);

  drawbot::RasterTarget target{impl_->pixels.data(), width, height};
  auto supplier = std::make_unique<drawbot::Supplier>();
  auto surface = std::make_unique<drawbot::Surface>(target);
  auto context = std::make_unique<drawbot::DrawContext>(supplier.get(), surface.get());
  impl_->supplier = supplier.release();
  drawbot::Registry::Add(impl_->supplier);
  impl_->surface = surface.release();
  drawbot::Registry::Add(impl_->surface);
  impl_->context = context.release();
  drawbot::Registry::Add(impl_->context);
  Clear();
}

DrawbotCanvas::~DrawbotCanvas() {
  drawbot::Registry::Destroy(impl_->context);
  drawbot::Registry::Destroy(impl_->surface);
  drawbot::Registry::Destroy(impl_->supplier);
}

int DrawbotCanvas::Width() const { return impl_->width; }
int DrawbotCanvas::Height() const { return impl_->height; }
const DRAWBOT_ColorRGBA& DrawbotCanvas::ClearColor() const { return impl_->clear; }

void DrawbotCanvas::Clear() {
  const std::uint8_t px[4] = {ToByte(impl_->clear.red), ToByte(impl_->clear.green), ToByte(impl_->clear.blue),
                              ToByte(impl_->clear.alpha)};
  for (std::size_t i = 0; i < impl_->pixels.size(); i += 4) std::memcpy(&impl_->pixels[i], px, 4);
  impl_->surface->saved.clear();
  impl_->surface->state = impl_->BaseState();
}

DrawbotPixel DrawbotCanvas::Pixel(int x, int y) const {
  if (x < 0 || y < 0 || x >= impl_->width || y >= impl_->height) return {};
  const std::uint8_t* p = &impl_->pixels[(static_cast<std::size_t>(y) * impl_->width + x) * 4];
  return {p[0], p[1], p[2], p[3]};
}

const std::vector<std::uint8_t>& DrawbotCanvas::Pixels() const { return impl_->pixels; }

bool DrawbotCanvas::SavePng(const std::string& path) const {
  if (impl_->width == 0 || impl_->height == 0) return false;
  return stbi_write_png(path.c_str(), impl_->width, impl_->height, 4, impl_->pixels.data(), impl_->width * 4) != 0;
}

std::unique_ptr<DrawbotCanvas> DrawbotCanvas::LoadPng(const std::string& path) {
  int w = 0, h = 0, channels = 0;
  stbi_uc* data = stbi_load(path.c_str(), &w, &h, &channels, 4);
  if (data == nullptr) return nullptr;
  std::unique_ptr<DrawbotCanvas> canvas;
  if (w <= kMaxSide && h <= kMaxSide) {
    canvas = std::make_unique<DrawbotCanvas>(w, h);
    std::memcpy(canvas->impl_->pixels.data(), data, canvas->impl_->pixels.size());
  }
  stbi_image_free(data);
  return canvas;
}

DRAWBOT_DrawRef DrawbotCanvas::DrawRef() const {
  return reinterpret_cast<DRAWBOT_DrawRef>(static_cast<drawbot::Object*>(impl_->context));
}

int DrawbotCanvas::StateDepth() const { return static_cast<int>(impl_->surface->saved.size()); }

void DrawbotCanvas::SetScreenScale(float scale) {
  if (!(scale > 0.0f) || !std::isfinite(scale)) return;
  impl_->surface->screen_scale = scale;
  impl_->surface->saved.clear();
  impl_->surface->state = impl_->BaseState();
}

}  // namespace dshost
