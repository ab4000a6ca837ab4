#include "host/drawbot/DrawbotText.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <vector>

#include "stb_truetype.h"

namespace dshost::drawbot {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kEllipsis = 0x2026;

const char* const kDefaultFontCandidates[] = {
#ifdef _WIN32
    "C:/Windows/Fonts/segoeui.ttf",
    "C:/Windows/Fonts/arial.ttf",
    // Wine maps the Unix root to Z:.
    "Z:/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
#endif
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
};

bool HasFontSignature(const std::vector<unsigned char>& data) {
  if (data.size() < 12) return false;
  const unsigned char* d = data.data();
  const bool truetype = d[0] == 0 && d[1] == 1 && d[2] == 0 && d[3] == 0;
  auto tag = [d](const char* t) { return std::equal(t, t + 4, d); };
  return truetype || tag("true") || tag("OTTO") || tag("ttcf");
}

bool FileReadable(const char* path) {
  std::ifstream f(path, std::ios::binary);
  return static_cast<bool>(f);
}

std::string EnvFontPath() {
  const char* env = std::getenv("DRIFTSMEAR_FONT");
  return env != nullptr ? std::string(env) : std::string();
}

}  // namespace

struct FontFace::Impl {
  std::vector<unsigned char> data;
  stbtt_fontinfo info{};
  int ascent = 0, descent = 0, line_gap = 0;

  float Scale(float pixel_size) const { return stbtt_ScaleForMappingEmToPixels(&info, pixel_size); }
};

FontFace::FontFace(std::unique_ptr<Impl> impl, std::string path) : impl_(std::move(impl)), path_(std::move(path)) {}
FontFace::~FontFace() = default;

std::shared_ptr<const FontFace> FontFace::Load(const std::string& path) {
  static std::mutex mutex;
  static std::map<std::string, std::shared_ptr<const FontFace>> cache;
  if (path.empty()) return nullptr;
  std::lock_guard<std::mutex> lock(mutex);
  if (auto it = cache.find(path); it != cache.end()) return it->second;

  std::ifstream file(path, std::ios::binary);
  if (!file) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->data.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  if (!HasFontSignature(impl->data)) return nullptr;
  const int offset = stbtt_GetFontOffsetForIndex(impl->data.data(), 0);
  if (offset < 0 || !stbtt_InitFont(&impl->info, impl->data.data(), offset)) return nullptr;
  stbtt_GetFontVMetrics(&impl->info, &impl->ascent, &impl->descent, &impl->line_gap);

  std::shared_ptr<const FontFace> face(new FontFace(std::move(impl), path));
  cache.emplace(path, face);
  return face;
}

float FontFace::Measure(std::u32string_view text, float pixel_size) const {
  const float scale = impl_->Scale(pixel_size);
  float width = 0.0f;
  int previous = 0;
  for (char32_t cp : text) {
    const int glyph = stbtt_FindGlyphIndex(&impl_->info, static_cast<int>(cp));
    if (previous != 0) width += scale * static_cast<float>(stbtt_GetGlyphKernAdvance(&impl_->info, previous, glyph));
    int advance = 0, lsb = 0;
    stbtt_GetGlyphHMetrics(&impl_->info, glyph, &advance, &lsb);
    width += scale * static_cast<float>(advance);
    previous = glyph;
  }
  return width;
}

float FontFace::Ascent(float pixel_size) const { return impl_->Scale(pixel_size) * static_cast<float>(impl_->ascent); }

float FontFace::Descent(float pixel_size) const {
  return -impl_->Scale(pixel_size) * static_cast<float>(impl_->descent);
}

