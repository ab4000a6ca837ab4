// The readable view of the parameters against what the effect registers.
#include <gtest/gtest.h>

#include <set>

#include "ParamsTestSupport.h"
#include "host/ParameterCatalog.h"

#if !defined(_WIN32) && __has_include(<iconv.h>)
#include <iconv.h>
#define DRIFTSMEAR_HAVE_ICONV 1
#endif

using paramstest::AfterEffectsTest;

TEST_F(AfterEffectsTest, CatalogFollowsTheRegisteredParameters) {
  const auto& catalog = dshost::ParameterCatalog();
  ASSERT_EQ(catalog.size(), store().Count());
  EXPECT_EQ(catalog[0].diskId, 0);
  for (size_t i = 1; i < catalog.size(); ++i) {
    const PF_ParamDef def = store().Definition(static_cast<PF_ParamIndex>(i));
    EXPECT_EQ(catalog[i].diskId, def.uu.id) << catalog[i].key;
    EXPECT_EQ(dshost::GbkToUtf8(def.name), catalog[i].name) << catalog[i].key;
  }
}

TEST_F(AfterEffectsTest, PopupItemsDecodeToTheCatalogNames) {
  const auto presets = dshost::SplitPopupItems(dshost::GbkToUtf8(store().ItemText(Index(23))));
  const auto& presetCatalog = dshost::PresetCatalog();
  ASSERT_EQ(presets.size(), presetCatalog.size());
  for (size_t i = 0; i < presets.size(); ++i) {
    EXPECT_EQ(presetCatalog[i].item, static_cast<A_long>(i + 1));
    EXPECT_EQ(presets[i], presetCatalog[i].name);
  }
  EXPECT_STREQ(dshost::FindPopupItem(presetCatalog, "slow-motion")->english, "Slow motion");
  EXPECT_EQ(dshost::FindPopupItem(presetCatalog, "choose")->item, 1);

  const auto views = dshost::SplitPopupItems(store().ItemText(Index(3)));
  const auto& viewCatalog = dshost::DebugViewCatalog();
  ASSERT_EQ(views.size(), viewCatalog.size());
  for (size_t i = 0; i < views.size(); ++i) EXPECT_EQ(views[i], viewCatalog[i].name);
}

TEST(ParameterCatalog, KeysAreUniqueAndFindTheirDiskIds) {
  // Disk IDs are those of the registered parameters (checked above).
  std::set<std::string> keys;
  for (const auto& info : dshost::ParameterCatalog()) EXPECT_TRUE(keys.insert(info.key).second) << info.key;
  const std::pair<const char*, A_long> known[] = {
      {"frames", 6},        {"frame-offset", 7}, {"min-velocity", 8},        {"max-velocity", 9},
      {"velocity-threshold", 10}, {"displace-threshold", 11}, {"motion-angle", 12}, {"motion-size", 13},
      {"amount", 18},       {"trail", 19},       {"displace", 20},           {"chromatic", 16},
      {"chromatic-offset", 17}, {"premultiplied", 22}, {"preset", 23},     {"debug-display", 3}};
  for (const auto& [key, id] : known) {
    const dshost::ParameterInfo* info = dshost::FindParameterByKey(key);
    ASSERT_NE(info, nullptr) << key;
    EXPECT_EQ(info->diskId, id) << key;
    EXPECT_EQ(dshost::FindParameterByDiskId(id), info);
  }
  EXPECT_EQ(dshost::FindParameterByKey("nothing"), nullptr);
}

TEST(GbkDecoding, PassesAsciiAndMarksUnknownCharacters) {
  EXPECT_EQ(dshost::GbkToUtf8("Debug Display"), "Debug Display");
  EXPECT_EQ(dshost::GbkToUtf8("\xD6\xA1\xC6\xAB\xD2\xC6"), "帧偏移");
  EXPECT_EQ(dshost::GbkToUtf8("a\xB0\xA1z"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(dshost::GbkToUtf8("\xD6"), "\xEF\xBF\xBD");
  EXPECT_EQ(dshost::SplitPopupItems("a||b"), (std::vector<std::string>{"a", "", "b"}));
}

#ifdef DRIFTSMEAR_HAVE_ICONV
namespace {

std::string IconvGbkToUtf8(const std::string& gbk) {
  iconv_t cd = iconv_open("UTF-8", "GBK");
  if (cd == reinterpret_cast<iconv_t>(-1)) return "<no GBK converter>";
  std::string in = gbk;
  std::string out(gbk.size() * 4 + 4, '\0');
  char* inPtr = in.data();
  char* outPtr = out.data();
  size_t inLeft = in.size();
  size_t outLeft = out.size();
  const size_t done = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
  iconv_close(cd);
  if (done == static_cast<size_t>(-1)) return "<invalid GBK>";
  out.resize(out.size() - outLeft);
  return out;
}

}  // namespace

// The decoder's table against the system's GBK converter, for every name and
// menu the effect registers.
TEST_F(AfterEffectsTest, DecoderAgreesWithTheSystemConverter) {
  if (IconvGbkToUtf8("a") != "a") GTEST_SKIP() << "no GBK converter on this system";
  for (size_t i = 1; i < store().Count(); ++i) {
    const PF_ParamDef def = store().Definition(static_cast<PF_ParamIndex>(i));
    EXPECT_EQ(dshost::GbkToUtf8(def.name), IconvGbkToUtf8(def.name)) << "index " << i;
    const std::string items = store().ItemText(static_cast<PF_ParamIndex>(i));
    EXPECT_EQ(dshost::GbkToUtf8(items), IconvGbkToUtf8(items)) << "index " << i;
  }
}
#endif
