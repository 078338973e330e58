#include "Core/Log.h"

#include <cstdio>

namespace quillant::Log {

void write(std::string_view text) {
  const auto line = fmt::format("[Quillant] {}\n", text);
  std::fwrite(line.data(), 1, line.size(), stderr);  // whole: a stream has a lock of its own
}

}  // namespace quillant::Log
