#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace quillant {

/// Orders texts as people sort a list, by the rules of a language; upper and lower case count the same.
class TextCollator {
 public:
  /// `locale` is an ICU name as "sv_SE"; empty means the user's.
  explicit TextCollator(const std::string& locale = {});
  ~TextCollator();
  TextCollator(const TextCollator&) = delete;
  TextCollator& operator=(const TextCollator&) = delete;

  bool isBefore(std::string_view first, std::string_view second) const;

 private:
  struct Rules;
  std::unique_ptr<Rules> rules_;
};

}  // namespace quillant
