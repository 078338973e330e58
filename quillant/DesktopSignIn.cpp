#include "quillant/DesktopSignIn.h"

#include <asio/experimental/awaitable_operators.hpp>
#include <utility>
#include <variant>

namespace quillant {

namespace {

/// How the way through a page ended, as a value: of two tasks the first to return counts, not the first to
/// throw.
struct Outcome {
  std::optional<std::string> callback;
  std::optional<WebAuthenticationError> error;
};

Task<Outcome> outcome(std::shared_ptr<WebAuthenticating> page, std::string url, std::string scheme) {
  Outcome result;
  try {
    result.callback = co_await page->authenticate(std::move(url), std::move(scheme));
  } catch (const WebAuthenticationError& error) {
    result.error = error;
  }
  co_return result;
}

/// The same, but that a page which cannot be shown is left out: it ends only when the other one has.
Task<Outcome> outcomeIfShown(std::shared_ptr<WebAuthenticating> page, std::string url, std::string scheme) {
  auto result = co_await outcome(std::move(page), std::move(url), std::move(scheme));
  if (result.error && result.error->kind() == WebAuthenticationError::Kind::presentation)
    co_await sleepFor(std::chrono::nanoseconds::max());
  co_return result;
}

}  // namespace

Task<std::optional<std::string>> DesktopSignIn::authenticate(std::string url, std::string callbackScheme) {
  using asio::experimental::awaitable_operators::operator||;
  auto first =
      co_await (outcomeIfShown(browser_, url, callbackScheme) || outcome(terminal_, url, callbackScheme));
  auto& result = first.index() == 0 ? std::get<0>(first) : std::get<1>(first);
  if (result.error) throw std::move(*result.error);
  co_return std::move(result.callback);
}

}  // namespace quillant
