#include "effect/GlobalData.h"

#include "ui/AboutImage.h"

bool AboutAreaSize(const GlobalData& global, A_long* width, A_long* height) {
  const AboutImage* image = global.aboutImage;
  const bool fromImage = image != nullptr && image->width > 0 && image->height > 0;
  if (width != nullptr) {
    *width = fromImage ? image->width : kDefaultAboutAreaWidth;
  }
  if (height != nullptr) {
    *height = fromImage ? image->height : kDefaultAboutAreaHeight;
  }
  return fromImage;
}
