#pragma once

#include <string>

namespace quillant {

/// The language that the user's system speaks, from the environment.
struct SystemLanguage {
  std::string tag;  ///< BCP 47, as "en-US".

  /// "en-US" where the environment says none.
  static SystemLanguage current();
  /// "en" of "en-US".
  std::string language() const;
  /// How it calls itself in its own words, as "English (United States)"; the tag where nothing is known of
  /// it.
  std::string displayName() const;
};

}  // namespace quillant
