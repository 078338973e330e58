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
  }
}

TEST(CursorTelemetryCodec, WritesTheKeysThatReadersKnow) {
  const CursorTelemetryPayload payload{
      .width = 1920, .height = 1080, .samples = {{10, 20, 17, "arrow"}}, .clicks = {{-1, 5, 33, "right", 2}}};
  EXPECT_EQ(JSON::parse(CursorTelemetryCodec::encode(payload)), JSON::parse(R"({
    "width": 1920, "height": 1080,
    "samples": [{"x": 10, "y": 20, "timestamp": 17, "cursorType": "arrow"}],
    "clicks": [{"x": -1, "y": 5, "timestamp": 33, "button": "right", "clickCount": 2}]})"));
  EXPECT_EQ(CursorTelemetryCodec::decode(CursorTelemetryCodec::encode({})), CursorTelemetryPayload{});
}

TEST(CursorTelemetryCodec, IsTolerantWhereJSONIs) {
  const CursorTelemetryPayload expected{
      .width = 3, .height = 4, .samples = {{1, 2, 3, "hand"}}, .clicks = {{1, 2, 3, "left", 1}}};
  const char* const head =
      R"("width":3,"height":4,"clicks":[{"x":1,"y":2,"timestamp":3,"button":"left","clickCount":1}])";
  const char* const sample = R"({"x":1,"y":2,"timestamp":3,"cursorType":"hand"})";
  const auto document = [&](std::string_view rest) { return fmt::format("{{{},{}}}", head, rest); };
  for (
      const std::string& text :
      {document(fmt::format(R"("samples":[{}])", sample)),
       // unknown keys, with values that look like known parts
       document(fmt::format(
           R"("later":{{"samples":[{{"x":9}}],"width":[[{{}}]]}},"list":[[],{{"clicks":5}}],"samples":[{}])",
           sample)),
       document(
           R"("samples":[{"x":1,"samples":[{"y":7}],"y":2,"deep":{"x":{"y":[]}},"timestamp":3,"cursorType":"hand"}])"),
       // the last of a repeated key counts
       document(fmt::format(R"("samples":[{0},{0}],"samples":[{0}],"width":9,"width":3)", sample)),
       document(R"("samples":[{"x":8,"y":2,"x":1,"timestamp":3,"cursorType":"hand"}])"),
       // whole numbers in another form
       document(R"("samples":[{"x":1.0,"y":2e0,"timestamp":3,"cursorType":"hand"}])")})
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
      {"", Kind::malformed, ""},
      {inSamples(good), Kind::malformed, ""},
      {inSamples("") + "x", Kind::malformed, ""},
      {R"({"width":1e999})", Kind::malformed, ""},
      {deep, Kind::wrongType, ""},
      {R"({"unknown":)" + deep, Kind::malformed, ""},
      {inSamples(R"({"unknown":)" + deep), Kind::malformed, ""},
      {"[]", Kind::wrongType, ""},
      {"null", Kind::wrongType, ""},
      {R"({"width":3,"height":4,"samples":[]})", Kind::missing, "clicks"},
      {R"({"width":3,"clicks":[],"samples":[]})", Kind::missing, "height"},
      {R"({"width":"3"})", Kind::wrongType, "width"},
      {R"({"width":{"height":4}})", Kind::wrongType, "width"},
      {R"({"width":[]})", Kind::wrongType, "width"},
      {R"({"samples":{}})", Kind::wrongType, "samples"},
      {R"({"clicks":null})", Kind::wrongType, "clicks"},
      {inSamples("[]"), Kind::wrongType, "samples[0]"},
      {inSamples(good + "7"), Kind::wrongType, "samples[1]"},
      {inSamples(good + "{}"), Kind::missing, "samples[1].x"},
      // what the sample before had does not count
      {inSamples(good + R"({"x":1,"y":2,"cursorType":"arrow"})"), Kind::missing, "samples[1].timestamp"},
      {inSamples(R"({"x":null)"), Kind::wrongType, "samples[0].x"},
      {inSamples(R"({"y":1.5)"), Kind::wrongType, "samples[0].y"},
      {inSamples(R"({"y":9223372036854775808)"), Kind::invalidValue, "samples[0].y"},
      {inSamples(R"({"cursorType":["arrow"])"), Kind::wrongType, "samples[0].cursorType"},
      {R"({"clicks":[{"button":1)", Kind::wrongType, "clicks[0].button"},
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

TEST(CursorTelemetryCodec, SurvivesEveryTruncation) {
  std::mt19937 random(11);
  const std::string text = CursorTelemetryCodec::encode(randomPayload(random));
  for (std::size_t length = 0; length + 2 < text.size(); ++length)
    EXPECT_THROW(CursorTelemetryCodec::decode(text.substr(0, length)), JSONError) << length;
}

}  // namespace
}  // namespace quillant
