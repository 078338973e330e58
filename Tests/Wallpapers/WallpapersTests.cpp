#include <cmath>
#include <gtest/gtest.h>
#include <png.h>
#include <string>
#include <vector>

#include "Editor/Project/BackgroundPresets.h"
#include "Tests/Support/TemporaryFolder.h"
#include "packaging/wallpapers/Picture.h"

namespace quillant {
namespace {

struct Decoded {
  int width = 0;
  int height = 0;
  std::vector<png_byte> bytes;  ///< RGB

  static Decoded read(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Decoded result;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return result;
    image.format = PNG_FORMAT_RGB;
    result.bytes.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, result.bytes.data(), 0, nullptr) == 0) return {};
    result.width = static_cast<int>(image.width);
    result.height = static_cast<int>(image.height);
    return result;
  }

  /// Over a block of 16 by 16 pixels.
  double mean(int left, int top, int component) const {
    double sum = 0;
    for (int y = top; y < top + 16; ++y)
      for (int x = left; x < left + 16; ++x)
        sum += bytes[(static_cast<std::size_t>(y) * width + x) * 3 + component];
    return sum / 256;
  }
};

TEST(Wallpapers, HaveAPictureAndAThumbnailForEveryPreset) {
  const std::string folder = QUILLANT_WALLPAPERS;
  for (const auto& preset : BackgroundPresets::wallpapers()) {
    const auto full = Decoded::read(folder + "/" + preset.fullAssetName + ".png");
    const auto thumb = Decoded::read(folder + "/" + preset.thumbAssetName + ".png");
    ASSERT_EQ((std::pair{full.width, full.height}), (std::pair{2560, 1440})) << preset.id;
    ASSERT_EQ((std::pair{thumb.width, thumb.height}), (std::pair{320, 180})) << preset.id;
    // Each pixel of the thumbnail is the mean of its 8 by 8: flat stretches, most of any wallpaper, agree.
    int agreeing = 0;
    for (int y = 1; y < 179; ++y)
      for (int x = 1; x < 319; ++x)
        if (std::abs(full.mean(8 * x - 4, 8 * y - 4, 1) - thumb.bytes[(y * 320 + x) * 3 + 1]) < 6) ++agreeing;
    EXPECT_GT(agreeing, 0.6 * 178 * 318) << preset.id;
  }
}

TEST(Wallpapers, AreDitheredSoThatASlowBlendShowsNoBands) {
  // Two steps of sRGB over 512 pixels: rounded alone, this is three flat bands.
  Picture picture{512, 64, {}};
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 512; ++x) {
      const float value = (100 + static_cast<float>(x) / 256) / 255;
      const float light = std::pow((value + 0.055f) / 1.055f, 2.4f);
      picture.pixels.push_back({light, light, light});
    }
  const TemporaryFolder folder;
  const std::string path = folder / "blend.png";
  picture.writePNG(path);
  const auto decoded = Decoded::read(path);
  ASSERT_EQ(decoded.width, 512);
  for (int left = 0; left < 512; left += 16)
    for (int top = 0; top < 64; top += 16)
      for (int component = 0; component < 3; ++component)
        EXPECT_NEAR(decoded.mean(left, top, component), 100 + (left + 7.5) / 256, 0.06) << left << " " << top;
}

TEST(Ramp, MeetsItsStopsAndKeepsItsColourBetweenFarHues) {
  const Ramp ramp{{0.2f, 0x2040FF}, {0.8f, 0xFFD020}};
  const auto expectNear = [](Color actual, Color expected, float tolerance) {
    EXPECT_NEAR(actual.r, expected.r, tolerance);
    EXPECT_NEAR(actual.g, expected.g, tolerance);
    EXPECT_NEAR(actual.b, expected.b, tolerance);
  };
  expectNear(ramp(-1), light(0x2040FF), 1e-4f);
  expectNear(ramp(0.1f), light(0x2040FF), 1e-4f);
  expectNear(ramp(0.9f), light(0xFFD020), 1e-4f);
  expectNear(ramp(2), light(0xFFD020), 1e-4f);
  expectNear(ramp(0.5f), light(0x879DBC), 0.004f);
}

}  // namespace
}  // namespace quillant
