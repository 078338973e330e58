#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillant::SHA256 {

using Digest = std::array<std::uint8_t, 32>;

Digest of(std::string_view bytes);
/// Two lower-case digits a byte.
std::string hexadecimal(const Digest& digest);

}  // namespace quillant::SHA256
