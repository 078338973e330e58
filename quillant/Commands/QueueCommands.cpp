#include "quillant/Commands/QueueCommands.h"

#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <utility>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/AuthFlow.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantCloud/UploadQueueService.h"
#include "quillant/Commands/AccountCommands.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/UploadLines.h"
#include "quillant/LaunchResume.h"

namespace quillant::QueueCommands {

namespace {

constexpr const char* noUploads = "No pending uploads.";

struct QueueRun {
  int code = ExitCode::failure;
  std::optional<UploadQueueService::RunResult> result{};  ///< None if there was none, which was said.
};

Task<QueueRun> runQueue(CloudServices services, bool force) {
  using Occasion = UploadQueueService::Occasion;
  UploadLines lines;
  LaunchResume::Environment environment{
      .library = ProjectLibrary(QuillantConfig::projectsDirectory()),
      .services = std::move(services),
      .log = [&lines](const std::string& line) { lines.write(line); },
      .progress = [&lines](const UploadProgress& progress) { lines.show(progress); }};
  auto summary =
      co_await LaunchResume::run(std::move(environment), force ? Occasion::force : Occasion::command);
  if (!summary) {
    Console::tell("cannot resume — not signed in.");
    co_return QueueRun{.code = ExitCode::noPermission};
  }
  QueueRun run{.result = std::move(summary->run)};
  if (!run.result) co_return run;
  if (run.result->needAuth)
    run.code = ExitCode::noPermission;
  else if (run.result->stillPending.empty() && run.result->changed.empty())
    run.code = ExitCode::success;
  co_return run;
}

void describe(const UploadQueueService::RunResult& result) {
  if (result.needAuth) {
    Console::writeError(
        "quillant: uploads are waiting for sign-in — run `quillant login`, then `quillant resume`. "
        "Recordings are safe on disk.\n");
  } else if (!result.stillPending.empty()) {
    Console::writeError(
        fmt::format("quillant: {} upload(s) still pending (will retry with backoff). Recordings are safe on "
                    "disk.\n",
                    result.stillPending.size()));
  } else if (result.completed.empty() && !result.skippedBackoff.empty()) {
    Console::print(
        fmt::format("Nothing eligible yet — {} upload(s) backing off. Force with `quillant resume --force`.",
                    result.skippedBackoff.size()));
  } else if (result.completed.empty() && result.underWay.empty() && result.changed.empty()) {
    Console::print(noUploads);
  }
}

Task<std::string> accountLine(std::optional<std::string> token, std::shared_ptr<HttpClient> http) {
  if (!token) co_return "Not signed in — run `quillant login`.";
  try {
    co_return AccountCommands::signedInLine(co_await AuthFlow::confirm(*token, std::move(http)));
  } catch (const APIError& error) {
    if (error.isTokenExpired()) co_return "Signed in: session EXPIRED — run `quillant login` again.";
    co_return "Signed in (could not reach server: " + error.description() + ")";
  }
}

struct DescribeState {
  std::string operator()(const UploadQueueService::BackingOff& state) const {
    return fmt::format("waiting (retry in ~{}s)", static_cast<std::int64_t>(std::ceil(state.retryIn)));
  }
  std::string operator()(const UploadQueueService::Eligible&) const { return "ready to resume"; }
  std::string operator()(const UploadQueueService::BlockedOnAuth&) const { return "waiting for sign-in"; }
  std::string operator()(const UploadQueueService::UnderWay& state) const {
    return state.process > 0 ? fmt::format("under way in process {}", state.process)
                             : "under way in another process";
  }
  template <class Final>
  std::string operator()(const Final& reason) const {
    return "cannot go on: " + UploadError(reason).description();
  }
};

void describe(const UploadQueueService::EntrySummary& summary) {
  const auto& entry = summary.entry;
  // What was rendered for a share has a name that says nothing.
  const auto name = entry.editFingerprint || entry.videoPath.empty()
                        ? entry.title.value_or("share")
                        : std::filesystem::path(entry.videoPath).filename().string();
  Console::print(fmt::format("  {}  {}  {}{}", entry.shortId(), name,
                             std::visit(DescribeState{}, summary.state),
                             entry.shareURL ? "  " + *entry.shareURL : ""));
  const bool isTold = std::holds_alternative<UploadError::SizeChanged>(summary.state) ||
                      std::holds_alternative<UploadError::NothingToSend>(summary.state);
  if (entry.lastError && !isTold) Console::print("      last error: " + *entry.lastError);
}

}  // namespace

Task<int> resume(CloudServices services, bool force) {
  const auto run = co_await runQueue(std::move(services), force);
  if (run.result) describe(*run.result);
  co_return run.code;
}

Task<int> status(CloudServices services, bool resume, bool force) {
  int code = ExitCode::success;
  if (resume) code = (co_await runQueue(services, force)).code;
  const auto token = co_await TokenStore::load(*services.secrets);
  Console::print(co_await accountLine(token, services.http));

  const UploadQueueService queue{.store = {QuillantConfig::pendingUploadsDirectory()}};
  const auto entries = queue.sweep(services.clock.now(), token.has_value());
  if (entries.empty()) {
    Console::print(noUploads);
    co_return code;
  }
  Console::print(fmt::format("{} upload(s) pending:", entries.size()));
  for (const auto& entry : entries) describe(entry);
  Console::print("\nThese resume automatically (launch sweep / `quillant resume`).");
  co_return code;
}

}  // namespace quillant::QueueCommands
