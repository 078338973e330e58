#pragma once

#include "Linux/Desktop/CallbackHandOver.h"
#include "quillant/Commands/Command.h"

namespace quillant {

/// What the desktop starts the program for at the end of a sign-in: gives the callback's URL, its first word,
/// to the process that waits for it.
class SignInCallbackCommand : public Command {
 public:
  bool shouldRun(const Arguments& arguments) const override { return CallbackHandOver::shouldRun(arguments); }
  int run(const Arguments& arguments) override { return CallbackHandOver::run(arguments); }
};

}  // namespace quillant
