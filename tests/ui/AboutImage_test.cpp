// The about image as a resource of the module, its decoding into the record,
// and the UTF-8 to UTF-16 conversion of drawn text.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <vector>

#include "common/TestSupport.h"
#include "stb_image.h"
#include "ui/DriftSmear_UI_Handler.h"
#include "ui/ModuleResources.h"
#include "ui/TextConversion.h"
#include "ui/UITestSupport.h"

namespace {

class AboutImageTest : public ::testing::Test {
 protected:
  std::vector<std::string> Errors() const { return log_.Errors("DriftSmear_UI_Handler.cpp:"); }
  testsupport::LogCapture log_;
  uitest::StaticUIHost host_{/*withImage=*/false};
};

}  // namespace

TEST_F(AboutImageTest, ResourceIsTheShippedPngByteForByte) {
  const ModuleResource resource = FindModuleResource(255, 254);
  ASSERT_TRUE(resource.found);
  const void* bytes = LockModuleResource(resource);
  ASSERT_NE(bytes, nullptr);
  const std::string file = testsupport::ReadFileBytes(uitest::AboutImagePath());
  ASSERT_EQ(resource.size, file.size());
  EXPECT_EQ(std::memcmp(bytes, file.data(), file.size()), 0);

  EXPECT_FALSE(FindModuleResource(255, 253).found);
  EXPECT_FALSE(FindModuleResource(254, 254).found);
  EXPECT_EQ(LockModuleResource(FindModuleResource(255, 253)), nullptr);
}

TEST_F(AboutImageTest, LoadsAsBGRAIntoAHostHandle) {
  AboutImage record{};
  ASSERT_EQ(LoadAboutImage(&host_.in_data(), &record), PF_Err_NONE);
  EXPECT_EQ(record.width, 250);
  EXPECT_EQ(record.height, 70);
  EXPECT_EQ(record.channels, 4);
  EXPECT_EQ(record.pixelLayout, kDRAWBOT_PixelLayout_32BGR);
  ASSERT_NE(record.pixels, nullptr);
  ASSERT_EQ(host_.runtime().HandleSize(record.pixels), 250u * 70u * 4u);

  int w = 0, h = 0, n = 0;
  stbi_uc* rgba = stbi_load(uitest::AboutImagePath().c_str(), &w, &h, &n, 4);
  ASSERT_NE(rgba, nullptr);
  const auto* bgra = static_cast<const unsigned char*>(host_.runtime().LockHandle(record.pixels));
  int mismatches = 0;
  for (int i = 0; i < w * h; ++i) {
    const unsigned char* in = rgba + i * 4;
    const unsigned char* out = bgra + i * 4;
    mismatches += (out[0] != in[2] || out[1] != in[1] || out[2] != in[0] || out[3] != in[3]) ? 1 : 0;
  }
  host_.runtime().UnlockHandle(record.pixels);
  stbi_image_free(rgba);
  EXPECT_EQ(mismatches, 0);
  host_.runtime().DisposeHandle(record.pixels);
  EXPECT_TRUE(Errors().empty());
}

TEST_F(AboutImageTest, FailuresAreLoggedAndLeaveNoHandle) {
  const size_t handlesBefore = host_.runtime().LiveHandles();
  AboutImage record{};
  EXPECT_NE(LoadImageResource(&host_.in_data(), &record, 255, 253), PF_Err_NONE);
  const unsigned char notPng[] = "not a PNG at all";
  EXPECT_NE(DecodeAboutImage(&host_.in_data(), notPng, sizeof(notPng), &record), PF_Err_NONE);
  host_.runtime().faults().FailCall("PF Handle Suite.host_new_handle", 1);
  EXPECT_NE(LoadAboutImage(&host_.in_data(), &record), PF_Err_NONE);
  host_.runtime().faults().FailCall("PF Handle Suite.host_lock_handle", 1);
  EXPECT_NE(LoadAboutImage(&host_.in_data(), &record), PF_Err_NONE);

  EXPECT_EQ(record.pixels, nullptr);
  EXPECT_EQ(host_.runtime().LiveHandles(), handlesBefore);
  const auto errors = Errors();
  ASSERT_EQ(errors.size(), 4u);
  EXPECT_NE(errors[0].find(":LoadAboutImage] :: Cannot find 'about' resource."), std::string::npos) << errors[0];
  EXPECT_NE(errors[1].find(":LoadAboutImage] :: Cannot load 'about' image."), std::string::npos) << errors[1];
  EXPECT_NE(errors[2].find(":LoadAboutImage] :: "), std::string::npos) << errors[2];
  EXPECT_NE(errors[3].find(":LoadAboutImage] :: "), std::string::npos) << errors[3];
}

TEST(TextConversion, Utf8BecomesUtf16) {
  const DrawbotString ascii = ToDrawbotString("GPU:");
  EXPECT_EQ(ascii.size(), 4u);
  EXPECT_EQ(DrawbotChars(ascii)[0], u'G');
  EXPECT_EQ(DrawbotChars(ascii)[4], 0) << "zero-terminated for DrawString";

  const DrawbotString mixed = ToDrawbotString("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");  // é € 😀
  ASSERT_EQ(mixed.size(), 4u);
  EXPECT_EQ(DrawbotChars(mixed)[0], 0x00E9);
  EXPECT_EQ(DrawbotChars(mixed)[1], 0x20AC);
  EXPECT_EQ(DrawbotChars(mixed)[2], 0xD83D);
  EXPECT_EQ(DrawbotChars(mixed)[3], 0xDE00);
  EXPECT_TRUE(ToDrawbotString("").empty());
}

TEST(TextConversion, MalformedInputIsABadConversion) {
  const char* const malformed[] = {
      "\x80",              // continuation without a lead
      "\xC3",              // truncated sequence
      "ab\xE2\x82",        // truncated at the end
      "\xC0\xAF",          // overlong form of '/'
      "\xED\xA0\x80",      // a surrogate
      "\xF4\x90\x80\x80",  // above U+10FFFF
      "\xC3\x28",          // bad continuation
      "\xFF",
  };
  for (const char* text : malformed) {
    try {
      ToDrawbotString(text);
      ADD_FAILURE() << "accepted malformed input";
    } catch (const std::range_error& e) {
      EXPECT_STREQ(e.what(), "bad conversion");
    }
  }
}
