#include "quillant/DesktopApplication.h"

#include <optional>
#include <utility>

#include "Core/Log.h"
#include "Editor/Project/ProjectLibrary.h"
#include "KeyboardShortcuts/KeyboardShortcut.h"
#include "KeyboardShortcuts/ShortcutPolicy.h"
#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Desktop/HelperProgram.h"
#include "Linux/Desktop/LoginItem.h"
#include "Linux/Desktop/SingleInstance.h"
#include "Linux/Shortcuts/X11GlobalShortcut.h"
#include "QuillantCloud/QuillantConfig.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/Console.h"
#include "quillant/DesktopPermissions.h"
#include "quillant/DisplayThumbnail.h"
#include "quillant/LaunchResume.h"
#include "quillant/Models/LibraryRecoverySweep.h"
#include "quillant/Models/PreferenceStore.h"
#include "quillant/Models/RecorderModel.h"
#include "quillant/Models/RecordingsLocation.h"
#include "quillant/Views/DesktopLoop.h"
#include "quillant/Views/DesktopPresenter.h"
#include "quillant/Views/MenuBarController.h"

namespace quillant::DesktopApplication {

namespace {

namespace fs = std::filesystem;

/// In the desktop's own program for folders.
void openFolder(fs::path folder) {
  startDetached(makeStrand(), [](fs::path shown) -> Task<> {
    HelperProgram::Launch launch;
    launch.command = {"xdg-open", shown.string()};
    launch.whenLate = HelperProgram::WhenLate::letRun;
    const auto ending = co_await HelperProgram::run(std::move(launch));
    if (ending != HelperProgram::Ending::succeeded && ending != HelperProgram::Ending::late)
      Log::write("the folder cannot be shown: {}", shown.string());
  }(std::move(folder)));
}

/// All of the application that outlives its loop's last turn, in the order in which it is made.
class Application {
 public:
  Application(PlatformServices& platform, DesktopLoop& loop)
      : platform_(platform), loop_(loop), permissions_(platform.captureServices()) {
    model_ = RecorderModel::make(services(), callbacks());
    menuBar_.emplace(model_, menuActions());
  }

  void start(const std::vector<fs::path>& files) {
    startDetached(loop_.executor(), registerShortcut(this));
    startDetached(makeStrand(), resumeUploads(projects_));
    startDetached(loop_.executor(), LibraryRecoverySweep::run(projects_, defaultDirectory_, {}));
    open(files);
  }

  /// What a later start hands over: its files, or else the wish to see the panel.
  void open(const std::vector<fs::path>& files) {
    if (files.empty() && isStarted_) menuBar_->showPanel();
    isStarted_ = true;
    for (const auto& file : files)
      if (file.extension() == ".quillant")
        startDetached(loop_.executor(), import(projects_, file, defaultDirectory_));
  }

 private:
  RecorderModel::Services services() {
    const auto main = loop_.executor();
    const auto capture = platform_.captureServices();
    return {.mainThread = main,
            .coordinator = RecordingCoordinator::make(capture),
            .projects = projects_,
            .preferences = preferences_,
            .disk = DiskSpaceMonitor::make(main, {.directory = defaultDirectory_}),
            .sources = sources_,
            .mic = MicMonitor::make({.devices = [this] { return platform_.microphones(); },
                                     .open =
                                         [capture](const auto& id, SoundService::BufferCallback onBuffer) {
                                           return capture.sound->makeMicrophone(id, std::move(onBuffer));
                                         }}),
            .camera = CameraPreview::make(platform_.cameraBroker(), PlatformServices::cameras),
            .permissions = &permissions_,
            .presenter = &presenter_,
            .defaultDirectory = defaultDirectory_};
  }

  RecorderModel::Callbacks callbacks() {
    const auto showFolder = [this] { openFolder(defaultDirectory_); };
    return {.dismissPopover = [this] { menuBar_->hidePanel(); },
            .onInterrupted = [this](const Toast& toast) { menuBar_->notify(toast); },
            .onWarned = [this](const Toast& toast) { menuBar_->notify(toast); },
            .onShowLibrary = showFolder,
            // The recording is shown where it lies.
            .openEditor =
                [](const RecordingHandoffFields& recording, const std::string&) {
                  openFolder(fs::path(recording.screenVideoPath).parent_path());
                },
            .manageStorage = showFolder};
  }

