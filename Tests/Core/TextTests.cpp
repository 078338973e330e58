#include <gtest/gtest.h>

#include "Core/Text.h"

namespace quillant {
namespace {

TEST(Text, TrimsWhiteSpaceAndNewLinesAtBothEndsOnly) {
  EXPECT_EQ(Text::trimmed(" \t\r\n#ff ff\v\f\n "), "#ff ff");
  EXPECT_EQ(Text::trimmed("\u00A0\u2003\u2028x\u3000"), "x");
  EXPECT_EQ(Text::trimmed(" \n "), "");
  EXPECT_EQ(Text::trimmed(""), "");
  EXPECT_EQ(Text::trimmed("\xC2 x \x85\xFF "), "\xC2 x \x85\xFF") << "broken bytes are no white space";
}

TEST(Text, LowersEveryScriptsLetters) {
  EXPECT_EQ(Text::lowercased("Circle IÉЖ"), "circle iéж");
  EXPECT_EQ(Text::lowercased(""), "");
}

}  // namespace
}  // namespace quillant
