#include "quillant/Commands/ShareCommand.h"

#include <fmt/format.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Core/DiskExecutor.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Project/EditFingerprint.h"
#include "Editor/Project/ProjectError.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantShare/ShareQueue.h"
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

/// The service keeps the title that a link was made with.
class TitleIsSettled : public Error {
 public:
  explicit TitleIsSettled(const std::string& title)
      : Error("the link was made with the title “" + title + "” and keeps it; leave --title out") {}
};

/// A project that is open to be shared.
struct Session {
  Session(const Executor& mainThread, std::function<Transcriber()> makeTranscriber)
      : coordinator(OpenedEdit::makeCoordinator(mainThread)),
        transcripts(mainThread, std::move(makeTranscriber)) {}

  ProjectLibrary library{QuillantConfig::projectsDirectory()};
  PendingUploadStore queue{QuillantConfig::pendingUploadsDirectory()};
  std::string projectId;
  std::string title;                    ///< That it had when it was opened.
  std::optional<std::string> newTitle;  ///< That it is given.
  ProjectRevision revision;             ///< That it was opened in.
  std::shared_ptr<EditorCoordinator> coordinator;
  CommandTranscripts transcripts;
};

/// Throws `TitleIsSettled` if the project's link has another title. Blocking.
Task<> checkTitle(PendingUploadStore queue, ProjectDocument project, std::string title) {
  // The record of a program that died in between knows nothing of its link yet.
  const auto entry = ShareQueue::entryOf(queue, project.id, project.share.slug);
  const bool isShared = project.share.shareURL || (entry && entry->shareURL);
  const auto settled = entry ? entry->title.value_or(project.title) : project.title;
  if (isShared && title != settled) throw TitleIsSettled(settled);
  co_return;
}

Task<> open(Session& session, ShareWords words) {
  const auto stored = co_await SharedProject::find(session.library, words.subject, words.title);
  session.projectId = stored.document.id;
  session.title = stored.document.title;
  session.newTitle = words.title;
  session.revision = stored.revision;
  if (words.title) co_await runOn(diskExecutor(), checkTitle(session.queue, stored.document, *words.title));
  auto& coordinator = *session.coordinator;
  co_await OpenedEdit::open(coordinator, stored.document);
  if (!words.captions) co_return;
  coordinator.setCaptionsOn(words.captions->style.has_value());
  if (words.captions->style) coordinator.setCaptionStyle(*words.captions->style);
}

/// Keeps in the project what is to be shared: its title, the zooms that a new project gets, its captions and
/// what they say. Its link can be compared with it then.
Task<> keep(Session& session) {
  auto& coordinator = *session.coordinator;
  if (coordinator.captionsOn()) co_await session.transcripts.complete(session.coordinator, {});
  if (session.newTitle) co_await session.library.rename(session.projectId, *session.newTitle);
  co_await session.library.writeEditorState(session.projectId, coordinator.exportEditorState(),
                                            session.revision);
}

/// Another program may have edited the project meanwhile. Whether its link may show it then.
Task<bool> followEdits(Session& session, ShareController& share) {
  const auto stored = co_await session.library.project(session.projectId);
  const auto& edit = stored.document.editorState;
  if (edit && *edit != session.coordinator->exportEditorState()) {
    session.coordinator->applyEditorState(*edit);
    share.editsDidChange();
  }
  co_return !isOutdated(stored.document.share, session.coordinator->editFingerprint());
}

struct Verdict {
  const std::string& projectId;
  bool wasSafe;         ///< Before anything was sent.
  bool mayShowTheEdit;  ///< As the record has it.

  int operator()(const Safe& safe) const {
    if (!mayShowTheEdit) {
      Console::tell("the link shows the project as it was, and is not known well enough to send to it: " +
                    safe.shareURL);
      return ExitCode::failure;
    }
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

  int goOn() const {
    Console::tell("the link stays the same; go on with: quillant share " + projectId);
    return ExitCode::failure;
  }

 private:
  /// A state has words, not an error.
  static int exitCode(const std::string& message) {
    const bool isExpired = message == APIError(APIError::TokenExpired{}).description();
    return isExpired ? ExitCode::noPermission : ExitCode::failure;
  }
};

/// Why a link does not show its project yet.
std::string obstacle(const PendingUploadStore& queue, const ProjectDocument& project,
                     const std::optional<PendingUpload>& entry) {
  auto process = queue.claimant(project.id);
  if (!process && entry) process = queue.claimant(entry->id);
  if (process)
    return *process > 0 ? fmt::format("under way in process {}", *process) : "under way in another process";
  if (entry && entry->blockedOnAuth.value_or(false)) return "waiting for sign-in";
  if (entry && entry->lastError) return *entry->lastError;
  return project.share.lastUploadError.value_or("the upload didn't finish");
}

/// Nothing if the project has no link.
std::optional<std::string> statusLine(const PendingUploadStore& queue, const ProjectDocument& project) {
  const auto& share = project.share;
  const auto entry = ShareQueue::entryOf(queue, project.id, share.slug);
  // The record of a program that died in between has no link yet.
  const auto link = share.shareURL || !entry ? share.shareURL : entry->shareURL;
  if (!link) return std::nullopt;
  std::string state = "safe";
  std::string why;
  const auto& edit = project.editorState;
  if (share.status != ProjectShareStatus::ready) {
    state = "unfinished";
    why = obstacle(queue, project, entry);
  } else if (edit && isOutdated(share, editFingerprint(edit->timelineEdits,
                                                       edit->video.value_or(ProjectVideoEditorState())))) {
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
  co_await open(session, words);

  services.clipboard = std::make_shared<AnnouncedClipboard>(services.clipboard);
  const auto lines = std::make_shared<UploadLines>();
  ShareLive::Environment environment{.mainThread = mainThread,
                                     .library = session.library,
                                     .services = std::move(services),
                                     .log = [lines](const std::string& line) { lines->write(line); },
                                     .prepare = [&session] { return keep(session); }};
  const auto share =
      co_await ShareLive::makeController(std::move(environment), session.projectId, *session.coordinator,
                                         session.newTitle.value_or(session.title), words.quality);
  const bool wasShared = !std::holds_alternative<Ready>(share->state());
  bool wasSafe = false;
  {
    const Report report(*share, *lines);
    co_await share->share();
    wasSafe = wasShared && std::holds_alternative<Safe>(share->state());
    if (wasShared && std::holds_alternative<Stale>(share->state()))
      co_await share->reshare();
    else if (wasShared && std::holds_alternative<FailedAfterMint>(share->state()))
      co_await share->retry();
  }
  const bool mayShowTheEdit = co_await followEdits(session, *share);
  const Verdict verdict{session.projectId, wasSafe, mayShowTheEdit};
  if (share->refusal()) {
    Console::tell(*share->refusal());
    co_return verdict.goOn();
  }
  co_return std::visit(verdict, share->state());
}

}  // namespace quillant::ShareCommand
