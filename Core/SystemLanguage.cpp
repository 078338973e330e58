#include "Core/SystemLanguage.h"

#include <array>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "Core/Environment.h"

namespace quillant {

SystemLanguage SystemLanguage::current() {
  for (const char* variable : std::array{"LC_ALL", "LC_MESSAGES", "LANG"}) {
    auto value = Environment::value(variable);
    if (value.empty()) continue;
    value.resize(std::min(value.find_first_of(".@"), value.size()));
    if (value == "C" || value == "POSIX") break;
    UErrorCode status = U_ZERO_ERROR;
    auto tag = icu::Locale(value.c_str()).toLanguageTag<std::string>(status);
    if (U_SUCCESS(status) && tag != "und") return {std::move(tag)};
  }
  return {"en-US"};
}

std::string SystemLanguage::language() const {
  return tag.substr(0, tag.find('-'));
}

std::string SystemLanguage::displayName() const {
  UErrorCode status = U_ZERO_ERROR;
  const auto locale = icu::Locale::forLanguageTag(tag, status);
  icu::UnicodeString name;
  if (U_SUCCESS(status)) locale.getDisplayName(locale, name);
  std::string result;
  name.toUTF8String(result);
  return result.empty() ? tag : result;
}

}  // namespace quillant
