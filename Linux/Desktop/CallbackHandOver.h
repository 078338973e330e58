#pragma once

#include <string>
#include <vector>

/// The other end of a sign-in: the process that the desktop starts with the callback's URL gives it to the
/// one that waits, and ends.
namespace quillant::CallbackHandOver {

/// Whether the first word after the program's name is a callback's URL.
bool shouldRun(const std::vector<std::string>& arguments);

/// Hands the URL over. Blocking, for seconds at most. Returns the process's exit code: 0, or 70 after a line
/// on standard error.
int run(const std::vector<std::string>& arguments);

/// Erases a callback's URL among the process's own arguments: everybody on the machine can list those. For
/// `main`, once it has taken its copy.
void eraseFromArguments(int count, char** arguments);

}  // namespace quillant::CallbackHandOver
