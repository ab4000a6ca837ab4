#include "host/media/ImageFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <memory>
#include <vector>

#include <stb_image.h>
#include <stb_image_write.h>

#include "host/media/MediaError.h"
#include "host/media/detail/PixelPack.h"
#if DRIFTSMEAR_HAVE_FFMPEG
#include "host/media/detail/FfmpegVideoSource.h"
#endif

namespace dshost {

namespace {

struct StbFree {
  void operator()(void* p) const { stbi_image_free(p); }
};

std::string lowerExtension(const std::filesystem::path& path) {
  std::string ext = path.extension().string();
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}

// Returns false with stb's reason when stb cannot read the file.
bool loadWithStb(const std::string& file, LoadedImage& loaded, std::string& reason) {
  int width = 0, height = 0, channels = 0;
  if (!stbi_info(file.c_str(), &width, &height, &channels)) {
    reason = stbi_failure_reason() ? stbi_failure_reason() : "unknown format";
    return false;
  }
  loaded.image = makeImage(width, height);
  loaded.hasAlpha = channels == 2 || channels == 4;
  loaded.codecName = "stb";
  int w = 0, h = 0, n = 0;
  if (stbi_is_hdr(file.c_str())) {
    std::unique_ptr<float, StbFree> data(stbi_loadf(file.c_str(), &w, &h, &n, 0));
    if (!data) {
      reason = stbi_failure_reason() ? stbi_failure_reason() : "decoding failed";
      return false;
    }
    detail::unpackFloat(data.get(), static_cast<std::ptrdiff_t>(w) * n * 4, n, loaded.image);
    loaded.pixelFormat = "rgbaf";
  } else if (stbi_is_16_bit(file.c_str())) {
    std::unique_ptr<stbi_us, StbFree> data(stbi_load_16(file.c_str(), &w, &h, &n, 0));
    if (!data) {
      reason = stbi_failure_reason() ? stbi_failure_reason() : "decoding failed";
      return false;
    }
    detail::unpack16(data.get(), static_cast<std::ptrdiff_t>(w) * n * 2, n, loaded.image);
    loaded.pixelFormat = "rgba16";
  } else {
    std::unique_ptr<stbi_uc, StbFree> data(stbi_load(file.c_str(), &w, &h, &n, 0));
    if (!data) {
      reason = stbi_failure_reason() ? stbi_failure_reason() : "decoding failed";
      return false;
    }
    detail::unpack8(data.get(), static_cast<std::ptrdiff_t>(w) * n, n, loaded.image);
    loaded.pixelFormat = "rgba8";
  }
  return true;
}

}  // namespace

bool isImageFileName(const std::filesystem::path& path) {
  static const std::array<const char*, 19> extensions = {
      ".png", ".jpg", ".jpeg", ".bmp", ".tga", ".psd", ".hdr", ".pnm", ".ppm", ".pgm", ".pic",
      ".tif", ".tiff", ".exr", ".dpx", ".webp", ".jp2", ".sgi", ".pam"};
  const std::string ext = lowerExtension(path);
  return std::find(extensions.begin(), extensions.end(), ext) != extensions.end();
}

LoadedImage loadImageFile(const std::filesystem::path& path) {
  const std::string file = path.string();
  std::error_code ec;
  if (!std::filesystem::exists(path, ec)) throw MediaError(MediaErrc::NotFound, "image not found: " + file);
  if (std::filesystem::is_directory(path, ec)) {
    throw MediaError(MediaErrc::Unreadable, "expected an image, found a folder: " + file);
  }
  LoadedImage loaded;
  std::string reason;
  if (loadWithStb(file, loaded, reason)) return loaded;
#if DRIFTSMEAR_HAVE_FFMPEG
  try {
    detail::FfmpegVideoSource source(file, true);
    loaded.hasAlpha = source.info().hasAlpha;
    loaded.codecName = source.info().codecName;
    loaded.pixelFormat = source.info().pixelFormat;
    source.read(0, loaded.image);
    return loaded;
  } catch (const MediaError& e) {
    throw MediaError(MediaErrc::Unreadable, "cannot read image " + file + ": " + reason + "; FFmpeg: " + e.what());
  }
#else
  throw MediaError(MediaErrc::Unreadable, "cannot read image " + file + ": " + reason);
#endif
}

void writePng8(const ImageF& image, const std::filesystem::path& path) {
  if (image.empty()) throw MediaError(MediaErrc::InvalidArgument, "cannot write an empty image to " + path.string());
  std::vector<std::uint8_t> rgba(image.pixelCount() * 4);
  detail::packRgba8(image, rgba.data(), static_cast<std::ptrdiff_t>(image.width) * 4);
  if (!stbi_write_png(path.string().c_str(), image.width, image.height, 4, rgba.data(), image.width * 4)) {
    throw MediaError(MediaErrc::WriteFailed, "cannot write " + path.string());
  }
}

}  // namespace dshost
