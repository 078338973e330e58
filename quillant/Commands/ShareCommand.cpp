#include "quillant/Commands/ShareCommand.h"

#include <fmt/format.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Editor/Coordinator/EditFingerprint.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Project/ProjectError.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantConfig.h"
#include "quillant/Commands/AnnouncedClipboard.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/CommandProgress.h"
#include "quillant/Commands/CommandTranscripts.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/OpenedEdit.h"
#include "quillant/Commands/SharedProject.h"
#include "quillant/Commands/UploadLines.h"
#include "quillant/ShareLive.h"

namespace quillant::ShareCommand {

using namespace ShareStates;

namespace {

/// Shows how far a share is.
class Report {
 public:
  Report(ShareController& share, UploadLines& lines)
      : share_(share), lines_(lines), connection_(share.changed.connect([this] { show(); })) {}

 private:
  void show() {
    if (const auto* rendering = std::get_if<Rendering>(&share_.state())) {
      if (!renderProgress_) {
        Console::print("rendering…");
        renderProgress_.emplace();
      }
      renderProgress_->show(rendering->progress);
    } else if (const auto* uploading = std::get_if<Uploading>(&share_.state())) {
      renderProgress_.reset();
      lines_.show({.phase = UploadProgress::Phase::video, .fraction = uploading->progress});
    }
  }

  ShareController& share_;
  UploadLines& lines_;
  std::optional<CommandProgress> renderProgress_;
  Connection connection_;
};

/// A project that is open to be shared.
struct Session {
  Session(const Executor& mainThread, std::function<Transcriber()> makeTranscriber)
      : coordinator(OpenedEdit::makeCoordinator(mainThread)),
        transcripts(mainThread, std::move(makeTranscriber)) {}

  ProjectLibrary library{QuillantConfig::projectsDirectory()};
  std::string projectId;
  std::shared_ptr<EditorCoordinator> coordinator;
  CommandTranscripts transcripts;
};

/// Opens the project, and keeps in it what is to be shared: the zooms that a new project gets, its captions
/// and what they say. Its link can be compared with it then.
Task<std::string> open(Session& session, ShareWords words) {
  const auto stored = co_await SharedProject::find(session.library, words.subject, words.title);
  session.projectId = stored.document.id;
  auto& coordinator = *session.coordinator;
  co_await OpenedEdit::open(coordinator, stored.document);
  if (words.captions) {
    coordinator.setCaptionsOn(words.captions->style.has_value());
    if (words.captions->style) coordinator.setCaptionStyle(*words.captions->style);
  }
  if (coordinator.captionsOn()) co_await session.transcripts.complete(session.coordinator, {});
  co_await session.library.writeEditorState(session.projectId, coordinator.exportEditorState(),
                                            stored.revision);
  co_return words.title.value_or(stored.document.title);
}

/// Another program may have edited the project meanwhile.
Task<> followEdits(Session& session, ShareController& share) {
  const auto stored = co_await session.library.project(session.projectId);
  const auto& edit = stored.document.editorState;
  if (!edit || *edit == session.coordinator->exportEditorState()) co_return;
  session.coordinator->applyEditorState(*edit);
  share.editsDidChange();
}

struct Verdict {
  const std::string& projectId;
  bool wasSafe;  ///< Before anything was sent.

  int operator()(const Safe& safe) const {
    Console::print((wasSafe ? "✅ Nothing to do: the link shows the project as it is: "
                            : "✅ Safe to send: the link shows the project as it is: ") +
                   safe.shareURL);
    return ExitCode::success;
  }
  int operator()(const Stale& stale) const {
    Console::tell("the project was edited meanwhile; the link shows it as it was: " + stale.shareURL);
    return goOn();
  }
  int operator()(const FailedAfterMint& failed) const {
    Console::tell(failed.message);
    goOn();
    return exitCode(failed.message);
  }
  int operator()(const FailedMint& failed) const {
    Console::tell(failed.message);
    return exitCode(failed.message);
  }
  int operator()(const Cap& cap) const {
    Console::tell(panelMessage(cap.reason));
    return ExitCode::failure;
  }
  template <class Unfinished>
  int operator()(const Unfinished&) const {
    return ExitCode::failure;
  }

