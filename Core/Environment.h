#pragma once

#include <cstdlib>
#include <string>

namespace quillant::Environment {

/// The variable's value; empty if it is not set.
inline std::string value(const char* name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here sets a variable.
  const char* text = std::getenv(name);
  return text == nullptr ? std::string() : std::string(text);
}

}  // namespace quillant::Environment
