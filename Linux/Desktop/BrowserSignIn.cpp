#include "Linux/Desktop/BrowserSignIn.h"

#include <algorithm>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/multiple_exceptions.hpp>
#include <system_error>
#include <utility>

#include "Core/AtomicFile.h"
#include "Linux/Desktop/CallbackScheme.h"
#include "Linux/Desktop/CallbackSocket.h"
#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Desktop/HelperProgram.h"

namespace quillant {

namespace {

using Kind = WebAuthenticationError::Kind;

WebAuthenticationError cancelled() {
  return {Kind::cancelled, "the sign-in was cancelled"};
}

/// Opens the browser, and waits for as long as a callback is worth waiting for. Returns why no longer.
Task<WebAuthenticationError> openAndLoseHope(std::string url, std::chrono::milliseconds timeLimit) {
  if (!url.starts_with("https://") && !url.starts_with("http://"))
    co_return WebAuthenticationError(Kind::presentation, "the sign-in page has no web address");
  HelperProgram::Launch launch;
  launch.command = {"xdg-open", url};
  launch.timeLimit = std::min(launch.timeLimit, timeLimit);
  launch.whenLate = HelperProgram::WhenLate::letRun;
  const auto ending = co_await HelperProgram::run(std::move(launch));
  if (ending == HelperProgram::Ending::missing)
    co_return WebAuthenticationError(Kind::presentation, "xdg-open is not installed");
  if (ending == HelperProgram::Ending::failed)
    co_return WebAuthenticationError(Kind::presentation, "no browser could be opened");
  const bool timePassed = co_await sleepFor(timeLimit);
  if (!timePassed) co_return cancelled();
  co_return WebAuthenticationError(Kind::timedOut, "nobody finished signing in within the time for it");
}

class Page : public WebAuthenticating {
 public:
  explicit Page(BrowserSignIn::Options options) : options_(std::move(options)) {}

  Task<std::optional<std::string>> authenticate(std::string url, std::string callbackScheme) override {
    return session(options_, std::move(url), std::move(callbackScheme));
  }

 private:
  static Task<std::optional<std::string>> session(BrowserSignIn::Options options, std::string url,
                                                  std::string scheme) {
    using asio::experimental::awaitable_operators::operator||;
    if (DesktopSession::displayServer() == DesktopSession::DisplayServer::none)
      throw WebAuthenticationError(Kind::presentation, "there is no desktop here to open a browser on");
    try {
      CallbackSocket socket(co_await asio::this_coro::executor);
      if (options.program.empty()) options.program = std::filesystem::read_symlink("/proc/self/exe");
      co_await CallbackScheme::install(scheme, options.program);
      // The browser may stay in the foreground, so that opening it ends after its callback.
      auto first = co_await (socket.receive(scheme) || openAndLoseHope(std::move(url), options.timeLimit));
      if (auto* error = std::get_if<1>(&first)) throw std::move(*error);
      co_return std::get<0>(std::move(first));
    } catch (const FileError& error) {
      throw WebAuthenticationError(Kind::failed, error.description());
    } catch (const asio::multiple_exceptions&) {
      // Both waits were broken off.
      throw cancelled();
    } catch (const std::system_error& error) {
      if (error.code() == asio::error::operation_aborted) throw cancelled();
      throw WebAuthenticationError(Kind::failed, error.what());
    }
  }

  BrowserSignIn::Options options_;
};

}  // namespace

std::unique_ptr<WebAuthenticating> BrowserSignIn::make(Options options) {
  return std::make_unique<Page>(std::move(options));
}

}  // namespace quillant