 private:
  int goOn() const {
    Console::tell("the link stays the same; go on with: quillant share " + projectId);
    return ExitCode::failure;
  }
  /// A state has words, not an error.
  static int exitCode(const std::string& message) {
    const bool isExpired = message == APIError(APIError::TokenExpired{}).description();
    return isExpired ? ExitCode::noPermission : ExitCode::failure;
  }
};

/// Why a link does not show its project yet.
std::string obstacle(const PendingUploadStore& queue, const ProjectDocument& project) {
  if (const auto process = queue.claimant(project.id))
    return *process > 0 ? fmt::format("under way in process {}", *process) : "under way in another process";
  const auto entry = queue.load(project.id);
  if (entry && entry->blockedOnAuth.value_or(false)) return "waiting for sign-in";
  if (entry && entry->lastError) return *entry->lastError;
  return project.share.lastUploadError.value_or("the upload didn't finish");
}

/// Nothing if the project has no link.
std::optional<std::string> statusLine(const PendingUploadStore& queue, const ProjectDocument& project) {
  const auto& share = project.share;
  auto link = share.shareURL;
  // The record of a program that died in between has no link yet.
  if (!link)
    if (const auto entry = queue.load(project.id)) link = entry->shareURL;
  if (!link) return std::nullopt;
  std::string state = "safe";
  std::string why;
  const auto& edit = project.editorState;
  if (share.status != ProjectShareStatus::ready) {
    state = "unfinished";
    why = obstacle(queue, project);
  } else if (edit && share.lastUploadedEditFingerprint &&
             *share.lastUploadedEditFingerprint !=
                 editFingerprint(edit->timelineEdits, edit->video.value_or(ProjectVideoEditorState()))) {
    state = "stale";
    why = "edited since it was sent";
  }
  return fmt::format("{}  {:<10}  {}  {}{}", project.id, state, *link, project.title,
                     why.empty() ? "" : " — " + why);
}

}  // namespace

Task<int> status() {
  const ProjectLibrary library(QuillantConfig::projectsDirectory());
  const PendingUploadStore queue{QuillantConfig::pendingUploadsDirectory()};
  int code = ExitCode::success;
  bool isEmpty = true;
  for (const auto& item : co_await library.projects()) {
    try {
      const auto stored = co_await library.project(item.id);
      const auto line = statusLine(queue, stored.document);
      if (!line) continue;
      Console::print(*line);
      isEmpty = false;
    } catch (const ProjectError& error) {
      Console::tell(error.description());
      code = ExitCode::failure;
    }
  }
  if (isEmpty) Console::print("quillant: no project has a link");
  co_return code;
}

Task<int> run(CloudServices services, std::function<Transcriber()> makeTranscriber, ShareWords words) {
  const Executor mainThread = co_await asio::this_coro::executor;
  Session session(mainThread, std::move(makeTranscriber));
  auto title = co_await open(session, words);

  services.clipboard = std::make_shared<AnnouncedClipboard>(services.clipboard);
  const auto lines = std::make_shared<UploadLines>();
  ShareLive::Environment environment{.mainThread = mainThread,
                                     .library = session.library,
                                     .services = std::move(services),
                                     .log = [lines](const std::string& line) { lines->write(line); }};
  const auto share = co_await ShareLive::makeController(
      std::move(environment), session.projectId, *session.coordinator, std::move(title), words.quality);
  const bool hadLink = share->currentShareURL().has_value();
  bool wasSafe = false;
  {
    const Report report(*share, *lines);
    co_await share->share();
    wasSafe = hadLink && std::holds_alternative<Safe>(share->state());
    if (hadLink && std::holds_alternative<Stale>(share->state()))
      co_await share->reshare();
    else if (hadLink && std::holds_alternative<FailedAfterMint>(share->state()))
      co_await share->retry();
  }
  co_await followEdits(session, *share);
  const Verdict verdict{session.projectId, wasSafe};
  co_return std::visit(verdict, share->state());
}

}  // namespace quillant::ShareCommand
