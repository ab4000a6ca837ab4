// The version information Windows shows for DriftSmear.aex (file properties,
// installers): 1.3.0, "Drift Smear" by "Quarnbrook Graphics".
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "windows/WindowsTestSupport.h"

namespace {

class VersionResource : public ::testing::Test {
 protected:
  void SetUp() override {
    char path[MAX_PATH] = {};
    ASSERT_GT(GetModuleFileNameA(wintest::PluginModule(), path, MAX_PATH), 0u);
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    ASSERT_GT(size, 0u) << "no version resource in " << path;
    block_.resize(size);
    ASSERT_TRUE(GetFileVersionInfoA(path, 0, size, block_.data()));
  }

  // A string of the US English, Unicode block; "<missing>" when absent.
  std::string Text(const std::string& name) {
    const std::string query = "\\StringFileInfo\\040904B0\\" + name;
    char* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueA(block_.data(), query.c_str(), reinterpret_cast<void**>(&value), &length) ||
        value == nullptr) {
      return "<missing>";
    }
    return std::string(value, length > 0 ? length - 1 : 0);
  }

  std::vector<char> block_;
};

}  // namespace

TEST_F(VersionResource, FixedPartIsVersion1_3_0OfADll) {
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueA(block_.data(), "\\", reinterpret_cast<void**>(&fixed), &length));
  ASSERT_EQ(length, sizeof(VS_FIXEDFILEINFO));
  EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
  EXPECT_EQ(fixed->dwFileVersionMS, 0x00010003u);
  EXPECT_EQ(fixed->dwFileVersionLS, 0x00000000u);
  EXPECT_EQ(fixed->dwProductVersionMS, 0x00010003u);
  EXPECT_EQ(fixed->dwProductVersionLS, 0x00000000u);
  EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
  EXPECT_EQ(fixed->dwFileOS, static_cast<DWORD>(VOS_NT_WINDOWS32));
}

TEST_F(VersionResource, StringsNameTheEffectAndTheMaker) {
  EXPECT_EQ(Text("ProductName"), "Drift Smear");
  EXPECT_EQ(Text("FileDescription"), "Drift Smear");
  EXPECT_EQ(Text("CompanyName"), "Quarnbrook Graphics");
  EXPECT_EQ(Text("FileVersion"), "1.3.0");
  EXPECT_EQ(Text("ProductVersion"), "1.3.0");
  EXPECT_EQ(Text("OriginalFilename"), "DriftSmear.aex");
}

TEST_F(VersionResource, TranslationIsUsEnglishUnicode) {
  WORD* translation = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueA(block_.data(), "\\VarFileInfo\\Translation", reinterpret_cast<void**>(&translation),
                             &length));
  ASSERT_EQ(length, 4u);
  EXPECT_EQ(translation[0], 0x0409);
  EXPECT_EQ(translation[1], 1200);
}
