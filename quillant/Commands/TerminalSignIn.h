#pragma once

#include <unistd.h>

#include "QuillantCloud/WebAuthenticating.h"

namespace quillant {

/// Leads the user through a page by the terminal: tells the address, and has the callback pasted, unseen. An
/// empty line, and the input's end, count as giving up.
class TerminalSignIn : public WebAuthenticating {
 public:
  enum class Browser {
    none,    ///< The user opens the page, on whichever machine.
    opened,  ///< One is opened on this desktop too, and may well come back by itself.
  };

  /// `input` is not closed.
  explicit TerminalSignIn(Browser browser, int input = STDIN_FILENO) : browser_(browser), input_(input) {}

  Task<std::optional<std::string>> authenticate(std::string url, std::string callbackScheme) override;

 private:
  Browser browser_;
  int input_;
};

}  // namespace quillant
