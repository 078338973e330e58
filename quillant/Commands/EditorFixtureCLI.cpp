#include "quillant/Commands/EditorFixtureCLI.h"

#include <exception>
#include <fmt/format.h>

#include "quillant/Commands/Console.h"
#include "quillant/Commands/FixtureRecording.h"

namespace quillant {

int EditorFixtureCLI::run(const Arguments& arguments) {
  const bool namesFolder = arguments.size() == 4 && arguments[2] == "--dir";
  if (arguments.size() != 2 && !namesFolder) {
    Console::writeError("usage: quillant author-e1-fixture [--dir <directory>]\n");
    return ExitCode::usage;
  }
  try {
    for (const auto& file : FixtureRecording::write(pathArgument(namesFolder ? arguments[3] : ".")))
      Console::print("quillant: wrote " + file.lexically_normal().string());
    return ExitCode::success;
  } catch (const std::exception& error) {
    Console::writeError(fmt::format("quillant: {}\n", error.what()));
    return ExitCode::failure;
  }
}

}  // namespace quillant
