#include "quillant/PlatformServices.h"

#include <algorithm>
#include <unistd.h>

#include "Core/SystemLanguage.h"
#include "Linux/Camera/CameraDevices.h"
#include "Linux/Desktop/BrowserSignIn.h"
#include "Linux/Desktop/DesktopClipboard.h"
#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Http/CurlHttpClient.h"
#include "Linux/Secrets/LinuxSecretStore.h"
#include "Linux/Sound/MicDevices.h"
#include "Linux/Speech/InstalledSpeech.h"
#include "Linux/Speech/PocketSphinxRecognizer.h"
#include "QuillantCloud/QuillantConfig.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/TerminalSignIn.h"
#include "quillant/Commands/VideoFile.h"
#include "quillant/DesktopSignIn.h"

namespace quillant {

namespace {

std::shared_ptr<WebAuthenticating> makeSignInPage() {
  if (DesktopSession::displayServer() == DesktopSession::DisplayServer::none)
    return std::make_shared<TerminalSignIn>(TerminalSignIn::Browser::none);
  // A background job that reads from its terminal is stopped by it.
  const bool hasTerminal = ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
  if (!hasTerminal) return BrowserSignIn::make();
  return std::make_shared<DesktopSignIn>(BrowserSignIn::make(),
                                         std::make_shared<TerminalSignIn>(TerminalSignIn::Browser::opened));
}

}  // namespace

CaptureServices PlatformServices::captureServices() {
  return {.screen = &screen_, .sound = &sound_, .camera = &camera_};
}

std::vector<MicOption> PlatformServices::microphones() {
  const auto devices = sound_.devices();
  std::vector<MicOption> options;
  for (const auto& source : MicDevices::available(devices)) options.push_back({source.id, source.name});
  if (const auto preferred = MicDevices::resolve(devices, std::nullopt))
    std::ranges::stable_partition(options,
                                  [&](const MicOption& option) { return option.id == preferred->id; });
  return options;
}

std::vector<CameraOption> PlatformServices::cameras() {
  std::vector<CameraOption> options;
  for (const auto& device : CameraDevices::available()) options.push_back({device.id, device.name});
  return options;
}

CloudServices PlatformServices::cloudServices() {
  return {.http = CurlHttpClient::make(),
          .secrets = LinuxSecretStore::make({.folder = QuillantConfig::supportDirectory() / "secrets",
                                             .notice = [](const std::string& line) { Console::tell(line); }}),
          .signInPage = makeSignInPage(),
          .clipboard = DesktopClipboard::make(),
          .probe = VideoFile::probe,
          .makePoster = VideoFile::makePoster};
}

Transcriber PlatformServices::transcriber() {
  return Transcriber(
      {.modern = InstalledSpeech::find(InstalledSpeech::Places::ofUser(), SystemLanguage::current()),
       .legacy = std::make_shared<PocketSphinxRecognizer>(QUILLANT_SPEECH_MODELS)});
}

}  // namespace quillant
