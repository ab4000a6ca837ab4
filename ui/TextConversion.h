// Text handed to the Drawbot DrawString call: UTF-8 source text converted to
// UTF-16.
#pragma once
#include <string>
#include <string_view>

#include "AEConfig.h"
#include "adobesdk/DrawbotSuite.h"

#ifdef _WIN32
// wchar_t is a UTF-16 code unit on Windows.
using DrawbotString = std::wstring;
#else
using DrawbotString = std::u16string;
#endif

// Converts UTF-8 to UTF-16. Throws std::range_error("bad conversion") for
// malformed input (bad lead or continuation bytes, overlong forms,
// surrogates, values above U+10FFFF, a truncated sequence).
DrawbotString ToDrawbotString(std::string_view utf8);

// The zero-terminated code units as DrawString takes them.
inline const DRAWBOT_UTF16Char* DrawbotChars(const DrawbotString& text) {
  static_assert(sizeof(DrawbotString::value_type) == sizeof(DRAWBOT_UTF16Char));
  return reinterpret_cast<const DRAWBOT_UTF16Char*>(text.c_str());
}
