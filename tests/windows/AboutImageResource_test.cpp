// The about image inside the Windows module: resource type 255, id 254, the
// PNG from ui/resources byte for byte, and found by the plug-in's own lookup
// in the module that holds its code.
#include <gtest/gtest.h>

#include <string>

#include "common/TestSupport.h"
#include "ui/ModuleResources.h"
#include "windows/WindowsTestSupport.h"

namespace {

const std::string kAboutImageFile = DRIFTSMEAR_SOURCE_DIR "/ui/resources/DriftSmear_About.png";

std::string_view AboutImageOf(HMODULE module) {
  return wintest::ResourceBytes(module, MAKEINTRESOURCEA(255), MAKEINTRESOURCEA(254));
}

}  // namespace

// The file itself (250 x 70, 8-bit RGBA, opaque) is checked with the
// drawing tests; here the module must carry it unchanged.
TEST(AboutImageResource, IsTheFileFromUiResourcesAsType255Id254) {
  const std::string file = testsupport::ReadFileBytes(kAboutImageFile);
  ASSERT_FALSE(file.empty()) << kAboutImageFile;
  const std::string_view image = AboutImageOf(wintest::PluginModule());
  ASSERT_FALSE(image.empty()) << "DriftSmear.aex has no resource of type 255, id 254";
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
