#include "Core/Text.h"

#include <cstdint>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
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

std::string lowercased(std::string_view text) {
  std::string result;
  icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())})
      .toLower(icu::Locale::getRoot())
      .toUTF8String(result);
  return result;
}

}  // namespace quillant::Text
