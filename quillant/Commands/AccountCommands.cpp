#include "quillant/Commands/AccountCommands.h"

#include <fmt/format.h>
#include <utility>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/AuthFlow.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/Console.h"

namespace quillant::AccountCommands {

std::string signedInLine(const Me& me) {
  return fmt::format("Signed in as {} ({}) [profile: {}]", me.email, me.plan, QuillantConfig::scope());
}

int exitCode(const Error& error) {
  return APIError::isTokenExpired(error) ? ExitCode::noPermission : ExitCode::failure;
}

Task<int> login(CloudServices services) {
  try {
    const auto me = co_await AuthFlow::login(*services.signInPage, *services.secrets, services.http);
    Console::print(signedInLine(me));
    co_return ExitCode::success;
  } catch (const Error& error) {
    Console::writeError(fmt::format("quillant: login failed: {}\n", error.description()));
    co_return exitCode(error);
  }
}

Task<int> logout(CloudServices services) {
  try {
    co_await TokenStore::clear(*services.secrets);
    Console::print(fmt::format("Signed out [profile: {}]", QuillantConfig::scope()));
    co_return ExitCode::success;
  } catch (const TokenStore::StoreError& error) {
    Console::writeError(fmt::format("quillant: logout failed: {}\n", error.description()));
    co_return ExitCode::failure;
  }
}

Task<int> whoami(CloudServices services) {
  const auto token = co_await TokenStore::load(*services.secrets);
  if (!token) {
    Console::writeError(fmt::format("quillant: not signed in [profile: {}] — run `quillant login`\n",
                                    QuillantConfig::scope()));
    co_return ExitCode::noPermission;
  }
  try {
    Console::print(signedInLine(co_await AuthFlow::confirm(*token, services.http)));
    co_return ExitCode::success;
  } catch (const APIError& error) {
    Console::writeError(
        error.isTokenExpired()
            ? fmt::format("quillant: session expired [profile: {}] — run `quillant login` again\n",
                          QuillantConfig::scope())
            : fmt::format("quillant: whoami failed: {}\n", error.description()));
    co_return exitCode(error);
  }
}

}  // namespace quillant::AccountCommands
