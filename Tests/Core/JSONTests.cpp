#include <cmath>
#include <gtest/gtest.h>

#include "Core/Date.h"
#include "Core/JSON.h"
#include "Core/UUID.h"

namespace quillant {

namespace {
enum class Shape { circle, square };
}  // namespace

template <>
inline constexpr auto rawTexts<Shape> = std::to_array<RawText<Shape>>({{Shape::circle, "circle"},
                                                                       {Shape::square, "square"}});

namespace {

struct Inner {
  std::int32_t count = 0;
};
void from_json(const Json& json, Inner& inner) {
  inner.count = JSON::required<std::int32_t>(json, "count");
}

struct Outer {
  std::vector<Inner> inners;
  Shape shape = Shape::circle;
};
void from_json(const Json& json, Outer& outer) {
  outer.inners = JSON::required<std::vector<Inner>>(json, "inners");
  outer.shape = JSON::orDefault(json, "shape", Shape::square);
}

TEST(JSON, NamesThePlaceAndTheKindOfWhatIsWrong) {
  using Kind = JSONError::Kind;
  struct Case {
    const char* text;
    Kind kind;
    const char* path;
  };
  const Case cases[] = {
      {R"({"inners": [{"count": 1}, {"count": "2"}]})", Kind::wrongType, "inners[1].count"},
      {R"({"inners": [{}]})", Kind::missing, "inners[0].count"},
      {R"({})", Kind::missing, "inners"},
      {R"([])", Kind::wrongType, ""},
      {R"({"inners": null})", Kind::wrongType, "inners"},
      {R"({"inners": [{"count": 2147483648}]})", Kind::invalidValue, "inners[0].count"},
      {R"({"inners": [{"count": 1.5}]})", Kind::wrongType, "inners[0].count"},
      {R"({"inners": [{"count": 1e18}]})", Kind::invalidValue, "inners[0].count"},
      {R"({"inners": [], "shape": "heart"})", Kind::invalidValue, "shape"},
      {R"({"inners": [)", Kind::malformed, ""},
      {R"({"inners": [1e400]})", Kind::malformed, ""},
  };
  for (const auto& c : cases) {
    try {
      JSON::decode<Outer>(JSON::parse(c.text));
      ADD_FAILURE() << c.text;
    } catch (const JSONError& error) {
      EXPECT_EQ(error.kind(), c.kind) << c.text;
      EXPECT_EQ(error.path(), c.path) << c.text;
      EXPECT_NE(error.description().find(c.path), std::string::npos) << error.description();
    }
  }
}

TEST(JSON, TakesWholeFloatsNullsAndRepeatedKeys) {
  const auto outer =
      JSON::decode<Outer>(JSON::parse(R"({"inners": [{"count": 1, "count": 7.0}], "shape": null, "x": 0})"));
  EXPECT_EQ(outer.inners.at(0).count, 7);
  EXPECT_EQ(outer.shape, Shape::square);
}

TEST(JSON, RefusesDepthWithoutRecursing) {
  const std::string deep(1'000'000, '[');
  EXPECT_THROW(JSON::parse(deep), JSONError);
  const std::string allowed = std::string(JSON::maximumDepth, '[') + std::string(JSON::maximumDepth, ']');
  EXPECT_NO_THROW(JSON::parse(allowed));
  EXPECT_THROW(JSON::parse("[" + allowed + "]"), JSONError);
  EXPECT_THROW(JSON::parseWithout(R"({"x": )" + allowed + "}", "x"), JSONError);
}

TEST(JSON, WritesSortedKeysAndReplacesBrokenText) {
  EXPECT_EQ(JSON::pretty({{"b", 1}, {"a", {1.5}}}), "{\n  \"a\": [\n    1.5\n  ],\n  \"b\": 1\n}");
  EXPECT_EQ(JSON::compact("a\xFF"), "\"a\xEF\xBF\xBD\"");
}

TEST(JSON, WritesNoNumberThatCannotBeReadBack) {
  try {
    JSON::compact({{"a", {1.5, {{"b", std::nan("")}}}}});
    ADD_FAILURE();
  } catch (const JSONError& error) {
    EXPECT_EQ(error.path(), "a[1].b");
  }
}

TEST(UUID, IsWrittenInUpperCaseAndReadInEither) {
  const auto id = UUID::parse("0a1b2c3d-4e5f-6789-abCD-ef0123456789");
  ASSERT_TRUE(id);
  EXPECT_EQ(id->text(), "0A1B2C3D-4E5F-6789-ABCD-EF0123456789");
  for (const char* bad : {"", "0a1b2c3d-4e5f-6789-abcd-ef012345678", "0a1b2c3d4e5f-6789-abcd-ef0123456789-",
                          "0a1b2c3d-4e5f-6789-abcd-ef012345678g"})
    EXPECT_FALSE(UUID::parse(bad)) << bad;
  const auto random = UUID::random();
  EXPECT_EQ(random.text()[14], '4');
  EXPECT_NE(random, UUID::random());
  EXPECT_THROW(JSON::decode<UUID>(Json("x")), JSONError);
}

TEST(Date, ReadsAndWritesISO8601) {
  const Date date{817'063'445.75};
  EXPECT_EQ(date.iso8601(), "2026-11-22T18:04:05Z");
  EXPECT_EQ(date.description(), "2026-11-22 18:04:05 +0000");
  EXPECT_EQ(Date::parseISO8601("2026-11-22T19:04:05.750+01:00"), date);
  EXPECT_EQ(Date::parseISO8601(Date{-1}.iso8601()), Date{-1});
  EXPECT_EQ(Date::distantPast().iso8601(), "0001-01-01T00:00:00Z");
  EXPECT_EQ(Date{1e300}.iso8601(), "9999-12-31T23:59:59Z");
  for (const char* bad : {"2026-02-30T00:00:00Z", "2026-11-22", "2026-11-22T24:00:00Z", "2026-11-22T18:04:05",
                          "2026-11-22T18:04:05Zx", "2026-11-22T18:04:05.Z", ""})
    EXPECT_FALSE(Date::parseISO8601(bad)) << bad;
}

TEST(JSON, LeavesOutOneMemberOfTheOutermostObjectOnly) {
  const auto json = JSON::parseWithout(
      R"({"x": [{"y": [1]}, 2, {}], "": 0, "a": {"x": [3, {"x": 4}]}, "x": null, "b": ["x"]})", "x");
  EXPECT_EQ(JSON::compact(json), R"({"":0,"a":{"x":[3,{"x":4}]},"b":["x"]})");
  EXPECT_EQ(JSON::compact(JSON::parse(R"({"": [1, -2, 1.5, true, null, "t"]})")),
            R"({"":[1,-2,1.5,true,null,"t"]})");
}

}  // namespace
}  // namespace quillant
