#include "quillant/Commands/CommandChain.h"

#include "quillant/Commands/CameraContentionCLI.h"
#include "quillant/Commands/CloudCLI.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/EditorCLI.h"
#include "quillant/Commands/EditorFixtureCLI.h"
#include "quillant/Commands/HeadlessCLI.h"
#include "quillant/Commands/HelpCLI.h"
#include "quillant/Commands/LibraryCLI.h"
#include "quillant/Commands/SignInCallbackCommand.h"
#include "quillant/Commands/UnavailableCommand.h"
#include "quillant/Commands/VerifyAreaCLI.h"
#include "quillant/Commands/VerifyDisplayCLI.h"

namespace quillant {

namespace {

int runDesktop() {
  Console::writeError(
      "quillant: the desktop application is not available in this build; see quillant --help\n");
  return ExitCode::failure;
}

}  // namespace

CommandChain::CommandChain(PlatformServices& services) {
  commands_.push_back(std::make_unique<HeadlessCLI>(
      [&services] { return RecordingCoordinator::make(services.captureServices()); }));
  commands_.push_back(
      std::make_unique<CloudCLI>(PlatformServices::cloudServices, PlatformServices::transcriber));
  const auto unavailable = [this](std::initializer_list<const char*> words) {
    for (const char* word : words) commands_.push_back(std::make_unique<UnavailableCommand>(word));
  };
  unavailable({"render-popover", "render-onboarding", "render-settings", "render-library"});
  commands_.push_back(std::make_unique<EditorFixtureCLI>());
  unavailable({"render-editor", "open-editor"});
  commands_.push_back(std::make_unique<VerifyDisplayCLI>(services.captureServices()));
  commands_.push_back(std::make_unique<VerifyAreaCLI>(services.captureServices()));
  unavailable({"area-overlay"});
  commands_.push_back(
      std::make_unique<CameraContentionCLI>(services.captureServices(), services.cameraBroker()));
  unavailable({"facecam-bubble-proof"});
  commands_.push_back(std::make_unique<LibraryCLI>());
  commands_.push_back(std::make_unique<EditorCLI>(PlatformServices::transcriber));
  commands_.push_back(std::make_unique<SignInCallbackCommand>());
  commands_.push_back(std::make_unique<HelpCLI>());
}

int CommandChain::run(const Arguments& arguments) {
  for (const auto& command : commands_)
    if (command->shouldRun(arguments)) return command->run(arguments);
  return runDesktop();
}

}  // namespace quillant
