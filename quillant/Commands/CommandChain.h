#pragma once

#include <memory>
#include <vector>

#include "quillant/Commands/Command.h"
#include "quillant/PlatformServices.h"

namespace quillant {

/// Every mode of the program, in the order in which they are asked.
class CommandChain {
 public:
  /// `services` outlive the chain.
  explicit CommandChain(PlatformServices& services);

  /// Runs the first command that claims the arguments, or the desktop application if none does.
  int run(const Arguments& arguments);

 private:
  PlatformServices& services_;
  std::vector<std::unique_ptr<Command>> commands_;
};

}  // namespace quillant
