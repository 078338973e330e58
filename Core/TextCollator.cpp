#include "Core/TextCollator.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>

#include "Core/Text.h"

namespace quillant {

struct TextCollator::Rules {
  std::unique_ptr<icu::Collator> collator;  ///< Null where ICU has no rules at all.
};

namespace {

/// Where nobody has chosen a language the system's is POSIX, which sorts by bytes as only programs do.
icu::Locale placeOf(const std::string& locale) {
  const auto place = locale.empty() ? icu::Locale::getDefault() : icu::Locale(locale.c_str());
  return std::string_view(place.getVariant()) == "POSIX" ? icu::Locale::getRoot() : place;
}

}  // namespace

TextCollator::TextCollator(const std::string& locale) : rules_(std::make_unique<Rules>()) {
  UErrorCode status = U_ZERO_ERROR;
  rules_->collator.reset(icu::Collator::createInstance(placeOf(locale), status));
  if (rules_->collator) rules_->collator->setStrength(icu::Collator::SECONDARY);
}

TextCollator::~TextCollator() = default;

bool TextCollator::isBefore(std::string_view first, std::string_view second) const {
  if (!rules_->collator) return Text::lowercased(first) < Text::lowercased(second);
  const auto piece = [](std::string_view text) {
    return icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size()));
  };
  UErrorCode status = U_ZERO_ERROR;
  return rules_->collator->compareUTF8(piece(first), piece(second), status) == UCOL_LESS;
}

}  // namespace quillant