  MenuBarController::Actions menuActions() {
    return {.quit = [this] { startDetached(loop_.executor(), quit(model_)); },
            .startsAtLogin = LoginItem::isEnabled,
            .setStartsAtLogin =
                [](bool on) {
                  try {
                    on ? LoginItem::enable(fs::read_symlink("/proc/self/exe")) : LoginItem::disable();
                  } catch (const Error& error) {
                    Log::write("the start at login cannot be set: {}", error.description());
                  }
                }};
  }

  /// What is recorded is handed on first.
  static Task<> quit(std::shared_ptr<RecorderModel> model) {
    co_await model->finish();
    DesktopLoop::quit();
  }

  static Task<> registerShortcut(Application* self) {
    const auto wanted = KeyboardShortcut::chosen(self->preferences_->value().shortcut);
    const auto outcome = co_await ShortcutPolicy::use(*self->shortcut_, wanted);
    if (!outcome.problem.empty())
      self->menuBar_->notify({.title = "The shortcut does not work", .text = outcome.problem});
  }

  static Task<> resumeUploads(ProjectLibrary projects) {
    try {
      LaunchResume::Environment environment{.library = std::move(projects),
                                            .services = PlatformServices::cloudServices(),
                                            .log = [](const std::string& line) { Log::write(line); }};
      co_await LaunchResume::run(std::move(environment));
    } catch (const std::exception&) {
      Log::write("uploads are not resumed: {}", describe(std::current_exception()));
    }
  }

  static Task<> import(ProjectLibrary projects, fs::path bundle, fs::path mediaFolder) {
    try {
      co_await projects.importProject(bundle, std::move(mediaFolder));
    } catch (const std::exception&) {
      Log::write("failed to import {}", bundle.filename().string());
    }
  }

  PlatformServices& platform_;
  DesktopLoop& loop_;
  bool isStarted_ = false;
  const fs::path defaultDirectory_ = RecordingsLocation::directory(DesktopSession::filmsFolder());
  const ProjectLibrary projects_{QuillantConfig::projectsDirectory()};
  const std::shared_ptr<PreferenceStore> preferences_ =
      std::make_shared<PreferenceStore>(DesktopSession::configFolder() / "Quillant" / "preferences.json");
  const std::shared_ptr<SourceEnumerator> sources_ = SourceEnumerator::make(
      loop_.executor(), {.content = [this] { return platform_.captureServices().screen->content(); },
                         .thumbnail =
                             [this](std::uint32_t display) {
                               return DisplayThumbnail::take(*platform_.captureServices().screen, display);
                             }});
  DesktopPermissions permissions_;
  DesktopPresenter presenter_{[this](std::uint32_t id) {
    for (const auto& display : sources_->displays())
      if (display.id == id) return display.name;
    return std::string();
  }};
  std::shared_ptr<RecorderModel> model_;
  std::optional<MenuBarController> menuBar_;
  const std::unique_ptr<GlobalShortcutRegistering> shortcut_ = X11GlobalShortcut::make(
      {}, [this] { asio::post(loop_.executor(), [model = model_] { model->toggleRecord(); }); });
};

int refuse(const std::string& problem) {
  Console::tell(problem + " (see quillant --help for what works without a desktop)");
  return ExitCode::failure;
}

}  // namespace

int run(PlatformServices& platform, const std::vector<fs::path>& files) {
  try {
    platform.captureServices().screen->content();
  } catch (const ScreenError& error) {
    // One that cannot be recorded shows windows all the same, and the panel says why.
    if (error.kind() != ScreenError::Kind::notRecordable) return refuse(error.description());
  }
  try {
    DesktopLoop loop(QUILLANT_VERSION);
    std::optional<Application> application;
    const auto instance = SingleInstance::claim(loop.executor(), [&](const SingleInstance::Words& words) {
      application->open(std::vector<fs::path>(words.begin(), words.end()));
    });
    if (!instance) {
      SingleInstance::Words words;
      for (const auto& file : files) words.push_back(file.string());
      if (!SingleInstance::tell(words)) return refuse("Quillant runs already, and does not answer");
      return ExitCode::success;
    }
    application.emplace(platform, loop);
    application->start(files);
    loop.run();
    return ExitCode::success;
  } catch (const Error& error) {
    return refuse(error.description());
  }
}

}  // namespace quillant::DesktopApplication
