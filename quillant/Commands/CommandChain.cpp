#include "quillant/Commands/CommandChain.h"

#include "quillant/Commands/CameraContentionCLI.h"
#include "quillant/Commands/CloudCLI.h"
#include "quillant/Commands/EditorCLI.h"
#include "quillant/Commands/EditorFixtureCLI.h"
#include "quillant/Commands/HeadlessCLI.h"
#include "quillant/Commands/HelpCLI.h"
#include "quillant/Commands/LibraryCLI.h"
#include "quillant/Commands/PopoverRenderCLI.h"
#include "quillant/Commands/SignInCallbackCommand.h"
#include "quillant/Commands/UnavailableCommand.h"
#include "quillant/Commands/VerifyAreaCLI.h"
#include "quillant/Commands/VerifyDisplayCLI.h"
#include "quillant/DesktopApplication.h"

namespace quillant {

CommandChain::CommandChain(PlatformServices& services) : services_(services) {
  commands_.push_back(std::make_unique<HeadlessCLI>(
      [&services] { return RecordingCoordinator::make(services.captureServices()); }));
  commands_.push_back(
      std::make_unique<CloudCLI>(PlatformServices::cloudServices, PlatformServices::transcriber));
  const auto unavailable = [this](std::initializer_list<const char*> words) {
    for (const char* word : words) commands_.push_back(std::make_unique<UnavailableCommand>(word));
  };
  commands_.push_back(std::make_unique<PopoverRenderCLI>());
  unavailable({"render-onboarding", "render-settings", "render-library"});
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
  std::vector<std::filesystem::path> files;
  for (std::size_t index = 1; index < arguments.size(); ++index)
    files.push_back(pathArgument(arguments[index]));
  return DesktopApplication::run(services_, files);
}

}  // namespace quillant
