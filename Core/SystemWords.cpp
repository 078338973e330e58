#include "Core/SystemWords.h"

#include <fmt/format.h>

namespace quillant {

std::string SystemWords::whereToAllow(std::string_view thing, std::string_view separator) {
  return fmt::format("{1}{0}Privacy & Security{0}{2}", separator, settings, thing);
}

}  // namespace quillant
