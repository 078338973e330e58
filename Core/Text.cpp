#include "Core/Text.h"

#include <cstdint>
#include <memory>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

namespace quillant::Text {

namespace {

/// The text divided at those of the boundaries that `make`'s iterator finds which `counts` accepts.
template <class Counts>
std::vector<std::string_view> pieces(std::string_view text,
                                     icu::BreakIterator* (*make)(const icu::Locale&, UErrorCode&),
                                     Counts&& counts) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> breaks(make(icu::Locale::getRoot(), status));
  UText source = UTEXT_INITIALIZER;
  utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
  std::vector<std::string_view> result;
  if (U_SUCCESS(status)) breaks->setText(&source, status);
  if (U_SUCCESS(status)) {
    std::size_t start = 0;
    breaks->first();
    for (auto next = breaks->next(); next != icu::BreakIterator::DONE; next = breaks->next()) {
      const auto end = static_cast<std::size_t>(next);
      if (end < text.size() && !counts(end)) continue;
      result.push_back(text.substr(start, end - start));
      start = end;
    }
  }
  utext_close(&source);
  return result;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t start = text.size();
  std::size_t end = text.size();
  for (std::size_t next = 0; next < text.size();) {
    const std::size_t position = next;
    UChar32 character = 0;
    U8_NEXT(bytes, next, text.size(), character);
    if (character >= 0 && u_isUWhiteSpace(character)) continue;
    if (start == text.size()) start = position;
    end = next;
  }
  return text.substr(start, end - start);
}

std::vector<std::string_view> words(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::vector<std::string_view> result;
  std::size_t start = 0;
  for (std::size_t next = 0, position = 0; position < text.size(); position = next) {
    UChar32 character = 0;
    U8_NEXT(bytes, next, text.size(), character);
    const bool isSpace = character >= 0 && u_isUWhiteSpace(character);
    const std::size_t end = isSpace ? position : next;
    if ((isSpace || next == text.size()) && end > start) result.push_back(text.substr(start, end - start));
    if (isSpace) start = next;
  }
  return result;
}

std::string lowercased(std::string_view text) {
  std::string result;
  icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())})
      .toLower(icu::Locale::getRoot())
      .toUTF8String(result);
  return result;
}

std::vector<std::string_view> wordsByDictionary(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  return pieces(text, &icu::BreakIterator::createWordInstance, [&](std::size_t boundary) {
    UChar32 next = -1;
    U8_NEXT(bytes, boundary, text.size(), next);
    const int kind = next < 0 ? -1 : u_getIntPropertyValue(next, UCHAR_LINE_BREAK);
    return kind == U_LB_IDEOGRAPHIC || kind == U_LB_CONDITIONAL_JAPANESE_STARTER ||
           kind == U_LB_COMPLEX_CONTEXT;
  });
}

std::vector<std::string_view> characters(std::string_view text) {
  return pieces(text, &icu::BreakIterator::createCharacterInstance, [](std::size_t) { return true; });
}

bool isLetterOrNumber(std::string_view character) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(character.data());
  std::size_t next = 0;
  UChar32 first = -1;
  if (!character.empty()) U8_NEXT(bytes, next, character.size(), first);
  return first >= 0 &&
         (u_isUAlphabetic(first) || u_getIntPropertyValue(first, UCHAR_NUMERIC_TYPE) != U_NT_NONE);
}

bool isRightToLeft(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t next = 0; next < text.size();) {
    UChar32 character = 0;
    U8_NEXT(bytes, next, text.size(), character);
    const auto direction = character < 0 ? U_OTHER_NEUTRAL : u_charDirection(character);
    if (direction == U_LEFT_TO_RIGHT) return false;
    if (direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC) return true;
  }
  return false;
}

bool isUTF8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t next = 0; next < text.size();) {
    UChar32 character = 0;
    U8_NEXT(bytes, next, text.size(), character);
    if (character < 0) return false;
  }
  return true;
}

std::string withoutBrokenBytes(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::string result;
  for (std::size_t next = 0, position = 0; position < text.size(); position = next) {
    UChar32 character = 0;
    U8_NEXT(bytes, next, text.size(), character);
    if (character >= 0) result += text.substr(position, next - position);
  }
  return result;
}

}  // namespace quillant::Text
