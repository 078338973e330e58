#include <gmock/gmock.h>

#include "Linux/Sound/MicDevices.h"

namespace quillant {

namespace {

using Source = SoundDevices::Source;

const Source monitor{"out.monitor", "Monitor of Speakers", "out"};
const Source headset{"headset", "Headset", ""};
const Source webcam{"webcam", "Webcam", ""};

TEST(MicDevicesTest, OffersInputsOnly) {
  EXPECT_THAT(MicDevices::available({.sources = {monitor, headset, webcam}}),
              testing::ElementsAre(headset, webcam));
}

TEST(MicDevicesTest, FallsBackFromThePreferredToTheDefaultToAny) {
  struct Case {
    std::vector<Source> sources;
    std::string defaultSource;
    std::optional<std::string> preferred;
    std::optional<Source> expected;
  };
  for (const auto& [sources, defaultSource, preferred, expected] : {
           Case{{monitor, headset, webcam}, "webcam", "headset", headset},
           Case{{monitor, headset, webcam}, "webcam", std::nullopt, webcam},
           Case{{monitor, headset, webcam}, "webcam", "unplugged", webcam},
           Case{{monitor, headset, webcam}, "webcam", "out.monitor", webcam},
           Case{{monitor, headset, webcam}, "out.monitor", std::nullopt, headset},
           Case{{monitor, headset}, "", "unplugged", headset},
           Case{{monitor}, "out.monitor", "out.monitor", std::nullopt},
           Case{{}, "", std::nullopt, std::nullopt},
       })
    EXPECT_EQ(MicDevices::resolve({sources, defaultSource, "out"}, preferred), expected)
        << "default " << defaultSource << ", preferred " << preferred.value_or("none");
}

}  // namespace

}  // namespace quillant
