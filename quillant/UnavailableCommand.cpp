#include "quillant/UnavailableCommand.h"

#include "quillant/Console.h"

namespace quillant {

int UnavailableCommand::run(const Arguments&) {
  Console::writeError("quillant: " + word_ + " is not available in this build\n");
  return ExitCode::failure;
}

}  // namespace quillant
