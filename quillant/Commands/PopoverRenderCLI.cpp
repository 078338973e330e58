#include "quillant/Commands/PopoverRenderCLI.h"

#include "Core/Error.h"
#include "quillant/Commands/Console.h"
#include "quillant/Views/PopoverPictures.h"

namespace quillant {

int PopoverRenderCLI::run(const Arguments& arguments) {
  if (arguments.size() > 2) {
    Console::tell("unknown render-popover option " + arguments[2]);
    return ExitCode::usage;
  }
  try {
    PopoverPictures::write(pathArgument("build/popover-shots"), [](const std::filesystem::path& file) {
      Console::print("quillant: wrote " + file.string());
    });
    return ExitCode::success;
  } catch (const Error& error) {
    Console::tell(error.description());
    return ExitCode::failure;
  }
}

}  // namespace quillant
