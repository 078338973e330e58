#pragma once

#include "quillant/Commands/Command.h"

namespace quillant {

/// Says how the program is used, and which version it is.
class HelpCLI : public Command {
 public:
  bool shouldRun(const Arguments& arguments) const override;
  int run(const Arguments& arguments) override;
};

}  // namespace quillant
