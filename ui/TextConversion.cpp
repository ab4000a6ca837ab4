#include "ui/TextConversion.h"

#include <stdexcept>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

[[noreturn]] void BadConversion() { throw std::range_error("bad conversion"); }

}  // namespace

#ifdef _WIN32

DrawbotString ToDrawbotString(std::string_view utf8) {
  if (utf8.empty()) {
    return {};
  }
  const int length = static_cast<int>(utf8.size());
  const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, nullptr, 0);
  if (units <= 0) {
    BadConversion();
  }
  DrawbotString text(static_cast<size_t>(units), L'\0');
  if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, text.data(), units) != units) {
    BadConversion();
  }
  return text;
}

#else

DrawbotString ToDrawbotString(std::string_view utf8) {
  DrawbotString text;
  text.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    char32_t code = 0;
    size_t extra = 0;
    char32_t minimum = 0;
    if (lead < 0x80) {
      code = lead;
    } else if ((lead & 0xE0) == 0xC0) {
      code = lead & 0x1F;
      extra = 1;
      minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
      code = lead & 0x0F;
      extra = 2;
      minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
      code = lead & 0x07;
      extra = 3;
      minimum = 0x10000;
    } else {
      BadConversion();
    }
    if (extra > utf8.size() - i - 1) {  // the sequence runs past the end
      BadConversion();
    }
    for (size_t k = 1; k <= extra; ++k) {
      const auto next = static_cast<unsigned char>(utf8[i + k]);
      if ((next & 0xC0) != 0x80) {
        BadConversion();
      }
      code = (code << 6) | (next & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
      BadConversion();
    }
    if (code >= 0x10000) {
      code -= 0x10000;
      text.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
      text.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
    } else {
      text.push_back(static_cast<char16_t>(code));
    }
    i += extra + 1;
  }
  return text;
}

#endif
