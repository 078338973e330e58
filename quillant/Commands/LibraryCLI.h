#pragma once

#include "quillant/Commands/Command.h"

namespace quillant {

/// "import" and "projects": the library, from outside the desktop.
class LibraryCLI : public Command {
 public:
  bool shouldRun(const Arguments& arguments) const override {
    return claims(arguments, {"import", "projects"});
  }
  int run(const Arguments& arguments) override;

  static const char* const usage;
};

}  // namespace quillant
