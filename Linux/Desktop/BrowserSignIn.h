#pragma once

#include <chrono>
#include <filesystem>
#include <memory>

#include "QuillantCloud/WebAuthenticating.h"

namespace quillant::BrowserSignIn {

struct Options {
  /// What the desktop is to start with the callback: this very program, if empty.
  std::filesystem::path program;
  /// How long a user may take on the page.
  std::chrono::milliseconds timeLimit = std::chrono::minutes(10);
};

/// Leads through the page in the desktop's browser, and takes the callback from the process that the desktop
/// starts with it. Await it on a strand: a cancellation from elsewhere than where it runs could be lost.
std::unique_ptr<WebAuthenticating> make(Options options = {});

}  // namespace quillant::BrowserSignIn
