#pragma once

#include <optional>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/Me.h"
#include "quillant/CloudServices.h"

/// The commands about who is signed in. Each returns the exit code.
namespace quillant::AccountCommands {

Task<int> login(CloudServices services);
Task<int> logout(CloudServices services);
Task<int> whoami(CloudServices services);

/// "Signed in as ada@example.com (free) [profile: prod]".
std::string signedInLine(const Me& me);
/// The exit code for a call that the service did not answer well.
int exitCode(const APIError& error);

}  // namespace quillant::AccountCommands
