#pragma once

#include "quillant/Commands/Command.h"

namespace quillant {

/// Renders every state of the panel to pictures under build/popover-shots.
class PopoverRenderCLI : public Command {
 public:
  bool shouldRun(const Arguments& arguments) const override { return claims(arguments, {"render-popover"}); }
  int run(const Arguments& arguments) override;
};

}  // namespace quillant
