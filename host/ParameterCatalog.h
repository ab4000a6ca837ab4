// A readable view of the effect's parameters for people and tools: an English
// key for every parameter, its Disk ID, the name the effect shows (decoded
// from the GBK bytes it registers) with an English translation, and the
// preset menu in both languages. It is built from what the effect tells any
// host, never from the plug-in's own code.
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "AE_Effect.h"

namespace dshost {

enum class ParameterKind { Layer, CustomUI, Button, Popup, GroupStart, GroupEnd, Slider, Angle, Checkbox };

struct ParameterInfo {
  const char* key;      // command-line key, e.g. "frame-offset"
  A_long diskId;        // the stable Disk ID stored in projects
  ParameterKind kind;
  const char* name;     // the registered name, as UTF-8
  const char* english;  // English name
};

// The 25 parameters in the effect's order (index = host parameter index).
const std::vector<ParameterInfo>& ParameterCatalog();
const ParameterInfo* FindParameterByKey(std::string_view key);
const ParameterInfo* FindParameterByDiskId(A_long diskId);

struct PopupItemInfo {
  A_long item;          // 1-based menu item number
  const char* key;      // command-line key; empty for the separator
  const char* name;     // the registered item text, as UTF-8
  const char* english;  // English text
};

// The preset menu ("Preset"): the prompt, the separator and five presets.
const std::vector<PopupItemInfo>& PresetCatalog();
// The debug views ("Debug Display").
const std::vector<PopupItemInfo>& DebugViewCatalog();
// The item with this key, or null.
const PopupItemInfo* FindPopupItem(const std::vector<PopupItemInfo>& items, std::string_view key);

// Decodes GBK bytes to UTF-8: ASCII passes through, the two-byte characters
// the effect's names use are translated, any other character becomes U+FFFD.
std::string GbkToUtf8(std::string_view gbk);

// The pieces of a popup's item text ("a|b|c").
std::vector<std::string> SplitPopupItems(std::string_view items);

}  // namespace dshost