void FontFace::Draw(const RasterTarget& target, std::u32string_view text, float pixel_size, PointF origin,
                    const DRAWBOT_ColorRGBA& color, const Box& clip, bool antialias) const {
  // Far outside any canvas nothing can show; this also keeps the pixel
  // positions below within int range.
  constexpr float kFar = 1.0e6f;
  if (!(std::fabs(origin.x) < kFar && std::fabs(origin.y) < kFar && pixel_size < kFar)) return;
  const float scale = impl_->Scale(pixel_size);
  // Baselines sit on pixel boundaries so that stems stay crisp; horizontal
  // positions keep their fraction through sub-pixel glyph rendering.
  const int baseline = static_cast<int>(std::lround(origin.y));
  float pen_x = origin.x;
  int previous = 0;
  std::vector<unsigned char> mask;
  for (char32_t cp : text) {
    const int glyph = stbtt_FindGlyphIndex(&impl_->info, static_cast<int>(cp));
    if (previous != 0) pen_x += scale * static_cast<float>(stbtt_GetGlyphKernAdvance(&impl_->info, previous, glyph));
    previous = glyph;
    int advance = 0, lsb = 0;
    stbtt_GetGlyphHMetrics(&impl_->info, glyph, &advance, &lsb);

    const float whole = std::floor(pen_x);
    const float shift = pen_x - whole;
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    stbtt_GetGlyphBitmapBoxSubpixel(&impl_->info, glyph, scale, scale, shift, 0.0f, &x0, &y0, &x1, &y1);
    const int w = x1 - x0, h = y1 - y0;
    if (w > 0 && h > 0 && w < 4096 && h < 4096) {
      mask.assign(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), 0);
      stbtt_MakeGlyphBitmapSubpixel(&impl_->info, mask.data(), w, h, w, scale, scale, shift, 0.0f, glyph);
      BlendMask(target, mask.data(), w, h, w, static_cast<int>(whole) + x0, baseline + y0, color, clip, !antialias);
    }
    pen_x += scale * static_cast<float>(advance);
    if (pen_x > kFar) break;
  }
}

std::string DefaultFontPath() {
  std::string env = EnvFontPath();
  if (!env.empty()) return env;
  for (const char* candidate : kDefaultFontCandidates) {
    if (FileReadable(candidate)) return candidate;
  }
  return kDefaultFontCandidates[std::size(kDefaultFontCandidates) - 1];
}

std::shared_ptr<const FontFace> LoadDefaultFontFace() {
  std::string env = EnvFontPath();
  if (!env.empty()) return FontFace::Load(env);
  for (const char* candidate : kDefaultFontCandidates) {
    if (auto face = FontFace::Load(candidate)) return face;
  }
  return nullptr;
}

std::u32string DecodeUtf16(const DRAWBOT_UTF16Char* text) {
  std::u32string out;
  if (text == nullptr) return out;
  for (std::size_t i = 0; text[i] != 0; ++i) {
    const char32_t unit = text[i];
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      const char32_t next = text[i + 1];
      if (next >= 0xDC00 && next <= 0xDFFF) {
        out.push_back(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
        ++i;
      } else {
        out.push_back(kReplacement);
      }
    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
      out.push_back(kReplacement);
    } else {
      out.push_back(unit);
    }
  }
  return out;
}

std::u32string TruncateText(const FontFace& face, float pixel_size, std::u32string text, DRAWBOT_TextTruncation mode,
                            float width) {
  if (mode == kDRAWBOT_TextTruncation_None || !(width > 0.0f) || face.Measure(text, pixel_size) <= width) return text;
  switch (mode) {
    case kDRAWBOT_TextTruncation_End:
      while (!text.empty() && face.Measure(text, pixel_size) > width) text.pop_back();
      return text;
    case kDRAWBOT_TextTruncation_PathEllipsis: {
      // Keep the head and the tail, dropping characters around the middle.
      std::u32string head = text.substr(0, text.size() / 2);
      std::u32string tail = text.substr(text.size() / 2);
      for (;;) {
        std::u32string candidate = head + kEllipsis + tail;
        if (face.Measure(candidate, pixel_size) <= width) return candidate;
        if (head.empty() && tail.empty()) return std::u32string();
        if (!head.empty() && head.size() >= tail.size()) {
          head.pop_back();
        } else {
          tail.erase(0, 1);
        }
      }
    }
    default: {  // EndEllipsis, and any unknown style
      while (!text.empty()) {
        text.pop_back();
        std::u32string candidate = text + kEllipsis;
        if (face.Measure(candidate, pixel_size) <= width) return candidate;
      }
      const std::u32string ellipsis(1, kEllipsis);
      return face.Measure(ellipsis, pixel_size) <= width ? ellipsis : std::u32string();
    }
  }
}

}  // namespace dshost::drawbot
