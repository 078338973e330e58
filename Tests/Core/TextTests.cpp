#include <gtest/gtest.h>

#include "Core/Text.h"

namespace quillant {
namespace {

TEST(Text, TrimsWhiteSpaceAndNewLinesAtBothEndsOnly) {
  EXPECT_EQ(Text::trimmed(" \t\r\n#ff ff\v\f\n "), "#ff ff");
  EXPECT_EQ(Text::trimmed("\u00A0\u2003\u2028x\u3000"), "x");
  EXPECT_EQ(Text::trimmed(" \n "), "");
  EXPECT_EQ(Text::trimmed("\xC2 x \x85\xFF "), "\xC2 x \x85\xFF") << "broken bytes are no white space";
}

TEST(Text, DividesAtWhiteSpace) {
  const std::pair<std::string_view, std::vector<std::string_view>> cases[] = {
      {" two \n words\u3000", {"two", "words"}},
      {"one", {"one"}},
      {"é\u00A0\xFF", {"é", "\xFF"}},
      {" \t", {}}};
  for (const auto& [text, words] : cases) EXPECT_EQ(Text::words(text), words) << text;
}

TEST(Text, LowersEveryScriptsLetters) {
  EXPECT_EQ(Text::lowercased("Circle IÉЖ"), "circle iéж");
}

TEST(Text, TakesALetterAndItsMarksForOneCharacter) {
  using Characters = std::vector<std::string_view>;
  EXPECT_EQ(Text::characters("ae\u0301\r\n👩‍👧x"),
            (Characters{"a", "e\u0301", "\r\n", "👩‍👧", "x"}));
}

TEST(Text, KnowsTheLettersAndNumbersOfEveryScript) {
  for (const auto* character : {"a", "é", "e\u0301", "ж", "中", "7", "٣", "½"})
    EXPECT_TRUE(Text::isLetterOrNumber(character)) << character;
  for (const auto* character : {"", " ", "-", "_", "/", ".", "👩", "\u0301", "\xFF"})
    EXPECT_FALSE(Text::isLetterOrNumber(character)) << character;
}

TEST(Text, TellsUTF8FromOtherBytes) {
  for (const auto* text : {"", "plain", "é中👩"}) EXPECT_TRUE(Text::isUTF8(text)) << text;
  for (const auto* text : {"\xC3", "a\xFFz", "\xED\xA0\x80", "\xC0\xAF"})
    EXPECT_FALSE(Text::isUTF8(text)) << text;
}

}  // namespace
}  // namespace quillant
