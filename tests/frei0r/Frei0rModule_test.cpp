// The frei0r module's own pieces: its parameter table against the effect's
// catalog (through the built driftsmear.so, as a host reads it), the frame
// ring, and instances meeting odd sizes and a missing effect.
#include <dlfcn.h>
#include <gtest/gtest.h>

extern "C" {
#include <frei0r.h>
}

#include <set>
#include <string>
#include <vector>

#include "cli/CliTestSupport.h"
#include "integrations/frei0r/FrameRing.h"
#include "integrations/frei0r/Frei0rInstance.h"

namespace {

using dsfrei0r::FrameRing;
using dsfrei0r::Frei0rInstance;
using dsfrei0r::Frei0rParameterTable;

// A frame of the test clip as frei0r hands it over.
std::vector<uint32_t> RgbaFrame(int index, int width = clitest::kClipWidth, int height = clitest::kClipHeight) {
  const dshost::ImageF clip = clitest::ClipFrame(index);
  dshost::ImageF image = dshost::makeImage(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < 4; ++c) image.pixel(x, y)[c] = clip.pixel(x % clip.width, y % clip.height)[c];
    }
  }
  std::vector<uint32_t> rgba(static_cast<size_t>(width) * height);
  FrameRing::ToRgba(image, rgba.data());
  return rgba;
}

TEST(Frei0rModule, ParameterTableIsTheEffectsUserParameters) {
  void* module = dlopen(DRIFTSMEAR_FREI0R_DIR "/driftsmear.so", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  const auto init = reinterpret_cast<int (*)()>(dlsym(module, "f0r_init"));
  const auto deinit = reinterpret_cast<void (*)()>(dlsym(module, "f0r_deinit"));
  const auto pluginInfo = reinterpret_cast<void (*)(f0r_plugin_info_t*)>(dlsym(module, "f0r_get_plugin_info"));
  const auto paramInfo = reinterpret_cast<void (*)(f0r_param_info_t*, int)>(dlsym(module, "f0r_get_param_info"));
  ASSERT_TRUE(init && deinit && pluginInfo && paramInfo);
  ASSERT_EQ(init(), 1);
  f0r_plugin_info_t info{};
  pluginInfo(&info);
  EXPECT_STREQ(info.name, "Drift Smear");
  EXPECT_EQ(info.plugin_type, F0R_PLUGIN_TYPE_FILTER);
  EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_RGBA8888);

  // Every slider, angle and checkbox of the catalog, the preset and the view.
  std::set<std::string> expected = {"preset", "debug-display"};
  for (const dshost::ParameterInfo& parameter : dshost::ParameterCatalog()) {
    if (parameter.kind == dshost::ParameterKind::Slider || parameter.kind == dshost::ParameterKind::Angle ||
        parameter.kind == dshost::ParameterKind::Checkbox) {
      expected.insert(parameter.key);
    }
  }
  ASSERT_EQ(info.num_params, static_cast<int>(expected.size()));
  std::set<std::string> names;
  for (int i = 0; i < info.num_params; ++i) {
    f0r_param_info_t param{};
    paramInfo(&param, i);
    ASSERT_NE(param.name, nullptr);
    const dshost::ParameterInfo* catalog = dshost::FindParameterByKey(param.name);
    ASSERT_NE(catalog, nullptr) << param.name;
    const int type = catalog->kind == dshost::ParameterKind::Popup      ? F0R_PARAM_STRING
                     : catalog->kind == dshost::ParameterKind::Checkbox ? F0R_PARAM_BOOL
                                                                         : F0R_PARAM_DOUBLE;
    EXPECT_EQ(param.type, type) << param.name;
    ASSERT_NE(param.explanation, nullptr);
    EXPECT_NE(std::string(param.explanation).find(catalog->english), std::string::npos) << param.explanation;
    EXPECT_EQ(i == 0, std::string(param.name) == "preset") << "the preset comes first";
    // The ranges are the ones the effect registers, stated in the explanation.
    if (std::string(param.name) == "frames") {
      EXPECT_NE(std::string(param.explanation).find("3.00..50.00: value = 3.00 + x * 47.00; default 10.00"),
                std::string::npos)
          << param.explanation;
    }
    names.insert(param.name);
  }
  EXPECT_EQ(names, expected);
  deinit();
  dlclose(module);
}

