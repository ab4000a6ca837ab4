// info: what this machine and the module offer. Needs no GPU: the effect is
// set up in our host without a device to read its parameters and presets.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "host/EffectDiskIds.h"
#include "host/EffectHost.h"
#include "host/HostError.h"
#include "host/HostUI.h"
#include "host/gpu/GpuDevice.h"
#include "host/media/MediaReader.h"
#include "tools/driftsmear/CliError.h"
#include "tools/driftsmear/Commands.h"
#include "tools/driftsmear/Effect.h"
#include "tools/driftsmear/Text.h"

namespace driftsmear {

namespace {

using dshost::ParameterInfo;
using dshost::ParameterKind;

using dshost::kPresetDiskId;
// The Disk IDs a preset writes, in the order the effect writes them.
const A_long kPresetColumns[] = {6, 7, 8, 9, 10, 11, 12, 13, 16, 17, 18, 19, 20};

std::string Hex(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", value);
  return text;
}

std::string FourCC(A_long code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char c = static_cast<char>((static_cast<uint32_t>(code) >> shift) & 0xFF);
    text += (c >= 32 && c < 127) ? c : '?';
  }
  return text;
}

void PrintRegistration(const std::string& modulePath, SetUpEffect& effect) {
  const dshost::RegistrationResult registration = effect.host().Register();
  std::printf("Module: %s\n", modulePath.c_str());
  for (const dshost::EffectRegistration& entry : registration.effects) {
    std::printf("  name \"%s\", match name \"%s\", category \"%s\", entry point \"%s\"\n", entry.name.c_str(),
                entry.matchName.c_str(), entry.category.c_str(), entry.entryPoint.c_str());
    std::printf("  kind %s, effect API %d.%d, reserved info %d\n", FourCC(entry.kind).c_str(),
                static_cast<int>(entry.apiVersionMajor), static_cast<int>(entry.apiVersionMinor),
                static_cast<int>(entry.reservedInfo));
  }
  const PF_OutData& out = effect.globalOut();
  const auto version = static_cast<uint32_t>(out.my_version);
  std::printf("  version %u.%u.%u build %u (%s), out_flags %s, out_flags2 %s\n", (version >> 19) & 0x1FFF,
              (version >> 15) & 0xF, (version >> 11) & 0xF, version & 0x1FF, Hex(version).c_str(),
              Hex(static_cast<uint32_t>(out.out_flags)).c_str(), Hex(static_cast<uint32_t>(out.out_flags2)).c_str());
  std::printf("  parameters: %d\n", static_cast<int>(effect.host().parameters().Count()));
}

void PrintDevices() {
  std::printf("\nGPU devices (--device N):\n");
  const auto& devices = dshost::EnumerateGpuDevices();
  if (devices.empty()) {
    std::printf("  none: %s\n", NoDeviceMessage().c_str());
    return;
  }
  const uint32_t chosen = ChooseDevice(std::nullopt);
  for (const dshost::GpuDeviceDesc& device : devices) {
    std::printf("  %u  %s%s\n", device.index, device.Describe().c_str(), device.index == chosen ? "  [default]" : "");
  }
}

// The parameters people set: key, the effect's own (Chinese) name, English,
// range and default. With internals every row the host registers, with its
// Disk ID.
void PrintParameters(dshost::EffectHost& host, bool internals) {
  std::printf("\nParameters (--set KEY=VALUE, or the name):\n");
  std::vector<std::vector<std::string>> rows;
  rows.push_back({"key", "name", "English", "range", "default"});
  if (internals) {
    rows.back().insert(rows.back().begin() + 3, "Disk ID");
  }
  const std::vector<std::string> settable = SettableKeys();
  for (const ParameterInfo& info : dshost::ParameterCatalog()) {
    const bool forPeople = std::find(settable.begin(), settable.end(), info.key) != settable.end();
    if (!forPeople && !internals) {
      continue;
    }
    std::string range;
    if (const auto slider = RangeOf(host, info)) {
      range = FormatNumber(slider->min, slider->precision) + " .. " + FormatNumber(slider->max, slider->precision);
    } else if (info.kind == ParameterKind::Angle) {
      range = "degrees";
    } else if (info.kind == ParameterKind::Checkbox) {
      range = "on | off";
    } else if (info.kind == ParameterKind::Popup) {
      range = info.diskId == kPresetDiskId ? "--preset" : "--view";
    }
    const auto value = DefaultOf(host, info);
    std::vector<std::string> row{info.key, info.name, info.english, range, value ? FormatValue(info, *value) : ""};
    if (internals) {
      row.insert(row.begin() + 3, std::to_string(info.diskId));
    }
    rows.push_back(row);
  }
  std::vector<size_t> widths(rows.front().size(), 0);
  for (const auto& row : rows) {
    for (size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
  }
  for (const auto& row : rows) {
    std::string line = " ";
    for (size_t i = 0; i < row.size(); ++i) {
      line += " " + (i + 1 < row.size() ? PadRight(row[i], widths[i]) + " " : row[i]);
    }
    std::printf("%s\n", line.c_str());
  }
}

// Each preset as the effect itself applies it, read back from the host.
void PrintPresets(dshost::EffectHost& host) {
  std::printf("\nPresets (--preset NAME; values the effect writes):\n");
  size_t keyWidth = 0;
  size_t nameWidth = 0;
  size_t englishWidth = 0;
  for (const dshost::PopupItemInfo& preset : dshost::PresetCatalog()) {
    if (preset.item >= 3) {
      keyWidth = std::max(keyWidth, DisplayWidth(preset.key));
      nameWidth = std::max(nameWidth, DisplayWidth(preset.name));
      englishWidth = std::max(englishWidth, DisplayWidth(preset.english));
    }
  }
  for (const dshost::PopupItemInfo& preset : dshost::PresetCatalog()) {
    if (preset.item < 3) {
      continue;
    }
    EffectSettings settings;
    settings.preset = &preset;
    ApplySettings(host, settings);
    std::string values;
    for (const A_long diskId : kPresetColumns) {
      const ParameterInfo* info = dshost::FindParameterByDiskId(diskId);
      // Appended piece by piece: GCC 12 at -O3 warns (-Wrestrict) about the
      // insert that "text" + std::string makes.
      if (!values.empty()) {
        values += ' ';
      }
      values += info->key;
      values += '=';
      values += FormatValue(*info, host.parameters().ValueById(diskId));
    }
    std::printf("  %s  %s  %s  %s\n", PadRight(preset.key, keyWidth).c_str(), PadRight(preset.name, nameWidth).c_str(),
                PadRight(preset.english, englishWidth).c_str(), values.c_str());
  }
}

}  // namespace

int RunInfo(const Options& options) {
  const std::string modulePath = ResolveModulePath(options.module);
  CheckModule(modulePath);
  std::printf("driftsmear %s\n", DRIFTSMEAR_VERSION_TEXT);
  try {
    SetUpEffect effect(modulePath);
    PrintParameters(effect.host(), options.internals);
    PrintPresets(effect.host());
    std::printf("\nDebug views (--view): ");
    bool first = true;
    for (const dshost::PopupItemInfo& view : dshost::DebugViewCatalog()) {
      std::printf("%s%s", first ? "" : ", ", ViewKey(view));
      first = false;
    }
    std::printf("  ('driftsmear render --help' says what each shows)\n");
    PrintDevices();
    std::printf("\nMedia: %s\n", dshost::mediaHasFfmpeg() ? "video files through FFmpeg, image sequences, images"
                                                          : "image sequences and images (built without FFmpeg)");
    if (options.internals) {
      std::printf("\n");
      PrintRegistration(modulePath, effect);
    } else {
      std::printf("\n'driftsmear info --internals' adds the Disk IDs and the registration values.\n");
    }
  } catch (const dshost::HostError& error) {
    throw CliError(kExitModule, std::string("the plug-in module failed: ") + error.what());
  }
  return kExitOk;
}

}  // namespace driftsmear
