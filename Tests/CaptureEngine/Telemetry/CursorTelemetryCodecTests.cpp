#include <fmt/format.h>
#include <gtest/gtest.h>
#include <random>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/JSON.h"

namespace quillant {

namespace {

using Kind = JSONError::Kind;

CursorTelemetryPayload randomPayload(std::mt19937& random) {
  const auto number = [&] {
    return static_cast<std::int64_t>(random()) * (random() % 2 ? 1 : -1) << random() % 31;
  };
  const std::vector<std::string> texts = {"arrow", "", "\"\\/", "\x01\n", "Größe ✓", "}],"};
  const auto text = [&] { return texts[random() % texts.size()]; };
  CursorTelemetryPayload payload{.width = number(), .height = number()};
  for (auto count = random() % 4; count > 0; --count)
    payload.samples.push_back({number(), number(), number(), text()});
  for (auto count = random() % 4; count > 0; --count)
    payload.clicks.push_back({number(), number(), number(), text(), number()});
  return payload;
}

TEST(CursorTelemetryCodec, ReadsBackWhatItWrites) {
  std::mt19937 random(7);
  for (int i = 0; i < 200; ++i) {
    const auto payload = randomPayload(random);
    const std::string text = CursorTelemetryCodec::encode(payload);
    ASSERT_EQ(CursorTelemetryCodec::decode(text), payload) << text;
    // The general writer's spacing and order of keys are as good.
    ASSERT_EQ(CursorTelemetryCodec::decode(JSON::pretty(JSON::parse(text))), payload) << text;
    const auto cut = random() % (text.size() - 1);
    ASSERT_THROW(CursorTelemetryCodec::decode(text.substr(0, cut)), JSONError) << text << cut;
  }
}

TEST(CursorTelemetryCodec, KnowsTheKeysAndStepsOverAllOthers) {
  const CursorTelemetryPayload expected{
      .width = 3, .height = 4, .samples = {{1, 2, 3, "hand"}}, .clicks = {{-1, 5, 33, "right", 2}}};
  const std::string head =
      R"({"width":3,"height":4,"clicks":[{"x":-1,"y":5,"timestamp":33,"button":"right","clickCount":2}],)";
  const std::string sample = R"({"x":1,"y":2,"timestamp":3,"cursorType":"hand"})";
  const std::string plain = head + R"("samples":[)" + sample + "]}";
  EXPECT_EQ(JSON::parse(CursorTelemetryCodec::encode(expected)), JSON::parse(plain));
  for (const std::string& text :
       {plain,
        // values that look like known parts
        head + R"("a":{"samples":[{"x":9}],"width":[[{}]]},"b":[[],{"clicks":5}],"samples":[)" + sample +
            "]}",
        head + R"("samples":[{"samples":[{"y":7}],"y":2,"a":{"x":{"y":[]}},"x":1,)" + sample.substr(13) +
            "]}",
        // the last of a repeated key counts
        head + R"("samples":[)" + sample + "," + sample + R"(],"samples":[)" + sample +
            R"(],"width":9,"width":3})",
        head + R"("samples":[{"x":8,)" + sample.substr(1) + "]}",
        // whole numbers in another form
        head + R"("samples":[{"x":1.0,"y":2e0,"timestamp":3,"cursorType":"hand"}]})"})
    EXPECT_EQ(CursorTelemetryCodec::decode(text), expected) << text;
}

TEST(CursorTelemetryCodec, NamesThePlaceOfWhatItRefuses) {
  const auto inSamples = [](std::string_view samples) {
    return fmt::format(R"({{"width":3,"height":4,"clicks":[],"samples":[{}]}})", samples);
  };
  const std::string good = R"({"x":1,"y":2,"timestamp":3,"cursorType":"arrow"},)";
  const std::string deep(500, '[');
  const struct {
    std::string text;
    Kind kind;
    std::string path;
  } cases[] = {
      {inSamples(good), Kind::malformed, ""},
      {inSamples("") + "x", Kind::malformed, ""},
      {R"({"width":1e999})", Kind::malformed, ""},
      {deep, Kind::malformed, ""},
      {inSamples(R"({"unknown":)" + deep), Kind::malformed, ""},
      {"[]", Kind::wrongType, ""},
      {R"({"width":3,"height":4,"samples":[]})", Kind::missing, "clicks"},
      {R"({"width":"3"})", Kind::wrongType, "width"},
      {R"({"width":3,"height":4,"samples":{}})", Kind::wrongType, "samples"},
      {R"({"samples":{"x":{}}})", Kind::wrongType, "samples[0]"},
      {inSamples(good + "7"), Kind::wrongType, "samples[1]"},
      {inSamples(good + "{}"), Kind::missing, "samples[1].x"},
      // what the sample before had does not count
      {inSamples(good + R"({"x":1,"y":2,"cursorType":"arrow"})"), Kind::missing, "samples[1].timestamp"},
      {inSamples(R"({"x":1,"y":9223372036854775808})"), Kind::invalidValue, "samples[0].y"},
      {inSamples(R"([{"x":1}])"), Kind::wrongType, "samples[0]"},
      {R"({"clicks":[{"x":"1"}]})", Kind::wrongType, "clicks[0].x"},
  };
  for (const auto& [text, kind, path] : cases) {
    try {
      CursorTelemetryCodec::decode(text);
      ADD_FAILURE() << "taken: " << text;
    } catch (const JSONError& error) {
      EXPECT_EQ(error.kind(), kind) << text << ": " << error.description();
      EXPECT_EQ(error.path(), path) << text << ": " << error.description();
    }
  }
}

}  // namespace
}  // namespace quillant
