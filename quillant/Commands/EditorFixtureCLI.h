#pragma once

#include "quillant/Commands/Command.h"

namespace quillant {

/// "author-e1-fixture": a made-up recording, to try the editor with.
class EditorFixtureCLI : public Command {
 public:
  bool shouldRun(const Arguments& arguments) const override {
    return claims(arguments, {"author-e1-fixture"});
  }
  int run(const Arguments& arguments) override;
};

}  // namespace quillant
