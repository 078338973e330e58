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

std::vector<std::string_view> characters(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> breaks(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  UText source = UTEXT_INITIALIZER;
  utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
  std::vector<std::string_view> result;
  if (U_SUCCESS(status)) breaks->setText(&source, status);
  if (U_SUCCESS(status)) {
    auto start = breaks->first();
    for (auto end = breaks->next(); end != icu::BreakIterator::DONE; end = breaks->next()) {
      result.push_back(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
      start = end;
    }
  }
  utext_close(&source);
  return result;
}

bool isLetterOrNumber(std::string_view character) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(character.data());
  std::size_t next = 0;
  UChar32 first = -1;
  if (!character.empty()) U8_NEXT(bytes, next, character.size(), first);
  return first >= 0 &&
         (u_isUAlphabetic(first) || u_getIntPropertyValue(first, UCHAR_NUMERIC_TYPE) != U_NT_NONE);
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

}  // namespace quillant::Text
