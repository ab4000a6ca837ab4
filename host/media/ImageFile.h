// Reading and writing single image files.
#pragma once

#include <filesystem>
#include <string>

#include "host/media/Image.h"

namespace dshost {

struct LoadedImage {
  ImageF image;
  bool hasAlpha = false;
  std::string codecName;    // "stb" or FFmpeg's decoder name
  std::string pixelFormat;  // "rgba8", "rgba16", "rgbaf" (stb) or FFmpeg's name
};

// True for file names whose extension is a still-image format (png, jpg, tif, exr, ...).
bool isImageFileName(const std::filesystem::path& path);

// Loads an image with stb_image (PNG, JPEG, BMP, TGA, PSD, HDR, PNM; 16-bit PNG
// keeps its 16 bits) and, for anything stb cannot read, FFmpeg's image decoders
// when this build has FFmpeg (TIFF, EXR, DPX, WebP, ...). Throws MediaError:
// NotFound, or Unreadable with the decoder's reason.
LoadedImage loadImageFile(const std::filesystem::path& path);

// Writes an 8-bit RGBA PNG with stb_image_write (the fallback when FFmpeg is absent).
// Throws MediaError(WriteFailed).
void writePng8(const ImageF& image, const std::filesystem::path& path);

}  // namespace dshost
