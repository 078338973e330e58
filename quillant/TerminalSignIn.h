#pragma once

#include <unistd.h>

#include "QuillantCloud/WebAuthenticating.h"

namespace quillant {

/// Leads the user through a page where no browser can be opened: tells the address, and has the callback
/// pasted, unseen. An empty line, and the input's end, count as giving up.
class TerminalSignIn : public WebAuthenticating {
 public:
  /// `input` is not closed.
  explicit TerminalSignIn(int input = STDIN_FILENO) : input_(input) {}

  Task<std::optional<std::string>> authenticate(std::string url, std::string callbackScheme) override;

 private:
  int input_;
};

}  // namespace quillant
