#pragma once

#include "quillant/Commands/Command.h"

namespace quillant {

/// "export" and "frame": what is made of an edit.
class EditorCLI : public Command {
 public:
  bool shouldRun(const Arguments& arguments) const override { return claims(arguments, {"export", "frame"}); }
  int run(const Arguments& arguments) override;
};

}  // namespace quillant
