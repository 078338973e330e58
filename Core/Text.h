#pragma once

#include <string>
#include <string_view>

namespace quillant::Text {

/// The text without the white space and new lines around it, Unicode's included. Bytes that are not UTF-8
/// count as letters.
std::string_view trimmed(std::string_view text);
/// In lower case, by the rules of no language in particular. Bytes that are not UTF-8 become U+FFFD.
std::string lowercased(std::string_view text);

}  // namespace quillant::Text
