#include <gmock/gmock.h>

#include "Linux/Sound/MicDevices.h"

namespace quillant {

namespace {

using Source = SoundDevices::Source;

const Source monitor{"out.monitor", "Monitor of Speakers", "out"};
const Source headset{"headset", "Headset", ""};
const Source webcam{"webcam", "Webcam", ""};

TEST(MicDevicesTest, OffersInputsAndFallsBackFromThePreferredToTheDefaultToAny) {
  EXPECT_THAT(MicDevices::available({.sources = {monitor, headset, webcam}}),
              testing::ElementsAre(headset, webcam));
  const struct {
    std::vector<Source> sources;
    std::string defaultSource;
    std::optional<std::string> preferred;
    std::optional<Source> expected;
  } cases[] = {
      {{monitor, headset, webcam}, "webcam", "headset", headset},
      {{monitor, headset, webcam}, "webcam", std::nullopt, webcam},
      {{monitor, headset, webcam}, "webcam", "unplugged", webcam},
      {{monitor, headset, webcam}, "webcam", "out.monitor", webcam},
      {{monitor, headset, webcam}, "out.monitor", std::nullopt, headset},
      {{monitor, headset}, "", "unplugged", headset},
      {{monitor}, "out.monitor", "out.monitor", std::nullopt},
      {{}, "", std::nullopt, std::nullopt},
  };
  for (const auto& [sources, defaultSource, preferred, expected] : cases)
    EXPECT_EQ(MicDevices::resolve({sources, defaultSource, "out"}, preferred), expected)
        << "default " << defaultSource << ", preferred " << preferred.value_or("none");
}

}  // namespace

}  // namespace quillant
