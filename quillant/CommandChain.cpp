#include "quillant/CommandChain.h"

#include "quillant/CloudCLI.h"
#include "quillant/Console.h"
#include "quillant/HeadlessCLI.h"
#include "quillant/HelpCLI.h"
#include "quillant/SignInCallbackCommand.h"
#include "quillant/UnavailableCommand.h"

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
  commands_.push_back(std::make_unique<CloudCLI>(PlatformServices::cloudServices));
  for (const char* word : {"render-popover", "render-onboarding", "render-settings", "render-library",
                           "author-e1-fixture", "render-editor", "open-editor", "verify-display",
                           "verify-area", "area-overlay", "facecam-contention", "facecam-bubble-proof"})
    commands_.push_back(std::make_unique<UnavailableCommand>(word));
  commands_.push_back(std::make_unique<SignInCallbackCommand>());
  commands_.push_back(std::make_unique<HelpCLI>());
}

int CommandChain::run(const Arguments& arguments) {
  for (const auto& command : commands_)
    if (command->shouldRun(arguments)) return command->run(arguments);
  return runDesktop();
}

}  // namespace quillant
