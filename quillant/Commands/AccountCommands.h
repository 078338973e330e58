#pragma once

#include <string>

#include "Core/Error.h"
#include "Core/Task.h"
#include "QuillantCloud/Me.h"
#include "quillant/CloudServices.h"

/// The commands about who is signed in. Each returns the exit code.
namespace quillant::AccountCommands {

Task<int> login(CloudServices services);
Task<int> logout(CloudServices services);
Task<int> whoami(CloudServices services);

/// "Signed in as ada@example.com (free) [profile: prod]".
std::string signedInLine(const Me& me);
/// The exit code of a command that ended with `error`.
int exitCode(const Error& error);

}  // namespace quillant::AccountCommands
