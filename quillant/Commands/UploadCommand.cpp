#include "quillant/Commands/UploadCommand.h"

#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <utility>

#include "Core/AtomicFile.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/HttpUploadTransport.h"
#include "QuillantCloud/QuillantAPI.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantCloud/Uploader.h"
#include "quillant/Commands/AccountCommands.h"
#include "quillant/Commands/AnnouncedClipboard.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/UploadLines.h"

namespace quillant::UploadCommand {

namespace {

namespace fs = std::filesystem;

/// Ends the command.
struct Failure {
  int code;
};

/// Where the video is: this very file, also when the upload is resumed from another folder, or when a link on
/// the way to it leads elsewhere by then.
fs::path existingFile(const std::string& file) {
  std::error_code missing;
  const auto path = fs::canonical(file, missing);
  if (!missing && fs::is_regular_file(path, missing)) return path;
  Console::tell((missing ? "no such file: " : "not a file: ") + file);
  throw Failure{ExitCode::failure};
}

VideoFacts probe(const CloudServices& services, const fs::path& video) {
  try {
    return services.probe(video);
  } catch (const Error& error) {
    Console::tell("could not read video: " + error.description());
    throw Failure{ExitCode::failure};
  }
}

/// The upload goes without a poster where none can be made.
void addPoster(const CloudServices& services, const PendingUploadStore& store, PendingUpload& entry) {
  try {
    const auto poster = store.posterPath(entry.id);
    services.makePoster(entry.videoPath, poster);
    entry.thumbPath = poster;
  } catch (const Error& error) {
    Console::tell(fmt::format("warning: thumbnail generation failed ({})", error.description()));
  }
}

/// Puts the entry on disk. For as long as the claim lasts nobody else runs it.
UploadClaim persist(const CloudServices& services, const PendingUploadStore& store, PendingUpload& entry) {
  try {
    store.removeLitter();
    auto claim = store.claim(entry.id);
    if (!claim) throw FileError("lock", store.directory, std::make_error_code(std::errc::file_exists));
    addPoster(services, store, entry);
    store.save(entry);
    return std::move(*claim);
  } catch (const Error& error) {
    Console::tell("could not persist upload record: " + error.description());
    store.remove(entry.id);
    throw Failure{ExitCode::failure};
  }
}

/// Takes out of the queue what was to send an earlier state of this file, and can not any more.
void dropOutdated(const PendingUploadStore& store, const PendingUpload& entry) try {
  for (const auto& other : store.all()) {
    if (other.id == entry.id || other.videoPath != entry.videoPath || !Uploader::sizeChange(other)) continue;
    const auto claim = store.claim(other.id);
    const auto current = claim ? store.load(other.id) : std::nullopt;
    if (!current || !Uploader::sizeChange(*current)) continue;
    store.remove(other.id);
    Console::tell("the upload of this file as it was before is out of the queue" +
                  (current->shareURL ? "; its link never went live: " + *current->shareURL : ""));
  }
} catch (const FileError&) {
  // They stay, and `status` says what is the matter with them.
}

/// Notes on disk what the upload waits for.
Failure record(const Uploader& uploader, PendingUpload& entry, const Error& error) {
  uploader.recordFailure(entry, error);
  return {AccountCommands::exitCode(error)};
}

/// The link, once the entry on disk knows it.
Task<std::string> reserve(const Uploader& uploader, PendingUpload& entry) {
  try {
    co_return co_await uploader.reserve(entry, false);
  } catch (const Error& error) {
    if (APIError::isTokenExpired(error)) {
      Console::tell("session expired — run `quillant login` again. Recording is safe: " + entry.videoPath);
    } else {
      Console::tell("could not start upload: " + error.description());
      Console::tell("recording is safe on disk and queued: " + entry.videoPath);
    }
    throw record(uploader, entry, error);
  }
}

Task<> send(const Uploader& uploader, PendingUpload& entry) {
  try {
    co_await uploader.runRemaining(entry, false);
  } catch (const Error& error) {
    if (APIError::isTokenExpired(error)) {
      Console::tell("session expired mid-upload — run `quillant login`, then `quillant status --resume`.");
      Console::tell("recording is safe: " + entry.videoPath);
    } else {
      Console::tell("upload failed: " + error.description());
      if (!UploadError::isFinal(error)) Console::tell("recording is SAFE on disk and the upload is queued.");
      Console::tell("  file: " + entry.videoPath);
      if (!UploadError::isFinal(error)) Console::tell("  resume with: quillant status --resume");
    }
    throw record(uploader, entry, error);
  }
}

}  // namespace

Task<int> run(CloudServices services, TitledFile named) {
  try {
    const auto video = existingFile(named.file);
    const auto token = co_await TokenStore::load(*services.secrets);
    if (!token) {
      Console::tell("not signed in — run `quillant login`");
      co_return ExitCode::noPermission;
    }
    const auto api = std::make_shared<QuillantAPI>(*token, services.http);
    const PendingUploadStore store{QuillantConfig::pendingUploadsDirectory()};
    const auto facts = probe(services, video);
    auto entry = PendingUpload::make(video, std::nullopt, std::move(named.title), facts.sizeBytes,
                                     facts.durationMs, facts.width, facts.height);
    const auto claim = persist(services, store, entry);
    dropOutdated(store, entry);

    UploadLines lines;
    const Uploader uploader{.api = api,
                            .store = store,
                            .transport = std::make_shared<HttpUploadTransport>(services.http),
                            .log = [&lines](const std::string& line) { lines.write(line); },
                            .progress = [&lines](const UploadProgress& progress) { lines.show(progress); },
                            .clock = services.clock};
    const auto link = co_await reserve(uploader, entry);
    AnnouncedClipboard clipboard(services.clipboard, "before upload finishes");
    co_await clipboard.write(link);
    co_await send(uploader, entry);
    if (!entry.completed) {
      Console::tell(UploadError(UploadError::NotReady{}).description() + "; the upload stays queued.");
      Console::tell("  resume with: quillant status --resume");
      co_return ExitCode::failure;
    }
    Console::print("✅ Upload complete: " + link);
    co_return ExitCode::success;
  } catch (const Failure& failure) {
    co_return failure.code;
  }
}

}  // namespace quillant::UploadCommand
