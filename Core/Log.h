#pragma once

#include <fmt/format.h>
#include <string_view>
#include <utility>

/// The application's log: one line a message. Safe on any thread.
namespace quillant::Log {

/// Writes "[Quillant] " and the text as one line to standard error.
void write(std::string_view text);

template <class... Arguments>
void write(fmt::format_string<Arguments...> format,
           Arguments&&... arguments) requires(sizeof...(Arguments) > 0) {
  write(std::string_view(fmt::format(format, std::forward<Arguments>(arguments)...)));
}

}  // namespace quillant::Log
