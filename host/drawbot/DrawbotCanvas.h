// An RGBA8 drawing target that plug-ins reach through the Drawbot suites.
//
// The host makes one canvas per custom-UI area it shows (the Effect Controls
// control area, a Composition or Layer window), hands DrawRef() to the
// plug-in from "PF Effect Custom UI Suite" PF_GetDrawingReference, and reads
// or saves the pixels afterwards.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adobesdk/DrawbotSuite.h"

namespace dshost {

struct DrawbotPixel {
  std::uint8_t r = 0, g = 0, b = 0, a = 0;
  bool operator==(const DrawbotPixel&) const = default;
};

class DrawbotCanvas {
 public:
  // Throws std::invalid_argument for a negative or oversized canvas.
  DrawbotCanvas(int width, int height, const DRAWBOT_ColorRGBA& clear_color = {0.0f, 0.0f, 0.0f, 0.0f});
  ~DrawbotCanvas();
  DrawbotCanvas(const DrawbotCanvas&) = delete;
  DrawbotCanvas& operator=(const DrawbotCanvas&) = delete;

  int Width() const;
  int Height() const;
  const DRAWBOT_ColorRGBA& ClearColor() const;

  // Refills with the clear colour and resets the surface state (transform,
  // clip, policies, saved states).
  void Clear();

  // Straight-alpha RGBA; {0,0,0,0} outside the canvas.
  DrawbotPixel Pixel(int x, int y) const;
  // width * height * 4 bytes, R G B A, rows top first.
  const std::vector<std::uint8_t>& Pixels() const;

  // Writes an 8-bit RGBA PNG (colour type 6). False when the file cannot be written.
  bool SavePng(const std::string& path) const;
  // Reads a PNG (any colour type, converted to RGBA); null when unreadable.
  static std::unique_ptr<DrawbotCanvas> LoadPng(const std::string& path);

  // The reference the plug-in draws through. Valid for the canvas' lifetime;
  // its supplier and surface are owned by the canvas.
  DRAWBOT_DrawRef DrawRef() const;

  // Pushes not yet popped by the plug-in (0 after balanced drawing).
  int StateDepth() const;
  // Device pixels per drawing unit reported by GetTransformToScreenScale.
  void SetScreenScale(float scale);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace dshost
