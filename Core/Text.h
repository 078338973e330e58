#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillant::Text {

/// The text without the white space and new lines around it, Unicode's included. Bytes that are not UTF-8
/// count as letters.
std::string_view trimmed(std::string_view text);
/// The pieces between white space, none of them empty.
std::vector<std::string_view> words(std::string_view text);
/// The words of a text without white space: where its script is written without blanks between words, those
/// of a dictionary, with the punctuation that follows them; elsewhere the text itself.
std::vector<std::string_view> wordsByDictionary(std::string_view text);
/// In lower case, by the rules of no language in particular. Bytes that are not UTF-8 become U+FFFD.
std::string lowercased(std::string_view text);
/// What readers take for one character each, marks and joined signs with their letter.
std::vector<std::string_view> characters(std::string_view text);
/// Whether a character is, in any script, a letter or a number.
bool isLetterOrNumber(std::string_view character);
/// Whether the text is read from right to left: its first letter with a direction is.
bool isRightToLeft(std::string_view text);
bool isUTF8(std::string_view text);
/// The text less the bytes that are not UTF-8.
std::string withoutBrokenBytes(std::string_view text);

}  // namespace quillant::Text
