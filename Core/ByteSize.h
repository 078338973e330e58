#pragma once

#include <cstdint>
#include <string>

/// Sizes of files as people read them.
namespace quillant::ByteSize {

/// The file-size style: decimal units, whole kilobytes, one decimal for megabytes and two from gigabytes on,
/// no trailing zeros: "Zero KB", "1 byte", "999 bytes", "1 KB", "1.5 MB", "2.15 GB". The decimal separator is
/// that of `locale` (an ICU name as "de_DE"; empty means the user's).
std::string fileSize(std::int64_t bytes, const std::string& locale = {});

}  // namespace quillant::ByteSize
