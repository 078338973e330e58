#include "quillant/Commands/UnavailableCommand.h"

#include "quillant/Commands/Console.h"

namespace quillant {

int UnavailableCommand::run(const Arguments&) {
  Console::tell(word_ + " is not available in this build");
  return ExitCode::failure;
}

}  // namespace quillant