TEST(Frei0rFrameRing, ConvertsEveryEightBitValueExactly) {
  std::vector<uint32_t> rgba(256);
  for (uint32_t v = 0; v < 256; ++v) rgba[v] = v | (255 - v) << 8 | (v ^ 0x5A) << 16 | (v * 7 % 256) << 24;
  dshost::ImageF image;
  image.width = 256;
  image.height = 1;
  FrameRing::ToFloat(rgba.data(), image);
  EXPECT_FLOAT_EQ(image.pixel(255, 0)[2], 1.0f);  // red is the third float (B, G, R, A)
  EXPECT_FLOAT_EQ(image.pixel(0, 0)[1], 1.0f);
  std::vector<uint32_t> back(256);
  FrameRing::ToRgba(image, back.data());
  EXPECT_EQ(back, rgba);
}

TEST(Frei0rFrameRing, ServesTheNearestHeldFrameAndRestartsOnJumps) {
  FrameRing ring(4, 2);
  ring.SetCapacity(3);
  const auto frame = [](uint8_t level) { return std::vector<uint32_t>(8, 0xFF000000u | level); };
  const auto levelAt = [&](A_long time) {
    const dshost::FrameLookup lookup = ring.Lookup(time, ring.timeScale());
    return static_cast<int>(lookup.frame->image.pixel(0, 0)[2] * 255.0f + 0.5f);
  };
  // Milliseconds, as ffmpeg counts.
  EXPECT_TRUE(ring.Push(1000.0, frame(10).data()));
  for (int i = 1; i <= 4; ++i) EXPECT_FALSE(ring.Push(1000.0 + 40.0 * i, frame(static_cast<uint8_t>(10 + i)).data()));
  EXPECT_DOUBLE_EQ(ring.step(), 40.0);
  EXPECT_EQ(ring.size(), 3u);
  const A_long now = ring.currentTime();
  EXPECT_EQ(levelAt(now), 14);
  EXPECT_EQ(levelAt(now - 2), 12);
  EXPECT_EQ(levelAt(now - 9), 12) << "older than the ring holds: the oldest frame";
  EXPECT_EQ(levelAt(now + 3), 14) << "later frames: the newest frame";
  // The same time again replaces the newest frame (a re-render).
  EXPECT_FALSE(ring.Push(1160.0, frame(40).data()));
  EXPECT_EQ(levelAt(ring.currentTime()), 40);
  EXPECT_EQ(ring.size(), 3u);
  // Back in time, and a jump ahead, restart with just that frame.
  EXPECT_TRUE(ring.Push(1040.0, frame(50).data()));
  EXPECT_EQ(ring.size(), 1u);
  EXPECT_FALSE(ring.Push(1080.0, frame(51).data()));
  EXPECT_TRUE(ring.Push(2000.0, frame(60).data()));
  EXPECT_EQ(ring.size(), 1u);
  EXPECT_EQ(levelAt(ring.currentTime() - 1), 60);
}

TEST(Frei0rInstance, OddSizesRenderAndFailuresPassTheInputThrough) {
  CLI_REQUIRE_DEVICE();
  auto table = std::make_shared<Frei0rParameterTable>(DRIFTSMEAR_MODULE_PATH);
  {
    Frei0rInstance odd(table, 37, 21);
    const std::vector<uint32_t> in = RgbaFrame(3, 37, 21);
    std::vector<uint32_t> out(in.size());
    for (int i = 0; i < 3; ++i) odd.Update(i / 25.0, in.data(), out.data());
    EXPECT_TRUE(odd.reports().empty()) << odd.reports().front();
  }
  {
    Frei0rInstance empty(table, 0, 48);
    ASSERT_EQ(empty.reports().size(), 1u);
    EXPECT_EQ(empty.reports().front(), "cannot process frames of 0x48 pixels (each side must be 1 to 32768)");
    empty.Update(0.0, nullptr, nullptr);
  }
  auto missing = std::make_shared<Frei0rParameterTable>("/nonexistent/DriftSmear.so");
  EXPECT_NE(missing->loadError().find("cannot be used"), std::string::npos) << missing->loadError();
  EXPECT_EQ(missing->size(), table->size());
  Frei0rInstance instance(missing, 16, 8);
  const std::vector<uint32_t> in = RgbaFrame(1, 16, 8);
  std::vector<uint32_t> out(in.size(), 0);
  instance.Update(0.0, in.data(), out.data());
  instance.Update(0.04, in.data(), out.data());
  EXPECT_EQ(out, in);
  ASSERT_EQ(instance.reports().size(), 1u) << "said once";
  EXPECT_NE(instance.reports().front().find("/nonexistent/DriftSmear.so"), std::string::npos);
}

}  // namespace
