#include "quillant/Commands/EditorCLI.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Core/AtomicFile.h"
#include "Core/ByteSize.h"
#include "Core/DiskExecutor.h"
#include "Core/StagedFile.h"
#include "DrawKit/PNGImage.h"
#include "Editor/Composition/WallpaperFolder.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "MediaKit/Pictures/BGRAPicture.h"
#include "MediaKit/Pictures/JPEGImage.h"
#include "quillant/Commands/CommandLoop.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/ExportProgress.h"
#include "quillant/Commands/ExportWords.h"
#include "quillant/Commands/OpenedEdit.h"

namespace quillant {

namespace {

void tell(const std::string& text) {
  Console::writeError("quillant: " + text + "\n");
}

Task<> open(EditorCoordinator& coordinator, const ExportWords& words) {
  co_await OpenedEdit::open(coordinator, words.subject);
  words.look.apply(coordinator);
  const bool wantsZooms = words.look.zoom && words.look.zoom != LookOptions::none;
  const auto problem = coordinator.driver().autoZoomTelemetryProblem();
  if (problem && (wantsZooms || problem == AutoZoomTelemetryProblem::unreadable))
    tell("warning: " + coordinator.driver().state().statusMessage);
  const auto& recording = *coordinator.recording();
  if (words.look.camera && words.look.camera != LookOptions::none && !recording.facecam)
    tell("warning: the recording has no camera");
  if (words.look.cursor && words.look.cursor->style && !recording.cursorTelemetry)
    tell("warning: nothing was recorded of where the pointer was");
}

VideoExportOptions choicesFor(const ExportWords& words, const EditorCoordinator& coordinator) {
  auto choices = words.choices;
  if (!words.choosesFrameRate) choices.frameRate = coordinator.sourceRate();
  return choices;
}

bool burnsCaptions(const ExportWords& words, const EditorCoordinator& coordinator) {
  const auto& captions = coordinator.edits().captions;
  return words.look.burnsCaptions && captions && captions->on;
}

/// Its progress is gone from the terminal when it has ended.
Task<VideoExportResult> exportShowingProgress(EditorCoordinator& coordinator, const ExportWords& words) {
  ExportProgress progress;
  co_return co_await coordinator.exportVideo(words.output, choicesFor(words, coordinator),
                                             burnsCaptions(words, coordinator),
                                             [&progress](double done) { progress.show(done); });
}

Task<int> exportVideo(EditorCoordinator& coordinator, ExportWords words, const bool& isInterrupted) {
  co_await open(coordinator, words);
  if (isInterrupted) co_return ExitCode::interrupted;
  const auto result = co_await exportShowingProgress(coordinator, words);
  std::error_code failed;
  const auto bytes = std::filesystem::file_size(words.output, failed);
  Console::print(fmt::format("quillant: {} {} ({}x{}, {})", result.didPassthrough ? "copied to" : "exported",
                             words.output.string(), result.outputSize.width, result.outputSize.height,
                             ByteSize::fileSize(failed ? 0 : static_cast<std::int64_t>(bytes))));
  co_return ExitCode::success;
}

Task<> writePicture(PixelBufferRef frame, std::filesystem::path output) {
  const auto picture = BGRAPicture::of(*frame, frame->width, frame->height);
  if (output.extension() == ".png" || output.extension() == ".PNG") {
    StagedFile file(output);
    PNGImage::write(*picture, file.readablePath());
    file.publish();
  } else {
    constexpr int quality = 95;
    const auto jpeg = JPEGImage::encode(*picture, quality);
    AtomicFile::write(output, {reinterpret_cast<const char*>(jpeg.data()), jpeg.size()});
  }
  co_return;
}

Task<int> makeFrame(EditorCoordinator& coordinator, ExportWords words) {
  co_await open(coordinator, words);
  if (const double duration = coordinator.outputDuration(); words.at > duration) {
    tell(fmt::format("there is nothing at {} s: the video lasts {:.2f} s", words.at, duration));
    co_return ExitCode::failure;
  }
  auto frame = co_await coordinator.composedFrame(words.at, choicesFor(words, coordinator),
                                                  burnsCaptions(words, coordinator));
  co_await runOn(diskExecutor(), writePicture(std::move(frame), words.output));
  Console::print("quillant: wrote " + words.output.string());
  co_return ExitCode::success;
}

}  // namespace

int EditorCLI::run(const Arguments& arguments) {
  const std::vector<std::string> list(arguments.begin() + 2, arguments.end());
  if (std::ranges::find(list, "--help") != list.end()) {
    Console::print(ExportWords::help());
    return ExitCode::success;
  }
  using Kind = ExportWords::Command;
  const auto kind = arguments[1] == "frame" ? Kind::frame : Kind::exportVideo;
  ExportWords words;
  try {
    words = ExportWords::parse(kind, list);
  } catch (const Error& error) {
    tell(error.description() + "\nsee quillant " + arguments[1] + " --help");
    return ExitCode::usage;
  }
  try {
    CommandLoop loop;
    EditorCoordinator coordinator(loop.executor(),
                                  {.wallpapers = std::make_shared<WallpaperImageCache>(wallpaperFolder())});
    bool isInterrupted = false;
    const auto interrupt = [&] {
      isInterrupted = true;
      coordinator.cancelExport();
    };
    const int code = loop.run(kind == Kind::frame ? makeFrame(coordinator, std::move(words))
                                                  : exportVideo(coordinator, std::move(words), isInterrupted),
                              interrupt);
    return isInterrupted ? ExitCode::interrupted : code;
  } catch (const VideoExportRendererError& error) {
    if (error.kind() == VideoExportRendererError::Kind::exportCancelled) return ExitCode::interrupted;
    tell(error.description());
  } catch (const std::exception& error) {
    tell(error.what());
  }
  return ExitCode::failure;
}

}  // namespace quillant
