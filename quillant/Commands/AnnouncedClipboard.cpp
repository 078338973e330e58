#include "quillant/Commands/AnnouncedClipboard.h"

#include <exception>
#include <fmt/format.h>

#include "quillant/Commands/Console.h"

namespace quillant {

Task<bool> AnnouncedClipboard::write(std::string link) {
  bool copied = false;
  try {
    copied = co_await clipboard_->write(link);
  } catch (const std::exception&) {
    // It is told all the same.
  }
  if (copied)
    Console::print(
        fmt::format("🔗 Link copied to clipboard{}: {}", remark_.empty() ? "" : " (" + remark_ + ")", link));
  else
    Console::print(fmt::format("🔗 Link (no clipboard here to copy it to{}): {}",
                               remark_.empty() ? "" : "; " + remark_, link));
  co_return copied;
}

}  // namespace quillant
