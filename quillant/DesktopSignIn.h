#pragma once

#include <memory>
#include <utility>

#include "QuillantCloud/WebAuthenticating.h"

namespace quillant {

/// Leads through a page in the browser and on the terminal at once, and takes the callback from whichever has
/// it first: not every browser can start another program. Where no browser opens the terminal goes on alone;
/// to give up on either is to give up.
class DesktopSignIn : public WebAuthenticating {
 public:
  DesktopSignIn(std::shared_ptr<WebAuthenticating> browser, std::shared_ptr<WebAuthenticating> terminal)
      : browser_(std::move(browser)), terminal_(std::move(terminal)) {}

  Task<std::optional<std::string>> authenticate(std::string url, std::string callbackScheme) override;

 private:
  std::shared_ptr<WebAuthenticating> browser_;
  std::shared_ptr<WebAuthenticating> terminal_;
};

}  // namespace quillant
