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
#include "Core/Text.h"
#include "DrawKit/PNGImage.h"
#include "Editor/Captions/CaptionJSON.h"
#include "Editor/Captions/CaptionSubRip.h"
#include "Editor/Captions/CaptionWebVTT.h"
#include "Editor/Captions/TranscriptText.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "MediaKit/Pictures/BGRAPicture.h"
#include "MediaKit/Pictures/JPEGImage.h"
#include "quillant/Commands/CommandLoop.h"
#include "quillant/Commands/CommandProgress.h"
#include "quillant/Commands/CommandTranscripts.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/ExportWords.h"
#include "quillant/Commands/OpenedEdit.h"

namespace quillant {

namespace {

bool burnsCaptions(const ExportWords& words, const EditorCoordinator& coordinator) {
  return words.look.burnsCaptions && coordinator.captionsOn();
}

/// What a command works with, on the main thread.
struct Session {
  Session(const Executor& mainThread, std::function<Transcriber()> makeTranscriber)
      : coordinator(OpenedEdit::makeCoordinator(mainThread)),
        transcripts(mainThread, std::move(makeTranscriber)) {}

  void interrupt() {
    isInterrupted = true;
    transcripts.stop();
    coordinator->cancelExport();
  }

  const std::shared_ptr<EditorCoordinator> coordinator;
  CommandTranscripts transcripts;
  bool isInterrupted = false;
};

Task<> open(Session& session, const ExportWords& words) {
  auto& coordinator = *session.coordinator;
  co_await OpenedEdit::open(coordinator, words.subject);
  words.look.apply(coordinator);
  const bool wantsZooms = words.look.zoom && words.look.zoom != LookOptions::none;
  const auto problem = coordinator.driver().autoZoomTelemetryProblem();
  if (problem && (wantsZooms || problem == AutoZoomTelemetryProblem::unreadable))
    Console::tell("warning: " + coordinator.driver().state().statusMessage);
  const auto& recording = *coordinator.recording();
  const bool wantsCamera = words.look.camera && words.look.camera != LookOptions::none;
  if (wantsCamera && !co_await coordinator.hasCamera()) Console::tell("warning: the recording has no camera");
  if (words.look.cursor && words.look.cursor->style && !recording.cursorTelemetry)
    Console::tell("warning: nothing was recorded of where the pointer was");
  if (burnsCaptions(words, coordinator)) co_await session.transcripts.complete(session.coordinator, {});
}

VideoExportOptions choicesFor(const ExportWords& words, const EditorCoordinator& coordinator) {
  auto choices = words.choices;
  if (words.choosesFrameRate) return choices;
  // What is plain stays as it is; a GIF that follows its source has a rate of its own.
  const bool isUnlimited = words.look.isPlain || choices.format == VideoExportFormat::gif;
  choices.frameRate = isUnlimited ? VideoExportFrameRate::source : coordinator.sourceRate();
  return choices;
}

/// Its progress is gone from the terminal when it has ended.
Task<VideoExportResult> exportShowingProgress(EditorCoordinator& coordinator, const ExportWords& words) {
  CommandProgress progress;
  co_return co_await coordinator.exportVideo(words.output, choicesFor(words, coordinator),
                                             burnsCaptions(words, coordinator),
                                             [&progress](double done) { progress.show(done); });
}

Task<int> exportVideo(Session& session, ExportWords words) {
  auto& coordinator = *session.coordinator;
  co_await open(session, words);
  if (session.isInterrupted) co_return ExitCode::interrupted;
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
  if (Text::lowercased(output.extension().string()) == ".png") {
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

Task<int> makeFrame(Session& session, ExportWords words) {
  auto& coordinator = *session.coordinator;
  co_await open(session, words);
  if (session.isInterrupted) co_return ExitCode::interrupted;
  if (const double duration = coordinator.outputDuration(); words.at > duration) {
    Console::tell(fmt::format("there is nothing at {} s: the video lasts {:.2f} s", words.at, duration));
    co_return ExitCode::failure;
  }
  co_await coordinator.checkTarget(words.output);
  auto frame = co_await coordinator.composedFrame(words.at, choicesFor(words, coordinator),
                                                  burnsCaptions(words, coordinator));
  if (session.isInterrupted) co_return ExitCode::interrupted;
  co_await runOn(diskExecutor(), writePicture(std::move(frame), words.output));
  Console::print("quillant: wrote " + words.output.string());
  co_return ExitCode::success;
}

/// In the form that the name of the file asks for.
std::string captionFile(const EditorCoordinator& coordinator, const ExportWords& words,
                        const std::vector<CaptionBlock>& blocks, const TimelineCaptions& captions) {
  const auto ending = Text::lowercased(words.output.extension().string());
  if (ending == ".vtt") return CaptionWebVTT::make(blocks, captions.style);
  if (ending == ".srt") return CaptionSubRip::make(blocks);
  if (ending == ".json") return CaptionJSON::make(blocks, captions);
  auto paragraphs = coordinator.transcriptParagraphs();
  if (words.track)
    std::erase_if(paragraphs, [&](const auto& paragraph) { return paragraph.track != words.track; });
  return TranscriptText::make(paragraphs);
}

Task<> writeText(std::filesystem::path output, std::string text) {
  AtomicFile::write(output, text);
  co_return;
}

Task<int> writeCaptions(Session& session, ExportWords words) {
  auto& coordinator = *session.coordinator;
  co_await OpenedEdit::open(coordinator, words.subject);
  words.look.apply(coordinator);
  co_await coordinator.checkTarget(words.output);
  const auto targets = co_await coordinator.captionTargets();
  const auto isWanted = [&](TimelineTranscriptTrack track) { return !words.track || track == words.track; };
  if (std::ranges::none_of(targets, isWanted, &CaptionTarget::track)) {
    Console::tell("there is no such sound to make captions of");
    co_return ExitCode::failure;
  }
  co_await session.transcripts.complete(session.coordinator, words.track);
  if (session.isInterrupted) co_return ExitCode::interrupted;
  const auto captions = coordinator.edits().captions.value_or(TimelineCaptions());
  auto blocks = coordinator.captionBlocks();
  std::erase_if(blocks, [&](const CaptionBlock& block) {
    return !isWanted(captions.transcripts[block.transcriptIndex].track);
  });
  auto file = captionFile(coordinator, words, blocks, captions);
  co_await runOn(diskExecutor(), writeText(words.output, std::move(file)));
  Console::print(fmt::format("quillant: wrote {} ({})", words.output.string(),
                             blocks.empty() ? "nothing is said" : fmt::format("{} captions", blocks.size())));
  co_return ExitCode::success;
}

}  // namespace

int EditorCLI::run(const Arguments& arguments) {
  const std::vector<std::string> list(arguments.begin() + 2, arguments.end());
  using Kind = ExportWords::Command;
  const auto kind = arguments[1] == "frame"      ? Kind::frame
                    : arguments[1] == "captions" ? Kind::captions
                                                 : Kind::exportVideo;
  if (std::ranges::find(list, "--help") != list.end()) {
    Console::print(ExportWords::help(kind));
    return ExitCode::success;
  }
  ExportWords words;
  try {
    words = ExportWords::parse(kind, list);
  } catch (const Error& error) {
    Console::tell(error.description() + "\nsee quillant " + arguments[1] + " --help");
    return ExitCode::usage;
  }
  try {
    CommandLoop loop;
    Session session(loop.executor(), makeTranscriber_);
    const auto make = kind == Kind::frame ? makeFrame : kind == Kind::captions ? writeCaptions : exportVideo;
    return loop.run(make(session, std::move(words)), [&] { session.interrupt(); });
  } catch (const VideoExportRendererError& error) {
    if (error.kind() == VideoExportRendererError::Kind::exportCancelled) return ExitCode::interrupted;
    Console::tell(error.description());
  } catch (const std::exception& error) {
    Console::tell(error.what());
  }
  return ExitCode::failure;
}

}  // namespace quillant
