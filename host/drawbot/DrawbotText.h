// Text for the host's Drawbot surface: TrueType fonts through stb_truetype,
// UTF-16 decoding, measuring, truncation and glyph rendering.
#pragma once
#include <memory>
#include <string>
#include <string_view>

#include "adobesdk/DrawbotSuite.h"
#include "host/drawbot/DrawbotRaster.h"

namespace dshost::drawbot {

// A loaded TrueType font file. Immutable once loaded; shared by font objects.
class FontFace {
 public:
  ~FontFace();
  FontFace(const FontFace&) = delete;
  FontFace& operator=(const FontFace&) = delete;

  // Reads and checks a TrueType/OpenType file; null when it cannot be read
  // or is not a font. Successful loads are cached per path.
  static std::shared_ptr<const FontFace> Load(const std::string& path);

  const std::string& Path() const { return path_; }

  // Advance width of the text at an em size of `pixel_size`, kerning included.
  float Measure(std::u32string_view text, float pixel_size) const;
  // Distance from the baseline up to the highest and down to the lowest
  // point of the font, in pixels at `pixel_size` (descent is positive).
  float Ascent(float pixel_size) const;
  float Descent(float pixel_size) const;

  // Draws the text with its baseline-left point at `origin` (device pixels).
  void Draw(const RasterTarget& target, std::u32string_view text, float pixel_size, PointF origin,
            const DRAWBOT_ColorRGBA& color, const Box& clip, bool antialias) const;

 private:
  struct Impl;
  explicit FontFace(std::unique_ptr<Impl> impl, std::string path);
  std::unique_ptr<Impl> impl_;
  std::string path_;
};

// The file behind the default font: $DRIFTSMEAR_FONT when set and not empty,
// otherwise the platform's usual DejaVu Sans (or a Windows system font).
std::string DefaultFontPath();

// The default font face, or null when no font file could be read.
std::shared_ptr<const FontFace> LoadDefaultFontFace();

// Zero-terminated UTF-16 to code points; unpaired surrogates become U+FFFD.
std::u32string DecodeUtf16(const DRAWBOT_UTF16Char* text);

// Shortens the text so that it fits `width` pixels: End drops characters
// from the end, EndEllipsis replaces them with "…", PathEllipsis takes them
// from the middle. None, or a width that is not positive, keeps the text.
std::u32string TruncateText(const FontFace& face, float pixel_size, std::u32string text,
                            DRAWBOT_TextTruncation mode, float width);

}  // namespace dshost::drawbot
