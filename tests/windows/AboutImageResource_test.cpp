// The about image inside the Windows module: resource type 255, id 254, the
// PNG from ui/resources byte for byte, and found by the plug-in's own lookup
// in the module that holds its code.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "ui/ModuleResources.h"
#include "windows/WindowsTestSupport.h"

namespace {

const std::string kAboutImageFile = DRIFTSMEAR_SOURCE_DIR "/ui/resources/DriftSmear_About.png";

std::uint32_t BigEndian32(std::string_view bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    value = (value << 8) | static_cast<unsigned char>(bytes[offset + i]);
  }
  return value;
}

std::string_view AboutImageOf(HMODULE module) {
  return wintest::ResourceBytes(module, MAKEINTRESOURCEA(kAboutImageResourceType),
                                MAKEINTRESOURCEA(kAboutImageResourceId));
}

}  // namespace

TEST(AboutImageResource, IsAResourceOfType255Id254InTheModule) {
  const std::string_view image = AboutImageOf(wintest::PluginModule());
  ASSERT_FALSE(image.empty()) << "DriftSmear.aex has no resource of type 255, id 254";
  EXPECT_EQ(kAboutImageResourceType, 255);
  EXPECT_EQ(kAboutImageResourceId, 254);
}

TEST(AboutImageResource, IsA250By70RgbaPng) {
  const std::string_view image = AboutImageOf(wintest::PluginModule());
  ASSERT_GE(image.size(), 33u);
  EXPECT_EQ(image.substr(0, 8), std::string_view("\x89PNG\r\n\x1a\n", 8));
  // The first chunk is IHDR: width, height, bit depth 8, colour type 6 (RGBA).
  EXPECT_EQ(image.substr(12, 4), "IHDR");
  EXPECT_EQ(BigEndian32(image, 16), 250u);
  EXPECT_EQ(BigEndian32(image, 20), 70u);
  EXPECT_EQ(static_cast<unsigned char>(image[24]), 8u);
  EXPECT_EQ(static_cast<unsigned char>(image[25]), 6u);
}

TEST(AboutImageResource, HoldsTheFileFromUiResourcesByteForByte) {
  const std::string file = wintest::ReadFileBytes(kAboutImageFile);
  ASSERT_FALSE(file.empty()) << kAboutImageFile;
  const std::string_view image = AboutImageOf(wintest::PluginModule());
  EXPECT_EQ(image.size(), file.size());
  EXPECT_TRUE(image == file) << "the resource differs from " << kAboutImageFile;
}

// FindModuleResource asks GetModuleHandleExA for the module that holds its own
// code. Linked statically into this test program, that is the program itself,
// which carries the same resources; the loaded DriftSmear.aex must not be the
// one searched.
TEST(AboutImageResource, PluginLookupSearchesTheModuleHoldingItsCode) {
  const HMODULE program = GetModuleHandleA(nullptr);
  ASSERT_NE(wintest::PluginModule(), program);

  const ModuleResource resource = FindModuleResource(kAboutImageResourceType, kAboutImageResourceId);
  ASSERT_TRUE(resource.found);
  const void* bytes = LockModuleResource(resource);
  ASSERT_NE(bytes, nullptr);

  const std::string_view expected = AboutImageOf(program);
  EXPECT_EQ(bytes, static_cast<const void*>(expected.data())) << "the bytes do not come from this program's image";
  EXPECT_EQ(resource.size, expected.size());
  HMODULE owner = nullptr;
  ASSERT_TRUE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                 static_cast<LPCSTR>(bytes), &owner));
  EXPECT_EQ(owner, program);
}

TEST(AboutImageResource, PluginLookupReportsAMissingResource) {
  const ModuleResource resource = FindModuleResource(kAboutImageResourceType, kAboutImageResourceId + 1);
  EXPECT_FALSE(resource.found);
  EXPECT_EQ(LockModuleResource(resource), nullptr);
}
