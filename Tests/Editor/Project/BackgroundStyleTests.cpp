#include <gtest/gtest.h>
#include <set>

#include "Core/JSON.h"
#include "Editor/Project/BackgroundPresets.h"
#include "Editor/Project/BackgroundStyle.h"

namespace quillant {
namespace {

TEST(SerializableColor, ReadsTheHexadecimalPartOfAText) {
  const struct {
    const char* text;
    int red, green, blue;
  } cases[] = {
      {"#276FAA", 0x27, 0x6F, 0xAA},
      {"276faa", 0x27, 0x6F, 0xAA},
      {" #276FAa\n", 0x27, 0x6F, 0xAA},
      {"12GG", 0, 0, 0x12},
      {"#F0A", 0, 0x0F, 0x0A},
      {"#99276FAA", 0x27, 0x6F, 0xAA},
      {"##276FAA", 0, 0, 0},
      {"blue-ish", 0, 0, 0x0B},
      {"", 0, 0, 0},
      {"-1", 0, 0, 0},
  };
  for (const auto& [text, red, green, blue] : cases)
    EXPECT_EQ(SerializableColor::fromHex(text, 0.5),
              (SerializableColor{red / 255.0, green / 255.0, blue / 255.0, 0.5}))
        << text;
}

TEST(BackgroundStyle, IsAnObjectOfOneNamedCaseInJSON) {
  const GradientPreset linear{"a", LinearGradient{111.6}, {{{0.25, 0.5, 0.75, 1}, 0.9}, {{0, 0, 0, 0}, 0.1}}};
  const GradientPreset radial{"b", RadialGradient{0.25, 0.75}, {}};
  const struct {
    BackgroundStyle style;
    const char* json;
  } cases[] = {
      {SerializableColor{0, 0.5, 1, 0.25},
       R"({"solid":{"_0":{"alpha":0.25,"blue":1.0,"green":0.5,"red":0.0}}})"},
      {linear, R"({"gradient":{"_0":{"id":"a","kind":{"linear":{"angleDegrees":111.6}},"stops":[)"
               R"({"color":{"alpha":1.0,"blue":0.75,"green":0.5,"red":0.25},"position":0.9},)"
               R"({"color":{"alpha":0.0,"blue":0.0,"green":0.0,"red":0.0},"position":0.1}]}}})"},
      {radial,
       R"({"gradient":{"_0":{"id":"b","kind":{"radial":{"centerX":0.25,"centerY":0.75}},"stops":[]}}})"},
      {WallpaperPreset{"i", "l", "f", "t"},
       R"({"wallpaper":{"_0":{"fullAssetName":"f","id":"i","label":"l","thumbAssetName":"t"}}})"},
      {TransparentBackground{}, R"({"transparent":{}})"},
  };
  for (const auto& [style, json] : cases) {
    EXPECT_EQ(JSON::compact(style), json);
    EXPECT_EQ(JSON::decode<BackgroundStyle>(JSON::parse(json)), style) << json;
  }
}

TEST(BackgroundStyle, NamesWhatIsWrongInAFile) {
  const std::string oneKey = "Invalid number of keys found, expected one.";
  const struct {
    const char* json;
    std::string error;
  } cases[] = {
      {"{}", oneKey},
      {R"({"transparent":{},"solid":{}})", oneKey},
      {R"({"picture":{}})", oneKey},
      {R"({"gradient":{"_0":{"id":"","kind":{"linear":{},"radial":{}},"stops":[]}}})",
       "gradient._0.kind: " + oneKey},
      {R"({"gradient":{"_0":{"id":"","kind":{"conic":{}},"stops":[]}}})", "gradient._0.kind: " + oneKey},
      {R"({"solid":{}})", "solid._0: the key is missing"},
      {R"({"solid":{"_0":{"red":0,"green":0,"blue":0}}})", "solid._0.alpha: the key is missing"},
  };
  for (const auto& [json, error] : cases) {
    try {
      JSON::decode<BackgroundStyle>(JSON::parse(json));
      ADD_FAILURE() << json;
    } catch (const JSONError& thrown) {
      EXPECT_EQ(thrown.description(), error) << json;
    }
  }
  for (const char* json :
       {"[]", "7", R"({"transparent":null})", R"({"solid":"#fff"})", R"({"wallpaper":[]})"})
    EXPECT_THROW(JSON::decode<BackgroundStyle>(JSON::parse(json)), JSONError) << json;
}

TEST(BackgroundPresets, OffersBlendsThatCanBeDrawnAndStartsWithAWallpaper) {
  const auto& gradients = BackgroundPresets::gradients();
  ASSERT_EQ(gradients.size(), 28u);
  EXPECT_EQ(gradients[4].id, "sunrise");
  EXPECT_EQ(gradients[27].id, "electric-blue");
  std::set<std::string> ids;
  for (const auto& preset : gradients) {
    EXPECT_TRUE(ids.insert(preset.id).second) << preset.id;
    const bool isRadial = std::holds_alternative<RadialGradient>(preset.kind);
    EXPECT_EQ(isRadial, preset.id == "magenta-burst" || preset.id == "deep-teal") << preset.id;
    EXPECT_GE(preset.stops.size(), 2u) << preset.id;
    EXPECT_LE(preset.stops.size(), 4u) << preset.id;
    for (std::size_t i = 1; i < preset.stops.size(); ++i)
      EXPECT_GT(preset.stops[i].position, preset.stops[i - 1].position) << preset.id;
  }
  EXPECT_EQ(BackgroundPresets::wallpapers().size(), 18u);
  EXPECT_EQ(std::get<WallpaperPreset>(BackgroundPresets::default_()).id, "wallpaper-1");
}

}  // namespace
}  // namespace quillant
