#include "Linux/Desktop/CallbackHandOver.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "Core/Error.h"
#include "Linux/Desktop/CallbackSocket.h"
#include "Linux/Desktop/UserSocket.h"
#include "QuillantCloud/QuillantConfig.h"

namespace quillant::CallbackHandOver {

namespace {

constexpr int failureExitCode = 70;

bool isCallback(std::string_view word) {
  return word.starts_with(std::string(QuillantConfig::callbackScheme) + ":");
}

}  // namespace

bool shouldRun(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 && isCallback(arguments[1]);
}

int run(const std::vector<std::string>& arguments) {
  try {
    if (UserSocket::send(CallbackSocket::path(), arguments.at(1))) return 0;
    std::fputs("quillant: no sign-in is waiting for this address — run `quillant login`\n", stderr);
  } catch (const Error& error) {
    std::fprintf(stderr, "quillant: the sign-in cannot be reached: %s\n", error.what());
  }
  return failureExitCode;
}

void eraseFromArguments(int count, char** arguments) {
  for (int index = 1; index < count; ++index)
    if (isCallback(arguments[index])) explicit_bzero(arguments[index], std::strlen(arguments[index]));
}

}  // namespace quillant::CallbackHandOver
