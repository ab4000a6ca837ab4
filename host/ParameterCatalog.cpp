#include "host/ParameterCatalog.h"

#include <cstdint>
#include <map>

namespace dshost {

namespace {

// The GBK code of every Chinese character in the effect's names and menus.
const std::map<uint16_t, const char*>& GbkCharacters() {
  static const std::map<uint16_t, const char*> characters = {
      {0xB3CB, "乘"}, {0xCEBB, "位"}, {0xD7F7, "作"}, {0xD6B5, "值"}, {0xC6AB, "偏"}, {0xB6AF, "动"},
      {0xCDE2, "外"}, {0xB4F3, "大"}, {0xD0A1, "小"}, {0xCEB2, "尾"}, {0xB2EE, "差"}, {0xD6A1, "帧"},
      {0xB6C8, "度"}, {0xC7BF, "强"}, {0xC2FD, "慢"}, {0xCDCF, "拖"}, {0xD4F1, "择"}, {0xCAFD, "数"},
      {0xB6CF, "断"}, {0xD7EE, "最"}, {0xC1D2, "烈"}, {0xD2C6, "移"}, {0xBEAB, "精"}, {0xCFB8, "细"},
      {0xD0F8, "续"}, {0xC9AB, "色"}, {0xB9DB, "观"}, {0xBDC7, "角"}, {0xC8CF, "认"}, {0xC9E8, "设"},
      {0xD4CB, "运"}, {0xD1A1, "选"}, {0xCBD9, "速"}, {0xC1BF, "量"}, {0xE3D0, "阈"}, {0xD4A4, "预"},
      {0xC4AC, "默"},
  };
  return characters;
}

}  // namespace

const std::vector<ParameterInfo>& ParameterCatalog() {
  using K = ParameterKind;
  static const std::vector<ParameterInfo> catalog = {
      {"input", 0, K::Layer, "undefined", "Input"},
      {"about", 1, K::CustomUI, "About", "About"},
      {"store-button", 24, K::Button, "Remove the X", "Remove the X"},
      {"preset", 23, K::Popup, "预设", "Preset"},
      {"debug-group", 2, K::GroupStart, "Debug", "Debug"},
      {"debug-display", 3, K::Popup, "Debug Display", "Debug Display"},
      {"debug-group-end", 4, K::GroupEnd, "undefined", "End of Debug"},
      {"motion-group", 5, K::GroupStart, "运动", "Motion"},
      {"frames", 6, K::Slider, "帧", "Frames"},
      {"frame-offset", 7, K::Slider, "帧偏移", "Frame Offset"},
      {"min-velocity", 8, K::Slider, "最小速度", "Minimum Velocity"},
      {"max-velocity", 9, K::Slider, "最大速度", "Maximum Velocity"},
      {"velocity-threshold", 10, K::Slider, "速度阈值", "Velocity Threshold"},
      {"displace-threshold", 11, K::Slider, "位移阈值", "Displacement Threshold"},
      {"motion-angle", 12, K::Angle, "运动角度", "Motion Angle"},
      {"motion-size", 13, K::Slider, "运动大小", "Motion Size"},
      {"motion-group-end", 14, K::GroupEnd, "undefined", "End of Motion"},
      {"appearance-group", 15, K::GroupStart, "外观", "Appearance"},
      {"amount", 18, K::Slider, "数量", "Amount"},
      {"trail", 19, K::Slider, "拖尾", "Trail"},
      {"displace", 20, K::Slider, "位移", "Displace"},
      {"chromatic", 16, K::Slider, "色差", "Chromatic Aberration"},
      {"chromatic-offset", 17, K::Angle, "色差偏移", "Chromatic Offset"},
      {"premultiplied", 22, K::Checkbox, "预乘", "Premultiplied"},
      {"appearance-group-end", 21, K::GroupEnd, "undefined", "End of Appearance"},
  };
  return catalog;
}

const ParameterInfo* FindParameterByKey(std::string_view key) {
  for (const ParameterInfo& info : ParameterCatalog()) {
    if (key == info.key) {
      return &info;
    }
  }
  return nullptr;
}

const ParameterInfo* FindParameterByDiskId(A_long diskId) {
  for (const ParameterInfo& info : ParameterCatalog()) {
    if (info.diskId == diskId) {
      return &info;
    }
  }
  return nullptr;
}

const std::vector<PopupItemInfo>& PresetCatalog() {
  static const std::vector<PopupItemInfo> presets = {
      {1, "choose", "选择预设...", "Choose preset..."},
      {2, "", "(-", "(-"},
      {3, "default", "默认", "Default"},
      {4, "fine", "精细", "Fine"},
      {5, "strong", "强烈", "Strong"},
      {6, "stutter", "断续", "Stutter"},
      {7, "slow-motion", "慢动作", "Slow motion"},
  };
  return presets;
}

const std::vector<PopupItemInfo>& DebugViewCatalog() {
  static const std::vector<PopupItemInfo> views = {
      {1, "result", "Result", "Result"},
      {2, "motion", "Motion", "Motion"},
      {3, "displace", "Displace", "Displace"},
      {4, "flow-magnitude", "FlowMag", "Flow magnitude"},
      {5, "shift", "Shift", "Shift"},
  };
  return views;
}

const PopupItemInfo* FindPopupItem(const std::vector<PopupItemInfo>& items, std::string_view key) {
  if (key.empty()) {
    return nullptr;
  }
  for (const PopupItemInfo& item : items) {
    if (key == item.key) {
      return &item;
    }
  }
  return nullptr;
}

std::string GbkToUtf8(std::string_view gbk) {
  std::string utf8;
  for (size_t i = 0; i < gbk.size(); ++i) {
    const auto lead = static_cast<unsigned char>(gbk[i]);
    if (lead < 0x80) {
      utf8 += static_cast<char>(lead);
      continue;
    }
    if (i + 1 < gbk.size()) {
      const auto trail = static_cast<unsigned char>(gbk[i + 1]);
      const auto found = GbkCharacters().find(static_cast<uint16_t>(lead << 8 | trail));
      ++i;
      if (found != GbkCharacters().end()) {
        utf8 += found->second;
        continue;
      }
    }
    utf8 += "\xEF\xBF\xBD";  // U+FFFD
  }
  return utf8;
}

std::vector<std::string> SplitPopupItems(std::string_view items) {
  std::vector<std::string> pieces;
  size_t start = 0;
  while (true) {
    const size_t bar = items.find('|', start);
    pieces.emplace_back(items.substr(start, bar == std::string_view::npos ? std::string_view::npos : bar - start));
    if (bar == std::string_view::npos) {
      return pieces;
    }
    start = bar + 1;
  }
}

}  // namespace dshost
