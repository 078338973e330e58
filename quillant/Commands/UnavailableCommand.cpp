#include "quillant/Commands/UnavailableCommand.h"

#include "quillant/Commands/Console.h"

namespace quillant {

int UnavailableCommand::run(const Arguments&) {
  Console::writeError("quillant: " + word_ + " is not available in this build\n");
  return ExitCode::failure;
}

}  // namespace quillant
