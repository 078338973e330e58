#pragma once

#include <string_view>

/// What a command tells its user, control characters other than a line's end replaced: whatever a server
/// says, it does not reach the terminal as a command. The two streams are not ordered against each other.
namespace quillant::Console {

/// `line` and a new line, to standard output.
void print(std::string_view line);
/// `text` as it stands, to standard error, at once.
void writeError(std::string_view text);
/// "quillant: ", `text` and a new line, to standard error.
void tell(std::string_view text);

}  // namespace quillant::Console
