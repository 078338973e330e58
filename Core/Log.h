#pragma once

#include <fmt/format.h>
#include <functional>
#include <string_view>
#include <utility>

/// The application's log: one line a message. Safe on any thread.
namespace quillant::Log {

using Sink = std::function<void(std::string_view line)>;

/// Writes "[Quillant] " and the text as one line to standard error, or to the sink.
void write(std::string_view text);

template <class... Arguments>
void write(fmt::format_string<Arguments...> format,
           Arguments&&... arguments) requires(sizeof...(Arguments) > 0) {
  write(std::string_view(fmt::format(format, std::forward<Arguments>(arguments)...)));
}

/// Sends the lines elsewhere; an empty sink means standard error again.
void setSink(Sink sink);

}  // namespace quillant::Log
